// The metrics text (metrics_text.h) kept in a file for node_exporter's textfile collector: written
// under a temporary name beside the file and renamed over it, so that the collector never reads
// half a file, and written only when the text changed since the last write. Owns nothing but
// the path and the last text; single-threaded.
#ifndef KETRA_DAEMON_METRICS_FILE_H_
#define KETRA_DAEMON_METRICS_FILE_H_

#include <string>

#include "platform/runtime/status.h"

namespace ketra::vspd {

class MetricsFile {
 public:
  explicit MetricsFile(std::string path) : path_(std::move(path)) {}

  // Writes `text` unless it is what the file holds already. An IoError says why it could not
  // (the next call tries again).
  runtime::Status Update(const std::string& text);
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  std::string written_;
  bool any_written_ = false;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_METRICS_FILE_H_
