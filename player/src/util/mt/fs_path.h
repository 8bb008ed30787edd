/* The path stack of a folder browser: for every folder level it has entered, the item's name,
 * its path as the system opens it and its public path as it is shown or handed on.
 *
 * The stack owns every string; results are valid until the next change of the stack. */
#ifndef VONAUTIL_FS_PATH_H
#define VONAUTIL_FS_PATH_H

#include "export.h"

VONA_BEGIN_DECLS

#define FS_PATH_MAX_ITEMS 1000

typedef struct fs_path_item {
  char* name;
  char* path;
  char* public_path;
} fs_path_item;

typedef struct fs_path {
  char* base_path;        /* the path of the level below the first item */
  char* base_public_path; /* its public counterpart */
  fs_path_item* items;    /* room for FS_PATH_MAX_ITEMS, allocated at creation */
  int size;               /* items in use */
} fs_path;

/* Copies both bases. Asserts "base_path" and "base_public_path". */
fs_path* fs_path_create(const char* base_path, const char* base_public_path);
/* The same path as both bases. */
fs_path* fs_path_create_public(const char* path);
/* Null is accepted. */
void fs_path_free(fs_path* stack);
/* A new stack with the same bases into which every item's name is pushed again with
 * fs_path_push, so the copy's paths are always joined from the names. */
fs_path* fs_path_copy(const fs_path* stack);

/* The top item's path (public path); the base when the stack is empty. */
const char* fs_path_top(const fs_path* stack);
const char* fs_path_top_public(const fs_path* stack);
/* The path (public path) of the item below the top; the base with one item. Asserts
 * "fs_path->size > 0". */
const char* fs_path_top_parent(const fs_path* stack);
const char* fs_path_top_parent_public(const fs_path* stack);
/* The top item's name. Asserts "fs_path->size > 0". */
const char* fs_path_top_name(const fs_path* stack);

/* Enters the folder `name` below the top: its paths are the top's joined with the name.
 * Returns the new public path. Asserts "fs_path->size < FS_PATH_MAX_ITEMS". */
const char* fs_path_push(fs_path* stack, const char* name);
/* Enters a folder given by its full paths; its name is the basename of path. Returns the
 * public path. Asserts "fs_path->size < FS_PATH_MAX_ITEMS". */
const char* fs_path_push_top_level(fs_path* stack, const char* path, const char* public_path);
/* Leaves the top folder. Asserts "fs_path->size > 0". */
void fs_path_pop(fs_path* stack);

VONA_END_DECLS

#endif
