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

/* Not built yet: answers as if nothing could be done. */
extern "C" uint32_t BOL_SRPOLICY_FormatHaRtPrefixTlv(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                     uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstRtData;
    (void)ppucCur;
    (void)ulRoom;
    (void)pstInst;
    return BOL_ERR_NO_HANDLER;
}

/* ======================================================================== */
/* Attribute message encoding                                               */
/* ======================================================================== */

/* ======================================================================== */
/* Configured prefix encoding                                               */
/* ======================================================================== */

/* ======================================================================== */
/* Configured tunnel encapsulation text                                     */
/* ======================================================================== */
