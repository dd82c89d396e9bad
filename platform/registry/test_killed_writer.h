// Kills a writer in the middle of its work, for tests that the store keeps every write that was
// reported done and never half of one. POSIX only (fork); header-only, for tests.
#ifndef KETRA_PLATFORM_REGISTRY_TEST_KILLED_WRITER_H_
#define KETRA_PLATFORM_REGISTRY_TEST_KILLED_WRITER_H_

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>

namespace ketra::registry {

struct KilledWriter {
  bool killed = false;  // the child died of SIGKILL, not of its own failure
  int last = -1;        // the last number the child reported before it died
};

// Runs `write` in a child process. It works on forever and calls report(n) each time a unit of
// its work has returned, with n rising; a failing child ends itself with _exit. Once it has
// reported at least `enough` and `linger` has passed (a moment inside the next unit), the child
// is killed with SIGKILL. Every report it made before it died is counted.
inline KilledWriter KillWriterMidway(
    int enough, std::chrono::microseconds linger,
    const std::function<void(const std::function<void(int)>&)>& write) {
  KilledWriter result;
  int fds[2];
  if (pipe(fds) != 0) return result;
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    write([&](int n) {
      if (::write(fds[1], &n, sizeof n) != sizeof n) _exit(2);
    });
    _exit(3);
  }
  close(fds[1]);
  int value = 0;
  while (result.last < enough && read(fds[0], &value, sizeof value) == sizeof value) {
    result.last = value;
  }
  usleep(static_cast<useconds_t>(linger.count()));
  kill(pid, SIGKILL);
  int status = 0;
  waitpid(pid, &status, 0);
  result.killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  while (read(fds[0], &value, sizeof value) == sizeof value) result.last = value;
  close(fds[0]);
  return result;
}

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_TEST_KILLED_WRITER_H_
