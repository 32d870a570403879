#pragma once

#include <memory>

#include "xml/KtBaseXmlFactory.h"
#include "xml/KtTokenTable.h"

// A factory holding one prototype per class, keyed by the element token (looked up, like
// every token table, by local name). create() returns a new instance made by the
// prototype itself.
class KtXmlFactory : public KtBaseXmlFactory {
 public:
  KtXmlFactory() = default;
  KtXmlFactory(const KtXmlFactory&) = delete;
  KtXmlFactory& operator=(const KtXmlFactory&) = delete;

  std::unique_ptr<KtXmlObject> create(const KtToken& token) const override;

  void registerPrototype(const KtToken& token, std::unique_ptr<KtXmlObject> prototype);
  // Registers a class under its own element token.
  template <typename T>
  void registerClass() {
    auto prototype = std::make_unique<T>();
    const KtToken token = prototype->elementToken();
    registerPrototype(token, std::move(prototype));
  }

  // The factory that polymorphic vectors use unless they are given another; the classes
  // that may appear in them register here at start-up.
  static KtXmlFactory& defaultFactory();

 private:
  KtTokenTable<std::shared_ptr<const KtXmlObject>> m_prototypes;
};
