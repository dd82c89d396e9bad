// The address reader follows the classic BSD parser that the panel's platform builds on, with
// the stricter checks of that platform's current versions: every part needs a digit, and an
// empty text is no address. Parts accumulate in 64 bits so that a part beyond 32 bits is seen
// and refused instead of wrapping.
#include "platform/net/inet.h"

#include <cstdio>

namespace ketra::net {
namespace {

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

int DigitValue(char c, int base) {
  int value = -1;
  if (c >= '0' && c <= '9') {
    value = c - '0';
  } else if (base == 16 && c >= 'a' && c <= 'f') {
    value = c - 'a' + 10;
  } else if (base == 16 && c >= 'A' && c <= 'F') {
    value = c - 'A' + 10;
  }
  return value;
}

std::uint32_t ByteSwap(std::uint32_t v) {
  return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
}

}  // namespace

std::uint32_t OwnInetAddr(std::string_view text) {
  if (text.empty()) return kInaddrNone;
  // One blank alone reads as the one empty part 0; any other text that begins with whitespace
  // (two blanks, a lone tab or line feed, a blank before digits) is no address.
  if (text == " ") return 0;
  if (IsSpace(text[0])) return kInaddrNone;
  std::uint64_t parts[4] = {0, 0, 0, 0};
  int count = 0;
  std::size_t pos = 0;
  auto at = [&](std::size_t i) { return i < text.size() ? text[i] : '\0'; };
  for (;;) {
    int base = 10;
    if (at(pos) == '0') {
      base = 8;
      if (at(pos + 1) == 'x' || at(pos + 1) == 'X') {
        base = 16;
        pos += 2;
      }
    }
    std::uint64_t value = 0;
    bool digits = false;
    int digit = 0;
    while ((digit = DigitValue(at(pos), base)) >= 0) {
      // An octal part holding an 8 or a 9 ("08", "1.2.3.018") is no address.
      if (digit >= base) return kInaddrNone;
      value = value * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(digit);
      if (value > 0xFFFFFFFFull) return kInaddrNone;
      digits = true;
      ++pos;
    }
    if (!digits) return kInaddrNone;
    parts[count++] = value;
    if (at(pos) != '.') break;
    if (count == 4) return kInaddrNone;
    ++pos;
  }
  // Whitespace ends the address and what follows it is ignored.
  if (pos < text.size() && !IsSpace(text[pos])) return kInaddrNone;
  std::uint32_t host = 0;
  switch (count) {
    case 1:
      host = static_cast<std::uint32_t>(parts[0]);
      break;
    case 2:
      if (parts[0] > 0xFF || parts[1] > 0xFFFFFF) return kInaddrNone;
      host = static_cast<std::uint32_t>(parts[0] << 24 | parts[1]);
      break;
    case 3:
      if (parts[0] > 0xFF || parts[1] > 0xFF || parts[2] > 0xFFFF) return kInaddrNone;
      host = static_cast<std::uint32_t>(parts[0] << 24 | parts[1] << 16 | parts[2]);
      break;
    default:
      if (parts[0] > 0xFF || parts[1] > 0xFF || parts[2] > 0xFF || parts[3] > 0xFF) {
        return kInaddrNone;
      }
      host = static_cast<std::uint32_t>(parts[0] << 24 | parts[1] << 16 | parts[2] << 8 | parts[3]);
      break;
  }
  // The first octet goes to the lowest byte.
  return ByteSwap(host);
}

std::string OwnInetNtoa(std::uint32_t address) {
  char text[16];
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", address & 0xFFu, (address >> 8) & 0xFFu,
                (address >> 16) & 0xFFu, address >> 24);
  return text;
}

}  // namespace ketra::net
