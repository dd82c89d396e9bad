// The three registry patterns of the panel, on a hive file in a temporary directory:
// discovery (3 opens and 20,000 queries of the device map), the save (808 times create, set,
// close) and the load (707 times open, query, close).
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/registry/hive_model.h"
#include "platform/registry/sqlite_hive.h"
#include "platform/runtime/test_temp_dir.h"

namespace ketra::registry {
namespace {

constexpr int kPorts = 101;
const char* const kValueNames[] = {"PORTNAME", "ENABLED",   "FLOWCONTROL", "XON",
                                   "XOFF",     "LOCALPORT", "REMOTEPORT",  "REMOTEIP"};

void SetText(Registry& reg, HKey key, const std::string& name, std::string text) {
  text.push_back('\0');
  reg.SetValueEx(key, name, kRegNone, reinterpret_cast<const std::uint8_t*>(text.data()),
                 static_cast<std::uint32_t>(text.size()));
}

// The driver's device map: a few of the 10,000 device names, and other serial devices.
void WriteDeviceMap(const std::string& hive) {
  auto daemon = OpenSqliteHive(hive);
  HKey map = 0;
  daemon->CreateKeyEx(kHKeyLocalMachine, "HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, kKeyWrite, &map,
                      nullptr);
  for (int n : {0, 1, 2, 5, 17, 300, 4096, 9999}) {
    SetText(*daemon, map, "\\Device\\TesSerial" + std::to_string(n), "COM" + std::to_string(n));
  }
  SetText(*daemon, map, "\\Device\\Serial0", "COM1");
  daemon->CloseKey(map);
}

// What the panel's discovery does at every start.
int Discover(Registry& reg) {
  HKey hardware = 0, devicemap = 0, serialcomm = 0;
  reg.OpenKey(kHKeyLocalMachine, "HARDWARE", &hardware);
  reg.OpenKey(hardware, "DEVICEMAP", &devicemap);
  reg.OpenKey(devicemap, "SERIALCOMM", &serialcomm);
  std::uint32_t length = 0;
  std::uint32_t type = kRegSz;
  std::string buffer;
  int found = 0;
  for (int n = 0; n <= 9999; ++n) {
    const std::string name = "\\Device\\TesSerial" + std::to_string(n);
    reg.QueryValueEx(serialcomm, name, &type, nullptr, &length);
    buffer.assign(length, '\0');
    reg.QueryValueEx(serialcomm, name, &type, reinterpret_cast<std::uint8_t*>(buffer.data()),
                     &length);
    if (!buffer.empty() && buffer[0] == 'C') ++found;
  }
  reg.CloseKey(serialcomm);
  reg.CloseKey(devicemap);
  reg.CloseKey(hardware);
  return found;
}

void BM_DiscoveryWarm(benchmark::State& state) {
  runtime::TestTempDir dir;
  const std::string hive = dir.File("hive.db");
  WriteDeviceMap(hive);
  auto panel = OpenSqliteHive(hive);
  Discover(*panel);
  for (auto _ : state) benchmark::DoNotOptimize(Discover(*panel));
  state.counters["queries"] = 20000;
}

// A new instance each time: the first open connects and reads the hive, as at a real start.
void BM_DiscoveryCold(benchmark::State& state) {
  runtime::TestTempDir dir;
  const std::string hive = dir.File("hive.db");
  WriteDeviceMap(hive);
  for (auto _ : state) {
    auto panel = OpenSqliteHive(hive);
    benchmark::DoNotOptimize(Discover(*panel));
  }
}

// The other way to answer the scan: no copy at all, each query one indexed lookup through a
// prepared statement on the file, as a registry without a cache would make it. `in_one_read`
// holds one read transaction over the whole scan; without it every query is its own.
void DiscoverIndexed(benchmark::State& state, bool in_one_read) {
  runtime::TestTempDir dir;
  const std::string hive = dir.File("hive.db");
  WriteDeviceMap(hive);
  sqlite3* db = nullptr;
  sqlite3_open_v2(hive.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  sqlite3_stmt* child = nullptr;
  sqlite3_stmt* value = nullptr;
  sqlite3_prepare_v3(db, "SELECT id FROM hive_key WHERE parent = ?1 AND fold = ?2", -1,
                     SQLITE_PREPARE_PERSISTENT, &child, nullptr);
  sqlite3_prepare_v3(db, "SELECT type, data FROM hive_value WHERE key = ?1 AND fold = ?2", -1,
                     SQLITE_PREPARE_PERSISTENT, &value, nullptr);
  std::string folded;
  for (auto _ : state) {
    if (in_one_read) sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    std::int64_t key = 1;
    for (const char* name : {"HARDWARE", "DEVICEMAP", "SERIALCOMM"}) {
      sqlite3_bind_int64(child, 1, key);
      sqlite3_bind_blob(child, 2, name, static_cast<int>(std::strlen(name)), SQLITE_STATIC);
      if (sqlite3_step(child) == SQLITE_ROW) key = sqlite3_column_int64(child, 0);
      sqlite3_reset(child);
    }
    int found = 0;
    std::string buffer;
    for (int n = 0; n <= 9999; ++n) {
      const std::string name = "\\Device\\TesSerial" + std::to_string(n);
      for (int pass = 0; pass < 2; ++pass) {
        FoldNameInto(name, &folded);
        sqlite3_bind_int64(value, 1, key);
        sqlite3_bind_blob(value, 2, folded.data(), static_cast<int>(folded.size()), SQLITE_STATIC);
        if (sqlite3_step(value) == SQLITE_ROW) {
          const int size = sqlite3_column_bytes(value, 1);
          buffer.assign(static_cast<const char*>(sqlite3_column_blob(value, 1)), size);
          if (pass == 1 && buffer[0] == 'C') ++found;
        }
        sqlite3_reset(value);
      }
    }
    if (in_one_read) sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    benchmark::DoNotOptimize(found);
  }
  sqlite3_finalize(child);
  sqlite3_finalize(value);
  sqlite3_close(db);
}

void BM_DiscoveryIndexedEachQuery(benchmark::State& state) { DiscoverIndexed(state, false); }
void BM_DiscoveryIndexedOneRead(benchmark::State& state) { DiscoverIndexed(state, true); }

// The save: every value of every port, each an own create, set and close.
void Save(Registry& reg, int round) {
  for (int port = 0; port < kPorts; ++port) {
    const std::string path = "Software\\Tessaron\\VSP\\COM" + std::to_string(port + 3);
    for (const char* name : kValueNames) {
      HKey key = 0;
      reg.CreateKeyEx(kHKeyLocalMachine, path, 0, kKeyWrite, &key, nullptr);
      SetText(reg, key, name, std::to_string(3000 + round));
      reg.CloseKey(key);
    }
  }
}

void BM_Save808(benchmark::State& state) {
  runtime::TestTempDir dir;
  auto panel = OpenSqliteHive(dir.File("hive.db"));
  WriteDeviceMap(dir.File("hive.db"));
  Save(*panel, 0);  // the keys exist from here on, as after a first run
  int round = 1;
  for (auto _ : state) Save(*panel, round++);
  state.counters["writes"] = kPorts * 8;
}

// The usual save: the same values again (the panel writes all of them at every save).
void BM_Save808Unchanged(benchmark::State& state) {
  runtime::TestTempDir dir;
  auto panel = OpenSqliteHive(dir.File("hive.db"));
  Save(*panel, 0);
  for (auto _ : state) Save(*panel, 0);
}

void BM_SaveFirstRun808(benchmark::State& state) {
  runtime::TestTempDir dir;
  int round = 0;
  for (auto _ : state) {
    state.PauseTiming();
    auto panel = OpenSqliteHive(dir.File("hive" + std::to_string(round) + ".db"));
    state.ResumeTiming();
    Save(*panel, round++);
  }
}

// The load: seven values of every port, each an own open, query and close.
void BM_Load707(benchmark::State& state) {
  runtime::TestTempDir dir;
  {
    auto first = OpenSqliteHive(dir.File("hive.db"));
    Save(*first, 0);
  }
  auto panel = OpenSqliteHive(dir.File("hive.db"));
  std::vector<std::string> paths;
  for (int port = 0; port < kPorts; ++port) {
    paths.push_back("Software\\Tessaron\\VSP\\COM" + std::to_string(port + 3));
  }
  std::uint8_t buffer[255];
  for (auto _ : state) {
    int found = 0;
    for (const std::string& path : paths) {
      for (int v = 1; v < 8; ++v) {
        HKey key = 0;
        if (panel->OpenKeyEx(kHKeyLocalMachine, path, 0, kKeyRead, &key) != kErrorSuccess) continue;
        std::uint32_t length = sizeof buffer;
        std::uint32_t type = 0;
        if (panel->QueryValueEx(key, kValueNames[v], &type, buffer, &length) == kErrorSuccess) {
          ++found;
        }
        panel->CloseKey(key);
      }
    }
    benchmark::DoNotOptimize(found);
  }
  state.counters["reads"] = kPorts * 7;
}

BENCHMARK(BM_DiscoveryWarm)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_DiscoveryCold)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_DiscoveryIndexedEachQuery)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_DiscoveryIndexedOneRead)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_Save808)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_Save808Unchanged)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_SaveFirstRun808)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_Load707)->Unit(benchmark::kMillisecond)->Repetitions(10);

}  // namespace
}  // namespace ketra::registry
