#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "xml/KtBaseXmlFactory.h"
#include "xml/KtXmlElementSet.h"
#include "xml/KtXmlObject.h"

// A vector of objects of varying classes. Each entry is written as an element named by
// the entry's own token; on reading, the factory makes the entry from the element's token
// and the entry reads itself. An entry whose element the vector does not accept (see
// acceptOnly), or that cannot be made or read, is reported with its token and line and
// skipped; it never fails the vector. The vector owns its entries; copies clone them.
class KtXmlBaseVariableCompoundType : public KtXmlObject {
 public:
  explicit KtXmlBaseVariableCompoundType(const KtBaseXmlFactory& factory) : m_factory(&factory) {}
  KtXmlBaseVariableCompoundType(const KtXmlBaseVariableCompoundType& other);
  KtXmlBaseVariableCompoundType& operator=(const KtXmlBaseVariableCompoundType& other);
  ~KtXmlBaseVariableCompoundType() override;

  bool read(KtXmlReader& reader) override;
  bool write(KtXmlWriter& writer) const override;
  void writeSchema(KtXmlWriter& writer) const override;
  bool isEqual(const KtXmlObject& other) const override;
  std::string schemaTypeName() const override;

  std::size_t size() const { return m_entries.size(); }
  bool empty() const { return m_entries.empty(); }
  void clear() { m_entries.clear(); }
  const KtBaseXmlFactory& factory() const { return *m_factory; }

  // Limits the entries read to elements of these names; the set must outlive the vector
  // and its copies (a static of the registering class). Without a set, every element the
  // factory knows is taken, provided the object it makes fits the vector.
  void acceptOnly(const KtXmlElementSet& accepted) { m_accepted = &accepted; }

 protected:
  // Whether an object the factory made may become an entry (a typed vector accepts only
  // its own entry class).
  virtual bool accepts(const KtXmlObject& entry) const = 0;
  // Makes the entry for the token, lets it read itself and appends it.
  bool readEntry(KtXmlReader& reader, const KtToken& token);

  std::vector<std::unique_ptr<KtXmlObject>> m_entries;

 private:
  const KtBaseXmlFactory* m_factory;
  const KtXmlElementSet* m_accepted = nullptr;
};
