#include "window/win32/dialog_font.h"

namespace ketra::window::win32 {

DialogFont::DialogFont() {
  NONCLIENTMETRICSA metrics{};
  metrics.cbSize = sizeof(metrics);
  if (SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0)) {
    font_ = Font(CreateFontIndirectA(&metrics.lfMessageFont));
  }
}

HFONT DialogFont::get() const {
  return font_.get() != nullptr ? font_.get()
                                : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
}

}  // namespace ketra::window::win32
