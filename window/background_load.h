// BackgroundLoad: runs the program's construction and load on a thread of its own while the GUI
// thread connects to the display, then hands the program over. Nothing of the program runs on
// two threads at once: the GUI thread touches the form only after Wait has joined the loading
// thread, so every notification still runs on one thread at a time, one after the other.
//
// The load's message boxes are the GUI thread's to show: a box asked for on the loading thread
// waits there until the GUI thread, inside Wait, has shown it and the user has closed it, so the
// load goes on exactly as if the box had been shown in place. A box asked for on any other
// thread (the GUI thread, after the load) is shown at once.
//
// Owns the loading thread; does not own the box service it forwards to.
#ifndef KETRA_WINDOW_BACKGROUND_LOAD_H_
#define KETRA_WINDOW_BACKGROUND_LOAD_H_

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/forms/services.h"

namespace ketra::window {

class BackgroundLoad : public forms::MessageBoxService {
 public:
  // `boxes` shows boxes on the thread that calls Wait, and on any thread but the loading one.
  explicit BackgroundLoad(forms::MessageBoxService& boxes) : boxes_(boxes) {}
  ~BackgroundLoad() override;
  BackgroundLoad(const BackgroundLoad&) = delete;
  BackgroundLoad& operator=(const BackgroundLoad&) = delete;

  // Starts `load` on the loading thread. Once only.
  void Start(std::function<void()> load);
  // Shows the boxes the load asks for until it has returned, then joins it. Rethrows what the
  // load threw (forms::ProgramEnded when the program ended during the load).
  void Wait();

  void Show(std::string_view text, forms::MsgBoxStyle style) override;

 private:
  struct Box {
    std::string text;
    forms::MsgBoxStyle style;
  };

  forms::MessageBoxService& boxes_;
  std::thread thread_;
  std::thread::id loading_id_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Box> asked_;  // a box the loading thread waits on
  bool done_ = false;
  std::exception_ptr failure_;
};

}  // namespace ketra::window

#endif  // KETRA_WINDOW_BACKGROUND_LOAD_H_
