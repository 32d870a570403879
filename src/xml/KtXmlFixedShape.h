#pragma once

#include <array>
#include <string>
#include <typeinfo>

#include "xml/KtXmlFixedAttributes.h"
#include "xml/KtXmlSchema.h"
#include "xml/KtXmlValueIo.h"

// Reading and writing of a small fixed-size value as an empty element whose attributes
// hold its components. Form describes the value:
//   static constexpr std::array<std::string_view, N> names;  // attribute names, in order
//   static constexpr const char* className;                  // for messages
//   static constexpr const char* schemaName;                 // schema type name
//   static std::array<double, N> components(const Value&);
//   static Value make(const std::array<double, N>&);
template <typename Value, typename Form>
struct KtXmlFixedShapeIo {
  static bool read(KtXmlReader& reader, Value& value) {
    auto components = Form::components(value);
    const bool read = ktXmlReadFixedAttributes(reader, Form::names, components, Form::className);
    value = Form::make(components);
    return read;
  }
  static bool write(KtXmlWriter& writer, const Value& value) {
    ktXmlWriteFixedAttributes(writer, Form::names, Form::components(value));
    return true;
  }
  static std::string schemaTypeName(const Value&) { return KtXmlSchema::ownType(Form::schemaName); }
  static void writeSchema(KtXmlWriter& writer, const Value& value) {
    ktXmlDescribeFixedAttributes(writer, schemaTypeName(value), Form::names);
  }
  static bool equal(const Value& a, const Value& b) { return a == b; }
};

// The value wrapped as an object of the XML model; it stands in for the value itself.
template <typename Value, typename Form>
class KtXmlFixedShape : public KtXmlCloneable<KtXmlFixedShape<Value, Form>, KtXmlObject> {
  using Io = KtXmlFixedShapeIo<Value, Form>;

 public:
  KtXmlFixedShape() = default;
  KtXmlFixedShape(const Value& value) : m_value(value) {}  // NOLINT: converts implicitly on purpose

  KtXmlFixedShape& operator=(const Value& value) {
    m_value = value;
    return *this;
  }
  operator const Value&() const { return m_value; }  // NOLINT: converts implicitly on purpose
  const Value& value() const { return m_value; }
  Value& value() { return m_value; }

  bool read(KtXmlReader& reader) override {
    this->beginRead();
    return Io::read(reader, m_value);
  }
  bool write(KtXmlWriter& writer) const override { return Io::write(writer, m_value); }
  void writeSchema(KtXmlWriter& writer) const override { Io::writeSchema(writer, m_value); }
  bool isEqual(const KtXmlObject& other) const override {
    return typeid(other) == typeid(*this) &&
           Io::equal(static_cast<const KtXmlFixedShape&>(other).m_value, m_value);
  }
  std::string schemaTypeName() const override { return Io::schemaTypeName(m_value); }

 private:
  Value m_value;
};
