/* Configured routes to UPDATE messages, through the plug-in's configuration
 * and packet-format entry points. */
#include "encode/encode.h"

#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

#include "bgp/message_stream.h"
#include "common/bgp_codes.h"
#include "encode/interop.h"
#include "input/source.h"
#include "output/out_buffer.h"

namespace srp {

namespace {

const size_t kMaxMessage = 4096u;
const uint8_t kAsSequence = 2u;

void SidWords(const Sid &a, uint32_t *pulWords)
{
    for (size_t i = 0; i < 4u; i++) {
        pulWords[i] = Be32(a.data() + 4u * i);
    }
}

void InitList(BOL_SRPOLICY_LIST_HEAD_S &stList)
{
    stList.stHead.pstNext = &stList.stHead;
    stList.stHead.pstPrev = &stList.stHead;
    stList.ulCount = 0;
}

void Append(BOL_SRPOLICY_LIST_HEAD_S &stList, BOL_SRPOLICY_LIST_NODE_S *pstNode)
{
    DLL_Insert_In_Middle(&stList, stList.stHead.pstPrev, pstNode, &stList.stHead);
}

/* The configuration record of a tunnel and the list nodes hanging from it,
 * which the host owns while the plug-in reads them. */
struct TunnelRecord {
    BOL_SRPOLICY_CFG_TNLENCAP_S stCfg;
    std::vector<std::unique_ptr<BOL_SRPOLICY_CFG_SEGLIST_S>> vecLists;
    std::vector<std::unique_ptr<BOL_SRPOLICY_CFG_SRV6_BSID_S>> vecSrv6;
};

void FillSegmentList(const CfgSegmentList &stIn, BOL_SRPOLICY_CFG_SEGLIST_S &st)
{
    memset(&st, 0, sizeof(st));
    st.ucWeightExist = stIn.oWeight ? 1u : 0u;
    st.ulWeight = stIn.oWeight.value_or(0u);
    st.ucPathMtuExist = stIn.oPathMtu ? 1u : 0u;
    st.ulPathMtu = stIn.oPathMtu.value_or(0u);
    if (!stIn.vecLabels.empty()) {
        st.ucSegType = 1u;
        st.ucSegNum = static_cast<uint8_t>(stIn.vecLabels.size());
        for (size_t i = 0; i < stIn.vecLabels.size(); i++) {
            st.aulSegValue[i] = stIn.vecLabels[i];
        }
    } else if (!stIn.vecSids.empty()) {
        st.ucSegType = 2u;
        st.ucSegNum = static_cast<uint8_t>(stIn.vecSids.size());
        for (size_t i = 0; i < stIn.vecSids.size(); i++) {
            SidWords(stIn.vecSids[i], &st.aulSegValue[4u * i]);
        }
    }
    if (stIn.oBindingSid) {
        const CfgSegListBsid &b = *stIn.oBindingSid;
        /* Segment-list binding SIDs are always SRv6 SIDs here (flag 0x80). */
        st.ucBsidFlags = static_cast<uint8_t>(0x80u | (b.bWithBehavior ? 0x40u : 0u));
        SidWords(b.aSid, st.aulBsid);
        st.usEndpointBehavior = b.usBehavior;
        st.ulSidStructure = b.stStructure.Word();
        if (b.oReverse) {
            SidWords(*b.oReverse, st.aulReverseBsid);
            st.usReverseEndpointBehavior = b.usReverseBehavior;
            st.ulReverseSidStructure = b.stReverseStructure.Word();
        }
    }
}

void FillTunnel(const CfgRoute &stRoute, TunnelRecord &rec)
{
    BOL_SRPOLICY_CFG_TNLENCAP_S &st = rec.stCfg;
    memset(&st, 0, sizeof(st));
    InitList(st.stSegLists);
    InitList(st.stSRv6BsidList);
    st.ucPrefExist = stRoute.oPreference ? 1u : 0u;
    st.ulPreference = stRoute.oPreference.value_or(0u);
    if (stRoute.oBindingSid) {
        const CfgBindingSid &b = *stRoute.oBindingSid;
        st.ucBsidExist = 1u;
        st.ucBsidSFlag = b.bSFlag ? 1u : 0u;
        st.ucBsidIFlag = b.bIFlag ? 1u : 0u;
        st.ulBsidLabel = b.oLabel.value_or(0u);
        if (b.oSid) {
            SidWords(*b.oSid, st.aulBsidV6);
        }
    }
    for (const CfgSrv6BindingSid &s : stRoute.vecSrv6BindingSids) {
        auto pNode = std::make_unique<BOL_SRPOLICY_CFG_SRV6_BSID_S>();
        memset(pNode.get(), 0, sizeof(*pNode));
        pNode->ucFlags = s.ucFlags;
        SidWords(s.aSid, pNode->aulSid);
        pNode->usEndpointBehavior = s.usBehavior;
        pNode->ulSidStructure = s.stStructure.Word();
        Append(st.stSRv6BsidList, &pNode->stNode);
        rec.vecSrv6.push_back(std::move(pNode));
    }
    for (const CfgSegmentList &l : stRoute.vecSegmentLists) {
        auto pNode = std::make_unique<BOL_SRPOLICY_CFG_SEGLIST_S>();
        FillSegmentList(l, *pNode);
        Append(st.stSegLists, &pNode->stNode);
        rec.vecLists.push_back(std::move(pNode));
    }
    st.ucCfgModuleIdExist = stRoute.oTemplateId ? 1u : 0u;
    st.ulCfgModuleId = stRoute.oTemplateId.value_or(0u);
    st.ucSliceIdExist = stRoute.oSliceId ? 1u : 0u;
    st.ulSliceId = stRoute.oSliceId.value_or(0u);
}

void FillPrefix(const CfgRoute &stRoute, BOL_SRPOLICY_CFG_PREFIX_S &st)
{
    memset(&st, 0, sizeof(st));
    st.ulCfgKind = BOL_SRPOLICY_CFG_PREFIX_KIND;
    st.ulDistinguisher = stRoute.ulDistinguisher;
    st.ulPolicyColor = stRoute.ulColor;
    if (stRoute.vecEndpoint.size() == 4u) {
        st.ulEndpointV4 = Be32(stRoute.vecEndpoint.data());
    } else {
        memcpy(st.aucEndpointV6, stRoute.vecEndpoint.data(), sizeof(st.aucEndpointV6));
        st.ucEndpointIsV6 = 1u;
    }
}

void PutAttr(Bytes &v, uint8_t ucFlags, uint8_t ucType, const Bytes &vecValue)
{
    if (vecValue.size() > 255u) {
        Put8(v, ucFlags | kAttrFlagExtLen);
        Put8(v, ucType);
        Put16(v, static_cast<uint32_t>(vecValue.size()));
    } else {
        Put8(v, ucFlags);
        Put8(v, ucType);
        Put8(v, static_cast<uint32_t>(vecValue.size()));
    }
    PutBytes(v, vecValue.data(), vecValue.size());
}

Bytes Message(const Bytes &vecAttrs)
{
    Bytes v(16u, 0xFFu);
    Put16(v, static_cast<uint32_t>(kBgpHeaderLen + 4u + vecAttrs.size()));
    Put8(v, kBgpUpdate);
    Put16(v, 0u); /* no IPv4 unicast withdrawals */
    Put16(v, static_cast<uint32_t>(vecAttrs.size()));
    PutBytes(v, vecAttrs.data(), vecAttrs.size());
    return v;
}

/* One route made ready: its family, NLRI bytes and the attributes it shares
 * with the routes it can travel with. */
struct Prepared {
    uint16_t usAfi = 0;
    Bytes vecNlri;
    Bytes vecNextHop;
    Bytes vecBefore; /* ORIGIN and AS_PATH */
    Bytes vecAfter;  /* the Tunnel Encapsulation attribute */
    Bytes vecValue;  /* its value */
};

Bytes BuildMessage(const Prepared &stFirst, const Bytes &vecNlris, bool bWithdraw)
{
    Bytes vecAttrs;
    Bytes vecMp;
    Put16(vecMp, stFirst.usAfi);
    Put8(vecMp, kSafiSrPolicy);
    if (bWithdraw) {
        PutBytes(vecMp, vecNlris.data(), vecNlris.size());
        PutAttr(vecAttrs, kAttrFlagOptional, kAttrMpUnreach, vecMp);
        return Message(vecAttrs);
    }
    Put8(vecMp, static_cast<uint32_t>(stFirst.vecNextHop.size()));
    PutBytes(vecMp, stFirst.vecNextHop.data(), stFirst.vecNextHop.size());
    Put8(vecMp, 0u);
    PutBytes(vecMp, vecNlris.data(), vecNlris.size());
    /* Attributes in type order: ORIGIN, AS_PATH, MP_REACH_NLRI, Tunnel Encapsulation. */
    PutBytes(vecAttrs, stFirst.vecBefore.data(), stFirst.vecBefore.size());
    PutAttr(vecAttrs, kAttrFlagOptional, kAttrMpReach, vecMp);
    PutBytes(vecAttrs, stFirst.vecAfter.data(), stFirst.vecAfter.size());
    return Message(vecAttrs);
}

bool Prepare(PluginHost &host, const CfgRoute &stRoute, size_t ulIndex, bool bWithdraw, Prepared &stOut,
             std::string &strError)
{
    std::string strWhere = "routes[" + std::to_string(ulIndex) + "]: ";
    BOL_SRPOLICY_CFG_PREFIX_S stPrefix;
    FillPrefix(stRoute, stPrefix);
    BOL_SRPOLICY_NLRI_S stKey;
    memset(&stKey, 0, sizeof(stKey));
    uint32_t ulRc = host.ConfiguredPrefix(stPrefix, stKey);
    if (ulRc != BOL_OK) {
        strError = strWhere + "configured prefix: " + ResultName(ulRc);
        return false;
    }
    stOut.usAfi = stRoute.vecEndpoint.size() == 4u ? 1u : 2u;
    stOut.vecNextHop = stRoute.vecNextHop;
    Bytes vecAttr;
    if (!bWithdraw) {
        TunnelRecord rec;
        FillTunnel(stRoute, rec);
        ulRc = host.ConfiguredTunnel(rec.stCfg, vecAttr);
        if (ulRc != BOL_OK) {
            strError = strWhere + "configured tunnel encapsulation: " + ResultName(ulRc);
            return false;
        }
        if (vecAttr.size() <= 4u) {
            strError = strWhere + "nothing configured for the Tunnel Encapsulation attribute";
            return false;
        }
    }
    ulRc = host.FormatPacket(bWithdraw ? kAttrMpUnreach : kAttrMpReach, stKey, vecAttr, stOut.vecNlri);
    if (ulRc != BOL_OK) {
        strError = strWhere + "NLRI: " + ResultName(ulRc);
        return false;
    }
    if (bWithdraw) {
        return true;
    }
    Bytes &vecValue = stOut.vecValue;
    ulRc = host.FormatPacket(kAttrTnlEncap, stKey, vecAttr, vecValue);
    if (ulRc != BOL_OK) {
        strError = strWhere + "Tunnel Encapsulation attribute: " + ResultName(ulRc);
        return false;
    }
    PutAttr(stOut.vecBefore, kAttrFlagTransitive, kAttrOrigin, Bytes{stRoute.ucOrigin});
    Bytes vecPath;
    if (!stRoute.vecAsPath.empty()) {
        Put8(vecPath, kAsSequence);
        Put8(vecPath, static_cast<uint32_t>(stRoute.vecAsPath.size()));
        for (uint32_t ulAs : stRoute.vecAsPath) {
            Put32(vecPath, ulAs);
        }
    }
    PutAttr(stOut.vecBefore, kAttrFlagTransitive, kAttrAsPath, vecPath);
    PutAttr(stOut.vecAfter, kAttrFlagOptional | kAttrFlagTransitive, kAttrTnlEncap, vecValue);
    return true;
}

}  // namespace

/* Size of the UPDATE of a group whose NLRI take ulNlris bytes, without
 * building it: header, the two length fields, the shared attributes and the
 * MP attribute (its length field widens past 255 bytes). */
size_t MessageSize(const Prepared &stFirst, size_t ulNlris, bool bWithdraw)
{
    size_t ulMp = 3u + ulNlris + (bWithdraw ? 0u : 2u + stFirst.vecNextHop.size());
    size_t ulMpAttr = (ulMp > 255u ? 4u : 3u) + ulMp;
    size_t ulShared = bWithdraw ? 0u : stFirst.vecBefore.size() + stFirst.vecAfter.size();
    return kBgpHeaderLen + 4u + ulShared + ulMpAttr;
}

bool BuildUpdates(PluginHost &host, const std::vector<CfgRoute> &vecRoutes, bool bWithdraw, const MessageFn &fnMessage,
                  const WarningFn &fnWarning, std::string &strError)
{
    /* Consecutive routes with the same family, next hop and attributes share
     * one UPDATE while it stays within the message size; the size is
     * counted, not rebuilt, so the work grows with the routes only. */
    Prepared stGroup;
    Bytes vecNlris;
    bool bOpen = false;
    for (size_t i = 0; i < vecRoutes.size(); i++) {
        Prepared stRoute;
        if (!Prepare(host, vecRoutes[i], i, bWithdraw, stRoute, strError)) {
            return false;
        }
        if (!bWithdraw && fnWarning) {
            for (const std::string &strWarning : InteropWarnings(stRoute.vecValue.data(), stRoute.vecValue.size())) {
                fnWarning(i, strWarning);
            }
        }
        if (bOpen && stRoute.usAfi == stGroup.usAfi && stRoute.vecNextHop == stGroup.vecNextHop &&
            stRoute.vecBefore == stGroup.vecBefore && stRoute.vecAfter == stGroup.vecAfter &&
            MessageSize(stGroup, vecNlris.size() + stRoute.vecNlri.size(), bWithdraw) <= kMaxMessage) {
            PutBytes(vecNlris, stRoute.vecNlri.data(), stRoute.vecNlri.size());
            continue;
        }
        if (bOpen) {
            fnMessage(BuildMessage(stGroup, vecNlris, bWithdraw));
        }
        if (MessageSize(stRoute, stRoute.vecNlri.size(), bWithdraw) > kMaxMessage) {
            strError = "routes[" + std::to_string(i) + "]: the UPDATE would exceed 4096 bytes";
            return false;
        }
        stGroup = std::move(stRoute);
        vecNlris = stGroup.vecNlri;
        bOpen = true;
    }
    if (bOpen) {
        fnMessage(BuildMessage(stGroup, vecNlris, bWithdraw));
    }
    return true;
}

bool BuildUpdates(PluginHost &host, const std::vector<CfgRoute> &vecRoutes, bool bWithdraw, std::vector<Bytes> &vecMsgs,
                  std::string &strError)
{
    return BuildUpdates(
        host, vecRoutes, bWithdraw, [&vecMsgs](const Bytes &v) { vecMsgs.push_back(v); }, WarningFn(), strError);
}

int RunEncode(const EncodeOptions &stOptions)
{
    std::string strError;
    InputFile in;
    if (!in.Open(stOptions.strConfig, strError)) {
        std::cerr << "srpolicy: " << strError << "\n";
        return 2;
    }
    /* The configuration is parsed as it is read, never held as a whole. */
    std::vector<CfgRoute> vecRoutes;
    std::FILE *pConfig = in.OpenStream();
    bool bLoaded = pConfig != nullptr && LoadConfig(pConfig, vecRoutes, strError);
    if (pConfig != nullptr) {
        std::fclose(pConfig);
    }
    if (!in.Error().empty()) {
        std::cerr << "srpolicy: cannot read " << stOptions.strConfig << ": " << in.Error() << "\n";
        return 2;
    }
    if (!bLoaded) {
        std::cerr << "srpolicy: " << stOptions.strConfig << ": " << strError << "\n";
        return 2;
    }
    PluginHost host;
    if (!host.Ok()) {
        std::cerr << "srpolicy: the plug-in could not be constructed\n";
        return 2;
    }
    SessionCapture capture;
    if (!stOptions.strPcap.empty() && !capture.Open(stOptions.strPcap, strError)) {
        std::cerr << "srpolicy: " << strError << "\n";
        return 2;
    }
    OutBuffer out(STDOUT_FILENO);
    MessageFn fnMessage = [&](const Bytes &vecMsg) {
        if (!stOptions.strPcap.empty()) {
            capture.Message(vecMsg);
        } else if (stOptions.eOutput == EncodeOutput::Raw) {
            out.Write(reinterpret_cast<const char *>(vecMsg.data()), vecMsg.size());
        } else {
            out << ToHex(vecMsg) << '\n';
        }
    };
    /* Interoperability warnings: every one for the first routes, then a count. */
    const size_t kShownRoutes = 20u;
    size_t ulWarnedRoutes = 0;
    size_t ulLastRoute = SIZE_MAX;
    WarningFn fnWarning = [&](size_t ulRoute, const std::string &strWarning) {
        if (ulRoute != ulLastRoute) {
            ulWarnedRoutes++;
            ulLastRoute = ulRoute;
        }
        if (ulWarnedRoutes <= kShownRoutes) {
            std::cerr << "srpolicy: warning: routes[" << ulRoute << "]: " << strWarning << "\n";
        }
    };
    bool bBuilt = BuildUpdates(host, vecRoutes, stOptions.bWithdraw, fnMessage, fnWarning, strError);
    if (ulWarnedRoutes > kShownRoutes) {
        std::cerr << "srpolicy: warning: " << ulWarnedRoutes - kShownRoutes
                  << " more routes with interoperability warnings (see the Interoperability section of "
                     "tools/README.md)\n";
    }
    if (!bBuilt) {
        std::cerr << "srpolicy: " << stOptions.strConfig << ": " << strError << "\n";
        return 1;
    }
    if (!stOptions.strPcap.empty()) {
        if (!capture.Close(strError)) {
            std::cerr << "srpolicy: " << strError << "\n";
            return 2;
        }
        return 0;
    }
    return out.Flush() ? 0 : 2;
}

}  // namespace srp
