// BitmapImage: the picture of a Windows bitmap file. Uncompressed 24-bit files are read here;
// Qt's reader would first look through its image format plugins, which costs more at start than
// the rest of the pictures' work. Other files go to Qt's reader. Stateless.
#ifndef KETRA_WINDOW_BITMAP_IMAGE_H_
#define KETRA_WINDOW_BITMAP_IMAGE_H_

#include <QImage>
#include <cstdint>
#include <vector>

namespace ketra::window {

// The picture of the file's bytes; a null image when they are no bitmap.
QImage BitmapImage(const std::vector<std::uint8_t>& bytes);
}  // namespace ketra::window

#endif  // KETRA_WINDOW_BITMAP_IMAGE_H_
