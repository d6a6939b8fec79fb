/*
 * What a BMP station does with the messages of its routers, apart from the
 * sockets: Route Monitoring UPDATEs go down the decode road (walker,
 * describer, printer) with the router, the monitored peer, the view and the
 * per-peer time stamp as their context, and into the table kept per (router,
 * monitored peer, view); Peer Down clears that peer's routes; Initiation,
 * Peer Up, Peer Down and Termination are shown as session events, Statistics
 * Reports counted (shown with verbose). The station and `decode` share it.
 */
#ifndef SRPOLICY_TOOL_BMP_MONITOR_H
#define SRPOLICY_TOOL_BMP_MONITOR_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "bgp/update_walker.h"
#include "bmp/bmp_message.h"
#include "output/out_buffer.h"
#include "output/printer.h"
#include "plugin/describer.h"
#include "plugin/plugin_host.h"
#include "rib/rib.h"

namespace srp {
namespace bmp {

struct MonitorOptions {
    bool bJson = false;
    bool bVerbose = false;        /* show Statistics Reports */
    bool bArrivalTimeIfNone = false; /* a zero time stamp becomes the arrival time (live) */
};

struct MonitorCounts : RouteCounts {
    uint64_t ullMessages = 0;
    uint64_t ullStatistics = 0;
};

struct EventFields; /* the JSON fields of a session event (monitor.cpp) */

class Monitor {
public:
    Monitor(PluginHost &host, Rib &rib, OutBuffer &out, const MonitorOptions &stOptions);

    /* One whole BMP message of the router's stream, met at ullOffset of the
     * source, the ullIndex-th message of the run. False when it is malformed (strError says why): the caller
     * ends that stream. */
    bool Handle(const std::string &strRouter, const std::string &strSource, const uint8_t *p, size_t n,
                 uint64_t ullOffset, uint64_t ullIndex, std::string &strError);
    /* The router's stream ended: its tables are no longer kept up to date
     * and go. Returns the number of routes removed. */
    size_t RouterGone(const std::string &strRouter);

    /* Every table: one route event per stored route (text or JSON), in the
     * table's order, after a heading line in text. */
    void Dump(OutBuffer &out, bool bJson);

    const MonitorCounts &Count() const { return m_stCount; }
    /* A stream broke outside a message (framing, a cut message at the end). */
    void CountBrokenStream() { m_stCount.ullFailed++; }
    /* The context of the last message (for error lines). */
    const EventContext &Context() const { return m_stCtx; }

private:
    void Start(const std::string &strRouter, const std::string &strSource, uint64_t ullOffset, uint64_t ullIndex,
               const Message &stMsg);
    void RouteMonitoring(const Message &stMsg, Bytes &vecUpdate, bool bStore);
    /* A session event: its text line, or one JSON object of the common
     * fields followed by the message's own. */
    void Event(const Message &stMsg, const std::string &strText, const EventFields &stFields);

    PluginHost &m_host;
    Rib &m_rib;
    OutBuffer &m_out;
    MonitorOptions m_stOptions;
    Describer m_describer;
    std::unique_ptr<Printer> m_pPrinter;
    EventContext m_stCtx;
    WalkedUpdate m_stWalk;
    DescribedUpdate m_stUpdate;
    MonitorCounts m_stCount;
    std::map<std::string, std::string> m_mapSysNames; /* router -> sysName */
};

/* The table source of a monitored peer seen by a router. */
RibSource SourceOf(const std::string &strRouter, const PeerHeader &stPeer);

}  // namespace bmp
}  // namespace srp

#endif
