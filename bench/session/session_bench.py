#!/usr/bin/env python3
"""Whole starts of ketra-session, from exec to exit: `start` then `close`, with 0, 4 and 101 ports,
each on a hive that holds only what the panel uses and on one that also holds 10,000 keys the
panel never reads. The six cases run in turn, round after round (in a new random order each
round), so a machine whose load drifts treats them alike; it prints medians, ranges and ratios, and the
goal: a start with 101 ports and the 10,000 keys at most 1.2 times the same start without them.

    bench/session/session_bench.py [--build DIR] [--rounds N]   (default: build-release, 31)
"""
import argparse
import os
import random
import resource
import statistics
import subprocess
import sys
import tempfile
import time

PORT_COUNTS = (0, 4, 101)
UNRELATED_KEYS = 10_000
GOAL = 1.2


def reg_text(lines):
    return "REGEDIT4\n\n" + "\n".join(lines) + "\n"


def device_map(ports):
    lines = ["[HKEY_LOCAL_MACHINE\\HARDWARE\\DEVICEMAP\\SERIALCOMM]"]
    lines += [f'"\\\\Device\\\\TesSerial{n}"="COM{n + 3}"' for n in range(ports)]
    return reg_text(lines)


def unrelated_keys():
    lines = []
    for n in range(UNRELATED_KEYS):
        lines.append(f"[HKEY_LOCAL_MACHINE\\Software\\Unrelated\\Group{n // 100}\\Key{n}]")
        lines.append(f'"Value"="{n}"')
        lines.append("")
    return reg_text(lines)


def main():
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default=os.path.join(root, "build-release"))
    parser.add_argument("--rounds", type=int, default=31)
    args = parser.parse_args()
    session = os.path.join(args.build, "bin", "ketra-session")
    reg = os.path.join(args.build, "bin", "ketra-reg")
    for tool in (session, reg):
        if not os.access(tool, os.X_OK):
            sys.exit(f"session_bench: {tool} is missing; build the release preset first")

    with tempfile.TemporaryDirectory(prefix="ketra-session-bench-") as tmp:
        script = os.path.join(tmp, "start-close.txt")
        with open(script, "w") as f:
            f.write("start\nclose\n")
        cases = []
        for ports in PORT_COUNTS:
            for extra in (False, True):
                hive = os.path.join(tmp, f"ports{ports}{'-unrelated' if extra else ''}.db")
                texts = [device_map(ports)] + ([unrelated_keys()] if extra else [])
                for text in texts:
                    subprocess.run([reg, "--hive", hive, "import", "-"], input=text.encode(),
                                   check=True)
                command = [session, "--hive", hive, script]
                # The first start writes the defaults of every port; the measured starts are
                # later ones, as a user's are.
                subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
                cases.append(((ports, extra), command))

        times = {name: [] for name, _ in cases}
        cpu = {name: [] for name, _ in cases}
        order = random.Random(13)
        for _ in range(args.rounds):
            order.shuffle(cases)
            for name, command in cases:
                before = resource.getrusage(resource.RUSAGE_CHILDREN)
                begin = time.perf_counter()
                subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
                times[name].append((time.perf_counter() - begin) * 1e3)
                after = resource.getrusage(resource.RUSAGE_CHILDREN)
                cpu[name].append((after.ru_utime + after.ru_stime - before.ru_utime -
                                  before.ru_stime) * 1e3)

    print(f"ketra-session start then close, exec to exit, {args.rounds} alternating rounds")
    print(f"{'ports':>5} {'unrelated keys':>15} {'median ms':>10} {'range ms':>15}"
          f" {'cpu median ms':>14}")
    for (ports, extra), samples in times.items():
        print(f"{ports:>5} {UNRELATED_KEYS if extra else 0:>15} "
              f"{statistics.median(samples):>10.2f} "
              f"{min(samples):>7.2f}-{max(samples):<7.2f} "
              f"{statistics.median(cpu[(ports, extra)]):>14.2f}")
    print("ratio with / without the unrelated keys (median of the rounds' ratios):")
    verdict = True
    for ports in PORT_COUNTS:
        ratios = [a / b for a, b in zip(times[(ports, True)], times[(ports, False)])]
        ratio = statistics.median(ratios)
        cpu_ratio = statistics.median(cpu[(ports, True)]) / statistics.median(cpu[(ports, False)])
        print(f"  {ports:>3} ports: {ratio:.3f} (range {min(ratios):.2f}-{max(ratios):.2f}),"
              f" processor time {cpu_ratio:.3f}")
        if ports == 101:
            verdict = ratio <= GOAL
    base = statistics.median(times[(0, False)])
    print(f"ratio 101 ports / 0 ports: {statistics.median(times[(101, False)]) / base:.3f}")
    print(f"goal: 101 ports with the keys at most {GOAL} times without: "
          f"{'met' if verdict else 'MISSED'}")


if __name__ == "__main__":
    main()
