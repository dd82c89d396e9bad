#!/usr/bin/env python3
"""End-to-end tests of the driver daemon's ports as serial lines, with real clients on loopback.

  - Debian's python3-serial opens a port: settings, write and read, flush, break, and the modem
    lines that a pty does not have (ENOTTY); the program's line in `status`.
  - A flush of the program's input with 1 MB queued from the terminal: the program then reads
    only what the terminal sent after it, and what was discarded is counted.
  - A burst with software flow through a terminal stand-in that obeys the port's XOFF/XON, while
    the program reads slower than the terminal sends: 0 bytes lost.
  - An 8 MB burst without flow control that ends in drops: the loss that `status` reports is
    exactly the bytes missing, and within the kernel's count.
  - A port nobody holds: what the terminal sends is discarded and counted, and the next program
    finds a fresh port (no stale input, not exclusive, output not stopped, the port's own
    termios with start/stop at ^Q/^S), also after programs that opened and closed at once, in
    a tight loop.
  - A restart through a stand-in of the service manager (NOTIFY_SOCKET receiving the descriptors,
    LISTEN_FDS/LISTEN_FDNAMES handing them back, and, as systemd does, dropping a stored
    descriptor that reports a hang-up or an error): same /dev/pts/N for every port, held or
    not, the program holding the port sees no error, the connection resumes, nothing written
    meanwhile is lost.
  - The control channel: the socket answers as soon as its path appears, an empty message is
    refused, status with 1024 ports, status and connect while 200 idle connections are held, a
    start that waits for a locked hive stops on SIGTERM.
Every remote address is 127.0.0.1.

usage: vspd_line_e2e.py BIN_DIR
"""
import array
import fcntl
import json
import os
import select
import signal
import socket
import sqlite3
import struct
import subprocess
import sys
import tempfile
import termios
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import vspd_e2e as e2e  # noqa: E402  (the helpers of the panel-level test)

try:
    import serial
except ImportError:  # Debian's python3-serial, when the interpreter is not Debian's own
    sys.path.append("/usr/lib/python3/dist-packages")
    import serial

check, wait_for, record, raw_command = e2e.check, e2e.wait_for, e2e.record, e2e.raw_command
XON, XOFF = e2e.XON, e2e.XOFF
CONNECT = 0x80202000
TIOCGEXCL = 0x80045440


class Vspd:
    """One daemon in `root`, optionally under the service manager stand-in."""

    def __init__(self, root, ports, manager=None, wait=True):
        self.root = root
        self.hive = os.path.join(root, "hive.db")
        self.socket = os.path.join(root, "vspd.sock")
        self.links = os.path.join(root, "dev")
        self.log = open(os.path.join(root, "vspd.log"), "ab")
        args = [e2e.VSPD, "run", "--hive", self.hive, "--socket", self.socket, "--link-dir",
                self.links, "--bind-address", "127.0.0.1", "--ports", ports]
        if manager:
            self.process = manager.launch(args, self.log)
        else:
            self.process = subprocess.Popen(args, stdout=subprocess.DEVNULL, stderr=self.log)
        if wait and not wait_for(lambda: os.path.exists(self.socket) or
                                 self.process.poll() is not None, 20):
            raise RuntimeError("the daemon did not come up")

    def link(self, port):
        return os.path.join(self.links, port)

    def log_text(self):
        with open(os.path.join(self.root, "vspd.log"), "rb") as log:
            return log.read().decode(errors="replace")

    def cli(self, *args):
        done = subprocess.run([e2e.VSPD] + list(args) + ["--socket", self.socket],
                              capture_output=True, text=True, timeout=60)
        return done.returncode, done.stdout + done.stderr

    def port(self, name):
        code, text = self.cli("status", "--json")
        if code != 0:
            return None
        return next(p for p in json.loads(text)["ports"] if p["name"] == name)

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        try:
            return self.process.wait(timeout=30)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return None


class ServiceManagerStandIn:
    """The service manager's side of the notify and descriptor-store protocol, with systemd's
    rule that a stored descriptor reporting POLLHUP or POLLERR is closed and dropped at once
    ("Received EPOLLHUP on stored fd 33 (pty.COM3), closing.")."""

    LAUNCH = ("import os, sys\n"
              "fds = [int(f) for f in sys.argv[1].split(',') if f]\n"
              "high = [os.dup2(fd, 1000 + i) for i, fd in enumerate(fds)]\n"
              "for i, fd in enumerate(high): os.dup2(fd, 3 + i)\n"
              "for fd in high: os.close(fd)\n"
              "os.environ['LISTEN_PID'] = str(os.getpid())\n"
              "os.execv(sys.argv[2], sys.argv[2:])\n")

    def __init__(self, root):
        self.path = os.path.join(root, "notify.sock")
        self.sock = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.sock.bind(self.path)
        self.sock.setblocking(False)
        self.store = {}  # name -> [fd]
        self.states = []
        self.dropped = []  # names of descriptors dropped for a hang-up or an error

    def pump(self):
        while True:
            try:
                message, ancillary, _, _ = self.sock.recvmsg(4096, socket.CMSG_SPACE(64 * 4))
            except BlockingIOError:
                self.drop_hung_up()
                return
            fds = array.array("i")
            for level, kind, data in ancillary:
                if level == socket.SOL_SOCKET and kind == socket.SCM_RIGHTS:
                    fds.frombytes(data[:len(data) - len(data) % fds.itemsize])
            fields = dict(line.split("=", 1) for line in message.decode().split("\n") if "=" in line)
            if fields.get("FDSTORE") == "1":
                self.store.setdefault(fields.get("FDNAME", "stored"), []).extend(fds)
            else:
                for fd in fds:
                    os.close(fd)
                if fields.get("FDSTOREREMOVE") == "1":
                    for fd in self.store.pop(fields.get("FDNAME"), []):
                        os.close(fd)
            self.states.append(fields)

    def drop_hung_up(self):
        for name in list(self.store):
            for fd in list(self.store[name]):
                probe = select.poll()
                probe.register(fd, 0)  # hang-up and error are always reported
                if probe.poll(0):
                    self.store[name].remove(fd)
                    os.close(fd)
                    self.dropped.append(name)
            if not self.store[name]:
                del self.store[name]

    def ready(self):
        self.pump()
        return any(state.get("READY") == "1" for state in self.states)

    def launch(self, args, log):
        self.pump()
        self.states = []
        names, fds = [], []
        for name, held in self.store.items():
            for fd in held:
                names.append(name)
                fds.append(fd)
        env = dict(os.environ, NOTIFY_SOCKET=self.path)
        if fds:
            env.update(LISTEN_FDS=str(len(fds)), LISTEN_FDNAMES=":".join(names))
        return subprocess.Popen([sys.executable, "-c", self.LAUNCH, ",".join(map(str, fds))] + args,
                                env=env, pass_fds=fds, stdout=subprocess.DEVNULL, stderr=log)

    def close(self):
        for held in self.store.values():
            for fd in held:
                os.close(fd)
        self.sock.close()


def terminal_socket():
    terminal = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    terminal.bind(("127.0.0.1", 0))
    return terminal, terminal.getsockname()[1]


def connect(daemon, port, terminal_port, software=False):
    local = e2e.free_udp_port()
    status = raw_command(daemon.socket, port, CONNECT, record(local, terminal_port, software))
    return local if status == 112 else None


def receive_all(sock, size, seconds=5.0):
    data = b""
    while len(data) < size:
        chunk, _ = e2e.receive(sock, seconds)
        if chunk is None:
            break
        data += chunk
    return data


def test_pyserial(root):
    daemon = Vspd(root, "COM3")
    terminal, remote = terminal_socket()
    try:
        local = connect(daemon, "COM3", remote)
        check(local is not None, "pyserial: the port connects")
        line = serial.Serial(daemon.link("COM3"), 9600, bytesize=7, parity="E", timeout=5)
        wait_for(lambda: daemon.port("COM3")["held"])
        program = daemon.port("COM3")["program"]
        _, table = daemon.cli("status")
        # The pty keeps 8 bits and no parity whatever was asked, and even parity leaves no trace.
        check(program["speed"] == 9600 and program["stop_bits"] == 1 and
              program["data_bits"] is None and program["parity"] == "none or even" and
              {"data bits", "parity", "modem lines", "break"} <= set(program["not_carried"]) and
              "program: 9600 bits/s" in table and "not carried by a pty: data bits, parity" in table,
              "pyserial: status shows the program's 9600 7E1 as far as a pty can: %s" % program)
        line.write(b"hello\x00\xff")
        check(receive_all(terminal, 7) == b"hello\x00\xff", "pyserial: write reaches the terminal")
        terminal.sendto(b"world", ("127.0.0.1", local))
        check(line.read(5) == b"world", "pyserial: read gets the terminal's bytes")

        # Parity and byte size are the pty's to refuse (recent kernels keep a pty at 8 bits, no
        # parity); speed and stop bits are kept as set.
        line.baudrate, line.stopbits = 57600, 2
        attributes = termios.tcgetattr(line.fd)
        check(attributes[4] == termios.B57600 and attributes[2] & termios.CSTOPB,
              "pyserial: speed and stop bits are set")

        # 1 MB queues from the terminal (in the pty, the daemon and the socket; what the socket
        # cannot hold the kernel drops, and counts) while the program reads nothing; then the
        # program flushes its input, as before a command whose answer it waits for.
        before = daemon.port("COM3")
        for i in range(1000):
            terminal.sendto(bytes([0x30 + i % 10]) * 1000, ("127.0.0.1", local))
        wait_for(lambda: daemon.port("COM3")["bytes_to_pty"] > before["bytes_to_pty"])
        line.reset_input_buffer()
        check(wait_for(lambda: daemon.port("COM3")["discarded_bytes"] > before["discarded_bytes"]),
              "pyserial: the daemon discards what waited when the program flushes its input")
        terminal.sendto(b"fresh answer", ("127.0.0.1", local))
        got = line.read(12)
        check(got == b"fresh answer", "pyserial: after reset_input_buffer() with 1 MB queued, "
              "only what the terminal sent after the flush: %r" % got[:40])
        after = daemon.port("COM3")
        delivered = after["bytes_to_pty"] - before["bytes_to_pty"] - 12  # flushed by the pty
        discarded = after["discarded_bytes"] - before["discarded_bytes"]
        dropped = after["dropped_datagrams"] - before["dropped_datagrams"]
        check(delivered + discarded + 1000 * dropped == 1000 * 1000,
              "pyserial: every queued byte went into the pty before the flush (%d), was discarded "
              "(%d) or dropped by the kernel (%d datagrams)" % (delivered, discarded, dropped))
        line.write(b"x" * 100)
        line.reset_output_buffer()
        line.write(b"after flush")
        got = receive_all(terminal, 111, 2.0)
        check(got.endswith(b"after flush"), "pyserial: reset_output_buffer, and the line goes on")

        line.send_break(0.05)  # a pty has no break: it succeeds, and the line goes on
        line.write(b"after break")
        check(receive_all(terminal, 11, 2.0).endswith(b"after break"),
              "pyserial: send_break, and the line goes on")
        refused = []
        for attribute in ("cts", "dsr", "ri", "cd"):
            try:
                getattr(line, attribute)
            except OSError as error:
                refused.append(error.errno)
        check(refused == [25] * 4, "pyserial: the modem lines fail with ENOTTY (a pty has none)")
        line.close()
        wait_for(lambda: not daemon.port("COM3")["held"])
        line = serial.Serial(daemon.link("COM3"), 4800, parity="O", stopbits=2, xonxoff=True)
        wait_for(lambda: daemon.port("COM3")["held"])
        program = daemon.port("COM3")["program"]
        check(program["speed"] == 4800 and program["parity"] == "odd" and
              program["stop_bits"] == 2 and program["xon_xoff_output"] and
              program["xon_xoff_input"],
              "pyserial: status shows 4800, odd parity, two stop bits and XON/XOFF: %s" % program)
        line.close()
    finally:
        terminal.close()
        check(daemon.stop() == 0, "pyserial: the daemon stops cleanly")


def pattern(size):
    """Bytes with neither flow character in them, so that software flow passes them all."""
    block = bytes(b for b in range(256) if b not in (XON, XOFF))
    return (block * (size // len(block) + 1))[:size]


def test_software_flow_burst(root, total=2 << 20, chunk=1024, read_size=256):
    daemon = Vspd(root, "COM3")
    terminal, remote = terminal_socket()
    terminal.setblocking(False)
    try:
        local = connect(daemon, "COM3", remote, software=True)
        program = os.open(daemon.link("COM3"), os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        wait_for(lambda: daemon.port("COM3")["held"])
        data = pattern(total)
        sent, got, seen = 0, bytearray(), []  # seen: the flow characters the terminal got

        def obey():  # the terminal obeys the port's flow
            seen.extend(b for b in terminal.recv(65536) if b in (XON, XOFF))
            return bool(seen) and seen[-1] == XOFF

        stopped, last_progress = False, time.monotonic()
        while len(got) < total and time.monotonic() - last_progress < 20:
            can_send = not stopped and sent < total
            # The program reads nothing until the terminal has been stopped once: the pty backs
            # up however fast the daemon runs, so the port has to send XOFF.
            watched = [terminal, program] if seen else [terminal]
            ready, _, _ = select.select(watched, [], [], 0 if can_send else 0.5)
            if terminal in ready:
                stopped = obey()
            if not stopped and sent < total:
                terminal.sendto(data[sent:sent + chunk], ("127.0.0.1", local))
                sent += chunk
                last_progress = time.monotonic()
            if program in ready:  # then reads slower than the terminal sends
                got += os.read(program, read_size)
                last_progress = time.monotonic()
        # The last XON may still be on its way when the last byte arrives.
        while select.select([terminal], [], [], 2)[0]:
            stopped = obey()
        xoffs, xons = seen.count(XOFF), seen.count(XON)
        status = daemon.port("COM3")
        lost = {key: status[key] for key in ("dropped_datagrams", "unheld_bytes",
                                             "discarded_bytes", "send_errors", "pty_error_bytes")}
        check(bytes(got) == data,
              "software flow: a %d-byte burst arrives whole (%d bytes missing; the terminal sent "
              "%d and was left %s)" % (total, total - len(got), min(sent, total),
                                       "stopped" if stopped else "running"))
        check(xoffs > 0 and xons > 0 and status["xoff_sent"] == xoffs and
              status["xon_sent"] == xons and not status["stopped_terminal"],
              "software flow: the port sent XOFF when the pty backed up and XON when it drained "
              "(the terminal saw %d XOFF and %d XON)" % (xoffs, xons))
        check(not any(lost.values()), "software flow: nothing lost on the way (%s)" % lost)
        os.close(program)
    finally:
        terminal.close()
        daemon.stop()


def udp_receive_buffer_errors():
    """The kernel's count of datagrams dropped for a full receive buffer, in this network."""
    with open("/proc/net/snmp") as snmp:
        rows = [line.split() for line in snmp if line.startswith("Udp:")]
    return int(rows[1][rows[0].index("RcvbufErrors")])


def test_loss_is_reported(root, datagrams=8192, size=1024):
    daemon = Vspd(root, "COM3")
    terminal, remote = terminal_socket()
    try:
        local = connect(daemon, "COM3", remote)
        program = os.open(daemon.link("COM3"), os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        wait_for(lambda: daemon.port("COM3")["held"])
        kernel_before = udp_receive_buffer_errors()
        # 8 MB, far more than the pty and the receive buffer hold, read slowly: the burst ends
        # in drops, so no later datagram tells the kernel's count.
        for i in range(datagrams):
            terminal.sendto(bytes([i & 0xFF]) * size, ("127.0.0.1", local))
        got = b""
        while len(got) < datagrams * size:  # until nothing comes for 2 s, however slow the machine
            more = e2e.read_pty(program, datagrams * size - len(got), 2.0)
            if not more:
                break
            got += more
        kernel = udp_receive_buffer_errors() - kernel_before
        status = daemon.port("COM3")
        missing = datagrams * size - len(got)
        # Other programs of this machine may lose datagrams too: the kernel's count is a bound.
        check(missing > 0 and status["dropped_datagrams"] * size == missing and
              kernel >= status["dropped_datagrams"],
              "no flow: an 8 MB burst that ends in drops: status says %d datagrams dropped, %d "
              "are missing, the kernel's UdpRcvbufErrors rose by %d" %
              (status["dropped_datagrams"], missing // size, kernel))
        check(wait_for(lambda: "COM3: losing data:" in daemon.log_text()) and
              "datagrams dropped by the kernel" in daemon.log_text(),
              "no flow: the log says that the port lost data")
        os.close(program)
    finally:
        terminal.close()
        daemon.stop()


def test_nobody_holds_the_port(root):
    daemon = Vspd(root, "COM3")
    terminal, remote = terminal_socket()
    try:
        local = connect(daemon, "COM3", remote)
        for _ in range(200):
            terminal.sendto(b"n" * 1000, ("127.0.0.1", local))
        check(wait_for(lambda: daemon.port("COM3")["unheld_bytes"] == 200000),
              "closed port: 200000 bytes from the terminal are discarded and counted")

        # A program leaves the port slow, exclusive, stopped, canonical, without start/stop
        # characters and with input it never read.
        first = os.open(daemon.link("COM3"), os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        wait_for(lambda: daemon.port("COM3")["held"])
        before = daemon.port("COM3")["bytes_to_pty"]
        terminal.sendto(b"unread", ("127.0.0.1", local))
        wait_for(lambda: daemon.port("COM3")["bytes_to_pty"] == before + 6)
        leave_state(first)
        os.close(first)
        check(wait_for(lambda: not daemon.port("COM3")["held"]),
              "closed port: the daemon sees the last program go")
        second = os.open(daemon.link("COM3"), os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        check(stale_state(second) == [], "next program: a fresh port (%s)" % stale_state(second))
        terminal.sendto(b"marker", ("127.0.0.1", local))
        check(e2e.read_pty(second, 6) == b"marker",
              "next program: no stale input, the first bytes are the new ones")
        os.close(second)
        wait_for(lambda: not daemon.port("COM3")["held"])

        # Programs that open, leave their state and close at once, before the daemon can see
        # them hold the port: one at a time, each followed by the next program (after a status
        # request, which the daemon answers after what it was told before), and 200 in a row.
        stale = []
        for round in range(40):
            fd = os.open(daemon.link("COM3"), os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
            leave_state(fd)
            os.close(fd)
            if round == 39:
                for _ in range(200):
                    fd = os.open(daemon.link("COM3"), os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
                    leave_state(fd)
                    os.close(fd)
            daemon.port("COM3")
            fd = os.open(daemon.link("COM3"), os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
            stale += stale_state(fd)
            os.close(fd)
        check(stale == [], "tight loop: after 240 short-lived programs the next always finds a "
              "fresh port (%d stale: %s)" % (len(stale), sorted(set(stale))))

        line = serial.Serial()
        line.port = daemon.link("COM3")
        line.timeout = 5
        line.xonxoff = True
        line.open()
        check(termios.tcgetattr(line.fd)[0] & termios.IXON, "next program: pyserial's xonxoff is on")
        line.close()
    finally:
        terminal.close()
        daemon.stop()


def leave_state(fd):
    """Leaves every state a program can leave on a tty: speed, modes, no start/stop
    characters, exclusive, output stopped."""
    attributes = termios.tcgetattr(fd)
    attributes[4] = attributes[5] = termios.B1200
    attributes[0] |= termios.IXON
    attributes[3] |= termios.ICANON | termios.ECHO
    attributes[6][termios.VSTART] = attributes[6][termios.VSTOP] = b"\0"
    termios.tcsetattr(fd, termios.TCSANOW, attributes)
    fcntl.ioctl(fd, termios.TIOCEXCL)
    termios.tcflow(fd, termios.TCOOFF)


def stale_state(fd):
    """What `fd`'s port still has of leave_state, read before anything is changed."""
    attributes = termios.tcgetattr(fd)
    stale = []
    if attributes[4] != termios.B115200:
        stale.append("speed")
    if attributes[0] & termios.IXON or attributes[3] & (termios.ICANON | termios.ECHO):
        stale.append("modes")
    if attributes[6][termios.VSTART] != b"\x11" or attributes[6][termios.VSTOP] != b"\x13":
        stale.append("start/stop characters")
    if struct.unpack("i", fcntl.ioctl(fd, TIOCGEXCL, b"\0" * 4))[0]:
        stale.append("exclusive")
    try:
        if os.write(fd, b"?") != 1:  # a stopped tty takes nothing
            stale.append("output stopped")
    except BlockingIOError:
        stale.append("output stopped")
    return stale


def test_restart(root):
    manager = ServiceManagerStandIn(root)
    terminal, remote = terminal_socket()
    daemon = Vspd(root, "COM3,COM4", manager)
    program = None
    try:
        check(wait_for(manager.ready, 20), "restart: the daemon tells the service manager READY=1")
        local = connect(daemon, "COM3", remote)
        program = os.open(daemon.link("COM3"), os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        wait_for(lambda: daemon.port("COM3")["held"])
        targets = {p: os.readlink(daemon.link(p)) for p in ("COM3", "COM4")}
        attributes = termios.tcgetattr(program)
        attributes[4] = attributes[5] = termios.B9600
        termios.tcsetattr(program, termios.TCSANOW, attributes)
        os.write(program, b"before")
        check(receive_all(terminal, 6) == b"before", "restart: the port relays before")
        manager.pump()
        names = sorted(manager.store)
        check("pty.COM3" in names and "pty.COM4" in names and
              any(n.startswith("udp.COM3.") for n in names),
              "restart: the ptys and the connected socket are in the store: %s" % names)
        check(any("STATUS" in s for s in manager.states), "restart: the daemon sends STATUS=")

        check(daemon.stop() == 0, "restart: the first daemon stops on SIGTERM")
        manager.pump()
        check(manager.dropped == [], "restart: the service manager dropped no descriptor for a "
              "hang-up (dropped: %s)" % manager.dropped)
        os.write(program, b"during")  # into the pty that the store keeps
        terminal.sendto(b"while down", ("127.0.0.1", local))  # into the stored socket

        daemon = Vspd(root, "COM3,COM4", manager)
        check(wait_for(manager.ready, 20), "restart: the second daemon is ready")
        check({p: os.readlink(daemon.link(p)) for p in targets} == targets,
              "restart: every link points at the same /dev/pts/N, held or not")
        check(termios.tcgetattr(program)[4] == termios.B9600 and
              daemon.port("COM3")["program"]["speed"] == 9600,
              "restart: the program's settings stay, and status shows them")
        check(receive_all(terminal, 6) == b"during",
              "restart: what the program wrote while the daemon was down goes out")
        check(e2e.read_pty(program, 10) == b"while down",
              "restart: what the terminal sent while the daemon was down comes in")
        os.write(program, b"after")
        check(receive_all(terminal, 5) == b"after" and daemon.port("COM3")["connected"],
              "restart: the connection resumed and the program never saw an error")
    finally:
        if program is not None:
            os.close(program)
        daemon.stop()
        terminal.close()
        manager.close()


def test_control_channel(root):
    # The socket answers as soon as its path appears.
    refused = 0
    for start in range(5):
        run = os.path.join(root, "start%d" % start)
        os.mkdir(run)
        daemon = Vspd(run, "COM3", wait=False)
        wait_for(lambda: os.path.exists(daemon.socket) or daemon.process.poll() is not None, 20)
        probe = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        try:
            probe.connect(daemon.socket)
        except OSError:
            refused += 1
        probe.close()
        daemon.stop()
    check(refused == 0, "control: a client that connects when the path appears is answered (5 "
          "starts)")

    run = os.path.join(root, "many")
    os.mkdir(run)
    daemon = Vspd(run, "COM3")
    try:
        with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as channel:
            channel.settimeout(5)
            channel.connect(daemon.socket)
            channel.send(b"")
            reply = channel.recv(256)
            check(reply[:3] == b"K\x01\xff", "control: an empty message is refused")
        held = []
        for _ in range(200):
            channel = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
            channel.connect(daemon.socket)
            held.append(channel)
        code, _ = daemon.cli("status")
        terminal, remote = terminal_socket()
        check(code == 0 and connect(daemon, "COM3", remote) is not None,
              "control: status and connect answer while 200 idle connections are held")
        terminal.close()
        for channel in held:
            channel.close()
    finally:
        daemon.stop()

    run = os.path.join(root, "1024")
    os.mkdir(run)
    daemon = Vspd(run, ",".join("P%d" % n for n in range(1024)))
    try:
        code, text = daemon.cli("status", "--json")
        ports = json.loads(text)["ports"] if code == 0 else []
        check(len(ports) == 1024, "control: status of 1024 ports (%d bytes)" % len(text))
    finally:
        daemon.stop()

    # A start that meets a locked hive waits, and stops on SIGTERM meanwhile.
    run = os.path.join(root, "locked")
    os.mkdir(run)
    daemon = Vspd(run, "COM3")
    daemon.stop()
    hive = sqlite3.connect(daemon.hive, isolation_level=None)
    hive.execute("BEGIN EXCLUSIVE")
    daemon = Vspd(run, "COM3", wait=False)
    wait_for(lambda: "trying again" in daemon.log_text(), 20)
    code = daemon.stop()
    hive.close()
    check(code == 0 and "while waiting for the hive" in daemon.log_text(),
          "control: a start waiting for a locked hive stops cleanly on SIGTERM")


def main():
    if not os.access(e2e.VSPD, os.X_OK):
        print("missing " + e2e.VSPD)
        return 1
    tests = (test_pyserial, test_software_flow_burst, test_loss_is_reported,
             test_nobody_holds_the_port, test_restart, test_control_channel)
    with tempfile.TemporaryDirectory(prefix="vspd-line-") as root:
        for test in tests:
            directory = os.path.join(root, test.__name__)
            os.mkdir(directory)
            try:
                test(directory)
            except Exception as error:  # a crash counts as a failure, with its reason
                check(False, "%s: no exception: %r" % (test.__name__, error))
                for dirpath, _, files in os.walk(directory):
                    if "vspd.log" in files:
                        print(open(os.path.join(dirpath, "vspd.log")).read()[-3000:])
    print("%d passed, %d failed" % (e2e.results["passed"], e2e.results["failed"]))
    return 0 if e2e.results["failed"] == 0 and e2e.results["passed"] > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
