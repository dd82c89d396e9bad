// The number conversions on any text: each answers or fails with ConversionError, never with
// anything else, and what they answer agrees with itself: a numeric text reads as a number, and
// a number's text reads back as nearly that number.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "fuzz/fuzz_check.h"
#include "platform/runtime/conversion_error.h"
#include "platform/runtime/conversions.h"

namespace {

using ketra::runtime::ConversionError;
using ketra::runtime::ConversionFailure;

// Runs `body`; a ConversionError is an answer too. Anything else escapes to libFuzzer.
template <typename Body>
bool Answers(Body&& body) {
  try {
    body();
    return true;
  } catch (const ConversionError&) {
    return false;
  }
}

void CheckNumberText(double value) {
  // Near the largest double, 15 digits round up beyond it and the text no longer reads back
  // ("1.79769313486232E+308"): the platform's texts do the same.
  if (!std::isfinite(value) || std::fabs(value) > 1e308) return;
  for (const std::string& text :
       {ketra::runtime::NumberText(value), ketra::runtime::SignedNumberText(value)}) {
    FUZZ_CHECK(ketra::runtime::IsNumeric(text));
    const double back = ketra::runtime::LeadingNumber(text);
    // 15 significant digits: within a few parts in 1e15, or both below the smallest normal.
    FUZZ_CHECK(std::fabs(back - value) <= 1e-14 * std::fabs(value) || std::fabs(value) < 1e-300);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  double leading = 0;
  const bool leading_answered = Answers([&] { leading = ketra::runtime::LeadingNumber(text); });
  const bool numeric = ketra::runtime::IsNumeric(text);  // never fails: no wrapper
  Answers([&] { ketra::runtime::TruthFromText(text); });
  Answers([&] { ketra::runtime::CharCode(text); });
  try {
    ketra::runtime::ByteFromText(text);
  } catch (const ConversionError& error) {
    // A numeric text is a number: only its size can make it no byte.
    FUZZ_CHECK(!numeric || error.failure() == ConversionFailure::kOverflow);
  }
  if (numeric) {
    // The whole text is one number, so the number at its start is it.
    FUZZ_CHECK(leading_answered);
    CheckNumberText(leading);
  }
  if (leading_answered) {
    Answers([&] { ketra::runtime::RoundToInt16(leading); });
    Answers([&] { ketra::runtime::RoundToInt32(leading); });
    Answers([&] { ketra::runtime::RoundToByte(leading); });
  }
  // The raw bytes as a double too, to reach the number texts of any value.
  if (size >= sizeof(double)) {
    double raw = 0;
    std::memcpy(&raw, data, sizeof raw);
    CheckNumberText(raw);
    Answers([&] { ketra::runtime::RoundToInt32(raw); });
  }
  return 0;
}
