#pragma once
// Puts a source behind the converters that give it a wanted rate and channel count.
//
// Each function takes over the reference it is given and returns the source to read:
// the same one when nothing needs converting, else a converter that owns it.

#include <cstdint>

#include "core/sound_source_base.h"

namespace osmera {

// Returns a source with `rate` and `channels` that reads `source`; the source itself
// when it already matches or has an error. Reducing channels happens before the rate
// conversion and adding them after, so the filter works on the fewer channels.
LSourceRef MatchFormat(LSourceRef source, int32_t rate, uint8_t channels);

// The rate chain: the source itself when it has an error or already has `rate`. A
// reduction to below a quarter of the rate runs in two stages, first to twice `rate`
// with the narrower cutoff, then to `rate`; anything else in one stage.
LSourceRef ConvertRate(LSourceRef source, int32_t rate);

// Stereo to mono (left channel) or mono to stereo; the source itself when it has an
// error, when either count is 0, when they are equal, or for any other pair.
LSourceRef ConvertChannels(LSourceRef source, uint8_t channels);

}  // namespace osmera
