#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "xml/KtXmlBaseVariableCompoundType.h"
#include "xml/KtXmlFactory.h"

// A vector of objects of classes derived from T, made by a factory from their element
// tokens (by default the process-wide factory). Entries of other classes are refused on
// reading like unknown ones.
template <typename T>
class KtXmlVariableVectorType
    : public KtXmlCloneable<KtXmlVariableVectorType<T>, KtXmlBaseVariableCompoundType> {
  using Base = KtXmlCloneable<KtXmlVariableVectorType<T>, KtXmlBaseVariableCompoundType>;

 public:
  KtXmlVariableVectorType() : Base(KtXmlFactory::defaultFactory()) {}
  explicit KtXmlVariableVectorType(const KtBaseXmlFactory& factory) : Base(factory) {}

  T& operator[](std::size_t index) { return static_cast<T&>(*this->m_entries[index]); }
  const T& operator[](std::size_t index) const { return static_cast<const T&>(*this->m_entries[index]); }
  void push_back(std::unique_ptr<T> entry) { this->m_entries.push_back(std::move(entry)); }

 protected:
  bool accepts(const KtXmlObject& entry) const override { return dynamic_cast<const T*>(&entry) != nullptr; }
};
