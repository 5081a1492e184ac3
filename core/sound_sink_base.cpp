#include "core/sound_sink_base.h"

#include "core/trace.h"

namespace osmera {

LSoundSinkBase::LSoundSinkBase(int32_t rate, uint8_t nChans) : sampleRate(rate), channels(nChans) {
    if (channels == 0) {
        LTrace("LSoundSinkBase::LSoundSinkBase nChans == 0");
        channels = 1;
        SetErrorBit();
    }
}

void LSoundSinkBase::Seek(int32_t) {}

}  // namespace osmera
