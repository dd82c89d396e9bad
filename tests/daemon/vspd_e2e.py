#!/usr/bin/env python3
"""End-to-end test of the driver daemon ketra-vspd with the panel's own session program.

Starts the daemon in a temporary directory with its own hive, socket and link directory, lets
`ketra-session --driver system` connect a port through the daemon, moves bytes both ways between
the pty and a UDP socket, checks software flow control, stranger datagrams, disconnect and
reconnect, a bind conflict, the removal of the device map entries at stop, and 101 ports at once.
Loopback only: every remote address is 127.0.0.1.

usage: vspd_e2e.py BIN_DIR
"""
import json
import os
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

BIN = sys.argv[1] if len(sys.argv) > 1 else "build/bin"
VSPD = os.path.join(BIN, "ketra-vspd")
SESSION = os.path.join(BIN, "ketra-session")
XON, XOFF = 0x11, 0x13
results = {"passed": 0, "failed": 0}


def check(condition, what):
    if condition:
        results["passed"] += 1
        print("ok   " + what)
    else:
        results["failed"] += 1
        print("FAIL " + what)
    return condition


_handed_out = set()


def free_udp_port():
    """A port in 4000..9999 (the panel's fields hold four digits), free on this machine now and
    not handed out before in this run."""
    import random
    for _ in range(1000):
        candidate = random.randint(4000, 9999)
        if candidate in _handed_out:
            continue
        probe = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        try:
            probe.bind(("0.0.0.0", candidate))
        except OSError:
            continue
        finally:
            probe.close()
        _handed_out.add(candidate)
        return candidate
    raise RuntimeError("no free UDP port")


def wait_for(predicate, seconds=5.0):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = predicate()
        if value:
            return value
        time.sleep(0.02)
    return predicate()


class Daemon:
    def __init__(self, root, extra):
        self.root = root
        self.hive = os.path.join(root, "hive.db")
        self.socket = os.path.join(root, "vspd.sock")
        self.links = os.path.join(root, "dev")
        self.log = open(os.path.join(root, "vspd.log"), "ab")
        self.process = subprocess.Popen(
            [VSPD, "run", "--hive", self.hive, "--socket", self.socket, "--link-dir", self.links,
             "--bind-address", "127.0.0.1"] + extra, stdout=subprocess.DEVNULL,
            stderr=self.log)
        if not wait_for(lambda: os.path.exists(self.socket) or self.process.poll() is not None):
            raise RuntimeError("the daemon did not come up")
        if self.process.poll() is not None:
            raise RuntimeError("the daemon ended at once: " + self.log_text())

    def log_text(self):
        with open(os.path.join(self.root, "vspd.log"), "rb") as log:
            return log.read().decode(errors="replace")

    def env(self):
        return dict(os.environ, KETRA_VSPD_SOCKET=self.socket)

    def cli(self, *args):
        done = subprocess.run([VSPD] + list(args) + ["--hive", self.hive, "--socket", self.socket],
                              capture_output=True, text=True, timeout=30)
        return done.returncode, done.stdout + done.stderr

    def status(self):
        code, text = self.cli("status", "--json")
        return json.loads(text) if code == 0 else None

    def port_status(self, name):
        status = self.status()
        return next(p for p in status["ports"] if p["name"] == name)

    def stop(self, sig=signal.SIGTERM):
        self.process.send_signal(sig)
        try:
            return self.process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return None


def session(daemon, lines):
    """Runs the panel's session program on the daemon's hive; its JSON lines."""
    done = subprocess.run([SESSION, "--hive", daemon.hive, "--driver", "system"],
                          input="\n".join(lines) + "\n", capture_output=True, text=True,
                          env=daemon.env(), timeout=60)
    return [json.loads(line) for line in done.stdout.splitlines() if line.strip()]


def form_lines(port, local, remote, software):
    lines = ["set CMB_PORT " + json.dumps(port),
             'set TXT_IP1 "127"', 'set TXT_IP2 "0"', 'set TXT_IP3 "0"', 'set TXT_IP4 "1"',
             "set TXT_LOCPORT " + json.dumps(str(local)), "set TXT_UDP " + json.dumps(str(remote))]
    if software:
        lines += ["click OPT_SWF", 'set TXT_XON "\\u0011"', 'set TXT_XOFF "\\u0013"']
    else:
        lines += ["click OPT_HWF"]
    return lines


def ioctls(events):
    return [e for e in events if e.get("event") == "ioctl"]


def messages(events):
    return [e["text"] for e in events if e.get("event") == "msgbox"]


def read_pty(fd, size, seconds=5.0):
    data = b""
    deadline = time.monotonic() + seconds
    while len(data) < size and time.monotonic() < deadline:
        ready, _, _ = select.select([fd], [], [], 0.05)
        if ready:
            try:
                data += os.read(fd, 65536)
            except BlockingIOError:
                pass
    return data


def receive(sock, seconds=5.0):
    ready, _, _ = select.select([sock], [], [], seconds)
    return sock.recvfrom(65536) if ready else (None, None)


def open_pty(path):
    return os.open(path, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)


# The control channel spoken directly, as an independent client of its wire format.
def raw_command(socket_path, port, code, record):
    with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as channel:
        channel.settimeout(5)
        channel.connect(socket_path)
        path = ("\\\\.\\" + port + ("\\p" if code == 0x80202004 else "")).encode()
        channel.send(b"K\x01\x01\x00" + path)
        reply = channel.recv(64)
        if reply[:3] != b"K\x01\x81" or struct.unpack("<I", reply[4:8])[0] != 0:
            return None
        channel.send(b"K\x01\x02\x00" + struct.pack("<I", code) + record)
        reply = channel.recv(64)
        channel.send(b"K\x01\x03\x00")
        channel.recv(64)
        return reply[8 + 11] if reply[:3] == b"K\x01\x82" else None


def record(local, remote, software=False):
    return bytes([127, 0, 0, 1]) + struct.pack("<HH", remote, local) + bytes(
        [1 if software else 0, XOFF, XON, 0])


def test_one_port(root):
    daemon = Daemon(root, ["--ports", "COM3,COM4"])
    try:
        local, remote = free_udp_port(), free_udp_port()
        terminal = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        terminal.bind(("127.0.0.1", remote))

        events = session(daemon, ["start"] + form_lines("COM3", local, remote, True) +
                         ["call CMD_CONNECT_Click", "dump control CMB_PORT"])
        combo = [e for e in events if e.get("control") == "CMB_PORT"]
        check(combo and combo[0]["items"] == ["COM3", "COM4"],
              "the panel finds the daemon's ports in the device map")
        calls = ioctls(events)
        check(len(calls) == 1 and calls[0]["in"].startswith("7F000001"),
              "the panel sends a record for 127.0.0.1")
        check(calls and calls[0]["status"] == 112 and messages(events) == ["Connect Successful"],
              "ketra-session --driver system connects COM3: Status 112")

        pty = open_pty(os.path.join(daemon.links, "COM3"))
        payload = bytes(range(256)) * 4
        os.write(pty, payload)
        got = b""
        sender = None
        while len(got) < len(payload):
            data, sender = receive(terminal)
            if data is None:
                break
            got += data
        check(got == payload and sender == ("127.0.0.1", local),
              "bytes written into the pty arrive at the UDP socket from the local port")

        terminal.sendto(b"from the terminal\x00\xff", ("127.0.0.1", local))
        check(read_pty(pty, 19) == b"from the terminal\x00\xff",
              "a datagram from the terminal comes out of the pty")

        terminal.sendto(bytes([XOFF]), ("127.0.0.1", local))
        check(wait_for(lambda: daemon.port_status("COM3")["paused"]), "XOFF pauses the port")
        os.write(pty, b"held back")
        held, _ = receive(terminal, 0.5)
        check(held is None, "nothing leaves the pty while paused")
        terminal.sendto(bytes([XON]), ("127.0.0.1", local))
        resumed, _ = receive(terminal)
        check(resumed == b"held back", "XON resumes and the held bytes go out")
        check(read_pty(pty, 1, 0.3) == b"", "the flow characters do not reach the pty")

        stranger = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        stranger.bind(("127.0.0.1", 0))
        stranger.sendto(b"injected", ("127.0.0.1", local))
        stranger.sendto(bytes([XOFF]), ("127.0.0.1", local))
        check(wait_for(lambda: daemon.port_status("COM3")["stranger_datagrams"] == 2),
              "a stranger's datagrams are counted as dropped")
        check(read_pty(pty, 1, 0.3) == b"" and not daemon.port_status("COM3")["paused"],
              "a stranger injects no bytes and no flow control")
        stranger.close()

        code, text = daemon.cli("status")
        check(code == 0 and "COM3" in text and "connected" in text and
              "127.0.0.1:%d" % remote in text, "ketra-vspd status shows the connected port")

        events = session(daemon, ["start", 'set CMB_PORT "COM3"', "call CMD_DISCONNECT_Click",
                                  "call CMD_DISCONNECT_Click"])
        check([c["status"] for c in ioctls(events)] == [113, 0] and
              messages(events) == ["Disconnect Successful", "Already in the Disconnected state"],
              "disconnect gives 113, then 0")
        check(os.path.islink(os.path.join(daemon.links, "COM3")),
              "the port stays present after disconnect")
        code, text = daemon.cli("connect", "COM3")
        check(code == 0 and "Connect Successful (Status 112" in text,
              "ketra-vspd connect connects again from the stored settings")
        code, text = daemon.cli("connect", "COM3")
        check(code == 0 and "Already Connected (Status 15" in text, "a second connect gives 15")
        os.write(pty, b"again")
        again, _ = receive(terminal)
        check(again == b"again", "the relay works after reconnecting")

        holder = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        held_port = free_udp_port()
        holder.bind(("127.0.0.1", held_port))
        events = session(daemon, ["start"] + form_lines("COM4", held_port, remote, False) +
                         ["call CMD_CONNECT_Click"])
        check([c["status"] for c in ioctls(events)] == [21] and
              messages(events) == ["Connection Failed"], "a bind conflict gives 21")
        holder.close()
        code, text = daemon.cli("disconnect", "COM4")
        check(code == 0 and "Already in the Disconnected state" in text,
              "the failed port was left disconnected")
        os.close(pty)
        terminal.close()
    finally:
        exit_code = daemon.stop(signal.SIGTERM)
    check(exit_code == 0, "the daemon stops cleanly on SIGTERM")
    events = session(daemon, ["start"])
    check(messages(events) == [
        "No virtual ports avaiable. Please install ports and start the application"],
        "after the stop the panel finds no ports: the device map entries are gone")
    check(not os.path.exists(os.path.join(daemon.links, "COM3")) and
          not os.path.exists(daemon.socket), "links and socket are removed at stop")
    return daemon


def test_many_ports(root):
    daemon = Daemon(root, ["--count", "101", "--first", "0"])
    try:
        events = session(daemon, ["start", "dump state"])
        state = [e["state"] for e in events if "state" in e]
        check(state and state[0]["PortCount"] == 101, "the panel finds 101 ports")
        terminal = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        terminal.bind(("127.0.0.1", 0))
        remote = terminal.getsockname()[1]
        locals_ = {}
        answers = []
        for n in range(101):
            name = "COM%d" % n
            local = free_udp_port()
            locals_[name] = local
            answers.append(raw_command(daemon.socket, name, 0x80202000, record(local, remote)))
        check(answers == [112] * 101, "101 ports connect: Status 112 each")
        ptys = {name: open_pty(os.path.join(daemon.links, name)) for name in locals_}
        for name, fd in ptys.items():
            os.write(fd, name.encode())
        seen = {}
        for _ in range(101):
            data, sender = receive(terminal)
            if data is None:
                break
            seen[sender[1]] = data
        check(all(seen.get(locals_[n]) == n.encode() for n in locals_),
              "every one of the 101 ptys reaches the terminal from its own local port")
        for name, local in locals_.items():
            terminal.sendto(b"to " + name.encode(), ("127.0.0.1", local))
        check(all(read_pty(fd, len(b"to " + n.encode())) == b"to " + n.encode()
                  for n, fd in ptys.items()), "and the terminal reaches every one of them")
        status = daemon.status()
        check(sum(1 for p in status["ports"] if p["connected"]) == 101,
              "status shows 101 connected ports")
        for fd in ptys.values():
            os.close(fd)
        terminal.close()
    finally:
        exit_code = daemon.stop(signal.SIGINT)
    check(exit_code == 0, "the daemon with 101 ports stops cleanly on SIGINT")
    events = session(daemon, ["start"])
    check(len(messages(events)) == 1 and "No virtual ports" in messages(events)[0],
          "its 101 device map entries are gone")


def main():
    for program in (VSPD, SESSION):
        if not os.access(program, os.X_OK):
            print("missing " + program)
            return 1
    with tempfile.TemporaryDirectory(prefix="vspd-e2e-") as root:
        try:
            for name, test in (("one", test_one_port), ("many", test_many_ports)):
                os.mkdir(os.path.join(root, name))
                test(os.path.join(root, name))
        except Exception as error:  # a crash counts as a failure, with its reason
            check(False, "no exception: %r" % (error,))
            for log in ("one", "many"):
                path = os.path.join(root, log, "vspd.log")
                if os.path.exists(path):
                    print(open(path).read())
    print("%d passed, %d failed" % (results["passed"], results["failed"]))
    return 0 if results["failed"] == 0 and results["passed"] > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
