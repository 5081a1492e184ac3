#pragma once
// The formats Save As offers, as the save dialog's filters, and the options each format
// remembers between saves (section "Settings" of the settings store).
//
// The filter chosen names the format; a file name typed with the extension of another
// writable format is saved in that format instead (the user said so), and a name without
// an extension gets the chosen format's. Plain functions; GUI thread (they read and write
// the settings store).

#include <QString>
#include <QStringList>

#include "core/settings_store.h"
#include "formats/audio_format.h"

namespace osmera {

// The save dialog's filters; "SaveAsFormat" remembers the index of the one chosen. The
// first four are WAV at 8, 16, 24 and 32 bits.
QStringList SaveFileFilters();
// The index the filters start at: WAV 16-bit.
constexpr int kDefaultSaveFormat = 1;
// The filter that writes `formatName` (the first, for WAV); -1 when none does.
int SaveFilterOf(const char* formatName);

// The format `path` is written in when the user chose filter `filter`; the path gets the
// format's extension when it has none. `options` gets the format's name and, for the WAV
// filters, their width; other fields are left alone. Null for an index out of range.
const LWriteFormat* ResolveSaveFormat(QString& path, int filter, LWriteOptions& options);

// The options remembered for `format` (width, quality, bit rate, compression, raw encoding),
// into `options`; and the user's choice back into the store.
void LoadSaveOptions(LSettingsStore& settings, const LWriteFormat& format, LWriteOptions& options);
void StoreSaveOptions(LSettingsStore& settings, const LWriteFormat& format,
                      const LWriteOptions& options);

// True when `path`'s extension names a format this program writes; saving a file in place
// needs one (a file opened through a decoder, such as .m4a, goes through Save As).
bool IsWritableExtension(const std::string& path);

}  // namespace osmera
