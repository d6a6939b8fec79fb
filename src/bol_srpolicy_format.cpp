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
    (void)bol::PutU32(stWr, stKey.ulDistinguisher);
    (void)bol::PutU32(stWr, stKey.ulPolicyColor);
    for (uint32_t i = 0; i < ulWords && i < 4u; i++) {
        (void)bol::PutU32(stWr, stKey.aulEndpoint[i]);
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
    (void)bol::PutU8(stWr, static_cast<uint8_t>(ulLenBits));
    PutKeyFields(stWr, stKey, ulWords);
    *ppucCur = stWr.puc;
    return BOL_OK;
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
    *ppucCur = stWr.puc;
    return BOL_OK;
}

/* ======================================================================== */
/* Conditional-route messages                                               */
/* ======================================================================== */

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
    (void)PutU8(stWr, stKey.ucNlriLen);
    (void)PutZeros(stWr, sizeof(stKey.aucReserved));
    PutKeyFields(stWr, stKey, 4u);
    return true;
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
    (void)bol::PutRtKeyMsg(stWr, *pstRtData->pstKey);
    *ppucCur = stWr.puc;
    return BOL_OK;
}

/* ======================================================================== */
/* Attribute message encoding                                               */
/* ======================================================================== */

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
        (void)bol::PutWords4(stWr, pstKey->aulEndpoint);
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
