#include "player/src/util/mt/fs_path.h"

#include <cstdlib>

#include "player/src/util/mt/path_utils.hpp"

using vona::copy_string;

// The assertions name the stack `fs_path`, so the parameters carry that name.

fs_path* fs_path_create(const char* base_path, const char* base_public_path) {
  MY_ASSERT(base_path);
  MY_ASSERT(base_public_path);
  fs_path* stack = (fs_path*)vona::realloc_or_abort(nullptr, sizeof(fs_path));
  stack->base_path = copy_string(base_path);
  stack->base_public_path = copy_string(base_public_path);
  stack->items = (fs_path_item*)vona::realloc_or_abort(nullptr, sizeof(fs_path_item) * FS_PATH_MAX_ITEMS);
  stack->size = 0;
  return stack;
}

fs_path* fs_path_create_public(const char* path) { return fs_path_create(path, path); }

void fs_path_free(fs_path* fs_path) {
  if (fs_path == nullptr) return;
  while (fs_path->size > 0) fs_path_pop(fs_path);
  free(fs_path->items);
  free(fs_path->base_path);
  free(fs_path->base_public_path);
  free(fs_path);
}

fs_path* fs_path_copy(const fs_path* fs_path) {
  struct fs_path* copy = fs_path_create(fs_path->base_path, fs_path->base_public_path);
  for (int i = 0; i < fs_path->size; ++i) fs_path_push(copy, fs_path->items[i].name);
  return copy;
}

const char* fs_path_top(const fs_path* fs_path) {
  return fs_path->size > 0 ? fs_path->items[fs_path->size - 1].path : fs_path->base_path;
}

const char* fs_path_top_public(const fs_path* fs_path) {
  return fs_path->size > 0 ? fs_path->items[fs_path->size - 1].public_path : fs_path->base_public_path;
}

const char* fs_path_top_parent(const fs_path* fs_path) {
  MY_ASSERT(fs_path->size > 0);
  return fs_path->size > 1 ? fs_path->items[fs_path->size - 2].path : fs_path->base_path;
}

const char* fs_path_top_parent_public(const fs_path* fs_path) {
  MY_ASSERT(fs_path->size > 0);
  return fs_path->size > 1 ? fs_path->items[fs_path->size - 2].public_path : fs_path->base_public_path;
}

const char* fs_path_top_name(const fs_path* fs_path) {
  MY_ASSERT(fs_path->size > 0);
  return fs_path->items[fs_path->size - 1].name;
}

const char* fs_path_push(fs_path* fs_path, const char* name) {
  MY_ASSERT(fs_path->size < FS_PATH_MAX_ITEMS);
  char* path = path_utils_join_path(fs_path_top(fs_path), name);
  char* public_path = path_utils_join_path(fs_path_top_public(fs_path), name);
  fs_path_item item = {copy_string(name), path, public_path};
  fs_path->items[fs_path->size++] = item;
  return item.public_path;
}

const char* fs_path_push_top_level(fs_path* fs_path, const char* path, const char* public_path) {
  MY_ASSERT(fs_path->size < FS_PATH_MAX_ITEMS);
  fs_path_item item = {copy_string(path_utils_basename(path)), copy_string(path), copy_string(public_path)};
  fs_path->items[fs_path->size++] = item;
  return item.public_path;
}

void fs_path_pop(fs_path* fs_path) {
  MY_ASSERT(fs_path->size > 0);
  fs_path_item* top = &fs_path->items[--fs_path->size];
  free(top->name);
  free(top->path);
  free(top->public_path);
}
