#pragma once
// Key macros and their file "keys.dat": a key value bound to an ordered list of command
// identifiers of the editor's command table.
//
// Key value: the low 16 bits are the key's Windows virtual-key code (the editor maps its
// toolkit's keys to them, so a file moves between machines); bit 16 is Alt, bit 17 Ctrl,
// bit 18 Shift.
//
// "keys.dat", little-endian, no padding: a version byte 0, then per macro its key value
// (4 bytes), its command count (1 byte) and that many identifiers (4 bytes each), to the
// end of the file. There is no macro count: reading stops where a key value cannot be read
// whole, and a file cut short inside a macro keeps the identifiers read so far. Writing
// saturates the count byte at 255 but writes every identifier of the macro: a macro of more
// than 255 commands makes the file unreadable past it. The file format fixes this, and it
// is kept so that files written here read the same elsewhere.
//
// Threads: plain data and functions; any thread, one list per thread.

#include <cstdint>
#include <string>
#include <vector>

namespace osmera {

inline constexpr uint32_t kKeyAlt = 0x10000;
inline constexpr uint32_t kKeyCtrl = 0x20000;
inline constexpr uint32_t kKeyShift = 0x40000;
inline constexpr uint32_t kKeyCodeMask = 0xffff;

struct LKeyMacro {
    uint32_t key = 0;  // virtual-key code and modifier bits
    std::vector<uint32_t> commands;

    bool operator==(const LKeyMacro&) const = default;
};

using LKeyMacroList = std::vector<LKeyMacro>;

enum class LKeysLoad {
    kLoaded,        // the file was read (possibly holding no macro)
    kMissing,       // no file, or one that cannot be opened: no macros, nothing to report
    kWrongVersion,  // empty, or a version byte other than 0: no macros, to be reported
};

// What the editor says for kWrongVersion (titled "File Error") and for a file that cannot
// be created.
extern const char* const kKeysWrongVersionMessage;
extern const char* const kKeysCannotCreateMessage;

// The file's name, and its place: the folder "Folders"/"Current" (`currentFolder`).
inline constexpr const char* kKeysFileName = "keys.dat";
std::string KeysFilePath(const std::string& currentFolder);

// Reads `path` into `macros` (emptied first).
LKeysLoad LoadKeyMacros(const std::string& path, LKeyMacroList& macros);
// Replaces `path` with `macros`; the old file stays whole when writing fails. False when
// the file cannot be created or written.
bool SaveKeyMacros(const std::string& path, const LKeyMacroList& macros);

// The macro whose key value is `key`, or null.
const LKeyMacro* FindKeyMacro(const LKeyMacroList& macros, uint32_t key);

}  // namespace osmera
