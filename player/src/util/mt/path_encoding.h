/* The external encodings of file paths: what the NFS and ext2/ext3 path-encoding settings
 * ask for, and the conversion of a path between UTF-8 and the encoding of its file system. */
#ifndef VONAUTIL_PATH_ENCODING_H
#define VONAUTIL_PATH_ENCODING_H

#include "export.h"

VONA_BEGIN_DECLS

/* Encoding numbers 1-12 as set, 0 (UTF-8) for any other setting value. */
int FS_get_nfs_path_encoding(void);
int FS_get_ext2_ext3_path_encoding(void);

/* A path converted under the holder rule of MY_convert_string_to_external (UTF-8 paths are
 * returned as they are and *holder is left alone). */
const char* FS_convert_path_to_external(char** holder, const char* path);
const char* FS_convert_path_from_external(char** holder, const char* path);
/* The same as a new string owned by the caller. */
char* FS_path_to_external(const char* path);
char* FS_path_from_external(const char* path);

VONA_END_DECLS

#endif
