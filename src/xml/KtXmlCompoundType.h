#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "xml/KtTokenTable.h"
#include "xml/KtXmlBaseVariableCompoundType.h"
#include "xml/KtXmlObject.h"

// An object made of named parts: the base of every persistent toolkit class.
//
// A subclass keeps its persistent members as XML wrapper types, names its element, and
// registers each member once with its token:
//
//   class KtPendulum : public KtXmlCloneable<KtPendulum, KtXmlCompoundType> {
//    public:
//     const KtToken& elementToken() const override {
//       static const KtToken token(ktNamespaceSm, "pendulum");
//       return token;
//     }
//     KtXmlBasicType<KtReal> m_theta;   // used like a KtReal: m_theta = 0.5; sin(m_theta)
//     KtXmlVector m_pivot;
//
//    protected:
//     void registerComponents() override {
//       static const KtToken theta(ktNamespaceSm, "theta"), pivot(ktNamespaceSm, "pivot");
//       registerComponent(theta, m_theta);
//       registerComponent(pivot, m_pivot);
//     }
//   };
//
// A class derived from another persistent class calls the base's registerComponents()
// first. Registration happens lazily, the first time the object is read, written,
// compared or described.
//
// The tables point at members of this very object. Copying or assigning therefore never
// copies them: a copy starts unregistered and registers its own members when first used,
// and an assigned-to object keeps the tables that point at its own members.
//
// Reading takes the attributes the attribute table knows, then the children in any order:
// each child is read by the component registered under its local name; unknown children,
// and children whose read fails, are skipped (values that cannot be taken are reported by
// their wrappers). A component takes only the first element of its name: any later one is
// reported and skipped, even when the first could not be read. Writing gives the attributes, then
// the components as elements in ascending byte-wise order of their local names, except
// components of kind 0 and (unless the writer writes everything) components that may be
// omitted. A class may keep the unknown children instead (readUnregisteredChild).
class KtXmlCompoundType : public KtXmlObject {
 public:
  KtXmlCompoundType() = default;
  KtXmlCompoundType(const KtXmlCompoundType& other) : KtXmlObject(other) {}
  KtXmlCompoundType& operator=(const KtXmlCompoundType& other) {
    KtXmlObject::operator=(other);
    return *this;
  }
  ~KtXmlCompoundType() override;

  bool read(KtXmlReader& reader) override;
  bool write(KtXmlWriter& writer) const override;
  void writeSchema(KtXmlWriter& writer) const override;
  // Same dynamic type and every registered component and attribute equal.
  bool isEqual(const KtXmlObject& other) const override;
  std::string schemaTypeName() const override;
  bool isInitialized() const override { return m_initialized; }
  void initialize() override;

  // Kind queries on the kind table; an unknown token answers false to both.
  bool isKindZero(const KtToken& token) const { return hasKind(token, 0); }
  bool isKindOne(const KtToken& token) const { return hasKind(token, 1); }

  // The component or attribute registered under a local name, or null.
  const KtXmlObject* component(std::string_view localName) const;
  const KtXmlObject* attributeComponent(std::string_view localName) const;

 protected:
  // Registers the persistent members; see the example above.
  virtual void registerComponents() {}

  void registerComponent(const KtToken& token, KtXmlObject& component);
  // Registers a polymorphic vector that takes only entries of the named elements.
  void registerComponent(const KtToken& token, KtXmlBaseVariableCompoundType& vector,
                         const KtXmlElementSet& accepted);
  // Registers a component that is read but never written as an element (kind 0).
  void registerUnwrittenComponent(const KtToken& token, KtXmlObject& component);
  void registerAttribute(const KtToken& token, KtXmlObject& attribute);
  void setComponentKind(const KtToken& token, int kind) { m_kinds.set(token, kind); }

  // A child element that no registered component takes. A class that keeps such elements reads
  // the child here and answers true; by default it is skipped.
  virtual bool readUnregisteredChild(KtXmlReader& reader, const KtToken& child);
  // Writes what readUnregisteredChild kept, after the registered components.
  virtual bool writeUnregisteredChildren(KtXmlWriter& writer) const;

 private:
  // Registration may happen on first use through a const operation (writing, comparing);
  // the tables are a cache of where the members are, not part of the value.
  void ensureInitialized() const;
  bool hasKind(const KtToken& token, int kind) const;

  mutable bool m_initialized = false;
  KtTokenTable<KtXmlObject*> m_components;
  // During a read: which components (by their place in the table) already had an element.
  std::vector<bool> m_readSlots;
  KtTokenTable<KtXmlObject*> m_attributes;
  KtTokenTable<int> m_kinds;
};
