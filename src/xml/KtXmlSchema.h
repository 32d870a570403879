#pragma once

#include <map>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "xml/KtToken.h"

// Gathers the descriptions of the types written into one document and writes them as an
// XML Schema for the root's namespace.
//
// Type names are qualified: "xs:double" for the built-in simple types, "tns:name" for the
// types declared here. Every element is optional, may repeat and may come in any order
// (the readers accept exactly that), and may be nil. Child elements in another namespace
// than the root's are admitted by a wildcard and not checked. Describing the same type
// again adds what was not yet known, so a type may be described from several objects.
class KtXmlSchema {
 public:
  // The qualified name of a type declared in this schema.
  static std::string ownType(std::string_view name) { return "tns:" + std::string(name); }

  // Declares the complex type (once); the other operations declare it as well.
  void addComplexType(std::string_view type);
  void addAttribute(std::string_view type, std::string_view attributeName, std::string_view simpleType);
  // A child element; one without namespace is taken to be in the namespace of its parent.
  void addElement(std::string_view type, const KtToken& element, std::string_view elementType);
  void setContent(std::string_view type, std::string_view simpleType);
  // Lets the type hold any attributes, text and elements.
  void setOpenContent(std::string_view type);

  // Declares a blank-separated list of the given simple type and returns its name.
  std::string listType(std::string_view itemType);
  // Declares a string type restricted to the given words and returns its name.
  std::string enumerationType(std::string_view name, std::span<const std::string_view> words);

  bool hasComplexType(std::string_view type) const;

  // Writes the schema whose global element is the root (token and type).
  void write(std::ostream& out, const KtToken& root, std::string_view rootType) const;

 private:
  struct ComplexType {
    std::map<std::string, std::string> attributes;                    // name -> simple type
    std::map<std::string, std::pair<KtToken, std::string>> elements;  // local name -> token, type
    std::string content;                                              // simple type of the content
    bool open = false;                                                // anything goes
  };
  struct SimpleType {
    std::string listItem;                 // a list of this type, or
    std::vector<std::string> enumerated;  // a string restricted to these words
  };

  ComplexType& complexType(std::string_view type);
  void writeComplexType(std::ostream& out, const std::string& name, const ComplexType& type,
                        const std::string& targetNamespace) const;

  std::map<std::string, ComplexType, std::less<>> m_complexTypes;  // by unqualified name
  std::map<std::string, SimpleType, std::less<>> m_simpleTypes;
};
