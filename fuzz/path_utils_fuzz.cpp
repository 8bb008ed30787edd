// The path utilities, the path stack and the pseudo-scheme URL helpers on arbitrary text: results must be
// NUL-terminated texts and segments must lie inside their input.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_text.hpp"
#include "vonautil.h"

namespace {

void inside(str_seg seg, const char* text) {
  size_t length = strlen(text);
  if (seg.length < 0 || (seg.length > 0 && (seg.start < text || (size_t)(seg.start - text) + seg.length > length))) {
    abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  char* text = fuzz_text(data, size);
  // Two texts: split at the first tab.
  char* second = strchr(text, '\t');
  if (second != nullptr) *second++ = '\0';
  const char* b = second != nullptr ? second : "";

  free(path_utils_join_path(text, b));
  free(path_utils_get_dir_path(text));
  inside(path_utils_dirname_seg(text), text);
  inside(path_utils_basename_without_ext(text), text);
  inside(path_utils_get_base_path_seg(text), text);
  inside(path_utils_get_base_url_seg(text), text);
  path_utils_get_ext(text);
  path_utils_has_extension(text, b);
  path_utils_is_prefix(b, text);
  free(path_utils_get_first_name_of_rel_path(text, b));
  free(path_utils_resolve_relative_path(text, b, "/", 1));
  free(path_utils_resolve_relative_url(text, b));
  free(path_utils_get_rel_path(text, (int)strlen(text), b, (int)strlen(b)));
  free(path_utils_apply_rel_path(text, (int)strlen(text), b, (int)strlen(b)));
  string_builder_free(path_utils_create_builder_from_path(text));
  str_seg rest = {text, (int)strlen(text)};
  for (int i = 0; i < 64 && rest.length > 0; ++i) inside(path_utils_rshift(&rest), text);

  str_seg protocol, host, path;
  if (url_utils_parse_url(text, &protocol, &host, &path)) {
    inside(protocol, text);
    inside(host, text);
    inside(path, text);
  }
  inside(url_utils_get_proto(text), text);
  inside(url_utils_chomp_vona_params_seg(str_seg{text, (int)strlen(text)}), text);
  char buffer[256];
  url_utils_chomp_vona_params(text, buffer, sizeof buffer);
  url_utils_remove_extra_slashes(buffer, sizeof buffer, text);
  url_utils_url_is_system_path(text);
  free(url_utils_replace_filename(text, b));
  // The folder browser's path stack: names pushed and popped again, and the external form.
  fs_path* stack = fs_path_create_public(text);
  if (fs_path_push(stack, b) != nullptr) {
    fs_path* copied = fs_path_copy(stack);
    if (strcmp(fs_path_top_name(copied), fs_path_top_name(stack)) != 0) abort();
    fs_path_free(copied);
    fs_path_pop(stack);
  }
  if (strcmp(fs_path_top(stack), text) != 0) abort();
  fs_path_free(stack);
  free(FS_path_to_external(text));
  free(FS_path_from_external(text));

  char* copy = strdup(text);
  url_utils_remove_extra_slashes_in_place(copy);
  url_utils_unhack_double_scheme_url(copy);
  path_utils_convert_reversed_slashes(copy);
  free(copy);
  free(text);
  return 0;
}
