#include "platform/runtime/codepage.h"

#include <gtest/gtest.h>

#include <string>

namespace ketra::runtime {
namespace {

TEST(CodepageTest, KnownCharactersAndEveryByteRoundTrip) {
  const std::pair<std::string, std::string> cases[] = {
      {"COM3", "COM3"},
      {"\xE9", "\xC3\xA9"},      // é
      {"\x80", "\xE2\x82\xAC"},  // €
      {"\x9F", "\xC5\xB8"},      // Ÿ
      {"\x8A", "\xC5\xA0"},      // Š
      {"\xA0", "\xC2\xA0"},      // no-break space
      {"\xFF", "\xC3\xBF"},      // ÿ
      {"\x81", "\xC2\x81"},      // undefined byte keeps its C1 value
      {std::string("a\0b", 3), std::string("a\0b", 3)},
  };
  for (const auto& [ansi, utf8] : cases) {
    EXPECT_EQ(AnsiToUtf8(ansi), utf8);
    EXPECT_EQ(Utf8ToAnsi(utf8), ansi);
  }
  std::string all;  // and every byte comes back as itself
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  EXPECT_EQ(Utf8ToAnsi(AnsiToUtf8(all)), all);
}

TEST(CodepageTest, UnmappableAndMalformedBecomeQuestionMarks) {
  const std::pair<std::string, std::string> cases[] = {
      {"\xE4\xB8\xAD", "?"},      // a CJK character
      {"\xF0\x9F\x98\x80", "?"},  // an emoji (4 bytes)
      {"\xFF", "?"},              // not UTF-8 at all
      {"a\xC3", "a?"},            // cut short
      {"\xC0\x80", "?"},          // overlong NUL
      {"\xED\xA0\x80", "?"},      // a surrogate
      {"\xC3(", "?("},            // bad continuation byte
  };
  for (const auto& [utf8, ansi] : cases) {
    EXPECT_EQ(Utf8ToAnsi(utf8), ansi) << utf8;
  }
}

}  // namespace
}  // namespace ketra::runtime
