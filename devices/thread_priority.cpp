#include "devices/thread_priority.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>

#include "core/trace.h"

namespace osmera {
namespace {

// Read once at start-up on the main thread: threads inherit the nice value of the thread
// that creates them, so a worker started by a time-critical worker would otherwise take
// the raised level as its base.
const int kBaseNice = getpriority(PRIO_PROCESS, 0);

}  // namespace

int NiceForThreadPriority(int priority) {
    // Clamp the priority first so that the product cannot overflow.
    const int p = std::clamp(priority, -15, 15);
    return std::clamp(kBaseNice - 5 * p, -20, 19);
}

long CurrentThreadId() {
#ifdef __linux__
    return static_cast<long>(gettid());
#else
    return 0;
#endif
}

bool ApplyThreadPriority(long tid, int priority) {
#ifdef __linux__
    // On Linux the nice value is per thread, addressed by the thread's kernel id.
    const id_t who = static_cast<id_t>(tid != 0 ? tid : CurrentThreadId());
    if (setpriority(PRIO_PROCESS, who, NiceForThreadPriority(priority)) != 0) {
        LTracef("LThread::SetPriority setpriority FAILED (priority %d)", priority);
        return false;
    }
#else
    (void)tid;
    (void)priority;
#endif
    return true;
}

}  // namespace osmera
