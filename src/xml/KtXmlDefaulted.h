#pragma once

#include <type_traits>
#include <utility>

#include "xml/KtXmlObject.h"

// A value wrapper (KtXmlBasicType, KtXmlFixedShape, ...) that remembers its default value
// and is left out of written documents while it holds it, unless it was read from one:
//   KtXmlDefaulted<KtXmlBasicType<KtReal>> m_gain{200.0};
// A default-constructed one (as the factory makes) takes the value type's own default.
template <typename Wrapper>
class KtXmlDefaulted : public KtXmlCloneable<KtXmlDefaulted<Wrapper>, Wrapper> {
 public:
  using Value = std::remove_cvref_t<decltype(std::declval<const Wrapper&>().value())>;

  KtXmlDefaulted() : KtXmlDefaulted(Value()) {}
  explicit KtXmlDefaulted(const Value& defaultValue)
      : KtXmlCloneable<KtXmlDefaulted<Wrapper>, Wrapper>(defaultValue), m_default(defaultValue) {}

  using Wrapper::operator=;
  bool mayBeOmitted() const override { return this->value() == m_default; }

 private:
  Value m_default;
};
