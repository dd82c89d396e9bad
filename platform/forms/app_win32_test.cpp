// The Windows surroundings (under Wine in the cross build's tests).
#include "platform/forms/app_win32.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace ketra::forms {
namespace {

TEST(AppWin32Test, PathIsTheModulesDirectoryUnlessGiven) {
  const std::string dir = ModuleDirectory();
  EXPECT_FALSE(dir.empty());
  EXPECT_NE(dir.back(), '\\');
  EXPECT_EQ(MakeWin32App("")->Path(), dir);
  EXPECT_EQ(MakeWin32App("C:\\Program Files\\Ketra\\")->Path(), "C:\\Program Files\\Ketra");
}

// The mutex belongs to a thread, as it belongs to a program's one thread; a second program is
// played here by a second thread.
TEST(AppWin32Test, ASecondInstanceSeesTheFirstUntilItEnds) {
  std::unique_ptr<AppServices> first;
  std::thread([&] { first = MakeWin32App(""); }).join();
  // The first program's thread has ended: the mutex is abandoned and goes to the next one.
  auto second = MakeWin32App("");
  EXPECT_FALSE(second->PrevInstance());
  bool third_sees_second = false;
  std::thread([&] { third_sees_second = MakeWin32App("")->PrevInstance(); }).join();
  EXPECT_TRUE(third_sees_second);
  second.reset();
  bool fourth_sees_none = true;
  std::thread([&] { fourth_sees_none = MakeWin32App("")->PrevInstance(); }).join();
  EXPECT_FALSE(fourth_sees_none);
  first.reset();
}

}  // namespace
}  // namespace ketra::forms
