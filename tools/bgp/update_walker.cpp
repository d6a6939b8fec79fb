/* The host's walk over an UPDATE's path attributes. */
#include "bgp/update_walker.h"

#include <cstring>

namespace srp {

namespace {

/* Where a walk works: the buffer it reads and the position of its first byte
 * inside the message, for reports. */
struct Span {
    uint8_t *p;
    size_t n;
    size_t ulBase;
};

void Fail(WalkedUpdate &stOut, const std::string &strWhat, size_t ulPos, uint32_t ulCode = 0u)
{
    WalkFailure stFailure{strWhat, ulCode, ulPos, {}};
    if (ulCode != 0u) {
        stFailure.vecReports = PluginHost::TakeReports();
    }
    stOut.vecFailures.push_back(std::move(stFailure));
}

/* The more-flag loop over the NLRI of one MP attribute. */
void DecodeNlris(PluginHost &host, uint32_t ulType, uint16_t usAfi, Span stSpan, WalkedUpdate &stOut)
{
    uint8_t *pucCur = stSpan.p;
    uint8_t *pucEnd = stSpan.p + stSpan.n;
    const char *pcWhat = ulType == kAttrMpReach ? "MP_REACH_NLRI NLRI" : "MP_UNREACH_NLRI NLRI";
    while (pucCur < pucEnd) {
        uint8_t *pucBefore = pucCur;
        WalkedRoute stRoute;
        memset(&stRoute.stKey, 0, sizeof(stRoute.stKey));
        uint32_t ulMore = 0;
        uint32_t ulRc = host.ParseNlri(ulType, &pucCur, static_cast<uint32_t>(pucEnd - pucCur), stRoute.stKey, ulMore);
        size_t ulPos = stSpan.ulBase + static_cast<size_t>(pucBefore - stSpan.p);
        if (ulRc != BOL_OK) {
            Fail(stOut, pcWhat, ulPos, ulRc);
            return;
        }
        if (pucCur <= pucBefore || pucCur > pucEnd) {
            Fail(stOut, std::string(pcWhat) + ": parser did not advance within the attribute", ulPos);
            return;
        }
        stRoute.usAfi = usAfi;
        stRoute.bWithdrawn = ulType == kAttrMpUnreach;
        stOut.vecRoutes.push_back(stRoute);
        if (ulMore == 0u) {
            if (pucCur != pucEnd) {
                Fail(stOut, std::string(pcWhat) + ": bytes left after the last NLRI",
                     stSpan.ulBase + static_cast<size_t>(pucCur - stSpan.p));
            }
            return;
        }
    }
}

std::string NextHopText(const uint8_t *p, size_t n)
{
    if (n == 4u) {
        return Ipv4Text(Be32(p));
    }
    if (n == 16u || n == 32u) { /* global, or global and link-local */
        return Ipv6Text(p);
    }
    return ToHex(p, n);
}

void MpReach(PluginHost &host, Span stSpan, bool bNextHopOnly, WalkedUpdate &stOut)
{
    Reader rd(stSpan.p, stSpan.n);
    uint16_t usAfi = 0;
    uint8_t ucSafi = 0;
    uint8_t ucNhLen = 0;
    const uint8_t *pNh = nullptr;
    if (bNextHopOnly) {
        if (!rd.U8(ucNhLen) || !rd.Take(ucNhLen, pNh)) {
            Fail(stOut, "MP_REACH_NLRI next hop overruns the attribute", stSpan.ulBase);
            return;
        }
        stOut.strNextHop = NextHopText(pNh, ucNhLen);
        return;
    }
    if (!rd.U16(usAfi) || !rd.U8(ucSafi) || !rd.U8(ucNhLen) || !rd.Take(ucNhLen, pNh) || !rd.Skip(1u)) {
        Fail(stOut, "MP_REACH_NLRI header overruns the attribute", stSpan.ulBase);
        return;
    }
    if (!IsSrPolicyFamily(usAfi, ucSafi)) {
        stOut.ulSkipped++;
        return;
    }
    stOut.strNextHop = NextHopText(pNh, ucNhLen);
    size_t ulHdr = rd.Pos();
    DecodeNlris(host, kAttrMpReach, usAfi, Span{stSpan.p + ulHdr, stSpan.n - ulHdr, stSpan.ulBase + ulHdr}, stOut);
}

void MpUnreach(PluginHost &host, Span stSpan, WalkedUpdate &stOut)
{
    if (stSpan.n < 3u) {
        Fail(stOut, "MP_UNREACH_NLRI shorter than its header", stSpan.ulBase);
        return;
    }
    uint16_t usAfi = Be16(stSpan.p);
    if (!IsSrPolicyFamily(usAfi, stSpan.p[2])) {
        stOut.ulSkipped++;
        return;
    }
    DecodeNlris(host, kAttrMpUnreach, usAfi, Span{stSpan.p + 3, stSpan.n - 3u, stSpan.ulBase + 3u}, stOut);
}

void TunnelEncap(PluginHost &host, Span stSpan, WalkedUpdate &stOut)
{
    thread_local Bytes vecValue; /* the parser may rewrite its input: a copy, kept between UPDATEs */
    vecValue.assign(stSpan.p, stSpan.p + stSpan.n);
    NoteWireValue(stSpan.p, stSpan.n, stOut.stAttrNotes);
    uint32_t ulRc = host.ParseTunnelEncap(vecValue, stOut.vecAttr);
    if (ulRc != BOL_OK) {
        stOut.ulAttrError = ulRc;
        stOut.vecAttr.clear();
        std::string strWhat = "Tunnel Encapsulation attribute";
        for (const std::string &strWarning : stOut.stAttrNotes.vecWarnings) {
            strWhat += " (" + strWarning + ")";
        }
        Fail(stOut, strWhat, stSpan.ulBase, ulRc);
        return;
    }
    stOut.bHasAttr = true;
}

/* Path attributes: the Tunnel Encapsulation attribute first, so that the
 * routes of the message can be shown with it, then the MP attributes in
 * their order. bRib: MP_REACH_NLRI holds only its next hop (MRT RIB). */
void WalkAttributes(PluginHost &host, Span stSpan, bool bRib, WalkedUpdate &stOut)
{
    struct Attr {
        uint8_t ucType;
        Span stValue;
    };
    thread_local std::vector<Attr> vecAttrs; /* kept from message to message */
    vecAttrs.clear();
    Reader rd(stSpan.p, stSpan.n);
    while (rd.Left() > 0u) {
        size_t ulPos = stSpan.ulBase + rd.Pos();
        uint8_t ucFlags = 0;
        uint8_t ucType = 0;
        uint16_t usLen = 0;
        uint8_t ucLen = 0;
        bool bOk = rd.U8(ucFlags) && rd.U8(ucType);
        if (bOk && (ucFlags & kAttrFlagExtLen) != 0u) {
            bOk = rd.U16(usLen);
        } else if (bOk) {
            bOk = rd.U8(ucLen);
            usLen = ucLen;
        }
        size_t ulValuePos = rd.Pos();
        if (!bOk || !rd.Skip(usLen)) {
            Fail(stOut, "path attribute " + std::to_string(ucType) + " overruns the attributes", ulPos);
            break;
        }
        vecAttrs.push_back(Attr{ucType, Span{stSpan.p + ulValuePos, usLen, stSpan.ulBase + ulValuePos}});
    }
    for (const Attr &st : vecAttrs) {
        if (st.ucType == kAttrTnlEncap) {
            TunnelEncap(host, st.stValue, stOut);
        }
    }
    for (const Attr &st : vecAttrs) {
        if (st.ucType == kAttrMpReach) {
            MpReach(host, st.stValue, bRib, stOut);
        } else if (st.ucType == kAttrMpUnreach) {
            MpUnreach(host, st.stValue, stOut);
        } else if (st.ucType != kAttrTnlEncap) {
            stOut.ulSkipped++;
        }
    }
}

}  // namespace

void WalkUpdate(PluginHost &host, Bytes &vecMsg, WalkedUpdate &stOut)
{
    const size_t ulHdr = 19u;
    Reader rd(vecMsg.data(), vecMsg.size());
    uint16_t usWithdrawn = 0;
    uint16_t usAttrs = 0;
    if (!rd.Skip(ulHdr) || !rd.U16(usWithdrawn)) {
        Fail(stOut, "UPDATE shorter than its fixed fields", 0u);
        return;
    }
    if (!rd.Skip(usWithdrawn)) {
        Fail(stOut, "withdrawn routes length " + std::to_string(usWithdrawn) + " overruns the UPDATE", ulHdr);
        return;
    }
    if (usWithdrawn != 0u) {
        stOut.ulSkipped++; /* IPv4 unicast withdrawals */
    }
    size_t ulAttrPos = rd.Pos() + 2u;
    if (!rd.U16(usAttrs) || !rd.Skip(usAttrs)) {
        Fail(stOut, "path attribute length " + std::to_string(usAttrs) + " overruns the UPDATE", ulAttrPos - 2u);
        return;
    }
    if (rd.Left() != 0u) {
        stOut.ulSkipped++; /* IPv4 unicast NLRI */
    }
    WalkAttributes(host, Span{vecMsg.data() + ulAttrPos, usAttrs, ulAttrPos}, false, stOut);
}

void WalkRibEntry(PluginHost &host, uint16_t usAfi, Bytes &vecNlri, Bytes &vecAttrs, WalkedUpdate &stOut)
{
    WalkAttributes(host, Span{vecAttrs.data(), vecAttrs.size(), 0u}, true, stOut);
    DecodeNlris(host, kAttrMpReach, usAfi, Span{vecNlri.data(), vecNlri.size(), 0u}, stOut);
}

void WalkNlri(PluginHost &host, Bytes &vecNlri, WalkedUpdate &stOut)
{
    DecodeNlris(host, kAttrMpReach, 0u, Span{vecNlri.data(), vecNlri.size(), 0u}, stOut);
}

}  // namespace srp
