#include "window/font_warm_up.h"

#include <fontconfig/fontconfig.h>

#include <QFontDatabase>
#include <QStringList>

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

void FontWarmUp::QtReady() {
  {
    std::lock_guard lock(mutex_);
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
  {
    std::unique_lock lock(mutex_);
    told_.wait(lock, [this] { return qt_ready_ || ending_; });
    if (!qt_ready_) return;
  }
  // Qt documents QFontDatabase with "All functions in this class are thread-safe"
  // (https://doc.qt.io/qt-6.4/qfontdatabase.html, the Qt of Debian 12), so its first use,
  // which fills the database, may happen on this thread. Only the database is touched here: a
  // font engine loaded here would stay in this thread's cache and not help the GUI thread.
  QFontDatabase::families();
}

}  // namespace ketra::window
