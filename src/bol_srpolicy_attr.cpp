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
