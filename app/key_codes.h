#pragma once
// Keys as key macros store them: the Windows virtual-key code of the key in the low 16
// bits and the modifier bits of key_macro_file.h, so that "keys.dat" means the same keys
// on every machine. Qt's keys map to those codes and back here.
//
// Threads: any (pure functions).

#include <QKeyEvent>
#include <QString>
#include <cstdint>

namespace osmera {

// Virtual-key codes the editor treats specially.
inline constexpr uint32_t kVkReturn = 0x0d;
inline constexpr uint32_t kVkShift = 0x10;
inline constexpr uint32_t kVkControl = 0x11;
inline constexpr uint32_t kVkMenu = 0x12;  // Alt
inline constexpr uint32_t kVkEscape = 0x1b;
inline constexpr uint32_t kVkF5 = 0x74;

// The virtual-key code of Qt key `key` (Qt::Key); `keypad`: the key is on the numeric
// keypad. 0 for a key with no code. A shifted character of the US layout ("!", "+") gives
// the code of its unshifted key, as the key pressed has only that code.
uint32_t VirtualKeyOf(int key, bool keypad);
// The Qt key of virtual-key code `vk` (its low 16 bits), or 0.
int QtKeyOf(uint32_t vk);
// The modifier bits (kKeyAlt, kKeyCtrl, kKeyShift) of Qt's modifiers.
uint32_t ModifierBitsOf(Qt::KeyboardModifiers modifiers);
// The key value of a key press: its code and the modifiers held; 0 for a key with no code.
uint32_t KeyValueOf(const QKeyEvent& event);

// The key's name ("F5", "A", "PgUp"); "" when the code has no key.
QString KeyName(uint32_t vk);
// The text of a key value: "Ctrl+", then "Alt+", then "Shift+" for the bits set, then the
// key's name ("Ctrl+Shift+F5"). At most 260 characters.
QString KeyText(uint32_t keyValue);

}  // namespace osmera
