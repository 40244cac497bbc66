// The calling thread's own CPU time, which the frame rows report beside the
// wall-clock times of a machine shared with other work.
#pragma once

#include <QtGlobal>
#include <ctime>

// CPU time of the calling thread, in nanoseconds: what a frame cost, apart
// from the time other processes of a shared machine took meanwhile.
inline qint64 threadNanos() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}
