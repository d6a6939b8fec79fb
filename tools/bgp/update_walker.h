/*
 * Walks a BGP UPDATE (or an MRT RIB entry) the way a host does: frames the
 * path attributes, hands MP_REACH_NLRI / MP_UNREACH_NLRI of AFI 1 or 2 with
 * SAFI 73 to the plug-in's NLRI parser in its more-flag loop, and the Tunnel
 * Encapsulation attribute to the attribute parser. Everything else is
 * counted as skipped.
 */
#ifndef SRPOLICY_TOOL_UPDATE_WALKER_H
#define SRPOLICY_TOOL_UPDATE_WALKER_H

#include <cstdint>
#include <string>
#include <vector>

#include "common/bgp_codes.h"
#include "bgp/tunnel_encap.h"
#include "common/bytes.h"
#include "plugin/plugin_host.h"

namespace srp {

struct WalkFailure {
    std::string strWhat; /* what failed */
    uint32_t ulCode = 0; /* plug-in result, 0 for a framing problem */
    size_t ulPos = 0;    /* byte position inside the message */
    std::vector<std::string> vecReports; /* the plug-in's assertion reports of the failed call */
};

struct WalkedRoute {
    BOL_SRPOLICY_NLRI_S stKey;
    uint16_t usAfi = 0;
    bool bWithdrawn = false;
};

struct WalkedUpdate {
    std::vector<WalkedRoute> vecRoutes;
    bool bHasAttr = false; /* a Tunnel Encapsulation attribute was decoded */
    uint32_t ulAttrError = 0; /* the attribute parser's refusal */
    Bytes vecAttr;         /* its normalised form */
    WireNotes stAttrNotes; /* what the received attribute value holds beyond its normalised form */
    std::string strNextHop;
    uint32_t ulSkipped = 0;
    std::vector<WalkFailure> vecFailures;

    /* Empties every part, keeping the buffers for the next message. */
    void Clear()
    {
        vecRoutes.clear();
        bHasAttr = false;
        ulAttrError = 0;
        vecAttr.clear();
        stAttrNotes.Clear();
        strNextHop.clear();
        ulSkipped = 0;
        vecFailures.clear();
    }
};

/* A whole UPDATE message, header included; the bytes are changed in place
 * (the plug-in clears ignored bits while decoding). */
void WalkUpdate(PluginHost &host, Bytes &vecMsg, WalkedUpdate &stOut);
/* An MRT RIB entry: one NLRI (length byte first) and the entry's attributes. */
void WalkRibEntry(PluginHost &host, uint16_t usAfi, Bytes &vecNlri, Bytes &vecAttrs, WalkedUpdate &stOut);
/* Bare NLRI bytes (one or more SR Policy NLRI) of an announcement. */
void WalkNlri(PluginHost &host, Bytes &vecNlri, WalkedUpdate &stOut);

}  // namespace srp

#endif
