#pragma once
// The pump: drives one source into one sink in blocks of 8192 frames, reporting
// progress and honouring cancellation between blocks. Every load, save, effect
// application and conversion runs through it.
//
// Runs on the calling thread; it holds references to its source and sink for the whole
// run and drops them when the pump is destroyed. Results are job results (core/progress.h):
// kJobDone, kJobCancelled (the sink keeps what it already took), kJobFailed (source or
// sink unusable, nothing moved).

#include <cstdint>
#include <functional>
#include <string>

#include "core/progress.h"
#include "core/sound_sink_base.h"
#include "core/sound_source_base.h"

namespace osmera {

class LPRSourceToSink {
  public:
    static constexpr int32_t kBlockFrames = 8192;

    // Sees every block between its Read and its Write (`count` frames of interleaved
    // samples) and may change the samples in place: what an effect that measures or
    // processes as it goes adds to the run. Only the frames that go to the sink are shown
    // (the last block of a whole-source run is cut to the source's end).
    using BlockHook = std::function<void(int32_t* samples, int32_t count)>;

    // `progress` may be null (nothing shown, never cancelled); it must outlive the run.
    // `title` is line 0 of the progress during a whole-source run.
    LPRSourceToSink(LSourceRef source, LSinkRef sink, LProgress* progress = nullptr,
                    std::string title = {});

    // Whole-source run: matches the source to the sink's format, limits it to the 16-bit
    // range when its peak is above that, and moves it from where it stands to its end.
    // Needs a usable source and sink.
    int Process();

    // Span run from frame `start` to `end` (seeking the source to `start` when above 0).
    // The sink may be absent: the data is then read and discarded. An empty span still
    // moves one frame; `end` before `start` returns 0 at once. Does not check the
    // source's error: a failed source delivers what its Read delivers.
    int ProcessSpan(int32_t start, int32_t end);

    // Installs the block hook for the following runs (an empty hook removes it).
    void SetBlockHook(BlockHook hook) { hook_ = std::move(hook); }

  private:
    LSourceRef source_;
    LSinkRef sink_;
    LNullProgress nullProgress_;
    LProgress* progress_;
    std::string title_;
    BlockHook hook_;
};

}  // namespace osmera
