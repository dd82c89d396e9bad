#!/usr/bin/env python3
"""Runs one end-to-end session case and checks its output.

A case is a set of files sharing one path prefix, e.g. tests/session/first_run:
  first_run.session          the commands, given to ketra-session as its SCRIPT
  first_run.expected.jsonl   the expected output, one JSON object a line; lines starting with
                             '#' and blank lines are notes; a string "<any>" matches any string
  first_run.hive.reg         optional: imported with ketra-reg into the fresh hive first
  first_run.args             optional: more ketra-session arguments, one a line
                             (default --app-path /opt/ketra when none names --app-path)
  first_run.app/             optional: the program's directory (--app-path), with the files
                             the program reads there (its settings file)
  first_run.after.reg        optional: after the run, the export of the first key it names
                             must equal it line for line
  first_run.unchanged        optional marker: the whole hive must export the same after the
                             run as before it

Outputs are compared line by line as JSON values, so key order and spacing inside a line do not
matter to the comparison; the session's own key order is checked by its unit tests.

With --wine, the programs are the Windows builds and run under Wine on the system registry: the
case gets a copy of the prepared prefix given with --wine-prefix, a wineserver of its own that
lasts the whole case (the device map lives in a volatile key, which would go with the server),
and no --hive. Wine's registry keeps the values of a key sorted by name where Windows keeps them
in creation order, so under Wine the value lines of each exported key are compared in name order.
"""
import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile

ANY = "<any>"


def matches(expected, actual):
    if expected == ANY:
        return isinstance(actual, str)
    if isinstance(expected, dict):
        return (isinstance(actual, dict) and expected.keys() == actual.keys()
                and all(matches(expected[k], actual[k]) for k in expected))
    if isinstance(expected, list):
        return (isinstance(actual, list) and len(expected) == len(actual)
                and all(matches(e, a) for e, a in zip(expected, actual)))
    if isinstance(expected, bool) or isinstance(actual, bool):
        return type(expected) is type(actual) and expected == actual
    return expected == actual


def read_expected(path):
    lines = []
    with open(path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            text = line.strip()
            if not text or text.startswith("#"):
                continue
            try:
                lines.append((number, json.loads(text)))
            except json.JSONDecodeError as e:
                sys.exit(f"{path}:{number}: not JSON: {e}")
    return lines


class Machine:
    """Runs the programs: natively on a hive file, or under Wine on the prefix's registry."""

    def __init__(self, tmp, wine=None, wineserver=None, prefix=None):
        self.wine = wine
        self.env = None
        self.hive_args = ["--hive", os.path.join(tmp, "hive.db")]
        if wine:
            self.hive_args = []
            self.env = dict(os.environ, WINEPREFIX=os.path.join(tmp, "prefix"), WINEDEBUG="-all",
                            WINEDLLOVERRIDES="mscoree,mshtml=")
            self.env.pop("DISPLAY", None)
            self.env.pop("WAYLAND_DISPLAY", None)
            shutil.copytree(prefix, self.env["WINEPREFIX"], symlinks=True)
            self.wineserver = wineserver
            subprocess.run([self.wineserver, "-p"], env=self.env, check=True)

    def command(self, program, *args):
        return ([self.wine] if self.wine else []) + [program, *self.hive_args, *args]

    def run(self, program, *args, timeout=60):
        # Through files rather than pipes: Wine's own services, started with the first program,
        # inherit the pipes and outlive it, and a pipe read would wait for them.
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            done = subprocess.run(self.command(program, *args), stdin=subprocess.DEVNULL,
                                  stdout=out, stderr=err, env=self.env, timeout=timeout)
            out.seek(0)
            err.seek(0)
            return subprocess.CompletedProcess(
                done.args, done.returncode, out.read().decode("utf-8").replace("\r\n", "\n"),
                err.read().decode("utf-8", "replace").replace("\r\n", "\n"))

    def close(self):
        if self.wine:
            subprocess.run([self.wineserver, "-k"], env=self.env)
            subprocess.run([self.wineserver, "-w"], env=self.env)


def reg(tool, machine, *args):
    return machine.run(tool, *args)


def export_lines(tool, machine, key=None):
    result = reg(tool, machine, "export", *([key] if key else []))
    if result.returncode != 0:
        return None, result.stderr
    return normalise(result.stdout), None


def normalise(text):
    lines = [line.rstrip("\r") for line in text.split("\n")]
    while lines and not lines[-1].strip():
        lines.pop()
    return lines


def values_by_name(lines):
    """The export with each key's value lines sorted by name, for Wine's registry."""
    result, block = [], []
    for line in lines + ["["]:
        if line.startswith('"') or line.startswith("@"):
            block.append(line)
            continue
        result += sorted(block, key=lambda v: v.split("=", 1)[0].lower())
        block = []
        result.append(line)
    return result[:-1]


def first_key(lines):
    for line in lines:
        if line.startswith("[") and line.endswith("]"):
            return line[1:-1]
    return None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--session", required=True, help="the ketra-session executable")
    parser.add_argument("--reg", required=True, help="the ketra-reg executable")
    parser.add_argument("--wine", help="run the Windows programs with this Wine loader")
    parser.add_argument("--wineserver", default="wineserver", help="that Wine's server program")
    parser.add_argument("--wine-prefix", help="a prepared Wine prefix, copied for the case")
    parser.add_argument("case", help="path prefix of the case's files")
    opts = parser.parse_args()
    case = opts.case
    failures = []
    if opts.wine and not opts.wine_prefix:
        sys.exit("--wine needs --wine-prefix")

    with tempfile.TemporaryDirectory(prefix="ketra-session-") as tmp:
        machine = Machine(tmp, opts.wine, opts.wineserver, opts.wine_prefix)
        try:
            status = run_case(opts, case, machine, failures)
        finally:
            machine.close()
    return status


def run_case(opts, case, machine, failures):
    if os.path.exists(case + ".hive.reg"):
        result = reg(opts.reg, machine, "import", case + ".hive.reg")
        if result.returncode != 0:
            sys.exit(f"import of {case}.hive.reg failed: {result.stderr}")
    before = None
    if os.path.exists(case + ".unchanged"):
        before, error = export_lines(opts.reg, machine)
        if before is None:
            sys.exit(f"export before the run failed: {error}")

    args = []
    if os.path.exists(case + ".args"):
        with open(case + ".args", encoding="utf-8") as f:
            args = [line.strip() for line in f if line.strip() and not line.startswith("#")]
    if "--app-path" not in args:
        app = case + ".app"
        args += ["--app-path", os.path.abspath(app) if os.path.isdir(app) else "/opt/ketra"]
    run = machine.run(opts.session, *args, case + ".session")
    if run.returncode != 0:
        failures.append(f"exit status {run.returncode}; stderr: {run.stderr.strip()}")
    if run.stderr.strip():
        print("stderr:", run.stderr.strip())

    actual = []
    for number, line in enumerate(run.stdout.splitlines(), 1):
        try:
            actual.append(json.loads(line))
        except json.JSONDecodeError:
            failures.append(f"output line {number} is not JSON: {line!r}")
            actual.append(None)
    expected = read_expected(case + ".expected.jsonl")
    for index in range(max(len(expected), len(actual))):
        if index >= len(expected):
            failures.append(f"output line {index + 1} not expected: "
                            f"{json.dumps(actual[index])}")
            continue
        number, want = expected[index]
        if index >= len(actual):
            failures.append(f"missing output line {index + 1} "
                            f"(expected.jsonl:{number}): {json.dumps(want)}")
            continue
        if not matches(want, actual[index]):
            failures.append(f"output line {index + 1} (expected.jsonl:{number}) differs\n"
                            f"    expected: {json.dumps(want)}\n"
                            f"    actual:   {json.dumps(actual[index])}")

    if before is not None:
        after, error = export_lines(opts.reg, machine)
        if after != before:
            failures.append("the hive changed:\n  before: " + "\n  ".join(before) +
                            "\n  after: " + "\n  ".join(after or [error]))
    if os.path.exists(case + ".after.reg"):
        with open(case + ".after.reg", encoding="utf-8") as f:
            want_reg = normalise(f.read())
        key = first_key(want_reg)
        got_reg, error = export_lines(opts.reg, machine, key)
        if got_reg is not None and opts.wine:
            want_reg, got_reg = values_by_name(want_reg), values_by_name(got_reg)
        if got_reg is None:
            failures.append(f"export of {key} failed: {error}")
        elif got_reg != want_reg:
            for index in range(max(len(want_reg), len(got_reg))):
                w = want_reg[index] if index < len(want_reg) else "<none>"
                g = got_reg[index] if index < len(got_reg) else "<none>"
                if w != g:
                    failures.append(f"hive export line {index + 1} differs\n"
                                    f"    expected: {w}\n    actual:   {g}")
                    break

    if failures:
        print(f"FAIL {os.path.basename(case)}")
        for failure in failures:
            print("  " + failure)
        print("--- full output ---")
        print(run.stdout)
        return 1
    print(f"ok {os.path.basename(case)}: {len(actual)} lines")
    return 0


if __name__ == "__main__":
    sys.exit(main())
