#pragma once
// The pieces every effect run is made of: the request record a processing function
// receives, the job object that a progress display runs, the range pump that moves a range
// of a source block by block, and the replacement of a range of a document's list by an
// effect's output. Jobs return the results of core/progress.h.
//
// Everything here runs synchronously on the calling thread (the thread that owns the
// document). The progress is borrowed for the call; its cancel flag is polled once per
// block. Whatever an effect does, a cancelled or failed run leaves the request's list as
// it was: output is written into a list of its own and only put in place on success.

#include <cstdint>
#include <functional>
#include <vector>

#include "core/pr_source_to_sink.h"
#include "core/progress.h"
#include "core/sound_sink_base.h"
#include "core/sound_source_base.h"
#include "edit/cut_list_audio.h"

namespace osmera {

// What a processing function works on: the list, the range [rangeStart, rangeEnd) and the
// effect's parameters as plain integers in table order. The list is borrowed.
struct LEffectRequest {
    LCutListAudio* list = nullptr;
    int32_t rangeEnd = 0;
    int32_t rangeStart = 0;
    std::vector<int32_t> params;
};

// A job the progress display runs; Run returns kJobDone, kJobCancelled or
// kJobFailed.
class LEffectJob {
  public:
    virtual ~LEffectJob() = default;
    virtual int Run(LProgress& progress) = 0;
};

// A job made of a function.
class LFunctionJob : public LEffectJob {
  public:
    explicit LFunctionJob(std::function<int(LProgress&)> fn) : fn_(std::move(fn)) {}
    int Run(LProgress& progress) override { return fn_ ? fn_(progress) : kJobFailed; }

  private:
    std::function<int(LProgress&)> fn_;
};

// Moves [start, end) of `source` (start clamped at 0; seeked there when above 0) into
// `sink` (may be null: the frames are read and dropped) through the pump's span run, in
// blocks of 8192 frames, setting the fraction done after each block and showing each block
// to `hook` (when given) before it is written. An empty range (or end before start) still
// moves one frame. kJobDone when the range was finished, kJobCancelled when the user
// cancelled, kJobFailed when source and sink differ in rate or channels.
int RangePump(LProgress& progress, LSourceRef source, LSinkRef sink, int32_t start, int32_t end,
              LPRSourceToSink::BlockHook hook = {});

// Deletes [start, end) of `list` and inserts `output` at start.
void ReplaceRange(LCutListAudio& list, int32_t start, int32_t end, const LCutListAudio& output);

// [start, end) of `list` as a list of its own (silence for parts outside it), start
// clamped at 0. Cheap: entries only.
LCutListAudio CopyRange(const LCutListAudio& list, int32_t start, int32_t end);

// Pumps `effect` from its frame 0 to its length into new cuts that replace [start, end) of
// `list` (see LEffectOutput::Finish). kJobFailed for a null or failed effect.
int PumpIntoRange(LProgress& progress, LCutListAudio& list, int32_t start, int32_t end,
                  LSourceRef effect);

// Sets line 0 to `title` and line 1 to "Please wait...".
void ShowEffectTitle(LProgress& progress, const char* title);

// The output of a pumped effect: a list of its own with the document's rate and channels
// and the sink that fills it. Finish() releases the sink and, when the run was done and
// every frame reached the disk, puts the output over [start, end) of `list`; otherwise the
// output is dropped and `list` is untouched. Returns the job result to report. What goes
// in is the first `outputLength` frames written (the range's own length when negative, so
// the one frame an empty range pumps is dropped); an effect that lengthens or shortens
// its range passes its source's length.
class LEffectOutput {
  public:
    LEffectOutput(uint32_t sampleRate, uint8_t channels);
    ~LEffectOutput();
    LEffectOutput(const LEffectOutput&) = delete;
    LEffectOutput& operator=(const LEffectOutput&) = delete;

    const LSinkRef& Sink() const { return sink_; }
    int Finish(int result, LCutListAudio& list, int32_t start, int32_t end,
               int32_t outputLength = -1);
    // Releases the sink; `List()` then holds what was written.
    bool Close();
    const LCutListAudio& List() const { return output_; }

  private:
    LCutListAudio output_;
    LSinkRef sink_;
    bool writeFailed_ = false;
};

}  // namespace osmera
