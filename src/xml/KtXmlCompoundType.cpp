#include "xml/KtXmlCompoundType.h"

#include <typeinfo>

#include "xml/KtXmlReader.h"
#include "xml/KtXmlTypeName.h"
#include "xml/KtXmlValueWarning.h"
#include "xml/KtXmlWriter.h"

namespace {

bool sameEntries(const KtTokenTable<KtXmlObject*>& a, const KtTokenTable<KtXmlObject*>& b) {
  if (a.size() != b.size()) return false;
  for (auto left = a.begin(), right = b.begin(); left != a.end(); ++left, ++right) {
    if (left->first.name() != right->first.name() || !left->second->isEqual(*right->second)) return false;
  }
  return true;
}

}  // namespace

KtXmlCompoundType::~KtXmlCompoundType() = default;

void KtXmlCompoundType::initialize() {
  if (m_initialized) return;
  m_initialized = true;
  registerComponents();
}

void KtXmlCompoundType::ensureInitialized() const {
  if (!m_initialized) const_cast<KtXmlCompoundType*>(this)->initialize();
}

void KtXmlCompoundType::registerComponent(const KtToken& token, KtXmlObject& component) {
  m_components.set(token, &component);
}

void KtXmlCompoundType::registerComponent(const KtToken& token, KtXmlBaseVariableCompoundType& vector,
                                          const KtXmlElementSet& accepted) {
  vector.acceptOnly(accepted);
  registerComponent(token, vector);
}

void KtXmlCompoundType::registerUnwrittenComponent(const KtToken& token, KtXmlObject& component) {
  m_components.set(token, &component);
  m_kinds.set(token, 0);
}

void KtXmlCompoundType::registerAttribute(const KtToken& token, KtXmlObject& attribute) {
  m_attributes.set(token, &attribute);
}

bool KtXmlCompoundType::hasKind(const KtToken& token, int kind) const {
  ensureInitialized();
  const int* found = m_kinds.find(token.name());
  return found != nullptr && *found == kind;
}

const KtXmlObject* KtXmlCompoundType::component(std::string_view localName) const {
  ensureInitialized();
  KtXmlObject* const* found = m_components.find(localName);
  return found != nullptr ? *found : nullptr;
}

const KtXmlObject* KtXmlCompoundType::attributeComponent(std::string_view localName) const {
  ensureInitialized();
  KtXmlObject* const* found = m_attributes.find(localName);
  return found != nullptr ? *found : nullptr;
}

bool KtXmlCompoundType::read(KtXmlReader& reader) {
  beginRead();
  for (KtXmlAttribute& attribute : reader.attributes()) {
    KtXmlObject* const* target = m_attributes.find(attribute.token.name());
    if (target == nullptr) continue;
    if (!(*target)->readText(attribute.value)) {
      ktXmlWarnUnreadableValue(reader, "KtXmlCompoundType", KtXmlSkipped::attribute, attribute.token.name(),
                               attribute.value);
    }
    attribute.consumed = true;
  }
  // Each component takes the first element of its name; later ones would silently replace
  // what the first one gave, so they are reported and skipped.
  m_readSlots.assign(m_components.size(), false);
  return reader.readChildren([this, &reader](const KtToken& child) {
    const std::size_t slot = m_components.indexOf(child.name());
    if (slot == m_components.npos) return readUnregisteredChild(reader, child);
    if (m_readSlots[slot]) {
      ktXmlWarnRepeatedElement(reader, "KtXmlCompoundType", child.name());
      return false;
    }
    m_readSlots[slot] = true;
    return m_components[slot].second->read(reader);
  });
}

bool KtXmlCompoundType::write(KtXmlWriter& writer) const {
  ensureInitialized();
  const bool everything = writer.writesEveryComponent();
  if (!everything && mayBeOmitted()) return true;
  std::string text;
  for (const auto& [token, attribute] : m_attributes) {
    text.clear();
    if (!attribute->writeText(text)) {
      if (text.empty()) continue;
      writer.reportUnreadableValue("attribute", token.name(), text);
    }
    writer.writeAttribute(token, text);
  }
  bool written = true;
  for (const auto& [token, component] : m_components) {
    // A refused document is abandoned at once rather than walked to its end.
    if (writer.hasFailed()) return false;
    if (isKindZero(token)) continue;
    if (!everything && !component->requiresWriting() && component->mayBeOmitted()) continue;
    writer.writeStartElement(token);
    written = component->write(writer) && written;
    writer.writeEndElement();
  }
  return writeUnregisteredChildren(writer) && written;
}

bool KtXmlCompoundType::readUnregisteredChild(KtXmlReader&, const KtToken&) { return false; }

bool KtXmlCompoundType::writeUnregisteredChildren(KtXmlWriter&) const { return true; }

void KtXmlCompoundType::writeSchema(KtXmlWriter& writer) const {
  ensureInitialized();
  KtXmlSchema& schema = writer.schema();
  const std::string type = schemaTypeName();
  schema.addComplexType(type);
  for (const auto& [token, attribute] : m_attributes) {
    schema.addAttribute(type, token.name(), attribute->schemaTypeName());
  }
  for (const auto& [token, component] : m_components) {
    if (isKindZero(token)) continue;
    schema.addElement(type, token, component->schemaTypeName());
    component->writeSchema(writer);
  }
}

bool KtXmlCompoundType::isEqual(const KtXmlObject& other) const {
  if (typeid(*this) != typeid(other)) return false;
  const auto& compound = static_cast<const KtXmlCompoundType&>(other);
  ensureInitialized();
  compound.ensureInitialized();
  return sameEntries(m_components, compound.m_components) && sameEntries(m_attributes, compound.m_attributes);
}

std::string KtXmlCompoundType::schemaTypeName() const {
  const KtToken& element = elementToken();
  if (!element.name().empty()) return KtXmlSchema::ownType(element.name() + "Type");
  return KtXmlSchema::ownType(ktXmlTypeNameOf(typeid(*this)));
}
