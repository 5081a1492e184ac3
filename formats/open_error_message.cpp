#include "formats/open_error_message.h"

#include "core/sound_source_base.h"

namespace osmera {

std::string OpenErrorMessage(uint8_t code, const std::string& fileName) {
    const std::string quoted = "\"" + fileName + "\"";
    switch (code) {
        case kSourceBadParams:
            return "Cannot open the file " + quoted + " because it is corrupt.";
        case kSourceNotOpened:
            return "Cannot open the file " + quoted + ". Check it exists and you have read access.";
        case kSourceCodecFailed:
            return "Cannot open the file " + quoted +
                   " because the required ACM codec is not installed on this PC.\n\n"
                   "Open the file with Windows Media Player to auto-install the codec then "
                   "reattempt to load it.";
        default:
            return "Cannot open the file " + quoted + ".";
    }
}

}  // namespace osmera
