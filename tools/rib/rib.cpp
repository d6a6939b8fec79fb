/* The table of current routes. */
#include "rib/rib.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "plugin/describer.h"

namespace srp {

namespace {

/* Nodes per chunk of the pool: some hundred kilobytes at a time. */
const size_t kNodesPerChunk = 4096u;

/* A hash of a path's bytes, eight at a time (multiply and fold): a few
 * instructions per word, where a general string hash costs some hundred per
 * attribute. */
size_t HashPath(bool bHasAttr, const Bytes &vecAttr, const std::string &strNextHop)
{
    uint64_t ullHash = bHasAttr ? 0x9E3779B97F4A7C15ull : 0x6A09E667F3BCC909ull;
    auto mix = [&ullHash](const uint8_t *p, size_t n) {
        ullHash ^= n;
        while (n != 0u) {
            size_t ulTake = std::min<size_t>(n, 8u);
            uint64_t ullWord = 0;
            std::memcpy(&ullWord, p, ulTake);
            ullHash = (ullHash ^ ullWord) * 0xFF51AFD7ED558CCDull;
            ullHash ^= ullHash >> 32;
            p += ulTake;
            n -= ulTake;
        }
    };
    mix(vecAttr.data(), vecAttr.size());
    mix(reinterpret_cast<const uint8_t *>(strNextHop.data()), strNextHop.size());
    return static_cast<size_t>(ullHash);
}

}  // namespace

RibNodePool::~RibNodePool()
{
    for (char *p : m_vecChunks) {
        ::operator delete(p);
    }
}

void *RibNodePool::Take(size_t ulSize)
{
    if (m_ulSize == 0u && ulSize >= sizeof(Free)) {
        m_ulSize = (ulSize + alignof(std::max_align_t) - 1u) / alignof(std::max_align_t) * alignof(std::max_align_t);
    }
    if (!Pooled(ulSize)) {
        return ::operator new(ulSize);
    }
    if (m_pFree != nullptr) {
        Free *p = m_pFree;
        m_pFree = p->pNext;
        return p;
    }
    if (m_pNext == m_pEnd) {
        m_vecChunks.reserve(m_vecChunks.size() + 1u);
        m_pNext = static_cast<char *>(::operator new(m_ulSize * kNodesPerChunk));
        m_pEnd = m_pNext + m_ulSize * kNodesPerChunk;
        m_vecChunks.push_back(m_pNext);
    }
    void *p = m_pNext;
    m_pNext += m_ulSize;
    return p;
}

void RibNodePool::Give(void *p, size_t ulSize)
{
    if (!Pooled(ulSize)) {
        ::operator delete(p);
        return;
    }
    Free *pFree = static_cast<Free *>(p);
    pFree->pNext = m_pFree;
    m_pFree = pFree;
}

Rib::~Rib()
{
    for (const PathSlot &st : m_vecPathSlots) {
        delete st.p;
    }
}

void Rib::GrowPathSlots()
{
    std::vector<PathSlot> vecOld(std::max<size_t>(64u, m_vecPathSlots.size() * 2u));
    vecOld.swap(m_vecPathSlots);
    size_t ulMask = m_vecPathSlots.size() - 1u;
    for (const PathSlot &st : vecOld) {
        if (st.p != nullptr) {
            size_t i = st.ulHash & ulMask;
            while (m_vecPathSlots[i].p != nullptr) {
                i = (i + 1u) & ulMask;
            }
            m_vecPathSlots[i] = st;
        }
    }
}

const RibPath *Rib::Share(bool bHasAttr, const Bytes &vecAttr, const std::string &strNextHop)
{
    if (2u * (m_ulPaths + 1u) > m_vecPathSlots.size()) {
        GrowPathSlots();
    }
    size_t ulHash = HashPath(bHasAttr, vecAttr, strNextHop);
    size_t ulMask = m_vecPathSlots.size() - 1u;
    size_t i = ulHash & ulMask;
    for (; m_vecPathSlots[i].p != nullptr; i = (i + 1u) & ulMask) {
        const SharedPath &st = *m_vecPathSlots[i].p;
        if (m_vecPathSlots[i].ulHash == ulHash && st.bHasAttr == bHasAttr && st.vecAttr == vecAttr &&
            st.strNextHop == strNextHop) {
            return &st;
        }
    }
    auto *pNew = new SharedPath;
    pNew->bHasAttr = bHasAttr;
    pNew->vecAttr = vecAttr;
    pNew->strNextHop = strNextHop;
    pNew->ulHash = ulHash;
    m_vecPathSlots[i] = PathSlot{ulHash, pNew};
    m_ulPaths++;
    return pNew;
}

void Rib::Release(const RibPath *pPath)
{
    auto *p = static_cast<SharedPath *>(const_cast<RibPath *>(pPath));
    if (--p->ulRoutes != 0u) {
        return;
    }
    size_t ulMask = m_vecPathSlots.size() - 1u;
    size_t i = p->ulHash & ulMask;
    while (m_vecPathSlots[i].p != p) {
        i = (i + 1u) & ulMask;
    }
    /* The paths after it in its run move back where their probe would
     * otherwise stop early at the freed slot. */
    for (size_t j = (i + 1u) & ulMask; m_vecPathSlots[j].p != nullptr; j = (j + 1u) & ulMask) {
        /* it stays where its own slot lies after the freed one (going round) */
        size_t ulHome = m_vecPathSlots[j].ulHash & ulMask;
        if (((j - ulHome) & ulMask) >= ((j - i) & ulMask)) {
            m_vecPathSlots[i] = m_vecPathSlots[j];
            i = j;
        }
    }
    m_vecPathSlots[i] = PathSlot{};
    m_ulPaths--;
    delete p;
}

Rib::SourceTable &Rib::TableOf(const RibSource &stSource)
{
    if (m_pLastTable == nullptr || !(stSource == *m_pLastSource)) {
        auto it = m_mapSources.try_emplace(stSource, &m_pool).first;
        m_pLastSource = &it->first;
        m_pLastTable = &it->second;
    }
    return *m_pLastTable;
}

void Rib::Announce(const RibSource &stSource, const RibKey &stKey, const RibPath *pPath, double dReceived)
{
    static_cast<SharedPath *>(const_cast<RibPath *>(pPath))->ulRoutes++;
    SourceTable &stTable = TableOf(stSource);
    Table &map = stTable.mapRoutes;
    Table::iterator &itLast = stTable.LastOf(stKey);
    Table::iterator it = map.end();
    if (itLast != map.end() && itLast->first < stKey) { /* after the group's last route: is it the next? */
        Table::iterator itNext = std::next(itLast);
        if (itNext == map.end() || stKey < itNext->first) {
            itLast = map.emplace_hint(itNext, stKey, RibRoute{pPath, dReceived});
            return;
        }
        if (!(itNext->first < stKey)) {
            it = itNext;
        }
    }
    if (it == map.end()) {
        auto stDone = map.try_emplace(stKey, RibRoute{pPath, dReceived});
        itLast = stDone.first;
        if (stDone.second) {
            return;
        }
        it = stDone.first;
    }
    /* a route the source had: the new one replaces it */
    itLast = it;
    const RibPath *pOld = it->second.pPath;
    it->second = RibRoute{pPath, dReceived};
    Release(pOld);
}

bool Rib::Withdraw(const RibSource &stSource, const RibKey &stKey)
{
    auto it = m_mapSources.find(stSource);
    if (it == m_mapSources.end()) {
        return false;
    }
    Table &map = it->second.mapRoutes;
    auto itRoute = map.find(stKey);
    if (itRoute == map.end()) {
        return false;
    }
    Table::iterator &itLast = it->second.LastOf(stKey);
    if (itLast == itRoute) {
        itLast = map.end();
    }
    const RibPath *pPath = itRoute->second.pPath;
    map.erase(itRoute);
    Release(pPath);
    if (map.empty()) {
        m_pLastTable = nullptr;
        m_mapSources.erase(it);
    }
    return true;
}

size_t Rib::Clear(const RibSource &stSource)
{
    auto it = m_mapSources.find(stSource);
    if (it == m_mapSources.end()) {
        return 0u;
    }
    size_t ulCount = it->second.mapRoutes.size();
    for (const auto &stRoute : it->second.mapRoutes) {
        Release(stRoute.second.pPath);
    }
    m_pLastTable = nullptr;
    m_mapSources.erase(it);
    return ulCount;
}

size_t Rib::Size() const
{
    size_t ulCount = 0u;
    for (const auto &stEntry : m_mapSources) {
        ulCount += stEntry.second.mapRoutes.size();
    }
    return ulCount;
}

size_t Rib::Size(const RibSource &stSource) const
{
    auto it = m_mapSources.find(stSource);
    return it == m_mapSources.end() ? 0u : it->second.mapRoutes.size();
}

const RibRoute *Rib::Find(const RibSource &stSource, const RibKey &stKey) const
{
    auto it = m_mapSources.find(stSource);
    if (it == m_mapSources.end()) {
        return nullptr;
    }
    auto itRoute = it->second.mapRoutes.find(stKey);
    return itRoute == it->second.mapRoutes.end() ? nullptr : &itRoute->second;
}

void Rib::ForEach(const std::function<void(const RibSource &, const RibKey &, const RibRoute &)> &fn) const
{
    for (const auto &stSource : m_mapSources) {
        for (const auto &stRoute : stSource.second.mapRoutes) {
            fn(stSource.first, stRoute.first, stRoute.second);
        }
    }
}

const char *RibViewName(RibView eView)
{
    switch (eView) {
        case RibView::PrePolicy: return "pre-policy";
        case RibView::PostPolicy: return "post-policy";
        case RibView::LocRib: return "loc-rib";
        default: return "received";
    }
}

size_t ApplyUpdate(Rib &rib, const RibSource &stSource, const DescribedUpdate &stUpdate, double dReceived)
{
    size_t ulTreated = 0;
    const RibPath *pPath = nullptr; /* shared by the UPDATE's announced routes */
    for (const DescribedRoute &stRoute : stUpdate.vecRoutes) {
        RibKey stKey;
        stKey.usAfi = stRoute.usAfi;
        stKey.stKey = stRoute.stKey;
        if (stRoute.bWithdrawn || stUpdate.stAttr.ulError != 0u) {
            ulTreated += stRoute.bWithdrawn ? 0u : 1u;
            rib.Withdraw(stSource, stKey);
            continue;
        }
        if (pPath == nullptr) {
            pPath = rib.Share(stUpdate.stAttr.bPresent, stUpdate.stAttr.vecNormalised, stUpdate.strNextHop);
        }
        rib.Announce(stSource, stKey, pPath, dReceived);
    }
    return ulTreated;
}

}  // namespace srp
