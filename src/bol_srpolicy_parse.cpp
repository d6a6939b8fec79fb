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

/* Defined with the NLRI decoders below. */
__attribute__((always_inline)) inline uint32_t DecodeMpNlri(uint8_t **ppucCur, uint32_t ulLen, void **ppvOut,
                                                            uint32_t *pulMore, const BOL_SRPOLICY_INSTANCE_S *pstInst);

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

    /* The row BOL_SRPOLICY_GetPktParseEntry finds, found here without a call:
     * this runs once per NLRI of a full table. */
    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = bol::FindRow(g_astBOL_SRPOLICY_PKT_PARSE_TBL, ulType);
    if (pstRow == nullptr || pstRow->unHandler.pfnPktParse == nullptr) {
        return BOL_ERR_PARAM;
    }
    /* A row that holds the NLRI decoder has it run here instead of called:
     * four of its six pointer checks are the ones just made, and this runs
     * once per NLRI of a full table. */
    BOL_SRPOLICY_PKT_PARSE_PF pfnHandler = pstRow->unHandler.pfnPktParse;
    if (pfnHandler == BOL_SRPOLICY_ParseMpNlri || pfnHandler == BOL_SRPOLICY_ParseMpUnNlri) {
        BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);
        BOL_CHECK_PTR(pvHostCtx, BOL_ERR_PARAM);
        return DecodeMpNlri(ppucCur, ulLen, ppvOut, pulMore, pstInst);
    }
    return pfnHandler(ppucCur, ulLen, pvHostCtx, ppvOut, pulMore, pstInst);
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
 * word count is fixed per caller, and the reads are written out, so that the
 * hot path has no loop. */
template <uint32_t WORDS>
__attribute__((always_inline)) inline void GetKeyFields(const bol::View &stView, uint32_t ulOff,
                                                     BOL_SRPOLICY_NLRI_S &stKey)
{
    static_assert(WORDS == 1u || WORDS == 4u, "an IPv4 or an IPv6 endpoint");
    stKey.ulDistinguisher = bol::GetU32(stView, ulOff);
    stKey.ulPolicyColor = bol::GetU32(stView, ulOff + 4u);
    stKey.aulEndpoint[0] = bol::GetU32(stView, ulOff + 8u);
    if (WORDS == 4u) {
        stKey.aulEndpoint[1] = bol::GetU32(stView, ulOff + 12u);
        stKey.aulEndpoint[2] = bol::GetU32(stView, ulOff + 16u);
        stKey.aulEndpoint[3] = bol::GetU32(stView, ulOff + 20u);
    }
}

/* Hands one key, and nothing else, to the host as an output block: the
 * block BOL_SRPOLICY_OutputData builds for a key-only descriptor. */
inline uint32_t OutputKeyOnly(void **ppvOut, const BOL_SRPOLICY_NLRI_S *pstKey,
                              const BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    return bol::OutputKeyBlock(ppvOut, pstKey, pstInst->ulMemModuleId);
}

/* The key of an NLRI body of 12 (IPv4) or 24 (IPv6) bytes that the caller
 * has checked. The length comes from the body, never from the wire byte. */
__attribute__((always_inline)) inline void NlriKey(const bol::View &stBody, bool bV4, BOL_SRPOLICY_NLRI_S &stKey)
{
    if (bV4) {
        stKey.ucNlriLen = static_cast<uint8_t>(BOL_SRPOLICY_NLRI_LEN_IPV4);
        GetKeyFields<1u>(stBody, 0u, stKey);
    } else {
        stKey.ucNlriLen = static_cast<uint8_t>(BOL_SRPOLICY_NLRI_LEN_IPV6);
        GetKeyFields<4u>(stBody, 0u, stKey);
    }
}

/* Decodes an NLRI body that the caller has checked, hands its key to the
 * host and, once handed over, clears the more flag and moves the cursor past
 * the body. */
inline uint32_t DecodeNlriBody(uint8_t **ppucCur, bool bV4, void **ppvOut, uint32_t *pulMore,
                               const BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    uint32_t ulUsed = bV4 ? kNlriBodyV4 : kNlriBodyV6;
    bol::Reader stRd = bol::MakeReader(*ppucCur, ulUsed);
    bol::View stBody = {};
    (void)bol::ReadView(stRd, ulUsed, stBody);

    BOL_SRPOLICY_NLRI_S stKey = {};
    NlriKey(stBody, bV4, stKey);
    uint32_t ulRet = OutputKeyOnly(ppvOut, &stKey, pstInst);
    if (ulRet == BOL_OK) {
        *pulMore = 0u;
        *ppucCur = stRd.puc;
    }
    return ulRet;
}

/* The NLRI decoder once its pointers are checked: ParseMpNlri after its six
 * checks, and the packet-parse dispatcher for rows 14 and 15. */
__attribute__((always_inline)) inline uint32_t DecodeMpNlri(uint8_t **ppucCur, uint32_t ulLen, void **ppvOut,
                                                            uint32_t *pulMore, const BOL_SRPOLICY_INSTANCE_S *pstInst)
{
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

    /* The host gets the more flag, and the cursor, even when the key could
     * not be handed over, so that it can skip this NLRI: past the body once
     * the key is handed over, else just after the length byte. Both are
     * stored before the output block is built, so that little is kept across
     * its calls; a failure puts the cursor back at the body. The key is built
     * first: the block's key copy reads it back, and the sooner its stores
     * are done the less that copy waits for them. */
    uint32_t ulMore = (stRd.ulLeft != ulBody) ? 1u : 0u;
    bol::View stBody = {};
    (void)bol::ReadView(stRd, ulBody, stBody);
    /* The body decoder that BOL_SRPOLICY_ParseBgpNlri wraps, without its
     * checks: they hold here. */
    BOL_SRPOLICY_NLRI_S stKey = {};
    NlriKey(stBody, ulBody == kNlriBodyV4, stKey);
    *pulMore = ulMore;
    *ppucCur = stRd.puc;
    uint32_t ulRet = OutputKeyOnly(ppvOut, &stKey, pstInst);
    if (ulRet != BOL_OK) {
        *ppucCur = stBody.puc;
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

    return DecodeMpNlri(ppucCur, ulLen, ppvOut, pulMore, pstInst);
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

namespace {

/* An empty list: both sentinel pointers at the head itself, no nodes. */
void InitListHead(BOL_SRPOLICY_LIST_HEAD_S *pstHead)
{
    pstHead->stHead.pstNext = &pstHead->stHead;
    pstHead->stHead.pstPrev = &pstHead->stHead;
    pstHead->stHead.ulHandle = 0u;
    pstHead->ulCount = 0u;
}

} /* namespace */

namespace bol {

BOL_SRPOLICY_LIST_NODE_S *AppendNewNode(BOL_SRPOLICY_LIST_HEAD_S *pstList, uint32_t ulSize,
                                        BOL_SRPOLICY_INSTANCE_S *pstInst, const char *pcModule, uint32_t ulLine)
{
    void *pvNode = ZUN_SimpleAlloc_F(pstInst->ulMemModuleId, ulSize, pcModule, ulLine);
    if (pvNode == nullptr) {
        return nullptr;
    }
    int iRet = memset_s(pvNode, ulSize, 0, ulSize);
    if (iRet != 0) {
        ReportCode(pcModule, ulLine, "retCode:%d", iRet);
    }
    BOL_SRPOLICY_LIST_NODE_S *pstNode = static_cast<BOL_SRPOLICY_LIST_NODE_S *>(pvNode);
    DLL_Insert_In_Middle(pstList, pstList->stHead.pstPrev, pstNode, &pstList->stHead);
    return pstNode;
}

} /* namespace bol */

extern "C" uint32_t BOL_SRPOLICY_InitTunnelEncapAttr(BOL_SRPOLICY_TNLENCAP_ATTR_S **ppstAttr,
                                                     BOL_SRPOLICY_INSTANCE_S *pstInst, uint32_t ulAttrLen)
{
    BOL_CHECK_PTR(ppstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    /* The copy buffer holds the attribute plus 4 bytes; a length that cannot
     * be sized that way cannot be allocated either. */
    if (ulAttrLen > UINT32_MAX - 4u) {
        BOL_REPORT(ulAttrLen);
        return BOL_ERR_MALLOC;
    }

    void *pvAttr = BOL_ALLOC(pstInst, static_cast<uint32_t>(sizeof(BOL_SRPOLICY_TNLENCAP_ATTR_S)));
    if (pvAttr == nullptr) {
        BOL_REPORT(0u);
        return BOL_ERR_MALLOC;
    }
    /* Every field 0 or null until the decode sets it. The record never leaves
     * the plug-in, and a fill of its fixed size cannot fail, so it is zeroed
     * in place rather than through the bounded fill: copied from an empty
     * record, which compiles to a few wide stores (a plain fill of this size
     * becomes a string instruction that is slow to start). */
    static const BOL_SRPOLICY_TNLENCAP_ATTR_S kEmptyRecord = {};
    memcpy(pvAttr, &kEmptyRecord, sizeof(kEmptyRecord));
    BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = static_cast<BOL_SRPOLICY_TNLENCAP_ATTR_S *>(pvAttr);

    pstAttr->pucRealPrivAttr = static_cast<uint8_t *>(BOL_ALLOC(pstInst, ulAttrLen + 4u));
    if (pstAttr->pucRealPrivAttr == nullptr) {
        BOL_SRPOLICY_Free(&pvAttr, pstInst);
        BOL_REPORT(0u);
        return BOL_ERR_MALLOC;
    }
    /* Zero-filled in place for the same reason: a fill of the size just
     * allocated cannot fail. */
    memset(pstAttr->pucRealPrivAttr, 0, ulAttrLen + 4u);

    pstAttr->pstSegListHead = static_cast<BOL_SRPOLICY_LIST_HEAD_S *>(
        BOL_ALLOC(pstInst, static_cast<uint32_t>(sizeof(BOL_SRPOLICY_LIST_HEAD_S))));
    if (pstAttr->pstSegListHead == nullptr) {
        BOL_FREE(pstAttr->pucRealPrivAttr);
        BOL_SRPOLICY_Free(&pvAttr, pstInst);
        BOL_REPORT(0u);
        return BOL_ERR_MALLOC;
    }
    InitListHead(pstAttr->pstSegListHead);
    InitListHead(&pstAttr->stSRv6BsidList);

    *ppstAttr = pstAttr;
    return BOL_OK;
}

/* ======================================================================== */
/* Attribute decoding                                                       */
/* ======================================================================== */

namespace {

/* Tunnel header: type (2) and length (2) of the sub-TLV area. */
const uint32_t kTnlHdrLen = 4u;
/* Names are kept, and copied, up to this many bytes. */
const uint32_t kNameKeepMax = BOL_SRPOLICY_NAME_MAX;

/* The record fields of one name sub-TLV; the decoders and the copy writer
 * both find them here. */
struct NameSlot {
    uint32_t ulType;
    uint8_t *BOL_SRPOLICY_TNLENCAP_ATTR_S::*ppucName;
    uint16_t BOL_SRPOLICY_TNLENCAP_ATTR_S::*pusLen;
    uint8_t BOL_SRPOLICY_TNLENCAP_ATTR_S::*pucValid;
    uint8_t BOL_SRPOLICY_TNLENCAP_ATTR_S::*pucExist;
};

constexpr NameSlot g_astNameSlots[] = {
    {BOL_SRPOLICY_SUBTLV_CPATH_NAME, &BOL_SRPOLICY_TNLENCAP_ATTR_S::pucCPathName,
     &BOL_SRPOLICY_TNLENCAP_ATTR_S::usCPathNameLen, &BOL_SRPOLICY_TNLENCAP_ATTR_S::ucCPathNameValid,
     &BOL_SRPOLICY_TNLENCAP_ATTR_S::ucCPathNameExist},
    {BOL_SRPOLICY_SUBTLV_POLICY_NAME, &BOL_SRPOLICY_TNLENCAP_ATTR_S::pucPolicyName,
     &BOL_SRPOLICY_TNLENCAP_ATTR_S::usPolicyNameLen, &BOL_SRPOLICY_TNLENCAP_ATTR_S::ucPolicyNameValid,
     &BOL_SRPOLICY_TNLENCAP_ATTR_S::ucPolicyNameExist},
};

/* The slots follow the name types, which are consecutive, so a type finds
 * its slot by subtraction. */
static_assert(g_astNameSlots[0].ulType == BOL_SRPOLICY_SUBTLV_CPATH_NAME &&
                  g_astNameSlots[1].ulType == BOL_SRPOLICY_SUBTLV_CPATH_NAME + 1u,
              "one slot per name type, in type order");

inline const NameSlot *FindNameSlot(uint32_t ulType)
{
    uint32_t ulSlot = ulType - BOL_SRPOLICY_SUBTLV_CPATH_NAME;
    return (ulSlot < sizeof(g_astNameSlots) / sizeof(g_astNameSlots[0])) ? &g_astNameSlots[ulSlot] : nullptr;
}

/* A name is valid when it is not empty and every byte is printable. */
BOL_WIRE_INLINE bool NameValid(const bol::View &stName)
{
    return stName.ulLen != 0u && bol::AllBytesIn(stName, 0x20u, 0x7Eu);
}

/* Writes a length field of the given width (1 or 2 bytes). */
void PutLenField(bol::Writer &stWr, uint32_t ulWidth, uint32_t ulLen)
{
    if (ulWidth == 1u) {
        bol::PutU8(stWr, static_cast<uint8_t>(ulLen));
    } else {
        bol::PutU16(stWr, static_cast<uint16_t>(ulLen));
    }
}

/* Slice-id positions found while copying; handed to the caller only when the
 * whole walk succeeded, so that no caller keeps a position in a freed copy. */
struct SliceIdPos {
    uint8_t *pucPriv;
    uint8_t *pucStd;
};

/* The copy writer. The exported helpers below check their arguments and
 * call these; the walk calls these directly. */

/* The tunnel type and length as received (the length is rewritten when the
 * copy is finished). */
__attribute__((always_inline)) inline void CopyHeader(uint8_t *&pucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, const uint8_t *pucAttr, uint32_t ulAttrLen,
                BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    bol::View stHdr = bol::MakeReadView(pucAttr, kTnlHdrLen);
    bol::Writer stWr = bol::MakeWriter(pucPos, kTnlHdrLen);
    bol::PutU16(stWr, bol::GetU16(stHdr, 0u));
    bol::PutU16(stWr, bol::GetU16(stHdr, 2u));
    BOL_WRITER_FILLED(stWr);
    pucPos = stWr.puc;
    pstAttr->pstInst = pstInst;
    pstAttr->usRecvAttrLen = static_cast<uint16_t>(ulAttrLen);
}

/* A zero reserved byte (the copy buffer is zero-filled) and the kept name. */
void PutReservedAndName(bol::Writer &stWr, const uint8_t *pucName, uint32_t ulNameLen)
{
    bol::PutSkip(stWr, 1u);
    if (ulNameLen != 0u && pucName != nullptr) {
        int iRet = bol::PutBytes(stWr, pucName, ulNameLen);
        if (iRet != 0) {
            BOL_REPORT_SEC(iRet);
        }
    } else {
        bol::PutSkip(stWr, ulNameLen);
    }
}

/* The reserved byte and the kept name, and the remembered length field
 * rewritten to 1 + the kept length. */
void CopyName(uint8_t *&pucPos, const uint8_t *pucName, uint16_t usNameLen, uint8_t *pucLenField, uint32_t ulWidth)
{
    bol::Writer stWr = bol::MakeWriter(pucPos, 1u + usNameLen);
    PutReservedAndName(stWr, pucName, usNameLen);
    BOL_WRITER_FILLED(stWr);
    bol::Writer stLen = bol::MakeWriter(pucLenField, ulWidth);
    PutLenField(stLen, ulWidth, 1u + usNameLen);
    BOL_WRITER_FILLED(stLen);
    pucPos = stWr.puc;
}

/* pucTlvPos stands on the type byte of a sub-TLV in the copy; a slice id's
 * position is noted in the output for its kind. */
void NoteSliceIdTlv(uint8_t *pucTlvPos, uint32_t ulType, uint8_t **ppucPrivSliceIdPos, uint8_t **ppucStdSliceIdPos)
{
    if (ulType == BOL_SRPOLICY_SUBTLV_PRIV_SLICE_ID) {
        *ppucPrivSliceIdPos = pucTlvPos;
    } else if (ulType == BOL_SRPOLICY_SUBTLV_STD_SLICE_ID) {
        *ppucStdSliceIdPos = pucTlvPos;
    }
}

/* Appends one sub-TLV: type, length in the width the wire used, then the
 * value as the decoder left it, or the kept name. The walk has checked that
 * the sub-TLV fits, and the copy never outgrows the received bytes. */
void CopySubTlv(uint8_t *&pucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint32_t ulType, uint32_t ulLen,
                const uint8_t *pucValue, uint8_t **ppucPrivSliceIdPos, uint8_t **ppucStdSliceIdPos)
{
    uint32_t ulWidth = (pstAttr->ucSubTlvLenWidth == 1u) ? 1u : 2u;
    /* A name's value is written by CopyName, cut to the kept length. */
    const NameSlot *pstName = FindNameSlot(ulType);
    bol::Writer stWr = bol::MakeWriter(pucPos, 1u + ulWidth + ((pstName != nullptr) ? 0u : ulLen));
    bol::PutU8(stWr, static_cast<uint8_t>(ulType));
    pstAttr->pucCurLenField = stWr.puc;
    PutLenField(stWr, ulWidth, ulLen);
    if (pstName == nullptr) {
        NoteSliceIdTlv(pucPos, ulType, ppucPrivSliceIdPos, ppucStdSliceIdPos);
        int iRet = bol::PutBytes(stWr, pucValue, ulLen);
        if (iRet != 0) {
            BOL_REPORT_SEC(iRet);
        }
    }
    BOL_WRITER_FILLED(stWr);
    pucPos = stWr.puc;
    if (pstName != nullptr) {
        CopyName(pucPos, pstAttr->*pstName->ppucName, pstAttr->*pstName->pusLen, pstAttr->pucCurLenField, ulWidth);
    }
}

/* A name sub-TLV as the walk appends it: its type, its length field in the
 * wire's width holding 1 + the kept length, the reserved byte and the kept
 * name. The same bytes as CopySubTlv and
 * CopyName write, with the length written once. */
void CopyNameTlv(uint8_t *&pucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t ucType, const NameSlot &stSlot)
{
    const uint8_t *pucName = pstAttr->*stSlot.ppucName;
    uint32_t ulNameLen = pstAttr->*stSlot.pusLen;
    uint32_t ulWidth = bol::SubTlvLenWidth(ucType);
    bol::Writer stWr = bol::MakeWriter(pucPos, 1u + ulWidth + 1u + ulNameLen);
    bol::PutU8(stWr, ucType);
    pstAttr->pucCurLenField = stWr.puc;
    PutLenField(stWr, ulWidth, 1u + ulNameLen);
    PutReservedAndName(stWr, pucName, ulNameLen);
    BOL_WRITER_FILLED(stWr);
    pucPos = stWr.puc;
}

/* The copy's length, and its tunnel length rewritten to match. */
void FinishCopy(const uint8_t *pucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr)
{
    pstAttr->usRealPrivAttrLen = static_cast<uint16_t>(pucPos - pstAttr->pucRealPrivAttr);
    bol::View stHdr = bol::MakeView(pstAttr->pucRealPrivAttr, kTnlHdrLen);
    bol::SetU16(stHdr, 2u, static_cast<uint16_t>(pstAttr->usRealPrivAttrLen - kTnlHdrLen));
}

/* Appends the received bytes [pucFrom, pucTo) to the copy unchanged. */
inline void CopyRun(uint8_t *&pucPos, const uint8_t *pucFrom, const uint8_t *pucTo)
{
    uint32_t ulCount = static_cast<uint32_t>(pucTo - pucFrom);
    if (ulCount == 0u) {
        return;
    }
    bol::Writer stWr = bol::MakeWriter(pucPos, ulCount);
    int iRet = bol::PutBytes(stWr, pucFrom, ulCount);
    if (iRet != 0) {
        BOL_REPORT_SEC(iRet);
    }
    BOL_WRITER_FILLED(stWr);
    pucPos = stWr.puc;
}

/* Name sub-TLVs copied with a run whose reserved byte the copy still has to
 * clear once the run is written: at most one per name type, since a second
 * name of a type refuses the attribute. */
struct PendingReserved {
    uint8_t *apuc[2];
};

/* Appends the run [pucFrom, pucTo) and clears the reserved bytes of the
 * names it carried. */
inline void FlushRun(uint8_t *&pucPos, const uint8_t *pucFrom, const uint8_t *pucTo, PendingReserved &stPending)
{
    CopyRun(pucPos, pucFrom, pucTo);
    for (uint8_t *&pucRsv : stPending.apuc) {
        if (pucRsv != nullptr) {
            *pucRsv = 0u;
            pucRsv = nullptr;
        }
    }
}

/* Sub-TLV decoder bodies, after their argument checks: the exported
 * decoders check and call them, and the walk calls the bodies of the rows it
 * finds directly. */

/* Preference, template id and both slice ids: flags (1), reserved (1) and a
 * 32-bit value. */
const uint32_t kFlaggedU32Len = 6u;
const uint32_t kFlaggedU32ValueOff = 2u;

/* Clears the ignored flags byte and returns the value. */
uint32_t TakeFlaggedU32(uint8_t *pucValue)
{
    bol::View stValue = bol::MakeView(pucValue, kFlaggedU32Len);
    bol::SetU8(stValue, 0u, 0u);
    return bol::GetU32(stValue, kFlaggedU32ValueOff);
}

/* A sub-TLV that may appear once, with a 6-byte value. */
uint32_t ParseOnceFlaggedU32(uint8_t &ucExist, uint32_t &ulValue, uint8_t *pucValue, uint32_t ulLen)
{
    if (ucExist != 0u || ulLen != kFlaggedU32Len) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    ucExist = 1u;
    ulValue = TakeFlaggedU32(pucValue);
    return BOL_OK;
}

/* One kind of slice id (private or standard); each kind may be stored once.
 * bWrongLenRefused says whether a value that is not 6 bytes long refuses the
 * attribute or is passed over. */
uint32_t ParseSliceId(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t ucKind, uint32_t &ulValue,
                      bool bWrongLenRefused, uint8_t *pucValue, uint32_t ulLen)
{
    if (pstAttr->ucSliceIdExist != 0u && (pstAttr->ucSliceIdKind & ucKind) != 0u) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    if (ulLen != kFlaggedU32Len) {
        return bWrongLenRefused ? BOL_ERR_SUBTLV_INVALID : BOL_OK;
    }
    pstAttr->ucSliceIdExist = 1u;
    pstAttr->ucSliceIdKind = static_cast<uint8_t>(pstAttr->ucSliceIdKind | ucKind);
    ulValue = TakeFlaggedU32(pucValue);
    return BOL_OK;
}

/* Binding SID value forms by length: none, MPLS label field, SRv6 SID. */
struct BsidForm {
    uint32_t ulLen;
    uint8_t ucType;
};
const BsidForm g_astBsidForms[] = {{2u, 0u}, {6u, 1u}, {18u, 2u}};
const uint8_t kBsidTypeMpls = 1u;
const uint8_t kBsidTypeSrv6 = 2u;
const uint8_t kBsidFlagsKept = 0xC0u;     /* S and I flags */
const uint32_t kMplsLabelFieldMask = 0xFFFFF000u; /* the label; low 12 bits ignored */

/* Candidate path name and policy name: a reserved byte, then the name. */
__attribute__((always_inline)) inline uint32_t ParseName(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                      const NameSlot *pstSlot, uint8_t *pucValue, uint32_t ulLen,
                                                      BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    if (pstAttr->*pstSlot->pucExist != 0u) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    pstAttr->*pstSlot->pucValid = 1u;
    pstAttr->*pstSlot->pucExist = 1u;
    if (ulLen == 0u) {
        return BOL_ERR_SUBTLV_INVALID;
    }

    bol::View stName = bol::SubView(bol::MakeView(pucValue, ulLen), 1u, ulLen - 1u);
    if (!NameValid(stName)) {
        pstAttr->*pstSlot->pucValid = 0u;
    }
    if (stName.ulLen == 0u) {
        pstAttr->*pstSlot->pusLen = 0u;
        return BOL_OK;
    }

    uint32_t ulKeep = (stName.ulLen < kNameKeepMax) ? stName.ulLen : kNameKeepMax;
    uint8_t *pucKept = static_cast<uint8_t *>(BOL_ALLOC(pstInst, ulKeep));
    if (pucKept == nullptr) {
        BOL_REPORT(ulKeep);
        return BOL_SRPOLICY_ERR_NOMEM;
    }
    pstAttr->*pstSlot->ppucName = pucKept;
    /* The copy fills the whole buffer, and a failed copy zeroes it, so the
     * buffer needs no zeroing of its own. */
    bol::Writer stWr = bol::MakeWriter(pucKept, ulKeep);
    int iRet = bol::PutBytes(stWr, stName.puc, ulKeep);
    if (iRet != 0) {
        BOL_REPORT_SEC(iRet);
    }
    BOL_WRITER_FILLED(stWr);
    pstAttr->*pstSlot->pusLen = static_cast<uint16_t>(ulKeep);
    return BOL_OK;
}

/* Binding SID; the presence flag is set before the length is judged. */
__attribute__((always_inline)) inline uint32_t DecodeBsid(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                                       uint32_t ulLen)
{
    if (pstAttr->ucBsidExist != 0u) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    pstAttr->ucBsidExist = 1u;

    const BsidForm *pstForm = nullptr;
    for (const BsidForm &stForm : g_astBsidForms) {
        if (stForm.ulLen == ulLen) {
            pstForm = &stForm;
            break;
        }
    }
    if (pstForm == nullptr) {
        return BOL_ERR_SUBTLV_INVALID;
    }

    bol::View stValue = bol::MakeView(pucValue, ulLen);
    pstAttr->ucBsidFlags = static_cast<uint8_t>(bol::GetU8(stValue, 0u) & kBsidFlagsKept);
    bol::SetU8(stValue, 0u, pstAttr->ucBsidFlags);
    pstAttr->ucBsidType = pstForm->ucType;
    if (pstForm->ucType == kBsidTypeMpls) {
        uint32_t ulLabelField = bol::GetU32(stValue, 2u) & kMplsLabelFieldMask;
        bol::SetU32(stValue, 2u, ulLabelField);
        pstAttr->aulBsidValue[0] = ulLabelField;
        pstAttr->ucBsidValueExist = 1u;
    } else if (pstForm->ucType == kBsidTypeSrv6) {
        bol::GetWords4(stValue, 2u, pstAttr->aulBsidValue);
        pstAttr->ucBsidValueExist = 1u;
    }
    return BOL_OK;
}

/* Segment List: checked and cleared in place, then kept in a node of the
 * record's list. */
__attribute__((always_inline)) inline uint32_t DecodeSegmentList(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                              uint8_t *pucValue, uint32_t ulLen,
                                                              BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    uint32_t ulRet = bol::CheckAndClearSegmentList(pucValue, ulLen);
    if (ulRet != BOL_OK) {
        return ulRet;
    }

    /* The node's fixed part followed directly by the value bytes. The value
     * is copied in full, and a failed copy zeroes it, so only the fixed part
     * is zeroed here. */
    uint32_t ulSize = static_cast<uint32_t>(BOL_SRPOLICY_SEGLIST_NODE_HDR_LEN) + ulLen;
    void *pvNode = BOL_ALLOC(pstInst, ulSize);
    if (pvNode == nullptr) {
        BOL_REPORT(ulSize);
        return BOL_ERR_MALLOC;
    }
    memset(pvNode, 0, BOL_SRPOLICY_SEGLIST_NODE_HDR_LEN);
    BOL_SRPOLICY_SEGLIST_NODE_S *pstNode = static_cast<BOL_SRPOLICY_SEGLIST_NODE_S *>(pvNode);
    BOL_SRPOLICY_LIST_HEAD_S *pstList = pstAttr->pstSegListHead;
    DLL_Insert_In_Middle(pstList, pstList->stHead.pstPrev, &pstNode->stNode, &pstList->stHead);
    bol::Writer stWr = bol::MakeWriter(pstNode->aucSegList, ulLen);
    int iRet = bol::PutBytes(stWr, pucValue, ulLen);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }
    BOL_WRITER_FILLED(stWr);
    pstNode->usSegListLen = static_cast<uint16_t>(ulLen);
    return BOL_OK;
}

/* Runs the decoder in the row that the sub-TLV type finds, if any. */
inline uint32_t DecodeByRow(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t ucType, uint8_t *pucValue, uint32_t ulLen,
                            BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = bol::SubTlvParseRow(ucType);
    if (pstRow == nullptr || pstRow->unHandler.pfnSubTlvParse == nullptr) {
        return BOL_OK;
    }
    return pstRow->unHandler.pfnSubTlvParse(pstAttr, pucValue, ulLen, pstInst);
}

/* Walks the sub-TLV area, decoding each known sub-TLV into the record and
 * writing the normalised copy at pucPos. In the copy, every sub-TLV is the
 * received bytes as its decoder left them (decoders clear only their own
 * value), except that a name's reserved byte is 0 and a name longer than
 * the kept length is cut. So a run of sub-TLVs is copied in one piece when a
 * name that is cut or the end is reached, and the reserved bytes of the
 * names inside it are cleared in the copy; where each sub-TLV lands in the
 * copy follows from its offset in the run. A cut name is written from the
 * record. */
__attribute__((always_inline)) inline uint32_t WalkSubTlvs(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                        const bol::View &stTlvs, uint8_t *pucPos,
                                                        SliceIdPos &stPos, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    bol::Reader stRd = bol::MakeReader(stTlvs);
    const uint8_t *pucRun = stRd.puc; /* first received byte not yet copied */
    PendingReserved stPending = {{nullptr, nullptr}};
    for (;;) {
        const uint8_t *pucTlv = stRd.puc;
        uint8_t ucType = 0u;
        uint16_t usLen = 0u;
        if (!bol::ReadSubTlvHeader(stRd, ucType, usLen) || usLen == 0u) {
            return BOL_ERR_SUBTLV_MALFORMED;
        }
        uint32_t ulWidth = bol::SubTlvLenWidth(ucType);
        pstAttr->ucSubTlvLenWidth = static_cast<uint8_t>(ulWidth);

        bol::View stValue = {nullptr, 0u};
        if (!bol::ReadView(stRd, usLen, stValue)) {
            return BOL_ERR_SUBTLV_MALFORMED;
        }

        uint8_t *pucLands = pucPos + (pucTlv - pucRun); /* this sub-TLV's place in the copy */
        uint8_t *pucValue = stValue.puc;
        uint32_t ulRet = BOL_OK;
        /* The rows a typical attribute carries run their decoder's body in
         * place of the call through the row: the walk has checked everything
         * the exported decoders check (record, value, instance and the
         * record's list head are set). The sub-TLV table holds these rows
         * (checked where it is defined). */
        switch (ucType) {
            case BOL_SRPOLICY_SUBTLV_SEGLIST:
                ulRet = DecodeSegmentList(pstAttr, pucValue, usLen, pstInst);
                break;
            case BOL_SRPOLICY_SUBTLV_PREF:
                ulRet = ParseOnceFlaggedU32(pstAttr->ucPrefExist, pstAttr->ulPreference, pucValue, usLen);
                break;
            case BOL_SRPOLICY_SUBTLV_BSID:
                ulRet = DecodeBsid(pstAttr, pucValue, usLen);
                break;
            case BOL_SRPOLICY_SUBTLV_CPATH_NAME:
            case BOL_SRPOLICY_SUBTLV_POLICY_NAME: {
                const NameSlot &stName = *FindNameSlot(ucType);
                ulRet = ParseName(pstAttr, &stName, pucValue, usLen, pstInst);
                if (ulRet != BOL_OK) {
                    break;
                }
                if (usLen - 1u <= kNameKeepMax) {
                    /* Kept whole: the copy is the received sub-TLV with its
                     * reserved byte (just after the length field) cleared. */
                    stPending.apuc[ucType - BOL_SRPOLICY_SUBTLV_CPATH_NAME] = pucLands + 1u + ulWidth;
                } else {
                    FlushRun(pucPos, pucRun, pucTlv, stPending);
                    CopyNameTlv(pucPos, pstAttr, ucType, stName);
                    pucRun = stRd.puc;
                }
                break;
            }
            default:
                ulRet = DecodeByRow(pstAttr, ucType, pucValue, usLen, pstInst);
                NoteSliceIdTlv(pucLands, ucType, &stPos.pucPriv, &stPos.pucStd);
                break;
        }
        if (ulRet != BOL_OK) {
            return ulRet;
        }
        if (stRd.ulLeft == 0u) {
            FlushRun(pucPos, pucRun, stRd.puc, stPending);
            pstAttr->pucCurLenField = pucLands + 1;
            FinishCopy(pucPos, pstAttr);
            return BOL_OK;
        }
    }
}

} /* namespace */

extern "C" {

void BOL_SRPOLICY_CopyAttrLenAndType(uint8_t **ppucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                     const uint8_t *pucAttr, uint32_t ulAttrLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(ppucPos, );
    BOL_CHECK_PTR(*ppucPos, );
    BOL_CHECK_PTR(pstAttr, );
    BOL_CHECK_PTR(pucAttr, );
    CopyHeader(*ppucPos, pstAttr, pucAttr, ulAttrLen, pstInst);
}

void BOL_SRPOLICY_SetRealPrivateAttr(uint8_t **ppucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint32_t ulType,
                                     uint32_t ulLen, const uint8_t *pucValue, uint8_t **ppucPrivSliceIdPos,
                                     uint8_t **ppucStdSliceIdPos)
{
    BOL_CHECK_PTR(ppucPos, );
    BOL_CHECK_PTR(*ppucPos, );
    BOL_CHECK_PTR(pstAttr, );
    BOL_CHECK_PTR(pucValue, );
    CopySubTlv(*ppucPos, pstAttr, ulType, ulLen, pucValue, ppucPrivSliceIdPos, ppucStdSliceIdPos);
}

void BOL_SRPOLICY_SetRealPrivateAttrName(uint8_t **ppucPos, const uint8_t *pucName, uint16_t usNameLen,
                                         uint8_t *pucLenField, uint8_t ucWidth)
{
    BOL_CHECK_PTR(ppucPos, );
    BOL_CHECK_PTR(*ppucPos, );
    BOL_CHECK_PTR(pucLenField, );
    CopyName(*ppucPos, pucName, usNameLen, pucLenField, (ucWidth == 1u) ? 1u : 2u);
}

void BOL_SRPOLICY_GetSliceIDAttrPos(uint8_t **ppucPos, uint32_t ulType, uint8_t **ppucPrivSliceIdPos,
                                    uint8_t **ppucStdSliceIdPos)
{
    BOL_CHECK_PTR(ppucPos, );
    BOL_CHECK_PTR(*ppucPos, );
    /* The position stands on the value; slice ids have a 1-byte length, so
     * their type byte lies 2 bytes before it. */
    uint8_t *pucPriv = nullptr;
    uint8_t *pucStd = nullptr;
    NoteSliceIdTlv(*ppucPos - 2, ulType, &pucPriv, &pucStd);
    if (pucPriv != nullptr && ppucPrivSliceIdPos != nullptr) {
        *ppucPrivSliceIdPos = pucPriv;
    }
    if (pucStd != nullptr && ppucStdSliceIdPos != nullptr) {
        *ppucStdSliceIdPos = pucStd;
    }
}

void BOL_SRPOLICY_UpdateRealPrivateAttrLen(uint8_t **ppucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr)
{
    BOL_CHECK_PTR(ppucPos, );
    BOL_CHECK_PTR(*ppucPos, );
    BOL_CHECK_PTR(pstAttr, );
    BOL_CHECK_PTR(pstAttr->pucRealPrivAttr, );
    FinishCopy(*ppucPos, pstAttr);
}

} /* extern "C" */

namespace {

/* The decoder behind BOL_SRPOLICY_ParsePktTunnelEncapAttr, for callers that
 * have checked its pointer arguments: the packet-parse handler calls it
 * directly. */
__attribute__((always_inline)) inline uint32_t DecodeTunnelEncap(uint8_t *pucAttr, uint32_t ulAttrLen,
                                                              BOL_SRPOLICY_TNLENCAP_ATTR_S **ppstAttr,
                                                              BOL_SRPOLICY_INSTANCE_S *pstInst,
                                                              uint8_t **ppucPrivSliceIdPos, uint8_t **ppucStdSliceIdPos)
{
    if (ulAttrLen < kTnlHdrLen) {
        return BOL_ERR_SUBTLV_MALFORMED;
    }
    bol::View stAttr = bol::MakeView(pucAttr, ulAttrLen);
    uint16_t usTnlType = bol::GetU16(stAttr, 0u);
    if (usTnlType != BOL_SRPOLICY_TUNNEL_TYPE) {
        return BOL_ERR_SUBTLV_MALFORMED;
    }
    uint32_t ulTnlLen = bol::GetU16(stAttr, 2u);
    if (ulTnlLen == 0u || ulTnlLen > ulAttrLen - kTnlHdrLen) {
        return BOL_ERR_SUBTLV_MALFORMED;
    }

    BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = nullptr;
    uint32_t ulRet = BOL_SRPOLICY_InitTunnelEncapAttr(&pstAttr, pstInst, ulAttrLen);
    if (ulRet != BOL_OK) {
        return ulRet;
    }
    pstAttr->usTunnelType = usTnlType;
    uint8_t *pucPos = pstAttr->pucRealPrivAttr;
    CopyHeader(pucPos, pstAttr, pucAttr, ulAttrLen, pstInst);

    SliceIdPos stPos = {nullptr, nullptr};
    ulRet = WalkSubTlvs(pstAttr, bol::SubView(stAttr, kTnlHdrLen, ulTnlLen), pucPos, stPos, pstInst);
    if (ulRet != BOL_OK) {
        BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, pstInst);
        return ulRet;
    }
    if (ppucPrivSliceIdPos != nullptr && stPos.pucPriv != nullptr) {
        *ppucPrivSliceIdPos = stPos.pucPriv;
    }
    if (ppucStdSliceIdPos != nullptr && stPos.pucStd != nullptr) {
        *ppucStdSliceIdPos = stPos.pucStd;
    }
    *ppstAttr = pstAttr;
    return BOL_OK;
}

} /* namespace */

extern "C" {

uint32_t BOL_SRPOLICY_ParsePktTunnelEncapAttr(uint8_t *pucAttr, uint32_t ulAttrLen,
                                              BOL_SRPOLICY_TNLENCAP_ATTR_S **ppstAttr,
                                              BOL_SRPOLICY_INSTANCE_S *pstInst, uint8_t **ppucPrivSliceIdPos,
                                              uint8_t **ppucStdSliceIdPos)
{
    BOL_CHECK_PTR(pucAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return DecodeTunnelEncap(pucAttr, ulAttrLen, ppstAttr, pstInst, ppucPrivSliceIdPos, ppucStdSliceIdPos);
}

/* Packet-parse handler for attribute 23: decodes, hands the normalised copy
 * to the host and drops the record. The read position moves past the
 * attribute whether or not it decoded. */
uint32_t BOL_SRPOLICY_ParseTunnelEncapsulationAttribute(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx,
                                                        void **ppvOut, uint32_t *pulMore,
                                                        BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(*ppucCur, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pvHostCtx, BOL_ERR_PARAM);

    *pulMore = 0u;
    BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = nullptr;
    uint8_t *pucPrivSliceId = nullptr;
    uint8_t *pucStdSliceId = nullptr;
    uint32_t ulRet = DecodeTunnelEncap(*ppucCur, ulLen, &pstAttr, pstInst, &pucPrivSliceId, &pucStdSliceId);
    if (ulRet == BOL_OK) {
        ulRet = bol::OutputAttribute(ppvOut, pstAttr->pucRealPrivAttr, pstAttr->usRealPrivAttrLen, pstInst);
        BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, pstInst);
    }
    *ppucCur += ulLen;
    return ulRet;
}

} /* extern "C" */

/* ======================================================================== */
/* Sub-TLV decoders                                                         */
/* ======================================================================== */

extern "C" {

uint32_t BOL_SRPOLICY_ParseSubTlv_Preference(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                             uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstInst;
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    return ParseOnceFlaggedU32(pstAttr->ucPrefExist, pstAttr->ulPreference, pucValue, ulLen);
}

uint32_t BOL_SRPOLICY_ParseSubTlv_CfgModuleId(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                              uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstInst;
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    return ParseOnceFlaggedU32(pstAttr->ucCfgModuleIdExist, pstAttr->ulCfgModuleId, pucValue, ulLen);
}

/* A private slice id of another length is passed over: nothing stored, and a
 * later private slice id is still taken. */
uint32_t BOL_SRPOLICY_ParseSubTlv_SliceId(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue, uint32_t ulLen,
                                          BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstInst;
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    return ParseSliceId(pstAttr, BOL_SRPOLICY_SLICE_KIND_PRIV, pstAttr->ulPrivSliceId, false, pucValue, ulLen);
}

uint32_t BOL_SRPOLICY_ParseSubTlv_Standard_SliceId(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                                   uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstInst;
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    return ParseSliceId(pstAttr, BOL_SRPOLICY_SLICE_KIND_STD, pstAttr->ulStdSliceId, true, pucValue, ulLen);
}

/* The presence flag is set before the length is judged, so a second Binding
 * SID is refused even after a first one of a refused length. */
uint32_t BOL_SRPOLICY_ParseSubTlv_BSID(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue, uint32_t ulLen,
                                       BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstInst;
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);

    return DecodeBsid(pstAttr, pucValue, ulLen);
}

uint32_t BOL_SRPOLICY_ParseSubTlv_SegmentList(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                              uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstAttr->pstSegListHead, BOL_ERR_PARAM);

    return DecodeSegmentList(pstAttr, pucValue, ulLen, pstInst);
}

uint32_t BOL_SRPOLICY_ParseSubTlv_CPathName(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                            uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return ParseName(pstAttr, FindNameSlot(BOL_SRPOLICY_SUBTLV_CPATH_NAME), pucValue, ulLen, pstInst);
}

uint32_t BOL_SRPOLICY_ParseSubTlv_PolicyName(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                             uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return ParseName(pstAttr, FindNameSlot(BOL_SRPOLICY_SUBTLV_POLICY_NAME), pucValue, ulLen, pstInst);
}

/* Known sub-TLVs that this family takes as they are: no table row names
 * them, so the walk copies them like any unknown type. */
uint32_t BOL_SRPOLICY_ParseSubTlv_ENLP(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue, uint32_t ulLen,
                                       BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstAttr;
    (void)pucValue;
    (void)ulLen;
    (void)pstInst;
    return BOL_OK;
}

uint32_t BOL_SRPOLICY_ParseSubTlv_Priority(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                           uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstAttr;
    (void)pucValue;
    (void)ulLen;
    (void)pstInst;
    return BOL_OK;
}

/* 1 when the name is non-empty and every byte is printable ASCII. */
uint32_t BOL_SRPOLICY_CheckNameValid(const uint8_t *pucName, uint32_t ulLen)
{
    return NameValid(bol::MakeReadView(pucName, ulLen)) ? 1u : 0u;
}

} /* extern "C" */

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
    bol::View stMsg = bol::MakeReadView(pucMsg, sizeof(BOL_SRPOLICY_RT_KEY_MSG_S));
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
        bol::GetWords4(bol::MakeReadView(pstCfg->aucEndpointV6, sizeof(pstCfg->aucEndpointV6)), 0u, stKey.aulEndpoint);
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
 * (tunnel type 15), written as configured. The size arithmetic computes every
 * piece beforehand; each encoding step writes through a writer whose room is
 * exactly the size that the arithmetic gave its piece and checks at its end
 * that it wrote exactly that, so a step never writes past the buffer and
 * every length field equals the bytes that follow it.
 */
namespace {

const uint8_t kSegFlagsSet = 0x80u; /* flags byte of the segments written */
const uint8_t kBsidFlagS = 0x80u;   /* binding SID S-flag */
const uint8_t kBsidFlagI = 0x40u;   /* binding SID I-flag */
const uint32_t kMaxAttrLen = 0xFFFFu;
const uint32_t kLabelShift = 12u; /* an MPLS label fills the top 20 bits of its field */

/* Header of a sub-TLV with a 1-byte length: type, length, flags, reserved 0. */
void PutFlaggedHdr(bol::Writer &stWr, uint32_t ulType, uint32_t ulLen, uint8_t ucFlags)
{
    bol::PutU8(stWr, static_cast<uint8_t>(ulType));
    bol::PutU8(stWr, static_cast<uint8_t>(ulLen));
    bol::PutU8(stWr, ucFlags);
    bol::PutU8(stWr, 0u);
}

/* Sub-TLV with a 1-byte length carrying flags, a zero reserved byte and one
 * 32-bit value: preference, template id, slice id, weight, path MTU, label. */
void PutU32SubTlv(bol::Writer &stWr, uint32_t ulType, uint8_t ucFlags, uint32_t ulValue)
{
    PutFlaggedHdr(stWr, ulType, BOL_SRPOLICY_U32_SUBTLV_LEN - 2u, ucFlags);
    bol::PutU32(stWr, ulValue);
}

/* One segment-list binding SID as its flags lay it out: the SID (its first
 * word when SIDs are 4 bytes), then behavior, two zero bytes and structure
 * when they follow. */
void PutSegListBsidSid(bol::Writer &stWr, uint8_t ucFlags, const uint32_t aulSid[4], uint16_t usBehavior,
                       uint32_t ulStructure)
{
    bol::PutWords(stWr, aulSid, bol::SlBsidSidLen(ucFlags) / 4u);
    if ((ucFlags & BOL_SRPOLICY_SLBSID_FLAG_EXT) != 0u) {
        bol::PutU16(stWr, usBehavior);
        bol::PutU16(stWr, 0u);
        bol::PutU32(stWr, ulStructure);
    }
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

    /* A value that the 16-bit tunnel length cannot carry is refused. */
    uint64_t ullTotal = BOL_SRPOLICY_CalculateTunAttrSize(pstCfg);
    if (ullTotal > kMaxAttrLen) {
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
    bol::PutU16(stWr, static_cast<uint16_t>(BOL_SRPOLICY_TUNNEL_TYPE));
    bol::PutU16(stWr, static_cast<uint16_t>(ulTotal - BOL_SRPOLICY_TUNNEL_HDR_LEN));
    if (pstCfg->ucPrefExist == 1u) {
        PutU32SubTlv(stWr, BOL_SRPOLICY_SUBTLV_PREF, 0u, pstCfg->ulPreference);
    }
    uint8_t *pucPos = stWr.puc;
    BOL_SRPOLICY_ParseCfgBSID(pstCfg, &pucPos);
    BOL_SRPOLICY_ParseCfgSRv6BSID(pstCfg, &pucPos);
    BOL_SRPOLICY_ParseCfgSegmentList(pstCfg, &pucPos);
    /* The steps above wrote inside the buffer; the writer takes over after them. */
    bol::PutSkip(stWr, static_cast<uint32_t>(pucPos - stWr.puc));
    if (pstCfg->ucCfgModuleIdExist == 1u) {
        PutU32SubTlv(stWr, BOL_SRPOLICY_SUBTLV_CFG_MODULE_ID, 0u, pstCfg->ulCfgModuleId);
    }
    if (pstCfg->ucSliceIdExist == 1u) {
        PutU32SubTlv(stWr, BOL_SRPOLICY_SUBTLV_STD_SLICE_ID, 0u, pstCfg->ulSliceId);
    }

    uint32_t ulRet = BOL_SRPOLICY_ERR_BUF_SHORT;
    if (BOL_WRITER_FILLED(stWr)) {
        ulRet = bol::OutputAttribute(ppvOut, static_cast<uint8_t *>(pvBuf), static_cast<uint16_t>(ulTotal), pstInst);
    }
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
        ucFlags |= kBsidFlagS;
    }
    if (pstCfg->ucBsidIFlag == 1u) {
        ucFlags |= kBsidFlagI;
    }

    bol::Writer stWr = bol::MakeWriter(*ppucPos, usSize);
    PutFlaggedHdr(stWr, BOL_SRPOLICY_SUBTLV_BSID, usSize - 2u, ucFlags);
    /* The size tells which value the arithmetic chose: a label field, a SID, or none. */
    if (stWr.ulRoom == 4u) {
        bol::PutU32(stWr, pstCfg->ulBsidLabel << kLabelShift);
    } else if (stWr.ulRoom == 16u) {
        bol::PutWords4(stWr, pstCfg->aulBsidV6);
    }
    BOL_WRITER_FILLED(stWr);
    *ppucPos = stWr.puc;
}

/* Flags as configured, all eight bits; behavior and structure follow the SID
 * when the B-flag is set, whatever the structure holds. */
void BOL_SRPOLICY_ParseCfgSRv6BSID(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint8_t **ppucPos)
{
    BOL_CHECK_PTR(pstCfg, );
    BOL_CHECK_PTR(ppucPos, );
    uint8_t *pucPos = *ppucPos;
    (void)bol::ForEachNode<BOL_SRPOLICY_CFG_SRV6_BSID_S>(
        &pstCfg->stSRv6BsidList, [&pucPos](const BOL_SRPOLICY_CFG_SRV6_BSID_S *pstBsid) {
            uint32_t ulSize = BOL_SRPOLICY_CalculateSRv6BsidLen(pstBsid);
            bol::Writer stWr = bol::MakeWriter(pucPos, ulSize);
            PutFlaggedHdr(stWr, BOL_SRPOLICY_SUBTLV_SRV6_BSID, ulSize - 2u, pstBsid->ucFlags);
            bol::PutWords4(stWr, pstBsid->aulSid);
            if ((pstBsid->ucFlags & BOL_SRPOLICY_CFG_SRV6_BSID_FLAG_B) != 0u) {
                bol::PutU16(stWr, pstBsid->usEndpointBehavior);
                bol::PutU16(stWr, 0u);
                bol::PutU32(stWr, pstBsid->ulSidStructure);
            }
            BOL_WRITER_FILLED(stWr);
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
            bol::PutU8(stWr, static_cast<uint8_t>(BOL_SRPOLICY_SUBTLV_SEGLIST));
            bol::PutU16(stWr, usLen);
            bol::PutU8(stWr, 0u);
            if (pstSegList->ucWeightExist == 1u) {
                PutU32SubTlv(stWr, BOL_SRPOLICY_SEG_WEIGHT, 0u, pstSegList->ulWeight);
            }
            if (pstSegList->ucPathMtuExist == 1u) {
                PutU32SubTlv(stWr, BOL_SRPOLICY_SEG_TYPE13, 0u, pstSegList->ulPathMtu);
            }
            uint8_t *pucInner = stWr.puc;
            BOL_SRPOLICY_ParseCfgSegListBSid(&pucInner, pstSegList);
            BOL_SRPOLICY_ParseCfgSegment(&pucInner, pstSegList);
            bol::PutSkip(stWr, static_cast<uint32_t>(pucInner - stWr.puc));
            BOL_WRITER_FILLED(stWr);
            pucPos = stWr.puc;
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
    PutFlaggedHdr(stWr, BOL_SRPOLICY_SEG_BSID, ulLen, ucFlags);
    /* The forward SID is written even when all its words are 0: the reverse
     * one decides on its own whether the sub-TLV carries two SIDs. */
    PutSegListBsidSid(stWr, ucFlags, pstSegList->aulBsid, pstSegList->usEndpointBehavior,
                      pstSegList->ulSidStructure);
    if (bol::AnyWord(pstSegList->aulReverseBsid)) {
        PutSegListBsidSid(stWr, ucFlags, pstSegList->aulReverseBsid, pstSegList->usReverseEndpointBehavior,
                          pstSegList->ulReverseSidStructure);
    }
    BOL_WRITER_FILLED(stWr);
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
            PutFlaggedHdr(stWr, BOL_SRPOLICY_SEG_SRV6, ulSize - 2u, kSegFlagsSet);
            bol::PutWords4(stWr, BOL_SRPOLICY_GetSrpType2SegmentValue(pstSegList, i));
        }
        BOL_WRITER_FILLED(stWr);
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
    return &pstSegList->aulSegValue[static_cast<size_t>(ulIndex) * 4u];
}

} /* extern "C" */
