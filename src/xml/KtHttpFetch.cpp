#include "xml/KtHttpFetch.h"

#include <memory>

#include <curl/curl.h>

#include "foundation/Print.h"

namespace {

constexpr const char* kUserAgent = "kt-document-reader/2.0";
constexpr const char* kWebProtocols = "http,https";

bool curlReady() {
  static const bool ready = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  return ready;
}

struct Download {
  std::string& content;
  std::size_t limit;
};

// Appends one chunk of the body; returning less than was offered makes curl abort the transfer.
std::size_t appendChunk(char* data, std::size_t size, std::size_t count, void* userData) {
  Download& download = *static_cast<Download*>(userData);
  const std::size_t bytes = size * count;
  if (bytes > download.limit - download.content.size()) return 0;
  download.content.append(data, bytes);
  return bytes;
}

using CurlHandle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using HeaderList = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

void appendHeader(HeaderList& headers, const char* header) {
  if (curl_slist* grown = curl_slist_append(headers.get(), header)) {
    static_cast<void>(headers.release());
    headers.reset(grown);
  }
}

void restrictToWebProtocols(CURL* curl) {
#if LIBCURL_VERSION_NUM >= 0x075500
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, kWebProtocols);
  curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, kWebProtocols);
#else
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
  curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
#endif
}

void applyLimits(CURL* curl, const KtHttpSettings& settings) {
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(curl, CURLOPT_MAXREDIRS, settings.maxRedirects);
  restrictToWebProtocols(curl);
  curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, settings.connectTimeoutMs);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, settings.totalTimeoutMs);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, settings.lowSpeedSeconds);
  // Refuses early when the server announces a larger body; appendChunk catches the others.
  curl_easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(settings.maxBytes));
}

}  // namespace

KtHttpSettings& ktHttpSettings() {
  static KtHttpSettings settings;
  return settings;
}

bool ktHttpFetch(const std::string& url, bool bypassCache, std::string& content) {
  CurlHandle curl(curlReady() ? curl_easy_init() : nullptr, &curl_easy_cleanup);
  if (!curl) {
    ktPrint(KtSeverity::Error, "Bad HTTP Socket: %u", static_cast<unsigned>(CURLE_FAILED_INIT));
    return false;
  }
  HeaderList headers(nullptr, &curl_slist_free_all);
  if (bypassCache) {
    appendHeader(headers, "Cache-Control: no-cache");
    appendHeader(headers, "Pragma: no-cache");
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
  }
  content.clear();
  Download download{content, ktHttpSettings().maxBytes};
  curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_USERAGENT, kUserAgent);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, &appendChunk);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &download);
  applyLimits(curl.get(), ktHttpSettings());

  const CURLcode result = curl_easy_perform(curl.get());
  if (result != CURLE_OK) {
    content.clear();
    ktPrint(KtSeverity::Error, "Bad HTTP Connection: %s\nError code: %u", url.c_str(),
            static_cast<unsigned>(result));
    return false;
  }
  return true;
}
