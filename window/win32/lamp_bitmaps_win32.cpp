#include "window/win32/lamp_bitmaps_win32.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "config_appl/form1/lamp_bitmaps.h"

namespace ketra::window::win32 {
namespace {

// A bitmap from the bytes of a .bmp file: the info header follows the file header, the pixels
// stand at the file header's offset.
HBITMAP FromFile(const std::vector<std::uint8_t>& file) {
  BITMAPFILEHEADER header{};
  if (file.size() < sizeof(header) + sizeof(BITMAPINFOHEADER)) return nullptr;
  std::memcpy(&header, file.data(), sizeof(header));
  if (header.bfOffBits >= file.size()) return nullptr;
  const auto* info = reinterpret_cast<const BITMAPINFO*>(file.data() + sizeof(header));
  HDC screen = GetDC(nullptr);
  HBITMAP bitmap = CreateDIBitmap(screen, &info->bmiHeader, CBM_INIT,
                                  file.data() + header.bfOffBits, info, DIB_RGB_COLORS);
  ReleaseDC(nullptr, screen);
  return bitmap;
}

}  // namespace

LampBitmaps::LampBitmaps() {
  for (const forms::Picture picture :
       {forms::Picture::kGreen, forms::Picture::kRed, forms::Picture::kGrey}) {
    bitmaps_[static_cast<std::size_t>(picture)] = Bitmap(FromFile(LampBitmap(picture)));
  }
}

HBITMAP LampBitmaps::get(forms::Picture picture) const {
  return bitmaps_[static_cast<std::size_t>(picture)].get();
}

}  // namespace ketra::window::win32
