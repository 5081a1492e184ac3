#pragma once
// The sink that fills a cut list: it writes one new cut of the tank (its audio and graph
// files) and, when the last reference to it is released, replaces the target list's content
// with that cut: the target is cleared and then holds one entry of all the frames written
// (none when nothing was written), at unity gain, and takes the sink's rate and channels.
// Callers that want to add audio fill a temporary list and paste it.
//
// Failures: a sink whose files could not be created reports IsError() from the start (the
// pump then refuses it); so does one that found no free cut number (a full tank), which
// writes nothing and leaves silence of the frames it was given. A write that fails later (a full
// disk) sets the same error bit and HasWriteFailed(): frames that did not reach the disk read back
// as silence. The result still reaches the target, so a caller that must not pretend success checks
// before releasing its reference:
//
//     LCutListAudio loaded;
//     auto sink = loaded.MakeSink(rate, channels);
//     const int result = LPRSourceToSink(reader, sink, progress).Process();
//     const bool ok = result == kJobDone && !sink->IsError();
//     sink.Reset();  // `loaded` now holds the new cut; drop it when !ok
//
// The target must outlive the sink and is changed on the thread that releases the last
// reference. One thread at a time, like every sink.

#include <cstdint>

#include "core/sound_sink_base.h"
#include "edit/audio_cut_file.h"
#include "edit/cut_list_audio.h"

namespace osmera {

class LSNKCutListAudio : public LSoundSinkBase {
  public:
    // 0 channels are taken as 1 and set the error bit, as for every sink; so does a rate
    // below 1.
    LSNKCutListAudio(LCutListAudio& target, int32_t sampleRate, uint8_t channels);
    ~LSNKCutListAudio() override;

    void Write(const int32_t* buffer, int32_t frames) override;
    // Moves the write position back to `position` (a negative one counts as 0) and cuts the
    // files there; a position after the current one is ignored.
    void Seek(int32_t position) override;

    // SILENT_CUT when the tank was full.
    uint16_t GetCutNumber() const { return cut_; }
    // True once some frames or graph records could not be written.
    bool HasWriteFailed() const { return writer_.HasFailed(); }

  private:
    void NoteFailure(const char* words);

    LCutListAudio& target_;
    uint16_t cut_ = SILENT_CUT;
    LAudioCutWriter writer_;
    bool traced_ = false;
};

}  // namespace osmera
