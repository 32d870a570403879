// libFuzzer entry point for the XML reader: every input is read as a document into an
// object that holds one member of every wrapper kind. Included documents are served from
// memory (the input itself under "self.xml", so that include cycles are reachable, and a
// small fixed document under any other name), never from the disk.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "foundation/Print.h"
#include "xml/KtInclude.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlTestObjects.h"

namespace {

std::string currentInput;

const char* const kIncludedDocument =
    "<sm:testLeaf xmlns:sm=\"http://kt.example.org/namespace/sm#\"><value>1.5</value>"
    "<offset x=\"1\" y=\"2\" z=\"3\"/></sm:testLeaf>";

std::unique_ptr<std::istream> openFromMemory(const std::string& name, std::string& resolvedPath) {
  resolvedPath = name;
  const bool self = name.size() >= 8 && name.compare(name.size() - 8, 8, "self.xml") == 0;
  return std::make_unique<std::istringstream>(self ? currentInput : std::string(kIncludedDocument));
}

int initialise() {
  ktSetPrintSink([](KtSeverity, std::string_view) {});  // the messages are not under test here
  KtInclude::setDocumentOpener(openFromMemory);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int initialised = initialise();
  (void)initialised;
  currentInput.assign(reinterpret_cast<const char*>(data), size);
  std::istringstream stream(currentInput);
  KtTestEverything object;
  ktReadObjectFromStream(object, stream, "self.xml");
  // What was read must write out again without trouble.
  std::ostringstream written;
  ktWriteObjectToStream(object, written, "self.xml");
  return 0;
}
