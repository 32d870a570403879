// Enters the classes that documents create by element name (link kinematics, links and
// manipulators, which stand in polymorphic vectors) into the default factory at start-up.
#include "manipulator/KtDeformableManipulatorLink.h"
#include "manipulator/KtDenavitHartenberg.h"
#include "manipulator/KtIndividualManipulator.h"
#include "xml/KtXmlFactory.h"

namespace {

const bool registered = [] {
  KtXmlFactory& factory = KtXmlFactory::defaultFactory();
  factory.registerClass<KtDenavitHartenberg>();
  factory.registerClass<KtManipulatorLink>();
  factory.registerClass<KtDeformableManipulatorLink>();
  factory.registerClass<KtIndividualManipulator>();
  return true;
}();

}  // namespace
