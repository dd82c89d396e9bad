// Runs the panel's load on a second thread while the GUI thread starts Qt, then hands the
// loaded program back to the GUI thread. Opening the display and starting Qt keep the GUI
// thread busy for longer than the load takes, so the window's first frame no longer waits for
// the two in turn.
//
// The form engine is single-threaded: the load thread alone uses the program until Finish()
// has joined it, and the GUI thread only after that. The load's message boxes are widgets,
// which Qt allows on the GUI thread only ("QWidget and all its subclasses, are not reentrant.
// They can only be used from the main thread", https://doc.qt.io/qt-6.4/threads-qobject.html):
// GuiThreadBoxes hands each box to the GUI thread and waits until it is closed, as the engine
// expects of a box.
//
// Construct GuiThreadBoxes on the GUI thread and give it to the program as its message box
// service; then LoadAside, which starts the load at once; then the QApplication; then call
// Finish() on the GUI thread. Both objects must outlive the program's use of them.
#ifndef KETRA_WINDOW_LOAD_ASIDE_H_
#define KETRA_WINDOW_LOAD_ASIDE_H_

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

#include "platform/forms/services.h"

namespace ketra::window {

// The program's message boxes from any thread, shown by `gui_boxes` on the GUI thread (the
// thread that constructs this object): at once from that thread, and from another one once
// LoadAside::Finish() serves them.
class GuiThreadBoxes : public forms::MessageBoxService {
 public:
  explicit GuiThreadBoxes(forms::MessageBoxService& gui_boxes);
  void Show(std::string_view text, forms::MsgBoxStyle style) override;

 private:
  friend class LoadAside;

  forms::MessageBoxService& gui_boxes_;
  const std::thread::id gui_thread_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool served_ = false;     // the GUI thread runs Qt's event loop in Finish(), or did
  bool abandoned_ = false;  // nobody will serve boxes: another thread's boxes are dropped
  bool load_done_ = false;
};

class LoadAside {
 public:
  // Starts `load` on its own thread at once.
  LoadAside(GuiThreadBoxes& boxes, std::function<void()> load);
  LoadAside(const LoadAside&) = delete;
  LoadAside& operator=(const LoadAside&) = delete;
  // Without Finish(): drops the load's boxes and waits for the load to return.
  ~LoadAside();

  // GUI thread, once the QApplication exists: shows the load's boxes until the load returns,
  // then joins it and rethrows what the load threw (forms::ProgramEnded among others).
  void Finish();

 private:
  GuiThreadBoxes& boxes_;
  std::exception_ptr error_;
  std::thread thread_;  // last: starts once the members above exist
};

}  // namespace ketra::window

#endif  // KETRA_WINDOW_LOAD_ASIDE_H_
