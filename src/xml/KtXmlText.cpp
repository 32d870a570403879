#include "xml/KtXmlText.h"

#include <charconv>
#include <cstdint>

namespace {

// Appends the character with the given code: one byte below 256 (the documents are
// Latin-1), otherwise its UTF-8 form.
void appendCode(std::string& out, std::uint32_t code) {
  if (code < 0x100) {
    out.push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (code >> 6)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (code >> 12)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (code >> 18)));
    out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

// Decodes the reference whose name (between '&' and ';') is given; false if unknown.
bool decodeReference(std::string_view name, std::string& out) {
  if (name == "lt") return out.push_back('<'), true;
  if (name == "gt") return out.push_back('>'), true;
  if (name == "amp") return out.push_back('&'), true;
  if (name == "quot") return out.push_back('"'), true;
  if (name == "apos") return out.push_back('\''), true;
  if (name.size() < 2 || name[0] != '#') return false;
  int base = 10;
  std::string_view digits = name.substr(1);
  if (digits[0] == 'x') {
    base = 16;
    digits.remove_prefix(1);
  }
  std::uint32_t code = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, base);
  if (error != std::errc() || end != digits.data() + digits.size() || code > 0x10FFFF) return false;
  appendCode(out, code);
  return true;
}

}  // namespace

std::string_view ktXmlTrim(std::string_view text) {
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && ktXmlIsBlank(static_cast<unsigned char>(text[begin]))) ++begin;
  while (end > begin && ktXmlIsBlank(static_cast<unsigned char>(text[end - 1]))) --end;
  return text.substr(begin, end - begin);
}

void ktXmlDecodeReferences(std::string& text) {
  std::size_t amp = text.find('&');
  if (amp == std::string::npos) return;
  std::string decoded(text, 0, amp);
  while (amp < text.size()) {
    const std::size_t semicolon = text.find(';', amp);
    const bool known = semicolon != std::string::npos &&
                       decodeReference(std::string_view(text).substr(amp + 1, semicolon - amp - 1), decoded);
    const std::size_t resume = known ? semicolon + 1 : amp + 1;
    if (!known) decoded.push_back('&');
    amp = text.find('&', resume);
    decoded.append(text, resume, (amp == std::string::npos ? text.size() : amp) - resume);
  }
  text.swap(decoded);
}

void ktXmlAppendEscaped(std::string& out, std::string_view text, bool attributeValue) {
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '&':
        out += "&amp;";
        break;
      case '"':
        if (attributeValue)
          out += "&quot;";
        else
          out.push_back(c);
        break;
      default:
        // Control characters, and line breaks inside attribute values (which a reader
        // would otherwise turn into blanks), are written as character references.
        if (code < 0x20 && (attributeValue || !ktXmlIsBlank(code))) {
          out += "&#";
          out += std::to_string(code);
          out.push_back(';');
        } else {
          out.push_back(c);
        }
    }
  }
}
