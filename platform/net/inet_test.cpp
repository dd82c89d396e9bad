#include "platform/net/inet.h"

#include <gtest/gtest.h>

#include <string>

namespace ketra::net {
namespace {

// a.b.c.d with the first octet in the lowest byte.
constexpr std::uint32_t Addr(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  return a | b << 8 | c << 16 | d << 24;
}

struct AddrCase {
  std::string text;
  std::uint32_t address;
};

// One table, two implementations: the platform's functions (wsock32's on Windows, where this
// test runs under Wine) and the project's own reader and writer.
struct Implementation {
  const char* name;
  std::uint32_t (*addr)(std::string_view);
  std::string (*ntoa)(std::uint32_t);
};

class InetTest : public ::testing::TestWithParam<Implementation> {};

INSTANTIATE_TEST_SUITE_P(Both, InetTest,
                         ::testing::Values(Implementation{"platform", InetAddr, InetNtoa},
                                           Implementation{"own", OwnInetAddr, OwnInetNtoa}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(InetTest, AddrReadsEveryForm) {
  const AddrCase cases[] = {
      {"1.2.3.4", Addr(1, 2, 3, 4)},
      {"192.168.1.35", 587311296u},
      {"192.168.1.200", static_cast<std::uint32_t>(-939415360)},
      {"127.0.0.1", Addr(127, 0, 0, 1)},
      {"0.0.0.0", 0},
      {"1.2.3", Addr(1, 2, 0, 3)},
      {"1.2", Addr(1, 0, 0, 2)},
      {"1.2.65535", Addr(1, 2, 255, 255)},
      {"1.16777215", Addr(1, 255, 255, 255)},
      {"203569230", Addr(12, 34, 56, 78)},
      {"0777", Addr(0, 0, 1, 255)},
      {"017700000001", Addr(127, 0, 0, 1)},
      {"0x7f000001", Addr(127, 0, 0, 1)},
      {"1.2.3.0xaA", Addr(1, 2, 3, 170)},
      {"1.2.3.0XFF", Addr(1, 2, 3, 255)},
      {"1.2.3.010", Addr(1, 2, 3, 8)},
      {"192.168.1.010", Addr(192, 168, 1, 8)},
      {"0", 0},
      {"00.0.0.0", 0},
      {"4294967294", Addr(255, 255, 255, 254)},
      {"3.4.5.6 ", Addr(3, 4, 5, 6)},
      {"3.4.5.6  7", Addr(3, 4, 5, 6)},
      {"3.4.5.6\tjunk", Addr(3, 4, 5, 6)},
      {"1 2 3 4", Addr(0, 0, 0, 1)},
      {"1.2 .3.4", Addr(1, 0, 0, 2)},
      {" ", 0},
      {"1.2.3.07", Addr(1, 2, 3, 7)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(GetParam().addr(c.text), c.address) << '"' << c.text << '"';
  }
}

TEST_P(InetTest, AddrNoAddressGivesAllBitsSet) {
  for (const char* text : {"",
                           "255.255.255.255",
                           "1.2.3.256",
                           "256.1.1.1",
                           " 1.2.3.4",
                           "1. 2.3.4",
                           "1.2.3.4.5",
                           "1.2.3.4.",
                           "a",
                           "1.2.3.a",
                           "1.2.3.4a",
                           ".",
                           "..",
                           "1..2",
                           ".1",
                           "1.",
                           "1.1.1.0x",
                           "0x",
                           "1.2.3.0a",
                           "1.2.3.08a",
                           "256.1",
                           "1.16777216",
                           "1.2.65536",
                           "4294967296",
                           "0x100000000",
                           "99999999999999999999",
                           "-1",
                           "+1",
                           "1,2,3,4",
                           "localhost",
                           "  ",
                           "\t",
                           "\n",
                           "08",
                           "019",
                           "192.168.001.009",
                           "0x8.09"}) {
    EXPECT_EQ(GetParam().addr(text), kInaddrNone) << '"' << text << '"';
  }
}

TEST_P(InetTest, NtoaDottedDecimalLowByteFirst) {
  const AddrCase cases[] = {
      {"1.2.3.4", Addr(1, 2, 3, 4)},
      {"192.168.1.35", 587311296u},
      {"192.168.1.200", static_cast<std::uint32_t>(-939415360)},
      {"255.255.255.255", 0xFFFFFFFFu},
      {"0.0.0.0", 0},
      {"10.0.100.7", Addr(10, 0, 100, 7)},
  };
  for (const auto& c : cases) EXPECT_EQ(GetParam().ntoa(c.address), c.text);
}

}  // namespace
}  // namespace ketra::net
