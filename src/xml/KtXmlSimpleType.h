#pragma once

#include <charconv>
#include <cmath>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

// How the simple value types are written and read as text: numbers, booleans, enumerations
// (as their integer) and strings. Each specialisation gives the XML Schema type name, a
// formatter that appends the text, and a parser that accepts exactly one value.
//
// Floating-point numbers are written with 20 significant digits in general notation, so
// that every double reads back to the same value (0.1 is written 0.10000000000000000555).
// Documents hold finite numbers only: NaN and the infinities are refused on reading, except
// that a field whose default is infinite (an absent limit) may take the infinities.
template <typename T>
struct KtXmlSimpleType;

// Which floating-point values a field takes from a document; NaN is never taken.
enum class KtXmlReals { finite, finiteOrInfinite };

// Types that can stand in a blank-separated list: everything simple except strings.
template <typename T>
concept KtXmlListable = std::is_arithmetic_v<T> || std::is_enum_v<T>;

template <typename T>
concept KtXmlSimple = KtXmlListable<T> || std::same_as<T, std::string>;

namespace ktXmlSimpleDetail {

// A leading '+' is accepted in front of numbers, which the text-to-number conversion
// would otherwise refuse.
inline std::string_view withoutPlus(std::string_view text) {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  return text;
}

template <typename N>
bool parseNumber(std::string_view text, N& value) {
  text = withoutPlus(text);
  N parsed{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) return false;
  value = parsed;
  return true;
}

template <std::floating_point N>
bool isTaken(N value, KtXmlReals reals) {
  return std::isfinite(value) || (reals == KtXmlReals::finiteOrInfinite && std::isinf(value));
}

template <typename N>
void formatNumber(N value, std::string& out) {
  char text[64];
  std::to_chars_result result;
  if constexpr (std::is_floating_point_v<N>) {
    // The spellings of the schema types for the special values.
    if (std::isnan(value)) return void(out += "NaN");
    if (std::isinf(value)) return void(out += value > 0 ? "INF" : "-INF");
    result = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 20);
  } else {
    result = std::to_chars(text, text + sizeof text, value);
  }
  out.append(text, result.ptr);
}

template <typename N>
constexpr const char* integerSchemaName() {
  constexpr bool isSigned = std::is_signed_v<N>;
  if constexpr (sizeof(N) == 1) return isSigned ? "byte" : "unsignedByte";
  if constexpr (sizeof(N) == 2) return isSigned ? "short" : "unsignedShort";
  return isSigned ? "long" : "unsignedLong";
}

}  // namespace ktXmlSimpleDetail

template <>
struct KtXmlSimpleType<bool> {
  static constexpr const char* schemaName = "boolean";
  static void format(bool value, std::string& out) { out += value ? "true" : "false"; }
  static bool parse(std::string_view text, bool& value) {
    if (text == "true" || text == "1") return value = true, true;
    if (text == "false" || text == "0") return value = false, true;
    return false;
  }
};

template <typename T>
requires std::floating_point<T>
struct KtXmlSimpleType<T> {
  static constexpr const char* schemaName = sizeof(T) == sizeof(float) ? "float" : "double";
  static void format(T value, std::string& out) { ktXmlSimpleDetail::formatNumber(value, out); }
  static bool parse(std::string_view text, T& value, KtXmlReals reals = KtXmlReals::finite) {
    T parsed{};
    if (!ktXmlSimpleDetail::parseNumber(text, parsed) || !ktXmlSimpleDetail::isTaken(parsed, reals))
      return false;
    value = parsed;
    return true;
  }
};

template <typename T>
requires(std::integral<T> && !std::same_as<T, bool>) struct KtXmlSimpleType<T> {
  static constexpr const char* schemaName = ktXmlSimpleDetail::integerSchemaName<T>();
  static void format(T value, std::string& out) { ktXmlSimpleDetail::formatNumber(value, out); }
  static bool parse(std::string_view text, T& value) { return ktXmlSimpleDetail::parseNumber(text, value); }
};

// An enumeration travels as its integer; KtXmlEnumType writes words instead.
template <typename T>
requires std::is_enum_v<T>
struct KtXmlSimpleType<T> {
  using Underlying = std::underlying_type_t<T>;
  static constexpr const char* schemaName = KtXmlSimpleType<Underlying>::schemaName;
  static void format(T value, std::string& out) {
    KtXmlSimpleType<Underlying>::format(static_cast<Underlying>(value), out);
  }
  static bool parse(std::string_view text, T& value) {
    Underlying number{};
    if (!KtXmlSimpleType<Underlying>::parse(text, number)) return false;
    value = static_cast<T>(number);
    return true;
  }
};

template <>
struct KtXmlSimpleType<std::string> {
  static constexpr const char* schemaName = "string";
  static void format(const std::string& value, std::string& out) { out += value; }
  static bool parse(std::string_view text, std::string& value) { return value.assign(text), true; }
};

// Whether the text spells a number that is not finite (NaN or an infinity, in any of the
// spellings the number parser knows), to say why a value was refused.
inline bool ktXmlSpellsNonFiniteNumber(std::string_view text) {
  double value = 0.0;
  return ktXmlSimpleDetail::parseNumber(text, value) && !std::isfinite(value);
}

// Parses a simple value; floating-point fields take the values `reals` allows.
template <KtXmlSimple T>
bool ktXmlParseSimple(std::string_view text, T& value, KtXmlReals reals = KtXmlReals::finite) {
  if constexpr (std::floating_point<T>) {
    return KtXmlSimpleType<T>::parse(text, value, reals);
  } else {
    return KtXmlSimpleType<T>::parse(text, value);
  }
}

// The qualified schema type name ("xs:double", ...) of a simple type.
template <KtXmlSimple T>
std::string ktXmlSchemaTypeOf() {
  return std::string("xs:") + KtXmlSimpleType<T>::schemaName;
}
