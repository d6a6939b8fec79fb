/* `srpolicy announce`: configured SR Policies to BGP peers, kept up to date
 * on SIGHUP and withdrawn at exit. */
#include <algorithm>
#include <csignal>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <tuple>

#include "encode/encode.h"
#include "live.h"

namespace srp {

namespace {

/* A route's identity: family, endpoint, color, distinguisher. */
using RouteId = std::tuple<Bytes, uint32_t, uint32_t>;

RouteId IdOf(const CfgRoute &st) { return RouteId{st.vecEndpoint, st.ulColor, st.ulDistinguisher}; }

uint16_t AfiOf(const CfgRoute &st) { return st.vecEndpoint.size() == 4u ? kAfiIpv4 : kAfiIpv6; }

bool ReadConfig(const std::string &strPath, std::vector<CfgRoute> &vecRoutes, std::string &strError)
{
    std::ifstream is(strPath, std::ios::binary);
    if (!is) {
        strError = "cannot read " + strPath;
        return false;
    }
    std::ostringstream os;
    os << is.rdbuf();
    vecRoutes.clear();
    return LoadConfig(os.str(), vecRoutes, strError);
}

class Announcer : public SpeakerHandler {
public:
    Announcer(PluginHost &host, const AnnounceOptions &stOptions) : m_host(host), m_stOptions(stOptions) {}

    /* The configuration as it will be sent; false with the reason. */
    bool Load(std::string &strError)
    {
        std::vector<CfgRoute> vecRoutes;
        if (!ReadConfig(m_stOptions.strConfig, vecRoutes, strError)) {
            return false;
        }
        /* Towards an external peer our AS leads the path, as on any eBGP
         * session. */
        uint32_t ulLocal = m_stOptions.stSpeaker.stSession.ulLocalAs;
        uint32_t ulPeer = m_stOptions.stSpeaker.stSession.ulPeerAs;
        for (CfgRoute &st : vecRoutes) {
            if (ulPeer != ulLocal) {
                st.vecAsPath.insert(st.vecAsPath.begin(), ulLocal);
            }
        }
        /* Built once to refuse a configuration the plug-in does not take,
         * and to say what receivers may read differently. */
        auto fnWarn = [](size_t ulRoute, const std::string &strWarning) {
            std::cerr << "srpolicy: warning: routes[" << ulRoute << "]: " << strWarning << "\n";
        };
        if (!BuildUpdates(m_host, vecRoutes, false, [](const Bytes &) {}, fnWarn, strError)) {
            return false;
        }
        m_vecRoutes = std::move(vecRoutes);
        return true;
    }

    void PeerUp(Speaker &sp, const PeerId &stPeer) override
    {
        const BgpSession *pSession = sp.Session(stPeer.iId);
        std::cerr << "srpolicy: peer " << stPeer.strAddr << " (AS " << pSession->PeerAs()
                  << "): session established, hold time " << pSession->HoldTime() << " s\n";
        m_vecUp.push_back(stPeer.iId);
        SendAll(sp, stPeer.iId, true);
    }

    void PeerUpdate(Speaker &sp, const PeerId &stPeer, const uint8_t *p, size_t n) override
    {
        (void)sp, (void)stPeer, (void)p, (void)n; /* what the peer sends back is not our business */
    }

    /* The routes of the family asked for, again (RFC 2918); a family the
     * session did not agree on has none. */
    void RouteRefresh(Speaker &sp, const PeerId &stPeer, const Family &stFamily) override
    {
        size_t ulSent = SendAll(sp, stPeer.iId, false, &stFamily);
        std::cerr << "srpolicy: peer " << stPeer.strAddr << ": route refresh of AFI " << stFamily.usAfi << " SAFI "
                  << uint32_t{stFamily.ucSafi} << ": " << ulSent << " route(s) sent again\n";
    }

    void PeerDown(Speaker &sp, const PeerId &stPeer, bool bWasUp, const std::string &strWhy) override
    {
        (void)sp;
        m_vecUp.erase(std::remove(m_vecUp.begin(), m_vecUp.end(), stPeer.iId), m_vecUp.end());
        std::cerr << "srpolicy: peer " << stPeer.strAddr << ": session " << (bWasUp ? "down" : "not established")
                  << ": " << strWhy << "\n";
    }

    void Signal(Speaker &sp, int iSignal) override
    {
        if (iSignal == SIGHUP) {
            Reload(sp);
        } else if ((iSignal == SIGINT || iSignal == SIGTERM) && !m_stOptions.bKeepOnExit) {
            std::vector<Bytes> vecMsgs;
            std::string strError;
            BuildUpdates(m_host, m_vecRoutes, true, vecMsgs, strError);
            for (int iId : m_vecUp) {
                for (const Bytes &v : vecMsgs) {
                    sp.Send(iId, v);
                }
            }
            std::cerr << "srpolicy: withdrawing " << m_vecRoutes.size() << " route(s)\n";
        }
    }

private:
    /* Every route, then End-of-RIB, of each family the peer agreed on (or
     * of the one family given). Returns the number of routes. */
    size_t SendAll(Speaker &sp, int iId, bool bEndOfRib, const Family *pOnly = nullptr)
    {
        size_t ulRoutes = 0;
        const BgpSession *pSession = sp.Session(iId);
        for (const Family &stFamily : pSession->Families()) {
            if (pOnly != nullptr && !(*pOnly == stFamily)) {
                continue;
            }
            std::vector<CfgRoute> vecFamily;
            for (const CfgRoute &st : m_vecRoutes) {
                if (AfiOf(st) == stFamily.usAfi) {
                    vecFamily.push_back(st);
                }
            }
            std::vector<Bytes> vecMsgs;
            std::string strError;
            BuildUpdates(m_host, vecFamily, false, vecMsgs, strError);
            for (const Bytes &v : vecMsgs) {
                sp.Send(iId, v);
            }
            if (bEndOfRib) {
                sp.Send(iId, BuildEndOfRib(stFamily));
            }
            ulRoutes += vecFamily.size();
        }
        return ulRoutes;
    }

    /* Each route on its own as it goes on the wire: what tells a changed
     * route from an unchanged one. */
    std::map<RouteId, Bytes> Encoded(const std::vector<CfgRoute> &vecRoutes)
    {
        std::map<RouteId, Bytes> map;
        for (const CfgRoute &st : vecRoutes) {
            std::vector<Bytes> vecMsgs;
            std::string strError;
            BuildUpdates(m_host, {st}, false, vecMsgs, strError);
            map[IdOf(st)] = vecMsgs.empty() ? Bytes() : vecMsgs[0];
        }
        return map;
    }

    void Reload(Speaker &sp)
    {
        std::vector<CfgRoute> vecOld = m_vecRoutes;
        std::string strError;
        if (!Load(strError)) {
            std::cerr << "srpolicy: configuration not reloaded, the routes sent stay: " << strError << "\n";
            return;
        }
        std::map<RouteId, Bytes> mapOld = Encoded(vecOld);
        std::map<RouteId, Bytes> mapNew = Encoded(m_vecRoutes);
        std::vector<CfgRoute> vecChanged;
        std::vector<CfgRoute> vecRemoved;
        for (const CfgRoute &st : m_vecRoutes) {
            auto it = mapOld.find(IdOf(st));
            if (it == mapOld.end() || it->second != mapNew[IdOf(st)]) {
                vecChanged.push_back(st);
            }
        }
        for (const CfgRoute &st : vecOld) {
            if (mapNew.find(IdOf(st)) == mapNew.end()) {
                vecRemoved.push_back(st);
            }
        }
        std::vector<Bytes> vecMsgs;
        BuildUpdates(m_host, vecRemoved, true, vecMsgs, strError);
        BuildUpdates(m_host, vecChanged, false, vecMsgs, strError);
        for (int iId : m_vecUp) {
            for (const Bytes &v : vecMsgs) {
                sp.Send(iId, v);
            }
        }
        std::cerr << "srpolicy: configuration reloaded: " << vecChanged.size() << " route(s) announced, "
                  << vecRemoved.size() << " withdrawn, " << m_vecRoutes.size() - vecChanged.size() << " unchanged\n";
    }

    PluginHost &m_host;
    const AnnounceOptions &m_stOptions;
    std::vector<CfgRoute> m_vecRoutes;
    std::vector<int> m_vecUp; /* connections with an established session */
};

}  // namespace

int RunAnnounce(const AnnounceOptions &stOptions)
{
    PluginHost host;
    if (!host.Ok()) {
        std::cerr << "srpolicy: the plug-in could not be constructed\n";
        return 2;
    }
    Announcer announcer(host, stOptions);
    std::string strError;
    if (!announcer.Load(strError)) {
        std::cerr << "srpolicy: " << stOptions.strConfig << ": " << strError << "\n";
        return 2;
    }
    Speaker speaker(stOptions.stSpeaker, announcer);
    if (!speaker.Open(strError)) {
        std::cerr << "srpolicy: " << strError << "\n";
        return 2;
    }
    return speaker.Run();
}

}  // namespace srp
