// The tool's readers of outside files on arbitrary bytes: the transport stream scanner, the
// firmware file inspector, the line streams of the text commands and the properties dump. The
// first byte chooses the command, the second the encodings of a conversion.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "../tools/command.hpp"
#include "fuzz_file.hpp"

namespace {

int run(const std::string& name, const std::vector<std::string>& args) {
  for (const tool::Command& command : tool::commands()) {
    if (name == command.name) return command.run(args);
  }
  abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool quiet = freopen("/dev/null", "w", stdout) != nullptr;  // failures still go to standard error
  if (!quiet || size < 2) return 0;
  std::string path = fuzz_file(data + 2, size - 2);
  static const char* const kEncodings[] = {"utf8", "cp1251", "cp1255", "big5", "gb2312", "euckr"};
  const char* from = kEncodings[data[1] % 6];
  const char* to = kEncodings[data[1] / 6 % 6];
  int status;
  switch (data[0] % 7) {
    case 0: status = run("ts", {"check", path}); break;
    case 1: status = run("fw", {"inspect", path}); break;
    case 2: status = run("text", {"convert", "--from", from, "--to", to, path}); break;
    case 3: status = run("text", {"detect", "--lang", "russian", path}); break;
    case 4: status = run("text", {"sort", path}); break;
    case 5: status = run("natsort", {path}); break;
    default: status = run("props", {"dump", path}); break;
  }
  if (status != tool::kOk && status != tool::kFailed) abort();  // never a usage error here
  return 0;
}
