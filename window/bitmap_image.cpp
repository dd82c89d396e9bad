// A reader of uncompressed 24-bit Windows bitmaps.
#include "window/bitmap_image.h"

namespace ketra::window {
namespace {

std::uint32_t LittleEndian(const std::vector<std::uint8_t>& bytes, size_t at, int size) {
  std::uint32_t value = 0;
  for (int i = size - 1; i >= 0; --i) value = (value << 8) | bytes[at + static_cast<size_t>(i)];
  return value;
}

}  // namespace

QImage BitmapImage(const std::vector<std::uint8_t>& bytes) {
  constexpr size_t kHeaderSize = 54;
  if (bytes.size() >= kHeaderSize && bytes[0] == 'B' && bytes[1] == 'M' &&
      LittleEndian(bytes, 28, 2) == 24 && LittleEndian(bytes, 30, 4) == 0) {
    const auto width = static_cast<std::int32_t>(LittleEndian(bytes, 18, 4));
    const auto height = static_cast<std::int32_t>(LittleEndian(bytes, 22, 4));
    const size_t offset = LittleEndian(bytes, 10, 4);
    const int rows = height < 0 ? -height : height;
    const size_t stride = (static_cast<size_t>(width) * 3 + 3) & ~size_t{3};
    if (width > 0 && rows > 0 && offset + stride * static_cast<size_t>(rows) <= bytes.size()) {
      QImage image(width, rows, QImage::Format_RGB32);
      for (int y = 0; y < rows; ++y) {
        // Rows stand bottom-up unless the height is negative.
        const size_t row = static_cast<size_t>(height > 0 ? rows - 1 - y : y);
        const std::uint8_t* pixel = bytes.data() + offset + row * stride;
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x, pixel += 3) line[x] = qRgb(pixel[2], pixel[1], pixel[0]);
      }
      return image;
    }
  }
  return QImage::fromData(bytes.data(), static_cast<int>(bytes.size()), "BMP");
}

}  // namespace ketra::window
