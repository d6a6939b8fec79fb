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

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

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
 * insertion into 100,000 routes, and each call cost more than the compare.
 * The seven fields are compared as four 64-bit words in the same order
 * (family and distinguisher, color and the first endpoint word, then the
 * other three words): fewer branches on the way down the tree. */
inline bool RibKey::operator<(const RibKey &o) const
{
    auto word = [](uint32_t ulHigh, uint32_t ulLow) { return uint64_t{ulHigh} << 32 | ulLow; };
    const uint32_t *a = stKey.aulEndpoint;
    const uint32_t *b = o.stKey.aulEndpoint;
    uint64_t ullA = word(usAfi, stKey.ulDistinguisher);
    uint64_t ullB = word(o.usAfi, o.stKey.ulDistinguisher);
    if (ullA != ullB) {
        return ullA < ullB;
    }
    ullA = word(stKey.ulPolicyColor, a[0]);
    ullB = word(o.stKey.ulPolicyColor, b[0]);
    if (ullA != ullB) {
        return ullA < ullB;
    }
    ullA = word(a[1], a[2]);
    ullB = word(b[1], b[2]);
    return ullA != ullB ? ullA < ullB : a[3] < b[3];
}

/* What an UPDATE says of all its announced routes: the normalised attribute
 * and the next hop. The table holds each distinct one once, shared by every
 * route that carries it (an UPDATE's routes always do, and so do the many
 * UPDATEs of a controller that announces the same paths). */
struct RibPath {
    Bytes vecAttr;         /* normalised Tunnel Encapsulation attribute value */
    bool bHasAttr = false; /* an UPDATE without the attribute still installs the key */
    std::string strNextHop;
};

struct RibRoute {
    const RibPath *pPath = nullptr; /* owned by the table, shared */
    double dReceived = 0.0;         /* seconds since the epoch */
};

/* Fixed-size blocks for the table's nodes, cut from large chunks and reused
 * once freed: a burst of new routes costs no allocation per route. Only
 * blocks of the size first asked for come from here (a map asks for its
 * nodes only); anything else goes to the heap. */
class RibNodePool {
public:
    RibNodePool() = default;
    ~RibNodePool();
    RibNodePool(const RibNodePool &) = delete;
    RibNodePool &operator=(const RibNodePool &) = delete;

    void *Take(size_t ulSize);
    void Give(void *p, size_t ulSize);

private:
    struct Free {
        Free *pNext;
    };
    /* Whether a block of this size is one of the pool's (the size first
     * asked for, rounded up to the alignment every block keeps). */
    bool Pooled(size_t ulSize) const
    {
        return ulSize <= m_ulSize && ulSize + alignof(std::max_align_t) > m_ulSize;
    }
    size_t m_ulSize = 0;
    Free *m_pFree = nullptr;
    char *m_pNext = nullptr; /* uncut part of the newest chunk */
    char *m_pEnd = nullptr;
    std::vector<char *> m_vecChunks;
};

template <class T>
struct RibNodeAllocator {
    using value_type = T;
    RibNodePool *pPool;

    explicit RibNodeAllocator(RibNodePool *p) : pPool(p) {}
    template <class U>
    RibNodeAllocator(const RibNodeAllocator<U> &o) : pPool(o.pPool)
    {
    }
    T *allocate(size_t n) { return static_cast<T *>(pPool->Take(n * sizeof(T))); }
    void deallocate(T *p, size_t n) { pPool->Give(p, n * sizeof(T)); }
    template <class U>
    bool operator==(const RibNodeAllocator<U> &o) const
    {
        return pPool == o.pPool;
    }
    template <class U>
    bool operator!=(const RibNodeAllocator<U> &o) const
    {
        return pPool != o.pPool;
    }
};

class Rib {
public:
    using Table = std::map<RibKey, RibRoute, std::less<RibKey>, RibNodeAllocator<std::pair<const RibKey, RibRoute>>>;

    Rib() = default;
    ~Rib();
    Rib(const Rib &) = delete;
    Rib &operator=(const Rib &) = delete;

    /* The table's shared copy of a path (made when it holds none yet); it
     * lives while a route carries it, so announce with it at once. */
    const RibPath *Share(bool bHasAttr, const Bytes &vecAttr, const std::string &strNextHop);
    /* An announcement: replaces what the source had under the key. */
    void Announce(const RibSource &stSource, const RibKey &stKey, const RibPath *pPath, double dReceived);
    /* A withdrawal; false when the source did not hold the key. */
    bool Withdraw(const RibSource &stSource, const RibKey &stKey);
    /* Everything a source held goes (its session ended, its peer went down). */
    size_t Clear(const RibSource &stSource);

    size_t Size() const;
    size_t Size(const RibSource &stSource) const;
    /* Distinct paths held. */
    size_t Paths() const { return m_ulPaths; }
    const RibRoute *Find(const RibSource &stSource, const RibKey &stKey) const;

    /* Every route in order: source, family, distinguisher, color, endpoint. */
    void ForEach(const std::function<void(const RibSource &, const RibKey &, const RibRoute &)> &fn) const;

private:
    struct SharedPath : RibPath {
        size_t ulHash = 0;
        size_t ulRoutes = 0; /* routes that carry it */
    };
    /* A source's routes, and where the last route announced into each of a
     * few groups (family, distinguisher and color, hashed) went: a peer that
     * sends a policy's endpoints in order, as a table is sent, has its next
     * route placed right after the last one, without a walk from the root. */
    struct SourceTable {
        static constexpr size_t kGroups = 16u;
        explicit SourceTable(RibNodePool *pPool) : mapRoutes(Table::allocator_type(pPool)) { aitLast.fill(mapRoutes.end()); }
        Table mapRoutes;
        std::array<Table::iterator, kGroups> aitLast; /* end(): none */
        Table::iterator &LastOf(const RibKey &stKey)
        {
            return aitLast[(stKey.usAfi ^ stKey.stKey.ulDistinguisher * 31u ^ stKey.stKey.ulPolicyColor) % kGroups];
        }
    };
    void Release(const RibPath *pPath);
    SourceTable &TableOf(const RibSource &stSource);

    RibNodePool m_pool; /* before the tables: they give their nodes back to it */
    std::map<RibSource, SourceTable> m_mapSources;
    /* The source of the last announcement and its table: a session's routes
     * come from one source, and the lookup compares its texts. */
    const RibSource *m_pLastSource = nullptr;
    SourceTable *m_pLastTable = nullptr;
    /* The shared paths in an open-addressed table by the hash of their
     * bytes (linear probing, at most half full): a lookup reads a slot and
     * the path it names, and compares the UPDATE's bytes where they are. */
    struct PathSlot {
        size_t ulHash = 0;
        SharedPath *p = nullptr; /* none: the slot is free */
    };
    void GrowPathSlots();
    std::vector<PathSlot> m_vecPathSlots;
    size_t m_ulPaths = 0;
};

struct DescribedUpdate;

/* "received", "pre-policy", "post-policy", "loc-rib". */
const char *RibViewName(RibView eView);

/* A described UPDATE into the table: announced routes replace, withdrawn
 * ones go. An announcement whose Tunnel Encapsulation attribute was refused
 * removes the route instead (treat-as-withdraw, RFC 7606). Returns how many
 * routes were treated as withdrawn. The UPDATE's announced routes share one
 * path. */
size_t ApplyUpdate(Rib &rib, const RibSource &stSource, const DescribedUpdate &stUpdate, double dReceived);

}  // namespace srp

#endif
