#pragma once

#include <memory>
#include <string>

#include "math/coordinateSystemTransformation.h"
#include "xml/KtXmlObject.h"

// A rigid transformation that reads and writes itself: the child elements orientation
// and translation. It is used wherever a persistent class holds a transformation, and
// converts freely to and from the plain transformation of the math core. The mode code is
// not written; it is worked out again from the values read.
class KtCoordinateSystemTransformation : public Kt::coordinateSystemTransformation, public KtXmlObject {
 public:
  KtCoordinateSystemTransformation() = default;
  KtCoordinateSystemTransformation(const Kt::coordinateSystemTransformation& value)  // NOLINT: implicit
      : Kt::coordinateSystemTransformation(value) {}
  KtCoordinateSystemTransformation& operator=(const Kt::coordinateSystemTransformation& value) {
    Kt::coordinateSystemTransformation::operator=(value);
    return *this;
  }

  const Kt::coordinateSystemTransformation& value() const { return *this; }
  Kt::coordinateSystemTransformation& value() { return *this; }

  std::unique_ptr<KtXmlObject> clone() const override;
  std::unique_ptr<KtXmlObject> newInstance() const override;
  bool read(KtXmlReader& reader) override;
  bool write(KtXmlWriter& writer) const override;
  void writeSchema(KtXmlWriter& writer) const override;
  bool isEqual(const KtXmlObject& other) const override;
  std::string schemaTypeName() const override;

 private:
  // The smallest mode that the translation and orientation read allow.
  void recomputeMode();
};
