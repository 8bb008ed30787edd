/* Declaration brackets shared by every public header of the library.
 *
 * VONA_BEGIN_DECLS / VONA_END_DECLS give the declarations between them C linkage and
 * default symbol visibility: the library is built with hidden visibility, so exactly the
 * documented C interface is exported from libvonautil.so. */
#ifndef VONAUTIL_EXPORT_H
#define VONAUTIL_EXPORT_H

#ifdef __cplusplus
#define VONA_BEGIN_DECLS extern "C" { _Pragma("GCC visibility push(default)")
#define VONA_END_DECLS _Pragma("GCC visibility pop") }
#define VONA_NORETURN [[noreturn]]
#else
#define VONA_BEGIN_DECLS _Pragma("GCC visibility push(default)")
#define VONA_END_DECLS _Pragma("GCC visibility pop")
#define VONA_NORETURN _Noreturn
#endif

/* The library is built with a 64-bit off_t and time_t, also on 32-bit targets, and passes
 * both through its interface (struct stat, file offsets, times). A caller compiled with
 * other sizes would read garbage, so it is refused here; the flags come with the packages
 * (pkg-config --cflags vonautil, the CMake targets vonautil::vonautil[_static]). */
#include <sys/types.h>
#include <time.h>
#ifdef __cplusplus
static_assert(sizeof(off_t) == 8, "libvonautil needs a 64-bit off_t: compile with -D_FILE_OFFSET_BITS=64");
static_assert(sizeof(time_t) == 8, "libvonautil needs a 64-bit time_t: compile with -D_TIME_BITS=64");
#else
_Static_assert(sizeof(off_t) == 8, "libvonautil needs a 64-bit off_t: compile with -D_FILE_OFFSET_BITS=64");
_Static_assert(sizeof(time_t) == 8, "libvonautil needs a 64-bit time_t: compile with -D_TIME_BITS=64");
#endif

#if defined(__GNUC__)
#define VONA_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define VONA_PRINTF(fmt, args)
#endif

#endif
