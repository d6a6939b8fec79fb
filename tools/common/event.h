/*
 * Where and when a message was met: the context every printer and error line
 * names. File inputs fill the source (file name or TCP flow) and the offset;
 * live sessions and stations fill the peer and the arrival time. Printers
 * show the optional parts only when they are present.
 */
#ifndef SRPOLICY_TOOL_EVENT_H
#define SRPOLICY_TOOL_EVENT_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace srp {

struct EventContext {
    uint64_t ullMessage = 0; /* index of the message in this run, 1-based */
    std::string strSource;   /* input name, TCP flow or session name */
    bool bHasOffset = true;
    uint64_t ullOffset = 0;  /* byte offset of the message in its source */
    bool bHasTime = false;
    int64_t llTimeUs = 0;    /* arrival time: microseconds since 1970-01-01 UTC */
    std::string strPeer;     /* the peer the message came from; empty: not known */
    std::string strRouter;   /* BMP: the monitoring router that reported it */
    std::string strView;     /* BMP: "pre-policy", "post-policy", "loc-rib" */
};

/* The arrival time as "2026-11-24T05:01:02.123456Z". */
std::string EventTimeText(int64_t llTimeUs);
/* The same text written at pcOut (room for kEventTimeRoom bytes); returns
 * its length. */
const size_t kEventTimeRoom = 48u;
size_t EventTimeText(int64_t llTimeUs, char *pcOut);

}  // namespace srp

#endif
