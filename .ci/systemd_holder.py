#!/usr/bin/python3
# A program that holds a serial port, as a user's program would, while the systemd job restarts,
# upgrades or kills the service under it: opens the port with pyserial, writes a numbered line
# every 50 ms and reads back what the terminal (a UDP echo) returns, until STOP_FILE appears; then
# reads for two more seconds and writes what it saw to SUMMARY as JSON: lines sent, lines back,
# lines missing and doubled, bytes that were no line, and every error the port gave. Meanwhile
# SUMMARY.progress holds how many lines have come back so far, so that the job can see the
# program go on after each event.
#   systemd_holder.py PORT SUMMARY STOP_FILE
import json
import os
import select
import sys
import time

import serial

link, summary_path, stop_path = sys.argv[1:4]
port = serial.Serial(link, 115200, timeout=0)
sent = 0
counts = {}
garbage = 0
errors = []
pending = b""
next_send = time.monotonic()
next_progress = next_send
stop_at = None
while True:
    now = time.monotonic()
    if stop_at is None and os.path.exists(stop_path):
        stop_at = now + 2.0
    if stop_at is not None and now >= stop_at:
        break
    if now >= next_progress:
        with open(summary_path + ".progress.new", "w") as out:
            out.write("%d\n" % len(counts))
        os.replace(summary_path + ".progress.new", summary_path + ".progress")
        next_progress += 0.2
    if stop_at is None and now >= next_send:
        try:
            port.write(b"%08d\n" % sent)
        except Exception as error:  # pyserial raises SerialException for EIO and the like
            errors.append("write of line %d: %s" % (sent, error))
        sent += 1
        next_send += 0.05
    try:
        ready, _, _ = select.select([port.fileno()], [], [], 0.01)
        data = port.read(4096) if ready else b""
    except Exception as error:
        errors.append("read: %s" % error)
        time.sleep(0.05)  # a hung-up pty stays readable; do not spin
        data = b""
    pending += data
    while b"\n" in pending:
        line, pending = pending.split(b"\n", 1)
        if len(line) == 8 and line.isdigit():
            number = int(line)
            counts[number] = counts.get(number, 0) + 1
        else:
            garbage += len(line) + 1
summary = {
    "sent": sent,
    "back": sum(1 for n in counts if n < sent),
    "missing": sum(1 for n in range(sent) if n not in counts),
    "doubled": sum(c - 1 for c in counts.values()),
    "garbage_bytes": garbage + len(pending),
    "errors": len(errors),
    "first_errors": errors[:5],
}
with open(summary_path, "w") as out:
    json.dump(summary, out)
