// What only the hive file has: a file shared by instances and processes, lazy creation, bad
// files, and writes that outlive a killed process.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/registry/sqlite_hive.h"
#include "platform/registry/test_killed_writer.h"
#include "platform/registry/test_registry.h"
#include "platform/runtime/test_temp_dir.h"

namespace ketra::registry {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

class SqliteHiveTest : public ::testing::Test {
 protected:
  std::string Hive() const { return dir_.File("hive.db"); }
  runtime::TestTempDir dir_;
};

TEST_F(SqliteHiveTest, TwoInstancesSeeEachOthersWrites) {
  const char* map_path = "HARDWARE\\DEVICEMAP\\SERIALCOMM";
  auto panel = OpenSqliteHive(Hive());
  auto daemon = OpenSqliteHive(Hive());
  ASSERT_EQ(SetText(*daemon, map_path, "\\Device\\TesSerial0", "COM5"), kErrorSuccess);
  EXPECT_EQ(GetText(*panel, map_path, "\\Device\\TesSerial0"), "COM5");
  ASSERT_EQ(SetText(*panel, map_path, "\\DEVICE\\TESSERIAL0", "COM6"), kErrorSuccess);
  ASSERT_EQ(SetText(*daemon, map_path, "\\Device\\TesSerial1", "COM7"), kErrorSuccess);
  EXPECT_EQ(GetText(*daemon, map_path, "\\Device\\TesSerial0"), "COM6");
  EXPECT_EQ(GetText(*panel, map_path, "\\Device\\TesSerial1"), "COM7");
  // The file, not only an instance's memory, keeps the names' first case and their order.
  auto third = OpenSqliteHive(Hive());
  HKey key = 0;
  ASSERT_EQ(third->OpenKey(kHKeyLocalMachine, map_path, &key), kErrorSuccess);
  EXPECT_EQ(ValueNames(*third, key),
            (std::vector<std::string>{"\\Device\\TesSerial0", "\\Device\\TesSerial1"}));

  // A key that the other instance deletes under an open handle: uses fail, nothing breaks.
  HKey map = 0;
  ASSERT_EQ(panel->OpenKey(kHKeyLocalMachine, "HARDWARE\\DEVICEMAP\\SERIALCOMM", &map),
            kErrorSuccess);
  ASSERT_EQ(daemon->DeleteTree(kHKeyLocalMachine, "HARDWARE\\DEVICEMAP"), kErrorSuccess);
  EXPECT_NE(panel->SetValueEx(map, "X", kRegNone, nullptr, 0), kErrorSuccess);
  HKey sub = 0;
  EXPECT_NE(panel->OpenKey(map, "", &sub), kErrorSuccess);
  EXPECT_EQ(panel->CloseKey(map), kErrorSuccess);
  EXPECT_EQ(GetText(*panel, "HARDWARE\\DEVICEMAP\\SERIALCOMM", "\\Device\\TesSerial1"), "#2");
  // And the panel's own creation works on after that.
  EXPECT_EQ(SetText(*panel, "HARDWARE\\DEVICEMAP\\SERIALCOMM", "\\Device\\TesSerial2", "COM8"),
            kErrorSuccess);
  EXPECT_EQ(GetText(*daemon, "HARDWARE\\DEVICEMAP\\SERIALCOMM", "\\Device\\TesSerial2"), "COM8");
}

// A commit of another process that falls between this instance's look at the file and its own
// write must still be seen afterwards; and a write of the value this instance last saw is left
// out only while nobody else has written.
TEST_F(SqliteHiveTest, AWriteOfTheOtherBetweenOpenAndOwnWriteIsSeenAndNotUndone) {
  auto panel = OpenSqliteHive(Hive());
  auto daemon = OpenSqliteHive(Hive());
  ASSERT_EQ(SetText(*panel, "Software\\Tessaron", "XON", "66"), kErrorSuccess);
  HKey key = 0;
  ASSERT_EQ(
      panel->CreateKeyEx(kHKeyLocalMachine, "Software\\Tessaron", 0, kKeyWrite, &key, nullptr),
      kErrorSuccess);
  ASSERT_EQ(SetText(*daemon, "Software\\Tessaron", "B", "2"), kErrorSuccess);
  ASSERT_EQ(SetText(*daemon, "Software\\Tessaron", "XON", "17"), kErrorSuccess);
  const std::uint8_t same[] = {'6', '6', 0};
  ASSERT_EQ(panel->SetValueEx(key, "XON", kRegNone, same, 3), kErrorSuccess);
  EXPECT_EQ(GetText(*panel, "Software\\Tessaron", "B"), "2");
  EXPECT_EQ(GetText(*daemon, "Software\\Tessaron", "XON"), "66");
  // Unchanged and unchallenged: still there after the writer is gone.
  ASSERT_EQ(panel->SetValueEx(key, "XON", kRegNone, same, 3), kErrorSuccess);
  panel->CloseKey(key);
  panel.reset();
  EXPECT_EQ(GetText(*OpenSqliteHive(Hive()), "Software\\Tessaron", "XON"), "66");
}

// Each instance keeps the hive in memory and trusts it while nobody else has committed; a
// third connection that checkpoints and restarts the log must not hide a commit either.
TEST_F(SqliteHiveTest, AlternatingWritersAlwaysReadTheLatest) {
  auto first = OpenSqliteHive(Hive());
  auto second = OpenSqliteHive(Hive());
  ASSERT_EQ(SetText(*first, "Software\\Shared", "N", "start"), kErrorSuccess);
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open(Hive().c_str(), &raw), SQLITE_OK);
  int stale = 0;
  for (int i = 0; i < 600; ++i) {
    Registry& writer = i % 3 == 0 ? *second : *first;
    Registry& reader = i % 3 == 0 ? *first : *second;
    const std::string text = std::to_string(i);
    ASSERT_EQ(SetText(writer, "Software\\Shared", "N", text), kErrorSuccess);
    if (GetText(reader, "Software\\Shared", "N") != text) ++stale;
    if (GetText(writer, "Software\\Shared", "N") != text) ++stale;
    if (i % 7 == 0) {
      sqlite3_exec(raw,
                   i % 2 ? "PRAGMA wal_checkpoint(TRUNCATE)" : "PRAGMA wal_checkpoint(RESTART)",
                   nullptr, nullptr, nullptr);
    }
  }
  sqlite3_close(raw);
  EXPECT_EQ(stale, 0);
}

TEST_F(SqliteHiveTest, ReadsOfAMissingFileFailAndCreateNothing) {
  const std::string hive = dir_.File("not/yet/hive.db");
  auto reg = OpenSqliteHive(hive);
  HKey key = 7;
  EXPECT_EQ(reg->OpenKeyEx(kHKeyLocalMachine, "HARDWARE\\DEVICEMAP", 0, kKeyRead, &key),
            kErrorFileNotFound);
  EXPECT_EQ(key, 0u);
  std::uint32_t length = 0;
  EXPECT_EQ(reg->QueryValueEx(kHKeyLocalMachine, "X", nullptr, nullptr, &length),
            kErrorFileNotFound);
  std::string name;
  EXPECT_EQ(reg->EnumKey(kHKeyLocalMachine, 0, &name), kErrorNoMoreItems);
  EXPECT_EQ(reg->DeleteTree(kHKeyLocalMachine, "Software"), kErrorFileNotFound);
  EXPECT_FALSE(fs::exists(dir_.File("not")));
  // The first create makes the directories and the file.
  EXPECT_EQ(SetText(*reg, "Software", "A", "1"), kErrorSuccess);
  EXPECT_TRUE(fs::exists(hive));
  EXPECT_EQ(GetText(*reg, "Software", "A"), "1");
}

TEST_F(SqliteHiveTest, AnEmptyFileIsAnEmptyHive) {
  std::ofstream(Hive()).close();
  auto reg = OpenSqliteHive(Hive());
  EXPECT_EQ(GetText(*reg, "Software", "A"), "#2");
  EXPECT_EQ(SetText(*reg, "Software", "A", "1"), kErrorSuccess);
  EXPECT_EQ(GetText(*OpenSqliteHive(Hive()), "Software", "A"), "1");
}

TEST_F(SqliteHiveTest, AFileThatIsNoHiveFailsEveryCallAndStaysAsItWas) {
  struct BadFile {
    const char* what;
    std::string contents;
  };
  std::string garbage(8192, '\x5A');
  sqlite3* db = nullptr;  // someone else's database
  ASSERT_EQ(sqlite3_open(Hive().c_str(), &db), SQLITE_OK);
  ASSERT_EQ(
      sqlite3_exec(db, "CREATE TABLE t(x); INSERT INTO t VALUES (1)", nullptr, nullptr, nullptr),
      SQLITE_OK);
  sqlite3_close(db);
  const std::string foreign = ReadFile(Hive());
  std::string cut_header = "SQLite format 3";
  cut_header.push_back('\0');
  cut_header += std::string(200, '\xFF');
  const BadFile files[] = {{"text", "tessaronconfigfile\r\n1\r\n"},
                           {"garbage", garbage},
                           {"broken header", cut_header},
                           {"someone else's", foreign}};
  for (const auto& file : files) {
    SCOPED_TRACE(file.what);
    std::ofstream(Hive(), std::ios::binary | std::ios::trunc) << file.contents;
    auto reg = OpenSqliteHive(Hive());
    HKey key = 5;
    EXPECT_EQ(reg->OpenKeyEx(kHKeyLocalMachine, "Software", 0, kKeyRead, &key), kErrorBadDb);
    EXPECT_EQ(key, 0u);
    EXPECT_NE(reg->CreateKeyEx(kHKeyLocalMachine, "Software", 0, kKeyWrite, &key, nullptr),
              kErrorSuccess);
    EXPECT_EQ(key, 0u);
    EXPECT_NE(reg->SetValueEx(kHKeyLocalMachine, "A", 0, nullptr, 0), kErrorSuccess);
    EXPECT_EQ(ReadFile(Hive()), file.contents);
  }
}

// A damaged page behind a sound header: the listing that meets it fails, and nothing crashes
// (the store once finalized the failed statement under its own reset guard).
TEST_F(SqliteHiveTest, AHiveDamagedBehindItsHeaderFailsWithoutCrashing) {
  {
    auto reg = OpenSqliteHive(Hive());
    for (int i = 0; i < 300; ++i) {
      HKey key = 0;
      ASSERT_EQ(reg->CreateKeyEx(kHKeyLocalMachine, "Software\\K" + std::to_string(i), 0, kKeyWrite,
                                 &key, nullptr),
                kErrorSuccess);
      const std::vector<std::uint8_t> data(200, 'x');
      ASSERT_EQ(reg->SetValueEx(key, "V", kRegSz, data.data(), 200), kErrorSuccess);
      reg->CloseKey(key);
    }
  }  // the last connection's close moves the journal into the file
  {
    std::fstream file(Hive(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(fs::file_size(Hive()) / 2));
    file << std::string(3000, '\xFF');
  }
  auto reg = OpenSqliteHive(Hive());
  Status status = kErrorSuccess;
  for (int i = 0; i < 300 && status == kErrorSuccess; ++i) {
    HKey key = 0;
    status =
        reg->OpenKeyEx(kHKeyLocalMachine, "Software\\K" + std::to_string(i), 0, kKeyRead, &key);
    std::uint32_t size = 0;
    if (status == kErrorSuccess) status = reg->QueryValueEx(key, "V", nullptr, nullptr, &size);
    if (key != 0) reg->CloseKey(key);
  }
  EXPECT_EQ(status, kErrorBadDb);
}

TEST_F(SqliteHiveTest, ADirectoryThatCannotBeMadeFailsTheCreate) {
  std::ofstream(dir_.File("plain-file")) << "x";
  const std::string paths[] = {dir_.File("plain-file/ketra/hive.db"),
                               "/proc/ketra-cannot-be-here/hive.db", dir_.path()};
  for (const std::string& path : paths) {
    auto reg = OpenSqliteHive(path);
    HKey key = 3;
    EXPECT_NE(reg->CreateKeyEx(kHKeyLocalMachine, "Software", 0, kKeyWrite, &key, nullptr),
              kErrorSuccess)
        << path;
    EXPECT_EQ(key, 0u);
    EXPECT_NE(reg->SetValueEx(kHKeyLocalMachine, "A", 0, nullptr, 0), kErrorSuccess);
  }
}

// Runs `body` in a child process as an unprivileged user, so that file modes bind even when the
// tests run as root. The child's exit status is the number of failed checks.
int RunUnprivileged(const std::function<int()>& body) {
  pid_t pid = fork();
  if (pid == 0) {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(100);
    _exit(body());
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 200;
}

TEST_F(SqliteHiveTest, FilesAreSharedWithTheGroupWhateverTheUmask) {
  const mode_t old_mask = umask(077);
  auto reg = OpenSqliteHive(Hive());
  ASSERT_EQ(SetText(*reg, "Software\\Tessaron\\VSP\\COM3", "XON", "66"), kErrorSuccess);
  umask(old_mask);
  for (const char* suffix : {"", "-wal", "-shm"}) {
    struct stat info {};
    ASSERT_EQ(stat((Hive() + suffix).c_str(), &info), 0) << suffix;
    EXPECT_EQ(info.st_mode & 0777, 0660u) << suffix;
  }
}

TEST_F(SqliteHiveTest, AReadOnlyFileRefusesCreatesAndWrites) {
  {
    auto reg = OpenSqliteHive(Hive());
    ASSERT_EQ(SetText(*reg, "Software\\Tessaron\\VSP\\COM3", "XON", "66"), kErrorSuccess);
  }
  const std::string before = ReadFile(Hive());
  ASSERT_EQ(chmod(dir_.path().c_str(), 0755), 0);
  ASSERT_EQ(chmod(Hive().c_str(), 0444), 0);
  const std::string hive = Hive();
  const int failures = RunUnprivileged([&] {
    int failed = 0;
    auto reg = OpenSqliteHive(hive);
    HKey key = 1;
    if (reg->CreateKeyEx(kHKeyLocalMachine, "Software\\Tessaron\\VSP\\COM3", 0, kKeyWrite, &key,
                         nullptr) == kErrorSuccess) {
      ++failed;
    }
    if (key != 0) ++failed;
    if (reg->CreateKeyEx(kHKeyLocalMachine, "Software\\New", 0, kKeyWrite, &key, nullptr) ==
        kErrorSuccess) {
      ++failed;
    }
    if (SetText(*reg, "Software", "A", "1") == kErrorSuccess) ++failed;
    return failed;
  });
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(ReadFile(Hive()), before);
}

TEST_F(SqliteHiveTest, EveryCompletedWriteSurvivesKill9) {
  const std::string hive = Hive();
  auto key_of = [](int i) { return "Software\\Tessaron\\VSP\\COM" + std::to_string(i % 50); };
  const KilledWriter writer = KillWriterMidway(300, {}, [&](const auto& report) {
    auto reg = OpenSqliteHive(hive);
    for (int i = 0;; ++i) {
      if (SetText(*reg, key_of(i), "V" + std::to_string(i), std::to_string(i * 7)) != 0) _exit(1);
      report(i);
    }
  });
  EXPECT_TRUE(writer.killed);
  ASSERT_GE(writer.last, 300);
  auto reg = OpenSqliteHive(hive);
  int missing = 0;
  for (int i = 0; i <= writer.last; ++i) {
    if (GetText(*reg, key_of(i), "V" + std::to_string(i)) != std::to_string(i * 7)) ++missing;
  }
  EXPECT_EQ(missing, 0) << "of " << writer.last + 1;
  EXPECT_EQ(SetText(*reg, "Software", "After", "1"), kErrorSuccess);
}

}  // namespace
}  // namespace ketra::registry
