#pragma once
// The sentence shown to the user when a file cannot be opened, chosen by the error code of
// the source that the opener returned.

#include <cstdint>
#include <string>

namespace osmera {

// The message for error `code` (3 corrupt, 4 not opened, 5 no decoder, any other code a
// plain "cannot open"), naming `fileName`.
std::string OpenErrorMessage(uint8_t code, const std::string& fileName);

}  // namespace osmera
