/* Text of an event's arrival time. */
#include "common/event.h"

#include <cstdio>
#include <ctime>

namespace srp {

std::string EventTimeText(int64_t llTimeUs)
{
    int64_t llSec = llTimeUs / 1000000;
    int64_t llUs = llTimeUs % 1000000;
    if (llUs < 0) {
        llUs += 1000000;
        llSec -= 1;
    }
    time_t tSec = static_cast<time_t>(llSec);
    struct tm stTm;
    gmtime_r(&tSec, &stTm);
    char ac[64];
    std::snprintf(ac, sizeof(ac), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ", stTm.tm_year + 1900, stTm.tm_mon + 1,
                  stTm.tm_mday, stTm.tm_hour, stTm.tm_min, stTm.tm_sec, static_cast<int>(llUs));
    return ac;
}

}  // namespace srp
