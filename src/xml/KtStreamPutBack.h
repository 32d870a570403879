#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

// Both input stream buffers refill a fixed array whose first `putBackSize` bytes are reserved
// for characters already read, so that a reader can step back a few characters even right
// after a refill. This moves up to `putBackSize` of the characters just read (those between
// `readStart` and `readPosition`) so that they end directly in front of buffer + putBackSize,
// and returns how many were kept.
inline std::size_t ktKeepPutBack(char* buffer, std::size_t putBackSize, const char* readStart,
                                 const char* readPosition) {
  const std::size_t alreadyRead =
      readStart && readPosition ? static_cast<std::size_t>(readPosition - readStart) : 0;
  const std::size_t kept = std::min(alreadyRead, putBackSize);
  if (kept > 0) std::memmove(buffer + putBackSize - kept, readPosition - kept, kept);
  return kept;
}
