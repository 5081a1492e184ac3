#pragma once
// The source handed out when a file cannot be read: an empty source (reads zeros,
// position and length 0) whose error code says why, so that openers never return null
// and callers tell the failures apart by GetError().

#include <cstdint>

#include "core/sound_source_base.h"

namespace osmera {

class LSRCFailed : public LSRCEmpty {
  public:
    // `code` is one of the kSource* error codes (3 corrupt, 4 not opened, 5 no decoder).
    explicit LSRCFailed(uint8_t code) { SetError(code); }
};

// A new failed source with error `code`.
inline LSourceRef MakeFailedSource(uint8_t code) {
    return LSourceRef(new LSRCFailed(code));
}

}  // namespace osmera
