#include "devices/cd_lookup_job.h"

namespace osmera {

LCdLookupJob::LCdLookupJob(LDispatcher& dispatcher, Done done)
    : dispatcher_(dispatcher),
      done_(std::move(done)),
      cancel_(std::make_shared<std::atomic<bool>>(false)),
      finished_(std::make_shared<std::atomic<bool>>(true)),
      alive_(std::make_shared<std::atomic<bool>>(true)) {}

LCdLookupJob::~LCdLookupJob() {
    Cancel();
    alive_->store(false);
}

void LCdLookupJob::Cancel() {
    cancel_->store(true);
    if (thread_.joinable())
        thread_.join();
}

void LCdLookupJob::Start(const LCdToc& toc, const LCdLookupSettings& settings) {
    Cancel();
    // A fresh flag per run: the posted result of a cancelled run sees its own flag set.
    cancel_ = std::make_shared<std::atomic<bool>>(false);
    finished_ = std::make_shared<std::atomic<bool>>(false);
    auto cancel = cancel_;
    auto finished = finished_;
    auto alive = alive_;
    LDispatcher* dispatcher = &dispatcher_;
    Done* done = &done_;
    thread_ = std::thread([toc, settings, cancel, finished, alive, dispatcher, done] {
        LCdLookupResult result = LookupDisc(toc, settings, cancel.get());
        finished->store(true);
        dispatcher->Post([result = std::move(result), cancel, alive, done] {
            if (alive->load() && !cancel->load())
                (*done)(result);
        });
    });
}

}  // namespace osmera
