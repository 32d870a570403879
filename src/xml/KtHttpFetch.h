#pragma once

#include <cstddef>
#include <string>

// Limits of HTTP downloads.
struct KtHttpSettings {
  long connectTimeoutMs = 10'000;
  // The whole transfer, redirects included, must end within this time.
  long totalTimeoutMs = 120'000;
  // A transfer slower than one byte per second for this long is given up.
  long lowSpeedSeconds = 15;
  // A larger body is refused, so that a wrong URL cannot fill the memory.
  std::size_t maxBytes = std::size_t{64} << 20;
  long maxRedirects = 5;
};

// The limits every download uses; a host (or a test) may change them between downloads.
KtHttpSettings& ktHttpSettings();

// Downloads the resource at `url` whole into `content`. Redirects are followed, to http and https
// only; a status of 400 or above counts as a failure. With `bypassCache` the request asks every
// cache on the way for a fresh copy. Prints a message and returns false on failure.
bool ktHttpFetch(const std::string& url, bool bypassCache, std::string& content);
