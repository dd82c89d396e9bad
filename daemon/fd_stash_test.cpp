// The stash against the real kernel and the service manager's rule: a stored descriptor that
// reports a hang-up or an error is dropped. A pty master nobody holds reports one; its stash
// must not, and must give the same pty back, again and again (one restart after another).
#include "daemon/fd_stash.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

bool ReportsHangUpOrError(int fd) {
  pollfd probe{fd, 0, 0};  // hang-up and error are reported whatever is asked
  return ::poll(&probe, 1, 0) > 0 && (probe.revents & (POLLHUP | POLLERR)) != 0;
}

std::string SlaveOf(int master) {
  char name[128] = {};
  return ::ptsname_r(master, name, sizeof name) == 0 ? name : "";
}

TEST(FdStashTest, KeepsAPtyWithoutReportingItsHangUp) {
  runtime::Fd master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  ASSERT_TRUE(master.valid());
  ASSERT_EQ(::grantpt(master.get()), 0);
  ASSERT_EQ(::unlockpt(master.get()), 0);
  const std::string slave = SlaveOf(master.get());
  ::close(::open(slave.c_str(), O_RDWR | O_NOCTTY));  // a program came and went
  ASSERT_TRUE(ReportsHangUpOrError(master.get())) << "the kernel changed: a master nobody holds";

  auto stashed = StashDescriptor(master.get());
  ASSERT_TRUE(stashed.ok()) << stashed.status().message();
  const runtime::Fd stash = std::move(stashed).value();
  master.Reset();  // the daemon goes; the stash alone keeps the pty
  EXPECT_FALSE(ReportsHangUpOrError(stash.get()));
  for (int restart = 0; restart < 2; ++restart) {
    const runtime::Fd taken = TakeFromStash(stash.get());
    ASSERT_TRUE(taken.valid());
    EXPECT_EQ(SlaveOf(taken.get()), slave);
  }
  EXPECT_FALSE(ReportsHangUpOrError(stash.get()));
  // A descriptor stored as it is (by a daemon before stashes) is no stash.
  EXPECT_FALSE(TakeFromStash(TakeFromStash(stash.get()).get()).valid());
}

}  // namespace
}  // namespace ketra::vspd
