/*
 * A minimal host: constructs the SR Policy plug-in with the default
 * platform, prints the type codes it announces in the procedure table,
 * decodes one SR Policy NLRI the way a host walks MP_REACH_NLRI, shows its
 * key line, and destructs the plug-in. Exits 0 when everything worked and
 * nothing is left allocated.
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

/* Decodes the NLRI at pucNlri through the procedure table (type 14) and
 * prints its key line; the output block is the host's to release. */
static int DecodeNlri(const BOL_PROC_TBL_S *pstTbl, BOL_SRPOLICY_INSTANCE_S *pstInst, uint8_t *pucNlri,
                      uint32_t ulLen)
{
    uint8_t *pucCur = pucNlri;
    void *pvOut = NULL;
    uint32_t ulMore = 0;
    int iHostCtx = 0;
    BOL_PARSE_OUTPUT_S stHdr;
    BOL_SRPOLICY_NLRI_S stKey;
    BOL_RT_DATA_S stRt;
    char acText[BOL_SRPOLICY_SCRATCH_LEN];
    uint32_t ulOffset = 0;
    uint32_t ulRet;

    ulRet = pstTbl->pfnParsePkt(&pucCur, ulLen, &iHostCtx, BOL_SRPOLICY_PATTR_MP_REACH, &pvOut, &ulMore, pstInst);
    if (ulRet != BOL_OK || pvOut == NULL) {
        fprintf(stderr, "NLRI decoding failed: 0x%x\n", ulRet);
        return 1;
    }
    memcpy(&stHdr, pvOut, sizeof(stHdr));
    memcpy(&stKey, (const uint8_t *)pvOut + stHdr.usKeyOffset, sizeof(stKey));
    (void)ZUN_Free_F(pvOut, "example_host", __LINE__);

    memset(&stRt, 0, sizeof(stRt));
    stRt.ulKeyLen = sizeof(stKey);
    stRt.pstKey = &stKey;
    ulRet = pstTbl->pfnData2Str(&stRt, BOL_SRPOLICY_STR_KEY, acText, sizeof(acText), &ulOffset, &ulMore, pstInst);
    if (ulRet != BOL_OK) {
        fprintf(stderr, "key text failed: 0x%x\n", ulRet);
        return 1;
    }
    printf("decoded %u of %u NLRI bytes: %s\n", (unsigned)(pucCur - pucNlri), ulLen, acText);
    return 0;
}

int main(void)
{
    const uint32_t ulModule = 1u;
    /* NLRI length 96 bits, distinguisher 1, color 100, endpoint 10.0.0.1 */
    uint8_t aucNlri[] = {0x60, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x64, 0x0A, 0x00, 0x00, 0x01};
    BOL_PROC_TBL_S stTbl;
    BOL_SRPOLICY_INSTANCE_S *pstInst;
    uint32_t ulBlocks = 0;
    uint32_t ulBytes = 0;
    int iFailed;

    printf("libbol_srpolicy %s\n", BOL_SRPOLICY_VERSION_STRING);
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

    iFailed = DecodeNlri(&stTbl, pstInst, aucNlri, (uint32_t)sizeof(aucNlri));

    BOL_SRPOLICY_Destruct(pstInst);
    ZUN_GetModuleUsage(ulModule, &ulBlocks, &ulBytes);
    printf("SR Policy plug-in destructed: module %u holds %u block(s)\n", ulModule, ulBlocks);
    return iFailed == 0 && ulBlocks == 0u ? 0 : 1;
}
