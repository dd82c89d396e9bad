/* What the C far ends of the daemon's benchmarks share: a monotonic clock in seconds, the
 * comparison for qsort'ing measured times, and the exit on a failed system call. */
#ifndef KETRA_BENCH_DAEMON_PEER_COMMON_H
#define KETRA_BENCH_DAEMON_PEER_COMMON_H

#include <stdio.h>
#include <stdlib.h>
#include <time.h>

static inline double now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec + t.tv_nsec / 1e9;
}

static inline int cmp(const void* a, const void* b) {
  const double x = *(const double*)a, y = *(const double*)b;
  return x < y ? -1 : x > y;
}

static inline void die(const char* what) {
  perror(what);
  exit(2);
}

#endif
