#pragma once
// Thread priorities. The program names them by the usual desktop scale (normal 0, one or
// two steps above or below, idle and time-critical at the ends); on Linux each step is
// five nice levels around the nice value the process started with, per thread.
//
// Raising a thread above the process's start level needs the right to do so (root or a
// nice limit); without it the change is refused, traced, and the thread keeps running at
// the level it had. Sound stays correct then, only less protected from other load.

namespace osmera {

enum : int {
    kThreadPriorityIdle = -15,
    kThreadPriorityLowest = -2,
    kThreadPriorityBelowNormal = -1,
    kThreadPriorityNormal = 0,
    kThreadPriorityAboveNormal = 1,
    kThreadPriorityHighest = 2,
    kThreadPriorityTimeCritical = 15,
};

// The nice value that `priority` maps to.
int NiceForThreadPriority(int priority);

// Applies `priority` to the thread with kernel id `tid` (0: the calling thread). False,
// with a trace, when the system refuses it.
bool ApplyThreadPriority(long tid, int priority);

// The kernel id of the calling thread.
long CurrentThreadId();

}  // namespace osmera
