/* File utilities: the library's one road to the file system.
 *
 * Every path argument is UTF-8 (the library's internal form). Before each system call it is
 * converted to the encoding of the file system it lies on, and the converted copy, when one
 * was made, is freed before return. Unless said otherwise, results are those of the system
 * call: 0 (or a descriptor, a stream) on success, -1 (or null) with errno on failure.
 *
 * All functions may run in any thread at once. The open-directory table is process-wide:
 * at most 100 directories are open through FS_opendir at any time, and its three functions
 * hold the table's mutex for their whole run. */
#ifndef VONAUTIL_FILE_UTILS_H
#define VONAUTIL_FILE_UTILS_H

#include <dirent.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/types.h>

#include "basic_string_array.h"
#include "export.h"

VONA_BEGIN_DECLS

/* ---- Plain wrappers -------------------------------------------------------------------- */

int FS_open(const char* path, int flags);
int FS_open_with_mode(const char* path, int flags, mode_t mode);
FILE* FS_fopen(const char* path, const char* mode);
int FS_stat(const char* path, struct stat* status);
int FS_lstat(const char* path, struct stat* status);
int FS_access(const char* path, int access_mode);
int FS_mkdir(const char* path, mode_t mode);
int FS_rmdir(const char* path);
int FS_unlink(const char* path);
int FS_rename(const char* old_path, const char* new_path);
/* symlink(2): creates link_path pointing at link_target. */
int FS_soft_link(const char* link_target, const char* link_path);
int FS_chmod(const char* path, mode_t mode);

/* ---- Predicates (1 or 0) --------------------------------------------------------------- */

/* stat succeeds: anything, directories too. */
int FS_file_exists(const char* path);
/* The path opens for reading with fopen mode "r". */
int FS_path_exists(const char* path);
/* FS_opendir succeeds (the handle is closed at once). */
int FS_dir_exists(const char* path);
/* stat (links followed) succeeds and gives a directory / a regular file. */
int FS_is_dir(const char* path);
int FS_is_regular_file(const char* path);
/* 1 when the directory holds an entry other than ".", ".." and "lost+found". 0 when it holds
 * none, and 0 after perror("opendir") or perror("readdir") when it cannot be listed. */
int FS_dir_contains_files(const char* path);

/* ---- Directories ----------------------------------------------------------------------- */

/* One slot of the open-directory table. */
typedef struct fs_dir_handle {
  DIR* dir;          /* the directory stream; null for a free slot */
  int name_encoding; /* the names' encoding on the directory's file system; 0 = UTF-8 */
  char* name;        /* the last name returned, owned by the handle */
} fs_dir_handle;

/* Null when the directory cannot be opened, or (after "Opened dirs limit exceeded" on
 * standard error, errno EMFILE) when all 100 slots are taken. */
fs_dir_handle* FS_opendir(const char* path);
/* The next name ("." and ".." included), owned by the handle and valid until the next
 * FS_readdir or FS_closedir on it; null at the end. */
const char* FS_readdir(fs_dir_handle* handle);
/* Closes the stream and frees the slot; the result of closedir. */
int FS_closedir(fs_dir_handle* handle);

/* The entry names other than "." and "..", in the order the directory yields them; null if
 * the directory cannot be opened. The caller frees the array. */
string_array* FS_scandir(const char* path);

/* mkdir; an existing object of any kind (EEXIST) counts as success. 0 or -1. */
int FS_ensure_dir(const char* path, mode_t mode);
/* Creates every missing directory along the path: "/a/b/c" ensures "/a", "/a/b", "/a/b/c" in
 * that order. Components are stripped of white space and empty ones skipped. 0, or the first
 * failing result of FS_ensure_dir. */
int FS_ensure_dirs(const char* path, mode_t mode);

/* ---- Whole files ----------------------------------------------------------------------- */

/* A new NUL-terminated buffer of max_size + 1 bytes with the first max_size bytes of the file
 * at most; null if the file cannot be opened or a read error occurs. A max_size below 1 gives
 * an empty string without reading (the file must still open). */
char* FS_read_string(const char* path, int max_size);
/* The whole of a regular file; null for anything else, a symbolic link to a regular file
 * included (the path is examined with lstat). The _ext form also stores the size read. */
char* FS_read_string_unlimited(const char* path);
char* FS_read_string_unlimited_ext(const char* path, int* size_out);
/* Reads at most buffer_size - 1 bytes from `offset` on into buffer and NUL-terminates; the
 * count read, or -1 if the file cannot be opened, the seek fails or a read error occurs. */
int FS_read_to_buffer(const char* path, long long offset, char* buffer, int buffer_size);
/* One fgets of at most size - 1 characters. 1 whenever the file opened, even if nothing was
 * read (the buffer is then untouched); 0 otherwise. */
int FS_read_one_line(const char* path, char* buffer, int size);
/* The file's lines without "\n" or "\r\n"; a line longer than max_line_size (> 0) arrives as
 * several entries. max_lines (>= 0) limits the count, 0 means no limit. Null if the file
 * cannot be opened. */
string_array* FS_readlines(const char* path, int max_line_size, int max_lines);

/* Writing creates or truncates the file (fopen mode "w").
 * FS_writedata writes the bytes as one record: 1 only if the record was written and the
 * stream closed without error, else 0. So a size of 0 gives 0, although the file has been
 * created empty. FS_writestring is FS_writedata of the text without its NUL. */
int FS_writedata(const char* path, const void* data, int size);
int FS_writestring(const char* path, const char* string);
/* Each string followed by "\n": 0 as soon as one write fails, else 1 if the close succeeds.
 * An empty array leaves an empty file and gives 1. */
int FS_writelines(const char* path, const string_array* lines);
/* 0, or -1 after printing "FS_create_file(): failed to create file PATH: ERROR" (with no
 * line end) to standard output. */
int FS_create_empty_file(const char* path);

/* ---- Names and descriptors ------------------------------------------------------------- */

/* A new string: the part after the last "." of the file name is replaced by `extension`
 * (given with its dot: ".txt"); a name without a dot gets the whole extension appended.
 * "a.tar.gz" gives "a.tar.txt", "dir.d/file" gives "dir.d/file.txt". */
char* FS_replace_filename_extension(const char* path, const char* extension);
/* In place: each of  " % * . / : < > ? \ |  becomes "_" ("a.b" gives "a_b"). */
void FS_sanitize_filename(char* name);
/* Clears O_DIRECT from the descriptor's status flags if it is set. 1 on success or when it was
 * not set; 0 after printing the fcntl failure to standard output. */
int FS_disable_direct_mode(int descriptor, const char* name);

VONA_END_DECLS

#endif
