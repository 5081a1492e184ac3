#pragma once
// Label text files: a document's bookmarks and regions as plain text that other programs
// (audio editors, spreadsheets, scripts) read and write. One marker a line,
//
//     start TAB end TAB name
//
// with start and end in seconds (a decimal point, six places when written); a bookmark has
// start equal to end. Lines are written in order of position, bookmarks and regions mixed.
// Reading takes "\n" or "\r\n" line ends, skips empty lines, and gives a marker without a name
// the next default name ("Bookmark N", "Region N").
//
// Plain functions; any thread, on files no one else writes at the time.

#include <cstdint>
#include <string>

#include "edit/marker_list.h"

namespace osmera {

// Writes `markers` (frames at `sampleRate`) to `path` through a temporary, so a failure leaves
// an existing file as it was. False, with `message` (when given) saying why, on failure.
bool WriteLabelFile(const std::string& path, const LMarkerList& markers, uint32_t sampleRate,
                    std::string* message = nullptr);

// Adds the markers of `path` to `markers`, in frames at `sampleRate`, for audio of `length`
// frames: markers that start beyond the audio are left out (counted in `skipped`, when given)
// and regions that run past its end are shortened. All or nothing: on a line that is not
// "start TAB end[ TAB name]" with 0 <= start <= end, nothing is added and `message` names the
// line. False also when the file cannot be read.
bool ReadLabelFile(const std::string& path, uint32_t sampleRate, int32_t length,
                   LMarkerList& markers, std::string* message = nullptr, int* skipped = nullptr);

}  // namespace osmera
