// Line-by-line input and checked output of the tool's text commands: files are read in
// fixed-size blocks, so that only the current line is held, and every byte of a line passes
// through as it is (NUL bytes and a missing last line feed included).
#ifndef VONAUTIL_TOOL_LINES_HPP
#define VONAUTIL_TOOL_LINES_HPP

#include <string>
#include <string_view>
#include <vector>

namespace tool {

class LineReader {
 public:
  // "-" or an empty path reads standard input.
  explicit LineReader(const std::string& path);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  // The next line with its '\n' if it has one, valid until the next call; false at the end of
  // the input or after a failure (see error()).
  bool next(std::string_view* line);
  // The complete lines that follow, as many as one block holds (at least one, and a longer
  // line whole), each with its '\n', or the last line without one; valid until the next call.
  // false at the end of the input or after a failure (see error()).
  bool next_lines(std::string_view* lines);
  // 0, or the errno of a failed open or read.
  int error() const { return error_; }

 private:
  bool fill();
  // next() and next_lines(): the text up to the first or the last '\n' found by `find`.
  bool take(std::string_view* out, const void* (*find)(const void*, int, size_t));

  int fd_;
  bool own_;
  std::vector<char> buffer_;
  size_t begin_ = 0, end_ = 0;
  bool eof_ = false;
  int error_ = 0;
};

// Writes bytes to standard output; false, with errno set, when they could not all be written.
bool write_out(std::string_view bytes);

// Reads every line of `path` without its '\n'; false, with errno set, when it cannot be read.
bool read_all_lines(const std::string& path, std::vector<std::string>* lines);

// Sorts lines stably by `less` (which sees each line up to its first NUL byte) and writes
// them, each followed by '\n'. Returns the exit status, with the reason of a failure on
// standard error under `command`.
int sort_lines(const char* command, const std::string& path, bool (*less)(const char*, const char*));

}  // namespace tool

#endif
