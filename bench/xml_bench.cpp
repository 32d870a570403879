// Loading and saving a large generated document (several MB) through the XML layer, in
// MB/s, beside `xmllint --noout` parsing the same file.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlFile.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlOrientation.h"
#include "xml/KtXmlVector.h"
#include "xml/KtXmlVectorType.h"

namespace {

// A link-like record: a label, a pose and a row of numbers.
class KtBenchRecord : public KtXmlCloneable<KtBenchRecord, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceSm, "benchRecord");
    return token;
  }
  KtXmlBasicType<std::string> m_label;
  KtXmlVector m_position;
  KtXmlOrientation m_orientation;
  KtXmlVectorType<KtReal> m_values;

 protected:
  void registerComponents() override {
    static const KtToken label(ktNamespaceSm, "label"), position(ktNamespaceSm, "position"),
        orientation(ktNamespaceSm, "orientation"), values(ktNamespaceSm, "values");
    registerComponent(label, m_label);
    registerComponent(position, m_position);
    registerComponent(orientation, m_orientation);
    registerComponent(values, m_values);
  }
};

class KtBenchDocument : public KtXmlCloneable<KtBenchDocument, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override {
    static const KtToken token(ktNamespaceSm, "benchDocument");
    return token;
  }
  KtXmlVectorType<KtBenchRecord> m_records;

 protected:
  void registerComponents() override {
    static const KtToken records(ktNamespaceSm, "records");
    registerComponent(records, m_records);
  }
};

constexpr std::size_t kRecords = 20000;

KtBenchDocument makeDocument() {
  std::mt19937_64 engine(3);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  KtBenchDocument document;
  for (std::size_t i = 0; i < kRecords; ++i) {
    KtBenchRecord record;
    record.m_label = "link" + std::to_string(i);
    record.m_position = Kt::Vector(uniform(engine), uniform(engine), uniform(engine));
    record.m_orientation =
        Kt::Orientation(uniform(engine), uniform(engine), uniform(engine), uniform(engine));
    for (int k = 0; k < 12; ++k) record.m_values.push_back(uniform(engine));
    document.m_records.push_back(record);
  }
  return document;
}

// The generated document, written once to a file in the temporary directory.
const std::string& documentPath() {
  static const std::string path = [] {
    const std::string file = (std::filesystem::temp_directory_path() / "kt-bench-document.xml").string();
    ktWriteObjectToFile(makeDocument(), file);
    return file;
  }();
  return path;
}

double documentBytes() { return static_cast<double>(std::filesystem::file_size(documentPath())); }

void reportThroughput(benchmark::State& state) {
  state.counters["MB/s"] = benchmark::Counter(documentBytes() * static_cast<double>(state.iterations()) / 1e6,
                                              benchmark::Counter::kIsRate);
  state.counters["MB"] = documentBytes() / 1e6;
}

void XmlLoad_Kt(benchmark::State& state) {
  const std::string& path = documentPath();
  for (auto _ : state) {
    KtBenchDocument document;
    if (!ktReadObjectFromFile(document, path)) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(document);
  }
  reportThroughput(state);
}
BENCHMARK(XmlLoad_Kt)->Unit(benchmark::kMillisecond)->UseRealTime();

void XmlSave_Kt(benchmark::State& state) {
  const KtBenchDocument document = makeDocument();
  const std::string path = documentPath() + ".saved.xml";
  for (auto _ : state) {
    if (!ktWriteObjectToFile(document, path)) state.SkipWithError("save failed");
  }
  reportThroughput(state);
}
BENCHMARK(XmlSave_Kt)->Unit(benchmark::kMillisecond)->UseRealTime();

// The reference parser, as a separate process (its start-up is a few ms of the total).
void XmlParse_Xmllint(benchmark::State& state) {
  const std::string command = "xmllint --noout " + documentPath();
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("xmllint failed");
  }
  reportThroughput(state);
}
BENCHMARK(XmlParse_Xmllint)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
