#include "edit/snk_cut_list_audio.h"

#include "core/trace.h"

namespace osmera {

LSNKCutListAudio::LSNKCutListAudio(LCutListAudio& target, int32_t sampleRate, uint8_t channels)
    : LSoundSinkBase(sampleRate, channels), target_(target) {
    if (sampleRate < 1) {
        LTrace("LSNKCutListAudio::LSNKCutListAudio SampleRate <= 0");
        SetErrorBit();
    }
    LAudioCutTank& tank = LAudioCutTank::Instance();
    // A full tank would hand out cut 0 again and this sink would overwrite audio in use.
    if (!tank.TakeNewRef(cut_)) {
        cut_ = SILENT_CUT;
        NoteFailure("LSNKCutListAudio::LSNKCutListAudio tank full");
        return;
    }
    if (!writer_.Create(tank.GetAudFilePath(cut_), tank.GetGrfFilePath(cut_), this->channels)) {
        NoteFailure("LSNKCutListAudio::LSNKCutListAudio cannot create cut files");
    }
}

LSNKCutListAudio::~LSNKCutListAudio() {
    if (cut_ != SILENT_CUT && !writer_.Close())
        NoteFailure("LSNKCutListAudio::~LSNKCutListAudio graph not written");
    target_.Clear();
    target_.SetFormat(sampleRate < 1 ? 44100u : static_cast<uint32_t>(sampleRate), channels);
    if (position > 0)
        target_.AppendEntry(LAudioCut{cut_, position, kUnityGain, 0});
    LAudioCutTank::Instance().DecRef(cut_);
}

void LSNKCutListAudio::NoteFailure(const char* words) {
    SetErrorBit();
    if (!traced_)
        LTrace(words);
    traced_ = true;
}

void LSNKCutListAudio::Write(const int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    if (!writer_.Write(buffer, frames))
        NoteFailure("LSNKCutListAudio::Write write failed");
    position = Wrap32(int64_t{position} + frames);
}

void LSNKCutListAudio::Seek(int32_t newPosition) {
    if (newPosition < 0)
        newPosition = 0;
    if (newPosition > position)
        return;
    if (!writer_.Seek(newPosition))
        NoteFailure("LSNKCutListAudio::Seek failed");
    position = newPosition;
}

}  // namespace osmera
