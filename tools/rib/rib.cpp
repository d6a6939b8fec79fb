/* The table of current routes. */
#include "rib/rib.h"

#include <utility>

#include "plugin/describer.h"

namespace srp {

void Rib::Announce(const RibSource &stSource, const RibKey &stKey, RibRoute stRoute)
{
    m_mapSources[stSource].insert_or_assign(stKey, std::move(stRoute));
}

bool Rib::Withdraw(const RibSource &stSource, const RibKey &stKey)
{
    auto it = m_mapSources.find(stSource);
    if (it == m_mapSources.end() || it->second.erase(stKey) == 0u) {
        return false;
    }
    if (it->second.empty()) {
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
    size_t ulCount = it->second.size();
    m_mapSources.erase(it);
    return ulCount;
}

size_t Rib::Size() const
{
    size_t ulCount = 0u;
    for (const auto &stEntry : m_mapSources) {
        ulCount += stEntry.second.size();
    }
    return ulCount;
}

size_t Rib::Size(const RibSource &stSource) const
{
    auto it = m_mapSources.find(stSource);
    return it == m_mapSources.end() ? 0u : it->second.size();
}

const RibRoute *Rib::Find(const RibSource &stSource, const RibKey &stKey) const
{
    auto it = m_mapSources.find(stSource);
    if (it == m_mapSources.end()) {
        return nullptr;
    }
    auto itRoute = it->second.find(stKey);
    return itRoute == it->second.end() ? nullptr : &itRoute->second;
}

void Rib::ForEach(const std::function<void(const RibSource &, const RibKey &, const RibRoute &)> &fn) const
{
    for (const auto &stSource : m_mapSources) {
        for (const auto &stRoute : stSource.second) {
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
    for (const DescribedRoute &stRoute : stUpdate.vecRoutes) {
        RibKey stKey;
        stKey.usAfi = stRoute.usAfi;
        stKey.stKey = stRoute.stKey;
        if (stRoute.bWithdrawn || stUpdate.stAttr.ulError != 0u) {
            ulTreated += stRoute.bWithdrawn ? 0u : 1u;
            rib.Withdraw(stSource, stKey);
            continue;
        }
        RibRoute stEntry;
        stEntry.bHasAttr = stUpdate.stAttr.bPresent;
        stEntry.vecAttr = stUpdate.stAttr.vecNormalised;
        stEntry.strNextHop = stUpdate.strNextHop;
        stEntry.dReceived = dReceived;
        rib.Announce(stSource, stKey, std::move(stEntry));
    }
    return ulTreated;
}

}  // namespace srp
