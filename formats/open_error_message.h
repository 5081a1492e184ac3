#pragma once
// The sentence shown to the user when a file cannot be opened, chosen by the error code of
// the source that the opener returned.

#include <cstdint>
#include <string>

#include "core/sound_source_base.h"

namespace osmera {

// The message for error `code` (3 corrupt, 4 not opened, 5 no decoder, any other code a
// plain "cannot open"), naming `fileName`.
std::string OpenErrorMessage(uint8_t code, const std::string& fileName);

// The message for the failed `source` an opener returned: the one for its code, followed
// on a line of its own by the reason the source carries, when it carries one.
std::string OpenErrorMessage(const LSoundSourceBase& source, const std::string& fileName);

}  // namespace osmera
