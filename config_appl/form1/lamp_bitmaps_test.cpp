#include "config_appl/form1/lamp_bitmaps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace ketra {
namespace {

using forms::Picture;

std::uint32_t Le(const std::vector<std::uint8_t>& file, size_t at, int bytes) {
  std::uint32_t value = 0;
  for (int i = bytes - 1; i >= 0; --i) value = value << 8 | file.at(at + static_cast<size_t>(i));
  return value;
}

struct Rgb {
  int r, g, b;
  bool operator==(const Rgb&) const = default;
};

// Reads a pixel of a bottom-up 24-bit file through its own headers, x and y from the top left.
Rgb PixelAt(const std::vector<std::uint8_t>& file, int x, int y) {
  const int width = static_cast<int>(Le(file, 18, 4));
  const int height = static_cast<int>(Le(file, 22, 4));
  const size_t row_size = static_cast<size_t>((width * 3 + 3) / 4 * 4);
  const size_t at =
      Le(file, 10, 4) + static_cast<size_t>(height - 1 - y) * row_size + static_cast<size_t>(x) * 3;
  return {file.at(at + 2), file.at(at + 1), file.at(at)};
}

constexpr Rgb kBlack{0, 0, 0};
constexpr Rgb kBackground{228, 227, 226};

// Each lamp is a 19 by 22 picture of 24 bits: a disc of its own fill in a black outline.
TEST(LampBitmaps, EachIsABlackOutlinedDiscOfItsOwnFill) {
  const struct {
    Picture picture;
    Rgb fill;
  } cases[] = {{Picture::kGreen, {0, 255, 128}},
               {Picture::kRed, {255, 0, 0}},
               {Picture::kGrey, {200, 200, 200}}};
  for (const auto& c : cases) {
    const std::vector<std::uint8_t> file = LampBitmap(c.picture);
    ASSERT_EQ(file.size(), 1374u);
    EXPECT_EQ(Le(file, 0, 2), 0x4D42u);  // "BM"
    // Offset, size and value of each header field; a positive height: rows bottom-up.
    const std::uint32_t fields[][3] = {{2, 4, 1374}, {6, 4, 0},     {10, 4, 54}, {14, 4, 40},
                                       {18, 4, 19},  {22, 4, 22},   {26, 2, 1},  {28, 2, 24},
                                       {30, 4, 0},   {34, 4, 1320}, {46, 4, 0}};
    for (const auto& [at, bytes, value] : fields) EXPECT_EQ(Le(file, at, bytes), value) << at;
    for (int row = 0; row < 22; ++row) {  // the padding of every row is zero
      for (size_t pad = 57; pad < 60; ++pad) EXPECT_EQ(file[54 + row * 60 + pad], 0);
    }
    int left = 99, right = -1, top = 99, bottom = -1, fill = 0;
    for (int y = 0; y < 22; ++y) {
      for (int x = 0; x < 19; ++x) {
        const Rgb pixel = PixelAt(file, x, y);
        ASSERT_TRUE(pixel == kBlack || pixel == kBackground || pixel == c.fill) << x << "," << y;
        if (pixel == kBlack) {
          left = std::min(left, x);
          right = std::max(right, x);
          top = std::min(top, y);
          bottom = std::max(bottom, y);
        }
        if (pixel == c.fill) {
          ++fill;
          // A fill pixel touches no background: the outline closes it in.
          for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
            EXPECT_NE(PixelAt(file, x + dx, y + dy), kBackground) << x << "," << y;
          }
        }
      }
    }
    EXPECT_EQ((std::array{left, right, top, bottom}), (std::array{1, 16, 3, 18}));
    EXPECT_GT(fill, 150);  // most of a disc of diameter 16
    EXPECT_EQ(PixelAt(file, 8, 10), c.fill);
    // The disc is round: the corners of its bounding box are background.
    for (const auto& [x, y] : {std::pair{1, 3}, {16, 3}, {1, 18}, {16, 18}}) {
      EXPECT_EQ(PixelAt(file, x, y), kBackground) << x << "," << y;
    }
  }
  EXPECT_TRUE(LampBitmap(Picture::kNone).empty());
}

}  // namespace
}  // namespace ketra
