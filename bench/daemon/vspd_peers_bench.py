#!/usr/bin/env python3
"""ketra-vspd against the limit and its peers, on loopback, in one run with the peers alternated.

Peers: ketra-vspd; min_bridge (one read and one sendto per readiness: the limit); socat
(PTY <-> UDP); Debian's ser2net (accepter udp, connector serialdev on a pty, chardelay false).
The far ends are vspd_peer, in C, so the measuring side is not the bottleneck.

For each run and each peer (the order rotates from run to run): MEGABYTES pty -> UDP, the same
UDP -> pty (at most 64 KB in flight, so nothing is lost), and ROUNDS 1-byte echoes. Reported:
medians with min-max over the runs of MB/s each way, echo round-trip latency, and the bridge's
CPU (all threads, from /proc/PID/task/*/schedstat) per MB and per echo round; then the ratios the goals name.

With --cpus B,D the bridge runs on CPU B and the far ends on CPU D. Unpinned, the scheduler
sometimes puts both on one CPU, and on a small machine that alone moves a run's UDP->pty figure by
a quarter, whichever the peer: pinned, the peers are compared at the same placement.

usage: vspd_peers_bench.py BIN_DIR PEER_DIR [--runs 5] [--megabytes 32] [--rounds 5000]
                           [--cpus B,D]
"""
import argparse
import os
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import time
import tty

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests",
                                "daemon"))
import vspd_e2e as e2e  # noqa: E402  (the raw control-channel client and the connect record)

def cpu_seconds(pid):
    """CPU time of all the process's threads, in nanoseconds' resolution (schedstat), where
    /proc/PID/stat would count 10 ms ticks."""
    total = 0
    for task in os.listdir("/proc/%d/task" % pid):
        with open("/proc/%d/task/%s/schedstat" % (pid, task)) as stat:
            total += int(stat.read().split()[0])
    return total / 1e9


def free_port():
    probe = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    probe.bind(("127.0.0.1", 0))
    port = probe.getsockname()[1]
    probe.close()
    return port


def on_cpu(cpu):
    """A preexec_fn that keeps the child on `cpu` (None: wherever the scheduler puts it)."""
    return None if cpu is None else (lambda: os.sched_setaffinity(0, {cpu}))


def wait_for(predicate, seconds=10):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if predicate():
            return True
        time.sleep(0.01)
    return False


class Bridge:
    """One peer between a pty and UDP port `port`, sending to `terminal`."""

    def __init__(self, kind, args, work):
        self.kind, self.port, self.terminal = kind, free_port(), free_port()
        self.pass_fds, self.pty, self.extra = (), None, []
        if kind == "ketra-vspd":
            self.process = subprocess.Popen(
                [os.path.join(args.bin, "ketra-vspd"), "run", "--hive", work + "/hive.db",
                 "--socket", work + "/s", "--link-dir", work + "/dev", "--ports", "COM3",
                 "--bind-address", "127.0.0.1"], stderr=subprocess.DEVNULL,
                preexec_fn=on_cpu(args.bridge_cpu))
            wait_for(lambda: os.path.exists(work + "/s"))
            status = e2e.raw_command(work + "/s", "COM3", 0x80202000,
                                     e2e.record(self.port, self.terminal))
            assert status == 112, status
            self.pty = work + "/dev/COM3"
        elif kind == "min_bridge":
            self.process = subprocess.Popen(
                [os.path.join(args.peers, "min_bridge"), str(self.port), str(self.terminal)],
                stdout=subprocess.PIPE, text=True, preexec_fn=on_cpu(args.bridge_cpu))
            self.pty = self.process.stdout.readline().strip()
        elif kind == "socat":
            self.process = subprocess.Popen(
                ["socat", "PTY,raw,echo=0,link=%s/pty" % work,
                 "UDP:127.0.0.1:%d,bind=127.0.0.1:%d" % (self.terminal, self.port)],
                stderr=subprocess.DEVNULL, preexec_fn=on_cpu(args.bridge_cpu))
            wait_for(lambda: os.path.exists(work + "/pty"))
            self.pty = work + "/pty"
        elif kind == "ser2net":
            master, slave = os.openpty()
            tty.setraw(slave)
            path = os.ttyname(slave)
            os.close(slave)
            with open(work + "/ser2net.yaml", "w") as config:
                config.write("connection: &bench\n"
                             "  accepter: udp,127.0.0.1,%d\n"
                             "  connector: serialdev,%s,115200n81,local\n"
                             "  options:\n"
                             "    chardelay: false\n"
                             "    kickolduser: true\n" % (self.port, path))
            self.process = subprocess.Popen(["ser2net", "-n", "-c", work + "/ser2net.yaml",
                                             "-P", work + "/ser2net.pid"],
                                            stderr=subprocess.DEVNULL,
                                            preexec_fn=on_cpu(args.bridge_cpu))
            time.sleep(0.3)
            # ser2net answers the last UDP sender and opens the device at the first datagram.
            prime = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
            prime.bind(("127.0.0.1", self.terminal))
            got = b""
            for _ in range(50):
                prime.sendto(b"P", ("127.0.0.1", self.port))
                time.sleep(0.05)
                try:
                    os.set_blocking(master, False)
                    got += os.read(master, 100)
                except (BlockingIOError, OSError):
                    pass
                if got:
                    break
            prime.close()
            assert got, "ser2net never opened the pty"
            self.pty, self.pass_fds, self.master = "fd:%d" % master, (master,), master

    def run(self, args, mode, amount, *extra):
        command = [os.path.join(args.peers, "vspd_peer"), mode, self.pty, str(self.terminal),
                   str(self.port), str(amount)] + [str(x) for x in extra]
        before = cpu_seconds(self.process.pid)
        done = subprocess.run(command, capture_output=True, text=True, pass_fds=self.pass_fds,
                              timeout=300, preexec_fn=on_cpu(args.driver_cpu))
        cpu = cpu_seconds(self.process.pid) - before
        result = dict(item.split("=") for item in done.stdout.split())
        return {k: float(v) for k, v in result.items()}, cpu

    def close(self):
        self.process.terminate()
        self.process.wait(timeout=10)
        if self.pass_fds:
            os.close(self.master)


def summary(values):
    return "%9.2f [%8.2f - %8.2f]" % (statistics.median(values), min(values), max(values))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("bin")
    parser.add_argument("peers")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--megabytes", type=int, default=32)
    parser.add_argument("--rounds", type=int, default=5000)
    parser.add_argument("--peer", action="append",
                        default=None, help="only these peers (repeatable)")
    parser.add_argument("--cpus", help="BRIDGE_CPU,DRIVER_CPU: pin the bridge and the far ends")
    args = parser.parse_args()
    args.bridge_cpu, args.driver_cpu = (
        [int(cpu) for cpu in args.cpus.split(",")] if args.cpus else (None, None))
    kinds = args.peer or ["ketra-vspd", "min_bridge", "socat"] + (
        ["ser2net"] if shutil.which("ser2net") else [])
    size = args.megabytes << 20
    rows = {kind: {"up": [], "down": [], "echo": [], "cpu_mb_up": [], "cpu_mb_down": [],
                   "cpu_echo": [], "lost": 0} for kind in kinds}
    for run in range(args.runs):
        order = kinds[run % len(kinds):] + kinds[:run % len(kinds)]
        for kind in order:
            with tempfile.TemporaryDirectory(prefix="vspd-bench-") as work:
                bridge = Bridge(kind, args, work)
                try:
                    row = rows[kind]
                    for mode, window in (("up", None), ("down", 64 << 10)):
                        extra = (window,) if window else ()
                        result, cpu = bridge.run(args, mode, size, *extra)
                        row["lost"] += size - int(result["bytes"])
                        row[mode].append(result["bytes"] / result["seconds"] / 1e6)
                        row["cpu_mb_" + mode].append(cpu / (size / 1e6) * 1e3)
                    result, cpu = bridge.run(args, "echo", args.rounds)
                    row["echo"].append(result["median_us"])
                    row["cpu_echo"].append(cpu / args.rounds * 1e6)
                finally:
                    bridge.close()
        print("run %d of %d done" % (run + 1, args.runs), file=sys.stderr)

    print("%d runs alternated, %d MB each way, %d echo rounds, %s; median [min - max]" %
          (args.runs, args.megabytes, args.rounds,
           "bridge on CPU %d, far ends on CPU %d" % (args.bridge_cpu, args.driver_cpu)
           if args.cpus else "unpinned"))
    print("%-11s %-31s %-31s %-31s %-31s %-31s %-31s %s" % (
        "peer", "pty->UDP MB/s", "UDP->pty MB/s", "echo us", "CPU ms/MB up", "CPU ms/MB down",
        "CPU us/echo", "bytes lost"))
    for kind, row in rows.items():
        print("%-11s %s %s %s %s %s %s %d" % (
            kind, summary(row["up"]), summary(row["down"]), summary(row["echo"]),
            summary(row["cpu_mb_up"]), summary(row["cpu_mb_down"]), summary(row["cpu_echo"]),
            row["lost"]))
    median = {kind: {k: statistics.median(v) for k, v in row.items() if k != "lost"}
              for kind, row in rows.items()}
    if "ketra-vspd" in median and "min_bridge" in median:
        k, m = median["ketra-vspd"], median["min_bridge"]
        print("ketra-vspd / min_bridge throughput: up %.3f, down %.3f (goal >= 0.95)" %
              (k["up"] / m["up"], k["down"] / m["down"]))
    if "ketra-vspd" in median and "socat" in median:
        k, s = median["ketra-vspd"], median["socat"]
        print("ketra-vspd / socat: echo latency %.3f, CPU per echo %.3f (goal <= 1)" %
              (k["echo"] / s["echo"], k["cpu_echo"] / s["cpu_echo"]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
