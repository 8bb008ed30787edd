#include "player/src/util/mt/fixed_path.hpp"

#include <cstdlib>
#include <cstring>

namespace vona {

std::string fixed_path(const char* path) {
  const char* root = getenv("VONAUTIL_ROOT");
  if (root == nullptr || *root == '\0' || path[0] != '/') return path;
  size_t root_length = strlen(root);
  while (root_length > 0 && root[root_length - 1] == '/') --root_length;
  std::string resolved(root, root_length);
  resolved += path;
  return resolved;
}

}  // namespace vona

char* fixed_path_resolve(const char* path) {
  if (path == nullptr) return nullptr;
  return strdup(vona::fixed_path(path).c_str());
}
