#include "motion/position/KtPositionControlContainer.h"

#include <utility>

#include "foundation/Print.h"
#include "motion/position/KtPositionControlVariants.h"
#include "xml/KtXmlElementSet.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlReader.h"

KtPositionControlContainer::KtPositionControlContainer() : KtPositionControlContainer(nullptr) {}

KtPositionControlContainer::KtPositionControlContainer(std::unique_ptr<KtPositionControlSystem> system) {
  static const KtXmlElementSet systems =
      KtXmlElementSet::of<KtPositionControlSystem, KtPositionControlSystemWithSimulation,
                          KtPositionControlSystemWithConverter, KtPositionControlSystemWithAcceleration>();
  acceptOnly(systems);
  setSystem(std::move(system));
}

const KtToken& KtPositionControlContainer::elementToken() const {
  static const KtToken token(ktNamespaceCt, "positionControlContainer");
  return token;
}

void KtPositionControlContainer::setSystem(std::unique_ptr<KtPositionControlSystem> system) {
  clear();
  push_back(system ? std::move(system) : std::make_unique<KtPositionControlSystem>());
}

bool KtPositionControlContainer::read(KtXmlReader& reader) {
  const bool read = KtXmlVariableVectorType<KtPositionControlSystem>::read(reader);
  if (size() > 1) {
    ktPrint(KtSeverity::Warning,
            "KtPositionControlContainer Warning: a container holds one position-control system; the %zu "
            "after the "
            "first are skipped.\n\tFile: %s\n\tLine: %d\n",
            size() - 1, reader.fileName().c_str(), reader.line());
    m_entries.resize(1);
  }
  if (empty()) {
    ktPrint(KtSeverity::Warning,
            "KtPositionControlContainer Warning: the container holds no position-control system; a plain one "
            "stands in.\n\tFile: %s\n\tLine: %d\n",
            reader.fileName().c_str(), reader.line());
    setSystem(nullptr);
  }
  return read;
}
