#pragma once
// The source handed out when a file cannot be read: an empty source (reads zeros,
// position and length 0) whose error code says why, so that openers never return null
// and callers tell the failures apart by GetError(). It may also carry the reason in
// words ("Its sample rate is 384000 Hz; ..."), which the user's message adds on a line of
// its own.

#include <cstdint>
#include <string>

#include "core/sound_source_base.h"

namespace osmera {

class LSRCFailed : public LSRCEmpty {
  public:
    // `code` is one of the kSource* error codes (3 corrupt, 4 not opened, 5 no decoder);
    // `reason` one or more sentences, or empty.
    explicit LSRCFailed(uint8_t code, std::string reason = {}) : reason_(std::move(reason)) {
        SetError(code);
    }
    const std::string& Reason() const { return reason_; }

  private:
    std::string reason_;
};

// A new failed source with error `code` and an optional `reason`.
inline LSourceRef MakeFailedSource(uint8_t code, std::string reason = {}) {
    return LSourceRef(new LSRCFailed(code, std::move(reason)));
}

// The reason `source` carries when it is a failed source; empty otherwise.
inline std::string FailureReason(const LSoundSourceBase& source) {
    const auto* failed = dynamic_cast<const LSRCFailed*>(&source);
    return failed ? failed->Reason() : std::string();
}

}  // namespace osmera
