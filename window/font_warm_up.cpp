#include "window/font_warm_up.h"

#include <QFontDatabase>
#include <QStringList>

namespace ketra::window {

// Qt documents QFontDatabase with "All functions in this class are thread-safe"
// (https://doc.qt.io/qt-6.4/qfontdatabase.html, the Qt of Debian 12), so its first use, which
// fills the database, may happen on this thread. Only the database is touched here: no QFont,
// no font engine (those are cached per thread and would not help the GUI thread).
FontWarmUp::FontWarmUp() : thread_([] { QFontDatabase::families(); }) {}

}  // namespace ketra::window
