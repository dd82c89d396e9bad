#!/usr/bin/env python3
"""What a user sees of a running ketra-vspd: a port's trace, its metrics, and an idle daemon.

- trace: `ketra-vspd trace COM3 --pcap FILE` while python3-serial talks through the port to a
  terminal on UDP (XOFF/XON from it, a stranger's datagram); the text shows every datagram with
  its bytes and every event, and Debian's tshark reads the pcapng: packets, addresses, ports,
  payloads, events as comments.
- metrics: `status --format prometheus` and the file the daemon writes for node_exporter's
  textfile collector pass `promtool check metrics` (Debian's prometheus) and carry the counters.
- idle: 101 ports, 50 of them connected, no traffic: the daemon does not wake in 10 s.
Loopback only.

usage: vspd_observe_e2e.py BIN_DIR
"""
import os
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import vspd_e2e as e2e  # noqa: E402  (the daemon in a temporary directory, the raw control channel)

try:
    import serial
except ImportError:  # Debian's python3-serial, when the interpreter is not Debian's own
    sys.path.append("/usr/lib/python3/dist-packages")
    import serial

check = e2e.check
CONNECT = 0x80202000


def connect(daemon, port, software=False):
    local, remote = e2e.free_udp_port(), e2e.free_udp_port()
    status = e2e.raw_command(daemon.socket, port, CONNECT, e2e.record(local, remote, software))
    assert status == 112, status
    return local, remote


def test_trace(root):
    daemon = e2e.Daemon(root, ["--ports", "COM3"])
    try:
        local, remote = connect(daemon, "COM3", software=True)
        terminal = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        terminal.bind(("127.0.0.1", remote))
        stranger = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        stranger.bind(("127.0.0.1", 0))
        pcap = os.path.join(root, "COM3.pcapng")
        with open(os.path.join(root, "trace.txt"), "w") as text:
            trace = subprocess.Popen([e2e.VSPD, "trace", "COM3", "--socket", daemon.socket,
                                      "--pcap", pcap], stdout=text, stderr=subprocess.PIPE)
            check(b"tracing COM3" in trace.stderr.readline(), "the trace starts")
            program = serial.Serial(os.path.join(daemon.links, "COM3"), 115200, timeout=5)
            program.write(b"AT+GMR\r")
            got, _ = e2e.receive(terminal)
            terminal.sendto(b"OK 1.2\r\n", ("127.0.0.1", local))
            check(got == b"AT+GMR\r" and program.read(8) == b"OK 1.2\r\n", "bytes went both ways")
            for byte in (e2e.XOFF, e2e.XON):
                terminal.sendto(bytes([byte]), ("127.0.0.1", local))
                time.sleep(0.05)
            stranger.sendto(b"intruder", ("127.0.0.1", local))
            time.sleep(0.05)
            program.close()
            e2e.wait_for(lambda: not daemon.port_status("COM3")["held"])
            trace.send_signal(signal.SIGINT)
            check(trace.wait(timeout=10) == 0, "the trace ends on SIGINT")
            program = serial.Serial(os.path.join(daemon.links, "COM3"), 115200, timeout=5)
            # A reader that does not read: the port runs on, the reader is told what it missed.
            lagging = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
            lagging.connect(daemon.socket)
            lagging.send(b"K\x01\x05\x00COM3")
            check(lagging.recv(64) == b"K\x01\x86\x00\x00\x00\x00\x00", "a raw trace starts")
            burst = 12 << 20
            sent = daemon.port_status("COM3")["bytes_to_udp"]
            program.timeout = 30
            program.write(b"x" * burst)
            check(e2e.wait_for(lambda: daemon.port_status("COM3")["bytes_to_udp"] == sent + burst,
                               30), "12 MB went out while a trace reader did not read")
            kinds, traced = [], 0
            lagging.settimeout(1)
            try:
                while True:
                    message = lagging.recv(1 << 17)
                    kinds.append(message[4 + 8])
                    traced += len(message) - 4 - 36 if kinds[-1] == 1 else 0
            except socket.timeout:
                pass
            lagging.close()
            print("lagging reader: %d records, %d of the %d bytes, told of misses %d times" % (
                len(kinds), traced, burst, kinds.count(30)))
            check(30 in kinds and traced < burst,
                  "the lagging reader missed records and was told so")
            program.close()
        lines = open(os.path.join(root, "trace.txt")).read()
        print(lines)
        stamp = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} COM3 "
        check("left out here: this reader did not keep up" not in lines,
              "the reader that kept up missed nothing")
        for pattern, what in (
                (stamp + r"open: a program opened the port", "the open"),
                (stamp + r"program->terminal datagram 7 bytes 127\.0\.0\.1:%d -> 127\.0\.0\.1:%d\n"
                 r"    0000  41 54 2b 47 4d 52 0d +\|AT\+GMR\.\|" % (local, remote),
                 "the program's datagram with its endpoints and dump"),
                (r"terminal->program datagram 8 bytes 127\.0\.0\.1:%d -> 127\.0\.0\.1:%d\n"
                 r"    0000  4f 4b 20 31 2e 32 0d 0a +\|OK 1\.2\.\.\|" % (remote, local),
                 "the terminal's datagram"),
                (r"XOFF from the terminal.*\n(.*\n)*.*XON from the terminal", "XOFF, then XON"),
                (r"stranger datagram 8 bytes 127\.0\.0\.1:%d -> .*dropped\n.*\|intruder\|"
                 % stranger.getsockname()[1], "the stranger's datagram, dropped"),
                (stamp + r"close: the last program closed the port", "the close")):
            check(re.search(pattern, lines), "trace text: " + what)

        fields = subprocess.run(
            ["tshark", "-r", pcap, "-T", "fields", "-E", "separator=|", "-e", "frame.interface_id",
             "-e", "ip.src", "-e", "udp.srcport", "-e", "ip.dst", "-e", "udp.dstport",
             "-e", "udp.payload", "-e", "frame.comment"],
            capture_output=True, text=True, timeout=60)
        print(fields.stdout)
        rows = [line.split("|") for line in fields.stdout.splitlines()]
        check(fields.returncode == 0 and len(rows) >= 8, "tshark reads the pcapng")
        check(["0", "127.0.0.1", str(local), "127.0.0.1", str(remote), b"AT+GMR\r".hex(), ""]
              in rows, "tshark: the program's datagram, addresses, ports and payload")
        check(["0", "127.0.0.1", str(remote), "127.0.0.1", str(local), b"OK 1.2\r\n".hex(), ""]
              in rows, "tshark: the terminal's datagram")
        comments = [row[-1] for row in rows if row[0] == "1"]
        check(any(c.startswith("open") for c in comments) and
              any(c.startswith("XOFF from") for c in comments) and
              any(c.startswith("close") for c in comments), "tshark: events as comments")
    finally:
        daemon.stop()


def promtool(text):
    done = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True,
                          text=True, timeout=60)
    return done.returncode, (done.stdout + done.stderr).strip()


def test_metrics(root):
    metrics_file = os.path.join(root, "ketra-vspd.prom")
    daemon = e2e.Daemon(root, ["--ports", "COM3,COM4", "--metrics-file", metrics_file])
    try:
        local, remote = connect(daemon, "COM3")
        terminal = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        terminal.bind(("127.0.0.1", remote))
        program = e2e.open_pty(os.path.join(daemon.links, "COM3"))
        os.write(program, b"hello")
        check(e2e.receive(terminal)[0] == b"hello", "bytes went out")
        code, text = daemon.cli("status", "--format", "prometheus")
        print(text)
        check(code == 0 and promtool(text) == (0, ""), "promtool check metrics passes, no lint")
        for line in ('ketra_port_bytes_to_udp_total{port="COM3"} 5',
                     'ketra_port_datagrams_to_udp_total{port="COM3"} 1',
                     'ketra_port_connected{port="COM3"} 1', 'ketra_port_connected{port="COM4"} 0',
                     'ketra_port_held{port="COM3"} 1',
                     '# TYPE ketra_port_dropped_datagrams_total counter'):
            check(line in text.splitlines(), "metrics: " + line)
        check(re.search(r'^ketra_port_info\{port="COM3",.*remote="127\.0\.0\.1:%d".*\} 1$'
                        % remote, text, re.M), "metrics: the port's texts as labels")
        # The file follows within the tick's few seconds, whole (renamed into place).
        written = e2e.wait_for(lambda: os.path.exists(metrics_file) and
                               'ketra_port_bytes_to_udp_total{port="COM3"} 5' in
                               open(metrics_file).read(), 10)
        check(written, "the metrics file shows the traffic")
        check(promtool(open(metrics_file).read())[0] == 0, "promtool passes on the file")
        os.close(program)
    finally:
        daemon.stop()


def wakeups(pid):
    """How often the daemon's threads were put on a CPU (schedstat) and switched out."""
    runs = switches = 0
    for task in os.listdir("/proc/%d/task" % pid):
        with open("/proc/%d/task/%s/schedstat" % (pid, task)) as stat:
            runs += int(stat.read().split()[2])
        with open("/proc/%d/task/%s/status" % (pid, task)) as status:
            for line in status:
                if line.startswith(("voluntary_ctxt_switches", "nonvoluntary_ctxt_switches")):
                    switches += int(line.split()[1])
    return runs, switches


def test_idle(root):
    metrics_file = os.path.join(root, "ketra-vspd.prom")
    daemon = e2e.Daemon(root, ["--count", "101", "--first", "0", "--metrics-file",
                               metrics_file])
    try:
        for n in range(50):
            connect(daemon, "COM%d" % n, software=n % 2 == 0)
        held = e2e.open_pty(os.path.join(daemon.links, "COM1"))  # held, quiet
        # Let the last connect's housekeeping run out, then count.
        before = wakeups(daemon.process.pid)
        for _ in range(20):
            time.sleep(1.5)
            now = wakeups(daemon.process.pid)
            if now == before:
                break
            before = now
        time.sleep(10)
        after = wakeups(daemon.process.pid)
        print("idle 10 s with 101 ports, 50 connected, 1 held: %d runs on a CPU, %d context "
              "switches" % (after[0] - before[0], after[1] - before[1]))
        check(after == before, "an idle daemon does not wake up in 10 s")
        os.close(held)
        check(daemon.port_status("COM0")["connected"], "and it still answers")
    finally:
        daemon.stop()


def main():
    with tempfile.TemporaryDirectory(prefix="vspd-observe-") as root:
        for name, test in (("trace", test_trace), ("metrics", test_metrics),
                           ("idle", test_idle)):
            os.mkdir(os.path.join(root, name))
            try:
                test(os.path.join(root, name))
            except Exception as error:  # a crash counts as a failure, with its reason
                check(False, "%s: no exception: %r" % (name, error))
                path = os.path.join(root, name, "vspd.log")
                if os.path.exists(path):
                    print(open(path).read())
    print("%d passed, %d failed" % (e2e.results["passed"], e2e.results["failed"]))
    return 0 if e2e.results["failed"] == 0 and e2e.results["passed"] > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
