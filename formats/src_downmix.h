#pragma once
// Opens files of more than two channels as stereo: either a standard downmix, or one pair
// of the file's channels picked by the caller. Description() tells the user which, so the
// change is never silent.
//
// The standard downmix follows ITU-R BS.775 for the usual layouts in WAV channel order
// (3.0 L R C; quad L R Ls Rs; 5.0 L R C Ls Rs; 5.1 L R C LFE Ls Rs; 6.1 L R C LFE Cs Ls Rs;
// 7.1 L R C LFE Lb Rb Ls Rs): centre and surrounds at -3 dB (0.7071) into their side,
// a back centre at -6 dB into both, the LFE channel left out. Each output row is then
// divided by the sum of its coefficients, so full-scale input never clips (5.1 comes out
// 7.7 dB quieter than a plain sum would be). Other counts mix the even channels (first,
// third...) into the left and the odd ones into the right, equally weighted.
//
// Rate, peak and length are the inner source's; the file facts (opened_file_facts.h) are
// passed through. Owns the inner source. One thread at a time.

#include <cstdint>
#include <string>
#include <vector>

#include "core/sound_source_base.h"
#include "formats/opened_file_facts.h"

namespace osmera {

class LSRCDownmix : public LSRCWrapBase, public LFileFacts {
  public:
    // `pair` < 0: the standard downmix; otherwise channels 2 * pair + 1 and 2 * pair + 2
    // (counted from 1), a last odd channel alone going to both sides. A pair beyond the
    // file's channels sets error 3.
    LSRCDownmix(LSourceRef inner, int32_t pair = -1);

    void Read(int32_t* buffer, int32_t frames) override;

    // "5.1 channels mixed down to stereo (ITU-R BS.775)", "channels 3 and 4 of 6 opened as
    // stereo"...
    const std::string& Description() const { return description_; }

    int64_t GetClaimedFrames() const override;
    int64_t GetPresentFrames() const override;
    int32_t GetKeptBytesPerSample() const override;

  private:
    uint8_t innerChannels_;
    std::vector<double> left_;   // coefficient per inner channel
    std::vector<double> right_;  // coefficient per inner channel
    std::vector<int32_t> buffer_;
    std::string description_;
};

}  // namespace osmera
