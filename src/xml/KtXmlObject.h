#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "xml/KtToken.h"

class KtXmlReader;
class KtXmlWriter;

// Root of every class that reads and writes itself as XML.
//
// An object is read right behind the start tag of its element (the containing object has
// entered it) and reads everything up to and including the end tag. It is written between
// a start tag and an end tag that the containing object writes. An object that can also
// stand as an attribute value implements readText/writeText.
class KtXmlObject {
 public:
  KtXmlObject() = default;
  KtXmlObject(const KtXmlObject&) = default;
  KtXmlObject& operator=(const KtXmlObject&) = default;
  virtual ~KtXmlObject();

  // A new copy, owned by the caller.
  virtual std::unique_ptr<KtXmlObject> clone() const = 0;
  virtual bool read(KtXmlReader& reader) = 0;
  virtual bool write(KtXmlWriter& writer) const = 0;
  // Describes the XML form (attributes, children, content) to the writer's schema.
  virtual void writeSchema(KtXmlWriter& writer) const;
  // False whenever the other object is of another dynamic type.
  virtual bool isEqual(const KtXmlObject& other) const = 0;

  // A new object of the same class in its initial state, owned by the caller.
  virtual std::unique_ptr<KtXmlObject> newInstance() const = 0;
  // The element name of the class, for objects that stand as a document's root or as an
  // entry of a polymorphic vector; empty for plain values.
  virtual const KtToken& elementToken() const;
  // The schema type of the element ("xs:double", "tns:denavitHartenbergType", ...).
  virtual std::string schemaTypeName() const;

  // The value as the text of an attribute; both answer false for objects that cannot be
  // attributes.
  virtual bool readText(std::string_view text);
  virtual bool writeText(std::string& text) const;

  // Objects set themselves up lazily; reading starts by initialising an uninitialised object.
  virtual bool isInitialized() const { return true; }
  virtual void initialize() {}
  // A component that does not require writing and may be omitted (for instance because it
  // holds its default) is left out of the document unless the writer writes everything.
  // By default an object that was read from a document requires writing.
  virtual bool requiresWriting() const { return m_wasRead; }
  virtual bool mayBeOmitted() const { return false; }

  // Whether the object was read from a document.
  bool wasRead() const { return m_wasRead; }

  // Checks the version attribute of the current (root) element of the reader against the
  // code base; an element without a version is compatible.
  static bool isVersionCompatible(KtXmlReader& reader);

  bool operator==(const KtXmlObject& other) const { return isEqual(other); }

 protected:
  // The first step of every read: initialise if needed and note that the object was read.
  void beginRead();

  // Prints that the class has no schema description of its own.
  void reportMissingSchema() const;

 private:
  bool m_wasRead = false;
};

// Supplies clone() and newInstance() for a class D derived (through Base) from KtXmlObject:
//   class KtThing : public KtXmlCloneable<KtThing, KtXmlCompoundType> { ... };
template <typename Derived, typename Base>
class KtXmlCloneable : public Base {
 public:
  using Base::Base;
  std::unique_ptr<KtXmlObject> clone() const override {
    return std::make_unique<Derived>(static_cast<const Derived&>(*this));
  }
  std::unique_ptr<KtXmlObject> newInstance() const override { return std::make_unique<Derived>(); }
};
