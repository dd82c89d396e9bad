// FUZZ_CHECK: the fuzz targets' assertion. A broken property prints what broke and aborts, which
// libFuzzer reports as a crash and saves the input that caused it.
#ifndef KETRA_FUZZ_FUZZ_CHECK_H_
#define KETRA_FUZZ_FUZZ_CHECK_H_

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                            \
  do {                                                                                   \
    if (!(condition)) {                                                                  \
      std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                      \
    }                                                                                    \
  } while (false)

#endif  // KETRA_FUZZ_FUZZ_CHECK_H_
