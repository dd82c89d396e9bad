// The handshake between the loading thread and the GUI thread: one box at a time, or the end.
#include "window/background_load.h"

#include <utility>

namespace ketra::window {

BackgroundLoad::~BackgroundLoad() {
  if (thread_.joinable()) {
    // Wait was never called: let the load finish without a screen for its boxes.
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] {
        if (asked_) {
          asked_.reset();
          changed_.notify_all();
        }
        return done_;
      });
    }
    thread_.join();
  }
}

void BackgroundLoad::Start(std::function<void()> load) {
  std::unique_lock lock(mutex_);
  thread_ = std::thread([this, load = std::move(load)] {
    std::exception_ptr failure;
    try {
      load();
    } catch (...) {
      failure = std::current_exception();
    }
    std::lock_guard done_lock(mutex_);
    failure_ = failure;
    done_ = true;
    changed_.notify_all();
  });
  loading_id_ = thread_.get_id();
}

void BackgroundLoad::Wait() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return done_ || asked_.has_value(); });
    if (asked_) {
      const Box box = *asked_;
      lock.unlock();
      boxes_.Show(box.text, box.style);
      lock.lock();
      asked_.reset();
      changed_.notify_all();
      continue;
    }
    break;
  }
  lock.unlock();
  thread_.join();
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void BackgroundLoad::Show(std::string_view text, forms::MsgBoxStyle style) {
  std::unique_lock lock(mutex_);
  if (std::this_thread::get_id() != loading_id_) {
    lock.unlock();
    boxes_.Show(text, style);
    return;
  }
  asked_ = Box{std::string(text), style};
  changed_.notify_all();
  changed_.wait(lock, [this] { return !asked_.has_value(); });
}

}  // namespace ketra::window
