#pragma once

#include <functional>
#include <string_view>

// The toolkit's one channel for diagnostics. Messages are printf-formatted and carry a
// severity; by default they go to stderr, and a host (or a test) can install its own sink.

enum class KtSeverity { Debug, Info, Warning, Error };

using KtPrintSink = std::function<void(KtSeverity, std::string_view)>;

// Formats and delivers one message to the current sink.
void ktPrint(KtSeverity severity, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Installs a sink and returns the one it replaces. An empty sink restores stderr output.
KtPrintSink ktSetPrintSink(KtPrintSink sink);
