// LampPictures: the panel's three lamp bitmaps as the pictures the window shows for its images.
// Stateless.
#ifndef KETRA_WINDOW_LAMP_PICTURES_H_
#define KETRA_WINDOW_LAMP_PICTURES_H_

#include "window/form_view.h"

namespace ketra::window {

PictureSet LampPictures();

}  // namespace ketra::window

#endif  // KETRA_WINDOW_LAMP_PICTURES_H_
