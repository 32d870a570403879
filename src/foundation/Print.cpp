#include "foundation/Print.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

namespace {

KtPrintSink& currentSink() {
  static KtPrintSink sink;
  return sink;
}

void writeToStderr(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

}  // namespace

void ktPrint(KtSeverity severity, const char* format, ...) {
  // Most messages fit the stack buffer; longer ones are formatted a second time into a
  // string of the right size.
  char small[512];
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(small, sizeof small, format, args);
  va_end(args);
  std::string large;
  std::string_view text;
  if (length < 0) {
    text = format;
  } else if (static_cast<std::size_t>(length) < sizeof small) {
    text = std::string_view(small, static_cast<std::size_t>(length));
  } else {
    large.resize(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(large.data(), large.size(), format, again);
    large.pop_back();
    text = large;
  }
  va_end(again);

  if (const KtPrintSink& sink = currentSink()) {
    sink(severity, text);
  } else {
    writeToStderr(text);
  }
}

KtPrintSink ktSetPrintSink(KtPrintSink sink) { return std::exchange(currentSink(), std::move(sink)); }
