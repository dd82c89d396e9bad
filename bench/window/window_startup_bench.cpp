// Start-up of the window: the time from starting the process to its first frame shown, and its
// peak resident size, for `ketra` on a machine with 101 ports and for two minimal Qt windows,
// one empty form and one that shows a label (the fair yardstick: it pays for the font database
// as any window with text does), in the same run. Each repetition starts each program once; run
// with --benchmark_repetitions and compare the medians (bench/window/run.sh does, and states the
// goals: at most 1.15 times the labelled window's time, at most its peak size plus 10 MB).
//
// Needs a display (DISPLAY, or QT_QPA_PLATFORM=offscreen).
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/registry/sqlite_hive.h"
#include "window/first_frame.h"

extern char** environ;

namespace {

constexpr int kPorts = 101;

struct Started {
  bool ok = false;
  std::int64_t first_frame_ns = 0;
  long peak_rss_kb = 0;
  double cpu_ms = 0;  // user and system time of the whole run
};

// Starts `argv`, reads its "first-frame NS" line and waits for it to end.
Started Run(const std::vector<std::string>& args) {
  int out[2];
  if (pipe(out) != 0) return {};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, out[0]);
  std::vector<char*> argv;
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  Started started;
  if (spawned != 0) {
    close(out[0]);
    return started;
  }
  std::string text;
  char buffer[256];
  for (ssize_t got; (got = read(out[0], buffer, sizeof buffer)) > 0;) text.append(buffer, got);
  close(out[0]);
  int status = 0;
  rusage usage{};
  wait4(pid, &status, 0, &usage);
  long long stamp = 0;
  const size_t at = text.find("first-frame ");
  if (at != std::string::npos && std::sscanf(text.c_str() + at, "first-frame %lld", &stamp) == 1 &&
      WIFEXITED(status) && WEXITSTATUS(status) == 0) {
    const double cpu_ms = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
                          (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
    started = {true, stamp, usage.ru_maxrss, cpu_ms};
  }
  return started;
}

// A hive whose serial device map names 101 ports, already through one start of the panel.
const std::string& HivePath() {
  static const std::string path = [] {
    const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("ketra-window-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(dir);
    const std::string hive_path = (dir / "hive.db").string();
    const auto hive = ketra::registry::OpenSqliteHive(hive_path);
    ketra::registry::HKey key = 0;
    std::uint32_t disposition = 0;
    hive->CreateKeyEx(ketra::registry::kHKeyLocalMachine, "HARDWARE\\DEVICEMAP\\SERIALCOMM", 0,
                      ketra::registry::kKeyWrite, &key, &disposition);
    for (int device = 0; device < kPorts; ++device) {
      const std::string name = "\\Device\\TesSerial" + std::to_string(device);
      const std::string data = "COM" + std::to_string(3 + device) + std::string(1, '\0');
      hive->SetValueEx(key, name, ketra::registry::kRegSz,
                       reinterpret_cast<const std::uint8_t*>(data.data()),
                       static_cast<std::uint32_t>(data.size()));
    }
    hive->CloseKey(key);
    return hive_path;
  }();
  return path;
}

bool HasDisplay() {
  return std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY") || std::getenv("QT_QPA_PLATFORM");
}

std::vector<std::string> KetraCommand() {
  return {KETRA_BINARY,
          "--hive",
          HivePath(),
          "--socket",
          HivePath() + ".no-daemon",
          "--exit-after-first-frame"};
}

std::vector<std::string> MinimalCommand() {
  return {MINIMAL_WINDOW_BINARY, "--exit-after-first-frame"};
}

std::vector<std::string> LabelCommand() {
  return {MINIMAL_WINDOW_BINARY, "--label", "--exit-after-first-frame"};
}

// Each iteration starts the three programs one right after the other, the order rotating from
// one iteration to the next, so that a machine whose load drifts treats them alike. The
// iteration's time is ketra's; the counters give every time, the ratios and the peak sizes.
void BM_KetraAgainstMinimalWindow(benchmark::State& state) {
  if (!HasDisplay()) {
    state.SkipWithError("no display: run under scripts/with-x-server.sh or with QT_QPA_PLATFORM=offscreen");
    return;
  }
  struct Peer {
    std::vector<std::string> command;
    double ms = 0;
    double cpu_ms = 0;
    long peak_kb = 0;
  };
  Peer peers[3] = {{KetraCommand()}, {MinimalCommand()}, {LabelCommand()}};
  int first = 0;
  for (auto _ : state) {
    first = (first + 1) % 3;
    double ketra_s = 0;
    for (int turn = 0; turn < 3; ++turn) {
      Peer& peer = peers[(first + turn) % 3];
      const std::int64_t start = ketra::window::MonotonicNanoseconds();
      const Started started = Run(peer.command);
      if (!started.ok) {
        state.SkipWithError("a program did not report its first frame");
        return;
      }
      const double seconds = static_cast<double>(started.first_frame_ns - start) / 1e9;
      if (&peer == &peers[0]) ketra_s = seconds;
      peer.ms += seconds * 1e3;
      peer.cpu_ms += started.cpu_ms;
      peer.peak_kb = std::max(peer.peak_kb, started.peak_rss_kb);
    }
    state.SetIterationTime(ketra_s);
  }
  const auto n = static_cast<double>(state.iterations());
  const Peer& ketra = peers[0];
  const Peer& minimal = peers[1];
  const Peer& label = peers[2];
  state.counters["ketra_ms"] = ketra.ms / n;
  state.counters["minimal_ms"] = minimal.ms / n;
  state.counters["label_ms"] = label.ms / n;
  state.counters["ratio"] = ketra.ms / minimal.ms;
  state.counters["ratio_label"] = ketra.ms / label.ms;
  // Processor time is less at the mercy of other work on the machine than the wall clock.
  state.counters["ketra_cpu_ms"] = ketra.cpu_ms / n;
  state.counters["minimal_cpu_ms"] = minimal.cpu_ms / n;
  state.counters["label_cpu_ms"] = label.cpu_ms / n;
  state.counters["ketra_rss_MB"] = static_cast<double>(ketra.peak_kb) / 1024.0;
  state.counters["minimal_rss_MB"] = static_cast<double>(minimal.peak_kb) / 1024.0;
  state.counters["label_rss_MB"] = static_cast<double>(label.peak_kb) / 1024.0;
  state.counters["rss_extra_MB"] = static_cast<double>(ketra.peak_kb - label.peak_kb) / 1024.0;
}

// The first start writes the defaults of all ports; the measured starts are later runs.
void WarmUp() {
  if (!HasDisplay()) return;
  Run(KetraCommand());
  Run(MinimalCommand());
  Run(LabelCommand());
}

BENCHMARK(BM_KetraAgainstMinimalWindow)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  WarmUp();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::filesystem::remove_all(std::filesystem::path(HivePath()).parent_path());
  return 0;
}
