#include "daemon/log.h"

#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

namespace ketra::vspd {
namespace {

// Whether standard error is the journal's stream: systemd says so in JOURNAL_STREAM ("dev:ino"
// of the stream it connected), which a redirected or inherited standard error does not match.
bool StandardErrorIsJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  if (stream == nullptr) return false;
  unsigned long long device = 0, inode = 0;
  if (std::sscanf(stream, "%llu:%llu", &device, &inode) != 2) return false;
  struct stat info {};
  return ::fstat(2, &info) == 0 && info.st_dev == device && info.st_ino == inode;
}

}  // namespace

std::string FormatLogLine(LogLevel level, std::string_view text, bool journal,
                          std::chrono::system_clock::time_point now) {
  if (journal) {
    // The journal stamps the time itself and reads the priority from the prefix.
    const char* priority = level == LogLevel::kInfo      ? "<6>"
                           : level == LogLevel::kWarning ? "<4>"
                                                         : "<3>";
    return priority + std::string(text) + "\n";
  }
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm utc{};
  ::gmtime_r(&seconds, &utc);
  char stamp[32];
  std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", &utc);
  const char* tag = level == LogLevel::kInfo      ? "info"
                    : level == LogLevel::kWarning ? "warning"
                                                  : "error";
  return std::string(stamp) + "." + std::to_string(1000 + millis).substr(1) + "Z " + tag + " " +
         std::string(text) + "\n";
}

void LogLine(LogLevel level, std::string_view text) {
  static const bool journal = StandardErrorIsJournal();
  const std::string line = FormatLogLine(level, text, journal, std::chrono::system_clock::now());
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace ketra::vspd
