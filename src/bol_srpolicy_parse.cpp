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

/* ======================================================================== */
/* Attribute message decoding                                               */
/* ======================================================================== */

/* ======================================================================== */
/* Configured prefix decoding                                               */
/* ======================================================================== */

/* ======================================================================== */
/* Configured tunnel encapsulation encoding                                 */
/* ======================================================================== */
