/*
 * The attribute-set dispatcher and the attribute setter.
 */
#define BOL_THIS_MODULE BOL_MOD_ATTR

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "bol_srpolicy_wire.h"

extern "C" {

uint32_t BOL_SRPOLICY_SetAttr(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint32_t ulFlags, void **ppvOut,
                              BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = BOL_SRPOLICY_GetAttrSetEntry(ulType);
    if (pstRow == nullptr || pstRow->unHandler.pfnSetAttr == nullptr) {
        return BOL_ERR_NO_HANDLER;
    }
    return pstRow->unHandler.pfnSetAttr(pstRtData, ulFlags, ppvOut, pstInst);
}

} /* extern "C" */

/* ======================================================================== */
/* Attribute setter                                                         */
/* ======================================================================== */

namespace {

/* Tunnel header: type (2) and length (2) of the sub-TLV area. */
const uint32_t kTnlHdrLen = 4u;
const uint32_t kTnlLenOff = 2u;

/* Bytes of the slice-id sub-TLV at ulOff of the copy: type, 1-byte length
 * and value, cut to what the copy holds. */
uint32_t SliceIdTlvSize(const bol::View &stCopy, uint32_t ulOff)
{
    if (!bol::ViewHas(stCopy, ulOff, 2u)) {
        return 0u;
    }
    uint32_t ulSize = 2u + bol::GetU8(stCopy, ulOff + 1u);
    uint32_t ulLeft = stCopy.ulLen - ulOff;
    return (ulSize < ulLeft) ? ulSize : ulLeft;
}

/* Offset of a position inside the copy (positions come from the decoder). */
uint32_t OffsetIn(const bol::View &stCopy, const uint8_t *pucPos)
{
    return static_cast<uint32_t>(pucPos - stCopy.puc);
}

} /* namespace */

extern "C" {

/* Hands the host a fresh normalised attribute decoded from the stored one.
 * With flag 0x8000 the slice id leaves in its private form: a standard slice
 * id becomes private, and a private slice-id sub-TLV that would then be a
 * second one, or that carried no usable value, is taken out. */
uint32_t BOL_SRPOLICY_SetTunnelEncapsulationAttr(const BOL_RT_DATA_S *pstRtData, uint32_t ulFlags, void **ppvOut,
                                                 BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    if (pstRtData->pucAttr == nullptr) {
        *ppvOut = nullptr;
        return BOL_ERR_NO_DATA;
    }
    BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = nullptr;
    uint8_t *pucPrivSliceId = nullptr;
    uint8_t *pucStdSliceId = nullptr;
    uint32_t ulRet = BOL_SRPOLICY_ParsePktTunnelEncapAttr(pstRtData->pucAttr, pstRtData->ulAttrLen, &pstAttr,
                                                          pstInst, &pucPrivSliceId, &pucStdSliceId);
    if (ulRet != BOL_OK || pstAttr == nullptr) {
        return BOL_ERR_NO_DATA;
    }

    bol::View stCopy = bol::MakeView(pstAttr->pucRealPrivAttr, pstAttr->usRealPrivAttrLen);
    uint8_t *pucOut = pstAttr->pucRealPrivAttr;
    uint32_t ulOutLen = pstAttr->usRealPrivAttrLen;
    uint8_t *pucPacked = nullptr;

    bool bRemovePriv = false;
    if ((ulFlags & BOL_SRPOLICY_SET_PRIV_SLICE_ID) != 0u) {
        if (pucStdSliceId != nullptr) {
            bol::SetU8(stCopy, OffsetIn(stCopy, pucStdSliceId),
                       static_cast<uint8_t>(BOL_SRPOLICY_SUBTLV_PRIV_SLICE_ID));
            bRemovePriv = (pucPrivSliceId != nullptr);
        } else if (pucPrivSliceId != nullptr) {
            bRemovePriv = (pstAttr->ucSliceIdKind & BOL_SRPOLICY_SLICE_KIND_PRIV) == 0u;
        }
    }
    if (bRemovePriv) {
        uint32_t ulCut = SliceIdTlvSize(stCopy, OffsetIn(stCopy, pucPrivSliceId));
        ulRet = BOL_SRPOLICY_TryPackTnlEncapAttr(&pucPacked, pstAttr->pucRealPrivAttr, pucPrivSliceId, pstInst,
                                                 pstAttr->usRealPrivAttrLen);
        if (ulRet != BOL_OK) {
            BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, pstInst);
            return ulRet;
        }
        pucOut = pucPacked;
        ulOutLen -= ulCut;
    }

    ulRet = bol::OutputAttribute(ppvOut, pucOut, static_cast<uint16_t>(ulOutLen), pstInst);
    if (pucPacked != nullptr) {
        BOL_FREE(pucPacked);
    }
    BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, pstInst);
    return ulRet;
}

/* Copies the normalised attribute without the private slice-id sub-TLV at
 * pucPrivSliceId (its type, length and value) into a new buffer of the
 * copy's size, and shortens the tunnel length by the bytes taken out. The
 * buffer's tail beyond the shortened attribute stays zero. */
uint32_t BOL_SRPOLICY_TryPackTnlEncapAttr(uint8_t **ppucPacked, uint8_t *pucRealPrivAttr, uint8_t *pucPrivSliceId,
                                          BOL_SRPOLICY_INSTANCE_S *pstInst, uint16_t usRealPrivAttrLen)
{
    BOL_CHECK_PTR(ppucPacked, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucRealPrivAttr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucPrivSliceId, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    bol::View stCopy = bol::MakeView(pucRealPrivAttr, usRealPrivAttrLen);
    uint32_t ulOff = OffsetIn(stCopy, pucPrivSliceId);
    uint32_t ulCut = SliceIdTlvSize(stCopy, ulOff);
    if (ulOff < kTnlHdrLen || ulCut == 0u) {
        BOL_REPORT(ulOff);
        return BOL_ERR_PARAM;
    }
    bol::SetU16(stCopy, kTnlLenOff, static_cast<uint16_t>(bol::GetU16(stCopy, kTnlLenOff) - ulCut));

    uint8_t *pucPacked = static_cast<uint8_t *>(BOL_ALLOC(pstInst, usRealPrivAttrLen));
    if (pucPacked == nullptr) {
        return BOL_SRPOLICY_ERR_NOMEM;
    }
    int iRet = memset_s(pucPacked, usRealPrivAttrLen, 0, usRealPrivAttrLen);
    if (iRet != 0) {
        BOL_REPORT(0u);
    }
    *ppucPacked = pucPacked;

    bol::Writer stWr = bol::MakeWriter(pucPacked, usRealPrivAttrLen);
    iRet = bol::PutBytes(stWr, stCopy.puc, ulOff);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }
    uint32_t ulAfterOff = ulOff + ulCut;
    if (ulAfterOff < stCopy.ulLen) {
        bol::View stAfter = bol::SubView(stCopy, ulAfterOff, stCopy.ulLen - ulAfterOff);
        iRet = bol::PutBytes(stWr, stAfter.puc, stAfter.ulLen);
        if (iRet != 0) {
            BOL_REPORT_RET(iRet);
        }
    }
    BOL_WRITER_DONE(stWr);
    return BOL_OK;
}

} /* extern "C" */
