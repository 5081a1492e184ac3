#pragma once
// LJournalWriteQueue: one writer thread that puts journal files on the disk
// (WriteFileAtomically: temporary file, flush, rename, folder flush), so that the two
// flushes, most of a journal's cost, stay off the thread that owns the documents.
//
// The owner hands over finished bytes per journal path (Post). Only the newest state per
// path waits: a state not yet taken by the writer is dropped when a newer one comes, so an
// older state is never written after a newer one, and every state on the disk is one the
// owner handed over.
//
// Cut references: each Post comes with the cuts its bytes name, one reference each already
// taken by the caller; the queue owns them from then on. A dropped or failed state lets its
// references go; a state renamed into place keeps them and only then lets go of the
// references of the journal it replaced. So a cut is released only after a journal that
// no longer names it is on the disk.
//
// Threads: Post, Remove, Drain and the destructor are called by the owner (the thread that
// owns the documents); the failure callback runs on the writer thread under the queue's
// lock (it must not call the queue), and never after the queue's end. Time-outs are traced
// and reported (false); what the writer still has to do it finishes on its own, and a path
// already removed is cleaned up by the writer once its last write ends.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace osmera {

class LJournalWriteQueue {
  public:
    // `onFailure(label, message)`: a journal could not be written (writer thread).
    using FailureFn = std::function<void(const std::string& label, const std::string& message)>;
    // How long closing a document or the queue's end waits for the writer.
    static constexpr uint32_t kWaitMs = 5000;

    explicit LJournalWriteQueue(FailureFn onFailure = {});
    // Drain(kWaitMs), then ends the thread (let go, traced, when it does not end in time).
    ~LJournalWriteQueue();
    LJournalWriteQueue(const LJournalWriteQueue&) = delete;
    LJournalWriteQueue& operator=(const LJournalWriteQueue&) = delete;

    // Queues `bytes` for the journal at `path`, replacing a state still waiting there.
    // `pins`: the cuts the bytes name, referenced once each by the caller (see above).
    // `label` names the document in failure messages.
    void Post(const std::string& path, std::string bytes, std::vector<uint16_t> pins,
              std::string label);
    // Drops the waiting state of `path`, waits (at most `timeoutMs`) for a write in
    // progress, removes the journal and lets go of its cuts. False on a time-out: the
    // writer then removes it after its write.
    bool Remove(const std::string& path, uint32_t timeoutMs = kWaitMs);
    // Waits until every handed-over state is written (or failed). False on a time-out.
    bool Drain(uint32_t timeoutMs = kWaitMs);

  private:
    struct State;
    static void Run(std::shared_ptr<State> state);
    std::shared_ptr<State> state_;
};

// Lets go of one reference on each of `pins` in the cut tank.
void ReleaseCuts(const std::vector<uint16_t>& pins);

}  // namespace osmera
