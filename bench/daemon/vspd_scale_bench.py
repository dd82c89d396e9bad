#!/usr/bin/env python3
"""ketra-vspd with 1,024 ports busy at once, against min_bridge run as 1,024 processes, in one run
with the peers alternated. Loopback only.

On every port the far end (vspd_many, in C) keeps WINDOW messages of SIZE bytes in flight from the
program through the bridge to the terminal and straight back, for SECONDS, on all ports at once.
Reported per run and peer, then as medians with min-max over the runs: aggregate throughput (MB/s
echoed, one way), the median over the ports of each port's echo p50 and p99, the worst port's
p99, the bridge's CPU (all its processes and threads, schedstat) as a share of one CPU, and its
memory: PSS summed over its processes (shared pages counted once) and RSS summed. Then
ketra-vspd / min_bridge ratios of the medians.

With --cpus B,D the bridge (all its processes) runs on CPU B and the far ends on CPU D.

usage: vspd_scale_bench.py BIN_DIR PEER_DIR [--ports 1024] [--runs 3] [--seconds 10]
                           [--window 4] [--size 64] [--cpus B,D]
"""
import argparse
import os
import resource
import socket
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests",
                                "daemon"))
import vspd_e2e as e2e  # noqa: E402  (the raw control channel and the connect record)
from vspd_peers_bench import cpu_seconds, on_cpu, wait_for  # noqa: E402


class Ports:
    """Distinct free UDP ports: probing one at a time can hand out the same port twice."""

    def __init__(self):
        self.given = set()

    def take(self):
        while True:
            probe = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
            probe.close()
            if port not in self.given:
                self.given.add(port)
                return port


def memory_kb(pid):
    pss = rss = 0
    with open("/proc/%d/smaps_rollup" % pid) as rollup:
        for line in rollup:
            if line.startswith("Pss:"):
                pss = int(line.split()[1])
            elif line.startswith("Rss:"):
                rss = int(line.split()[1])
    return pss, rss


class Bridge:
    def __init__(self, kind, args, work, udp):
        self.kind, self.processes, self.lines = kind, [], []
        count = args.ports
        bridge_ports = [udp.take() for _ in range(count)]
        terminal_ports = [udp.take() for _ in range(count)]
        if kind == "ketra-vspd":
            process = subprocess.Popen(
                [os.path.join(args.bin, "ketra-vspd"), "run", "--hive", work + "/hive.db",
                 "--socket", work + "/s", "--link-dir", work + "/dev", "--count", str(count),
                 "--first", "0", "--bind-address", "127.0.0.1"], stderr=subprocess.DEVNULL,
                preexec_fn=on_cpu(args.bridge_cpu))
            self.processes.append(process)
            assert wait_for(lambda: os.path.exists(work + "/s"), 60), "no daemon"
            for n in range(count):
                status = e2e.raw_command(work + "/s", "COM%d" % n, 0x80202000,
                                         e2e.record(bridge_ports[n], terminal_ports[n]))
                assert status == 112, status
                self.lines.append("%s/dev/COM%d %d %d" % (work, n, terminal_ports[n],
                                                          bridge_ports[n]))
        else:
            for n in range(count):
                process = subprocess.Popen(
                    [os.path.join(args.peers, "min_bridge"), str(bridge_ports[n]),
                     str(terminal_ports[n])], stdout=subprocess.PIPE, text=True,
                    preexec_fn=on_cpu(args.bridge_cpu))
                pty = process.stdout.readline().strip()
                process.stdout.close()
                self.processes.append(process)
                self.lines.append("%s %d %d" % (pty, terminal_ports[n], bridge_ports[n]))
        self.ports_file = work + "/ports.txt"
        with open(self.ports_file, "w") as listing:
            listing.write("\n".join(self.lines) + "\n")

    def cpu(self):
        return sum(cpu_seconds(p.pid) for p in self.processes)

    def memory(self):
        pss = rss = 0
        for process in self.processes:
            p, r = memory_kb(process.pid)
            pss, rss = pss + p, rss + r
        return pss / 1024, rss / 1024

    def run(self, args):
        before = self.cpu()
        done = subprocess.run(
            [os.path.join(args.peers, "vspd_many"), self.ports_file, str(args.seconds),
             str(args.window), str(args.size)], capture_output=True, text=True, timeout=300,
            preexec_fn=on_cpu(args.driver_cpu))
        cpu = self.cpu() - before
        if done.returncode != 0:
            raise RuntimeError("vspd_many: " + done.stderr)
        result = {k: float(v) for k, v in (item.split("=") for item in done.stdout.split())}
        result["cpu_share"] = 100 * cpu / result["seconds"]
        result["pss_mb"], result["rss_mb"] = self.memory()
        return result

    def close(self):
        for process in self.processes:
            process.terminate()
        for process in self.processes:
            process.wait(timeout=30)


def summary(values):
    return "%9.1f [%8.1f - %8.1f]" % (statistics.median(values), min(values), max(values))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("bin")
    parser.add_argument("peers")
    parser.add_argument("--ports", type=int, default=1024)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--seconds", type=float, default=10)
    parser.add_argument("--window", type=int, default=4)
    parser.add_argument("--size", type=int, default=64)
    parser.add_argument("--cpus", help="BRIDGE_CPU,DRIVER_CPU: pin the bridge and the far ends")
    args = parser.parse_args()
    args.bridge_cpu, args.driver_cpu = (
        [int(cpu) for cpu in args.cpus.split(",")] if args.cpus else (None, None))
    # The far ends hold two descriptors per port, this process a pipe per min_bridge a while.
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (max(soft, min(hard, 4 * args.ports + 256)), hard))
    kinds = ["ketra-vspd", "min_bridge"]
    keys = ["mbps", "p50_us", "p99_us", "worst_p99_us", "cpu_share", "pss_mb", "rss_mb"]
    rows = {kind: {key: [] for key in keys + ["idle_ports"]} for kind in kinds}
    udp = Ports()
    for run in range(args.runs):
        for kind in kinds[run % 2:] + kinds[:run % 2]:
            with tempfile.TemporaryDirectory(prefix="vspd-scale-") as work:
                started = time.monotonic()
                bridge = Bridge(kind, args, work, udp)
                try:
                    result = bridge.run(args)
                finally:
                    bridge.close()
                    udp.given.clear()
                for key in keys + ["idle_ports"]:
                    rows[kind][key].append(result[key])
                print("run %d %-10s %s (%.0f s with set-up)" % (
                    run + 1, kind, " ".join("%s=%.1f" % (k, result[k]) for k in keys +
                                            ["idle_ports"]), time.monotonic() - started),
                      file=sys.stderr)
    print("%d ports busy at once, %d runs alternated, %.0f s each, %d messages of %d bytes in "
          "flight per port, %s; median [min - max]" % (
              args.ports, args.runs, args.seconds, args.window, args.size,
              "bridge on CPU %d, far ends on CPU %d" % (args.bridge_cpu, args.driver_cpu)
              if args.cpus else "unpinned"))
    print("%-11s %-29s %-29s %-29s %-29s %-29s %-29s %s" % (
        "peer", "echoed MB/s (one way)", "port p50 us (median)", "port p99 us (median)",
        "worst port p99 us", "CPU % of one CPU", "PSS MB", "RSS MB"))
    for kind, row in rows.items():
        print("%-11s %s %s %s %s %s %s %s" % (kind, *(summary(row[k]) for k in keys)))
        if any(row["idle_ports"]):
            print("  %s: ports that completed nothing: %s" % (kind, row["idle_ports"]))
    k = {key: statistics.median(v) for key, v in rows["ketra-vspd"].items()}
    m = {key: statistics.median(v) for key, v in rows["min_bridge"].items()}
    print("ketra-vspd / min_bridge: throughput %.3f, p50 %.3f, p99 %.3f, CPU %.3f, PSS %.3f, "
          "RSS %.3f" % (k["mbps"] / m["mbps"], k["p50_us"] / m["p50_us"],
                        k["p99_us"] / m["p99_us"], k["cpu_share"] / m["cpu_share"],
                        k["pss_mb"] / m["pss_mb"], k["rss_mb"] / m["rss_mb"]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
