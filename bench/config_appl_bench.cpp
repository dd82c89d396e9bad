// The panel's routines on a real hive file: the discovery scan, the save and the load of every
// port, the whole start-up, a port choice and an Apply.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include "config_appl/app/commands.h"
#include "config_appl/app/program.h"
#include "config_appl/model/default_settings.h"
#include "config_appl/store/discover_ports.h"
#include "config_appl/store/settings_load.h"
#include "config_appl/store/settings_save.h"
#include "platform/device/scripted_device.h"
#include "platform/registry/sqlite_hive.h"
#include "platform/runtime/text_file.h"

namespace ketra {
namespace {

class SilentBoxes : public forms::MessageBoxService {
 public:
  void Show(std::string_view, forms::MsgBoxStyle) override {}
};

class BenchApp : public forms::AppServices {
 public:
  std::string Path() const override { return "/tmp"; }
  bool PrevInstance() override { return false; }
};

// A fresh hive file holding a device map of `ports` ports and, with `settings`, their stored
// settings as a first run leaves them.
class Bench {
 public:
  Bench(int ports, bool settings) {
    dir_ = std::filesystem::temp_directory_path() /
           ("ketra-bench-" + std::to_string(::getpid()) + "-" + std::to_string(counter_++));
    std::filesystem::create_directories(dir_);
    hive_ = registry::OpenSqliteHive((dir_ / "hive.db").string());
    registry::HKey key = 0;
    std::uint32_t disposition = 0;
    hive_->CreateKeyEx(registry::kHKeyLocalMachine, "HARDWARE\\DEVICEMAP\\SERIALCOMM", 0,
                       registry::kKeyWrite, &key, &disposition);
    for (int i = 0; i < ports; ++i) {
      const std::string name = "\\Device\\TesSerial" + std::to_string(i);
      const std::string data = "COM" + std::to_string(i + 3) + std::string(1, '\0');
      hive_->SetValueEx(key, name, registry::kRegSz,
                        reinterpret_cast<const std::uint8_t*>(data.data()),
                        static_cast<std::uint32_t>(data.size()));
    }
    hive_->CloseKey(key);
    if (settings && ports > 0) {
      Program& p = NewProgram();
      Discover(p);
      ApplyDefaultSettings(p);
      SaveAllPorts(p);
    }
  }
  ~Bench() {
    program_.reset();
    hive_.reset();
    std::filesystem::remove_all(dir_);
  }

  std::string hive_path() const { return (dir_ / "hive.db").string(); }

  Program& NewProgram() {
    program_.reset();
    program_ = std::make_unique<Program>(Platform{*hive_, device_, app_, *files_, boxes_});
    return *program_;
  }

  static void Discover(Program& p) {
    p.decl() = Declarations{};
    DiscoverPorts(p);
    p.decl().LastPort = static_cast<std::int16_t>(p.decl().PortCount - 1);
  }

 private:
  static inline int counter_ = 0;
  std::filesystem::path dir_;
  std::unique_ptr<registry::Registry> hive_;
  device::ScriptedDevice device_;
  BenchApp app_;
  std::unique_ptr<runtime::FileSystem> files_ = runtime::MakePosixFileSystem();
  SilentBoxes boxes_;
  std::unique_ptr<Program> program_;
};

void BM_ReadRegistryScan(benchmark::State& state) {
  Bench bench(static_cast<int>(state.range(0)), false);
  Program& p = bench.NewProgram();
  for (auto _ : state) {
    Bench::Discover(p);
    benchmark::DoNotOptimize(p.decl().PortCount);
  }
}
BENCHMARK(BM_ReadRegistryScan)->Arg(0)->Arg(4)->Arg(101)->Unit(benchmark::kMillisecond);

void BM_CreateConfigFile2(benchmark::State& state) {
  Bench bench(101, true);
  Program& p = bench.NewProgram();
  Bench::Discover(p);
  ApplyDefaultSettings(p);
  for (auto _ : state) SaveAllPorts(p);
}
BENCHMARK(BM_CreateConfigFile2)->Unit(benchmark::kMillisecond);

// Every one of the 808 values differs from what the hive holds, so every write reaches the file.
void BM_CreateConfigFile2AllChanged(benchmark::State& state) {
  Bench bench(101, true);
  Program& p = bench.NewProgram();
  Bench::Discover(p);
  ApplyDefaultSettings(p);
  std::uint8_t flip = 0;
  for (auto _ : state) {
    flip ^= 1;
    for (int r = 0; r <= p.decl().LastPort; ++r) {
      PortRecord& row = p.decl().PortTable[r];
      row.Enabled = flip ? 0 : -1;
      row.FlowControl = flip ? "1" : "0";
      row.XON = static_cast<std::uint8_t>(66 + flip);
      row.XOFF = static_cast<std::uint8_t>(65 + flip);
      row.LocalPort = std::to_string(3000 + r + flip);
      row.RemotePort = std::to_string(3003 + r + flip);
      row.RemoteIP = flip ? "127.0.0.1" : "127.0.0.2";
      // The name is the key: rewriting it with the same text is the one unchanged value.
    }
    SaveAllPorts(p);
  }
}
BENCHMARK(BM_CreateConfigFile2AllChanged)->Unit(benchmark::kMillisecond);

// The floor of a save: the same 808 upserts as plain SQLite, one prepared statement, one
// transaction, the commit synced as the hive syncs a batch. Run with the save above, interleaved.
void BM_Sqlite808UpsertsOneTransaction(benchmark::State& state) {
  Bench bench(101, true);
  sqlite3* db = nullptr;
  sqlite3_open_v2(bench.hive_path().c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                  nullptr);
  sqlite3_exec(db, "PRAGMA synchronous = FULL", nullptr, nullptr, nullptr);
  std::vector<std::int64_t> keys;
  sqlite3_stmt* find = nullptr;
  // The port keys that the save wrote: every key below ...\VSP. Port names are cut to five
  // characters, so COM100 to COM103 share the key of COM10: 97 keys for 101 rows, 808 writes.
  sqlite3_prepare_v2(db,
                     "SELECT id FROM hive_key WHERE parent ="
                     " (SELECT id FROM hive_key WHERE fold = CAST('VSP' AS BLOB))",
                     -1, &find, nullptr);
  while (sqlite3_step(find) == SQLITE_ROW) keys.push_back(sqlite3_column_int64(find, 0));
  sqlite3_finalize(find);
  sqlite3_stmt* upsert = nullptr;
  sqlite3_prepare_v3(
      db,
      "INSERT INTO hive_value (key, fold, name, seq, type, data)"
      " VALUES (?1, ?2, ?2, (SELECT coalesce(max(seq), 0) + 1 FROM hive_value WHERE key = ?1),"
      " 0, ?3)"
      " ON CONFLICT (key, fold) DO UPDATE SET type = excluded.type, data = excluded.data",
      -1, SQLITE_PREPARE_PERSISTENT, &upsert, nullptr);
  const char* names[] = {"PORTNAME", "ENABLED",   "FLOWCONTROL", "XON",
                         "XOFF",     "LOCALPORT", "REMOTEPORT",  "REMOTEIP"};
  int round = 0;
  for (auto _ : state) {
    ++round;
    sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    for (int row = 0; row < 101; ++row) {
      const std::int64_t key = keys[static_cast<std::size_t>(row) % keys.size()];
      for (const char* name : names) {
        const std::string data = std::to_string(key * 10 + round) + std::string(1, '\0');
        sqlite3_bind_int64(upsert, 1, key);
        sqlite3_bind_blob(upsert, 2, name, static_cast<int>(std::strlen(name)), SQLITE_STATIC);
        sqlite3_bind_blob(upsert, 3, data.data(), static_cast<int>(data.size()), SQLITE_STATIC);
        sqlite3_step(upsert);
        sqlite3_reset(upsert);
      }
    }
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  }
  sqlite3_finalize(upsert);
  sqlite3_close(db);
}
BENCHMARK(BM_Sqlite808UpsertsOneTransaction)->Unit(benchmark::kMillisecond);

void BM_ReadTheRegistry(benchmark::State& state) {
  Bench bench(101, true);
  Program& p = bench.NewProgram();
  Bench::Discover(p);
  for (auto _ : state) LoadPortSettings(p);
}
BENCHMARK(BM_ReadTheRegistry)->Unit(benchmark::kMillisecond);

void BM_StartUp(benchmark::State& state) {
  Bench bench(101, true);
  for (auto _ : state) {
    Program& p = bench.NewProgram();
    p.Start();
    benchmark::DoNotOptimize(p.decl().LastPort);
  }
}
BENCHMARK(BM_StartUp)->Unit(benchmark::kMillisecond);

void BM_PortChoice(benchmark::State& state) {
  Bench bench(101, true);
  Program& p = bench.NewProgram();
  p.Start();
  forms::Form& form = p.form();
  const forms::ControlId list = form.Id("CMB_PORT");
  int entry = 0;
  for (auto _ : state) {
    entry = (entry + 37) % 101;
    form.Choose(list, form.at(list).items[static_cast<std::size_t>(entry)]);
  }
}
BENCHMARK(BM_PortChoice)->Unit(benchmark::kMicrosecond);

void BM_Apply(benchmark::State& state) {
  Bench bench(101, true);
  Program& p = bench.NewProgram();
  p.Start();
  for (auto _ : state) ApplyClick(p);
}
BENCHMARK(BM_Apply)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ketra
