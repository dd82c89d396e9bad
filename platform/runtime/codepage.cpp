// Windows-1252 differs from Latin-1 only in 0x80..0x9F; that row is a table, the rest is the
// identity on code points.
#include "platform/runtime/codepage.h"

#include <array>
#include <cstdint>

namespace ketra::runtime {
namespace {

// Code points of bytes 0x80..0x9F. The five bytes without a character keep their C1 value.
constexpr std::array<char32_t, 32> kHighRow = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char32_t CodePointOf(unsigned char byte) {
  if (byte >= 0x80 && byte <= 0x9F) return kHighRow[byte - 0x80];
  return byte;
}

// The byte of a code point, or -1 when the code page has none.
int ByteOf(char32_t code_point) {
  if (code_point < 0x80 || (code_point >= 0xA0 && code_point <= 0xFF)) {
    return static_cast<int>(code_point);
  }
  for (std::size_t i = 0; i < kHighRow.size(); ++i) {
    if (kHighRow[i] == code_point) return static_cast<int>(0x80 + i);
  }
  return -1;
}

void AppendUtf8(char32_t cp, std::string* out) {
  if (cp < 0x80) {
    *out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    *out += static_cast<char>(0xC0 | (cp >> 6));
    *out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    *out += static_cast<char>(0xE0 | (cp >> 12));
    *out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    *out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Decodes one UTF-8 sequence at `pos`; a malformed one gives -1 and advances by one byte.
long DecodeUtf8(std::string_view text, std::size_t* pos) {
  const auto lead = static_cast<unsigned char>(text[*pos]);
  int length = 0;
  char32_t cp = 0;
  char32_t min = 0;
  if (lead < 0x80) {
    ++*pos;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    length = 2, cp = lead & 0x1F, min = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, cp = lead & 0x0F, min = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, cp = lead & 0x07, min = 0x10000;
  } else {
    ++*pos;
    return -1;
  }
  if (*pos + static_cast<std::size_t>(length) > text.size()) {
    ++*pos;
    return -1;
  }
  for (int i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[*pos + static_cast<std::size_t>(i)]);
    if ((next & 0xC0) != 0x80) {
      ++*pos;
      return -1;
    }
    cp = (cp << 6) | (next & 0x3F);
  }
  *pos += static_cast<std::size_t>(length);
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return -1;
  return static_cast<long>(cp);
}

}  // namespace

std::string Utf8ToAnsi(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  std::size_t pos = 0;
  while (pos < utf8.size()) {
    long cp = DecodeUtf8(utf8, &pos);
    int byte = cp < 0 ? -1 : ByteOf(static_cast<char32_t>(cp));
    out += byte < 0 ? '?' : static_cast<char>(byte);
  }
  return out;
}

std::string AnsiToUtf8(std::string_view ansi) {
  std::string out;
  out.reserve(ansi.size());
  for (char c : ansi) AppendUtf8(CodePointOf(static_cast<unsigned char>(c)), &out);
  return out;
}

}  // namespace ketra::runtime
