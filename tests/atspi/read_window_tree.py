#!/usr/bin/env python3
"""Reads the real window's accessibility tree through AT-SPI, as a screen reader does.

Run inside a D-Bus session and an X server (run_atspi.sh does both): starts the accessibility
bus, starts `ketra` on a hive with three ports, finds the application on the AT-SPI desktop and
checks the names and roles of the controls a user works with. Exit status 77 (skip) only when the
accessibility bus cannot be started; 0 when every check holds; 1 otherwise.
"""
import argparse
import os
import subprocess
import sys
import tempfile
import time

SKIP = 77

PORTS_REG = r"""REGEDIT4

[HKEY_LOCAL_MACHINE\HARDWARE\DEVICEMAP\SERIALCOMM]
"\\Device\\TesSerial0"="COM3"
"\\Device\\TesSerial1"="COM4"
"\\Device\\TesSerial2"="COM5"
"""

# (role name as AT-SPI gives it, accessible name) that must stand in the window's tree.
EXPECTED = [
    ("text", "Local UDP Port"),
    ("text", "XON"),
    ("text", "XOFF"),
    ("text", "UDP Port On BGAN"),
    ("text", "IP Address Of BGAN part 1"),
    ("text", "IP Address Of BGAN part 2"),
    ("text", "IP Address Of BGAN part 3"),
    ("text", "IP Address Of BGAN part 4"),
    ("combo box", "VCOM Port"),
    ("radio button", "Enable"),
    ("radio button", "Disable"),
    ("radio button", "Hardware Flow Control"),
    ("radio button", "Software Flow Control"),
    ("page tab list", ""),
    ("page tab", "Config"),
    ("page tab", "Status"),
    ("push button", "Apply"),
    ("text", "Monitor Interval"),
    ("filler", "Step Monitor Interval"),
    ("push button", "Monitor Interval up"),
    ("image", "VSP1: green"),
    ("image", "VSP3: red"),
    ("image", "Not Installed: grey"),
]


def start_accessibility_bus():
    launcher = "/usr/libexec/at-spi-bus-launcher"
    if not os.path.exists(launcher):
        return None, "at-spi2-core is not installed (%s is missing)" % launcher
    if not os.environ.get("DBUS_SESSION_BUS_ADDRESS"):
        return None, "no D-Bus session bus (run inside dbus-run-session)"
    bus = subprocess.Popen([launcher, "--launch-immediately"],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    # The launcher publishes the accessibility bus's address on the session bus.
    for _ in range(100):
        probe = subprocess.run(
            ["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
             "org.a11y.Bus.GetAddress"], capture_output=True, text=True)
        if probe.returncode == 0 and "unix:" in probe.stdout:
            return bus, None
        if bus.poll() is not None:
            return None, "at-spi-bus-launcher exited with status %d" % bus.returncode
        time.sleep(0.1)
    bus.terminate()
    return None, "the accessibility bus did not publish its address within 10 s"


def find_application(pyatspi, name, seconds, window):
    deadline = time.time() + seconds
    while time.time() < deadline:
        if window.poll() is not None:
            return None
        desktop = pyatspi.Registry.getDesktop(0)
        for index in range(desktop.childCount):
            app = desktop.getChildAtIndex(index)
            if app is not None and app.name == name:
                return app
        time.sleep(0.2)
    return None


def walk(node, depth=0):
    yield node, depth
    for index in range(node.childCount):
        child = node.getChildAtIndex(index)
        if child is not None:
            yield from walk(child, depth + 1)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--ketra", required=True)
    parser.add_argument("--ketra-reg", required=True)
    parser.add_argument("--show-tree", action="store_true")
    args = parser.parse_args()

    bus, reason = start_accessibility_bus()
    if bus is None:
        print("SKIP: " + reason)
        return SKIP
    try:
        import pyatspi  # noqa: imported once the bus is there
    except ImportError as error:
        bus.terminate()
        print("FAIL: python3-pyatspi is missing: %s" % error)
        return 1

    work = tempfile.mkdtemp(prefix="ketra-atspi-")
    hive = os.path.join(work, "hive.db")
    with open(os.path.join(work, "ports.reg"), "w") as reg:
        reg.write(PORTS_REG)
    subprocess.run([args.ketra_reg, "--hive", hive, "import", os.path.join(work, "ports.reg")],
                   check=True)
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_ACCESSIBILITY="1")
    env.pop("QT_QPA_PLATFORM", None)  # the real X server, not offscreen
    window = subprocess.Popen([args.ketra, "--hive", hive,
                               "--socket", os.path.join(work, "no-daemon.sock")], env=env)
    failures = []
    try:
        app = find_application(pyatspi, "ketra", 30, window)
        if app is None:
            if window.poll() is not None:
                print("FAIL: ketra exited with status %d before it was on the AT-SPI desktop"
                      % window.returncode)
            else:
                print("FAIL: no application named ketra on the AT-SPI desktop")
            return 1
        # The tree fills as the window is built; read it until it holds what we look for.
        seen = set()
        deadline = time.time() + 20
        while time.time() < deadline:
            seen = {(node.getRoleName(), node.name) for node, _ in walk(app)}
            if all(item in seen for item in EXPECTED):
                break
            time.sleep(0.3)
        if args.show_tree:
            for node, depth in walk(app):
                print("  " * depth + "%s %r" % (node.getRoleName(), node.name))
        for item in EXPECTED:
            if item not in seen:
                failures.append("missing %s %r" % item)
        # No text box that a user can see is named by its frame.
        for node, _ in walk(app):
            if (node.getRoleName() == "text" and node.getState().contains(pyatspi.STATE_SHOWING)
                    and node.name in ("Local Settings", "Flow Control Mechanism",
                                      "Remote Settings")):
                failures.append("a text box named by its frame: %r" % node.name)
        # The page shown is the selected tab; the flow options are in one radio group.
        for node, _ in walk(app):
            if node.getRoleName() == "page tab" and node.name == "Config":
                if not node.getState().contains(pyatspi.STATE_SELECTED):
                    failures.append("the Config tab is not selected")
            if node.getRoleName() == "radio button" and node.name == "Enable":
                if not node.getState().contains(pyatspi.STATE_CHECKED):
                    failures.append("Enable is not checked")
    finally:
        window.terminate()
        try:
            window.wait(10)
        except subprocess.TimeoutExpired:
            window.kill()
        bus.terminate()
    for failure in failures:
        print("FAIL: " + failure)
    if not failures:
        print("ok   %d names and roles read through AT-SPI" % len(EXPECTED))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
