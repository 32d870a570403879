#pragma once

#include <memory>

#include "xml/KtXmlObject.h"

// Makes objects of the XML model from the token of their element.
class KtBaseXmlFactory {
 public:
  virtual ~KtBaseXmlFactory() = default;
  // A new object for the element token, owned by the caller; null for an unknown token.
  virtual std::unique_ptr<KtXmlObject> create(const KtToken& token) const = 0;
};
