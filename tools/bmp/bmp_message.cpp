/* BMP messages: framing and reading, every field through the bounded Reader. */
#include "bmp/bmp_message.h"

#include <algorithm>
#include <cstdio>

#include "common/bgp_codes.h"

namespace srp {
namespace bmp {

namespace {


std::string Num(uint64_t x) { return std::to_string(x); }

/* Rows naming the codes of one field. */
struct Name {
    uint32_t ulCode;
    const char *pcName;
};

template <size_t N>
const char *Lookup(const Name (&astRows)[N], uint32_t ulCode, const char *pcUnknown)
{
    for (const Name &st : astRows) {
        if (st.ulCode == ulCode) {
            return st.pcName;
        }
    }
    return pcUnknown;
}

const Name g_astMsgTypes[] = {
    {kRouteMonitoring, "Route Monitoring"}, {kStatisticsReport, "Statistics Report"},
    {kPeerDown, "Peer Down"},               {kPeerUp, "Peer Up"},
    {kInitiation, "Initiation"},            {kTermination, "Termination"},
    {kRouteMirroring, "Route Mirroring"},
};

const Name g_astPeerTypes[] = {
    {kGlobalInstance, "global"}, {kRdInstance, "rd"}, {kLocalInstance, "local"}, {kLocRib, "loc-rib"}};

const Name g_astDownReasons[] = {
    {kDownLocalNotification, "local system closed the session with a NOTIFICATION"},
    {kDownLocalNoNotification, "local system closed the session without a NOTIFICATION"},
    {kDownRemoteNotification, "remote system closed the session with a NOTIFICATION"},
    {kDownRemoteNoData, "remote system closed the session without a NOTIFICATION"},
    {kDownDeconfigured, "peer de-configured"},
    {kDownLocalSystemClosed, "local system closed the Loc-RIB"},
};

const Name g_astTerminationReasons[] = {
    {0u, "administratively closed"}, {1u, "unspecified"},         {2u, "out of resources"},
    {3u, "redundant connection"},    {4u, "permanently administratively closed"},
};

/* Information TLV names per message type; type 0 is a free string everywhere. */
struct TlvName {
    uint8_t ucMsgType;
    uint16_t usType;
    const char *pcName;
};
const TlvName g_astTlvNames[] = {
    {kInitiation, 0u, "string"},     {kInitiation, 1u, "sysDescr"},     {kInitiation, 2u, "sysName"},
    {kTermination, 0u, "string"},    {kTermination, 1u, "reason"},      {kPeerUp, 0u, "string"},
    {kPeerUp, 3u, "VRF/table name"}, {kPeerDown, 3u, "VRF/table name"},
};

/* Statistics types whose value is a plain counter or gauge. */
const Name g_astStatNames[] = {
    {0u, "rejected prefixes"},
    {1u, "duplicate prefix advertisements"},
    {2u, "duplicate withdraws"},
    {3u, "updates invalidated by CLUSTER_LIST loop"},
    {4u, "updates invalidated by AS_PATH loop"},
    {5u, "updates invalidated by ORIGINATOR_ID"},
    {6u, "updates invalidated by AS_CONFED loop"},
    {7u, "routes in Adj-RIBs-In"},
    {8u, "routes in Loc-RIB"},
    {9u, "routes in per-AFI/SAFI Adj-RIB-In"},
    {10u, "routes in per-AFI/SAFI Loc-RIB"},
    {11u, "updates subjected to treat-as-withdraw"},
    {12u, "prefixes subjected to treat-as-withdraw"},
    {13u, "duplicate update messages"},
};

bool ReadPeerHeader(Reader &r, PeerHeader &st)
{
    const uint8_t *pAddr = nullptr;
    uint32_t ulHigh = 0;
    uint32_t ulLow = 0;
    if (!r.U8(st.ucType) || !r.U8(st.ucFlags) || !r.U32(ulHigh) || !r.U32(ulLow) || !r.Take(16u, pAddr) ||
        !r.U32(st.ulAs) || !r.U32(st.ulBgpId) || !r.U32(st.ulSeconds) || !r.U32(st.ulMicros)) {
        return false;
    }
    st.ullDistinguisher = (static_cast<uint64_t>(ulHigh) << 32) | ulLow;
    std::copy(pAddr, pAddr + 16, st.aucAddress.begin());
    return true;
}

/* A BGP message at the reader: its header checked, the whole of it taken. */
bool TakeBgp(Reader &r, uint8_t ucWantType, Bytes &vecOut, std::string &strError, const char *pcWhat)
{
    if (r.Left() < kBgpHeaderLen) {
        strError = std::string(pcWhat) + ": " + Num(r.Left()) + " bytes left, too short for a BGP header";
        return false;
    }
    const uint8_t *p = r.Here();
    if (std::any_of(p, p + 16, [](uint8_t uc) { return uc != 0xFFu; })) {
        strError = std::string(pcWhat) + ": bad BGP marker";
        return false;
    }
    uint16_t usLen = Be16(p + 16);
    if (usLen < kBgpHeaderLen || usLen > r.Left()) {
        strError = std::string(pcWhat) + ": BGP message length " + Num(usLen) + " with " + Num(r.Left()) +
                   " bytes left";
        return false;
    }
    if (ucWantType != 0u && p[18] != ucWantType) {
        strError = std::string(pcWhat) + ": BGP message of type " + Num(p[18]) + ", expected " + Num(ucWantType);
        return false;
    }
    const uint8_t *pMsg = nullptr;
    r.Take(usLen, pMsg);
    vecOut.assign(pMsg, pMsg + usLen);
    return true;
}

bool ReadTlvs(Reader &r, std::vector<InfoTlv> &vecOut, std::string &strError)
{
    while (r.Left() > 0u) {
        InfoTlv st;
        uint16_t usLen = 0;
        const uint8_t *pValue = nullptr;
        if (!r.U16(st.usType) || !r.U16(usLen) || !r.Take(usLen, pValue)) {
            strError = "information TLV overruns the message";
            return false;
        }
        st.vecValue.assign(pValue, pValue + usLen);
        vecOut.push_back(std::move(st));
    }
    return true;
}

bool ReadPeerUp(Reader &r, PeerUp &st, std::string &strError)
{
    const uint8_t *pAddr = nullptr;
    if (!r.Take(16u, pAddr) || !r.U16(st.usLocalPort) || !r.U16(st.usRemotePort)) {
        strError = "Peer Up too short for its local address and ports";
        return false;
    }
    std::copy(pAddr, pAddr + 16, st.aucLocalAddress.begin());
    Bytes vecSent;
    Bytes vecReceived;
    if (!TakeBgp(r, kBgpOpen, vecSent, strError, "Peer Up sent OPEN") ||
        !ParseOpen(vecSent.data(), vecSent.size(), st.stSent, strError) ||
        !TakeBgp(r, kBgpOpen, vecReceived, strError, "Peer Up received OPEN") ||
        !ParseOpen(vecReceived.data(), vecReceived.size(), st.stReceived, strError)) {
        return false;
    }
    return ReadTlvs(r, st.vecTlvs, strError);
}

bool ReadPeerDown(Reader &r, PeerDown &st, std::string &strError)
{
    if (!r.U8(st.ucReason)) {
        strError = "Peer Down without its reason";
        return false;
    }
    switch (st.ucReason) {
        case kDownLocalNotification:
        case kDownRemoteNotification: {
            Bytes vecNotification;
            if (!TakeBgp(r, kBgpNotification, vecNotification, strError, "Peer Down NOTIFICATION")) {
                return false;
            }
            if (vecNotification.size() < kBgpHeaderLen + 2u) {
                strError = "Peer Down NOTIFICATION without its code";
                return false;
            }
            st.bNotification = true;
            st.ucCode = vecNotification[kBgpHeaderLen];
            st.ucSubcode = vecNotification[kBgpHeaderLen + 1u];
            break;
        }
        case kDownLocalNoNotification:
            if (!r.U16(st.usFsmEvent)) {
                strError = "Peer Down without its FSM event code";
                return false;
            }
            break;
        case kDownLocalSystemClosed: return ReadTlvs(r, st.vecTlvs, strError);
        default: r.Skip(r.Left()); return true; /* reasons 4, 5 and later ones carry nothing we read */
    }
    if (r.Left() != 0u) {
        strError = "Peer Down: " + Num(r.Left()) + " bytes after the reason's data";
        return false;
    }
    return true;
}

bool ReadStats(Reader &r, std::vector<Statistic> &vecOut, std::string &strError)
{
    uint32_t ulCount = 0;
    if (!r.U32(ulCount)) {
        strError = "Statistics Report without its count";
        return false;
    }
    for (uint32_t i = 0; i < ulCount; i++) {
        Statistic st;
        uint16_t usLen = 0;
        const uint8_t *pValue = nullptr;
        if (!r.U16(st.usType) || !r.U16(usLen) || !r.Take(usLen, pValue)) {
            strError = "Statistics Report: statistic " + Num(i + 1u) + " of " + Num(ulCount) + " overruns the message";
            return false;
        }
        st.vecValue.assign(pValue, pValue + usLen);
        /* 4-byte counters, 8-byte gauges, per-family gauges (AFI, SAFI, 8 bytes). */
        if (usLen == 4u || usLen == 8u || usLen == 11u) {
            for (size_t k = usLen - (usLen == 4u ? 4u : 8u); k < usLen; k++) {
                st.ullValue = (st.ullValue << 8) | pValue[k];
            }
        }
        vecOut.push_back(std::move(st));
    }
    if (r.Left() != 0u) {
        strError = "Statistics Report: " + Num(r.Left()) + " bytes after " + Num(ulCount) + " statistics";
        return false;
    }
    return true;
}

bool ReadMirroring(Reader &r, Message &st, std::string &strError)
{
    while (r.Left() > 0u) {
        uint16_t usType = 0;
        uint16_t usLen = 0;
        const uint8_t *pValue = nullptr;
        if (!r.U16(usType) || !r.U16(usLen) || !r.Take(usLen, pValue)) {
            strError = "Route Mirroring TLV overruns the message";
            return false;
        }
        Reader rValue(pValue, usLen);
        if (usType == 0u) {
            Bytes vecBgp;
            if (!TakeBgp(rValue, 0u, vecBgp, strError, "Route Mirroring BGP message")) {
                return false;
            }
            if (rValue.Left() != 0u) {
                strError = "Route Mirroring BGP message shorter than its TLV";
                return false;
            }
            st.vecBgp.push_back(std::move(vecBgp));
        } else if (usType == 1u) {
            uint16_t usCode = 0;
            if (usLen != 2u || !rValue.U16(usCode)) {
                strError = "Route Mirroring information TLV of length " + Num(usLen) + ", expected 2";
                return false;
            }
            st.vecMirrorInfo.push_back(usCode);
        }
    }
    return true;
}

bool HasPeerHeader(uint8_t ucType) { return ucType != kInitiation && ucType != kTermination; }

}  // namespace

const char *MsgTypeName(uint8_t ucType) { return Lookup(g_astMsgTypes, ucType, "unknown"); }
const char *PeerTypeName(uint8_t ucType) { return Lookup(g_astPeerTypes, ucType, "unknown"); }

std::string PeerHeader::RibName() const
{
    if (ucType == kLocRib) {
        return "loc-rib";
    }
    return std::string(AdjRibOut() ? "adj-rib-out " : "") + (PostPolicy() ? "post-policy" : "pre-policy");
}

std::string PeerHeader::AddressText() const
{
    return Ipv6() ? Ipv6Text(aucAddress.data()) : Ipv4Text(Be32(aucAddress.data() + 12));
}

std::string PeerHeader::Name() const
{
    std::string s = AddressText() + " AS " + Num(ulAs);
    if (ullDistinguisher != 0u) {
        s += " RD " + Num(ullDistinguisher);
    }
    return s;
}

std::vector<std::pair<uint16_t, uint8_t>> PeerUp::Families() const
{
    std::vector<std::pair<uint16_t, uint8_t>> vec;
    for (const auto &stFamily : stSent.vecFamilies) {
        bool bBoth = std::find(stReceived.vecFamilies.begin(), stReceived.vecFamilies.end(), stFamily) !=
                     stReceived.vecFamilies.end();
        if (bBoth && std::find(vec.begin(), vec.end(), stFamily) == vec.end()) {
            vec.push_back(stFamily);
        }
    }
    return vec;
}

std::string PeerDown::Text() const
{
    std::string s = Lookup(g_astDownReasons, ucReason, "unknown reason");
    s += " (reason " + Num(ucReason) + ")";
    if (bNotification) {
        s += ", NOTIFICATION code " + Num(ucCode) + " subcode " + Num(ucSubcode);
    }
    if (ucReason == kDownLocalNoNotification) {
        s += ", FSM event " + Num(usFsmEvent);
    }
    return s;
}

/* The name of a TLV type the message type defines; nullptr for others. */
static const char *KnownTlvName(uint8_t ucMsgType, uint16_t usType)
{
    for (const TlvName &st : g_astTlvNames) {
        if (st.ucMsgType == ucMsgType && st.usType == usType) {
            return st.pcName;
        }
    }
    return nullptr;
}

std::string InfoTlvName(uint8_t ucMsgType, uint16_t usType)
{
    const char *pcName = KnownTlvName(ucMsgType, usType);
    return pcName != nullptr ? std::string(pcName) : "TLV " + Num(usType);
}

std::string StatName(uint16_t usType) { return Lookup(g_astStatNames, usType, "statistic"); }

std::string InfoTlvText(uint8_t ucMsgType, const InfoTlv &stTlv)
{
    const Bytes &v = stTlv.vecValue;
    if (ucMsgType == kTermination && stTlv.usType == 1u) {
        uint16_t usReason = v.size() == 2u ? Be16(v.data()) : 0xFFFFu;
        return std::string(Lookup(g_astTerminationReasons, usReason, "unknown")) + " (" +
               (v.size() == 2u ? Num(usReason) : ToHex(v)) + ")";
    }
    if (KnownTlvName(ucMsgType, stTlv.usType) == nullptr) {
        return ToHex(v);
    }
    std::string s;
    for (uint8_t uc : v) {
        if (uc >= 0x20u && uc < 0x7Fu && uc != '\\') {
            s += static_cast<char>(uc);
        } else {
            char ac[8];
            std::snprintf(ac, sizeof(ac), "\\x%02x", uc);
            s += ac;
        }
    }
    return s;
}

bool ParseOpen(const uint8_t *p, size_t n, OpenInfo &st, std::string &strError)
{
    Reader r(p, n);
    uint16_t usMyAs = 0;
    uint8_t ucParamsLen = 0;
    if (!r.Skip(kBgpHeaderLen) || !r.U8(st.ucVersion) || !r.U16(usMyAs) || !r.U16(st.usHoldTime) ||
        !r.U32(st.ulBgpId) || !r.U8(ucParamsLen)) {
        strError = "OPEN too short";
        return false;
    }
    st.ulAs = usMyAs;
    size_t ulParamsLen = ucParamsLen;
    bool bExtended = false;
    if (ucParamsLen == 255u && r.Left() >= 1u && *r.Here() == kParamExtendedLength) {
        uint16_t usLen = 0;
        r.Skip(1u);
        if (!r.U16(usLen)) {
            strError = "OPEN extended parameters length missing";
            return false;
        }
        ulParamsLen = usLen;
        bExtended = true;
    }
    const uint8_t *pParams = nullptr;
    if (!r.Take(ulParamsLen, pParams) || r.Left() != 0u) {
        strError = "OPEN optional parameters length " + Num(ulParamsLen) + " does not match the message";
        return false;
    }
    Reader rParams(pParams, ulParamsLen);
    while (rParams.Left() > 0u) {
        uint8_t ucType = 0;
        uint8_t ucLen8 = 0;
        uint16_t usLen = 0;
        const uint8_t *pValue = nullptr;
        bool bHeader = rParams.U8(ucType) && (bExtended ? rParams.U16(usLen) : rParams.U8(ucLen8));
        if (!bExtended) {
            usLen = ucLen8;
        }
        if (!bHeader || !rParams.Take(usLen, pValue)) {
            strError = "OPEN optional parameter overruns the parameters";
            return false;
        }
        if (ucType != kParamCapabilities) {
            continue;
        }
        Reader rCaps(pValue, usLen);
        while (rCaps.Left() > 0u) {
            uint8_t ucCode = 0;
            uint8_t ucCapLen = 0;
            const uint8_t *pCap = nullptr;
            if (!rCaps.U8(ucCode) || !rCaps.U8(ucCapLen) || !rCaps.Take(ucCapLen, pCap)) {
                strError = "OPEN capability overruns its parameter";
                return false;
            }
            if (ucCode == kCapMultiprotocol && ucCapLen == 4u) {
                st.vecFamilies.emplace_back(Be16(pCap), pCap[3]);
            } else if (ucCode == kCapAs4 && ucCapLen == 4u) {
                st.bAs4 = true;
                st.ulAs = Be32(pCap);
            }
        }
    }
    return true;
}

bool ParseMessage(const uint8_t *p, size_t n, Message &st, std::string &strError)
{
    Reader r(p, n);
    uint8_t ucVersion = 0;
    if (!r.U8(ucVersion) || !r.U32(st.ulLength) || !r.U8(st.ucType)) {
        strError = "cut BMP common header: " + Num(n) + " bytes";
        return false;
    }
    if (ucVersion != kVersion) {
        strError = "BMP version " + Num(ucVersion) + ", expected 3";
        return false;
    }
    if (st.ulLength != n) {
        strError = "BMP message length " + Num(st.ulLength) + " in a message of " + Num(n) + " bytes";
        return false;
    }
    const char *pcType = Lookup(g_astMsgTypes, st.ucType, nullptr);
    if (pcType == nullptr) {
        strError = "unknown BMP message type " + Num(st.ucType);
        return false;
    }
    st.bHasPeer = HasPeerHeader(st.ucType);
    if (st.bHasPeer && !ReadPeerHeader(r, st.stPeer)) {
        strError = std::string(pcType) + " message of " + Num(n) + " bytes has no room for its per-peer header (" +
                   Num(kPeerHeaderLen) + " bytes)";
        return false;
    }
    bool bOk = true;
    switch (st.ucType) {
        case kRouteMonitoring: {
            Bytes vecUpdate;
            bOk = TakeBgp(r, kBgpUpdate, vecUpdate, strError, "Route Monitoring UPDATE");
            if (bOk && r.Left() != 0u) {
                strError = "Route Monitoring: " + Num(r.Left()) + " bytes after the UPDATE";
                bOk = false;
            }
            st.vecBgp.push_back(std::move(vecUpdate));
            break;
        }
        case kStatisticsReport: bOk = ReadStats(r, st.vecStats, strError); break;
        case kPeerDown: bOk = ReadPeerDown(r, st.stPeerDown, strError); break;
        case kPeerUp: bOk = ReadPeerUp(r, st.stPeerUp, strError); break;
        case kRouteMirroring: bOk = ReadMirroring(r, st, strError); break;
        default: bOk = ReadTlvs(r, st.vecTlvs, strError); break; /* Initiation, Termination */
    }
    if (!bOk && st.ucType != kRouteMonitoring && strError.rfind(pcType, 0) != 0u) {
        strError = std::string(pcType) + ": " + strError;
    }
    return bOk;
}

void Framer::Feed(const uint8_t *p, size_t n)
{
    /* Drop what was handed out before growing the buffer. */
    if (m_ulRead > 0u && m_ulRead >= m_vecBuf.size() / 2u) {
        m_vecBuf.erase(m_vecBuf.begin(), m_vecBuf.begin() + static_cast<std::ptrdiff_t>(m_ulRead));
        m_ulRead = 0u;
    }
    m_vecBuf.insert(m_vecBuf.end(), p, p + n);
}

Framer::Result Framer::Next(const uint8_t *&p, size_t &n, std::string &strError)
{
    if (m_bFailed) {
        strError = "stream already failed";
        return Result::Error;
    }
    Reader r(m_vecBuf.data() + m_ulRead, m_vecBuf.size() - m_ulRead);
    uint8_t ucVersion = 0;
    uint32_t ulLen = 0;
    if (!r.U8(ucVersion)) {
        return Result::NeedMore;
    }
    if (ucVersion != kVersion) {
        strError = "BMP version " + Num(ucVersion) + ", expected 3";
        m_bFailed = true;
        return Result::Error;
    }
    if (!r.U32(ulLen)) {
        return Result::NeedMore;
    }
    if (ulLen < kCommonHeaderLen || ulLen > kMaxMessageLen) {
        strError = "impossible BMP message length " + Num(ulLen);
        m_bFailed = true;
        return Result::Error;
    }
    if (ulLen > r.Left() + 5u) {
        return Result::NeedMore;
    }
    p = m_vecBuf.data() + m_ulRead;
    n = ulLen;
    m_ulRead += ulLen;
    m_ullOffset += ulLen;
    return Result::Message;
}

bool LooksLikeBmp(const uint8_t *p, size_t n)
{
    Reader r(p, n);
    uint8_t ucVersion = 0;
    uint32_t ulLen = 0;
    uint8_t ucType = 0;
    return r.U8(ucVersion) && r.U32(ulLen) && r.U8(ucType) && ucVersion == kVersion && ulLen >= kCommonHeaderLen &&
           ulLen <= kMaxMessageLen && ucType <= kRouteMirroring;
}

}  // namespace bmp
}  // namespace srp
