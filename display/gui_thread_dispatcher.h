#pragma once
// The dispatcher the display's workers hand their results over with: each posted call runs
// later on the GUI thread, in the Qt event loop of the application object.
//
// Threads: Post may be called from any thread once the QApplication exists; the calls run
// on the GUI thread. Notifiers (devices/thread_queued_notify.h) made with it drop a call
// that arrives after they are gone.

#include "devices/dispatcher.h"

namespace osmera {

class LGuiThreadDispatcher : public LDispatcher {
  public:
    void Post(std::function<void()> call) override;

    // The one instance, for the life of the program.
    static LGuiThreadDispatcher& Instance();
};

}  // namespace osmera
