/*
 * Format dispatchers and the encoders of packets, messages and
 * configuration records.
 */
#define BOL_THIS_MODULE BOL_MOD_FORMAT

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "bol_srpolicy_wire.h"

namespace {

/* Packet, message, HA message and attribute message encoders share one shape. */
uint32_t DispatchFormat(const BOL_SRPOLICY_PROC_ENTRY_S *pstRow, const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                        uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    if (pstRow == nullptr || pstRow->unHandler.pfnFormat == nullptr) {
        return BOL_ERR_NO_HANDLER;
    }
    return pstRow->unHandler.pfnFormat(pstRtData, ppucCur, ulRoom, pstInst);
}

/* The end of an encoder that checked its room before writing: the writer
 * check, then the caller's cursor moves past what was written. */
uint32_t FinishItem(const bol::Writer &stWr, uint8_t **ppucCur)
{
    if (!BOL_WRITER_DONE(stWr)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    *ppucCur = stWr.puc;
    return BOL_OK;
}

} /* namespace */

extern "C" {

/* ======================================================================== */
/* Dispatchers                                                               */
/* ======================================================================== */

uint32_t BOL_SRPOLICY_FormatPkt(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur, uint32_t ulRoom,
                                BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return DispatchFormat(BOL_SRPOLICY_GetPktFormatEntry(ulType), pstRtData, ppucCur, ulRoom, pstInst);
}

uint32_t BOL_SRPOLICY_FormatMsg(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur, uint32_t ulRoom,
                                BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return DispatchFormat(BOL_SRPOLICY_GetBgpiMsgFormatEntry(ulType), pstRtData, ppucCur, ulRoom, pstInst);
}

uint32_t BOL_SRPOLICY_FormatHaMsg(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur,
                                  uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return DispatchFormat(BOL_SRPOLICY_GetHaiMsgFormatEntry(ulType), pstRtData, ppucCur, ulRoom, pstInst);
}

uint32_t BOL_SRPOLICY_FormatAttrMsg(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur,
                                    uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return DispatchFormat(BOL_SRPOLICY_GetAttrMsgFormatEntry(ulType), pstRtData, ppucCur, ulRoom, pstInst);
}

uint32_t BOL_SRPOLICY_FormatCfg(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur, uint32_t ulRoom,
                                uint32_t *pulOffset, uint32_t *pulMore)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    if (ulRoom == 0u) {
        BOL_REPORT(ulRoom);
        return BOL_ERR_PARAM;
    }
    BOL_CHECK_PTR(pulOffset, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);

    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = BOL_SRPOLICY_GetCfgFormatEntry(ulType);
    if (pstRow == nullptr || pstRow->unHandler.pfnCfgFormat == nullptr) {
        return BOL_ERR_NO_HANDLER;
    }
    return pstRow->unHandler.pfnCfgFormat(pstRtData, ppucCur, ulRoom, pulOffset, pulMore);
}

} /* extern "C" */

/* ======================================================================== */
/* SR Policy NLRI encoding                                                  */
/* ======================================================================== */

namespace {

/* Distinguisher, color and ulWords endpoint words of a key, big-endian. The
 * caller has checked the room. */
void PutKeyFields(bol::Writer &stWr, const BOL_SRPOLICY_NLRI_S &stKey, uint32_t ulWords)
{
    bol::PutU32(stWr, stKey.ulDistinguisher);
    bol::PutU32(stWr, stKey.ulPolicyColor);
    for (uint32_t i = 0; i < ulWords && i < 4u; i++) {
        bol::PutU32(stWr, stKey.aulEndpoint[i]);
    }
}

/* One NLRI at the cursor: 13 bytes for a key of length 96, otherwise the
 * IPv6 form of 25 bytes with the length 192. Nothing is written, and the
 * cursor stays, when it does not fit. */
uint32_t PutNlri(const BOL_SRPOLICY_NLRI_S &stKey, uint8_t **ppucCur, uint32_t ulRoom)
{
    bool bV4 = (stKey.ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4);
    uint32_t ulWords = bV4 ? 1u : 4u;
    uint32_t ulLenBits = bV4 ? BOL_SRPOLICY_NLRI_LEN_IPV4 : BOL_SRPOLICY_NLRI_LEN_IPV6;
    bol::Writer stWr = bol::MakeWriter(*ppucCur, ulRoom);
    if (!bol::Fits(stWr, 1u + ulLenBits / 8u)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    bol::PutU8(stWr, static_cast<uint8_t>(ulLenBits));
    PutKeyFields(stWr, stKey, ulWords);
    return FinishItem(stWr, ppucCur);
}

} /* namespace */

extern "C" {

uint32_t BOL_SRPOLICY_FormatMpNlri(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur, uint32_t ulRoom,
                                   BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    if (*ppucCur == nullptr) {
        return BOL_SRPOLICY_ERR_PARA;
    }
    if (pstRtData->pstKey == nullptr) {
        return BOL_ERR_NO_DATA;
    }
    return PutNlri(*pstRtData->pstKey, ppucCur, ulRoom);
}

/* Withdrawn routes are written as reachable ones; a route without a key is
 * told apart before a missing buffer here. */
uint32_t BOL_SRPOLICY_FormatMpUnNlri(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur, uint32_t ulRoom,
                                     BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    if (pstRtData->pstKey == nullptr) {
        return BOL_ERR_NO_DATA;
    }
    if (*ppucCur == nullptr) {
        return BOL_SRPOLICY_ERR_PARA;
    }
    return PutNlri(*pstRtData->pstKey, ppucCur, ulRoom);
}

} /* extern "C" */

/* ======================================================================== */
/* Attribute encoding                                                       */
/* ======================================================================== */

/* Writes the stored attribute value as it is: no attribute flags, type or
 * length, which the host writes itself. */
extern "C" uint32_t BOL_SRPOLICY_FormatTunnelEncapsulationAttribute(const BOL_RT_DATA_S *pstRtData,
                                                                    uint8_t **ppucCur, uint32_t ulRoom,
                                                                    BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    if (pstRtData->pucAttr == nullptr) {
        return BOL_ERR_NO_DATA;
    }
    uint32_t ulLen = static_cast<uint16_t>(pstRtData->ulAttrLen);
    bol::Writer stWr = bol::MakeWriter(*ppucCur, ulRoom);
    if (!bol::Fits(stWr, ulLen)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    int iRet = bol::PutBytes(stWr, pstRtData->pucAttr, ulLen);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }
    return FinishItem(stWr, ppucCur);
}

/* ======================================================================== */
/* Conditional-route messages                                               */
/* ======================================================================== */

/*
 * Message 122 rebuilds the route's attribute as a row of TLVs with a 4-byte
 * type and a 4-byte length, one per item present, in the order of the
 * emission table. Reserved bytes are stepped over, not written: they keep
 * whatever the caller's buffer held. An item that does not fit the room is
 * not written (4); items before it stay.
 */
namespace {

const uint32_t kCondRtHdrLen = sizeof(BOL_SRPOLICY_CONDRT_TLV_S);
const uint32_t kCondRtU32TlvLen = kCondRtHdrLen + 8u;  /* flags, 3 reserved, 4-byte value */
const uint32_t kCondRtBsidTlvLen = kCondRtHdrLen + 20u; /* flags, type, 2 reserved, 16-byte value */
const uint32_t kCondRtSegListEntryHdrLen = sizeof(BOL_SRPOLICY_CONDRT_SEGLIST_ENTRY_S);
const uint32_t kCondRtSRv6BsidEntryLen = sizeof(BOL_SRPOLICY_CONDRT_SRV6_BSID_ENTRY_S);

/* The pointers an item encoder needs, checked in the order given: a null
 * one is reported. */
bool ArgsPresent(const void *pv1, const void *pv2, const void *pv3)
{
    BOL_CHECK_PTR(pv1, false);
    BOL_CHECK_PTR(pv2, false);
    BOL_CHECK_PTR(pv3, false);
    return true;
}

/* Header of a TLV of known length: type and length as two 32-bit words. */
void PutCondRtHdr(bol::Writer &stWr, uint32_t ulType, uint32_t ulLength)
{
    bol::PutU32(stWr, ulType);
    bol::PutU32(stWr, ulLength);
}

/* The 16-byte TLVs of preference, template id and slice id. */
uint32_t PutCondRtU32Tlv(uint8_t **ppucCur, const uint8_t *pucEnd, uint8_t ucExist, uint32_t ulType,
                         uint8_t ucFlags, uint32_t ulValue)
{
    if (ucExist != 1u) {
        return BOL_OK;
    }
    bol::Writer stWr = bol::MakeWriterTo(*ppucCur, pucEnd);
    if (!bol::Fits(stWr, kCondRtU32TlvLen)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    PutCondRtHdr(stWr, ulType, kCondRtU32TlvLen - kCondRtHdrLen);
    bol::PutU8(stWr, ucFlags);
    bol::PutSkip(stWr, 3u);
    bol::PutU32(stWr, ulValue);
    return FinishItem(stWr, ppucCur);
}

/*
 * The list TLVs (segment lists, SRv6 binding SIDs): header, then one entry
 * per node written by pfnEntry, then the entries' total in bytes 6-7. The
 * header is written first; when an entry does not fit, the caller's cursor
 * stays before it.
 */
template <typename NodeT>
uint32_t PutCondRtListTlv(const BOL_SRPOLICY_LIST_HEAD_S *pstList, uint8_t **ppucCur, const uint8_t *pucEnd,
                          uint32_t ulType, uint32_t (*pfnEntry)(const NodeT *, uint8_t **, const uint8_t *))
{
    if (pstList == nullptr || pstList->ulCount == 0u) {
        return BOL_OK;
    }
    bol::Writer stWr = bol::MakeWriterTo(*ppucCur, pucEnd);
    if (!bol::Fits(stWr, kCondRtHdrLen)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    bol::View stHdr = bol::PutView(stWr, kCondRtHdrLen);
    bol::SetU32(stHdr, 0u, ulType);
    bol::SetU16(stHdr, 4u, 0u);

    uint8_t *pucPos = stWr.puc;
    uint32_t ulRet = bol::ForEachNode<NodeT>(
        pstList, [&pucPos, pucEnd, pfnEntry](const NodeT *pstNode) { return pfnEntry(pstNode, &pucPos, pucEnd); });
    if (ulRet != BOL_OK) {
        return ulRet;
    }
    bol::SetU16(stHdr, 6u, static_cast<uint16_t>(pucPos - stWr.puc));
    *ppucCur = pucPos;
    return BOL_OK;
}

/* Names (candidate path, policy): header with the 16-bit length in bytes
 * 6-7, then the name bytes without terminator. */
uint32_t PutCondRtName(uint8_t **ppucCur, const uint8_t *pucEnd, bool bValid, uint32_t ulType,
                       const uint8_t *pucName, uint16_t usLen)
{
    if (!bValid) {
        return BOL_OK;
    }
    bol::Writer stWr = bol::MakeWriterTo(*ppucCur, pucEnd);
    if (!bol::Fits(stWr, kCondRtHdrLen + usLen)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    bol::PutU32(stWr, ulType);
    bol::PutU16(stWr, 0u);
    bol::PutU16(stWr, usLen);
    if (usLen != 0u) {
        int iRet = bol::PutBytes(stWr, pucName, usLen);
        if (iRet != 0) {
            BOL_REPORT_SEC(iRet);
        }
    }
    return FinishItem(stWr, ppucCur);
}

} /* namespace */

extern "C" {

/* The subscription key carries nothing. */
uint32_t BOL_SRPOLICY_FormatCondRtSubsKey(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur, uint32_t ulRoom,
                                          BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstRtData;
    (void)ppucCur;
    (void)ulRoom;
    (void)pstInst;
    return BOL_OK;
}

/* The route key message is the HA prefix TLV: same checks, same 28 bytes. */
uint32_t BOL_SRPOLICY_FormatCondRtRouteKey(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur, uint32_t ulRoom,
                                           BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    return BOL_SRPOLICY_FormatHaRtPrefixTlv(pstRtData, ppucCur, ulRoom, pstInst);
}

uint32_t BOL_SRPOLICY_FormatCondRtAttr(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur, uint32_t ulRoom,
                                       BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    if (pstRtData->pucAttr == nullptr) {
        return BOL_OK;
    }

    /* Decoding normalises the stored bytes in place, as every decode does. */
    BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = nullptr;
    uint8_t *pucPrivSliceIdPos = nullptr;
    uint8_t *pucStdSliceIdPos = nullptr;
    uint32_t ulRet = BOL_SRPOLICY_ParsePktTunnelEncapAttr(pstRtData->pucAttr, pstRtData->ulAttrLen & 0xFFFFu,
                                                          &pstAttr, pstInst, &pucPrivSliceIdPos, &pucStdSliceIdPos);
    if (ulRet != BOL_OK) {
        if (pstAttr != nullptr) {
            BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, pstInst);
        }
        return ulRet;
    }
    if (pstAttr == nullptr) {
        BOL_REPORT(0u);
        return BOL_ERR_PARAM;
    }
    if ((pstRtData->ulRtFlags & BOL_SRPOLICY_RT_FLAG_PRIV_SLICE_ID) != 0u) {
        pstAttr->ucSliceIdKind = static_cast<uint8_t>(pstAttr->ucSliceIdKind | BOL_SRPOLICY_SLICE_KIND_RTFLAG);
    }

    const uint8_t *pucEnd = *ppucCur + ulRoom;
    for (const BOL_SRPOLICY_PROC_ENTRY_S &stRow : g_astBOL_SRPOLICY_FORMAT_CONDRTATTR_TBL) {
        ulRet = stRow.unHandler.pfnCondRtAttr(pstAttr, ppucCur, pucEnd);
        if (ulRet != BOL_OK) {
            break;
        }
    }
    BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, pstInst);
    return ulRet;
}

uint32_t BOL_SRPOLICY_FormatCondRtPreference(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                             const uint8_t *pucEnd)
{
    if (!ArgsPresent(pstAttr, ppucCur, pucEnd)) {
        return BOL_ERR_PARAM;
    }
    return PutCondRtU32Tlv(ppucCur, pucEnd, pstAttr->ucPrefExist, BOL_SRPOLICY_CONDRT_TLV_PREF,
                           pstAttr->ucPrefFlags, pstAttr->ulPreference);
}

uint32_t BOL_SRPOLICY_FormatCondRtCfgModuleId(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                              const uint8_t *pucEnd)
{
    if (!ArgsPresent(pstAttr, ppucCur, pucEnd)) {
        return BOL_ERR_PARAM;
    }
    return PutCondRtU32Tlv(ppucCur, pucEnd, pstAttr->ucCfgModuleIdExist, BOL_SRPOLICY_CONDRT_TLV_CFG_MODULE_ID,
                           pstAttr->ucCfgModuleIdFlags, pstAttr->ulCfgModuleId);
}

/* The private slice id is carried only when it is the one decoded and the
 * route flag asked for it; the standard one in every other case. */
uint32_t BOL_SRPOLICY_FormatCondRtSliceId(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                          const uint8_t *pucEnd)
{
    if (!ArgsPresent(pstAttr, ppucCur, pucEnd)) {
        return BOL_ERR_PARAM;
    }
    uint32_t ulKind = pstAttr->ucSliceIdKind;
    bool bPrivOnly = (ulKind & (BOL_SRPOLICY_SLICE_KIND_PRIV | BOL_SRPOLICY_SLICE_KIND_STD)) ==
                     BOL_SRPOLICY_SLICE_KIND_PRIV;
    bool bPriv = bPrivOnly && (ulKind & BOL_SRPOLICY_SLICE_KIND_RTFLAG) != 0u;
    return PutCondRtU32Tlv(ppucCur, pucEnd, pstAttr->ucSliceIdExist, BOL_SRPOLICY_CONDRT_TLV_SLICE_ID,
                           pstAttr->ucSliceIdFlags, bPriv ? pstAttr->ulPrivSliceId : pstAttr->ulStdSliceId);
}

uint32_t BOL_SRPOLICY_FormatCondRtBindSid(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                          const uint8_t *pucEnd)
{
    if (!ArgsPresent(pstAttr, ppucCur, pucEnd)) {
        return BOL_ERR_PARAM;
    }
    if (pstAttr->ucBsidExist != 1u) {
        return BOL_OK;
    }
    bol::Writer stWr = bol::MakeWriterTo(*ppucCur, pucEnd);
    if (!bol::Fits(stWr, kCondRtBsidTlvLen)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    PutCondRtHdr(stWr, BOL_SRPOLICY_CONDRT_TLV_BSID, kCondRtBsidTlvLen - kCondRtHdrLen);
    bol::PutU8(stWr, pstAttr->ucBsidFlags);
    bol::PutU8(stWr, pstAttr->ucBsidType);
    bol::PutSkip(stWr, 2u);
    bol::PutWords4(stWr, pstAttr->aulBsidValue);
    return FinishItem(stWr, ppucCur);
}

uint32_t BOL_SRPOLICY_FormatCondRtSegmentList(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                              const uint8_t *pucEnd)
{
    if (!ArgsPresent(ppucCur, pstAttr, pucEnd)) {
        return BOL_ERR_PARAM;
    }
    return PutCondRtListTlv<BOL_SRPOLICY_SEGLIST_NODE_S>(pstAttr->pstSegListHead, ppucCur, pucEnd,
                                                         BOL_SRPOLICY_CONDRT_TLV_SEGLIST,
                                                         BOL_SRPOLICY_FormatCondRtOneSegmentList);
}

uint32_t BOL_SRPOLICY_FormatCondRtOneSegmentList(const BOL_SRPOLICY_SEGLIST_NODE_S *pstNode, uint8_t **ppucCur,
                                                 const uint8_t *pucEnd)
{
    if (!ArgsPresent(pstNode, ppucCur, pucEnd)) {
        return BOL_ERR_PARAM;
    }
    uint32_t ulLen = pstNode->usSegListLen;
    bol::Writer stWr = bol::MakeWriterTo(*ppucCur, pucEnd);
    if (!bol::Fits(stWr, kCondRtSegListEntryHdrLen + ulLen)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    bol::PutU16(stWr, static_cast<uint16_t>(ulLen));
    bol::PutSkip(stWr, 1u);
    int iRet = bol::PutBytes(stWr, pstNode->aucSegList, ulLen);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }
    return FinishItem(stWr, ppucCur);
}

uint32_t BOL_SRPOLICY_FormatCondRtSRv6BSID(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                           const uint8_t *pucEnd)
{
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    return PutCondRtListTlv<BOL_SRPOLICY_SRV6_BSID_NODE_S>(&pstAttr->stSRv6BsidList, ppucCur, pucEnd,
                                                           BOL_SRPOLICY_CONDRT_TLV_SRV6_BSID,
                                                           BOL_SRPOLICY_FormatCondRtOneSRv6BSID);
}

uint32_t BOL_SRPOLICY_FormatCondRtOneSRv6BSID(const BOL_SRPOLICY_SRV6_BSID_NODE_S *pstNode, uint8_t **ppucCur,
                                              const uint8_t *pucEnd)
{
    BOL_CHECK_PTR(pstNode, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    bol::Writer stWr = bol::MakeWriterTo(*ppucCur, pucEnd);
    if (!bol::Fits(stWr, kCondRtSRv6BsidEntryLen)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    bol::PutU8(stWr, pstNode->ucFlags);
    bol::PutSkip(stWr, 3u);
    bol::PutWords4(stWr, pstNode->aulSid);
    bol::PutU16(stWr, pstNode->usEndpointBehavior);
    bol::PutSkip(stWr, 2u);
    bol::PutU8(stWr, pstNode->ucLbLen);
    bol::PutU8(stWr, pstNode->ucLnLen);
    bol::PutU8(stWr, pstNode->ucFunLen);
    bol::PutU8(stWr, pstNode->ucArgLen);
    return FinishItem(stWr, ppucCur);
}

uint32_t BOL_SRPOLICY_FormatCondRtCPathName(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                            const uint8_t *pucEnd)
{
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    return PutCondRtName(ppucCur, pucEnd, pstAttr->ucCPathNameValid != 0u, BOL_SRPOLICY_CONDRT_TLV_CPATH_NAME,
                         pstAttr->pucCPathName, pstAttr->usCPathNameLen);
}

uint32_t BOL_SRPOLICY_FormatCondRtPolicyName(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                             const uint8_t *pucEnd)
{
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    return PutCondRtName(ppucCur, pucEnd, pstAttr->ucPolicyNameValid == 1u, BOL_SRPOLICY_CONDRT_TLV_POLICY_NAME,
                         pstAttr->pucPolicyName, pstAttr->usPolicyNameLen);
}

/* Kept for the host's interface; nothing in the plug-in calls it. Writes the
 * type byte, the presence byte, two bytes not written and the value. */
uint32_t BOL_SRPOLICY_FormatCondRtOneSegment(const BOL_SRPOLICY_CONDRT_SEGMENT_S *pstSeg, uint8_t **ppucCur,
                                             const uint8_t *pucEnd)
{
    BOL_CHECK_PTR(pstSeg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    if (pstSeg->ucExist != 1u) {
        return BOL_SRPOLICY_ERR_SEG_ABSENT;
    }
    bol::Writer stWr = bol::MakeWriterTo(*ppucCur, pucEnd);
    if (!bol::Fits(stWr, 8u)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    bol::PutU8(stWr, pstSeg->ucType);
    bol::PutU8(stWr, pstSeg->ucExist);
    bol::PutSkip(stWr, 2u);
    bol::PutU32(stWr, pstSeg->ulValue);
    return FinishItem(stWr, ppucCur);
}

} /* extern "C" */

/* ======================================================================== */
/* HA prefix TLV encoding                                                   */
/* ======================================================================== */

namespace bol {

/* The route key message (HA prefix TLV, conditional-route key message): the
 * length byte as stored, three zero bytes, then distinguisher, color and all
 * four endpoint words big-endian. */
bool PutRtKeyMsg(Writer &stWr, const BOL_SRPOLICY_NLRI_S &stKey)
{
    if (!Fits(stWr, sizeof(BOL_SRPOLICY_RT_KEY_MSG_S))) {
        return false;
    }
    PutU8(stWr, stKey.ucNlriLen);
    PutZeros(stWr, sizeof(stKey.aucReserved));
    PutKeyFields(stWr, stKey, 4u);
    return BOL_WRITER_DONE(stWr);
}

} /* namespace bol */

extern "C" uint32_t BOL_SRPOLICY_FormatHaRtPrefixTlv(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                     uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);

    bol::Writer stWr = bol::MakeWriter(*ppucCur, ulRoom);
    if (!bol::Fits(stWr, sizeof(BOL_SRPOLICY_RT_KEY_MSG_S))) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    if (pstRtData->pstKey == nullptr) {
        return BOL_ERR_NO_DATA;
    }
    if (!bol::PutRtKeyMsg(stWr, *pstRtData->pstKey)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    *ppucCur = stWr.puc;
    return BOL_OK;
}

/* ======================================================================== */
/* Attribute message encoding                                               */
/* ======================================================================== */

/* Message 47 is the stored attribute value itself, byte for byte. */
extern "C" uint32_t BOL_SRPOLICY_FormatTunnelEncapsAttrTlv(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                          uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    if (pstRtData->pucAttr == nullptr) {
        return BOL_ERR_NO_DATA;
    }
    uint32_t ulLen = pstRtData->ulAttrLen & 0xFFFFu;
    bol::Writer stWr = bol::MakeWriter(*ppucCur, ulRoom);
    if (!bol::Fits(stWr, ulLen)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    /* The copy is given the whole room as its destination size. */
    int iRet = bol::PutBytesInRoom(stWr, pstRtData->pucAttr, ulLen);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }
    return FinishItem(stWr, ppucCur);
}

/* ======================================================================== */
/* Configured prefix encoding                                               */
/* ======================================================================== */

/* A route key becomes a configured prefix record. Only the fields of the key
 * are written; the caller's position does not move, the record is always
 * complete in one call. */
extern "C" uint32_t BOL_SRPOLICY_FormatCfgPrefix(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur, uint32_t ulRoom,
                                                uint32_t *pulOffset, uint32_t *pulMore)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstRtData->pstKey, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);
    if (ulRoom == 0u) {
        BOL_REPORT(ulRoom);
        return BOL_ERR_PARAM;
    }
    BOL_CHECK_PTR(pulOffset, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);
    if (ulRoom < sizeof(BOL_SRPOLICY_CFG_PREFIX_S)) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    if (pstRtData->ulKeyLen != BOL_SRPOLICY_NLRI_KEY_LEN) {
        BOL_REPORT(pstRtData->ulKeyLen);
    }

    /* The record is packed: its fields are written without alignment. */
    const BOL_SRPOLICY_NLRI_S *pstKey = pstRtData->pstKey;
    BOL_SRPOLICY_CFG_PREFIX_S *pstCfg = reinterpret_cast<BOL_SRPOLICY_CFG_PREFIX_S *>(*ppucCur);
    pstCfg->ulCfgKind = BOL_SRPOLICY_CFG_PREFIX_KIND;
    if (pstKey->ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4) {
        pstCfg->ulEndpointV4 = pstKey->aulEndpoint[0];
        pstCfg->ucEndpointIsV6 = 0u;
    } else if (pstKey->ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV6) {
        bol::Writer stWr = bol::MakeWriter(pstCfg->aucEndpointV6, sizeof(pstCfg->aucEndpointV6));
        bol::PutWords4(stWr, pstKey->aulEndpoint);
        if (!BOL_WRITER_FILLED(stWr)) {
            return BOL_SRPOLICY_ERR_BUF_SHORT;
        }
        pstCfg->ucEndpointIsV6 = 1u;
    } else {
        return BOL_ERR_NO_DATA;
    }
    pstCfg->ulDistinguisher = pstKey->ulDistinguisher;
    pstCfg->ulPolicyColor = pstKey->ulPolicyColor;
    *pulOffset = 0u;
    *pulMore = 0u;
    return BOL_OK;
}

/* ======================================================================== */
/* Configured tunnel encapsulation text                                     */
/* ======================================================================== */

/* The stored attribute as text in the caller's configuration buffer, resumable
 * with the offset and more flag of the attribute text walk. */
extern "C" uint32_t BOL_SRPOLICY_FormatCfgTunnelEncapsulation(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                             uint32_t ulRoom, uint32_t *pulOffset, uint32_t *pulMore)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    if (ulRoom == 0u) {
        BOL_REPORT(ulRoom);
        return BOL_ERR_PARAM;
    }
    BOL_CHECK_PTR(pulOffset, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);
    if (*ppucCur == nullptr) {
        return BOL_SRPOLICY_ERR_PARA;
    }
    if (pstRtData->pucAttr == nullptr) {
        *pulMore = 0u;
        return BOL_OK;
    }
    /* The text, the offset and the more flag are the result; the walk's own
     * code adds nothing the caller can act on. */
    (void)BOL_SRPOLICY_OutputTunnelEncapAttr(pstRtData->pucAttr, pstRtData->ulAttrLen, ulRoom,
                                             reinterpret_cast<char *>(*ppucCur), pulOffset, pulMore);
    return BOL_OK;
}
