// The stable name of a virtual port: a symbolic link DIR/NAME to the pty's slave, which changes
// from run to run. A link left by an earlier run is replaced; anything else in its place (a file,
// a device, a directory) is refused, so the daemon never overwrites what it did not make.
// Removed when the owner goes, if it still points where it was made to.
// Move-only owner of the link; single-threaded.
#ifndef KETRA_DAEMON_PORT_LINK_H_
#define KETRA_DAEMON_PORT_LINK_H_

#include <sys/types.h>

#include <string>

namespace ketra::vspd {

class PortLink {
 public:
  PortLink() = default;
  // Throws std::runtime_error with the reason when the link cannot be made.
  PortLink(const std::string& directory, const std::string& name, const std::string& target);
  PortLink(PortLink&& other) noexcept;
  PortLink& operator=(PortLink&& other) noexcept;
  PortLink(const PortLink&) = delete;
  PortLink& operator=(const PortLink&) = delete;
  ~PortLink();

  const std::string& path() const { return path_; }
  // Points the link at `target` in one step (a link under a temporary name renamed over it), so
  // that a program opening it meanwhile finds the old target or the new, never nothing.
  // Throws std::runtime_error with the reason; the link then stays as it was.
  void Repoint(const std::string& target);

 private:
  void Remove();

  std::string path_;
  std::string target_;
};

// Makes `directory` (with `mode`) and its parents (0755) when missing; throws
// std::runtime_error when that fails or the name is not a directory.
void EnsureDirectory(const std::string& directory, mode_t mode = 0755);

// EnsureDirectory (0750), then makes sure that the directory is no link, belongs to the daemon's
// user or root and that nobody else may write in it: the links and the socket are trusted by
// whoever opens them. Throws std::runtime_error saying what is wrong.
void EnsureOwnDirectory(const std::string& directory);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PORT_LINK_H_
