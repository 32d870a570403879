#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "support/PrintCapture.h"
#include "xml/KtDocumentStream.h"
#include "xml/KtHttpFetch.h"
#include "xml/KtIfHttpStream.h"
#include "xml/KtLoopbackHttpServer.h"
#include "xml/KtStreamTestFiles.h"

namespace {

// Every test program run starts its own server on 127.0.0.1, serving a temporary directory.
class KtHttpStreamTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    ::setenv("no_proxy", "*", 1);  // nothing may stand between the tests and the loopback server
    files_ = new TempDirectory;
    server_ = new KtLoopbackHttpServer(files_->path());
  }
  static void TearDownTestSuite() {
    delete server_;
    delete files_;
  }
  void SetUp() override {
    ASSERT_TRUE(server_->running()) << "the loopback test server did not start";
    ktHttpSettings().totalTimeoutMs = 5000;
    ktHttpSettings().lowSpeedSeconds = 1;
  }
  void TearDown() override { ktHttpSettings() = saved_; }

  static std::string serve(const std::string& name, const std::string& bytes) {
    writeBytes(files_->file(name), bytes);
    return server_->url("/" + name);
  }
  static std::string connectionFailure(const std::string& url, unsigned code) {
    return "Bad HTTP Connection: " + url + "\nError code: " + std::to_string(code);
  }

  const KtHttpSettings saved_ = ktHttpSettings();
  static inline TempDirectory* files_ = nullptr;
  static inline KtLoopbackHttpServer* server_ = nullptr;
};

}  // namespace

// Plain documents are binary-exact (byte 255 is ordinary content here); only ".gz" addresses
// are decompressed, whatever the content. Document names starting with "http://" are fetched.
TEST_F(KtHttpStreamTest, ServesPlainAndGzDocuments) {
  TestRandom rng(201);
  for (const std::size_t length : {0, 1, 994, 995, 996, 7777}) {
    const std::string document = randomBytes(rng, length);
    EXPECT_EQ(readAll(KtIfHttpStream(serve("doc.xml", document))), document) << length;
  }
  const std::string document = randomBytes(rng, 5000, 255);
  for (const std::string query : {"", "?reload=true"}) {
    KtIfHttpStream stream(serve("arm.xml.gz", gzipWithTool(*files_, document)) + query);
    ASSERT_TRUE(stream.isOpen());
    expectPutBackAnywhere(stream, document, rng);
  }
  KtIfHttpStream stream(serve("doc.xml", document));
  expectRefillBlocks(stream, 995);
  EXPECT_EQ(KtIfHttpStream(serve("arm.ktz", gzipWithTool(*files_, document))).get(), 0x1f);

  std::string resolved;
  const std::string address = serve("named.xml", "<arm/>");
  const auto fetched = ktOpenDocumentForReading(address, resolved);
  ASSERT_NE(fetched, nullptr);
  EXPECT_EQ(readAll(*fetched), "<arm/>");
  EXPECT_EQ(resolved, address);
  PrintCapture capture;
  EXPECT_EQ(ktOpenDocumentForReading(server_->url("/missing.xml"), resolved), nullptr);
  EXPECT_EQ(capture.text(), connectionFailure(server_->url("/missing.xml"), 22));
}

TEST_F(KtHttpStreamTest, QueryIsDroppedAndTrueAsksForAFreshCopy) {
  const std::string fresh = "path=/headers\ncache-control=no-cache\npragma=no-cache\n";
  const std::string normal = "path=/headers\ncache-control=\npragma=\n";
  const std::pair<std::string, std::string> cases[] = {{"", normal},
                                                       {"?reload=true", fresh},
                                                       {"?reload=false", normal},
                                                       {"?reload=TRUE", normal},
                                                       {"?true", normal}};
  for (const auto& [query, expected] : cases) {
    KtIfHttpStream stream(server_->url("/headers" + query));
    EXPECT_EQ(stream.rdbuf()->url(), server_->url("/headers"));
    EXPECT_EQ(readAll(stream), expected) << query;
  }
}

TEST_F(KtHttpStreamTest, FailuresAreReportedWithTheTransferError) {
  ktHttpSettings().maxBytes = 4096;
  ktHttpSettings().totalTimeoutMs = 1500;
  EXPECT_EQ(readAll(KtIfHttpStream(server_->url("/hop/5"))), "arrived");
  EXPECT_EQ(readAll(KtIfHttpStream(server_->url("/bytes/4096"))), std::string(4096, 'x'));
  const std::pair<std::string, unsigned> failures[] = {{server_->url("/missing.xml?reload=true"), 22},
                                                       {server_->url("/arm.xml", server_->closedPort()), 7},
                                                       {server_->url("/stall"), 28},
                                                       {server_->url("/hop/6"), 47},
                                                       {server_->url("/loop"), 47},
                                                       {server_->url("/to-ftp"), 1},
                                                       {server_->url("/bytes/4097"), 23},
                                                       {server_->url("/sized/4097"), 63}};
  for (const auto& [url, code] : failures) {
    PrintCapture capture;
    const auto start = std::chrono::steady_clock::now();
    KtIfHttpStream stream(url);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)) << url;
    EXPECT_TRUE(stream.fail() && !stream.isOpen());
    EXPECT_EQ(stream.rdbuf()->sgetc(), EOF);
    EXPECT_EQ(capture.text(), connectionFailure(url.substr(0, url.find('?')), code));
  }
  PrintCapture capture;
  EXPECT_FALSE(KtIfHttpStream(server_->url("/headers"), std::ios::out).isOpen());
  EXPECT_EQ(capture.text(), "KtHttpStream Error: only input mode allowed");
}
