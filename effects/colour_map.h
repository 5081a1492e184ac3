#pragma once
// The perceptual colour map of spectrogram pictures: dark violet through blue and green to
// yellow, lightness rising evenly so that levels read the same on screen, on paper and to
// colour-blind eyes. Pure; any thread.

#include <cstdint>

namespace osmera {

// The colour of `t` in [0, 1] (clamped) as 0xRRGGBB.
uint32_t SpectrogramColour(float t);

// The colour of `db` within [floorDb, ceilingDb].
inline uint32_t SpectrogramColourOfDb(float db, float floorDb, float ceilingDb) {
    return SpectrogramColour((db - floorDb) / (ceilingDb - floorDb));
}

}  // namespace osmera
