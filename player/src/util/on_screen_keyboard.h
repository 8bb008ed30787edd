/* On-screen keyboard layouts: a grid of keys read from a hand-written text file, checked for
 * the keys the keyboard widget cannot do without, and dumped back in the same syntax.
 *
 * Layout file (UTF-8, an optional byte order mark):
 *   # comment
 *   name = English              properties: name, symbolic_layout_file, en, sp, bs, sh, cl
 *                                (captions of Enter, Space, Backspace, Shift, CapsLock),
 *                                reduced_rows_mask
 *   [Qq] [Ww] {1 } ... (bs ~~~)  a row of keys separated by spaces:
 *     ...        an empty cell
 *     [Aa] [b ]  a character key: shifted then normal character, or the normal one alone
 *     {Aa} {b }  the same as a small key
 *     (en)       a system key: en sp bs sh cl la sy
 *     " ~~~"     before the closing bracket: the key covers one more column
 * At most OSK_MAX_ROWS rows of OSK_MAX_COLS cells each. */
#ifndef VONAUTIL_ON_SCREEN_KEYBOARD_H
#define VONAUTIL_ON_SCREEN_KEYBOARD_H

#include <stdbool.h>

#include "mt/convert_utf.h"
#include "mt/export.h"

VONA_BEGIN_DECLS

#define OSK_MAX_ROWS 15
#define OSK_MAX_COLS 30

/* Key kinds; the `kind` of a key. */
enum {
  OSK_KeyKind_None = 0,      /* an empty cell, or one covered by a wider key to its left */
  OSK_KeyKind_Char = 1,      /* a character key */
  OSK_KeyKind_Enter = 2,     /* (en) */
  OSK_KeyKind_Space = 3,     /* (sp) */
  OSK_KeyKind_Backspace = 4, /* (bs) */
  OSK_KeyKind_Shift = 5,     /* (sh) */
  OSK_KeyKind_CapsLock = 6,  /* (cl) */
  OSK_KeyKind_Lang = 7,      /* (la): switches the keyboard language */
  OSK_KeyKind_Symbolic = 8,  /* (sy): switches to the symbols layout */
  OSK_KeyKind_Count = 9
};

typedef struct osk_key {
  unsigned int kind;  /* OSK_KeyKind_... */
  bool small;         /* drawn as a small key */
  int span;           /* columns the key covers; 0 for a cell covered by a key to its left */
  UTF32 normal_char;  /* character keys only */
  UTF32 shifted_char; /* 0 when the key has no shifted character */
} osk_key;

/* A fixed-size record owned by whoever initialised it. */
typedef struct osk_layout {
  int rows_count; /* the used grid size */
  int cols_count;
  osk_key keys[OSK_MAX_COLS][OSK_MAX_ROWS]; /* keys[col][row] */
  char* name;     /* owned UTF-8 strings or null */
  char* symbolic_layout_file;
  char* caption_enter;
  char* caption_space;
  char* caption_backspace;
  char* caption_shift;
  char* caption_caps_lock;
  int reduced_rows_mask; /* stored for the widget; 1 unless the file says otherwise */
  bool has_lang_key;     /* a (la) key is present */
  bool lang_key_hidden;  /* the widget should hide the language key */
} osk_layout;

/* Makes `layout` empty: sizes 0, every key kind None with span 0 and no characters, no
 * properties, reduced_rows_mask 1, both flags false. Nothing is freed. */
void osk_initialize_layout(osk_layout* layout);

/* Frees and nulls the properties, zeroes the sizes, sets reduced_rows_mask to 1 and both
 * flags to false. The keys are left as they are, so a finalised layout must be initialised
 * again before it is parsed into. */
void osk_finalize_layout(osk_layout* layout);

/* Parses the UTF-8 text of a layout file into a freshly initialised layout (asserted) and
 * checks it. Null on success; otherwise the message of the first error, a shared string that
 * stays valid until the next error message. Rows and columns in messages count from 0. On
 * error the layout holds what was read so far: finalise it. */
const char* osk_parse_layout(osk_layout* layout, const char* text);

/* Prints the layout in file syntax to standard output; a layout of size 0 x 0 prints
 * "# Keyboard layout is empty.". Asserts the layout is consistent. */
void osk_dump_layout(const osk_layout* layout);

void osk_layout_set_lang_key_hidden(osk_layout* layout, bool hidden);

VONA_END_DECLS

#endif
