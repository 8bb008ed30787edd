// Benchmarks send the library's log lines to /dev/null while they measure.
#ifndef VONAUTIL_BENCH_QUIET_STDERR_HPP
#define VONAUTIL_BENCH_QUIET_STDERR_HPP

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

// Standard error goes to /dev/null while it lives.
class QuietStderr {
 public:
  QuietStderr() : saved_(dup(2)) {
    fflush(stderr);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    close(null);
  }
  ~QuietStderr() {
    fflush(stderr);
    dup2(saved_, 2);
    close(saved_);
  }
  QuietStderr(const QuietStderr&) = delete;
  QuietStderr& operator=(const QuietStderr&) = delete;

 private:
  int saved_;
};

#endif
