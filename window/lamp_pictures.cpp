// The lamp bitmap files read into pictures.
#include "window/lamp_pictures.h"

#include "config_appl/form1/lamp_bitmaps.h"
#include "window/bitmap_image.h"

namespace ketra::window {

PictureSet LampPictures() {
  PictureSet pictures;
  for (const forms::Picture picture :
       {forms::Picture::kGreen, forms::Picture::kRed, forms::Picture::kGrey}) {
    pictures[static_cast<size_t>(picture)] = BitmapImage(LampBitmap(picture));
  }
  return pictures;
}

}  // namespace ketra::window
