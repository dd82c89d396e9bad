#include "platform/forms/app.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/runtime/test_temp_dir.h"

namespace ketra::forms {
namespace {

class AppPosixTest : public ::testing::Test {
 protected:
  std::string Hive(const std::string& name) const { return dir_.File(name); }
  runtime::TestTempDir dir_;
};

TEST_F(AppPosixTest, ASecondLockOnTheSameFileIsRefusedUntilTheFirstGoes) {
  const std::string path = InstanceLockPath(Hive("a.hive"));
  auto first = std::make_unique<InstanceLock>(path);
  EXPECT_TRUE(first->held());
  EXPECT_TRUE(std::filesystem::exists(path));
  InstanceLock second(path);  // its own open file description: conflicts
  EXPECT_TRUE(second.opened());
  EXPECT_FALSE(second.held());
  EXPECT_FALSE(second.TryAcquire());
  first.reset();
  EXPECT_TRUE(second.TryAcquire());

  InstanceLock moved = std::move(second);  // the lock moves with its owner
  EXPECT_TRUE(moved.held());
  EXPECT_FALSE(InstanceLock(path).held());
}

TEST_F(AppPosixTest, PrevInstanceSeesAnotherProgramOnTheSameHiveOnly) {
  auto first = MakePosixApp("/opt/ketra", Hive("a.hive"));
  auto same = MakePosixApp("/opt/ketra", Hive("a.hive"));
  auto other = MakePosixApp("/opt/ketra", Hive("b.hive"));
  EXPECT_FALSE(first->PrevInstance());
  EXPECT_TRUE(same->PrevInstance());
  EXPECT_FALSE(other->PrevInstance());
  first.reset();  // the first instance ends: the lock is free for the one still running
  EXPECT_FALSE(same->PrevInstance());
}

TEST_F(AppPosixTest, AForkedChildSeesTheParentsLock) {
  auto parent = MakePosixApp("/opt/ketra", Hive("a.hive"));
  ASSERT_FALSE(parent->PrevInstance());
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const bool prev = MakePosixApp("/opt/ketra", Hive("a.hive"))->PrevInstance();
    const bool other = MakePosixApp("/opt/ketra", Hive("c.hive"))->PrevInstance();
    ::_exit(prev && !other ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(AppPosixTest, ALockFileThatCannotBeCreatedShowsNoOtherInstance) {
  auto app = MakePosixApp("/opt/ketra", Hive("missing-dir/a.hive"));
  EXPECT_FALSE(app->PrevInstance());
}

TEST_F(AppPosixTest, PathIsTheGivenDirectoryOrThatOfTheExecutable) {
  EXPECT_EQ(MakePosixApp("/opt/ketra/", Hive("a.hive"))->Path(), "/opt/ketra");
  const std::string own = MakePosixApp("", Hive("a.hive"))->Path();
  EXPECT_EQ(own, ExecutableDirectory());
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(own) / "forms_test")) << own;
}

}  // namespace
}  // namespace ketra::forms
