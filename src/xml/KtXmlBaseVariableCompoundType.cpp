#include "xml/KtXmlBaseVariableCompoundType.h"

#include <typeinfo>

#include "foundation/Print.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlSchema.h"
#include "xml/KtXmlTypeName.h"
#include "xml/KtXmlWriter.h"

namespace {

std::vector<std::unique_ptr<KtXmlObject>> clones(const std::vector<std::unique_ptr<KtXmlObject>>& entries) {
  std::vector<std::unique_ptr<KtXmlObject>> copies;
  copies.reserve(entries.size());
  for (const auto& entry : entries) copies.push_back(entry->clone());
  return copies;
}

}  // namespace

KtXmlBaseVariableCompoundType::KtXmlBaseVariableCompoundType(const KtXmlBaseVariableCompoundType& other)
    : KtXmlObject(other),
      m_entries(clones(other.m_entries)),
      m_factory(other.m_factory),
      m_accepted(other.m_accepted) {}

KtXmlBaseVariableCompoundType& KtXmlBaseVariableCompoundType::operator=(
    const KtXmlBaseVariableCompoundType& other) {
  if (this != &other) {
    m_entries = clones(other.m_entries);
    KtXmlObject::operator=(other);
    m_factory = other.m_factory;
    m_accepted = other.m_accepted;
  }
  return *this;
}

KtXmlBaseVariableCompoundType::~KtXmlBaseVariableCompoundType() = default;

bool KtXmlBaseVariableCompoundType::readEntry(KtXmlReader& reader, const KtToken& token) {
  std::unique_ptr<KtXmlObject> entry = m_factory->create(token);
  if (!entry || !accepts(*entry) || !entry->read(reader)) return false;
  m_entries.push_back(std::move(entry));
  return true;
}

bool KtXmlBaseVariableCompoundType::read(KtXmlReader& reader) {
  beginRead();
  m_entries.clear();
  return reader.readChildren([this, &reader](const KtToken& child) {
    if (m_accepted != nullptr && !m_accepted->contains(child.name())) {
      ktPrint(KtSeverity::Warning,
              "KtXmlVariableVectorType Warning: entry %s is not accepted here and is skipped.\n\tFile: "
              "%s\n\tLine: %d\n",
              child.toString().c_str(), reader.fileName().c_str(), reader.line());
      return false;
    }
    const std::string name = child.toString();
    if (readEntry(reader, child)) return true;
    ktPrint(KtSeverity::Warning,
            "KtXmlVariableVectorType Warning: entry %s could not be read and is skipped.\n\tFile: "
            "%s\n\tLine: %d\n",
            name.c_str(), reader.fileName().c_str(), reader.line());
    return false;
  });
}

bool KtXmlBaseVariableCompoundType::write(KtXmlWriter& writer) const {
  bool written = true;
  for (const auto& entry : m_entries) {
    writer.writeStartElement(entry->elementToken());
    written = entry->write(writer) && written;
    writer.writeEndElement();
  }
  return written;
}

void KtXmlBaseVariableCompoundType::writeSchema(KtXmlWriter& writer) const {
  const std::string type = schemaTypeName();
  writer.schema().addComplexType(type);
  for (const auto& entry : m_entries) {
    writer.schema().addElement(type, entry->elementToken(), entry->schemaTypeName());
    entry->writeSchema(writer);
  }
}

bool KtXmlBaseVariableCompoundType::isEqual(const KtXmlObject& other) const {
  if (typeid(other) != typeid(*this)) return false;
  const auto& entries = static_cast<const KtXmlBaseVariableCompoundType&>(other).m_entries;
  if (entries.size() != m_entries.size()) return false;
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    if (!m_entries[i]->isEqual(*entries[i])) return false;
  }
  return true;
}

std::string KtXmlBaseVariableCompoundType::schemaTypeName() const {
  return KtXmlSchema::ownType(ktXmlTypeNameOf(typeid(*this)));
}
