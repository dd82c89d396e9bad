#include "window/load_aside.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QMetaObject>
#include <string>
#include <utility>

namespace ketra::window {

GuiThreadBoxes::GuiThreadBoxes(forms::MessageBoxService& gui_boxes)
    : gui_boxes_(gui_boxes), gui_thread_(std::this_thread::get_id()) {}

void GuiThreadBoxes::Show(std::string_view text, forms::MsgBoxStyle style) {
  if (std::this_thread::get_id() == gui_thread_) {
    gui_boxes_.Show(text, style);
    return;
  }
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return served_ || abandoned_; });
    if (abandoned_) return;
  }
  // The QApplication exists once the boxes are served. A blocking queued call runs on the
  // application's thread, the GUI thread, and returns when the box is closed; it must never
  // come from that thread itself, which would wait for itself.
  const std::string copy(text);
  QMetaObject::invokeMethod(
      QCoreApplication::instance(), [this, &copy, style] { gui_boxes_.Show(copy, style); },
      Qt::BlockingQueuedConnection);
}

LoadAside::LoadAside(GuiThreadBoxes& boxes, std::function<void()> load)
    : boxes_(boxes), thread_([this, load = std::move(load)] {
        try {
          load();
        } catch (...) {
          error_ = std::current_exception();
        }
        bool wake = false;
        {
          std::lock_guard lock(boxes_.mutex_);
          boxes_.load_done_ = true;
          wake = boxes_.served_;
        }
        // Finish() waits in the event loop: an empty call wakes it to see the load done.
        if (wake)
          QMetaObject::invokeMethod(
              QCoreApplication::instance(), [] {}, Qt::QueuedConnection);
      }) {}

LoadAside::~LoadAside() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard lock(boxes_.mutex_);
    boxes_.abandoned_ = true;
  }
  boxes_.changed_.notify_all();
  thread_.join();
}

void LoadAside::Finish() {
  std::unique_lock lock(boxes_.mutex_);
  boxes_.served_ = true;
  boxes_.changed_.notify_all();
  while (!boxes_.load_done_) {
    lock.unlock();
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    lock.lock();
  }
  lock.unlock();
  thread_.join();
  if (error_) std::rethrow_exception(error_);
}

}  // namespace ketra::window
