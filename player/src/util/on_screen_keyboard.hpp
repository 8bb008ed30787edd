// C++ side of the on-screen keyboard layouts, for the tool, the tests and the fuzz target.
#ifndef VONAUTIL_ON_SCREEN_KEYBOARD_HPP
#define VONAUTIL_ON_SCREEN_KEYBOARD_HPP

#include <string>

#include "player/src/util/on_screen_keyboard.h"

namespace vona {

// The text that osk_dump_layout prints.
std::string osk_dump_to_string(const osk_layout* layout);

// True when two layouts have the same size, keys, properties and flags.
bool osk_layouts_equal(const osk_layout* a, const osk_layout* b);

}  // namespace vona

#endif
