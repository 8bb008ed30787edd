/* Recursive file operations: a tree walker with a visitor, and the removal, copy and
 * permission change built on it. Paths are UTF-8, as for the file utilities. */
#ifndef VONAUTIL_ADVANCED_FILE_UTILS_H
#define VONAUTIL_ADVANCED_FILE_UTILS_H

#include <sys/stat.h>
#include <sys/types.h>

#include "export.h"

VONA_BEGIN_DECLS

/* Flags of FS_iterate_recursively. */
enum {
  /* The start path is examined with stat (links followed); without it, with lstat. */
  FS_ITER_FOLLOW_LINKS = 1,
  /* Every entry below the start is examined with stat; without it, with lstat. */
  FS_ITER_FOLLOW_LINKS_BELOW = 2,
  /* A directory is visited before its entries; without it, after them (post-order). */
  FS_ITER_PRE_ORDER = 4,
  /* After an entry failed, go on with the remaining entries and still visit the directory. */
  FS_ITER_CONTINUE_ON_ERROR = 8,
  /* A path that cannot be examined or listed is handed to the visitor with a null status. */
  FS_ITER_VISIT_ERRORS = 16
};

/* Results of a visitor. */
enum {
  FS_VISIT_CANCEL = 0,        /* stop the whole walk */
  FS_VISIT_CONTINUE = 1,
  FS_VISIT_SKIP_CHILDREN = 2, /* pre-order visit of a directory: do not walk its entries */
  FS_VISIT_ERROR = 3          /* error visit: the path counts as failed */
};

/* Called with the path (valid during the call only), its status (null on an error visit) and
 * the caller's context. On an error visit, any result other than FS_VISIT_CANCEL and
 * FS_VISIT_ERROR makes the failure count as handled. */
typedef int (*FS_path_visitor)(const char* path, const struct stat* status, void* context);

/* Walks the tree below `path` in directory order. A path that cannot be examined is logged
 * and, without FS_ITER_VISIT_ERRORS, passed over. So is a directory that is already on the
 * current walk path (a followed link back into it), for the reason ELOOP: walks never loop. Returns 0 when all went well, 1 when
 * something failed (a cancel during an error visit included), -1 when the visitor cancelled.
 * The visitor must not be null. */
int FS_iterate_recursively(const char* path, unsigned int flags, FS_path_visitor path_visitor, void* context);

/* 0 if the path does not exist. Otherwise removes the tree bottom-up (links are removed, not
 * followed) and stops at the first removal that fails: 0 on success, -1 after a failure, with
 * what was reached before it removed. */
int FS_remove_recursively_if_exists(const char* path);

/* Copies one file's bytes through a 128 KiB buffer, creating or truncating the destination.
 * 0 on success; -1 (or the failing close's result) on failure, with the failure's errno in
 * *error_out (0 on success). Failures are logged. */
int FS_copy_file(const char* source, const char* destination);
int FS_copy_file_ext(const char* source, const char* destination, int* error_out);

/* Copies a tree, directories first: directories are created (an existing one is reused),
 * files copied, and both given the source's permission bits; symbolic links are recreated as
 * links unless followed. follow_links follows a link given as the source itself,
 * follow_links_below every link inside. The destination of each entry is the destination
 * root followed by the source path below the source root, taken as printf format text: "%%"
 * in a name becomes "%", and other conversions expand as for a zero or empty argument.
 * 1 on success, 0 when the copy stopped at a failure (logged). */
int FS_copy_recursively(const char* source, const char* destination, int follow_links, int follow_links_below);

/* FS_copy_recursively with every name copied as it is ("a%d" stays "a%d"), for trees whose
 * names are not format text, such as a user's files. A destination path longer than 4095
 * bytes stops the copy (logged) instead of being cut. */
int FS_copy_recursively_verbatim(const char* source, const char* destination, int follow_links,
                                 int follow_links_below);

/* Operations of FS_chmod_recursively. */
enum { FS_CHMOD_ADD = 0, FS_CHMOD_REMOVE = 1, FS_CHMOD_SET = 2 };

/* Changes the permission bits of every entry of the tree, bottom-up: FS_CHMOD_ADD adds the bits
 * of `mode`, FS_CHMOD_REMOVE removes them, FS_CHMOD_SET sets the mode to `mode`; any other
 * operation re-applies each entry's mode. Only the permission, set-id and sticky bits (0xfff)
 * change. Symbolic links are passed over: chmod would change their targets, which may lie
 * outside the tree. Goes on after failures. */
void FS_chmod_recursively(const char* path, int operation, mode_t mode);

VONA_END_DECLS

#endif
