// Benchmarks send the library's log lines (standard error) and the output a capture echoes
// (standard output) to /dev/null while they measure.
#ifndef VONAUTIL_BENCH_QUIET_HPP
#define VONAUTIL_BENCH_QUIET_HPP

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

// The stream goes to /dev/null while the object lives.
class Quiet {
 public:
  explicit Quiet(FILE* stream) : stream_(stream), saved_(dup(fileno(stream))) {
    fflush(stream_);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, fileno(stream_));
    close(null);
  }
  ~Quiet() {
    fflush(stream_);
    dup2(saved_, fileno(stream_));
    close(saved_);
  }
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;

 private:
  FILE* stream_;
  int saved_;
};

#endif
