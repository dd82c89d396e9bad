// Readies Qt's font database on a second thread while the GUI thread starts Qt and loads the
// panel, so that the window's first text measurement no longer waits for it. Any window that
// draws text pays for the database once, before its first frame: reading the machine's font
// configuration (most of the cost, and it needs no Qt), then listing every font in Qt's
// database.
//
// Construct as early as the program knows it will show a window: the thread reads the font
// configuration at once. Call QtReady() once the QGuiApplication exists (the database belongs
// to its platform integration), and Wait() before the QGuiApplication ends; without QtReady()
// the destructor joins the thread once the configuration is read. Owned and used by the GUI
// thread.
#ifndef KETRA_WINDOW_FONT_WARM_UP_H_
#define KETRA_WINDOW_FONT_WARM_UP_H_

#include <condition_variable>
#include <mutex>
#include <thread>

namespace ketra::window {

class FontWarmUp {
 public:
  FontWarmUp();
  FontWarmUp(const FontWarmUp&) = delete;
  FontWarmUp& operator=(const FontWarmUp&) = delete;
  ~FontWarmUp();

  void QtReady();
  void Wait();

 private:
  void Run();

  std::mutex mutex_;
  std::condition_variable told_;
  bool qt_ready_ = false;
  bool ending_ = false;
  std::thread thread_;  // last: starts once the members above exist
};

}  // namespace ketra::window

#endif  // KETRA_WINDOW_FONT_WARM_UP_H_
