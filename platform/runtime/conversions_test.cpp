#include "platform/runtime/conversions.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>

#include "platform/runtime/conversion_error.h"

namespace ketra::runtime {
namespace {

// The failure a conversion ends with; none when it answers.
template <typename Convert>
std::optional<ConversionFailure> FailureOf(Convert&& convert) {
  try {
    convert();
  } catch (const ConversionError& e) {
    return e.failure();
  }
  return std::nullopt;
}

// A rounding's answer; none when it fails.
template <typename Round>
std::optional<int> Rounded(Round round, double value) {
  try {
    return round(value);
  } catch (const ConversionError&) {
    return std::nullopt;
  }
}

struct NumberCase {
  std::string text;
  double value;
};

TEST(LeadingNumberTest, ReadsTheNumberAtTheStart) {
  const NumberCase cases[] = {
      {"", 0},
      {"abc", 0},
      {"459.95", 459.95},
      {" 2 45 7", 2457},
      {"    1615 198th Street N.E.", 1615198},
      {"24 and 57", 24},
      {"\t1\n2", 12},
      {"12ab", 12},
      {"03000", 3000},
      {"3000 ", 3000},
      {"1e3", 1000},
      {"1d2", 100},
      {"1D-2", 0.01},
      {"1e", 1},
      {"1e+", 1},
      {".", 0},
      {"-", 0},
      {"+.5", 0.5},
      {"-2.5", -2.5},
      {"5.", 5},
      {"1.2.3", 1.2},
      {"--5", 0},
      {"$5", 0},
      {"1,000", 1},
      {"&HFFFF", -1},
      {"&hff", 255},
      {"&H8000", -32768},
      {"&H10000", 65536},
      {"&HFFFFFFFF", -1},
      {"&H0000FFFF", -1},
      {"&H7FFFFFFF", 2147483647},
      {"&H1G", 1},
      {"&O17", 15},
      {"&o177777", -1},
      {"&O200000", 65536},
      {"&O8", 0},
      {"&", 0},
      {"&X1", 0},
      {"& H 1 F", 31},
      {"1e-400", 0},
      {"0e999999", 0},
      {"1.7976931348623157e308", 1.7976931348623157e308},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(LeadingNumber(c.text), c.value) << '"' << c.text << '"';
  }
}

TEST(LeadingNumberTest, FailsBeyondTheRangeOfADouble) {
  for (const char* text : {"1e309", "-1e400", "1e99999999999999999999", "&H100000000",
                           "&O40000000000", "999e306", "1.79769313486232E+308"}) {
    EXPECT_EQ(FailureOf([&] { LeadingNumber(text); }), ConversionFailure::kOverflow) << text;
  }
}

TEST(IsNumericTest, WholeTextMustBeOneNumber) {
  const std::pair<const char*, bool> cases[] = {
      {"459.95", true}, {"45 Help", false}, {"", false},       {" ", false},
      {" 17 ", true},   {"&H1F", true},     {"&O17", true},    {"&H", false},
      {"+1", true},     {"-1", true},       {".5", true},      {"5.", true},
      {"1e5", true},    {"1D5", false},     {"1e", false},     {"1e+", false},
      {".", false},     {"-", false},       {"$5", false},     {"1,000", false},
      {"(5)", false},   {"5-", false},      {"1 2", false},    {"\t3\n", true},
      {"1.2.3", false}, {"&", false},       {"0x10", false},   {"1e-5", true},
      {"1d2", false},   {"1e400", false},   {"-1e400", false}, {"&H123456789", false},
      {"1e309", false}, {" 1e400 ", false},
  };
  for (const auto& [text, numeric] : cases) {
    EXPECT_EQ(IsNumeric(text), numeric) << '"' << text << '"';
  }
}

TEST(ByteFromTextTest, RoundsHalvesToEvenThenChecksTheRange) {
  const std::pair<const char*, int> good[] = {
      {" 17 ", 17}, {"&H11", 17}, {"1e2", 100},   {"-0.5", 0},  {"-0.4", 0}, {"0.5", 0},
      {"1.5", 2},   {"2.5", 2},   {"255.4", 255}, {"255", 255}, {"0", 0},    {"66", 66},
  };
  for (const auto& [text, value] : good) {
    EXPECT_EQ(ByteFromText(text), value) << '"' << text << '"';
  }
  const std::pair<const char*, ConversionFailure> bad[] = {
      {"", ConversionFailure::kTypeMismatch},        {"abc", ConversionFailure::kTypeMismatch},
      {"12ab", ConversionFailure::kTypeMismatch},    {" ", ConversionFailure::kTypeMismatch},
      {"-0.6", ConversionFailure::kOverflow},        {"255.5", ConversionFailure::kOverflow},
      {"256", ConversionFailure::kOverflow},         {"-1", ConversionFailure::kOverflow},
      {"&HFFFF", ConversionFailure::kOverflow},      {"1e309", ConversionFailure::kOverflow},
      {"1d2", ConversionFailure::kTypeMismatch},     {"1D5", ConversionFailure::kTypeMismatch},
      {"&H123456789", ConversionFailure::kOverflow},
  };
  for (const auto& [text, failure] : bad) {
    EXPECT_EQ(FailureOf([text = text] { ByteFromText(text); }), failure) << '"' << text << '"';
  }
}

// Halves go to the even neighbour; the range is checked after rounding.
TEST(RoundingTest, HalvesToEvenThenTheRange) {
  constexpr auto kNone = std::nullopt;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double value;
    std::optional<int> int16, int32, byte;
  } cases[] = {{0.5, 0, 0, 0},
               {1.5, 2, 2, 2},
               {2.5, 2, 2, 2},
               {3.5, 4, 4, 4},
               {2.51, 3, 3, 3},
               {-0.5, 0, 0, 0},
               {-1.5, -2, -2, kNone},
               {-2.5, -2, -2, kNone},
               {255.4, 255, 255, 255},
               {255.5, 256, 256, kNone},
               {-0.6, -1, -1, kNone},
               {-32768.5, -32768, -32768, kNone},
               {32767.49, 32767, 32767, kNone},
               {-32768.51, kNone, -32769, kNone},
               {32767.5, kNone, 32768, kNone},
               {-2147483648.5, kNone, std::numeric_limits<std::int32_t>::min(), kNone},
               {2147483647.49, kNone, std::numeric_limits<std::int32_t>::max(), kNone},
               {-2147483648.51, kNone, kNone, kNone},
               {2147483647.5, kNone, kNone, kNone},
               {1e300, kNone, kNone, kNone},
               {nan, kNone, kNone, kNone}};
  for (const auto& c : cases) {
    EXPECT_EQ(Rounded(RoundToInt16, c.value), c.int16) << c.value;
    EXPECT_EQ(Rounded(RoundToInt32, c.value), c.int32) << c.value;
    EXPECT_EQ(Rounded(RoundToByte, c.value), c.byte) << c.value;
  }
}

TEST(NumberTextTest, FifteenSignificantDigitsThenExponentForm) {
  const std::pair<double, const char*> cases[] = {
      {0, "0"},
      {-0.0, "0"},
      {3000, "3000"},
      {-459, "-459"},
      {1.5, "1.5"},
      {-459.65, "-459.65"},
      {0.12, "0.12"},
      {587311296, "587311296"},
      {-939415360, "-939415360"},
      {999999999999999, "999999999999999"},
      {1e15, "1E+15"},
      {-1e15, "-1E+15"},
      {123456789012345678.0, "1.23456789012346E+17"},
      {1.0 / 12, "8.33333333333333E-02"},
      {0.0001, "0.0001"},
      {0.00001, "0.00001"},
      {1e-15, "0.000000000000001"},
      {1e-16, "1E-16"},
      {0.123456789012345, "0.123456789012345"},
      {2.0 / 3, "0.666666666666667"},
      // Rounded to 15 digits the largest double goes beyond itself: its text reads back as an
      // overflow (found by the conversions fuzzer; the platform's texts do the same).
      {1.7976931348623157e308, "1.79769313486232E+308"},
      {1234567.891, "1234567.891"},
      {1e300, "1E+300"},
      {1.5e-300, "1.5E-300"},
      {9999999999999999.0, "1E+16"},
  };
  for (const auto& [value, text] : cases) {
    EXPECT_EQ(NumberText(value), text) << value;
  }
}

TEST(NumberTextTest, SignPlaceForZeroAndAbove) {
  const std::pair<double, const char*> cases[] = {
      {459, " 459"},   {-459.65, "-459.65"}, {0, " 0"},       {0.12, " .12"},
      {-0.12, "-.12"}, {1e15, " 1E+15"},     {3001, " 3001"}, {-1, "-1"},
  };
  for (const auto& [value, text] : cases) {
    EXPECT_EQ(SignedNumberText(value), text) << value;
  }
}

TEST(CharCodeTest, CodeOfTheFirstByte) {
  EXPECT_EQ(CharCode("B"), 66);
  EXPECT_EQ(CharCode("AB"), 65);
  EXPECT_EQ(CharCode("\xE9"), 0xE9);
  EXPECT_EQ(CharCode(std::string_view("\0x", 2)), 0);
  EXPECT_EQ(FailureOf([] { CharCode(""); }), ConversionFailure::kInvalidCall);
}

TEST(TruthFromTextTest, NumbersAndWords) {
  const std::pair<const char*, int> cases[] = {
      {"-1", -1},   {"0", 0},     {"1", -1},      {"49", -1},   {"0.0", 0}, {" 2 ", -1},
      {"True", -1}, {"FALSE", 0}, {" true ", -1}, {"false", 0}, {"&H0", 0}, {"0.4", -1},
  };
  for (const auto& [text, truth] : cases) {
    EXPECT_EQ(TruthFromText(text), truth) << '"' << text << '"';
  }
  for (const char* text : {"", "yes", "T", "1a", " "}) {
    EXPECT_EQ(FailureOf([&] { TruthFromText(text); }), ConversionFailure::kTypeMismatch) << text;
  }
}

}  // namespace
}  // namespace ketra::runtime
