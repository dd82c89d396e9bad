#include "platform/registry/wal_change_watch.h"

#include <atomic>
#include <tuple>

namespace ketra::registry {
namespace {

constexpr std::uint32_t kWalIndexVersion = 3007000;  // the only version SQLite has written
constexpr int kWalIndexPageSize = 32768;             // the size SQLite maps the shm in
constexpr std::size_t kHeaderWords = std::tuple_size_v<WalChangeWatch::Header>;
constexpr std::size_t kChangeCounter = 2;  // word index of iChange
constexpr std::size_t kIsInitByte = 12;    // byte index of isInit

}  // namespace

bool WalChangeWatch::Read(sqlite3* db, Header* header) {
  sqlite3_file* file = nullptr;
  if (sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
      file == nullptr || file->pMethods == nullptr || file->pMethods->iVersion < 2 ||
      file->pMethods->xShmMap == nullptr) {
    return false;
  }
  // With bExtend 0 this only hands back the region SQLite has mapped already.
  void volatile* region = nullptr;
  if (file->pMethods->xShmMap(file, 0, kWalIndexPageSize, 0, &region) != SQLITE_OK ||
      region == nullptr) {
    return false;
  }
  // SQLite keeps two copies of the header and writes the second first; a reader that sees the
  // two equal has seen one consistent header. The region is page-aligned and the header is words,
  // so it is read a word at a time.
  const auto* words = static_cast<const volatile std::uint32_t*>(region);
  Header first;
  Header second;
  for (std::size_t i = 0; i < kHeaderWords; ++i) first[i] = words[i];
  std::atomic_thread_fence(std::memory_order_acquire);
  for (std::size_t i = 0; i < kHeaderWords; ++i) second[i] = words[kHeaderWords + i];
  if (first != second || reinterpret_cast<const unsigned char*>(first.data())[kIsInitByte] == 0) {
    return false;
  }
  *header = first;
  return (*header)[0] == kWalIndexVersion;
}

void WalChangeWatch::NoteOwnCommit(const Header& before, const Header& after) {
  if (!valid_ || before != noted_) {
    valid_ = false;
    return;
  }
  if (after == before) return;  // nothing reached the log
  if (after[kChangeCounter] == before[kChangeCounter] + 1) {
    noted_ = after;
  } else {
    valid_ = false;
  }
}

}  // namespace ketra::registry
