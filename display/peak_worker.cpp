#include "display/peak_worker.h"

#include "display/gui_thread_dispatcher.h"

namespace osmera {

LPeakWorker::LPeakWorker(std::function<void()> onResults)
    : notify_(std::move(onResults), &LGuiThreadDispatcher::Instance()) {
    Start();
}

LPeakWorker::~LPeakWorker() {
    StopThreadTimed();
}

void LPeakWorker::Request(LPeakRequest request) {
    std::lock_guard<std::mutex> l(lock_);
    queue_.push_back(std::move(request));
    work_.Set();
}

void LPeakWorker::Cancel() {
    std::deque<LPeakRequest> dropped;
    std::lock_guard<std::mutex> l(lock_);
    dropped.swap(queue_);
}

std::vector<LPeakResult> LPeakWorker::TakeResults() {
    std::lock_guard<std::mutex> l(lock_);
    return std::move(results_);
}

void LPeakWorker::ThreadFunction() {
    while (!ShouldStop()) {
        LPeakRequest request;
        {
            std::lock_guard<std::mutex> l(lock_);
            if (queue_.empty()) {
                work_.Reset();
            } else {
                request = std::move(queue_.front());
                queue_.pop_front();
            }
        }
        if (!request.reader) {
            WaitEitherEvent(StopEvent(), work_, kWaitInfinite);
            continue;
        }
        LPeakResult result;
        if (request.frames) {
            request.reader->ReadFrames(request.frameFrom, request.frameCount, result.samples);
        } else {
            request.reader->ReadPeaks(request.fpc, request.first, request.count, result.peaks);
        }
        request.reader.reset();  // the GUI thread may drop its snapshot meanwhile
        result.request = std::move(request);
        {
            std::lock_guard<std::mutex> l(lock_);
            results_.push_back(std::move(result));
        }
        notify_.Notify();
    }
}

}  // namespace osmera
