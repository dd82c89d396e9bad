#include "window/font_warm_up.h"

#include <fontconfig/fontconfig.h>

#include <QFontDatabase>
#include <QFontMetrics>
#include <QStringList>
#include <utility>

namespace ketra::window {

FontWarmUp::FontWarmUp() : thread_([this] { Run(); }) {}

FontWarmUp::~FontWarmUp() {
  {
    std::lock_guard lock(mutex_);
    ending_ = true;
  }
  told_.notify_one();
  Wait();
}

void FontWarmUp::QtReady(QFont window_font) {
  {
    std::lock_guard lock(mutex_);
    window_font_ = std::move(window_font);
    qt_ready_ = true;
  }
  told_.notify_one();
}

void FontWarmUp::Wait() {
  if (thread_.joinable()) thread_.join();
}

void FontWarmUp::Run() {
  // Qt's font database reads the machine's font configuration through FcInit(), which "does
  // nothing" once the configuration is loaded (fontconfig's FcInit(3)); fontconfig is
  // thread-safe since 2.10.91 (Debian 12 has 2.14). Reading it here first, while the GUI thread
  // starts Qt, leaves the database only the listing of the fonts.
  FcInit();
  std::optional<QFont> font;
  {
    std::unique_lock lock(mutex_);
    told_.wait(lock, [this] { return qt_ready_ || ending_; });
    if (!qt_ready_) return;
    font = std::move(window_font_);
  }
  // Qt documents QFontDatabase with "All functions in this class are thread-safe"
  // (https://doc.qt.io/qt-6.4/qfontdatabase.html, the Qt of Debian 12), so its first use,
  // which fills the database, may happen on this thread. QFont and QFontMetrics are reentrant
  // (https://doc.qt.io/qt-6.4/qfontmetrics.html): this thread measures with a font of its
  // own. The font engine it loads stays in this thread's cache and serves nothing else; what
  // the GUI thread gains is the database's list of substitutes for the window's families,
  // which it keeps for all threads: most of a match when the first family is not installed.
  QFontDatabase::families();
  QFontMetrics(*font).height();
}

}  // namespace ketra::window
