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

#if defined(__GNUC__)
#define VONA_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define VONA_PRINTF(fmt, args)
#endif

#endif
