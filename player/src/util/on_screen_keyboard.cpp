#include "player/src/util/on_screen_keyboard.h"

#include <stdarg.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "player/src/util/mt/common.hpp"
#include "player/src/util/mt/convert_utf.hpp"
#include "player/src/util/mt/string_buffer.h"
#include "player/src/util/mt/unicode_utils.h"
#include "player/src/util/on_screen_keyboard.hpp"

namespace {

constexpr int kMaxNameLength = 99;
constexpr int kMaxValueLength = 999;

// The two-letter names of the system keys, written "(en)" and so on; null for the other kinds.
const char* const kSystemKeyNames[OSK_KeyKind_Count] = {nullptr, nullptr, "en", "sp", "bs", "sh", "cl", "la", "sy"};

// The string properties in file order, by their names in the file.
struct StringProperty {
  const char* name;
  char* osk_layout::*field;
};
const StringProperty kStringProperties[] = {
    {"name", &osk_layout::name},
    {"symbolic_layout_file", &osk_layout::symbolic_layout_file},
    {"en", &osk_layout::caption_enter},
    {"sp", &osk_layout::caption_space},
    {"bs", &osk_layout::caption_backspace},
    {"sh", &osk_layout::caption_shift},
    {"cl", &osk_layout::caption_caps_lock},
};
const char kReducedRowsMask[] = "reduced_rows_mask";

constexpr osk_key kEmptyCell = {OSK_KeyKind_None, false, 1, 0, 0};

// The last error message; each message reuses the buffer, so it lives until the next one.
char* g_error_buffer = nullptr;

VONA_PRINTF(1, 2) const char* error(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const char* message = vsprintf_shared(&g_error_buffer, format, args);
  va_end(args);
  return message;
}

void append_utf8(std::string& out, UTF32 c) {
  UTF8 bytes[4];
  out.append((const char*)bytes, vona::utf::encode(c, bytes));
}

bool is_end_of_line(UTF32 c) { return c == 0 || c == '\r' || c == '\n'; }
bool is_name_char(UTF32 c) { return c < 0x80 && (vona::is_alpha((unsigned char)c) || vona::is_digit((unsigned char)c) || c == '_'); }

// The text read one code point at a time; `c` is the code point at the cursor, 0 at the end.
class Cursor {
 public:
  explicit Cursor(const char* text) : next_((const UTF8*)text) { advance(); }
  UTF32 c = 0;
  void advance() { c = vona::utf::next_char_terminated(next_); }
  void skip_spaces() {
    while (c == ' ') advance();
  }

 private:
  const UTF8* next_;  // just after `c`
};

class Parser {
 public:
  Parser(osk_layout* layout, const char* text) : layout_(layout), in_(text) {}

  // Reads the lines of the text; the first error message, or null.
  const char* parse() {
    for (;;) {
      while (in_.c == ' ' || in_.c == '\r' || in_.c == '\n') in_.advance();
      UTF32 c = in_.c;
      const char* message;
      if (c == 0) return nullptr;
      if (c == '#') message = parse_comment();
      else if (is_name_char(c)) message = parse_property();
      else if (c == '.' || c == '[' || c == '{' || c == '(') message = parse_row();
      else message = error("Invalid char U+%04X.", c);
      if (message) return message;
    }
  }

 private:
  const char* parse_comment() {
    for (in_.advance(); !is_end_of_line(in_.c); in_.advance()) {
      if (in_.c < 0x20) return error("Invalid char U+%04X in comment.", in_.c);
    }
    return nullptr;
  }

  // NAME = VALUE up to the end of the line, trailing spaces removed.
  const char* parse_property() {
    std::string name;
    for (; is_name_char(in_.c); in_.advance()) {
      if ((int)name.size() == kMaxNameLength) return error("Too long property name: '%s'.", name.c_str());
      name += (char)in_.c;
    }
    in_.skip_spaces();
    if (in_.c != '=') return error("'=' expected.");
    in_.advance();
    in_.skip_spaces();
    std::string value;
    size_t kept = 0;  // the length of the value without its trailing spaces
    for (int length = 0; !is_end_of_line(in_.c); ++length, in_.advance()) {
      if (in_.c < 0x20) return error("Invalid char U+%04X in property '%s'.", in_.c, name.c_str());
      if (length == kMaxValueLength) return error("Too long value of property '%s'.", name.c_str());
      append_utf8(value, in_.c);
      if (in_.c != ' ') kept = value.size();
    }
    value.resize(kept);
    return set_property(name, value);
  }

  // An empty value clears a text property and leaves the mask as it is.
  const char* set_property(const std::string& name, const std::string& value) {
    if (name == kReducedRowsMask) {
      if (!value.empty()) layout_->reduced_rows_mask = atoi(value.c_str());
      return nullptr;
    }
    for (const StringProperty& property : kStringProperties) {
      if (name != property.name) continue;
      char*& field = layout_->*property.field;
      free(field);
      field = value.empty() ? nullptr : strdup(value.c_str());
      return nullptr;
    }
    return error("Unknown property name: '%s'.", name.c_str());
  }

  const char* too_many_keys(int row, int col) {
    return error("Too many keys (%d while max is %d) in row %d.", col + 1, OSK_MAX_COLS, row);
  }

  // Keys up to the end of the line; the cells after the last key become empty cells.
  const char* parse_row() {
    int row = layout_->rows_count;
    // The maximum printed is the column limit, as layout authors have always seen it.
    if (row == OSK_MAX_ROWS) return error("Too many rows (%d while max is %d) in the layout.", row + 1, OSK_MAX_COLS);
    layout_->rows_count = row + 1;
    int col = 0;
    while (!is_end_of_line(in_.c)) {
      if (col == OSK_MAX_COLS) return too_many_keys(row, col);
      if (const char* message = parse_key(row, col)) return message;
      in_.skip_spaces();
    }
    for (int rest = col; rest < OSK_MAX_COLS; ++rest) layout_->keys[rest][row] = kEmptyCell;
    layout_->cols_count = std::max(layout_->cols_count, col);
    return nullptr;
  }

  // One cell at `col`, which is moved past every column the key covers. Messages about what
  // follows the key's content name the column after it.
  const char* parse_key(int row, int& col) {
    osk_key& key = layout_->keys[col][row];
    UTF32 open = in_.c;
    if (open == '.') {
      for (int i = 0; i < 3; ++i, in_.advance()) {
        if (in_.c != '.') return error("'...' expected at row %d, col %d.", row, col);
      }
      key = kEmptyCell;
      ++col;
      return nullptr;
    }
    key = osk_key{};
    if (open == '[' || open == '{') {
      in_.advance();
      UTF32 first = in_.c;
      if (first <= 0x20) {
        return error("Char key character expected at row %d, col %d; char U+%04X found.", row, col, first);
      }
      in_.advance();
      UTF32 second = in_.c;
      key.kind = OSK_KeyKind_Char;
      key.small = open == '{';
      // Only ']' ends a key early: "{d}" reads as the characters 'd' and '}'.
      if (second == ' ' || second == ']' || is_end_of_line(second)) {
        key.normal_char = first;
      } else {
        key.shifted_char = first;
        key.normal_char = second;
        in_.advance();
      }
    } else if (open == '(') {
      std::string name;
      for (in_.advance(); name.size() < 2; in_.advance()) {
        if (in_.c <= 0x20) return error("System key name expected at row %d, col %d.", row, col);
        append_utf8(name, in_.c);
      }
      const char* const* found = std::find_if(std::begin(kSystemKeyNames), std::end(kSystemKeyNames),
                                              [&](const char* known) { return known && name == known; });
      if (found == std::end(kSystemKeyNames)) return error("Unknown system key name at row %d, col %d.", row, col);
      key.kind = (unsigned int)(found - kSystemKeyNames);
      if (key.kind == OSK_KeyKind_Lang) layout_->has_lang_key = true;
    } else {
      std::string start;
      append_utf8(start, open);
      return error("Invalid start of key at row %d, col %d: '%s'. Expected '.', '[', '{' or '('.", row, col,
                   start.c_str());
    }
    key.span = 1;
    ++col;
    for (;;) {  // " ~~~" groups, each covering one more column
      if (in_.c == '~') return error("Space expected before '~' at row %d, col %d.", row, col);
      if (in_.c != ' ') break;
      in_.skip_spaces();
      if (in_.c != '~') break;
      for (int i = 0; i < 3; ++i, in_.advance()) {
        if (in_.c != '~') return error("'~~~' expected at row %d, col %d.", row, col);
      }
      if (col == OSK_MAX_COLS) return too_many_keys(row, col);
      layout_->keys[col][row] = osk_key{OSK_KeyKind_None, key.small, 0, 0, 0};
      ++key.span;
      ++col;
    }
    char close = open == '[' ? ']' : open == '{' ? '}' : ')';
    if (in_.c != (UTF32)close) {
      return error("'%c' expected at row %d, col %d; char U+%04X found.", close, row, col, in_.c);
    }
    in_.advance();
    return nullptr;
  }

  osk_layout* layout_;
  Cursor in_;
};

// The checks of a whole layout: the keys the widget cannot do without, and properties that
// only make sense with their key.
const char* check_layout(const osk_layout* layout) {
  bool present[OSK_KeyKind_Count] = {};
  bool has_shifted_chars = false;
  for (int col = 0; col < OSK_MAX_COLS; ++col) {
    for (int row = 0; row < OSK_MAX_ROWS; ++row) {
      const osk_key* key = &layout->keys[col][row];
      MY_ASSERT(key->kind < OSK_KeyKind_Count);
      present[key->kind] = true;
      if (key->shifted_char != 0) has_shifted_chars = true;
    }
  }
  if (!present[OSK_KeyKind_Enter]) return error("Enter key (en) is missing in the layout.");
  if (!present[OSK_KeyKind_Backspace]) return error("Backspace key (bs) is missing in the layout.");
  if (has_shifted_chars && !present[OSK_KeyKind_Shift]) {
    return error("Shift key (sh) is missing in the layout, while shifted chars exist.");
  }
  if (has_shifted_chars && !present[OSK_KeyKind_CapsLock]) {
    return error("CapsLock key (cl) is missing in the layout, while shifted chars exist.");
  }
  if (layout->name == nullptr) return error("'name' property should be defined.");
  if (layout->symbolic_layout_file != nullptr && !present[OSK_KeyKind_Symbolic]) {
    return error("'symbolic_layout_file' property can be defined only when the Symbolic (sy) key is present.");
  }
  if (layout->caption_space != nullptr && !present[OSK_KeyKind_Space]) {
    return error("'sp' property can be defined only when the Space (sp) key is present.");
  }
  return nullptr;
}

bool same_text(const char* a, const char* b) { return a == b || (a && b && strcmp(a, b) == 0); }

}  // namespace

void osk_initialize_layout(osk_layout* layout) {
  memset(layout, 0, sizeof *layout);  // every key: kind None, not small, span 0, no characters
  layout->reduced_rows_mask = 1;
}

void osk_finalize_layout(osk_layout* layout) {
  for (const StringProperty& property : kStringProperties) {
    free(layout->*property.field);
    layout->*property.field = nullptr;
  }
  layout->rows_count = 0;
  layout->cols_count = 0;
  layout->reduced_rows_mask = 1;
  layout->has_lang_key = false;
  layout->lang_key_hidden = false;
}

const char* osk_parse_layout(osk_layout* layout, const char* text) {
  MY_ASSERT(layout->rows_count == 0);
  MY_ASSERT(layout->cols_count == 0);
  for (int col = 0; col < OSK_MAX_COLS; ++col) {
    for (int row = 0; row < OSK_MAX_ROWS; ++row) {
      const osk_key* key = &layout->keys[col][row];
      MY_ASSERT(key->kind == OSK_KeyKind_None);
      MY_ASSERT(key->small == false);
      MY_ASSERT(key->span == 0);
      MY_ASSERT(key->normal_char == 0);
      MY_ASSERT(key->shifted_char == 0);
    }
  }
  MY_ASSERT(layout->name == NULL);
  MY_ASSERT(layout->symbolic_layout_file == NULL);
  MY_ASSERT(layout->caption_enter == NULL);
  MY_ASSERT(layout->caption_space == NULL);
  MY_ASSERT(layout->caption_backspace == NULL);
  MY_ASSERT(layout->caption_shift == NULL);
  MY_ASSERT(layout->caption_caps_lock == NULL);
  const char* message = Parser(layout, utf8_skip_bom_if_present(text)).parse();
  return message ? message : check_layout(layout);
}

std::string vona::osk_dump_to_string(const osk_layout* layout) {
  if (layout->rows_count == 0 && layout->cols_count == 0) return "# Keyboard layout is empty.\n";
  MY_ASSERT(layout->cols_count > 0);
  MY_ASSERT(layout->rows_count > 0);
  MY_ASSERT(layout->cols_count <= OSK_MAX_COLS);
  MY_ASSERT(layout->rows_count <= OSK_MAX_ROWS);
  std::string out = "# Size: " + std::to_string(layout->cols_count) + " x " + std::to_string(layout->rows_count) + "\n\n";
  for (int row = 0; row < layout->rows_count; ++row) {
    for (int col = 0; col < layout->cols_count;) {
      const osk_key* key = &layout->keys[col][row];
      MY_ASSERT(key->span != 0);
      MY_ASSERT(key->kind < OSK_KeyKind_Count);
      if (key->kind != OSK_KeyKind_Char) {
        MY_ASSERT(key->normal_char == 0);
        MY_ASSERT(key->shifted_char == 0);
      }
      char close;
      if (key->kind == OSK_KeyKind_None) {
        MY_ASSERT(key->span == 1);
        out += "...";
        close = ' ';
      } else if (key->kind == OSK_KeyKind_Char) {
        MY_ASSERT(key->normal_char != 0);
        out += key->small ? '{' : '[';
        if (key->shifted_char != 0) {
          append_utf8(out, key->shifted_char);
          append_utf8(out, key->normal_char);
        } else {
          append_utf8(out, key->normal_char);
          out += ' ';
        }
        close = key->small ? '}' : ']';
      } else {
        out += '(';
        out += kSystemKeyNames[key->kind];
        close = ')';
      }
      int span = key->span;
      ++col;
      for (int covered = 1; covered < span; ++covered, ++col) {
        MY_ASSERT(col < layout->cols_count);
        MY_ASSERT(layout->keys[col][row].span == 0);
        MY_ASSERT(layout->keys[col][row].small == key->small);
        out += "  ~~~";
      }
      out += close;
      out += ' ';
    }
    out += '\n';
  }
  out += '\n';
  for (const StringProperty& property : kStringProperties) {
    const char* value = layout->*property.field;
    out += std::string(property.name) + " =" + (value ? std::string(" ") + value : std::string()) + "\n";
  }
  out += std::string(kReducedRowsMask) + " = " + std::to_string(layout->reduced_rows_mask) + "\n";
  return out;
}

void osk_dump_layout(const osk_layout* layout) {
  std::string text = vona::osk_dump_to_string(layout);
  fwrite(text.data(), 1, text.size(), stdout);
}

void osk_layout_set_lang_key_hidden(osk_layout* layout, bool hidden) { layout->lang_key_hidden = hidden; }

bool vona::osk_layouts_equal(const osk_layout* a, const osk_layout* b) {
  if (a->rows_count != b->rows_count || a->cols_count != b->cols_count ||
      a->reduced_rows_mask != b->reduced_rows_mask || a->has_lang_key != b->has_lang_key ||
      a->lang_key_hidden != b->lang_key_hidden) {
    return false;
  }
  for (const StringProperty& property : kStringProperties) {
    if (!same_text(a->*property.field, b->*property.field)) return false;
  }
  for (int col = 0; col < OSK_MAX_COLS; ++col) {
    for (int row = 0; row < OSK_MAX_ROWS; ++row) {
      const osk_key& x = a->keys[col][row];
      const osk_key& y = b->keys[col][row];
      if (x.kind != y.kind || x.small != y.small || x.span != y.span || x.normal_char != y.normal_char ||
          x.shifted_char != y.shifted_char) {
        return false;
      }
    }
  }
  return true;
}
