#pragma once
// LQtDispatcher: the engine's dispatcher as a queued call into the Qt event loop of the GUI
// thread. Workers (player, recorder, peak threads) post through it; the calls run on the
// thread of the dispatcher's context object, in the order they were posted.
//
// Ownership: owns a context QObject living on the thread that created the dispatcher (the
// GUI thread). Calls still queued when the dispatcher is destroyed are dropped, never run.
// Threads: Post from any thread; construct and destroy on the GUI thread.

#include <QObject>
#include <memory>

#include "devices/dispatcher.h"

namespace osmera {

class LQtDispatcher : public LDispatcher {
  public:
    LQtDispatcher();
    ~LQtDispatcher() override;
    LQtDispatcher(const LQtDispatcher&) = delete;
    LQtDispatcher& operator=(const LQtDispatcher&) = delete;

    void Post(std::function<void()> call) override;

  private:
    std::unique_ptr<QObject> context_;
};

}  // namespace osmera
