#include "core/sound_source_base.h"

#include <cstring>

#include "core/trace.h"

namespace osmera {

LSoundSourceBase::LSoundSourceBase(int32_t rate, uint8_t nChans, int32_t p)
    : sampleRate(rate), peak(p), channels(nChans) {
    if (sampleRate < 1) {
        LTrace("LSoundSourceBase::LSoundSourceBase SampleRate <= 0 ERROR");
        sampleRate = 44100;
        error = kSourceBadParams;
    }
    if (channels == 0) {
        LTrace("LSoundSourceBase::LSoundSourceBase nChans == 0 ERROR");
        channels = 1;
        error = kSourceBadParams;
    }
}

void LSoundSourceBase::Seek(int32_t) {}

void LSoundSourceBase::SetSampleRate(int32_t rate) {
    if (rate < 1) {
        LTrace("LSoundSourceBase::SetSampleRate SampleRate <= 0 ERROR");
        sampleRate = 44100;
        error = kSourceBadParams;
        return;
    }
    sampleRate = rate;
}

void LSoundSourceBase::SetChannels(uint8_t nChans) {
    if (nChans == 0) {
        LTrace("LSoundSourceBase::SetChannels nChans == 0 ERROR");
        channels = 1;
        error = kSourceBadParams;
        return;
    }
    channels = nChans;
}

LSRCEmpty::LSRCEmpty() : LSoundSourceBase(11025, 1, kPeakProcessed) {
    SetError(kSourceEmpty);
}

void LSRCEmpty::Read(int32_t* buffer, int32_t frames) {
    if (frames > 0)
        std::memset(buffer, 0, sizeof(int32_t) * static_cast<size_t>(frames) * channels);
}

LSourceRef MakeEmptySource() {
    return LSourceRef(new LSRCEmpty());
}

void ResetSource(LSourceRef& slot) {
    slot = MakeEmptySource();
}

LSRCWrapBase::LSRCWrapBase(LSourceRef inner)
    : LSoundSourceBase(inner ? inner->GetSampleRate() : 11025, inner ? inner->GetChannels() : 1,
                       inner ? inner->GetPeak() : kPeakProcessed),
      inner_(inner ? std::move(inner) : MakeEmptySource()) {
    if (inner_->GetError() != kSourceOk)
        SetError(kSourceInnerFailed);
}

}  // namespace osmera
