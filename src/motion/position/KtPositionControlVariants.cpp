#include "motion/position/KtPositionControlVariants.h"

#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlWriter.h"

bool KtPositionControlSystemWithExtras::read(KtXmlReader& reader) {
  m_extras.clear();
  return KtPositionControlSystem::read(reader);
}

bool KtPositionControlSystemWithExtras::readUnregisteredChild(KtXmlReader& reader, const KtToken& child) {
  m_extras.emplace_back(child, KtXmlKeptElement());
  if (m_extras.back().second.read(reader)) return true;
  m_extras.pop_back();
  return false;
}

bool KtPositionControlSystemWithExtras::writeUnregisteredChildren(KtXmlWriter& writer) const {
  bool written = true;
  for (const auto& [token, kept] : m_extras) {
    writer.writeStartElement(token);
    written = kept.write(writer) && written;
    writer.writeEndElement();
  }
  return written;
}

bool KtPositionControlSystemWithExtras::isEqual(const KtXmlObject& other) const {
  if (!KtPositionControlSystem::isEqual(other)) return false;
  const auto& extras = static_cast<const KtPositionControlSystemWithExtras&>(other).m_extras;
  if (extras.size() != m_extras.size()) return false;
  for (std::size_t i = 0; i < extras.size(); ++i) {
    if (!(extras[i].first == m_extras[i].first) || !extras[i].second.isEqual(m_extras[i].second))
      return false;
  }
  return true;
}

const KtToken& KtPositionControlSystemWithSimulation::elementToken() const {
  static const KtToken token(ktNamespaceCt, "positionControlSystemWithSimulation");
  return token;
}

const KtToken& KtPositionControlSystemWithConverter::elementToken() const {
  static const KtToken token(ktNamespaceCt, "positionControlSystemWithConverter");
  return token;
}

const KtToken& KtPositionControlSystemWithAcceleration::elementToken() const {
  static const KtToken token(ktNamespaceCt, "positionControlSystemWithAcceleration");
  return token;
}
