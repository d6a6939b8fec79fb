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

/* The subscription key carries nothing: only the arguments are checked. */
extern "C" uint32_t BOL_SRPOLICY_ParseCondRtSubsKey(const uint8_t *pucMsg, uint32_t ulLen, void **ppvOut,
                                                   BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pucMsg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    (void)ulLen;
    return BOL_OK;
}

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

/* Message 47 is the attribute value as stored; it is handed on unexamined as
 * path attribute 23. The length travels in 16 bits. */
extern "C" uint32_t BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv(const uint8_t *pucMsg, uint32_t ulLen, void **ppvOut,
                                                           BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pucMsg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    void *pvCopy = BOL_ALLOC(pstInst, ulLen);
    if (pvCopy == nullptr) {
        return BOL_SRPOLICY_ERR_NOMEM;
    }
    int iRet = memcpy_s(pvCopy, ulLen, pucMsg, ulLen);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }
    uint32_t ulRet = bol::OutputAttribute(ppvOut, static_cast<uint8_t *>(pvCopy), static_cast<uint16_t>(ulLen),
                                          pstInst);
    BOL_SRPOLICY_Free(&pvCopy, pstInst);
    return ulRet;
}

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

/*
 * A configured tunnel record becomes a Tunnel Encapsulation attribute value
 * (tunnel type 15). The size arithmetic computes every piece beforehand; each
 * encoding step writes through a writer whose room is exactly the size that
 * the arithmetic gave its piece, so a step can never write past the buffer,
 * and every length field equals the bytes that follow it.
 */
namespace {

const uint8_t kSegFlagsSet = 0x80u; /* flags byte of the segments written */
const uint32_t kMaxAttrLen = 0xFFFFu;
const uint32_t kMaxSidStructBits = 128u; /* an SRv6 SID has 128 bits */
const uint32_t kLabelShift = 12u;        /* an MPLS label fills the top 20 bits of its field */

/* Sub-TLV with a 1-byte length carrying flags, a zero reserved byte and one
 * 32-bit value: preference, template id, slice id, weight, path MTU, label. */
void PutU32SubTlv(bol::Writer &stWr, uint32_t ulType, uint8_t ucFlags, uint32_t ulValue)
{
    (void)bol::PutU8(stWr, static_cast<uint8_t>(ulType));
    (void)bol::PutU8(stWr, static_cast<uint8_t>(BOL_SRPOLICY_U32_SUBTLV_LEN - 2u));
    (void)bol::PutU8(stWr, ucFlags);
    (void)bol::PutU8(stWr, 0u);
    (void)bol::PutU32(stWr, ulValue);
}

/* One segment-list binding SID: 16-byte SID or its first word as a 4-byte
 * SID, then behavior, two zero bytes and structure when flag 0x40 is set. */
void PutSegListBsidSid(bol::Writer &stWr, uint8_t ucFlags, const uint32_t aulSid[4], uint16_t usBehavior,
                       uint32_t ulStructure)
{
    if ((ucFlags & BOL_SRPOLICY_CFG_SLBSID_FLAG_SRV6) != 0u) {
        (void)bol::PutWords4(stWr, aulSid);
    } else {
        (void)bol::PutU32(stWr, aulSid[0]);
    }
    if ((ucFlags & BOL_SRPOLICY_CFG_SLBSID_FLAG_EXT) != 0u) {
        (void)bol::PutU16(stWr, usBehavior);
        (void)bol::PutU16(stWr, 0u);
        (void)bol::PutU32(stWr, ulStructure);
    }
}

/* The lengths of a SID structure (one byte each, top byte first) add up to
 * at most 128 bits, else the attribute decoder refuses the sub-TLV. */
bool SidStructureFits(uint32_t ulStructure)
{
    uint32_t ulBits = (ulStructure >> 24) + ((ulStructure >> 16) & 0xFFu) + ((ulStructure >> 8) & 0xFFu) +
                      (ulStructure & 0xFFu);
    return ulBits <= kMaxSidStructBits;
}

/* What a configuration must satisfy to be encoded: the whole value fits the
 * 16-bit tunnel length, and every SRv6 binding SID that carries a structure
 * has one that the decoder accepts. */
bool CfgEncodable(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint64_t ullTotal)
{
    if (ullTotal > kMaxAttrLen) {
        return false;
    }
    uint32_t ulBad = bol::ForEachNode<BOL_SRPOLICY_CFG_SRV6_BSID_S>(
        &pstCfg->stSRv6BsidList, [](const BOL_SRPOLICY_CFG_SRV6_BSID_S *pstBsid) {
            bool bHasStructure = (pstBsid->ucFlags & BOL_SRPOLICY_CFG_SRV6_BSID_FLAG_B) != 0u;
            return (bHasStructure && !SidStructureFits(pstBsid->ulSidStructure)) ? 1u : 0u;
        });
    return ulBad == 0u;
}

} /* namespace */

extern "C" {

uint32_t BOL_SRPOLICY_ParseCfgTunnelEncapsulation(const void *pvCfg, uint32_t ulLen, void **ppvOut,
                                                  BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pvCfg, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    /* The record's size: 72 bytes on the 32-bit target (checked at compile
     * time), its natural size where pointers are wider. */
    if (ulLen != sizeof(BOL_SRPOLICY_CFG_TNLENCAP_S)) {
        BOL_REPORT(ulLen);
        return BOL_ERR_PARAM;
    }
    const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg = static_cast<const BOL_SRPOLICY_CFG_TNLENCAP_S *>(pvCfg);

    uint64_t ullTotal = BOL_SRPOLICY_CalculateTunAttrSize(pstCfg);
    if (!CfgEncodable(pstCfg, ullTotal)) {
        BOL_REPORT(static_cast<uintptr_t>(ullTotal));
        return BOL_ERR_PARAM;
    }
    uint32_t ulTotal = static_cast<uint32_t>(ullTotal);

    void *pvBuf = BOL_ALLOC(pstInst, ulTotal);
    if (pvBuf == nullptr) {
        return BOL_SRPOLICY_ERR_NOMEM;
    }
    int iRet = memset_s(pvBuf, ulTotal, 0, ulTotal);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }

    bol::Writer stWr = bol::MakeWriter(static_cast<uint8_t *>(pvBuf), ulTotal);
    (void)bol::PutU16(stWr, static_cast<uint16_t>(BOL_SRPOLICY_TUNNEL_TYPE));
    (void)bol::PutU16(stWr, static_cast<uint16_t>(ulTotal - BOL_SRPOLICY_TUNNEL_HDR_LEN));
    if (pstCfg->ucPrefExist == 1u) {
        PutU32SubTlv(stWr, BOL_SRPOLICY_SUBTLV_PREF, 0u, pstCfg->ulPreference);
    }
    uint8_t *pucPos = stWr.puc;
    BOL_SRPOLICY_ParseCfgBSID(pstCfg, &pucPos);
    BOL_SRPOLICY_ParseCfgSRv6BSID(pstCfg, &pucPos);
    BOL_SRPOLICY_ParseCfgSegmentList(pstCfg, &pucPos);
    /* The steps above wrote inside the buffer; the writer takes over after them. */
    (void)bol::PutSkip(stWr, static_cast<uint32_t>(pucPos - stWr.puc));
    if (pstCfg->ucCfgModuleIdExist == 1u) {
        PutU32SubTlv(stWr, BOL_SRPOLICY_SUBTLV_CFG_MODULE_ID, 0u, pstCfg->ulCfgModuleId);
    }
    if (pstCfg->ucSliceIdExist == 1u) {
        PutU32SubTlv(stWr, BOL_SRPOLICY_SUBTLV_STD_SLICE_ID, 0u, pstCfg->ulSliceId);
    }

    uint32_t ulRet = bol::OutputAttribute(ppvOut, static_cast<uint8_t *>(pvBuf), static_cast<uint16_t>(ulTotal),
                                          pstInst);
    BOL_SRPOLICY_Free(&pvBuf, pstInst);
    return ulRet;
}

void BOL_SRPOLICY_ParseCfgBSID(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint8_t **ppucPos)
{
    BOL_CHECK_PTR(pstCfg, );
    BOL_CHECK_PTR(ppucPos, );
    if (pstCfg->ucBsidExist != 1u) {
        return;
    }
    uint16_t usSize = 0u;
    BOL_SRPOLICY_CalculateBsidLen(pstCfg, &usSize);
    uint8_t ucFlags = 0u;
    if (pstCfg->ucBsidSFlag == 1u) {
        ucFlags |= 0x80u;
    }
    if (pstCfg->ucBsidIFlag == 1u) {
        ucFlags |= 0x40u;
    }

    bol::Writer stWr = bol::MakeWriter(*ppucPos, usSize);
    (void)bol::PutU8(stWr, static_cast<uint8_t>(BOL_SRPOLICY_SUBTLV_BSID));
    (void)bol::PutU8(stWr, static_cast<uint8_t>(usSize - 2u));
    (void)bol::PutU8(stWr, ucFlags);
    (void)bol::PutU8(stWr, 0u);
    /* The size tells which value the arithmetic chose: a label field, a SID, or none. */
    if (stWr.ulRoom == 4u) {
        (void)bol::PutU32(stWr, pstCfg->ulBsidLabel << kLabelShift);
    } else if (stWr.ulRoom == 16u) {
        (void)bol::PutWords4(stWr, pstCfg->aulBsidV6);
    }
    *ppucPos = stWr.puc;
}

void BOL_SRPOLICY_ParseCfgSRv6BSID(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint8_t **ppucPos)
{
    BOL_CHECK_PTR(pstCfg, );
    BOL_CHECK_PTR(ppucPos, );
    uint8_t *pucPos = *ppucPos;
    (void)bol::ForEachNode<BOL_SRPOLICY_CFG_SRV6_BSID_S>(
        &pstCfg->stSRv6BsidList, [&pucPos](const BOL_SRPOLICY_CFG_SRV6_BSID_S *pstBsid) {
            uint32_t ulSize = BOL_SRPOLICY_CalculateSRv6BsidLen(pstBsid);
            bol::Writer stWr = bol::MakeWriter(pucPos, ulSize);
            (void)bol::PutU8(stWr, static_cast<uint8_t>(BOL_SRPOLICY_SUBTLV_SRV6_BSID));
            (void)bol::PutU8(stWr, static_cast<uint8_t>(ulSize - 2u));
            (void)bol::PutU8(stWr, pstBsid->ucFlags);
            (void)bol::PutU8(stWr, 0u);
            (void)bol::PutWords4(stWr, pstBsid->aulSid);
            if ((pstBsid->ucFlags & BOL_SRPOLICY_CFG_SRV6_BSID_FLAG_B) != 0u) {
                (void)bol::PutU16(stWr, pstBsid->usEndpointBehavior);
                (void)bol::PutU16(stWr, 0u);
                (void)bol::PutU32(stWr, pstBsid->ulSidStructure);
            }
            pucPos = stWr.puc;
            return 0u;
        });
    *ppucPos = pucPos;
}

void BOL_SRPOLICY_ParseCfgSegmentList(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint8_t **ppucPos)
{
    BOL_CHECK_PTR(pstCfg, );
    BOL_CHECK_PTR(ppucPos, );
    uint8_t *pucPos = *ppucPos;
    (void)bol::ForEachNode<BOL_SRPOLICY_CFG_SEGLIST_S>(
        &pstCfg->stSegLists, [&pucPos](const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList) {
            /* The length field counts the reserved byte and the segment sub-TLVs. */
            uint16_t usLen = 1u;
            (void)BOL_SRPOLICY_CalculateSegmentListLen(pstSegList, &usLen);
            bol::Writer stWr = bol::MakeWriter(pucPos, 3u + usLen);
            (void)bol::PutU8(stWr, static_cast<uint8_t>(BOL_SRPOLICY_SUBTLV_SEGLIST));
            (void)bol::PutU16(stWr, usLen);
            (void)bol::PutU8(stWr, 0u);
            if (pstSegList->ucWeightExist == 1u) {
                PutU32SubTlv(stWr, BOL_SRPOLICY_SEG_WEIGHT, 0u, pstSegList->ulWeight);
            }
            if (pstSegList->ucPathMtuExist == 1u) {
                PutU32SubTlv(stWr, BOL_SRPOLICY_SEG_TYPE13, 0u, pstSegList->ulPathMtu);
            }
            pucPos = stWr.puc;
            BOL_SRPOLICY_ParseCfgSegListBSid(&pucPos, pstSegList);
            BOL_SRPOLICY_ParseCfgSegment(&pucPos, pstSegList);
            return 0u;
        });
    *ppucPos = pucPos;
}

void BOL_SRPOLICY_ParseCfgSegListBSid(uint8_t **ppucPos, const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList)
{
    BOL_CHECK_PTR(ppucPos, );
    BOL_CHECK_PTR(pstSegList, );
    uint32_t ulLen = BOL_SRPOLICY_CalculateSegmentListBSidLen(pstSegList) & 0xFFu;
    if (ulLen == 0u) {
        return;
    }
    uint8_t ucFlags = pstSegList->ucBsidFlags;
    bol::Writer stWr = bol::MakeWriter(*ppucPos, ulLen + 2u);
    (void)bol::PutU8(stWr, static_cast<uint8_t>(BOL_SRPOLICY_SEG_BSID));
    (void)bol::PutU8(stWr, static_cast<uint8_t>(ulLen));
    (void)bol::PutU8(stWr, ucFlags);
    (void)bol::PutU8(stWr, 0u);
    /* The forward SID is written even when all its words are 0: the reverse
     * one decides on its own whether the sub-TLV carries two SIDs. */
    PutSegListBsidSid(stWr, ucFlags, pstSegList->aulBsid, pstSegList->usEndpointBehavior,
                      pstSegList->ulSidStructure);
    if (bol::AnyWord(pstSegList->aulReverseBsid)) {
        PutSegListBsidSid(stWr, ucFlags, pstSegList->aulReverseBsid, pstSegList->usReverseEndpointBehavior,
                          pstSegList->ulReverseSidStructure);
    }
    *ppucPos = stWr.puc;
}

void BOL_SRPOLICY_ParseCfgSegment(uint8_t **ppucPos, const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList)
{
    BOL_CHECK_PTR(ppucPos, );
    BOL_CHECK_PTR(pstSegList, );
    /* Segments past the count have no size; the walk stops at the count. */
    for (uint32_t i = 0; i < pstSegList->ucSegNum; i++) {
        uint32_t ulSize = BOL_SRPOLICY_CalculateSegmentLen(pstSegList, i);
        if (ulSize == 0u) {
            continue; /* past the count, or a segment that is not encoded */
        }
        bol::Writer stWr = bol::MakeWriter(*ppucPos, ulSize);
        if (pstSegList->ucSegType == BOL_SRPOLICY_SEG_MPLS) {
            uint32_t ulLabel = BOL_SRPOLICY_GetSrpType1SegmentValue(pstSegList, i + 1u);
            PutU32SubTlv(stWr, BOL_SRPOLICY_SEG_MPLS, kSegFlagsSet, ulLabel << kLabelShift);
        } else {
            (void)bol::PutU8(stWr, static_cast<uint8_t>(BOL_SRPOLICY_SEG_SRV6));
            (void)bol::PutU8(stWr, static_cast<uint8_t>(ulSize - 2u));
            (void)bol::PutU8(stWr, kSegFlagsSet);
            (void)bol::PutU8(stWr, 0u);
            (void)bol::PutWords4(stWr, BOL_SRPOLICY_GetSrpType2SegmentValue(pstSegList, i));
        }
        *ppucPos = stWr.puc;
    }
}

const uint32_t *BOL_SRPOLICY_GetSrpType2SegmentValue(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList, uint32_t ulIndex)
{
    BOL_CHECK_PTR(pstSegList, nullptr);
    if (ulIndex >= BOL_SRPOLICY_CFG_MAX_SEGS) {
        BOL_REPORT(ulIndex);
        return nullptr;
    }
    return &pstSegList->aulSegValue[4u * ulIndex];
}

} /* extern "C" */
