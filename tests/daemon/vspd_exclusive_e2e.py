#!/usr/bin/env python3
"""A port the last program left exclusive (TIOCEXCL) opens again, with the daemon run as an
unprivileged user as the service is: the daemon cannot reopen such a device without
CAP_SYS_ADMIN, so it gives the port a new pty and points the link there, on which the next
program finds none of the state the last one left.

Needs root to drop to another user (setpriv); otherwise it is skipped (exit 77).
No network traffic at all.

usage: vspd_exclusive_e2e.py BIN_DIR
"""
import fcntl
import os
import shutil
import subprocess
import sys
import tempfile
import termios
import time

TIOCGEXCL = 0x80045440
NOBODY = 65534


def wait_for(predicate, seconds=20.0):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if predicate():
            return True
        time.sleep(0.02)
    return False


def main():
    if os.geteuid() != 0:
        print("skipped: needs root to run the daemon as an unprivileged user")
        return 77
    vspd = os.path.join(sys.argv[1], "ketra-vspd")
    failures = 0

    def check(condition, what):
        nonlocal failures
        print(("ok   " if condition else "FAIL ") + what)
        failures += 0 if condition else 1

    root = tempfile.mkdtemp(prefix="vspd-excl-")
    os.chmod(root, 0o755)
    os.chown(root, NOBODY, NOBODY)
    link = os.path.join(root, "dev", "COM3")
    log_path = os.path.join(root, "vspd.log")
    with open(log_path, "wb") as log:
        daemon = subprocess.Popen(
            ["setpriv", "--reuid=%d" % NOBODY, "--regid=%d" % NOBODY, "--clear-groups",
             "--inh-caps=-all", vspd, "run", "--hive", os.path.join(root, "hive.db"),
             "--socket", os.path.join(root, "vspd.sock"), "--link-dir", os.path.join(root, "dev"),
             "--bind-address", "127.0.0.1", "--ports", "COM3"],
            stdout=subprocess.DEVNULL, stderr=log)
    try:
        if not wait_for(lambda: os.path.exists(os.path.join(root, "vspd.sock")) or
                        daemon.poll() is not None) or daemon.poll() is not None:
            print("FAIL the daemon did not come up")
            return 1
        first = os.readlink(link)
        # The programs run unprivileged too: root's CAP_SYS_ADMIN would open an exclusive port.
        # The first holds the port long enough for the daemon to see it held, as a real one does,
        # and leaves the port slow, canonical, without start/stop characters and stopped too; the
        # next finds the port's own settings on the new pty, as vspd_line_e2e's after a reset.
        program = ("import fcntl, os, sys, termios, time\n"
                   "fd = os.open(sys.argv[1], os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)\n"
                   "a = termios.tcgetattr(fd)\n"
                   "if sys.argv[2] == 'exclusive':\n"
                   "    a[4] = a[5] = termios.B1200\n"
                   "    a[0] |= termios.IXON\n"
                   "    a[3] |= termios.ICANON | termios.ECHO\n"
                   "    a[6][termios.VSTART] = a[6][termios.VSTOP] = b'\\0'\n"
                   "    termios.tcsetattr(fd, termios.TCSANOW, a)\n"
                   "    fcntl.ioctl(fd, termios.TIOCEXCL)\n"
                   "    termios.tcflow(fd, termios.TCOOFF)\n"
                   "    time.sleep(0.5)\n"
                   "else:\n"
                   "    stale = []\n"
                   "    if fcntl.ioctl(fd, %d, b'\\xff' * 4) != bytes(4): stale.append('exclusive')\n"
                   "    if a[4] != termios.B115200: stale.append('speed')\n"
                   "    if a[0] & termios.IXON or a[3] & (termios.ICANON | termios.ECHO):\n"
                   "        stale.append('modes')\n"
                   "    if a[6][termios.VSTART] != b'\\x11' or a[6][termios.VSTOP] != b'\\x13':\n"
                   "        stale.append('start/stop characters')\n"
                   "    try:\n"
                   "        os.write(fd, b'?')\n"
                   "    except BlockingIOError:\n"
                   "        stale.append('output stopped')\n"
                   "    sys.exit('stale: %%s' %% stale if stale else 0)\n" % TIOCGEXCL)

        def run_program(mode):
            return subprocess.run(
                ["setpriv", "--reuid=%d" % NOBODY, "--regid=%d" % NOBODY, "--clear-groups",
                 sys.executable, "-c", program, link, mode], capture_output=True, text=True,
                timeout=60)

        done = run_program("exclusive")
        check(done.returncode == 0, "a program opens the port and leaves it exclusive " +
              done.stderr.strip())
        # The daemon handles the last close in its loop: wait until it has pointed the link anew.
        check(wait_for(lambda: os.readlink(link) != first), "the link points at a new pty")
        done = run_program("next")
        check(done.returncode == 0, "the next program finds a fresh port on the new pty " +
              done.stderr.strip())
        check(daemon.poll() is None, "the daemon still runs")
    finally:
        daemon.terminate()
        daemon.wait(timeout=30)
        with open(log_path, "rb") as log:
            sys.stdout.write(log.read().decode(errors="replace"))
        shutil.rmtree(root, ignore_errors=True)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
