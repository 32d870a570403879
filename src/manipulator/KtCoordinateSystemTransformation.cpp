#include "manipulator/KtCoordinateSystemTransformation.h"

#include <typeinfo>
#include <utility>

#include "xml/KtXmlOrientation.h"
#include "xml/KtXmlReader.h"
#include "xml/KtXmlSchema.h"
#include "xml/KtXmlValueWarning.h"
#include "xml/KtXmlVector.h"
#include "xml/KtXmlWriter.h"

namespace {

constexpr std::string_view kOrientation = "orientation";
constexpr std::string_view kTranslation = "translation";

}  // namespace

std::unique_ptr<KtXmlObject> KtCoordinateSystemTransformation::clone() const {
  return std::make_unique<KtCoordinateSystemTransformation>(*this);
}

std::unique_ptr<KtXmlObject> KtCoordinateSystemTransformation::newInstance() const {
  return std::make_unique<KtCoordinateSystemTransformation>();
}

bool KtCoordinateSystemTransformation::read(KtXmlReader& reader) {
  beginRead();
  Kt::Vector translation;
  Kt::Orientation orientation;
  // Each part takes its first element; a later one is reported and skipped.
  bool hasTranslation = false;
  bool hasOrientation = false;
  const auto first = [&reader](bool& seen, std::string_view name) {
    if (seen) ktXmlWarnRepeatedElement(reader, "KtCoordinateSystemTransformation", name);
    return !std::exchange(seen, true);
  };
  const bool read = reader.readChildren([&](const KtToken& child) {
    if (child.name() == kTranslation)
      return first(hasTranslation, kTranslation) && KtXmlValueIo<Kt::Vector>::read(reader, translation);
    if (child.name() == kOrientation)
      return first(hasOrientation, kOrientation) && KtXmlValueIo<Kt::Orientation>::read(reader, orientation);
    return false;
  });
  Kt::coordinateSystemTransformation::operator=(Kt::coordinateSystemTransformation(translation, orientation));
  recomputeMode();
  return read;
}

void KtCoordinateSystemTransformation::recomputeMode() {
  const bool translates = !(translation() == Kt::Vector::zeroVector());
  const bool rotates = !(orientation() == Kt::Orientation::identity());
  if (translates && rotates) {
    setMode(modeGeneral);
  } else if (rotates) {
    setMode(modeRotation);
  } else if (translates) {
    setMode(modeTranslation);
  } else {
    setMode(modeIdentity);
  }
}

// Children in the byte-wise order of their names, as every compound element is written.
bool KtCoordinateSystemTransformation::write(KtXmlWriter& writer) const {
  writer.writeStartElement(kOrientation);
  KtXmlValueIo<Kt::Orientation>::write(writer, orientation());
  writer.writeEndElement();
  writer.writeStartElement(kTranslation);
  KtXmlValueIo<Kt::Vector>::write(writer, translation());
  writer.writeEndElement();
  return true;
}

void KtCoordinateSystemTransformation::writeSchema(KtXmlWriter& writer) const {
  KtXmlSchema& schema = writer.schema();
  const std::string type = schemaTypeName();
  schema.addElement(type, KtToken(kOrientation),
                    KtXmlValueIo<Kt::Orientation>::schemaTypeName(orientation()));
  schema.addElement(type, KtToken(kTranslation), KtXmlValueIo<Kt::Vector>::schemaTypeName(translation()));
  KtXmlValueIo<Kt::Orientation>::writeSchema(writer, orientation());
  KtXmlValueIo<Kt::Vector>::writeSchema(writer, translation());
}

bool KtCoordinateSystemTransformation::isEqual(const KtXmlObject& other) const {
  return typeid(other) == typeid(*this) &&
         static_cast<const KtCoordinateSystemTransformation&>(other).value() == value();
}

std::string KtCoordinateSystemTransformation::schemaTypeName() const {
  return KtXmlSchema::ownType("coordinateSystemTransformationType");
}
