#pragma once

#include <string>
#include <utility>
#include <vector>

#include "foundation/Print.h"

// Collects every message printed through the toolkit's print facility while it lives, so
// that tests can assert on exact texts. The previous sink is restored on destruction.
class PrintCapture {
 public:
  struct Message {
    KtSeverity severity;
    std::string text;
  };

  PrintCapture()
      : previous_(ktSetPrintSink([this](KtSeverity severity, std::string_view text) {
          messages_.push_back({severity, std::string(text)});
        })) {}
  ~PrintCapture() { ktSetPrintSink(std::move(previous_)); }
  PrintCapture(const PrintCapture&) = delete;
  PrintCapture& operator=(const PrintCapture&) = delete;

  const std::vector<Message>& messages() const { return messages_; }

  // All texts, concatenated in order.
  std::string text() const {
    std::string all;
    for (const Message& message : messages_) all += message.text;
    return all;
  }
  void clear() { messages_.clear(); }

 private:
  std::vector<Message> messages_;
  KtPrintSink previous_;
};
