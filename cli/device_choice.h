#pragma once
// The --device option of play and record: a device number, or file:PATH for the file
// output device.

#include <cstdint>
#include <string>

namespace osmera::cli {

struct LDeviceChoice {
    uint32_t number = 0;  // 0 the default device
    std::string file;     // not empty for file:PATH
    std::string error;    // not empty when the value is not understood
};

// `value` as given after --device; `allowFile` says whether file:PATH is accepted.
LDeviceChoice ParseDeviceChoice(const std::string& value, bool allowFile);

// Prints "\r<text>" over the previous status line when stderr is a terminal.
void ShowStatus(const std::string& text);
// Ends the status line, if one was shown.
void EndStatus();

}  // namespace osmera::cli
