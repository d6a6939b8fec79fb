/* Plug-in calls for one walked UPDATE: per route the key text and check, per
 * UPDATE the attribute's text and fields. */
#include "plugin/describer.h"

#include <cstring>

namespace srp {

namespace {

std::string EndpointOf(const BOL_SRPOLICY_NLRI_S &stKey)
{
    if (stKey.ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4) {
        return Ipv4Text(stKey.aulEndpoint[0]);
    }
    uint8_t auc[16];
    for (size_t i = 0; i < 4u; i++) {
        for (size_t k = 0; k < 4u; k++) {
            auc[4u * i + k] = static_cast<uint8_t>(stKey.aulEndpoint[i] >> (24u - 8u * k));
        }
    }
    return Ipv6Text(auc);
}

/* The non-empty lines of a text, line ends dropped. */
void SplitLines(const std::string &strText, std::vector<TextLineSpan> &vecLines)
{
    size_t ulStart = 0;
    while (ulStart < strText.size()) {
        size_t ulEnd = strText.find('\n', ulStart);
        if (ulEnd == std::string::npos) {
            ulEnd = strText.size();
        }
        size_t ulLen = ulEnd - ulStart;
        if (ulLen > 0u && strText[ulStart + ulLen - 1u] == '\r') {
            ulLen--;
        }
        if (ulLen > 0u) {
            vecLines.push_back(TextLineSpan{ulStart, ulLen});
        }
        ulStart = ulEnd + 1u;
    }
}

/* Sub-TLVs of the normalised value without a field of their own, and the
 * names with their wire lengths. */
void KeptParts(DescribedAttribute &stAttr, const WireNotes &stNotes)
{
    thread_local TunnelEncapView stView;
    ScanTunnelEncap(stAttr.vecNormalised.data(), stAttr.vecNormalised.size(), stView);
    size_t ulName = 0;
    for (const SubTlv &st : stView.vecSubTlvs) {
        if (st.ucType == kSubTlvCandidatePathName || st.ucType == kSubTlvPolicyName) {
            NameView stName;
            stName.ucType = st.ucType;
            if (st.usLen > 0u) { /* a reserved byte, then the name */
                stName.vecName.assign(st.pValue + 1, st.pValue + st.usLen);
            }
            stName.ulWireLen = static_cast<uint32_t>(stName.vecName.size());
            if (ulName < stNotes.vecNames.size() && stNotes.vecNames[ulName].ucType == st.ucType) {
                stName.ulWireLen = stNotes.vecNames[ulName].usLen;
            }
            ulName++;
            stAttr.vecNames.push_back(std::move(stName));
        } else if (!IsDecodedSubTlv(st.ucType)) {
            stAttr.vecKept.push_back(KeptSubTlv{st.ucType, Bytes(st.pValue, st.pValue + st.usLen)});
        }
    }
}

}  // namespace

std::string EndpointText(const BOL_SRPOLICY_NLRI_S &stKey) { return EndpointOf(stKey); }

void DescribedUpdate::Clear()
{
    vecRoutes.clear();
    strNextHop.clear();
    stAttr.bPresent = false;
    stAttr.ulError = 0;
    stAttr.vecNormalised.clear();
    stAttr.strHex.clear();
    stAttr.strText.clear();
    stAttr.vecTextLines.clear();
    stAttr.bHasFields = false; /* stFields keeps its buffers for the next attribute */
    stAttr.vecWarnings.clear();
    stAttr.vecKept.clear();
    stAttr.vecNames.clear();
    bBareAttribute = false;
    vecProblems.clear();
    vecNotes.clear();
    ulSkipped = 0;
}

void RouteCounts::Add(const DescribedUpdate &st)
{
    ullRoutes += st.vecRoutes.size();
    for (const DescribedRoute &stRoute : st.vecRoutes) {
        ullWithdrawals += stRoute.bWithdrawn ? 1u : 0u;
    }
    ullSkipped += st.ulSkipped;
    ullFailed += st.Failures();
}

RouteCounts &RouteCounts::operator+=(const RouteCounts &st)
{
    ullUpdates += st.ullUpdates;
    ullRoutes += st.ullRoutes;
    ullWithdrawals += st.ullWithdrawals;
    ullSkipped += st.ullSkipped;
    ullFailed += st.ullFailed;
    return *this;
}

uint64_t DescribedUpdate::Failures() const
{
    uint64_t ullCount = 0;
    int iLastRoute = -1;
    for (const Problem &st : vecProblems) {
        if (st.iRoute < 0) {
            ullCount++;
        } else if (st.iRoute != iLastRoute) { /* problems of one route are added together */
            ullCount++;
            iLastRoute = st.iRoute;
        }
    }
    return ullCount;
}

void Describer::Fail(DescribedUpdate &stOut, const std::string &strWhat, uint32_t ulCode, int iRoute)
{
    stOut.vecProblems.emplace_back(strWhat, ulCode, 0u, iRoute);
    stOut.vecProblems.back().vecReports = PluginHost::TakeReports();
}

void Describer::Route(DescribedUpdate &stOut, size_t ulIndex)
{
    DescribedRoute &stRoute = stOut.vecRoutes[ulIndex];
    int iRoute = static_cast<int>(ulIndex);
    uint32_t ulRc = m_host.KeyText(stRoute.stKey, stRoute.strKeyText);
    if (ulRc != BOL_OK) {
        Fail(stOut, "route key text", ulRc, iRoute);
        stRoute.strKeyText = "SR Policy NLRI: distinguisher " + std::to_string(stRoute.stKey.ulDistinguisher) +
                             ", color " + std::to_string(stRoute.stKey.ulPolicyColor) + ", endpoint " +
                             EndpointOf(stRoute.stKey);
    }
    ulRc = m_host.CheckEndpoint(stRoute.stKey, stRoute.bValid);
    stRoute.bChecked = ulRc == BOL_OK;
    if (ulRc != BOL_OK) {
        Fail(stOut, "route check", ulRc, iRoute);
    }
}

void Describer::Attribute(DescribedUpdate &stOut, const WireNotes &stNotes)
{
    DescribedAttribute &stAttr = stOut.stAttr;
    KeptParts(stAttr, stNotes);
    /* The key of the first announced route stands for all of them. */
    BOL_SRPOLICY_NLRI_S stKey;
    memset(&stKey, 0, sizeof(stKey));
    for (const DescribedRoute &st : stOut.vecRoutes) {
        if (!st.bWithdrawn) {
            stKey = st.stKey;
            break;
        }
    }
    if (stOut.bBareAttribute) {
        stAttr.strHex = ToHex(stAttr.vecNormalised);
    }
    if (m_stOptions.bAttrText) {
        uint32_t ulRc = m_host.AttrText(stKey, stAttr.vecNormalised, stAttr.strText);
        if (ulRc != BOL_OK) {
            Fail(stOut, "attribute text", ulRc, -1);
        }
        SplitLines(stAttr.strText, stAttr.vecTextLines);
    }
    if (m_stOptions.bFields) {
        uint32_t ulRc = m_host.CondRtAttrMessage(stKey, stAttr.vecNormalised, m_vecScratch);
        std::string strError;
        if (ulRc != BOL_OK) {
            Fail(stOut, "attribute message", ulRc, -1);
        } else if (!ParseCondRtAttr(m_vecScratch, stAttr.stFields, strError)) {
            stOut.vecProblems.push_back(Problem(strError));
        } else {
            stAttr.bHasFields = true;
        }
    }
}

void Describer::Describe(WalkedUpdate &stWalk, DescribedUpdate &stOut)
{
    stOut.Clear();
    stOut.ulSkipped = stWalk.ulSkipped;
    for (WalkFailure &st : stWalk.vecFailures) {
        stOut.vecProblems.emplace_back(std::move(st.strWhat), st.ulCode, st.ulPos);
        stOut.vecProblems.back().vecReports = std::move(st.vecReports);
    }
    stOut.strNextHop = stWalk.strNextHop;
    stOut.stAttr.ulError = stWalk.ulAttrError;
    stOut.stAttr.vecWarnings = stWalk.stAttrNotes.vecWarnings;
    bool bAnnounced = false;
    for (const WalkedRoute &stWalked : stWalk.vecRoutes) {
        DescribedRoute stRoute;
        stRoute.stKey = stWalked.stKey;
        stRoute.usAfi = stWalked.usAfi != 0u
                            ? stWalked.usAfi
                            : (stWalked.stKey.ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4 ? kAfiIpv4 : kAfiIpv6);
        stRoute.bWithdrawn = stWalked.bWithdrawn;
        bAnnounced = bAnnounced || !stWalked.bWithdrawn;
        stOut.vecRoutes.push_back(std::move(stRoute));
    }
    for (size_t i = 0; i < stOut.vecRoutes.size(); i++) {
        Route(stOut, i);
    }
    if (stWalk.bHasAttr && bAnnounced) {
        stOut.stAttr.bPresent = true;
        stOut.stAttr.vecNormalised.swap(stWalk.vecAttr);
        Attribute(stOut, stWalk.stAttrNotes);
    }
    stOut.vecNotes = PluginHost::TakeReports();
}

void Describer::DescribeAttribute(const uint8_t *p, size_t n, DescribedUpdate &stOut)
{
    stOut.Clear();
    stOut.bBareAttribute = true;
    WireNotes stNotes;
    NoteWireValue(p, n, stNotes);
    stOut.stAttr.vecWarnings = stNotes.vecWarnings;
    Bytes vecValue(p, p + n);
    uint32_t ulRc = m_host.ParseTunnelEncap(vecValue, stOut.stAttr.vecNormalised);
    if (ulRc != BOL_OK) {
        stOut.stAttr.vecNormalised.clear();
        std::string strWhat = "Tunnel Encapsulation attribute";
        for (const std::string &strWarning : stNotes.vecWarnings) {
            strWhat += " (" + strWarning + ")";
        }
        Fail(stOut, strWhat, ulRc, -1);
        return;
    }
    stOut.stAttr.bPresent = true;
    Attribute(stOut, stNotes);
    stOut.vecNotes = PluginHost::TakeReports();
}

}  // namespace srp
