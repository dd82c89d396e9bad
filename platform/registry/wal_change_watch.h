// Tells without a system call or a lock whether any connection has committed to an SQLite
// database in WAL mode since a moment noted earlier. It reads the WAL-index header from the
// shared memory that SQLite maps for the connection; the header changes at every commit (its
// change counter, frame count and checksums are part of SQLite's documented WAL-index format).
// Any doubt (no WAL, a torn read, an unknown format version) answers "changed", and the caller
// then asks SQLite itself. Plain value; used from the connection's one thread.
#ifndef KETRA_PLATFORM_REGISTRY_WAL_CHANGE_WATCH_H_
#define KETRA_PLATFORM_REGISTRY_WAL_CHANGE_WATCH_H_

#include <sqlite3.h>

#include <array>
#include <cstdint>

namespace ketra::registry {

class WalChangeWatch {
 public:
  using Header = std::array<std::uint32_t, 12>;

  // The header of the main database of `db` as it stands; false when it cannot be read.
  static bool Read(sqlite3* db, Header* header);

  // Marks `header` as the state the caller's cache is known to match.
  void Note(const Header& header) {
    noted_ = header;
    valid_ = true;
  }
  void Forget() { valid_ = false; }
  // True when nobody has committed since the mark.
  bool Unchanged(const Header& now) const { return valid_ && now == noted_; }
  // After one commit of the caller's own: the mark moves along when that commit was the only
  // one since the mark, and is dropped otherwise.
  void NoteOwnCommit(const Header& before, const Header& after);

 private:
  Header noted_{};
  bool valid_ = false;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_WAL_CHANGE_WATCH_H_
