#include "window/background_load.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace ketra::window {
namespace {

// Records each box with the thread that showed it, into a log the load writes to as well.
class LoggingBoxes : public forms::MessageBoxService {
 public:
  explicit LoggingBoxes(std::vector<std::string>& log) : log_(log) {}
  void Show(std::string_view text, forms::MsgBoxStyle style) override {
    log_.push_back("box " + std::string(text) + " " + std::string(forms::MsgBoxStyleName(style)));
    threads.push_back(std::this_thread::get_id());
  }
  std::vector<std::thread::id> threads;

 private:
  std::vector<std::string>& log_;
};

TEST(BackgroundLoad, BoxesOfTheLoadAreShownByTheWaitingThreadInPlace) {
  std::vector<std::string> log;
  LoggingBoxes shown(log);
  BackgroundLoad load(shown);
  load.Start([&] {
    log.push_back("load begins");
    load.Show("first", forms::MsgBoxStyle::kInformation);
    log.push_back("load goes on");
    load.Show("second", forms::MsgBoxStyle::kCritical);
    log.push_back("load ends");
  });
  load.Wait();
  EXPECT_EQ(log, (std::vector<std::string>{"load begins", "box first information", "load goes on",
                                           "box second critical", "load ends"}));
  ASSERT_EQ(shown.threads.size(), 2u);
  for (const std::thread::id id : shown.threads) EXPECT_EQ(id, std::this_thread::get_id());

  // After the load, a box is shown at once.
  load.Show("later", forms::MsgBoxStyle::kPlain);
  EXPECT_EQ(log.back(), "box later plain");
}

TEST(BackgroundLoad, WaitRethrowsWhatEndedTheLoad) {
  std::vector<std::string> log;
  LoggingBoxes shown(log);
  BackgroundLoad load(shown);
  load.Start([&] {
    load.Show("No ports", forms::MsgBoxStyle::kInformation);
    throw forms::ProgramEnded{};
  });
  EXPECT_THROW(load.Wait(), forms::ProgramEnded);
  EXPECT_EQ(log, (std::vector<std::string>{"box No ports information"}));
}

TEST(BackgroundLoad, ALoadNeverWaitedForIsJoinedWithoutShowingItsBoxes) {
  std::vector<std::string> log;
  LoggingBoxes shown(log);
  {
    BackgroundLoad load(shown);
    load.Start([&] { load.Show("unseen", forms::MsgBoxStyle::kPlain); });
  }
  EXPECT_TRUE(log.empty());
}

}  // namespace
}  // namespace ketra::window
