// The three lamp pictures of the status page, made as Windows bitmap files: 19 by 22 pixels,
// 24 bits a pixel, 1374 bytes; a disc with a one-pixel black outline (bounding box columns 1 to
// 16, rows 3 to 18 from the top left) on a background of RGB 228, 227, 226, filled green
// (0, 255, 128), red (255, 0, 0) or grey (200, 200, 200).
#ifndef KETRA_CONFIG_APPL_FORM1_LAMP_BITMAPS_H_
#define KETRA_CONFIG_APPL_FORM1_LAMP_BITMAPS_H_

#include <cstdint>
#include <vector>

#include "platform/forms/control.h"

namespace ketra {

// The file bytes of the picture; empty for Picture::kNone.
std::vector<std::uint8_t> LampBitmap(forms::Picture picture);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_FORM1_LAMP_BITMAPS_H_
