// The daemon's log: one line per event on standard error, with a UTC time stamp and a level,
// which systemd's journal or a test's capture takes as it is. Only the loop thread writes.
#ifndef KETRA_DAEMON_LOG_H_
#define KETRA_DAEMON_LOG_H_

#include <string_view>

namespace ketra::vspd {

enum class LogLevel { kInfo, kWarning, kError };

void LogLine(LogLevel level, std::string_view text);
inline void LogInfo(std::string_view text) { LogLine(LogLevel::kInfo, text); }
inline void LogWarning(std::string_view text) { LogLine(LogLevel::kWarning, text); }
inline void LogError(std::string_view text) { LogLine(LogLevel::kError, text); }

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_LOG_H_
