/* The BMP messages of the routers: routes down the decode road and into the
 * table, session events to the output. */
#include "bmp/monitor.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>

#include "common/bgp_codes.h"
#include "output/rib_printer.h"

namespace srp {
namespace bmp {

namespace {

using json = nlohmann::ordered_json;

}  // namespace

/* The fields of a session event of its own message type. */
struct EventFields {
    json j = json::object();
};

namespace {

std::string FamilyText(const std::pair<uint16_t, uint8_t> &stFamily)
{
    return std::to_string(stFamily.first) + "/" + std::to_string(stFamily.second);
}

std::string BgpIdText(uint32_t ulId) { return Ipv4Text(ulId); }

int64_t NowUs()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/* The name of the table view a per-peer header reports. */
RibView ViewOf(const PeerHeader &stPeer)
{
    if (stPeer.ucType == kLocRib) {
        return RibView::LocRib;
    }
    return stPeer.PostPolicy() ? RibView::PostPolicy : RibView::PrePolicy;
}

}  // namespace

RibSource SourceOf(const std::string &strRouter, const PeerHeader &stPeer)
{
    RibSource st;
    st.strRouter = strRouter;
    st.strPeer = stPeer.AddressText();
    if (stPeer.ullDistinguisher != 0u) {
        st.strPeer += " RD " + std::to_string(stPeer.ullDistinguisher);
    }
    if (stPeer.AdjRibOut()) {
        st.strPeer += " adj-rib-out";
    }
    st.ulPeerAs = stPeer.ulAs;
    st.eView = ViewOf(stPeer);
    return st;
}

Monitor::Monitor(PluginHost &host, Rib &rib, OutBuffer &out, const MonitorOptions &stOptions)
    : m_host(host),
      m_rib(rib),
      m_out(out),
      m_stOptions(stOptions),
      m_describer(host, DescribeOptions{!stOptions.bJson, true}),
      m_pPrinter(MakePrinter(stOptions.bJson ? PrintForm::Json : PrintForm::Text, out))
{
}

void Monitor::Start(const std::string &strRouter, const std::string &strSource, uint64_t ullOffset,
                    uint64_t ullIndex, const Message &stMsg)
{
    m_stCtx = EventContext{};
    m_stCtx.ullMessage = ullIndex;
    m_stCtx.strSource = strSource;
    m_stCtx.ullOffset = ullOffset;
    m_stCtx.strRouter = strRouter;
    if (!stMsg.bHasPeer) {
        return;
    }
    const PeerHeader &stPeer = stMsg.stPeer;
    m_stCtx.strPeer = stPeer.Name();
    m_stCtx.strView = stPeer.RibName();
    int64_t llTimeUs = static_cast<int64_t>(stPeer.ulSeconds) * 1000000 + stPeer.ulMicros;
    if (llTimeUs != 0 || m_stOptions.bArrivalTimeIfNone) {
        m_stCtx.bHasTime = true;
        m_stCtx.llTimeUs = llTimeUs != 0 ? llTimeUs : NowUs();
    }
}

bool Monitor::Handle(const std::string &strRouter, const std::string &strSource, const uint8_t *p, size_t n,
                      uint64_t ullOffset, uint64_t ullIndex, std::string &strError)
{
    m_stCount.ullMessages++;
    Message stMsg;
    if (!ParseMessage(p, n, stMsg, strError)) {
        Start(strRouter, strSource, ullOffset, ullIndex, stMsg);
        m_stCount.ullFailed++;
        return false;
    }
    Start(strRouter, strSource, ullOffset, ullIndex, stMsg);
    const PeerHeader &stPeer = stMsg.stPeer;
    switch (stMsg.ucType) {
        case kRouteMonitoring: RouteMonitoring(stMsg, stMsg.vecBgp[0], true); break;
        case kRouteMirroring: {
            json jInfo = json::array();
            std::string strInfo;
            for (uint16_t usCode : stMsg.vecMirrorInfo) {
                jInfo.push_back(usCode);
                strInfo += std::string(strInfo.empty() ? "" : ", ") +
                           (usCode == 0u ? "errored PDU" : (usCode == 1u ? "messages lost" : "code " + std::to_string(usCode)));
            }
            if (!stMsg.vecMirrorInfo.empty()) {
                Event(stMsg, "route mirroring: " + strInfo, EventFields{json{{"information", jInfo}}});
            }
            for (Bytes &vecBgp : stMsg.vecBgp) {
                if (vecBgp.size() > 18u && vecBgp[18] == kBgpUpdate) {
                    m_stCtx.strView = "mirrored";
                    RouteMonitoring(stMsg, vecBgp, false);
                }
            }
            break;
        }
        case kPeerUp: {
            const PeerUp &u = stMsg.stPeerUp;
            std::string strFamilies;
            json jFamilies = json::array();
            for (const auto &stFamily : u.Families()) {
                strFamilies += (strFamilies.empty() ? "" : " ") + FamilyText(stFamily);
                jFamilies.push_back(json{{"afi", stFamily.first}, {"safi", stFamily.second}});
            }
            std::string strLocal = stPeer.Ipv6() ? Ipv6Text(u.aucLocalAddress.data())
                                                 : Ipv4Text(Be32(u.aucLocalAddress.data() + 12));
            std::string strText = "peer up: BGP ID " + BgpIdText(stPeer.ulBgpId) + ", local " + strLocal + " port " +
                                  std::to_string(u.usLocalPort) + ", remote port " + std::to_string(u.usRemotePort) +
                                  ", 4-octet AS " + (u.As4() ? "yes" : "no") + ", families " +
                                  (strFamilies.empty() ? "none" : strFamilies);
            json j{{"bgp_id", BgpIdText(stPeer.ulBgpId)}, {"local_address", strLocal},
                   {"local_port", u.usLocalPort}, {"remote_port", u.usRemotePort}, {"as4", u.As4()},
                   {"families", jFamilies}};
            for (const InfoTlv &stTlv : u.vecTlvs) {
                strText += ", " + InfoTlvName(kPeerUp, stTlv.usType) + " " + InfoTlvText(kPeerUp, stTlv);
                j[InfoTlvName(kPeerUp, stTlv.usType)] = InfoTlvText(kPeerUp, stTlv);
            }
            Event(stMsg, strText, EventFields{j});
            break;
        }
        case kPeerDown: {
            size_t ulRemoved = m_rib.Clear(SourceOf(strRouter, stPeer));
            /* A peer down ends every view of the peer, not only the one its header names. */
            for (RibView eView : {RibView::PrePolicy, RibView::PostPolicy, RibView::LocRib}) {
                RibSource stSource = SourceOf(strRouter, stPeer);
                if (stSource.eView != eView) {
                    stSource.eView = eView;
                    ulRemoved += m_rib.Clear(stSource);
                }
            }
            json j{{"reason", stMsg.stPeerDown.ucReason}, {"reason_text", stMsg.stPeerDown.Text()},
                   {"routes_removed", ulRemoved}};
            Event(stMsg, "peer down: " + stMsg.stPeerDown.Text() + "; " + std::to_string(ulRemoved) + " routes removed",
                  EventFields{j});
            break;
        }
        case kStatisticsReport: {
            m_stCount.ullStatistics++;
            if (!m_stOptions.bVerbose) {
                break;
            }
            std::string strText = "statistics:";
            json j = json::array();
            for (const Statistic &st : stMsg.vecStats) {
                strText += " " + StatName(st.usType) + " (" + std::to_string(st.usType) + ") " +
                           std::to_string(st.ullValue) + (&st != &stMsg.vecStats.back() ? "," : "");
                j.push_back(json{{"type", st.usType}, {"name", StatName(st.usType)}, {"value", st.ullValue}});
            }
            Event(stMsg, strText, EventFields{json{{"statistics", j}}});
            break;
        }
        default: { /* Initiation, Termination */
            std::string strText = stMsg.ucType == kInitiation ? "initiation:" : "termination:";
            json j = json::object();
            for (const InfoTlv &stTlv : stMsg.vecTlvs) {
                std::string strName = InfoTlvName(stMsg.ucType, stTlv.usType);
                std::string strValue = InfoTlvText(stMsg.ucType, stTlv);
                strText += " " + strName + " " + strValue + (&stTlv != &stMsg.vecTlvs.back() ? "," : "");
                j[strName] = strValue;
                if (stMsg.ucType == kInitiation && stTlv.usType == 2u) {
                    m_mapSysNames[strRouter] = strValue;
                }
            }
            Event(stMsg, strText, EventFields{j});
            break;
        }
    }
    return true;
}

void Monitor::Event(const bmp::Message &stMsg, const std::string &strText, const EventFields &stFields)
{
    std::string strType = MsgTypeName(stMsg.ucType);
    if (m_stOptions.bJson) {
        json j{{"event", strType}, {"message", m_stCtx.ullMessage}, {"source", m_stCtx.strSource},
               {"offset", m_stCtx.ullOffset}, {"router", m_stCtx.strRouter}};
        auto it = m_mapSysNames.find(m_stCtx.strRouter);
        if (it != m_mapSysNames.end()) {
            j["router_name"] = it->second;
        }
        if (stMsg.bHasPeer) {
            j["peer"] = m_stCtx.strPeer;
            j["peer_type"] = PeerTypeName(stMsg.stPeer.ucType);
            j["view"] = m_stCtx.strView;
        }
        if (m_stCtx.bHasTime) {
            j["time"] = EventTimeText(m_stCtx.llTimeUs);
        }
        for (const auto &it : stFields.j.items()) {
            j[it.key()] = it.value();
        }
        m_out << j.dump() << '\n';
    } else {
        m_out << "bmp " << strType << " (message " << m_stCtx.ullMessage << ", ";
        if (m_stCtx.bHasTime) {
            m_out << EventTimeText(m_stCtx.llTimeUs) << ", ";
        }
        m_out << "router " << m_stCtx.strRouter;
        if (stMsg.bHasPeer) {
            m_out << ", peer " << m_stCtx.strPeer << ", " << PeerTypeName(stMsg.stPeer.ucType) << " " << m_stCtx.strView;
        }
        m_out << ", " << m_stCtx.strSource << " offset " << m_stCtx.ullOffset << ")\n  " << strText << '\n';
    }
    if (m_out.Interactive()) {
        m_out.Flush();
    }
}

void Monitor::RouteMonitoring(const bmp::Message &stMsg, Bytes &vecUpdate, bool bStore)
{
    m_stCount.ullUpdates++;
    m_stWalk.Clear();
    WalkUpdate(m_host, vecUpdate, m_stWalk);
    m_describer.Describe(m_stWalk, m_stUpdate);
    m_stCount.Add(m_stUpdate);
    for (const Problem &st : m_stUpdate.vecProblems) {
        m_out.Flush();
        std::string strLine = ProblemLine(m_stCtx, st) + "\n";
        std::fwrite(strLine.data(), 1u, strLine.size(), stderr);
    }
    if (bStore) {
        ApplyUpdate(m_rib, SourceOf(m_stCtx.strRouter, stMsg.stPeer), m_stUpdate,
                    static_cast<double>(m_stCtx.llTimeUs) / 1e6);
    }
    m_pPrinter->Update(m_stCtx, m_stUpdate);
}

size_t Monitor::RouterGone(const std::string &strRouter)
{
    std::vector<RibSource> vecSources;
    m_rib.ForEach([&](const RibSource &stSource, const RibKey &, const RibRoute &) {
        if (stSource.strRouter == strRouter && (vecSources.empty() || !(vecSources.back() == stSource))) {
            vecSources.push_back(stSource);
        }
    });
    size_t ulRemoved = 0;
    for (const RibSource &stSource : vecSources) {
        ulRemoved += m_rib.Clear(stSource);
    }
    m_mapSysNames.erase(strRouter);
    return ulRemoved;
}

void Monitor::Dump(OutBuffer &out, bool bJson)
{
    std::unique_ptr<Printer> pPrinter = MakePrinter(bJson ? PrintForm::Json : PrintForm::Text, out);
    if (!bJson) {
        out << "table: " << static_cast<uint64_t>(m_rib.Size()) << " routes\n";
    }
    PrintRib(m_rib, m_host, *pPrinter, DescribeOptions{!bJson, bJson});
    out.Flush();
}

}  // namespace bmp
}  // namespace srp
