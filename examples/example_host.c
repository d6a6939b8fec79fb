/*
 * A minimal host: constructs the SR Policy plug-in with the default
 * platform, prints the type codes it announces in the procedure table, and
 * destructs it.
 */
#include <stdio.h>
#include <string.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"

static void PrintList(const char *pcName, const uint32_t *pulList, size_t ulMax)
{
    size_t i;
    printf("%-26s", pcName);
    /* The plug-in writes no terminator; the host pre-fills the lists with 0. */
    for (i = 0; i < ulMax && pulList[i] != 0u; i++) {
        printf(" %u", pulList[i]);
    }
    printf("\n");
}

int main(void)
{
    const uint32_t ulModule = 1u;
    BOL_PROC_TBL_S stTbl;
    BOL_SRPOLICY_INSTANCE_S *pstInst;
    uint32_t ulBlocks = 0;
    uint32_t ulBytes = 0;

    memset(&stTbl, 0, sizeof(stTbl));
    pstInst = BOL_SRPOLICY_Construct(&stTbl, ulModule);
    if (pstInst == NULL) {
        fprintf(stderr, "construction failed\n");
        return 1;
    }
    ZUN_GetModuleUsage(ulModule, &ulBlocks, &ulBytes);
    printf("SR Policy plug-in constructed: module %u holds %u block(s), %u bytes\n", ulModule, ulBlocks, ulBytes);
    PrintList("path attribute types:", stTbl.aulPktAttrType, 20);
    PrintList("message types:", stTbl.aulMsgType, 20);
    PrintList("HA message types:", stTbl.aulHaMsgType, 20);
    PrintList("attribute message types:", stTbl.aulAttrMsgType, 20);

    BOL_SRPOLICY_Destruct(pstInst);
    ZUN_GetModuleUsage(ulModule, &ulBlocks, &ulBytes);
    printf("SR Policy plug-in destructed: module %u holds %u block(s)\n", ulModule, ulBlocks);
    return ulBlocks == 0u ? 0 : 1;
}
