// Fills Qt's font database on a second thread while the GUI thread does other work (the panel's
// load), so that the first text measurement of the window no longer pays for it. Any window
// that draws text pays for the database once, before its first frame: reading the font
// configuration and listing every font of the machine.
//
// Construct after the QGuiApplication (the database belongs to its platform integration) and
// before the work to overlap; Wait() (or the destructor) joins the thread. Owned and used by
// the GUI thread.
#ifndef KETRA_WINDOW_FONT_WARM_UP_H_
#define KETRA_WINDOW_FONT_WARM_UP_H_

#include <thread>

namespace ketra::window {

class FontWarmUp {
 public:
  FontWarmUp();
  FontWarmUp(const FontWarmUp&) = delete;
  FontWarmUp& operator=(const FontWarmUp&) = delete;
  ~FontWarmUp() { Wait(); }

  void Wait() {
    if (thread_.joinable()) thread_.join();
  }

 private:
  std::thread thread_;
};

}  // namespace ketra::window

#endif  // KETRA_WINDOW_FONT_WARM_UP_H_
