// The program's icon: 32 by 32 pixels, drawn here (a nine-pin serial connector), so no outside
// artwork is needed. GUI thread only (it paints a pixmap).
#ifndef KETRA_WINDOW_APP_ICON_H_
#define KETRA_WINDOW_APP_ICON_H_

#include <QIcon>
#include <QPixmap>

namespace ketra::window {

QPixmap KetraIconPixmap();
QIcon KetraIcon();

}  // namespace ketra::window

#endif  // KETRA_WINDOW_APP_ICON_H_
