#include "platform/runtime/strings.h"

#include <gtest/gtest.h>

#include <vector>

namespace ketra::runtime {
namespace {

TEST(StringsTest, CaseFoldsAsciiLettersOnly) {
  struct Case {
    std::string_view a, b;
    bool equal;
  };
  const Case cases[] = {{"Software\\Tessaron", "SOFTWARE\\tessaron", true},
                        {"com3", "COM3", true},
                        {"\xe9", "\xc9", false},  // é and É in Windows-1252: not folded
                        {"[", "{", false},        // 0x5B and 0x7B differ by the case bit
                        {"COM3", "COM30", false},
                        {"", "", true}};
  for (const Case& c : cases) {
    EXPECT_EQ(EqualsNoCase(c.a, c.b), c.equal) << c.a << " / " << c.b;
    EXPECT_EQ(AsciiUpper(c.a) == AsciiUpper(c.b), c.equal) << c.a << " / " << c.b;
  }
  EXPECT_TRUE(StartsWithNoCase("hex(2):41", "HEX("));
  EXPECT_FALSE(StartsWithNoCase("he", "hex"));
}

TEST(StringsTest, HexAndTrim) {
  const std::vector<std::uint8_t> bytes = {0x7F, 0x00, 0xAB, 0x0C};
  EXPECT_EQ(HexUpper(bytes), "7F00AB0C");
  EXPECT_EQ(HexUpper({}), "");
  struct Case {
    std::string_view text, blanks, trimmed;
  };
  const Case cases[] = {
      {" \t a b \t", " \t", "a b"}, {"\t a \r", " ", "\t a \r"}, {"   ", " ", ""}, {"", " \t", ""}};
  for (const Case& c : cases) EXPECT_EQ(TrimAny(c.text, c.blanks), c.trimmed) << c.text;
  EXPECT_EQ(TrimSpaces("  COM3 \t "), "COM3 \t");
}

}  // namespace
}  // namespace ketra::runtime
