#pragma once

#include <utility>
#include <vector>

#include "motion/position/KtPositionControlSystem.h"
#include "xml/KtXmlKeptElement.h"

// The position-control systems that add a simulation, a converter or an acceleration stage to
// the plain one. Those additions are not interpreted yet: a variant steps exactly as the plain
// system, and keeps every child element that the plain system has no component for as it was
// read, writing it back unchanged after its own components.
class KtPositionControlSystemWithExtras : public KtPositionControlSystem {
 public:
  bool read(KtXmlReader& reader) override;
  bool isEqual(const KtXmlObject& other) const override;

  // The kept children, each with its element's name, in the order they were read.
  const std::vector<std::pair<KtToken, KtXmlKeptElement>>& extras() const { return m_extras; }

 protected:
  KtPositionControlSystemWithExtras() = default;
  bool readUnregisteredChild(KtXmlReader& reader, const KtToken& child) override;
  bool writeUnregisteredChildren(KtXmlWriter& writer) const override;

 private:
  std::vector<std::pair<KtToken, KtXmlKeptElement>> m_extras;
};

class KtPositionControlSystemWithSimulation
    : public KtXmlCloneable<KtPositionControlSystemWithSimulation, KtPositionControlSystemWithExtras> {
 public:
  const KtToken& elementToken() const override;
};

class KtPositionControlSystemWithConverter
    : public KtXmlCloneable<KtPositionControlSystemWithConverter, KtPositionControlSystemWithExtras> {
 public:
  const KtToken& elementToken() const override;
};

class KtPositionControlSystemWithAcceleration
    : public KtXmlCloneable<KtPositionControlSystemWithAcceleration, KtPositionControlSystemWithExtras> {
 public:
  const KtToken& elementToken() const override;
};
