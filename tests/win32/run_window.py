#!/usr/bin/env python3
"""Drives the real ketra.exe under Wine and checks it against ketra-session.exe.

Run under an X server of its own (scripts/with-x-server.sh); the console programs run without a display.

The table (window_steps.table) has one row a line: the native input a user gives the window,
then '|', then the ketra-session commands that are the same user actions. Both programs start on
the same prepared registry (two copies of one Wine prefix, each with the hive imported). After
every row the window's state, read from outside through the platform's messages by
window_probe.exe, must equal the session's `dump form` and `dump state`: every control's text,
caption, option value, list and entry, picture, enabled flag, whether it is shown, the page and
the focus; and the message boxes the row opened (text and style) must be the session's msgbox
events. At the end both registries must export the same settings.

A line "@check NAME" (window only) checks the page shown: every control shown stands where the
layout table puts it and the screen shows something inside it (more than one colour), each lamp
shows its picture's colour, and MSAA names every control by its caption or its label. With
--screenshots DIR the window is also saved as DIR/screenshot-win32-NAME.png.
"""
import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from run_session import Machine, export_lines  # noqa: E402

SETTINGS_KEY = r"HKEY_LOCAL_MACHINE\Software\Tessaron\VSP"

# What Wine's oleacc (8.0) cannot show, against what Windows gives for the same standard
# controls: it has roles only for edit boxes (every other control is a "client"). The names are
# the window's own (it answers WM_GETOBJECT with the label's name), so both show them.
WINE_ROLES = {"textbox": "text"}


def read_table(path):
    rows = []
    with open(path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            text = line.strip()
            if not text or text.startswith("#"):
                continue
            if text.startswith("@check "):
                rows.append(("check", text.split(None, 1)[1], None, number))
                continue
            if "|" not in text:
                sys.exit(f"{path}:{number}: no '|' between the window's input and the session's")
            native, session = text.split("|", 1)
            commands = [c.strip() for c in session.split(";") if c.strip()]
            rows.append(("row", native.strip(), commands, number))
    return rows


def session_rows(machine, session, rows):
    """Runs the session and cuts its output into one (events, state, form) per row, row 0 first."""
    script = ["start", "dump state", "dump form"]
    for kind, _, commands, _ in rows:
        if kind == "row":
            script += commands + ["dump state", "dump form"]
    with tempfile.NamedTemporaryFile("w", suffix=".session", delete=False) as f:
        f.write("\n".join(script) + "\n")
        path = f.name
    try:
        run = machine.run(session, path, timeout=120)
    finally:
        os.unlink(path)
    if run.returncode != 0:
        sys.exit(f"ketra-session failed ({run.returncode}): {run.stderr}")
    result, events = [], []
    for line in run.stdout.splitlines():
        item = json.loads(line)
        if "state" in item:
            result.append((events, item["state"], []))
            events = []
        elif "control" in item and "event" not in item and result and not events:
            result[-1][2].append(item)
        else:
            events.append(item)
    if events:
        result.append((events, None, []))
    return result


def expected_shown(name, window_by_name, session_by_name, page):
    at = name
    while at:
        own = window_by_name[at]
        if not session_by_name[at].get("visible", True):
            return False
        if own["page"] >= 0 and own["page"] != page:
            return False
        at = own["container"] if own["container"] in window_by_name else ""
    return not window_by_name[name]["clipped_out"]


def compare_row(session_row, window_row):
    events, state, form = session_row
    diffs = []
    boxes_s = [{"text": e["text"], "style": e["style"]} for e in events if e.get("event") == "msgbox"]
    if boxes_s != window_row["boxes"]:
        diffs.append(f"message boxes: session {boxes_s}, window {window_row['boxes']}")
    ended_s = any(e.get("event") == "ended" for e in events)
    if ended_s != bool(window_row.get("ended")):
        diffs.append(f"ended: session {ended_s}, window {bool(window_row.get('ended'))}")
    if ended_s or window_row.get("ended"):
        return diffs
    shown = window_row["state"]
    if shown["focus"] != state["Focus"]:
        diffs.append(f"focus: session {state['Focus']}, window {shown['focus']}")
    session_by_name = {c["control"]: c for c in form}
    window_by_name = {c["control"]: c for c in shown["controls"]}
    for name, w in window_by_name.items():
        s = session_by_name[name]
        want_shown = expected_shown(name, window_by_name, session_by_name, state["Page"])
        checks = [("shown", want_shown, w["shown"])]
        if "enabled" in s:
            checks.append(("enabled", s["enabled"], w["enabled"]))
        for key in ("caption", "text", "value", "items", "index"):
            if key in s and key in w:
                checks.append((key, s[key], w[key]))
        if "picture" in w:
            checks.append(("picture", s.get("picture"), w["picture"]))
        if "tab_shown" in w:
            checks.append(("page", state["Page"], w["tab_shown"]))
        for key, want, got in checks:
            if want != got:
                diffs.append(f"{name}.{key}: session {want!r}, window {got!r}")
    return diffs


class Window:
    def __init__(self, machine, ketra, probe, display):
        self.machine, self.probe = machine, probe
        self.env = dict(machine.env, DISPLAY=display)
        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen([machine.wine, ketra], stdin=subprocess.DEVNULL,
                                        stdout=self.log, stderr=self.log, env=self.env)

    def probe_run(self, *args, timeout=300):
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            done = subprocess.run([self.machine.wine, self.probe, *args], stdin=subprocess.DEVNULL,
                                  stdout=out, stderr=err, env=self.env, timeout=timeout)
            out.seek(0)
            err.seek(0)
            text = out.read().decode("utf-8", "replace").replace("\r\n", "\n")
            if done.returncode != 0:
                sys.exit(f"window_probe {' '.join(args)} failed ({done.returncode}): "
                         f"{err.read().decode('utf-8', 'replace')}")
            return [json.loads(line) for line in text.splitlines() if line.strip()]

    def steps(self, natives):
        with tempfile.NamedTemporaryFile("w", suffix=".steps", delete=False,
                                         dir=self.machine.env["WINEPREFIX"]) as f:
            f.write("\n".join(natives) + "\n")
            path = f.name
        try:
            return self.probe_run("steps", path)
        finally:
            os.unlink(path)

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()


def check_page(window, name, shots, failures):
    layout = window.probe_run("layout")
    for c in layout:
        rect, laid = c["rect"], c["layout"]
        if c["kind"] == "image":
            same = rect[:2] == laid[:2]  # a picture takes the size of its bitmap
        elif c["kind"] == "combobox":
            same = rect[:3] == laid[:3]  # a drop-down list's box takes the height of its font
        elif c["kind"] == "updown":
            same = rect[:2] == laid[:2] and rect[3] == laid[3]  # the width of its arrows
        else:
            same = rect == laid
        if not same:
            failures.append(f"@check {name}: {c['control']} at {rect}, laid out at {laid}")
        # The frames that hold a whole page have no caption and lie under the page's controls.
        if c["colours"] < 2 and c["control"] not in ("Frame1", "Frame2"):
            failures.append(f"@check {name}: nothing drawn inside {c['control']}")
    print(f"@check {name}: {len(layout)} controls shown where the layout puts them")
    names = window.probe_run("names")
    # The boxes one label names are the parts of one value; a lamp's name says its colour.
    parts = {}
    for c in names:
        if c["kind"] == "textbox" and c["label"]:
            parts.setdefault(c["label"], []).append(c["control"])
    for c in names:
        want = c["label"].replace("&", "")
        if c["kind"] in ("frame", "label", "button", "option"):
            want = c["caption"].replace("&", "")
        elif c["kind"] == "image" and want:
            want += ": " + c["picture"]
        elif len(parts.get(c["label"], [])) > 1:
            want += " part %d" % (parts[c["label"]].index(c["control"]) + 1)
        if not c["found"]:
            failures.append(f"@check {name}: no accessible object for {c['control']}")
            continue
        if want and c["name"] != want:
            failures.append(f"@check {name}: {c['control']} is named {c['name']!r}, not {want!r}")
        wine_role = WINE_ROLES.get(c["kind"], "client")
        if c["role_text"] != wine_role:
            failures.append(f"@check {name}: {c['control']}'s role is {c['role_text']!r}")
    print(f"@check {name}: MSAA names of {len(names)} controls read, "
          "each its caption or its label's")
    if shots:
        os.makedirs(shots, exist_ok=True)
        xid = subprocess.run(["xdotool", "search", "--name", "^Ketra_v"], capture_output=True,
                             text=True, env=window.env).stdout.split()
        target = os.path.join(shots, f"screenshot-win32-{name}.png")
        subprocess.run(["import", "-window", xid[0], target], check=True, env=window.env)
        print(f"  saved {target}")


def check_no_ports(opts, program, failures):
    """Without ports the load shows its box before there is a window, then ends the program."""
    with tempfile.TemporaryDirectory(prefix="ketra-win-n-") as tmp_s, \
            tempfile.TemporaryDirectory(prefix="ketra-win-m-") as tmp_w:
        session_machine = Machine(tmp_s, opts.wine, opts.wineserver, opts.wine_prefix)
        window_machine = Machine(tmp_w, opts.wine, opts.wineserver, opts.wine_prefix)
        window = None
        try:
            events = session_rows(session_machine, program["ketra-session"], [])[0][0]
            want = [{"text": e["text"], "style": e["style"]} for e in events if e.get("event") == "msgbox"]
            window = Window(window_machine, program["ketra"], opts.probe, os.environ["DISPLAY"])
            got = window.probe_run("box")
            window.process.wait(30)
            if got != want or window.process.returncode != 0:
                failures.append(f"no ports: session {want}, window {got} (exit {window.process.returncode})")
            else:
                print(f"ok no ports: {got[0]['style']} box {got[0]['text']!r}, then the end")
        finally:
            if window:
                window.stop()
            session_machine.close()
            window_machine.close()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--wine", required=True)
    parser.add_argument("--wineserver", required=True)
    parser.add_argument("--wine-prefix", required=True)
    parser.add_argument("--bin", required=True, help="directory of ketra.exe, ketra-session.exe, ketra-reg.exe")
    parser.add_argument("--probe", required=True)
    parser.add_argument("--hive", required=True, help="a .reg file imported before each start")
    parser.add_argument("--table", required=True)
    parser.add_argument("--screenshots")
    opts = parser.parse_args()
    display = os.environ.get("DISPLAY")
    if not display:
        sys.exit("run_window.py needs an X server: run it under scripts/with-x-server.sh")
    rows = read_table(opts.table)
    program = {name: os.path.join(opts.bin, name + ".exe")
               for name in ("ketra", "ketra-session", "ketra-reg")}
    failures = []
    with tempfile.TemporaryDirectory(prefix="ketra-win-s-") as tmp_s, \
            tempfile.TemporaryDirectory(prefix="ketra-win-w-") as tmp_w:
        session_machine = Machine(tmp_s, opts.wine, opts.wineserver, opts.wine_prefix)
        window_machine = Machine(tmp_w, opts.wine, opts.wineserver, opts.wine_prefix)
        # Every program of the window's prefix sees the display: the first one starts the prefix's
        # desktop, and a desktop started without a display keeps the window from appearing.
        window_machine.env["DISPLAY"] = display
        window = None
        try:
            for machine in (session_machine, window_machine):
                done = machine.run(program["ketra-reg"], "import", opts.hive)
                if done.returncode != 0:
                    sys.exit(f"import of {opts.hive} failed: {done.stderr}")
            expected = session_rows(session_machine, program["ketra-session"], rows)

            window = Window(window_machine, program["ketra"], opts.probe, display)
            started = time.monotonic()
            try:
                window.probe_run("wait")
            except SystemExit:
                window.log.seek(0)
                print(f"ketra.exe after {time.monotonic() - started:.0f} s: exit status "
                      f"{window.process.poll()}, output: {window.log.read()[-2000:]!r}")
                raise
            results = window.steps([""])  # row 0: the state at start
            pending = []
            for kind, text, _, _ in rows:
                if kind == "check":
                    results += window.steps(pending) if pending else []
                    pending = []
                    check_page(window, text, opts.screenshots, failures)
                else:
                    pending.append(text)
            results += window.steps(pending) if pending else []

            table_rows = [r for r in rows if r[0] == "row"]
            for index, got in enumerate(results):
                label = "start" if index == 0 else f"row {index} (line {table_rows[index - 1][3]}: {table_rows[index - 1][1]})"
                if index >= len(expected):
                    if not got.get("ended"):
                        failures.append(f"{label}: the session had ended, the window had not")
                    continue
                diffs = compare_row(expected[index], got)
                if diffs:
                    failures.append(f"{label} differs:\n    " + "\n    ".join(diffs))
                else:
                    print(f"ok {label}")
            for _ in range(50):
                if window.process.poll() is not None:
                    break
                time.sleep(0.1)
            want, _ = export_lines(program["ketra-reg"], session_machine, SETTINGS_KEY)
            got, _ = export_lines(program["ketra-reg"], window_machine, SETTINGS_KEY)
            if want != got or not want:
                failures.append("the registries differ:\n  session: " + "\n  ".join(want or []) +
                                "\n  window:  " + "\n  ".join(got or []))
            else:
                print(f"ok registry: {len(got)} lines under {SETTINGS_KEY} the same")
            check_no_ports(opts, program, failures)
        finally:
            if window:
                window.stop()
            session_machine.close()
            window_machine.close()
    if failures:
        print("FAIL\n  " + "\n  ".join(failures))
        return 1
    print(f"{len(results)} passed, 0 failed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
