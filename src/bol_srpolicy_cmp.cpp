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

namespace {

/* The key fields in the order they rank, as unsigned numbers. The reserved
 * bytes after the length are not part of the order. */
const uint32_t kKeyRankFields = 7u;

void KeyRank(const BOL_SRPOLICY_NLRI_S &stKey, uint32_t (&aulRank)[kKeyRankFields])
{
    aulRank[0] = stKey.ucNlriLen;
    aulRank[1] = stKey.ulDistinguisher;
    aulRank[2] = stKey.ulPolicyColor;
    for (uint32_t i = 0; i < 4u; i++) {
        aulRank[3u + i] = stKey.aulEndpoint[i];
    }
}

} /* namespace */

extern "C" {

/* IPv4 keys (96) rank before IPv6 keys (192), then distinguisher, color and
 * the endpoint words in order. */
int32_t BOL_SRPOLICY_CmpKey(const void *pvA, uint32_t ulLenA, const void *pvB, uint32_t ulLenB)
{
    BOL_CHECK_PTR(pvA, BOL_CMP_ERR);
    BOL_CHECK_PTR(pvB, BOL_CMP_ERR);
    if (ulLenA != BOL_SRPOLICY_NLRI_KEY_LEN || ulLenB != BOL_SRPOLICY_NLRI_KEY_LEN) {
        BOL_REPORT(0u);
        return BOL_CMP_ERR;
    }

    uint32_t aulA[kKeyRankFields];
    uint32_t aulB[kKeyRankFields];
    KeyRank(*static_cast<const BOL_SRPOLICY_NLRI_S *>(pvA), aulA);
    KeyRank(*static_cast<const BOL_SRPOLICY_NLRI_S *>(pvB), aulB);
    for (uint32_t i = 0; i < kKeyRankFields; i++) {
        if (aulA[i] != aulB[i]) {
            return (aulA[i] > aulB[i]) ? 1 : -1;
        }
    }
    return 0;
}

/* The shorter attribute is the smaller; equal lengths compare byte by byte. */
int32_t BOL_SRPOLICY_CmpAttr(const void *pvA, uint32_t ulLenA, const void *pvB, uint32_t ulLenB)
{
    BOL_CHECK_PTR(pvA, BOL_CMP_ERR);
    BOL_CHECK_PTR(pvB, BOL_CMP_ERR);
    if (ulLenA != ulLenB) {
        return (ulLenA < ulLenB) ? -1 : 1;
    }
    int32_t lRet = KEO_MemCmp(pvA, pvB, ulLenA);
    if (lRet == 0) {
        return 0;
    }
    return (lRet < 0) ? -1 : 1;
}

} /* extern "C" */
