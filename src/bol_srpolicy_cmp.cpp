/*
 * The comparison dispatcher and the comparators of route keys and
 * attribute bytes.
 */
#define BOL_THIS_MODULE BOL_MOD_CMP

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"

extern "C" {

int32_t BOL_SRPOLICY_CmpData(const void *pvA, uint32_t ulLenA, const void *pvB, uint32_t ulLenB, uint32_t ulType)
{
    BOL_CHECK_PTR(pvA, BOL_CMP_ERR);
    BOL_CHECK_PTR(pvB, BOL_CMP_ERR);

    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = BOL_SRPOLICY_GetDataCmpEntry(ulType);
    if (pstRow == nullptr || pstRow->unHandler.pfnCmp == nullptr) {
        return BOL_CMP_ERR;
    }
    return pstRow->unHandler.pfnCmp(pvA, ulLenA, pvB, ulLenB);
}

} /* extern "C" */

/* ======================================================================== */
/* Key and attribute comparators                                            */
/* ======================================================================== */
