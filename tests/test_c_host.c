/*
 * A host written in C99: every public header compiles as C, and the
 * plug-in constructs, fills the procedure table and destructs.
 */
#include <stdio.h>
#include <string.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"

int main(void)
{
    BOL_PROC_TBL_S stTbl;
    BOL_SRPOLICY_INSTANCE_S *pstInst;
    BOL_SRPOLICY_CFG_PREFIX_S stPrefix;
    BOL_SRPOLICY_CFG_TNLENCAP_S stTnl;
    BOL_SRPOLICY_RT_KEY_MSG_S stMsg;
    uint32_t ulBlocks = 1;
    uint32_t ulBytes = 1;
    int iFailed = 0;

    memset(&stTbl, 0xA5, sizeof(stTbl));
    memset(&stPrefix, 0, sizeof(stPrefix));
    memset(&stTnl, 0, sizeof(stTnl));
    memset(&stMsg, 0, sizeof(stMsg));

    pstInst = BOL_SRPOLICY_Construct(&stTbl, 3u);
    if (pstInst == NULL || stTbl.aulPktAttrType[2] != BOL_SRPOLICY_PATTR_TNL_ENCAP ||
        stTbl.pfnParsePkt != BOL_SRPOLICY_ParsePkt || sizeof(stPrefix) != BOL_SRPOLICY_CFG_PREFIX_LEN ||
        sizeof(stMsg) != 28u) {
        iFailed = 1;
    }
    if (stTbl.pfnCmpData(&stMsg, 0u, &stMsg, 0u, 99u) != BOL_CMP_ERR) {
        iFailed = 1;
    }
    BOL_SRPOLICY_Destruct(pstInst);
    ZUN_GetModuleUsage(3u, &ulBlocks, &ulBytes);
    if (ulBlocks != 0u || ulBytes != 0u) {
        iFailed = 1;
    }
    printf("%u passed, %u failed\n", iFailed ? 0u : 1u, iFailed ? 1u : 0u);
    return iFailed;
}
