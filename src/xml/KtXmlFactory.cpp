#include "xml/KtXmlFactory.h"

std::unique_ptr<KtXmlObject> KtXmlFactory::create(const KtToken& token) const {
  const std::shared_ptr<const KtXmlObject>* prototype = m_prototypes.find(token.name());
  return prototype != nullptr ? (*prototype)->newInstance() : nullptr;
}

void KtXmlFactory::registerPrototype(const KtToken& token, std::unique_ptr<KtXmlObject> prototype) {
  m_prototypes.set(token, std::move(prototype));
}

KtXmlFactory& KtXmlFactory::defaultFactory() {
  static KtXmlFactory factory;
  return factory;
}
