#include "daemon/log.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>

namespace ketra::vspd {

void LogLine(LogLevel level, std::string_view text) {
  const auto now = std::chrono::system_clock::now();
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
  std::string line = std::string(stamp) + "." + std::to_string(1000 + millis).substr(1) + "Z " +
                     tag + " " + std::string(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace ketra::vspd
