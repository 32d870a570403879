#include "xml/KtXmlObject.h"

#include <typeinfo>

#include "foundation/Print.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlTypeName.h"
#include "xml/KtXmlVersion.h"

KtXmlObject::~KtXmlObject() = default;

void KtXmlObject::writeSchema(KtXmlWriter&) const { reportMissingSchema(); }

void KtXmlObject::reportMissingSchema() const {
  ktPrint(KtSeverity::Warning, "%s: This class has not been specialized.\n",
          ktXmlClassName(typeid(*this)).c_str());
}

const KtToken& KtXmlObject::elementToken() const {
  static const KtToken none;
  return none;
}

std::string KtXmlObject::schemaTypeName() const { return "xs:string"; }

bool KtXmlObject::readText(std::string_view) { return false; }

bool KtXmlObject::writeText(std::string&) const { return false; }

void KtXmlObject::beginRead() {
  if (!isInitialized()) initialize();
  m_wasRead = true;
}

bool KtXmlObject::isVersionCompatible(KtXmlReader& reader) {
  const std::string* version = reader.attribute("version");
  return version == nullptr || ktIsVersionCompatible(*version);
}
