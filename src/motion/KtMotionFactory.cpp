// Enters the motion classes that documents create by element name (end effectors stand in
// polymorphic vectors) into the default factory at start-up.
#include "motion/KtGeneralMotionFilter.h"
#include "motion/KtPointMotionFilter.h"
#include "motion/endeffector/KtCenterOfMassEndEffector.h"
#include "motion/endeffector/KtEndEffectorRelativeLinkData.h"
#include "motion/endeffector/KtSpatialMomentumEndEffector.h"
#include "xml/KtXmlFactory.h"

namespace {

const bool registered = [] {
  KtXmlFactory& factory = KtXmlFactory::defaultFactory();
  factory.registerClass<KtPointMotionFilter>();
  factory.registerClass<KtGeneralMotionFilter>();
  factory.registerClass<KtEndEffectorRelativeLinkData>();
  factory.registerClass<KtCenterOfMassEndEffector>();
  factory.registerClass<KtSpatialMomentumEndEffector>();
  return true;
}();

}  // namespace
