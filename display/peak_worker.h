#pragma once
// The worker thread behind a waveform view: it runs peak requests (columns of a view, or
// the single frames of a view zoomed in below one frame per column) on a private snapshot of
// a document's audio and hands the results to the GUI thread.
//
// Requests are queued; a view that changes what it shows calls Cancel and asks again, and
// drops results whose generation is not its current one. Results are collected and the
// handler given at construction runs on the GUI thread (merged: one call may find several).
//
// Ownership: the worker owns its queue and results; requests share their reader with the
// view that made them, but only this worker uses a reader while its requests are queued.
// Threads: Request, Cancel, TakeResults and destruction belong to the GUI thread.

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "devices/event.h"
#include "devices/thread.h"
#include "devices/thread_queued_notify.h"
#include "edit/peak_reader.h"

namespace osmera {

struct LPeakRequest {
    std::shared_ptr<LPeakReader> reader;
    uint64_t generation = 0;
    LFramesPerColumn fpc;
    int64_t first = 0;    // first column
    int32_t count = 0;    // columns
    bool frames = false;  // single frames [frameFrom, frameFrom + frameCount) instead
    int32_t frameFrom = 0;
    int32_t frameCount = 0;
};

struct LPeakResult {
    LPeakRequest request;  // without its reader
    std::vector<LPeakRange> peaks;
    std::vector<int32_t> samples;
};

class LPeakWorker : public LThread {
  public:
    explicit LPeakWorker(std::function<void()> onResults);
    ~LPeakWorker() override;

    void Request(LPeakRequest request);
    // Drops every queued request (one that runs finishes, and its result comes).
    void Cancel();
    std::vector<LPeakResult> TakeResults();

  protected:
    void ThreadFunction() override;

  private:
    std::mutex lock_;
    std::deque<LPeakRequest> queue_;
    std::vector<LPeakResult> results_;
    LEvent work_;
    LThreadQueuedNotify notify_;
};

}  // namespace osmera
