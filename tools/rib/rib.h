/*
 * The table of current SR Policy routes, as a receiver holds it: per source
 * (who sent the routes) and family, the route key (distinguisher, color,
 * endpoint) to the normalised attribute, the next hop and the time the route
 * arrived. Announcements replace, withdrawals remove. Sources are compared
 * field by field, so a BMP station can tell the routers, peers and pre- or
 * post-policy views apart in one table.
 */
#ifndef SRPOLICY_TOOL_RIB_RIB_H
#define SRPOLICY_TOOL_RIB_RIB_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <tuple>

#include "bol_srpolicy.h"
#include "common/bytes.h"

namespace srp {

/* Which view of a peer's routes a table holds (BMP tells pre- from
 * post-policy; a BGP session or a file has only one). */
enum class RibView : uint8_t { Received = 0, PrePolicy = 1, PostPolicy = 2, LocRib = 3 };

struct RibSource {
    std::string strRouter; /* monitoring router (BMP), empty otherwise */
    std::string strPeer;   /* peer address, or the input a file replay read */
    uint32_t ulPeerAs = 0;
    RibView eView = RibView::Received;

    bool operator<(const RibSource &o) const
    {
        return std::tie(strRouter, strPeer, ulPeerAs, eView) < std::tie(o.strRouter, o.strPeer, o.ulPeerAs, o.eView);
    }
    bool operator==(const RibSource &o) const
    {
        return std::tie(strRouter, strPeer, ulPeerAs, eView) == std::tie(o.strRouter, o.strPeer, o.ulPeerAs, o.eView);
    }
};

/* A route key in a form that orders: family, distinguisher, color, then the
 * endpoint words. The plug-in's key travels along for describing the route. */
struct RibKey {
    uint16_t usAfi = 0;
    BOL_SRPOLICY_NLRI_S stKey{};

    bool operator<(const RibKey &o) const;
    bool operator==(const RibKey &o) const { return !(*this < o) && !(o < *this); }
};

/* Here and not out of line: the table compares keys some seventeen times per
 * insertion into 100,000 routes, and each call cost more than the compare. */
inline bool RibKey::operator<(const RibKey &o) const
{
    return std::tie(usAfi, stKey.ulDistinguisher, stKey.ulPolicyColor, stKey.aulEndpoint[0], stKey.aulEndpoint[1],
                    stKey.aulEndpoint[2], stKey.aulEndpoint[3]) <
           std::tie(o.usAfi, o.stKey.ulDistinguisher, o.stKey.ulPolicyColor, o.stKey.aulEndpoint[0],
                    o.stKey.aulEndpoint[1], o.stKey.aulEndpoint[2], o.stKey.aulEndpoint[3]);
}

struct RibRoute {
    Bytes vecAttr;          /* normalised Tunnel Encapsulation attribute value */
    bool bHasAttr = false;  /* an UPDATE without the attribute still installs the key */
    std::string strNextHop;
    double dReceived = 0.0; /* seconds since the epoch */
};

class Rib {
public:
    using Table = std::map<RibKey, RibRoute>;

    /* An announcement: replaces what the source had under the key. */
    void Announce(const RibSource &stSource, const RibKey &stKey, RibRoute stRoute);
    /* A withdrawal; false when the source did not hold the key. */
    bool Withdraw(const RibSource &stSource, const RibKey &stKey);
    /* Everything a source held goes (its session ended, its peer went down). */
    size_t Clear(const RibSource &stSource);

    size_t Size() const;
    size_t Size(const RibSource &stSource) const;
    const RibRoute *Find(const RibSource &stSource, const RibKey &stKey) const;

    /* Every route in order: source, family, distinguisher, color, endpoint. */
    void ForEach(const std::function<void(const RibSource &, const RibKey &, const RibRoute &)> &fn) const;

private:
    std::map<RibSource, Table> m_mapSources;
};

struct DescribedUpdate;

/* A described UPDATE into the table: announced routes replace, withdrawn
 * ones go. An announcement whose Tunnel Encapsulation attribute was refused
 * removes the route instead (treat-as-withdraw, RFC 7606). Returns how many
 * routes were treated as withdrawn. */
/* "received", "pre-policy", "post-policy", "loc-rib". */
const char *RibViewName(RibView eView);

size_t ApplyUpdate(Rib &rib, const RibSource &stSource, const DescribedUpdate &stUpdate, double dReceived);

}  // namespace srp

#endif
