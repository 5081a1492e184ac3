#pragma once
// A disc lookup in the background: LookupDisc on a thread of its own, its result handed to
// the GUI thread through a dispatcher, so that a dialog stays usable while the server
// takes its time.
//
// Created, started and destroyed on the GUI thread. `done` runs through the dispatcher on
// its thread, once, unless the job was destroyed first: the destructor cancels the
// transfer and waits for the thread (the transfer notices within about a second), and a
// result that arrives after that is dropped.

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "devices/cd_lookup.h"
#include "devices/dispatcher.h"

namespace osmera {

class LCdLookupJob {
  public:
    using Done = std::function<void(const LCdLookupResult&)>;

    LCdLookupJob(LDispatcher& dispatcher, Done done);
    ~LCdLookupJob();
    LCdLookupJob(const LCdLookupJob&) = delete;
    LCdLookupJob& operator=(const LCdLookupJob&) = delete;

    // Starts a lookup of `toc` (a copy is taken); a lookup still running is cancelled
    // and its result dropped.
    void Start(const LCdToc& toc, const LCdLookupSettings& settings);
    void Cancel();
    bool Running() const { return thread_.joinable() && !finished_->load(); }

  private:
    LDispatcher& dispatcher_;
    Done done_;
    std::thread thread_;
    // Shared with the thread and the posted call: the posted call checks `alive` before
    // it touches the job.
    std::shared_ptr<std::atomic<bool>> cancel_;
    std::shared_ptr<std::atomic<bool>> finished_;
    std::shared_ptr<std::atomic<bool>> alive_;
};

}  // namespace osmera
