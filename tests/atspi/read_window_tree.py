#!/usr/bin/env python3
"""Reads the real window's accessibility tree through AT-SPI, as a screen reader does.

Run inside a D-Bus session and an X server (run_atspi.sh does both): starts the accessibility
bus, starts `ketra` on a hive with three ports, finds the application on the AT-SPI desktop and
checks the names, roles and values of the controls a user works with; then works the window from
the keyboard (xdotool) and checks what a screen reader is told: the focus on each tab and the
port list, each new port and page, the up-down control's new value, and a text box entered by
Tab with its whole text selected, read as a reader reads it, once: with the focus, not also as a
change of selection before or after it. Last, the press actions a reader offers: the Config tab's
shows its page, the Disable option's disables the port (both reach the program, not only the
widget). Exit status 77 (skip) only when
the accessibility bus cannot be started; 0 when every check holds; 1 otherwise.
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
    ("frame", "Ketra_v1.4.2"),
    ("page tab list", "Pages"),
    ("page tab", "Config"),
    ("page tab", "Status"),
    ("push button", "Apply"),
    ("text", "Monitor Interval"),
    ("spin button", "Step Monitor Interval"),
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


def selection_as_read(text):
    """The selected text as a screen reader speaks it: one text attribute run after the other
    (each may have its own language), as far as the runs reach (Orca 43 does so)."""
    if not text.getNSelections():
        return ""
    start, end = text.getSelection(0)
    offset, reached = start, start
    while offset < end:
        _, _, run_end = text.getAttributeRun(offset, False)
        reached = max(reached, min(run_end, end))
        offset = max(run_end, offset + 1)
    return text.getText(start, reached)


class Announcements:
    """The events a screen reader hears, as (kind, role, name, detail) in order. Like a reader,
    it reads an object's state when it takes up the event, not when the event was sent, and
    speaks a text's change of selection against the selection it last knew of the text."""

    def __init__(self, pyatspi):
        self.pyatspi = pyatspi
        self.heard = []
        self.selections = {}  # text's name -> selected text last known
        pyatspi.Registry.registerEventListener(
            self.on_event, "object:state-changed:focused", "object:text-changed:insert",
            "object:property-change:accessible-value", "object:text-selection-changed")

    def on_event(self, event):
        source = event.source
        try:
            role, name = source.getRoleName(), source.name
        except Exception:  # the object went away
            return
        if event.type.startswith("object:state-changed:focused"):
            if not event.detail1:
                return
            detail = ""
            if role == "text":  # the selection as the focus is announced: "3000 selected"
                selected = selection_as_read(source.queryText())
                self.selections[name] = selected
                detail = "%s selected" % selected if selected else ""
            self.heard.append(("focus", role, name, detail))
        elif event.type.startswith("object:text-selection-changed"):
            selected = selection_as_read(source.queryText())
            if selected != self.selections.get(name, ""):
                self.heard.append(("selection", role, name, selected))
            self.selections[name] = selected
        elif event.type.startswith("object:text-changed:insert"):
            self.heard.append(("text", role, name, event.any_data))
        else:
            self.heard.append(("value", role, name, str(source.queryValue().currentValue)))

    def pump(self, seconds):
        from gi.repository import GLib
        deadline = time.time() + seconds
        while time.time() < deadline:
            GLib.MainContext.default().iteration(False)
            time.sleep(0.01)

    def keys(self, window_id, *keys):
        for key in keys:
            subprocess.run(["xdotool", "key", "--window", window_id, key], check=True)
            self.pump(0.15)

    def wait_for(self, expected, since, seconds=5):
        """Whether `expected` is heard in order after index `since` (others may come between)."""
        deadline = time.time() + seconds
        while True:
            position = 0
            for item in self.heard[since:]:
                if position < len(expected) and expected[position](item):
                    position += 1
            if position == len(expected) or time.time() > deadline:
                return position == len(expected)
            self.pump(0.05)


def heard_as(*want):
    return lambda item: item == want


# Keys from the start (the focus on the tab strip), and what must be heard for them in order.
# The form's tab order runs from the port list to the parts of the address, then to the strip.
KEY_STEPS = [
    (["Right"], [heard_as("focus", "page tab", "Status", "")]),
    (["Left"], [heard_as("focus", "page tab", "Config", "")]),
    (["shift+Tab"] * 4, [heard_as("focus", "combo box", "VCOM Port", "")]),
    (["Down"], [heard_as("text", "combo box", "VCOM Port", "COM4")]),
    # The whole text selected as the focus is told, not a part of it ("16 selected" for 168).
    (["Tab"], [heard_as("focus", "text", "IP Address Of BGAN part 2", "168 selected")]),
    # The strip taking the focus announces the page shown after itself, so it is heard last.
    (["Tab", "Tab", "Tab"], [heard_as("focus", "page tab list", "Pages", ""),
                             heard_as("focus", "page tab", "Config", "")]),
    (["Right"], [heard_as("focus", "page tab", "Status", "")]),
    (["Tab"] * 3, [heard_as("focus", "spin button", "Step Monitor Interval", "")]),
    (["Up"], [lambda item: item[:3] == ("value", "spin button", "Step Monitor Interval")]),
]


def press(node):
    """Performs the press action that a screen reader offers on `node`."""
    action = node.queryAction()
    for index in range(action.nActions):
        if action.getName(index).lower() == "press":
            return action.doAction(index)
    return False


def check_actions(pyatspi, app, heard):
    """Presses the Config tab (the Status page is shown), then the Disable option; the port's
    fields greyed and the page shown are the program's doing, not the widget's."""
    def node(role, name):
        return [n for n, _ in walk(app) if n.getRoleName() == role and n.name == name][0]

    def has(item, state):
        return node(*item).getState().contains(state)

    config = ("page tab", "Config")
    disable = ("radio button", "Disable")
    local = ("text", "Local UDP Port")
    steps = [(config, [(config, pyatspi.STATE_SELECTED, True),
                       (config, pyatspi.STATE_FOCUSED, True),
                       (local, pyatspi.STATE_SHOWING, True)]),
             (disable, [(disable, pyatspi.STATE_CHECKED, True),
                        (local, pyatspi.STATE_ENABLED, False)])]
    failures = []
    for pressed, expected in steps:
        if not press(node(*pressed)):
            failures.append("no press action on %s %r" % pressed)
            continue
        deadline = time.time() + 5
        while any(has(item, state) != want for item, state, want in expected):
            if time.time() > deadline:
                failures.append("after a press on %s %r, not as expected: %r" % (
                    pressed + ([(item, str(state), has(item, state))
                                for item, state, _ in expected],)))
                break
            heard.pump(0.05)
    return failures


def check_announcements(heard, window_id):
    failures = []
    for keys, expected in KEY_STEPS:
        before = len(heard.heard)
        heard.keys(window_id, *keys)
        if not heard.wait_for(expected, before):
            failures.append("after %s: not heard as expected: %r" % (" ".join(keys),
                                                                     heard.heard[before:]))
    return failures


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
        # The port list's value is its entry, read as its text.
        combo = [n for n, _ in walk(app) if n.getRoleName() == "combo box"][0]
        text = combo.queryText()
        if text.getText(0, text.characterCount) != "COM3":
            failures.append("the port list's text is %r, not COM3" % text.getText(0, -1))
        # Announcements, from the keyboard.
        heard = Announcements(pyatspi)
        found = subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--name", "Ketra"],
                               capture_output=True, text=True, check=True)
        window_id = found.stdout.split()[0]
        subprocess.run(["xdotool", "windowfocus", "--sync", window_id], check=True)
        heard.wait_for([heard_as("focus", "page tab", "Config", "")], 0)
        spin = [n for n, _ in walk(app) if n.getRoleName() == "spin button"][0]
        start = spin.queryValue().currentValue
        failures += check_announcements(heard, window_id)
        # The engine selects a box's text as it takes the focus: heard with the focus alone.
        failures += ["heard apart from the focus: %s %r %r" % item[1:]
                     for item in heard.heard if item[0] == "selection"]
        if spin.queryValue().currentValue != start + 1:
            failures.append("the up-down control's value is %r after Up from %r"
                            % (spin.queryValue().currentValue, start))
        failures += check_actions(pyatspi, app, heard)
        if args.show_tree:
            for item in heard.heard:
                print("heard %s %s %r %r" % item)
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
        print("ok   %d names and roles, %d keyboard steps heard, 2 press actions through AT-SPI"
              % (len(EXPECTED), len(KEY_STEPS)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
