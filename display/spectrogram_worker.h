#pragma once
// The worker thread behind a spectrogram view: it computes runs of columns with the view's
// analyser (effects/spectrogram.h) and hands them to the GUI thread a few columns at a
// time, so that a long run shows as it grows.
//
// Requests are queued; a view that changes what it shows (new settings, edited audio)
// calls Cancel, which drops the queue and stops the run in progress at its next chunk, and
// drops results whose generation is not its current one. The handler given at construction
// runs on the GUI thread (merged: one call may find several results).
//
// Ownership: requests share their analyser with the view; only this worker uses it while
// requests are queued (the view makes a new analyser rather than touch a shared one).
// Threads: Request, Cancel, TakeResults and destruction belong to the GUI thread.

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "devices/event.h"
#include "devices/thread.h"
#include "devices/thread_queued_notify.h"
#include "effects/spectrogram.h"

namespace osmera {

struct LSpectrogramRequest {
    std::shared_ptr<LSpectrogramAnalyser> analyser;
    uint64_t generation = 0;
    LFramesPerColumn fpc;
    int64_t first = 0;  // first column
    int32_t count = 0;  // columns
};

struct LSpectrogramResult {
    uint64_t generation = 0;
    LFramesPerColumn fpc;
    int64_t first = 0;
    int32_t count = 0;
    int32_t bins = 0;
    std::vector<float> levels;  // count * bins, column after column
};

class LSpectrogramWorker : public LThread {
  public:
    // Columns handed over at a time.
    static constexpr int32_t kChunkColumns = 16;

    explicit LSpectrogramWorker(std::function<void()> onResults);
    ~LSpectrogramWorker() override;

    void Request(LSpectrogramRequest request);
    void Cancel();
    std::vector<LSpectrogramResult> TakeResults();

  protected:
    void ThreadFunction() override;

  private:
    std::mutex lock_;
    std::deque<LSpectrogramRequest> queue_;
    std::vector<LSpectrogramResult> results_;
    std::atomic<bool> abort_{false};
    LEvent work_;
    LThreadQueuedNotify notify_;
};

}  // namespace osmera
