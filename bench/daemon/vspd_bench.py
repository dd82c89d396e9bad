#!/usr/bin/env python3
"""Soak of the driver daemon ketra-vspd, on loopback only: 101 ports connected, traffic both ways
on all of them for SOAK seconds, every byte checked against its pattern; the bytes lost must be 0.
Throughput and echo against the peers: vspd_peers_bench.py.

usage: vspd_bench.py BIN_DIR [--soak SECONDS]
"""
import argparse
import os
import selectors
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time



def free_port(used):
    for _ in range(1000):
        probe = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
        probe.close()
        if port not in used:
            used.add(port)
            return port
    raise RuntimeError("no free port")


def udp(port):
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    try:
        sock.setsockopt(socket.SOL_SOCKET, 33, 16 << 20)  # SO_RCVBUFFORCE, when permitted
    except OSError:
        sock.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 16 << 20)
    sock.bind(("127.0.0.1", port))
    sock.setblocking(False)
    return sock


def wait_path(path, seconds=5):
    deadline = time.monotonic() + seconds
    while not os.path.exists(path) and time.monotonic() < deadline:
        time.sleep(0.01)
    if not os.path.exists(path):
        raise RuntimeError("no " + path)


def open_pty(path):
    fd = os.open(path, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
    return fd


class Vspd:
    """ketra-vspd with `count` ports, each connected to the terminal at 127.0.0.1:remote."""

    def __init__(self, bin_dir, root, count, remote, used):
        self.root = root
        self.socket = os.path.join(root, "vspd.sock")
        self.links = os.path.join(root, "dev")
        self.log = open(os.path.join(root, "vspd.log"), "ab")
        self.process = subprocess.Popen(
            [os.path.join(bin_dir, "ketra-vspd"), "run", "--hive", os.path.join(root, "hive.db"),
             "--socket", self.socket, "--link-dir", self.links, "--bind-address", "127.0.0.1",
             "--count", str(count), "--first", "0"], stdout=subprocess.DEVNULL, stderr=self.log)
        wait_path(self.socket)
        self.locals = []
        for n in range(count):
            local = free_port(used)
            self.locals.append(local)
            status = self.command("COM%d" % n, local, remote)
            if status != 112:
                raise RuntimeError("connect COM%d: Status %s" % (n, status))
        self.ptys = [os.path.join(self.links, "COM%d" % n) for n in range(count)]

    def command(self, port, local, remote):
        with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as channel:
            channel.settimeout(5)
            channel.connect(self.socket)
            channel.send(b"K\x01\x01\x00" + ("\\\\.\\" + port).encode())
            if channel.recv(64)[4:8] != b"\x00\x00\x00\x00":
                return None
            record = bytes([127, 0, 0, 1]) + struct.pack("<HH", remote, local) + bytes([0, 19, 17, 0])
            channel.send(b"K\x01\x02\x00" + struct.pack("<I", 0x80202000) + record)
            reply = channel.recv(64)
            channel.send(b"K\x01\x03\x00")
            return reply[19]

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=10)


def soak(bin_dir, root, seconds, ports=101, window=64 << 10):
    used = set()
    remote = free_port(used)
    terminal = udp(remote)
    daemon = Vspd(bin_dir, root, ports, remote, used)
    fds = [open_pty(p) for p in daemon.ptys]
    by_local = {local: n for n, local in enumerate(daemon.locals)}
    by_fd = {fd: n for n, fd in enumerate(fds)}
    blocks = [bytes((i * 7 + n) & 0xFF for i in range(256)) * 4 for n in range(ports)]
    up_sent = [0] * ports
    up_recv = [0] * ports
    down_sent = [0] * ports
    down_recv = [0] * ports
    corrupt = 0
    sel = selectors.DefaultSelector()
    sel.register(terminal, selectors.EVENT_READ)
    for fd in fds:
        sel.register(fd, selectors.EVENT_READ)

    def expect(n, offset, data):
        block = blocks[n]
        start = offset % 1024
        want = (block * ((len(data) + start) // 1024 + 2))[start:start + len(data)]
        return want == data

    start = time.monotonic()
    sending = True
    last_progress = time.monotonic()
    while True:
        now = time.monotonic()
        if sending and now - start >= seconds:
            sending = False
        if sending:
            for n in range(ports):
                if up_sent[n] - up_recv[n] < window:
                    off = up_sent[n] % 1024
                    try:
                        up_sent[n] += os.write(fds[n], (blocks[n] * 2)[off:off + 512])
                    except BlockingIOError:
                        pass
                if down_sent[n] - down_recv[n] < window:
                    off = down_sent[n] % 1024
                    try:
                        down_sent[n] += terminal.sendto((blocks[n] * 2)[off:off + 512],
                                                        ("127.0.0.1", daemon.locals[n]))
                    except BlockingIOError:
                        pass
        for key, _ in sel.select(0.01 if sending else 0.2):
            if key.fileobj is terminal:
                while True:
                    try:
                        data, sender = terminal.recvfrom(65536)
                    except BlockingIOError:
                        break
                    n = by_local[sender[1]]
                    if not expect(n, up_recv[n], data):
                        corrupt += 1
                    up_recv[n] += len(data)
                    last_progress = time.monotonic()
            else:
                n = by_fd[key.fileobj]
                try:
                    data = os.read(key.fileobj, 65536)
                except BlockingIOError:
                    continue
                if not expect(n, down_recv[n], data):
                    corrupt += 1
                down_recv[n] += len(data)
                last_progress = time.monotonic()
        done = up_recv == up_sent and down_recv == down_sent
        if not sending and (done or time.monotonic() - last_progress > 5):
            break
    elapsed = time.monotonic() - start
    for fd in fds:
        os.close(fd)
    daemon.stop()
    terminal.close()
    lost = sum(up_sent) - sum(up_recv) + sum(down_sent) - sum(down_recv)
    return {"ports": ports, "seconds": elapsed, "bytes_up": sum(up_sent),
            "bytes_down": sum(down_sent), "lost": lost, "corrupt_chunks": corrupt,
            "idle_ports": sum(1 for n in range(ports) if up_recv[n] == 0 or down_recv[n] == 0)}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("bin_dir")
    parser.add_argument("--soak", type=float, default=60)
    args = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="vspd-bench-") as root:
        counter = [0]

        def fresh(name):
            counter[0] += 1
            path = os.path.join(root, "%s%d" % (name, counter[0]))
            os.mkdir(path)
            return path

        result = soak(args.bin_dir, fresh("soak"), args.soak)
        print("  soak: %(ports)d ports, %(seconds).1f s, %(bytes_up)d bytes pty->UDP, "
              "%(bytes_down)d bytes UDP->pty, lost %(lost)d, corrupt chunks %(corrupt_chunks)d, "
              "ports without traffic %(idle_ports)d" % result)
        ok = result["lost"] == 0 and result["corrupt_chunks"] == 0 and result["idle_ports"] == 0
        print("soak " + ("passed" if ok else "FAILED"))
        return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
