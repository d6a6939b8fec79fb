/* Text of an event's arrival time. */
#include "common/event.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace srp {

size_t EventTimeText(int64_t llTimeUs, char *pcOut)
{
    int64_t llSec = llTimeUs / 1000000;
    int64_t llUs = llTimeUs % 1000000;
    if (llUs < 0) {
        llUs += 1000000;
        llSec -= 1;
    }
    /* Live sessions stamp every route: the date and time of the last second
     * seen is kept, so most calls only write the microseconds. */
    thread_local int64_t llCachedSec = INT64_MIN;
    thread_local char acSecond[80];
    if (llSec != llCachedSec) {
        time_t tSec = static_cast<time_t>(llSec);
        struct tm stTm;
        gmtime_r(&tSec, &stTm);
        std::snprintf(acSecond, sizeof(acSecond), "%04d-%02d-%02dT%02d:%02d:%02d", stTm.tm_year + 1900,
                      stTm.tm_mon + 1, stTm.tm_mday, stTm.tm_hour, stTm.tm_min, stTm.tm_sec);
        llCachedSec = llSec;
    }
    size_t ulLen = strnlen(acSecond, kEventTimeRoom - 8u);
    memcpy(pcOut, acSecond, ulLen);
    pcOut[ulLen] = '.';
    for (size_t i = 6; i >= 1; i--) {
        pcOut[ulLen + i] = static_cast<char>('0' + llUs % 10);
        llUs /= 10;
    }
    pcOut[ulLen + 7u] = 'Z';
    return ulLen + 8u;
}

std::string EventTimeText(int64_t llTimeUs)
{
    char ac[kEventTimeRoom];
    return std::string(ac, EventTimeText(llTimeUs, ac));
}

}  // namespace srp
