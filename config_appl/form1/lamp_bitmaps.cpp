// The lamp pictures are drawn here rather than shipped as files, so the three stay identical in
// shape and differ in their fill alone.
#include "config_appl/form1/lamp_bitmaps.h"

#include <cstddef>

namespace ketra {
namespace {

constexpr int kWidth = 19;
constexpr int kHeight = 22;
constexpr int kFileHeaderSize = 14;
constexpr int kInfoHeaderSize = 40;
constexpr int kPixelOffset = kFileHeaderSize + kInfoHeaderSize;
constexpr int kRowSize = (kWidth * 3 + 3) / 4 * 4;    // rows pad to 4 bytes: 57 -> 60
constexpr int kImageSize = kRowSize * kHeight;        // 1320
constexpr int kFileSize = kPixelOffset + kImageSize;  // 1374

// The disc: diameter 16 pixels, its bounding box columns 1 to 16 and rows 3 to 18.
constexpr double kCentreX = 8.5;
constexpr double kCentreY = 10.5;
constexpr double kRadius = 8.0;

struct Rgb {
  std::uint8_t r, g, b;
};

constexpr Rgb kBackground{228, 227, 226};
constexpr Rgb kOutline{0, 0, 0};

bool InsideDisc(int x, int y) {
  if (x < 0 || y < 0 || x >= kWidth || y >= kHeight) return false;
  const double dx = x - kCentreX;
  const double dy = y - kCentreY;
  return dx * dx + dy * dy <= kRadius * kRadius;
}

// A pixel of the disc with a 4-neighbour outside it lies on the rasterised border.
bool OnOutline(int x, int y) {
  return InsideDisc(x, y) && (!InsideDisc(x - 1, y) || !InsideDisc(x + 1, y) ||
                              !InsideDisc(x, y - 1) || !InsideDisc(x, y + 1));
}

void PutLe(std::vector<std::uint8_t>& out, std::size_t at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out[at + static_cast<std::size_t>(i)] = (value >> (8 * i)) & 0xFF;
}

}  // namespace

std::vector<std::uint8_t> LampBitmap(forms::Picture picture) {
  Rgb fill{};
  switch (picture) {
    case forms::Picture::kGreen:
      fill = {0, 255, 128};
      break;
    case forms::Picture::kRed:
      fill = {255, 0, 0};
      break;
    case forms::Picture::kGrey:
      fill = {200, 200, 200};
      break;
    case forms::Picture::kNone:
      return {};
  }

  std::vector<std::uint8_t> file(kFileSize, 0);
  // BITMAPFILEHEADER.
  file[0] = 'B';
  file[1] = 'M';
  PutLe(file, 2, kFileSize, 4);
  PutLe(file, 10, kPixelOffset, 4);
  // BITMAPINFOHEADER: a positive height stores the rows bottom-up; no compression, no palette.
  // No physical resolution is given: the form sets the images' size.
  PutLe(file, 14, kInfoHeaderSize, 4);
  PutLe(file, 18, kWidth, 4);
  PutLe(file, 22, kHeight, 4);
  PutLe(file, 26, 1, 2);   // planes
  PutLe(file, 28, 24, 2);  // bits a pixel
  PutLe(file, 34, kImageSize, 4);

  for (int y = 0; y < kHeight; ++y) {
    const std::size_t row = kPixelOffset + static_cast<std::size_t>((kHeight - 1 - y) * kRowSize);
    for (int x = 0; x < kWidth; ++x) {
      const Rgb colour = OnOutline(x, y) ? kOutline : InsideDisc(x, y) ? fill : kBackground;
      const std::size_t at = row + static_cast<std::size_t>(x * 3);
      file[at] = colour.b;
      file[at + 1] = colour.g;
      file[at + 2] = colour.r;
    }
  }
  return file;
}

}  // namespace ketra
