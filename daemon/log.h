// The daemon's log: one line per event on standard error. On a terminal or in a file a line has
// a UTC time stamp and a level; when standard error is the journal's stream, a line starts with
// the journal's priority prefix ("<3>" error, "<4>" warning, "<6>" info) and no time stamp, which
// the journal adds. Only the loop thread writes.
#ifndef KETRA_DAEMON_LOG_H_
#define KETRA_DAEMON_LOG_H_

#include <chrono>
#include <string>
#include <string_view>

namespace ketra::vspd {

enum class LogLevel { kInfo, kWarning, kError };

void LogLine(LogLevel level, std::string_view text);
// One line as LogLine writes it.
std::string FormatLogLine(LogLevel level, std::string_view text, bool journal,
                          std::chrono::system_clock::time_point now);
inline void LogInfo(std::string_view text) { LogLine(LogLevel::kInfo, text); }
inline void LogWarning(std::string_view text) { LogLine(LogLevel::kWarning, text); }
inline void LogError(std::string_view text) { LogLine(LogLevel::kError, text); }

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_LOG_H_
