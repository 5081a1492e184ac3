#include "formats/open_error_message.h"

#include "formats/src_failed.h"

namespace osmera {

std::string OpenErrorMessage(uint8_t code, const std::string& fileName) {
    const std::string quoted = "\"" + fileName + "\"";
    switch (code) {
        case kSourceBadParams:
            return "Cannot open the file " + quoted + " because it is corrupt.";
        case kSourceNotOpened:
            return "Cannot open the file " + quoted + ". Check it exists and you have read access.";
        case kSourceCodecFailed:
            // Decoders come through libsndfile; an installed ffmpeg serves what it cannot.
            return "Cannot open the file " + quoted +
                   " because the required codec is not installed on this computer.\n\n"
                   "Install libsndfile with its codec libraries (FLAC, Ogg Vorbis, Opus, MPEG) "
                   "or ffmpeg to add the codec then reattempt to load it.";
        default:
            return "Cannot open the file " + quoted + ".";
    }
}

std::string OpenErrorMessage(const LSoundSourceBase& source, const std::string& fileName) {
    std::string message = OpenErrorMessage(source.GetError(), fileName);
    const std::string reason = FailureReason(source);
    if (!reason.empty())
        message += "\n" + reason;
    return message;
}

}  // namespace osmera
