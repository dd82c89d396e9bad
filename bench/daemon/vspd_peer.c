/* The far ends of a bridge under test, in C so that the measuring side is never the bottleneck:
 * the program on the pty and the terminal on UDP, in one process.
 *
 *   vspd_peer up   PTY TERMINAL_PORT BRIDGE_PORT BYTES          pty -> bridge -> UDP
 *   vspd_peer down PTY TERMINAL_PORT BRIDGE_PORT BYTES WINDOW   UDP -> bridge -> pty, at most
 *                                                                WINDOW bytes in flight
 *   vspd_peer echo PTY TERMINAL_PORT BRIDGE_PORT ROUNDS         1 byte pty -> UDP -> back -> pty
 *
 * PTY is a path, or "fd:N" for a pty master handed over. Loopback only. Prints one line of
 * "key=value" results. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include "peer_common.h"

int main(int argc, char** argv) {
  if (argc < 6) {
    fprintf(stderr, "usage: vspd_peer up|down|echo PTY TERMINAL_PORT BRIDGE_PORT N [WINDOW]\n");
    return 2;
  }
  const char* mode = argv[1];
  int pty = strncmp(argv[2], "fd:", 3) == 0 ? atoi(argv[2] + 3)
                                             : open(argv[2], O_RDWR | O_NOCTTY | O_NONBLOCK);
  if (pty < 0) die("open pty");
  fcntl(pty, F_SETFL, fcntl(pty, F_GETFL) | O_NONBLOCK);
  struct termios raw;
  if (tcgetattr(pty, &raw) == 0) {
    cfmakeraw(&raw);
    tcsetattr(pty, TCSANOW, &raw);
  }
  int udp = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
  int size = 8 << 20;
  setsockopt(udp, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size);
  setsockopt(udp, SOL_SOCKET, SO_SNDBUFFORCE, &size, sizeof size);
  struct sockaddr_in self = {.sin_family = AF_INET, .sin_port = htons(atoi(argv[3]))};
  struct sockaddr_in bridge = {.sin_family = AF_INET, .sin_port = htons(atoi(argv[4]))};
  self.sin_addr.s_addr = bridge.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(udp, (struct sockaddr*)&self, sizeof self) != 0) die("bind");
  const long n = atol(argv[5]);
  static unsigned char buffer[1 << 16];
  struct pollfd fds[2] = {{pty, POLLIN, 0}, {udp, POLLIN, 0}};

  if (strcmp(mode, "echo") == 0) {
    double* rounds = calloc(n, sizeof *rounds);
    for (long i = 0; i < n; ++i) {
      unsigned char byte = (unsigned char)('a' + i % 26);
      const double start = now();
      if (write(pty, &byte, 1) != 1) die("write pty");
      for (;;) {  // the terminal answers at once
        if (poll(&fds[1], 1, 5000) <= 0) die("echo: no datagram");
        if (recv(udp, buffer, sizeof buffer, 0) > 0) break;
      }
      sendto(udp, buffer, 1, 0, (struct sockaddr*)&bridge, sizeof bridge);
      for (;;) {
        if (poll(&fds[0], 1, 5000) <= 0) die("echo: nothing came back");
        if (read(pty, buffer, sizeof buffer) > 0) break;
      }
      rounds[i] = (now() - start) * 1e6;
    }
    qsort(rounds, n, sizeof *rounds, cmp);
    printf("median_us=%.1f p99_us=%.1f rounds=%ld\n", rounds[n / 2], rounds[n * 99 / 100], n);
    return 0;
  }

  const int up = strcmp(mode, "up") == 0;
  const long window = argc > 6 ? atol(argv[6]) : 1 << 20;
  long sent = 0, got = 0;
  memset(buffer, 'x', sizeof buffer);
  const double start = now();
  double last = start;
  while (got < n) {
    int in_flight_ok = sent < n && (up || sent - got < window);
    fds[0].events = POLLIN | (up && in_flight_ok ? POLLOUT : 0);
    fds[1].events = POLLIN | (!up && in_flight_ok ? POLLOUT : 0);
    if (poll(fds, 2, 2000) <= 0) break;  // 2 s of nothing: what was lost stays lost
    if (up && (fds[0].revents & POLLOUT) && sent < n) {
      const long chunk = n - sent < 4096 ? n - sent : 4096;
      const ssize_t w = write(pty, buffer, chunk);
      if (w > 0) sent += w;
    }
    /* Down, as many datagrams as the window and the kernel take per wake-up: with one per poll
     * this driver, not the bridge, was the bottleneck (its CPU near 90% of the run). */
    while (!up && (fds[1].revents & POLLOUT) && sent < n && sent - got < window) {
      const long chunk = n - sent < 1024 ? n - sent : 1024;
      if (sendto(udp, buffer, chunk, 0, (struct sockaddr*)&bridge, sizeof bridge) <= 0) break;
      sent += chunk;
    }
    const int reader = up ? udp : pty;
    if (fds[up ? 1 : 0].revents & POLLIN) {
      for (;;) {
        const ssize_t r = up ? recv(reader, buffer, sizeof buffer, 0)
                             : read(reader, buffer, sizeof buffer);
        if (r <= 0) break;
        got += r;
        last = now();
      }
    }
  }
  printf("seconds=%.4f bytes=%ld sent=%ld\n", last - start, got, sent);
  return got == n ? 0 : 1;
}
