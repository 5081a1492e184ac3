#pragma once
// Puts a source behind the converters that give it a wanted rate and channel count.

#include <cstdint>

#include "core/sound_source_base.h"

namespace osmera {

// Returns a source with `rate` and `channels` that reads `source`; the source itself
// when it already matches or has an error. Reducing channels happens before the rate
// conversion and adding them after, so the filter works on the fewer channels.
LSourceRef MatchFormat(LSourceRef source, int32_t rate, uint8_t channels);

}  // namespace osmera
