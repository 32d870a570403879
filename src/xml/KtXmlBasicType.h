#pragma once

#include <string>
#include <string_view>
#include <typeinfo>

#include "xml/KtXmlValueIo.h"

// One simple value (number, boolean, enumeration as integer, string) stored as the content
// of its element, or as an attribute value. It stands in for the value itself:
//   KtXmlBasicType<KtReal> m_theta;  m_theta = 0.5;  double s = std::sin(m_theta);
// A floating-point field takes finite numbers only, unless it is declared with
// KtXmlReals::finiteOrInfinite (for a value whose infinity means "unlimited").
template <KtXmlSimple T, KtXmlReals reals = KtXmlReals::finite>
class KtXmlBasicType : public KtXmlCloneable<KtXmlBasicType<T, reals>, KtXmlObject> {
 public:
  KtXmlBasicType() : m_value() {}
  KtXmlBasicType(const T& value) : m_value(value) {}  // NOLINT: converts implicitly on purpose

  KtXmlBasicType& operator=(const T& value) {
    m_value = value;
    return *this;
  }
  operator const T&() const { return m_value; }  // NOLINT: converts implicitly on purpose
  const T& value() const { return m_value; }
  T& value() { return m_value; }
  void setValue(const T& value) { m_value = value; }

  template <typename U>
  KtXmlBasicType& operator+=(const U& other) {
    return m_value += other, *this;
  }
  template <typename U>
  KtXmlBasicType& operator-=(const U& other) {
    return m_value -= other, *this;
  }
  template <typename U>
  KtXmlBasicType& operator*=(const U& other) {
    return m_value *= other, *this;
  }
  template <typename U>
  KtXmlBasicType& operator/=(const U& other) {
    return m_value /= other, *this;
  }

  bool read(KtXmlReader& reader) override {
    this->beginRead();
    return KtXmlValueIo<T>::read(reader, m_value, reals);
  }
  bool write(KtXmlWriter& writer) const override { return KtXmlValueIo<T>::write(writer, m_value, reals); }
  // A simple type needs no declaration of its own.
  void writeSchema(KtXmlWriter&) const override {}
  bool isEqual(const KtXmlObject& other) const override {
    return typeid(other) == typeid(*this) && static_cast<const KtXmlBasicType&>(other).m_value == m_value;
  }
  std::string schemaTypeName() const override { return ktXmlSchemaTypeOf<T>(); }
  bool readText(std::string_view text) override { return ktXmlParseSimple(text, m_value, reals); }
  // Gives the text even for a value the reader would refuse, but answers false for it.
  bool writeText(std::string& text) const override {
    KtXmlSimpleType<T>::format(m_value, text);
    if constexpr (std::floating_point<T>) return ktXmlSimpleDetail::isTaken(m_value, reals);
    return true;
  }

 private:
  T m_value;
};
