// Number conversions of the platform the panel was first written for: reading the number at the
// start of a text, the numeric test, number texts, and rounding into whole-number fields.
// Texts are 8-bit Windows-1252 byte strings. Stateless and thread-safe. Every failure throws
// ConversionError.
#ifndef KETRA_PLATFORM_RUNTIME_CONVERSIONS_H_
#define KETRA_PLATFORM_RUNTIME_CONVERSIONS_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace ketra::runtime {

// The number at the start of `text`: blanks, tabs and line feeds are skipped (also between
// digits); optional sign, digits, fraction and exponent (E, e, D, d), or &H hexadecimal / &O
// octal typed like literals (up to 4 hex digits wrap as signed 16-bit, up to 8 as signed 32-bit).
// A text with no number gives 0. Fails (kOverflow) only beyond the range of a double.
double LeadingNumber(std::string_view text);

// True when the whole text, blanks around it aside, reads as one number by LeadingNumber's
// grammar with E or e as the only exponent letters. Empty and all-blank texts are not numeric,
// nor are locale forms ($5, 1,000, (5)) or a number beyond a double ("1e400"). Never fails.
bool IsNumeric(std::string_view text);

// The whole text read as a number (the forms IsNumeric takes) and rounded (halves to even) into
// 0..255. Empty or non-numeric text ("1d2" included): kTypeMismatch. Beyond a double, or outside
// the byte after rounding: kOverflow.
std::uint8_t ByteFromText(std::string_view text);

// Rounding to the nearest whole number, halves to the even one, then a range check (kOverflow).
std::int16_t RoundToInt16(double value);
std::int32_t RoundToInt32(double value);
std::uint8_t RoundToByte(double value);

// Plain number text: at most 15 significant digits, no point for a whole number, leading minus
// when negative, exponent form ("1E+15", "8.33333333333333E-02") once 15 digits cannot hold it.
std::string NumberText(double value);

// The same text with a sign place: a blank before a number that is 0 or above (" 459", " 0").
std::string SignedNumberText(double value);

// The code of the first character of the text (Windows-1252 byte). Empty text: kInvalidCall.
std::uint8_t CharCode(std::string_view text);

// A text taken to a truth value: -1 for true, 0 for false. A number is false when 0 and true
// otherwise; the words True and False (any case, blanks around allowed) count as such.
// Anything else: kTypeMismatch.
std::int16_t TruthFromText(std::string_view text);

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_CONVERSIONS_H_
