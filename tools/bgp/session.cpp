/* The BGP session state machine from OpenSent on. */
#include "bgp/session.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cstdio>

namespace srp {

namespace {

const Family kOffered[] = {{kAfiIpv4, kSafiSrPolicy}, {kAfiIpv6, kSafiSrPolicy}};


/* Smallest length of each message type, and whether it is exact. */
struct TypeRule {
    uint8_t ucType;
    size_t ulMin;
    bool bExact;
};
const TypeRule kTypeRules[] = {
    {kBgpOpen, 29u, false},        {kBgpUpdate, 23u, false}, {kBgpNotification, 21u, false},
    {kBgpKeepalive, 19u, true},    {kBgpRouteRefresh, 23u, true},
};

struct CodeName {
    uint8_t ucCode;
    uint8_t ucSubcode;
    const char *pcName;
};
const CodeName kCodeNames[] = {
    {kErrHeader, 0, "message header error"},
    {kErrHeader, kSubNotSynchronized, "message header error: connection not synchronized"},
    {kErrHeader, kSubBadLength, "message header error: bad message length"},
    {kErrHeader, kSubBadType, "message header error: bad message type"},
    {kErrOpen, 0, "OPEN message error"},
    {kErrOpen, kSubBadVersion, "OPEN message error: unsupported version number"},
    {kErrOpen, kSubBadPeerAs, "OPEN message error: bad peer AS"},
    {kErrOpen, kSubBadBgpId, "OPEN message error: bad BGP identifier"},
    {kErrOpen, kSubBadOptParam, "OPEN message error: unsupported optional parameter"},
    {kErrOpen, kSubBadHoldTime, "OPEN message error: unacceptable hold time"},
    {kErrOpen, kSubBadCapability, "OPEN message error: unsupported capability"},
    {kErrUpdate, 0, "UPDATE message error"},
    {kErrHoldTimer, 0, "hold timer expired"},
    {kErrFsm, 0, "finite state machine error"},
    {kErrFsm, kSubFsmOpenSent, "finite state machine error: unexpected message in OpenSent"},
    {kErrFsm, kSubFsmOpenConfirm, "finite state machine error: unexpected message in OpenConfirm"},
    {kErrFsm, kSubFsmEstablished, "finite state machine error: unexpected message in Established"},
    {kErrCease, 0, "cease"},
    {kErrCease, kSubCeaseShutdown, "cease: administrative shutdown"},
    {kErrCease, 4, "cease: administrative reset"},
    {kErrCease, kSubCeaseRejected, "cease: connection rejected"},
    {kErrCease, kSubCeaseCollision, "cease: connection collision resolution"},
};

bool IsMarker(const uint8_t *p)
{
    return std::all_of(p, p + 16, [](uint8_t uc) { return uc == 0xffu; });
}

}  // namespace

const char *SessionStateName(SessionState e)
{
    switch (e) {
        case SessionState::OpenSent: return "OpenSent";
        case SessionState::OpenConfirm: return "OpenConfirm";
        case SessionState::Established: return "Established";
        default: return "Closed";
    }
}

std::string NotificationText(uint8_t ucCode, uint8_t ucSubcode)
{
    const CodeName *pBest = nullptr;
    for (const CodeName &st : kCodeNames) {
        if (st.ucCode == ucCode && (st.ucSubcode == ucSubcode || (st.ucSubcode == 0u && pBest == nullptr))) {
            pBest = &st;
        }
    }
    char ac[32];
    std::snprintf(ac, sizeof(ac), " (%u/%u)", ucCode, ucSubcode);
    return std::string(pBest != nullptr ? pBest->pcName : "unknown error") + ac;
}

Bytes BuildMessage(uint8_t ucType, const Bytes &vecBody)
{
    Bytes v(16u, 0xffu);
    Put16(v, static_cast<uint32_t>(kBgpHeaderLen + vecBody.size()));
    Put8(v, ucType);
    v.insert(v.end(), vecBody.begin(), vecBody.end());
    return v;
}

Bytes BuildOpen(const SessionConfig &stConfig)
{
    Bytes vecCaps;
    auto cap = [&vecCaps](uint8_t ucCode, const Bytes &vecValue) {
        Put8(vecCaps, ucCode);
        Put8(vecCaps, static_cast<uint32_t>(vecValue.size()));
        vecCaps.insert(vecCaps.end(), vecValue.begin(), vecValue.end());
    };
    for (const Family &st : kOffered) {
        cap(kCapMultiprotocol, {0u, static_cast<uint8_t>(st.usAfi), 0u, st.ucSafi});
    }
    cap(kCapRouteRefresh, {});
    cap(kCapExtendedMessage, {});
    Bytes vecAs;
    Put32(vecAs, stConfig.ulLocalAs);
    cap(kCapAs4, vecAs);

    Bytes v;
    Put8(v, 4u);
    Put16(v, stConfig.ulLocalAs > 0xffffu ? kAsTrans : stConfig.ulLocalAs);
    Put16(v, stConfig.usHoldTime);
    Put32(v, stConfig.ulRouterId);
    Put8(v, static_cast<uint32_t>(vecCaps.size() + 2u));
    Put8(v, kParamCapabilities);
    Put8(v, static_cast<uint32_t>(vecCaps.size()));
    v.insert(v.end(), vecCaps.begin(), vecCaps.end());
    return BuildMessage(kBgpOpen, v);
}

Bytes BuildNotification(uint8_t ucCode, uint8_t ucSubcode, const Bytes &vecData)
{
    Bytes v;
    v.reserve(2u + vecData.size());
    Put8(v, ucCode);
    Put8(v, ucSubcode);
    v.insert(v.end(), vecData.begin(), vecData.end());
    return BuildMessage(kBgpNotification, v);
}

Bytes BuildEndOfRib(const Family &stFamily)
{
    Bytes v;
    Put16(v, 0u);
    if (stFamily.usAfi == 1u && stFamily.ucSafi == 1u) {
        Put16(v, 0u);
    } else {
        Put16(v, 6u);
        Put8(v, kAttrFlagOptional);
        Put8(v, kAttrMpUnreach);
        Put8(v, 3u);
        Put16(v, stFamily.usAfi);
        Put8(v, stFamily.ucSafi);
    }
    return BuildMessage(kBgpUpdate, v);
}

bool IsEndOfRib(const uint8_t *p, size_t n, Family &stFamily)
{
    Reader rd(p, n);
    uint16_t usWithdrawn = 0;
    uint16_t usAttrs = 0;
    if (!rd.Skip(kBgpHeaderLen) || !rd.U16(usWithdrawn) || usWithdrawn != 0u || !rd.U16(usAttrs) ||
        rd.Left() != usAttrs) {
        return false;
    }
    if (usAttrs == 0u) {
        stFamily = {1u, 1u};
        return true;
    }
    uint8_t ucFlags = 0;
    uint8_t ucType = 0;
    uint16_t usLen = 0;
    uint8_t ucLen = 0;
    if (!rd.U8(ucFlags) || !rd.U8(ucType) || ucType != kAttrMpUnreach) {
        return false;
    }
    if ((ucFlags & kAttrFlagExtLen) != 0u ? !rd.U16(usLen) : !rd.U8(ucLen)) {
        return false;
    }
    usLen = (ucFlags & kAttrFlagExtLen) != 0u ? usLen : ucLen;
    return usLen == 3u && rd.Left() == 3u && rd.U16(stFamily.usAfi) && rd.U8(stFamily.ucSafi);
}

BgpSession::BgpSession(const SessionConfig &stConfig, SessionEvents &events) : m_stConfig(stConfig), m_events(events)
{
}

void BgpSession::Start(double dNow)
{
    m_dNow = dNow;
    m_dLastHeard = dNow;
    m_dLastSent = dNow;
    Bytes v = BuildOpen(m_stConfig);
    m_vecOut.insert(m_vecOut.end(), v.begin(), v.end());
}

void BgpSession::Receive(const uint8_t *p, size_t n, double dNow)
{
    if (n > 0u && m_eState != SessionState::Closed) {
        std::memcpy(InputRoom(n), p, n);
    }
    Received(n, dNow);
}

uint8_t *BgpSession::InputRoom(size_t n)
{
    m_ulInRoom = m_vecIn.size();
    m_vecIn.resize(m_ulInRoom + n);
    return m_vecIn.data() + m_ulInRoom;
}

void BgpSession::Received(size_t ulGot, double dNow)
{
    if (m_ulInRoom != SIZE_MAX) { /* the unused part of the room goes */
        m_vecIn.resize(m_ulInRoom + ulGot);
        m_ulInRoom = SIZE_MAX;
    }
    m_dNow = dNow;
    if (m_eState == SessionState::Closed) { /* nothing more is read */
        m_vecIn.clear();
        m_ulInRead = 0u;
        return;
    }
    Frame();
    if (m_ulInRead == m_vecIn.size()) {
        m_vecIn.clear();
        m_ulInRead = 0u;
    } else if (m_ulInRead > 65536u) {
        m_vecIn.erase(m_vecIn.begin(), m_vecIn.begin() + static_cast<std::ptrdiff_t>(m_ulInRead));
        m_ulInRead = 0u;
    }
}

void BgpSession::Frame()
{
    while (m_eState != SessionState::Closed && m_vecIn.size() - m_ulInRead >= kBgpHeaderLen) {
        const uint8_t *p = m_vecIn.data() + m_ulInRead;
        size_t ulLen = 0;
        if (!CheckHeader(p, ulLen)) {
            return;
        }
        if (m_vecIn.size() - m_ulInRead < ulLen) {
            return;
        }
        m_ulInRead += ulLen;
        m_dLastHeard = m_dNow;
        Dispatch(p, ulLen);
    }
}

bool BgpSession::CheckHeader(const uint8_t *p, size_t &ulLen)
{
    if (!IsMarker(p)) {
        Close(kErrHeader, kSubNotSynchronized);
        return false;
    }
    ulLen = Be16(p + 16);
    uint8_t ucType = p[18];
    const TypeRule *pRule = nullptr;
    for (const TypeRule &st : kTypeRules) {
        if (st.ucType == ucType) {
            pRule = &st;
        }
    }
    if (pRule == nullptr) {
        Close(kErrHeader, kSubBadType, {ucType});
        return false;
    }
    /* Only UPDATEs (and ROUTE-REFRESH) grow past 4096 bytes, and only once
     * both sides offered Extended Messages. */
    size_t ulMax = (ucType == kBgpOpen || ucType == kBgpKeepalive) ? kBgpMaxStdLen : MaxLength();
    if (ulLen < pRule->ulMin || (pRule->bExact && ulLen != pRule->ulMin) || ulLen > ulMax) {
        Close(kErrHeader, kSubBadLength, {p[16], p[17]});
        return false;
    }
    return true;
}

void BgpSession::Dispatch(const uint8_t *p, size_t n)
{
    uint8_t ucType = p[18];
    if (ucType == kBgpNotification) {
        OnNotification(p, n);
        return;
    }
    switch (m_eState) {
        case SessionState::OpenSent:
            if (ucType != kBgpOpen) {
                Close(kErrFsm, kSubFsmOpenSent);
                return;
            }
            OnOpen(p, n);
            return;
        case SessionState::OpenConfirm:
            if (ucType != kBgpKeepalive) {
                Close(kErrFsm, kSubFsmOpenConfirm);
                return;
            }
            m_eState = SessionState::Established;
            m_events.Established();
            return;
        default:
            break;
    }
    if (ucType == kBgpUpdate) {
        m_events.Update(p, n);
    } else if (ucType == kBgpRouteRefresh) {
        m_events.RouteRefresh({Be16(p + 19), p[22]});
    } else if (ucType == kBgpOpen) {
        Close(kErrFsm, kSubFsmEstablished);
    }
}

void BgpSession::OnOpen(const uint8_t *p, size_t n)
{
    Reader rd(p + kBgpHeaderLen, n - kBgpHeaderLen);
    uint8_t ucVersion = 0;
    uint16_t usAs = 0;
    uint16_t usHold = 0;
    uint32_t ulId = 0;
    uint8_t ucOptLen = 0;
    rd.U8(ucVersion);
    rd.U16(usAs);
    rd.U16(usHold);
    rd.U32(ulId);
    rd.U8(ucOptLen);
    if (ucOptLen != rd.Left()) {
        Close(kErrOpen, 0u); /* the parameters' length and the message's disagree */
        return;
    }
    if (ucVersion != 4u) {
        Close(kErrOpen, kSubBadVersion, {0u, 4u});
        return;
    }
    uint32_t ulAs4 = 0;
    std::vector<Family> vecFamilies;
    if (!ReadCapabilities(rd, ulAs4, vecFamilies)) {
        return;
    }
    uint32_t ulPeerAs = ulAs4 != 0u ? ulAs4 : usAs;
    if (ulPeerAs == 0u || (m_stConfig.ulPeerAs != 0u && ulPeerAs != m_stConfig.ulPeerAs)) {
        Close(kErrOpen, kSubBadPeerAs);
        return;
    }
    if (usHold == 1u || usHold == 2u) {
        Close(kErrOpen, kSubBadHoldTime);
        return;
    }
    if (ulId == 0u || ulId == 0xffffffffu) {
        Close(kErrOpen, kSubBadBgpId);
        return;
    }
    m_vecFamilies.clear();
    for (const Family &st : kOffered) {
        if (std::find(vecFamilies.begin(), vecFamilies.end(), st) != vecFamilies.end()) {
            m_vecFamilies.push_back(st);
        }
    }
    if (m_vecFamilies.empty()) {
        /* The peer speaks no SR Policy family: name the ones it lacks. */
        Bytes vecData;
        for (const Family &st : kOffered) {
            Put8(vecData, kCapMultiprotocol);
            Put8(vecData, 4u);
            Put16(vecData, st.usAfi);
            Put8(vecData, 0u);
            Put8(vecData, st.ucSafi);
        }
        Close(kErrOpen, kSubBadCapability, vecData);
        return;
    }
    m_ulPeerAs = ulPeerAs;
    m_ulPeerId = ulId;
    if (!m_events.OpenReceived()) {
        Close(kErrCease, kSubCeaseCollision);
        return;
    }
    m_usHold = std::min(usHold, m_stConfig.usHoldTime);
    m_eState = SessionState::OpenConfirm;
    Bytes v = BuildMessage(kBgpKeepalive, {});
    m_vecOut.insert(m_vecOut.end(), v.begin(), v.end());
    m_dLastSent = m_dNow;
}

bool BgpSession::ReadCapabilities(Reader &rd, uint32_t &ulAs4, std::vector<Family> &vecFamilies)
{
    bool bExtended = false;
    while (rd.Left() > 0u) {
        uint8_t ucParam = 0;
        uint8_t ucParamLen = 0;
        const uint8_t *pParam = nullptr;
        if (!rd.U8(ucParam) || !rd.U8(ucParamLen) || !rd.Take(ucParamLen, pParam)) {
            Close(kErrOpen, 0u);
            return false;
        }
        if (ucParam != kParamCapabilities) {
            Close(kErrOpen, kSubBadOptParam);
            return false;
        }
        Reader rdCaps(pParam, ucParamLen);
        while (rdCaps.Left() > 0u) {
            uint8_t ucCode = 0;
            uint8_t ucLen = 0;
            const uint8_t *pValue = nullptr;
            if (!rdCaps.U8(ucCode) || !rdCaps.U8(ucLen) || !rdCaps.Take(ucLen, pValue)) {
                Close(kErrOpen, 0u);
                return false;
            }
            if (ucCode == kCapMultiprotocol && ucLen == 4u) {
                vecFamilies.push_back({Be16(pValue), pValue[3]});
            } else if (ucCode == kCapAs4 && ucLen == 4u) {
                ulAs4 = Be32(pValue);
            } else if (ucCode == kCapRouteRefresh) {
                m_bPeerRefresh = true;
            } else if (ucCode == kCapExtendedMessage) {
                bExtended = true;
            }
        }
    }
    m_bExtended = bExtended; /* we always offer it */
    return true;
}

void BgpSession::OnNotification(const uint8_t *p, size_t n)
{
    (void)n;
    m_strReason = "peer sent NOTIFICATION " + NotificationText(p[19], p[20]);
    m_eState = SessionState::Closed;
}

void BgpSession::Tick(double dNow)
{
    m_dNow = dNow;
    if (m_eState == SessionState::Closed) {
        return;
    }
    if (m_usHold != 0u && dNow - m_dLastHeard >= m_usHold) {
        Close(kErrHoldTimer, 0u);
        return;
    }
    if (m_eState != SessionState::OpenSent && m_usHold != 0u && dNow - m_dLastSent >= m_usHold / 3.0) {
        Bytes v = BuildMessage(kBgpKeepalive, {});
        m_vecOut.insert(m_vecOut.end(), v.begin(), v.end());
        m_dLastSent = dNow;
    }
}

double BgpSession::NextDeadline() const
{
    if (m_eState == SessionState::Closed || m_usHold == 0u) {
        return m_dNow + 3600.0;
    }
    double d = m_dLastHeard + m_usHold;
    if (m_eState != SessionState::OpenSent) {
        d = std::min(d, m_dLastSent + m_usHold / 3.0);
    }
    return d;
}

void BgpSession::Close(uint8_t ucCode, uint8_t ucSubcode, const Bytes &vecData)
{
    if (m_eState == SessionState::Closed) {
        return;
    }
    Bytes v = BuildNotification(ucCode, ucSubcode, vecData);
    m_vecOut.insert(m_vecOut.end(), v.begin(), v.end());
    m_strReason = "sent NOTIFICATION " + NotificationText(ucCode, ucSubcode);
    m_eState = SessionState::Closed;
}

void BgpSession::Lost(const std::string &strWhy)
{
    if (m_eState != SessionState::Closed) {
        m_strReason = strWhy;
        m_eState = SessionState::Closed;
    }
}

void BgpSession::Send(const Bytes &vecMsg)
{
    if (m_eState != SessionState::Established) {
        return;
    }
    m_vecOut.insert(m_vecOut.end(), vecMsg.begin(), vecMsg.end());
    m_dLastSent = m_dNow;
}

}  // namespace srp
