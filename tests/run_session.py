#!/usr/bin/env python3
"""Runs one end-to-end session case and checks its output.

A case is a set of files sharing one path prefix, e.g. tests/session/first_run:
  first_run.session          the commands, given to ketra-session as its SCRIPT
  first_run.expected.jsonl   the expected output, one JSON object a line; lines starting with
                             '#' and blank lines are notes; a string "<any>" matches any string
  first_run.hive.reg         optional: imported with ketra-reg into the fresh hive first
  first_run.args             optional: more ketra-session arguments, one a line
                             (default --app-path /opt/ketra when none names --app-path)
  first_run.after.reg        optional: after the run, the export of the first key it names
                             must equal it line for line
  first_run.unchanged        optional marker: the whole hive must export the same after the
                             run as before it

Outputs are compared line by line as JSON values, so key order and spacing inside a line do not
matter to the comparison; the session's own key order is checked by its unit tests.
"""
import argparse
import json
import os
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


def reg(tool, hive, *args, stdin=None):
    return subprocess.run([tool, "--hive", hive, *args], capture_output=True, text=True,
                          encoding="utf-8", input=stdin)


def export_lines(tool, hive, key=None):
    result = reg(tool, hive, "export", *([key] if key else []))
    if result.returncode != 0:
        return None, result.stderr
    return normalise(result.stdout), None


def normalise(text):
    lines = [line.rstrip("\r") for line in text.split("\n")]
    while lines and not lines[-1].strip():
        lines.pop()
    return lines


def first_key(lines):
    for line in lines:
        if line.startswith("[") and line.endswith("]"):
            return line[1:-1]
    return None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--session", required=True, help="the ketra-session executable")
    parser.add_argument("--reg", required=True, help="the ketra-reg executable")
    parser.add_argument("case", help="path prefix of the case's files")
    opts = parser.parse_args()
    case = opts.case
    failures = []

    with tempfile.TemporaryDirectory(prefix="ketra-session-") as tmp:
        hive = os.path.join(tmp, "hive.db")
        if os.path.exists(case + ".hive.reg"):
            result = reg(opts.reg, hive, "import", case + ".hive.reg")
            if result.returncode != 0:
                sys.exit(f"import of {case}.hive.reg failed: {result.stderr}")
        before = None
        if os.path.exists(case + ".unchanged"):
            before, error = export_lines(opts.reg, hive)
            if before is None:
                sys.exit(f"export before the run failed: {error}")

        args = []
        if os.path.exists(case + ".args"):
            with open(case + ".args", encoding="utf-8") as f:
                args = [line.strip() for line in f if line.strip() and not line.startswith("#")]
        if "--app-path" not in args:
            args += ["--app-path", "/opt/ketra"]
        command = [opts.session, "--hive", hive, *args, case + ".session"]
        run = subprocess.run(command, capture_output=True, text=True, encoding="utf-8",
                             timeout=60)
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
            after, error = export_lines(opts.reg, hive)
            if after != before:
                failures.append("the hive changed:\n  before: " + "\n  ".join(before) +
                                "\n  after: " + "\n  ".join(after or [error]))
        if os.path.exists(case + ".after.reg"):
            with open(case + ".after.reg", encoding="utf-8") as f:
                want_reg = normalise(f.read())
            key = first_key(want_reg)
            got_reg, error = export_lines(opts.reg, hive, key)
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
