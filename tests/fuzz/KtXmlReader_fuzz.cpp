// libFuzzer entry point for the XML reader: every input is read as a document into an
// object that holds one member of every wrapper kind, twice.
//
// First from memory, with included documents served from memory too (the input itself
// under "self.xml", so that include cycles are reachable, and a small fixed document under
// any other name); what was read must write out again.
//
// Then by name from a real file, through the toolkit's own document opener: the input is
// written as "self.xml" into a scratch directory that also holds a small document
// ("leaf.xml"), its compressed form ("leaf.xml.gz"), a document including the input again
// ("back.xml"), a directory ("dir.xml") and a FIFO without a writer ("fifo.xml");
// "missing.xml" does not exist. Hrefs in the input reach all of them.
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "foundation/Print.h"
#include "xml/KtDocumentStream.h"
#include "xml/KtInclude.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlTestObjects.h"

namespace {

std::string currentInput;
std::string scratchDirectory;

const char* const kIncludedDocument =
    "<sm:testLeaf xmlns:sm=\"http://kt.example.org/namespace/sm#\"><value>1.5</value>"
    "<offset x=\"1\" y=\"2\" z=\"3\"/></sm:testLeaf>";

std::unique_ptr<std::istream> openFromMemory(const std::string& name, std::string& resolvedPath) {
  resolvedPath = name;
  const bool self = name.size() >= 8 && name.compare(name.size() - 8, 8, "self.xml") == 0;
  return std::make_unique<std::istringstream>(self ? currentInput : std::string(kIncludedDocument));
}

std::string scratchFile(const std::string& name) { return scratchDirectory + "/" + name; }

void removeScratchDirectory() { std::filesystem::remove_all(scratchDirectory); }

void createScratchDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kt-xml-fuzz-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) std::abort();
  scratchDirectory = pattern;
  std::atexit(removeScratchDirectory);
  std::ofstream(scratchFile("leaf.xml")) << kIncludedDocument;
  *ktOpenDocumentForWriting(scratchFile("leaf.xml.gz")) << kIncludedDocument;
  std::ofstream(scratchFile("back.xml"))
      << "<sm:KtInclude xmlns:sm=\"http://kt.example.org/namespace/sm#\" "
         "xmlns:xlink=\"http://www.w3.org/1999/xlink\" xlink:type=\"simple\" xlink:href=\"self.xml\"/>";
  std::filesystem::create_directory(scratchFile("dir.xml"));
  if (::mkfifo(scratchFile("fifo.xml").c_str(), 0600) != 0) std::abort();
}

int initialise() {
  ktSetPrintSink([](KtSeverity, std::string_view) {});  // the messages are not under test here
  createScratchDirectory();
  return 0;
}

void readFromMemory() {
  KtInclude::setDocumentOpener(openFromMemory);
  std::istringstream stream(currentInput);
  KtTestEverything object;
  ktReadObjectFromStream(object, stream, "self.xml");
  std::ostringstream written;
  ktWriteObjectToStream(object, written, "self.xml");
  KtInclude::setDocumentOpener(nullptr);
}

void readByName() {
  const std::string self = scratchFile("self.xml");
  std::ofstream(self, std::ios::binary | std::ios::trunc) << currentInput;
  KtTestEverything object;
  ktReadObjectFromFile(object, self);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int initialised = initialise();
  (void)initialised;
  currentInput.assign(reinterpret_cast<const char*>(data), size);
  readFromMemory();
  readByName();
  return 0;
}
