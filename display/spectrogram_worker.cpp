#include "display/spectrogram_worker.h"

#include <algorithm>

#include "display/gui_thread_dispatcher.h"

namespace osmera {

LSpectrogramWorker::LSpectrogramWorker(std::function<void()> onResults)
    : notify_(std::move(onResults), &LGuiThreadDispatcher::Instance()) {
    Start();
}

LSpectrogramWorker::~LSpectrogramWorker() {
    abort_ = true;
    StopThreadTimed();
}

void LSpectrogramWorker::Request(LSpectrogramRequest request) {
    std::lock_guard<std::mutex> l(lock_);
    queue_.push_back(std::move(request));
    work_.Set();
}

void LSpectrogramWorker::Cancel() {
    std::deque<LSpectrogramRequest> dropped;
    std::lock_guard<std::mutex> l(lock_);
    dropped.swap(queue_);
    abort_ = true;
}

std::vector<LSpectrogramResult> LSpectrogramWorker::TakeResults() {
    std::lock_guard<std::mutex> l(lock_);
    return std::move(results_);
}

void LSpectrogramWorker::ThreadFunction() {
    while (!ShouldStop()) {
        LSpectrogramRequest request;
        {
            std::lock_guard<std::mutex> l(lock_);
            if (queue_.empty()) {
                work_.Reset();
            } else {
                request = std::move(queue_.front());
                queue_.pop_front();
                abort_ = false;
            }
        }
        if (!request.analyser) {
            WaitEitherEvent(StopEvent(), work_, kWaitInfinite);
            continue;
        }
        for (int32_t done = 0; done < request.count && !ShouldStop() && !abort_;) {
            LSpectrogramResult result;
            result.generation = request.generation;
            result.fpc = request.fpc;
            result.first = request.first + done;
            result.bins = request.analyser->Bins();
            const int32_t n = std::min(kChunkColumns, request.count - done);
            result.count = request.analyser->ComputeColumns(request.fpc, result.first, n,
                                                            result.levels, &abort_);
            if (result.count < n)
                break;
            done += n;
            {
                std::lock_guard<std::mutex> l(lock_);
                results_.push_back(std::move(result));
            }
            notify_.Notify();
        }
    }
}

}  // namespace osmera
