/* The far ends of many bridged ports at once, for the scale benchmark: on every port the program
 * keeps WINDOW messages of SIZE bytes in flight through the pty, the terminal sends every datagram
 * straight back, and each message's round trip (pty -> bridge -> UDP -> terminal -> bridge -> pty)
 * is timed. All ports run at once in one epoll loop, in C so the measuring side is not the
 * bottleneck.
 *
 *   vspd_many PORTS_FILE SECONDS WINDOW SIZE
 *
 * PORTS_FILE has a line "PTY TERMINAL_PORT BRIDGE_PORT" per port. Loopback only. Prints one line
 * of "key=value": ports, seconds, bytes (echoed, one way), mbps (MB/s one way), messages,
 * p50_us and p99_us (the median over the ports of each port's median and 99th percentile),
 * worst_p99_us, idle_ports (ports that completed no message). */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include "peer_common.h"

struct port {
  int pty, udp;
  struct sockaddr_in bridge;
  long sent, received;   /* bytes the program wrote and read back */
  double* started;       /* send time of each message in flight, a ring of WINDOW */
  double* rounds;        /* completed round trips, us */
  long round_count, round_capacity;
};

static long window, size;
static unsigned char message[65536];

/* Writes the next message; a pty that takes only part of it gets the rest at the next write. */
static void send_message(struct port* p) {
  const long in_message = p->sent % size;
  const ssize_t w = write(p->pty, message, size - in_message);
  if (w <= 0) return;
  if (in_message == 0) p->started[(p->sent / size) % window] = now();
  p->sent += w;
}

int main(int argc, char** argv) {
  if (argc != 5) {
    fprintf(stderr, "usage: vspd_many PORTS_FILE SECONDS WINDOW SIZE\n");
    return 2;
  }
  struct rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  const double seconds = atof(argv[2]);
  window = atol(argv[3]);
  size = atol(argv[4]);
  memset(message, 'm', sizeof message);
  FILE* list = fopen(argv[1], "r");
  if (!list) die("ports file");
  int count = 0, capacity = 64;
  struct port* ports = calloc(capacity, sizeof *ports);
  char path[4096];
  int terminal_port, bridge_port;
  const int epoll = epoll_create1(0);
  while (fscanf(list, "%4095s %d %d", path, &terminal_port, &bridge_port) == 3) {
    if (count == capacity) ports = realloc(ports, (capacity *= 2) * sizeof *ports);
    struct port* p = &ports[count];
    memset(p, 0, sizeof *p);
    p->pty = open(path, O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (p->pty < 0) die(path);
    struct termios raw;
    if (tcgetattr(p->pty, &raw) == 0) {
      cfmakeraw(&raw);
      tcsetattr(p->pty, TCSANOW, &raw);
    }
    p->udp = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    struct sockaddr_in self = {.sin_family = AF_INET, .sin_port = htons(terminal_port)};
    self.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(p->udp, (struct sockaddr*)&self, sizeof self) != 0) die("bind");
    p->bridge = self;
    p->bridge.sin_port = htons(bridge_port);
    p->started = calloc(window, sizeof(double));
    p->round_capacity = 1024;
    p->rounds = malloc(p->round_capacity * sizeof(double));
    ++count;
  }
  for (int i = 0; i < count; ++i) {
    struct epoll_event e = {.events = EPOLLIN, .data.u64 = (unsigned long)i * 2};
    if (epoll_ctl(epoll, EPOLL_CTL_ADD, ports[i].pty, &e) != 0) die("epoll pty");
    e.data.u64 = (unsigned long)i * 2 + 1;
    if (epoll_ctl(epoll, EPOLL_CTL_ADD, ports[i].udp, &e) != 0) die("epoll udp");
  }
  static unsigned char buffer[65536];
  static struct epoll_event events[512];
  const double start = now(), end = start + seconds;
  for (int i = 0; i < count; ++i) {
    for (long k = 0; k < window; ++k) send_message(&ports[i]);
  }
  while (now() < end) {
    const int ready = epoll_wait(epoll, events, 512, 100);
    for (int e = 0; e < ready; ++e) {
      struct port* p = &ports[events[e].data.u64 / 2];
      if (events[e].data.u64 % 2 == 1) {  /* the terminal: straight back */
        for (;;) {
          const ssize_t r = recv(p->udp, buffer, sizeof buffer, 0);
          if (r <= 0) break;
          sendto(p->udp, buffer, r, 0, (struct sockaddr*)&p->bridge, sizeof p->bridge);
        }
        continue;
      }
      for (;;) {  /* the program: what came back completes messages */
        const ssize_t r = read(p->pty, buffer, sizeof buffer);
        if (r <= 0) break;
        const long before = p->received / size;
        p->received += r;
        const double t = now();
        for (long m = before; m < p->received / size; ++m) {
          if (p->round_count == p->round_capacity) {
            p->rounds = realloc(p->rounds, (p->round_capacity *= 2) * sizeof(double));
          }
          p->rounds[p->round_count++] = (t - p->started[m % window]) * 1e6;
        }
      }
      while (p->sent - p->received < window * size && now() < end) {
        const long sent = p->sent;
        send_message(p);  /* a new message, or the rest of one the pty took in part */
        if (p->sent == sent) break;
      }
    }
  }
  const double elapsed = now() - start;
  long bytes = 0, messages = 0, idle = 0;
  double* p50 = calloc(count, sizeof(double));
  double* p99 = calloc(count, sizeof(double));
  int measured = 0;
  double worst = 0;
  for (int i = 0; i < count; ++i) {
    struct port* p = &ports[i];
    bytes += p->received;
    messages += p->round_count;
    if (p->round_count == 0) {
      ++idle;
      continue;
    }
    qsort(p->rounds, p->round_count, sizeof(double), cmp);
    p50[measured] = p->rounds[p->round_count / 2];
    p99[measured] = p->rounds[p->round_count * 99 / 100];
    if (p99[measured] > worst) worst = p99[measured];
    ++measured;
  }
  qsort(p50, measured, sizeof(double), cmp);
  qsort(p99, measured, sizeof(double), cmp);
  printf("ports=%d seconds=%.3f bytes=%ld mbps=%.3f messages=%ld p50_us=%.1f p99_us=%.1f "
         "worst_p99_us=%.1f idle_ports=%ld\n",
         count, elapsed, bytes, bytes / elapsed / 1e6, messages,
         measured ? p50[measured / 2] : 0.0, measured ? p99[measured / 2] : 0.0, worst, idle);
  return 0;
}
