#include "motion/endeffector/KtEndEffectorVector.h"

#include <iterator>
#include <utility>

#include "xml/KtXmlNamespaces.h"

const KtToken& KtEndEffectorVector::elementToken() const {
  static const KtToken token(ktNamespaceCt, "endEffectorVector");
  return token;
}

void KtEndEffectorVector::insert(std::size_t index, std::unique_ptr<KtEndEffector> entry) {
  m_entries.insert(m_entries.begin() + static_cast<std::ptrdiff_t>(index), std::move(entry));
}

void KtEndEffectorVector::erase(std::size_t index) {
  m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(index));
}

void KtEndEffectorVector::replace(std::size_t index, std::unique_ptr<KtEndEffector> entry) {
  m_entries[index] = std::move(entry);
}
