// Number conversions with the rules the panel's texts were first written against. The reader of
// LeadingNumber is a small scanner over the text with blanks skipped; the decimal digits it
// collects go to from_chars so that the value is correctly rounded, which a digit-by-digit
// accumulation would not be.
#include "platform/runtime/conversions.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <system_error>

#include "platform/runtime/conversion_error.h"
#include "platform/runtime/strings.h"

namespace ketra::runtime {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

[[noreturn]] void Overflow() { throw ConversionError(ConversionFailure::kOverflow, "Overflow"); }
[[noreturn]] void TypeMismatch() {
  throw ConversionError(ConversionFailure::kTypeMismatch, "Type mismatch");
}

// Reads characters of a text one at a time, passing over blanks when asked to.
class Cursor {
 public:
  Cursor(std::string_view text, bool skip_blanks) : text_(text), skip_blanks_(skip_blanks) {}
  // The next significant character, or '\0' at the end.
  char Peek() {
    if (skip_blanks_) {
      while (pos_ < text_.size() && IsBlank(text_[pos_])) ++pos_;
    }
    return pos_ < text_.size() ? text_[pos_] : '\0';
  }
  void Next() { ++pos_; }
  bool AtEnd() { return Peek() == '\0' && pos_ >= text_.size(); }

 private:
  std::string_view text_;
  std::size_t pos_ = 0;
  bool skip_blanks_;
};

struct Scan {
  double value = 0;
  bool has_digits = false;  // at least one digit of the number itself was read
  bool complete = true;     // no dangling exponent letter or sign
};

// &H / &O literals: typed by their size, as the platform's literals are.
Scan ScanRadix(Cursor& in, int base) {
  Scan scan;
  std::uint64_t value = 0;
  bool too_big = false;
  for (;;) {
    int digit = HexDigit(in.Peek());
    if (digit < 0 || digit >= base) break;
    in.Next();
    scan.has_digits = true;
    if (!too_big) {
      value = value * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(digit);
      if (value > 0xFFFFFFFFull) too_big = true;
    }
  }
  if (too_big) Overflow();
  if (value <= 0xFFFFu) {
    scan.value = static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
  } else {
    scan.value = static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
  }
  return scan;
}

// Decimal text as collected by ScanNumber to the nearest double. from_chars rounds correctly
// and, unlike strtod, ignores the locale, which a window toolkit may have set.
double ParseDecimal(std::string_view text) {
  bool negative = false;
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  double value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  (void)end;
  if (error == std::errc::result_out_of_range) {
    // Too small rounds to zero; too large fails. The decimal exponent tells the two apart.
    std::size_t e = text.find('e');
    std::string_view mantissa = text.substr(0, e);
    long long exponent = 0;
    if (e != std::string_view::npos) {
      std::string_view digits = text.substr(e + 1);
      bool minus = !digits.empty() && digits[0] == '-';
      if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) digits.remove_prefix(1);
      for (char c : digits) {
        if (exponent < 100000) exponent = exponent * 10 + (c - '0');
      }
      if (minus) exponent = -exponent;
    }
    std::size_t point = mantissa.find('.');
    std::size_t first = mantissa.find_first_of("123456789");
    long long position =
        static_cast<long long>(point == std::string_view::npos ? mantissa.size() : point);
    long long magnitude = static_cast<long long>(first) < position
                              ? position - static_cast<long long>(first) - 1
                              : position - static_cast<long long>(first);
    if (magnitude + exponent > 0) Overflow();
    value = 0;
  }
  return negative ? -value : value;
}

// Which exponent letters continue a number. LeadingNumber also takes the D of the old
// double-precision literals; a whole-text read (the numeric test, ByteFromText) takes E alone.
enum class ExponentLetters { kEAndD, kEOnly };

bool IsExponentLetter(char c, ExponentLetters letters) {
  if (c == 'E' || c == 'e') return true;
  return letters == ExponentLetters::kEAndD && (c == 'D' || c == 'd');
}

// The common scanner of LeadingNumber and the numeric test. It stops at the first character
// that cannot continue the number; the caller looks at what is left.
Scan ScanNumber(Cursor& in, ExponentLetters letters) {
  if (in.Peek() == '&') {
    in.Next();
    char c = in.Peek();
    if (c == 'H' || c == 'h') {
      in.Next();
      return ScanRadix(in, 16);
    }
    if (c == 'O' || c == 'o') {
      in.Next();
      return ScanRadix(in, 8);
    }
    return Scan{};
  }
  Scan scan;
  std::string digits;  // normalised for strtod: sign, digits, point, digits, e, sign, digits
  char c = in.Peek();
  if (c == '+' || c == '-') {
    digits += c;
    in.Next();
  }
  while (IsDigit(c = in.Peek())) {
    digits += c;
    scan.has_digits = true;
    in.Next();
  }
  if (c == '.') {
    digits += '.';
    in.Next();
    while (IsDigit(c = in.Peek())) {
      digits += c;
      scan.has_digits = true;
      in.Next();
    }
  }
  if (!scan.has_digits) return Scan{};
  if (IsExponentLetter(c, letters)) {
    in.Next();
    std::string exponent = "e";
    c = in.Peek();
    if (c == '+' || c == '-') {
      exponent += c;
      in.Next();
    }
    bool exponent_digits = false;
    while (IsDigit(c = in.Peek())) {
      exponent += c;
      exponent_digits = true;
      in.Next();
    }
    // An exponent without digits counts as 0 for the value, but is no complete number.
    if (exponent_digits) {
      digits += exponent;
    } else {
      scan.complete = false;
    }
  }
  scan.value = ParseDecimal(digits);
  return scan;
}

std::string_view TrimBlanks(std::string_view text) { return TrimAny(text, " \t\n"); }

// Reads the whole text as one number, blanks around it allowed; nullopt-like flag when not.
bool ReadWhole(std::string_view text, double* value) {
  text = TrimBlanks(text);
  if (text.empty()) return false;
  Cursor in(text, false);
  Scan scan = ScanNumber(in, ExponentLetters::kEOnly);
  if (!scan.has_digits || !scan.complete || !in.AtEnd()) return false;
  *value = scan.value;
  return true;
}

double RoundHalfEven(double value) {
  // nearbyint follows the current rounding mode, which is to-nearest-even unless someone
  // changed it; the panel never does.
  return std::nearbyint(value);
}

template <typename T>
T RoundTo(double value) {
  if (std::isnan(value)) Overflow();
  double rounded = RoundHalfEven(value);
  if (rounded < static_cast<double>(std::numeric_limits<T>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<T>::max())) {
    Overflow();
  }
  return static_cast<T>(rounded);
}

// Digits and decimal exponent of a value rounded to 15 significant digits, trailing zeros
// dropped: 1/12 gives "833333333333333" and -2.
void SignificantDigits(double magnitude, std::string* digits, int* exponent) {
  char buffer[40];
  auto result =
      std::to_chars(buffer, buffer + sizeof buffer, magnitude, std::chars_format::scientific, 14);
  std::string_view text(buffer, static_cast<std::size_t>(result.ptr - buffer));
  std::size_t e = text.find('e');
  digits->clear();
  for (char c : text.substr(0, e)) {
    if (c != '.') *digits += c;
  }
  while (digits->size() > 1 && digits->back() == '0') digits->pop_back();
  std::string_view tail = text.substr(e + 1);
  bool minus = tail[0] == '-';
  tail.remove_prefix(1);
  *exponent = 0;
  for (char c : tail) *exponent = *exponent * 10 + (c - '0');
  if (minus) *exponent = -*exponent;
}

std::string FormatNumber(double value, bool keep_leading_zero) {
  if (!std::isfinite(value)) Overflow();
  if (value == 0) return "0";
  std::string digits;
  int exponent = 0;
  SignificantDigits(std::fabs(value), &digits, &exponent);
  const int count = static_cast<int>(digits.size());
  std::string out = value < 0 ? "-" : "";
  // The plain form is used while it needs no more than 15 digits in all, counting the zeros
  // between the point and the first significant digit: 0.00001 stays plain, 1/12 does not.
  const bool plain = exponent >= 0 ? exponent < 15 : (-exponent - 1) + count <= 15;
  if (plain) {
    if (exponent >= 0) {
      if (count <= exponent + 1) {
        out += digits;
        out.append(static_cast<std::size_t>(exponent + 1 - count), '0');
      } else {
        out += digits.substr(0, static_cast<std::size_t>(exponent + 1));
        out += '.';
        out += digits.substr(static_cast<std::size_t>(exponent + 1));
      }
    } else {
      if (keep_leading_zero) out += '0';
      out += '.';
      out.append(static_cast<std::size_t>(-exponent - 1), '0');
      out += digits;
    }
    return out;
  }
  out += digits[0];
  if (count > 1) {
    out += '.';
    out += digits.substr(1);
  }
  char tail[16];
  std::snprintf(tail, sizeof tail, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
  out += tail;
  return out;
}

}  // namespace

double LeadingNumber(std::string_view text) {
  Cursor in(text, true);
  return ScanNumber(in, ExponentLetters::kEAndD).value;
}

bool IsNumeric(std::string_view text) {
  // The test answers and never fails: a number beyond a double is simply no number.
  double ignored = 0;
  try {
    return ReadWhole(text, &ignored);
  } catch (const ConversionError&) {
    return false;
  }
}

std::uint8_t ByteFromText(std::string_view text) {
  double value = 0;
  if (!ReadWhole(text, &value)) TypeMismatch();
  return RoundToByte(value);
}

std::int16_t RoundToInt16(double value) { return RoundTo<std::int16_t>(value); }
std::int32_t RoundToInt32(double value) { return RoundTo<std::int32_t>(value); }
std::uint8_t RoundToByte(double value) { return RoundTo<std::uint8_t>(value); }

std::string NumberText(double value) { return FormatNumber(value, true); }

std::string SignedNumberText(double value) {
  std::string text = FormatNumber(value, false);
  if (text[0] != '-') text.insert(0, 1, ' ');
  return text;
}

std::uint8_t CharCode(std::string_view text) {
  if (text.empty()) {
    throw ConversionError(ConversionFailure::kInvalidCall, "Invalid procedure call or argument");
  }
  return static_cast<std::uint8_t>(text[0]);
}

std::int16_t TruthFromText(std::string_view text) {
  std::string_view word = TrimBlanks(text);
  if (EqualsNoCase(word, "true")) return -1;
  if (EqualsNoCase(word, "false")) return 0;
  double value = 0;
  if (!ReadWhole(text, &value)) TypeMismatch();
  return value != 0 ? -1 : 0;
}

}  // namespace ketra::runtime
