// SPDX-License-Identifier: Apache-2.0
#pragma once

// All times are processor time of the measuring thread, the system's share included: reading configuration waits for
// nothing, and what else the machine does at the moment is not counted.

#include <time.h>

namespace Bench {

inline long long cpuNanoseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

} // namespace Bench
