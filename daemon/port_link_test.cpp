#include "daemon/port_link.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "platform/runtime/test_temp_dir.h"

namespace ketra::vspd {
namespace {

// Directories that others could write in or that are not the daemon's are refused, since a
// stranger could swap a port's link or the socket there for a trap of their own.
TEST(EnsureOwnDirectoryTest, RefusesWhatOthersMayWriteOrOwn) {
  const runtime::TestTempDir dir;
  const std::string& base = dir.path();
  const auto Refused = [](const std::string& directory, const std::string& reason) {
    try {
      EnsureOwnDirectory(directory);
    } catch (const std::runtime_error& error) {
      return std::string(error.what()).find(reason) != std::string::npos;
    }
    return false;
  };

  const std::string fresh = base + "/a/b";
  EnsureOwnDirectory(fresh);
  struct stat info {};
  ASSERT_EQ(::stat(fresh.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0027, 0u);  // nobody else may write or list

  const struct {
    const char* name;
    mode_t mode;
    const char* reason;
  } cases[] = {
      {"world", 0777, "others may write in it (mode 777)"},
      {"group", 0770, "others may write in it (mode 770)"},
      {"sticky", 01777, "others may write in it"},
  };
  for (const auto& c : cases) {
    const std::string directory = base + "/" + c.name;
    ASSERT_EQ(::mkdir(directory.c_str(), 0700), 0);
    ASSERT_EQ(::chmod(directory.c_str(), c.mode), 0);
    EXPECT_TRUE(Refused(directory, c.reason)) << c.name;
  }
  const std::string link = base + "/link";
  ASSERT_EQ(::symlink(fresh.c_str(), link.c_str()), 0);
  EXPECT_TRUE(Refused(link, "a link to a directory"));
  const std::string file = base + "/file";
  ASSERT_EQ(::close(::creat(file.c_str(), 0600)), 0);
  EXPECT_TRUE(Refused(file, "is not a directory"));
  if (::geteuid() == 0) {
    const std::string theirs = base + "/theirs";
    ASSERT_EQ(::mkdir(theirs.c_str(), 0755), 0);
    ASSERT_EQ(::chown(theirs.c_str(), 65534, 65534), 0);
    EXPECT_TRUE(Refused(theirs, "belongs to uid 65534"));
  }
}

}  // namespace
}  // namespace ketra::vspd
