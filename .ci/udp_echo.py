#!/usr/bin/env python3
"""The satellite terminal's stand-in for the CI jobs: a UDP echo on 127.0.0.1.

    udp_echo.py PORT_FILE

Binds the first free port from 25100 (the panel keeps UDP ports as 16-bit signed numbers, so
the terminal's port stays below 32768), writes it to PORT_FILE, then sends every datagram back
to its sender and logs it on stdout.
"""
import socket
import sys

s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
for port in range(25100, 25400):
    try:
        s.bind(("127.0.0.1", port))
        break
    except OSError:
        pass
else:
    sys.exit("udp_echo.py: no free port from 25100 to 25399")
with open(sys.argv[1], "w") as f:
    f.write(str(s.getsockname()[1]))
while True:
    data, peer = s.recvfrom(65536)
    s.sendto(data, peer)
    print("echoed", len(data), "bytes to", peer, flush=True)
