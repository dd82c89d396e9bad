/* The least a bridge can do, as the limit for ketra-vspd: one pty and one UDP socket, one read and
 * one sendto per readiness, one recv and a blocking write into the pty per datagram.
 *
 *   min_bridge LOCAL_PORT REMOTE_PORT     prints the pty's path, then relays until killed */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  int master = posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || grantpt(master) || unlockpt(master)) return 1;
  int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
  struct termios raw;
  tcgetattr(slave, &raw);
  cfmakeraw(&raw);
  tcsetattr(slave, TCSANOW, &raw);
  int udp = socket(AF_INET, SOCK_DGRAM, 0);
  int size = 4 << 20;
  setsockopt(udp, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
  setsockopt(udp, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
  struct sockaddr_in local = {.sin_family = AF_INET, .sin_port = htons(atoi(argv[1]))};
  struct sockaddr_in remote = {.sin_family = AF_INET, .sin_port = htons(atoi(argv[2]))};
  local.sin_addr.s_addr = remote.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(udp, (struct sockaddr*)&local, sizeof local)) return 1;
  printf("%s\n", ptsname(master));
  fflush(stdout);
  static unsigned char buffer[1 << 16];
  struct pollfd fds[2] = {{master, POLLIN, 0}, {udp, POLLIN, 0}};
  for (;;) {
    if (poll(fds, 2, -1) < 0) return 1;
    if (fds[0].revents & POLLIN) {
      const ssize_t r = read(master, buffer, 8192);
      if (r > 0) sendto(udp, buffer, r, 0, (struct sockaddr*)&remote, sizeof remote);
    }
    if (fds[1].revents & POLLIN) {
      ssize_t r = recv(udp, buffer, sizeof buffer, 0);
      for (ssize_t at = 0; r > 0 && at < r;) {
        const ssize_t w = write(master, buffer + at, r - at);
        if (w <= 0) break;
        at += w;
      }
    }
  }
}
