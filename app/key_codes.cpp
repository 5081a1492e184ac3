#include "app/key_codes.h"

#include <QKeySequence>

#include "effects/key_macro_file.h"

namespace osmera {
namespace {

struct LKeyPair {
    int qt;
    uint32_t vk;
};

// Keys whose code is not their character (letters and digits are), in the order the
// reverse look-up prefers.
constexpr LKeyPair kKeys[] = {
    {Qt::Key_Backspace, 0x08},
    {Qt::Key_Tab, 0x09},
    {Qt::Key_Backtab, 0x09},
    {Qt::Key_Clear, 0x0c},
    {Qt::Key_Return, 0x0d},
    {Qt::Key_Enter, 0x0d},
    {Qt::Key_Shift, 0x10},
    {Qt::Key_Control, 0x11},
    {Qt::Key_Alt, 0x12},
    {Qt::Key_Pause, 0x13},
    {Qt::Key_CapsLock, 0x14},
    {Qt::Key_Escape, 0x1b},
    {Qt::Key_Space, 0x20},
    {Qt::Key_PageUp, 0x21},
    {Qt::Key_PageDown, 0x22},
    {Qt::Key_End, 0x23},
    {Qt::Key_Home, 0x24},
    {Qt::Key_Left, 0x25},
    {Qt::Key_Up, 0x26},
    {Qt::Key_Right, 0x27},
    {Qt::Key_Down, 0x28},
    {Qt::Key_Select, 0x29},
    {Qt::Key_Print, 0x2c},
    {Qt::Key_Insert, 0x2d},
    {Qt::Key_Delete, 0x2e},
    {Qt::Key_Help, 0x2f},
    {Qt::Key_Meta, 0x5b},
    {Qt::Key_Menu, 0x5d},
    {Qt::Key_NumLock, 0x90},
    {Qt::Key_ScrollLock, 0x91},
    {Qt::Key_Semicolon, 0xba},
    {Qt::Key_Colon, 0xba},
    {Qt::Key_Equal, 0xbb},
    {Qt::Key_Plus, 0xbb},
    {Qt::Key_Comma, 0xbc},
    {Qt::Key_Less, 0xbc},
    {Qt::Key_Minus, 0xbd},
    {Qt::Key_Underscore, 0xbd},
    {Qt::Key_Period, 0xbe},
    {Qt::Key_Greater, 0xbe},
    {Qt::Key_Slash, 0xbf},
    {Qt::Key_Question, 0xbf},
    {Qt::Key_QuoteLeft, 0xc0},
    {Qt::Key_AsciiTilde, 0xc0},
    {Qt::Key_BracketLeft, 0xdb},
    {Qt::Key_BraceLeft, 0xdb},
    {Qt::Key_Backslash, 0xdc},
    {Qt::Key_Bar, 0xdc},
    {Qt::Key_BracketRight, 0xdd},
    {Qt::Key_BraceRight, 0xdd},
    {Qt::Key_Apostrophe, 0xde},
    {Qt::Key_QuoteDbl, 0xde},
    // The shifted digits of the US layout.
    {Qt::Key_Exclam, '1'},
    {Qt::Key_At, '2'},
    {Qt::Key_NumberSign, '3'},
    {Qt::Key_Dollar, '4'},
    {Qt::Key_Percent, '5'},
    {Qt::Key_AsciiCircum, '6'},
    {Qt::Key_Ampersand, '7'},
    {Qt::Key_Asterisk, '8'},
    {Qt::Key_ParenLeft, '9'},
    {Qt::Key_ParenRight, '0'},
};

// Keys of the numeric keypad.
constexpr LKeyPair kKeypad[] = {
    {Qt::Key_Asterisk, 0x6a}, {Qt::Key_Plus, 0x6b},  {Qt::Key_Minus, 0x6d},
    {Qt::Key_Period, 0x6e},   {Qt::Key_Comma, 0x6e}, {Qt::Key_Slash, 0x6f},
};

constexpr uint32_t kVkNumpad0 = 0x60;
constexpr uint32_t kVkF1 = 0x70;
constexpr int kFunctionKeys = 24;

}  // namespace

uint32_t VirtualKeyOf(int key, bool keypad) {
    if (keypad) {
        if (key >= Qt::Key_0 && key <= Qt::Key_9)
            return kVkNumpad0 + static_cast<uint32_t>(key - Qt::Key_0);
        for (const LKeyPair& pair : kKeypad) {
            if (pair.qt == key)
                return pair.vk;
        }
    }
    if ((key >= Qt::Key_A && key <= Qt::Key_Z) || (key >= Qt::Key_0 && key <= Qt::Key_9))
        return static_cast<uint32_t>(key);
    if (key >= Qt::Key_F1 && key < Qt::Key_F1 + kFunctionKeys)
        return kVkF1 + static_cast<uint32_t>(key - Qt::Key_F1);
    for (const LKeyPair& pair : kKeys) {
        if (pair.qt == key)
            return pair.vk;
    }
    return 0;
}

int QtKeyOf(uint32_t vk) {
    vk &= kKeyCodeMask;
    if ((vk >= 'A' && vk <= 'Z') || (vk >= '0' && vk <= '9'))
        return static_cast<int>(vk);
    if (vk >= kVkF1 && vk < kVkF1 + kFunctionKeys)
        return Qt::Key_F1 + static_cast<int>(vk - kVkF1);
    if (vk >= kVkNumpad0 && vk <= kVkNumpad0 + 9)
        return Qt::Key_0 + static_cast<int>(vk - kVkNumpad0);
    for (const LKeyPair& pair : kKeypad) {
        if (pair.vk == vk)
            return pair.qt;
    }
    for (const LKeyPair& pair : kKeys) {
        if (pair.vk == vk)
            return pair.qt;
    }
    return 0;
}

uint32_t ModifierBitsOf(Qt::KeyboardModifiers modifiers) {
    uint32_t bits = 0;
    if (modifiers & Qt::AltModifier)
        bits |= kKeyAlt;
    if (modifiers & Qt::ControlModifier)
        bits |= kKeyCtrl;
    if (modifiers & Qt::ShiftModifier)
        bits |= kKeyShift;
    return bits;
}

uint32_t KeyValueOf(const QKeyEvent& event) {
    const uint32_t vk = VirtualKeyOf(event.key(), (event.modifiers() & Qt::KeypadModifier) != 0);
    return vk == 0 ? 0 : vk | ModifierBitsOf(event.modifiers());
}

QString KeyName(uint32_t vk) {
    vk &= kKeyCodeMask;
    const int key = QtKeyOf(vk);
    if (key == 0)
        return QString();
    QString name = QKeySequence(key).toString(QKeySequence::NativeText);
    if (vk >= kVkNumpad0 && vk <= 0x6f)
        name = QStringLiteral("Num ") + name;
    return name;
}

QString KeyText(uint32_t keyValue) {
    QString text;
    if (keyValue & kKeyCtrl)
        text += QStringLiteral("Ctrl+");
    if (keyValue & kKeyAlt)
        text += QStringLiteral("Alt+");
    if (keyValue & kKeyShift)
        text += QStringLiteral("Shift+");
    text += KeyName(keyValue);
    return text.left(260);
}

}  // namespace osmera
