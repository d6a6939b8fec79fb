/*
 * Parse dispatchers and the decoders: SR Policy NLRI, the Tunnel
 * Encapsulation attribute walk and its sub-TLV decoders, the message and
 * configuration decoders, and the configured-tunnel encoder.
 */
#define BOL_THIS_MODULE BOL_MOD_PARSE

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "bol_srpolicy_wire.h"

namespace {

/* Message, HA message and attribute message decoders share one shape. */
uint32_t DispatchMsgParse(const BOL_SRPOLICY_PROC_ENTRY_S *pstRow, const uint8_t *pucMsg, uint32_t ulLen,
                          void **ppvOut, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    if (pstRow == nullptr || pstRow->unHandler.pfnMsgParse == nullptr) {
        return BOL_ERR_NO_HANDLER;
    }
    return pstRow->unHandler.pfnMsgParse(pucMsg, ulLen, ppvOut, pstInst);
}

} /* namespace */

extern "C" {

/* ======================================================================== */
/* Dispatchers                                                               */
/* ======================================================================== */

uint32_t BOL_SRPOLICY_ParsePkt(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx, uint32_t ulType, void **ppvOut,
                               uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = BOL_SRPOLICY_GetPktParseEntry(ulType);
    if (pstRow == nullptr || pstRow->unHandler.pfnPktParse == nullptr) {
        return BOL_ERR_PARAM;
    }
    return pstRow->unHandler.pfnPktParse(ppucCur, ulLen, pvHostCtx, ppvOut, pulMore, pstInst);
}

uint32_t BOL_SRPOLICY_ParseMsg(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                               BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pucMsg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return DispatchMsgParse(BOL_SRPOLICY_GetBgpiMsgParseEntry(ulType), pucMsg, ulLen, ppvOut, pstInst);
}

uint32_t BOL_SRPOLICY_ParseHaMsg(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                                 BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pucMsg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return DispatchMsgParse(BOL_SRPOLICY_GetHaiMsgParseEntry(ulType), pucMsg, ulLen, ppvOut, pstInst);
}

uint32_t BOL_SRPOLICY_ParseAttrMsg(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                                   BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pucMsg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return DispatchMsgParse(BOL_SRPOLICY_GetAttrMsgParseEntry(ulType), pucMsg, ulLen, ppvOut, pstInst);
}

uint32_t BOL_SRPOLICY_ParseCfg(const void *pvCfg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                               BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pvCfg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = BOL_SRPOLICY_GetCfgParseEntry(ulType);
    if (pstRow == nullptr || pstRow->unHandler.pfnCfgParse == nullptr) {
        return BOL_SRPOLICY_ERR_PARA;
    }
    return pstRow->unHandler.pfnCfgParse(pvCfg, ulLen, ppvOut, pstInst);
}

} /* extern "C" */

/* ======================================================================== */
/* SR Policy NLRI decoding                                                  */
/* ======================================================================== */

namespace {

/* Body lengths in bytes of an NLRI with an IPv4 and an IPv6 endpoint. */
const uint32_t kNlriBodyV4 = 12u;
const uint32_t kNlriBodyV6 = 24u;

/* Distinguisher, color and WORDS endpoint words, big-endian from ulOff on,
 * into a key that the caller has zeroed. The NLRI body, the HA prefix TLV and
 * the conditional-route key message all carry the key fields this way. The
 * word count is fixed per caller so that the reads unroll on the hot path. */
template <uint32_t WORDS>
inline void GetKeyFields(const bol::View &stView, uint32_t ulOff, BOL_SRPOLICY_NLRI_S &stKey)
{
    static_assert(WORDS >= 1u && WORDS <= 4u, "an endpoint has one to four words");
    stKey.ulDistinguisher = bol::GetU32(stView, ulOff);
    stKey.ulPolicyColor = bol::GetU32(stView, ulOff + 4u);
    for (uint32_t i = 0; i < WORDS; i++) {
        stKey.aulEndpoint[i] = bol::GetU32(stView, ulOff + 8u + 4u * i);
    }
}

/* A read-only view of bytes the host handed as const. */
bol::View ConstView(const uint8_t *puc, uint32_t ulLen)
{
    return bol::MakeView(const_cast<uint8_t *>(puc), ulLen);
}

/* Hands one key, and nothing else, to the host as an output block. */
uint32_t OutputKeyOnly(void **ppvOut, BOL_SRPOLICY_NLRI_S *pstKey, const BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_PARSE_DESC_S stDesc = {};
    stDesc.ulKeyLen = BOL_SRPOLICY_NLRI_KEY_LEN;
    stDesc.pvKey = pstKey;
    return BOL_SRPOLICY_OutputData(ppvOut, &stDesc, pstInst->ulMemModuleId);
}

/* Decodes an NLRI body of 12 (IPv4) or 24 (IPv6) bytes that the caller has
 * checked, hands its key to the host and, once handed over, clears the more
 * flag and moves the cursor past the body. The length comes from the body,
 * never from the wire byte. Shared by both NLRI entry points; inlined into
 * the per-NLRI path of a full-table load. */
inline uint32_t DecodeNlriBody(uint8_t **ppucCur, bool bV4, void **ppvOut, uint32_t *pulMore,
                               const BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    uint32_t ulUsed = bV4 ? kNlriBodyV4 : kNlriBodyV6;
    bol::Reader stRd = bol::MakeReader(*ppucCur, ulUsed);
    bol::View stBody = {};
    (void)bol::ReadView(stRd, ulUsed, stBody);

    BOL_SRPOLICY_NLRI_S stKey = {};
    if (bV4) {
        stKey.ucNlriLen = static_cast<uint8_t>(BOL_SRPOLICY_NLRI_LEN_IPV4);
        GetKeyFields<1u>(stBody, 0u, stKey);
    } else {
        stKey.ucNlriLen = static_cast<uint8_t>(BOL_SRPOLICY_NLRI_LEN_IPV6);
        GetKeyFields<4u>(stBody, 0u, stKey);
    }
    uint32_t ulRet = OutputKeyOnly(ppvOut, &stKey, pstInst);
    if (ulRet == BOL_OK) {
        *pulMore = 0u;
        *ppucCur = stRd.puc;
    }
    return ulRet;
}

} /* namespace */

extern "C" {

uint32_t BOL_SRPOLICY_ParseMpNlri(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx, void **ppvOut,
                                  uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pvHostCtx, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    /* A length byte alone is no NLRI. */
    if (ulLen <= 1u) {
        return BOL_ERR_NLRI_LEN;
    }
    bol::Reader stRd = bol::MakeReader(*ppucCur, ulLen);
    uint8_t ucLenBits = 0u;
    (void)bol::ReadU8(stRd, ucLenBits);
    /* Whole bytes only: the low three bits of the length are dropped. */
    uint32_t ulBody = static_cast<uint32_t>(ucLenBits) >> 3;
    if (stRd.ulLeft < ulBody || (ulBody != kNlriBodyV4 && ulBody != kNlriBodyV6)) {
        return BOL_ERR_NLRI_LEN;
    }

    /* The body decoder that BOL_SRPOLICY_ParseBgpNlri wraps, without its
     * checks: they hold here. */
    uint8_t *pucBody = stRd.puc;
    uint32_t ulRet = DecodeNlriBody(&pucBody, ulBody == kNlriBodyV4, ppvOut, pulMore, pstInst);
    /* The host gets the cursor and the more flag even when the key could not
     * be handed over, so that it can skip this NLRI. */
    *ppucCur = pucBody;
    *pulMore = (stRd.ulLeft != ulBody) ? 1u : 0u;
    return ulRet;
}

/* Withdrawn NLRI have the same form as reachable ones. */
uint32_t BOL_SRPOLICY_ParseMpUnNlri(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx, void **ppvOut,
                                    uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    return BOL_SRPOLICY_ParseMpNlri(ppucCur, ulLen, pvHostCtx, ppvOut, pulMore, pstInst);
}

uint32_t BOL_SRPOLICY_ParseBgpNlri(uint8_t **ppucCur, uint32_t ulNlriBytes, void **ppvOut, uint32_t *pulMore,
                                   BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);
    /* 12 bytes hold an IPv4 endpoint, 24 an IPv6 one; a body in between
     * would be read as IPv6 past its end. */
    if (ulNlriBytes < kNlriBodyV4 || (ulNlriBytes > kNlriBodyV4 && ulNlriBytes < kNlriBodyV6)) {
        BOL_REPORT(ulNlriBytes);
        return BOL_ERR_PARAM;
    }
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    return DecodeNlriBody(ppucCur, ulNlriBytes == kNlriBodyV4, ppvOut, pulMore, pstInst);
}

} /* extern "C" */

/* ======================================================================== */
/* Tunnel Encapsulation attribute record                                    */
/* ======================================================================== */

/* ======================================================================== */
/* Attribute decoding                                                       */
/* ======================================================================== */

/* Not built yet: answers as if nothing could be done. */
extern "C" uint32_t BOL_SRPOLICY_ParsePktTunnelEncapAttr(uint8_t *pucAttr, uint32_t ulAttrLen,
                                                        BOL_SRPOLICY_TNLENCAP_ATTR_S **ppstAttr,
                                                        BOL_SRPOLICY_INSTANCE_S *pstInst, uint8_t **ppucPrivSliceIdPos,
                                                        uint8_t **ppucStdSliceIdPos)
{
    (void)pucAttr;
    (void)ulAttrLen;
    (void)ppstAttr;
    (void)pstInst;
    (void)ppucPrivSliceIdPos;
    (void)ppucStdSliceIdPos;
    return BOL_ERR_NO_HANDLER;
}

/* ======================================================================== */
/* Sub-TLV decoders                                                         */
/* ======================================================================== */

/* ======================================================================== */
/* Conditional-route subscription key                                       */
/* ======================================================================== */

/* ======================================================================== */
/* HA prefix TLV decoding                                                   */
/* ======================================================================== */

/* The route key of a backed-up route: 28 bytes, the key in network order.
 * A longer message is accepted; only its first 28 bytes are read. */
extern "C" uint32_t BOL_SRPOLICY_ParseHaRtPrefixTlv(const uint8_t *pucMsg, uint32_t ulLen, void **ppvOut,
                                                   BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pucMsg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    if (ulLen < sizeof(BOL_SRPOLICY_RT_KEY_MSG_S)) {
        return BOL_ERR_HA_TLV_SHORT;
    }
    bol::View stMsg = ConstView(pucMsg, sizeof(BOL_SRPOLICY_RT_KEY_MSG_S));
    uint8_t ucNlriLen = bol::GetU8(stMsg, offsetof(BOL_SRPOLICY_RT_KEY_MSG_S, ucNlriLen));
    if (ucNlriLen != BOL_SRPOLICY_NLRI_LEN_IPV4 && ucNlriLen != BOL_SRPOLICY_NLRI_LEN_IPV6) {
        return BOL_ERR_HA_NLRI_LEN;
    }

    /* All four endpoint words are taken as sent, whatever the length. */
    BOL_SRPOLICY_NLRI_S stKey = {};
    stKey.ucNlriLen = ucNlriLen;
    GetKeyFields<4u>(stMsg, offsetof(BOL_SRPOLICY_RT_KEY_MSG_S, aucDistinguisher), stKey);
    return OutputKeyOnly(ppvOut, &stKey, pstInst);
}

/* ======================================================================== */
/* Attribute message decoding                                               */
/* ======================================================================== */

/* ======================================================================== */
/* Configured prefix decoding                                               */
/* ======================================================================== */

/* A configured prefix record (host order, IPv6 endpoint in network order)
 * becomes a route key. */
extern "C" uint32_t BOL_SRPOLICY_ParseCfgPrefix(const void *pvCfg, uint32_t ulLen, void **ppvOut,
                                               BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pvCfg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    if (ulLen != sizeof(BOL_SRPOLICY_CFG_PREFIX_S)) {
        BOL_REPORT(ulLen);
        return BOL_ERR_PARAM;
    }
    /* The record is packed: its fields are read without alignment. */
    const BOL_SRPOLICY_CFG_PREFIX_S *pstCfg = static_cast<const BOL_SRPOLICY_CFG_PREFIX_S *>(pvCfg);
    if (pstCfg->ulCfgKind != BOL_SRPOLICY_CFG_PREFIX_KIND) {
        return BOL_ERR_CFG_TYPE;
    }

    BOL_SRPOLICY_NLRI_S stKey = {};
    if (pstCfg->ucEndpointIsV6 == 0u) {
        stKey.ucNlriLen = static_cast<uint8_t>(BOL_SRPOLICY_NLRI_LEN_IPV4);
        stKey.aulEndpoint[0] = pstCfg->ulEndpointV4;
    } else {
        stKey.ucNlriLen = static_cast<uint8_t>(BOL_SRPOLICY_NLRI_LEN_IPV6);
        bol::GetWords4(ConstView(pstCfg->aucEndpointV6, sizeof(pstCfg->aucEndpointV6)), 0u, stKey.aulEndpoint);
    }
    stKey.ulDistinguisher = pstCfg->ulDistinguisher;
    stKey.ulPolicyColor = pstCfg->ulPolicyColor;
    return OutputKeyOnly(ppvOut, &stKey, pstInst);
}

/* ======================================================================== */
/* Configured tunnel encapsulation encoding                                 */
/* ======================================================================== */
