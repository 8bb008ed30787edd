#include "lines.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "command.hpp"

namespace tool {

namespace {
constexpr size_t kBlock = 128 * 1024;
}

LineReader::LineReader(const std::string& path)
    : fd_(path.empty() || path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      own_(fd_ != STDIN_FILENO),
      buffer_(kBlock) {
  if (fd_ < 0) error_ = errno;
}

LineReader::~LineReader() {
  if (own_ && fd_ >= 0) close(fd_);
}

// Reads one more block behind the unfinished line, which first moves to the front (and the
// buffer grows only for a line longer than a block).
bool LineReader::fill() {
  if (begin_ > 0) {
    memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (buffer_.size() - end_ < kBlock / 2) buffer_.resize(buffer_.size() + kBlock);
  while (true) {
    ssize_t n = read(fd_, buffer_.data() + end_, buffer_.size() - end_);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      error_ = errno;
      return false;
    }
    if (n == 0) eof_ = true;
    end_ += (size_t)n;
    return n > 0;
  }
}

bool LineReader::take(std::string_view* out, const void* (*find)(const void*, int, size_t)) {
  if (error_ != 0) return false;
  size_t searched = begin_;
  while (true) {
    const void* newline = find(buffer_.data() + searched, '\n', end_ - searched);
    if (newline != nullptr) {
      size_t stop = (size_t)(static_cast<const char*>(newline) - buffer_.data()) + 1;
      *out = std::string_view(buffer_.data() + begin_, stop - begin_);
      begin_ = stop;
      return true;
    }
    searched = end_ - begin_;  // where the search goes on after fill() moved the line to the front
    if (eof_ || !fill()) {
      if (error_ != 0 || begin_ == end_) return false;
      *out = std::string_view(buffer_.data() + begin_, end_ - begin_);  // a last line without '\n'
      begin_ = end_;
      return true;
    }
  }
}

namespace {
const void* first_newline(const void* p, int c, size_t n) { return memchr(p, c, n); }
const void* last_newline(const void* p, int c, size_t n) { return memrchr(p, c, n); }
}  // namespace

bool LineReader::next(std::string_view* line) { return take(line, first_newline); }

bool LineReader::next_lines(std::string_view* lines) { return take(lines, last_newline); }

bool write_out(std::string_view bytes) { return fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size(); }

bool read_all_lines(const std::string& path, std::vector<std::string>* lines) {
  LineReader reader(path);
  std::string_view line;
  while (reader.next(&line)) {
    if (!line.empty() && line.back() == '\n') line.remove_suffix(1);
    lines->emplace_back(line);
  }
  errno = reader.error();
  return errno == 0;
}

int sort_lines(const char* command, const std::string& path, bool (*less)(const char*, const char*)) {
  std::vector<std::string> lines;
  if (!read_all_lines(path, &lines)) {
    return failure(command, "cannot read '" + (path.empty() ? std::string("-") : path) + "': " + strerror(errno));
  }
  std::stable_sort(lines.begin(), lines.end(),
                   [less](const std::string& a, const std::string& b) { return less(a.c_str(), b.c_str()); });
  for (std::string& line : lines) {
    line += '\n';
    if (!write_out(line)) return failure(command, std::string("cannot write the output: ") + strerror(errno));
  }
  return kOk;
}

}  // namespace tool
