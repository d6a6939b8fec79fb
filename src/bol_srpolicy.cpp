/*
 * Plug-in frame: construction and the procedure table, the memory helpers,
 * the handler tables with their lookups, the text and subscription-key
 * dispatchers, and the output records through which decoders hand results
 * to the host.
 */
#define BOL_THIS_MODULE BOL_MOD_SRPOLICY

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_layout.h"
#include "bol_srpolicy_priv.h"
#include "bol_srpolicy_wire.h"

namespace bol {

void ReportCode(const char *pcModule, uint32_t ulLine, const char *pcFmt, int iCode)
{
    char acText[BOL_REPORT_TEXT_LEN];
    (void)memset_s(acText, sizeof(acText), 0, sizeof(acText));
    (void)snprintf_s(acText, sizeof(acText), sizeof(acText) - 1u, pcFmt, iCode);
    ZUN_Assert(pcModule, ulLine, reinterpret_cast<uintptr_t>(acText));
}

} /* namespace bol */

/* ======================================================================== */
/* Handler tables                                                            */
/* ======================================================================== */

/* A row whose handler is not part of this build answers with the
 * dispatcher's no-handler result. */
#define BOL_NO_HANDLER BOL_SRPOLICY_HANDLER_U()

extern "C" {

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_PKT_PARSE_TBL[3] = {
    {BOL_SRPOLICY_PATTR_MP_REACH, BOL_NO_HANDLER},
    {BOL_SRPOLICY_PATTR_MP_UNREACH, BOL_NO_HANDLER},
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_PKT_FORMAT_TBL[3] = {
    {BOL_SRPOLICY_PATTR_MP_REACH, BOL_NO_HANDLER},
    {BOL_SRPOLICY_PATTR_MP_UNREACH, BOL_NO_HANDLER},
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_SET_ATTR_TBL[1] = {
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_MSG_PARSE_TBL[2] = {
    {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY, BOL_SRPOLICY_ParseCondRtSubsKey},
    {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY_ALT, BOL_SRPOLICY_ParseCondRtSubsKey},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_MSG_FORMAT_TBL[3] = {
    {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY, BOL_SRPOLICY_FormatCondRtSubsKey},
    {BOL_SRPOLICY_MSG_CONDRT_RTKEY, BOL_SRPOLICY_FormatCondRtRouteKey},
    {BOL_SRPOLICY_MSG_CONDRT_ATTR, BOL_SRPOLICY_FormatCondRtAttr},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_HA_MSG_PARSE_TBL[2] = {
    {BOL_SRPOLICY_HAMSG_PREFIX, BOL_NO_HANDLER},
    {BOL_SRPOLICY_HAMSG_PREFIX_ALT, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_HA_MSG_FORMAT_TBL[2] = {
    {BOL_SRPOLICY_HAMSG_PREFIX, BOL_NO_HANDLER},
    {BOL_SRPOLICY_HAMSG_PREFIX_ALT, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_ATTR_MSG_PARSE_TBL[1] = {
    {BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_ATTR_MSG_FORMAT_TBL[1] = {
    {BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, BOL_SRPOLICY_FormatTunnelEncapsAttrTlv},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CFG_PARSE_TBL[2] = {
    {BOL_SRPOLICY_CFG_PREFIX, BOL_NO_HANDLER},
    {BOL_SRPOLICY_CFG_TNL_ENCAP, BOL_SRPOLICY_ParseCfgTunnelEncapsulation},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CFG_FORMAT_TBL[2] = {
    {BOL_SRPOLICY_CFG_PREFIX, BOL_NO_HANDLER},
    {BOL_SRPOLICY_CFG_TNL_ENCAP, BOL_SRPOLICY_FormatCfgTunnelEncapsulation},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CMP_DATA_TBL[2] = {
    {BOL_SRPOLICY_CMP_KEY, BOL_NO_HANDLER},
    {BOL_SRPOLICY_CMP_ATTR, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_DATA2STR_TBL[2] = {
    {BOL_SRPOLICY_STR_KEY, BOL_NO_HANDLER},
    {BOL_SRPOLICY_STR_ATTR, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CONSTRUCT_SUBSKEY_TBL[1] = {
    {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY, BOL_SRPOLICY_Construct_CondRtSubsKey},
};

/* Sub-TLV decoders of the attribute walk; the order is the contract's. */
const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL[9] = {
    {BOL_SRPOLICY_SUBTLV_PREF, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_BSID, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_SEGLIST, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_CFG_MODULE_ID, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_PRIV_SLICE_ID, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_SRV6_BSID, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_CPATH_NAME, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_POLICY_NAME, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_STD_SLICE_ID, BOL_NO_HANDLER},
};

/* Sub-TLV printers of the attribute text; same order as the decoders. */
const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_OUTPUT_TNLENCAP_TBL[9] = {
    {BOL_SRPOLICY_SUBTLV_PREF, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_BSID, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_SEGLIST, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_CFG_MODULE_ID, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_PRIV_SLICE_ID, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_SRV6_BSID, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_CPATH_NAME, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_POLICY_NAME, BOL_NO_HANDLER},
    {BOL_SRPOLICY_SUBTLV_STD_SLICE_ID, BOL_NO_HANDLER},
};

/* Segment checks indexed by segment type: row n checks type n. */
const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CHECK_SUBTLV_TBL[9] = {
    {0u, BOL_NO_HANDLER}, {1u, BOL_NO_HANDLER}, {2u, BOL_NO_HANDLER},
    {3u, BOL_NO_HANDLER}, {4u, BOL_NO_HANDLER}, {5u, BOL_NO_HANDLER},
    {6u, BOL_NO_HANDLER}, {7u, BOL_NO_HANDLER}, {8u, BOL_NO_HANDLER},
};

/* Conditional-route attribute message items, visited in row order. The key
 * column is not consulted; each handler writes its own TLV type. */
const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_FORMAT_CONDRTATTR_TBL[8] = {
    {2u, BOL_SRPOLICY_FormatCondRtPreference},
    {3u, BOL_SRPOLICY_FormatCondRtCfgModuleId},
    {4u, BOL_SRPOLICY_FormatCondRtBindSid},
    {5u, BOL_SRPOLICY_FormatCondRtSegmentList},
    {7u, BOL_SRPOLICY_FormatCondRtSliceId},
    {8u, BOL_SRPOLICY_FormatCondRtSRv6BSID},
    {9u, BOL_SRPOLICY_FormatCondRtCPathName},
    {10u, BOL_SRPOLICY_FormatCondRtPolicyName},
};

} /* extern "C" */

/* ======================================================================== */
/* Lookups                                                                   */
/* ======================================================================== */

namespace {

/* The one lookup: first row of the table whose type matches, or null. */
template <size_t N>
const BOL_SRPOLICY_PROC_ENTRY_S *FindRow(const BOL_SRPOLICY_PROC_ENTRY_S (&astTbl)[N], uint32_t ulType)
{
    for (size_t i = 0; i < N; i++) {
        if (astTbl[i].ulType == ulType) {
            return &astTbl[i];
        }
    }
    return nullptr;
}

} /* namespace */

extern "C" {

#define BOL_DEFINE_LOOKUP(name, table)                                        \
    const BOL_SRPOLICY_PROC_ENTRY_S *name(uint32_t ulType)                    \
    {                                                                         \
        return FindRow(table, ulType);                                        \
    }

BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetPktParseEntry, g_astBOL_SRPOLICY_PKT_PARSE_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetPktFormatEntry, g_astBOL_SRPOLICY_PKT_FORMAT_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetAttrSetEntry, g_astBOL_SRPOLICY_SET_ATTR_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetBgpiMsgParseEntry, g_astBOL_SRPOLICY_MSG_PARSE_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetBgpiMsgFormatEntry, g_astBOL_SRPOLICY_MSG_FORMAT_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetHaiMsgParseEntry, g_astBOL_SRPOLICY_HA_MSG_PARSE_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetHaiMsgFormatEntry, g_astBOL_SRPOLICY_HA_MSG_FORMAT_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetAttrMsgParseEntry, g_astBOL_SRPOLICY_ATTR_MSG_PARSE_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetAttrMsgFormatEntry, g_astBOL_SRPOLICY_ATTR_MSG_FORMAT_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetCfgParseEntry, g_astBOL_SRPOLICY_CFG_PARSE_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetCfgFormatEntry, g_astBOL_SRPOLICY_CFG_FORMAT_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetDataCmpEntry, g_astBOL_SRPOLICY_CMP_DATA_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetData2StrEntry, g_astBOL_SRPOLICY_DATA2STR_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetConstructSubsKeyEntry, g_astBOL_SRPOLICY_CONSTRUCT_SUBSKEY_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetTunEncapSubTlvParseEntry, g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL)
BOL_DEFINE_LOOKUP(BOL_SRPOLICY_GetOutputTnlEncapTlvEntry, g_astBOL_SRPOLICY_OUTPUT_TNLENCAP_TBL)

#undef BOL_DEFINE_LOOKUP

/* ======================================================================== */
/* Construction and the procedure table                                      */
/* ======================================================================== */

BOL_SRPOLICY_INSTANCE_S *BOL_SRPOLICY_Construct(BOL_PROC_TBL_S *pstProcTbl, uint32_t ulMemModuleId)
{
    BOL_CHECK_PTR(pstProcTbl, nullptr);
    if (ulMemModuleId == 0u) {
        BOL_REPORT(ulMemModuleId);
        return nullptr;
    }

    void *pvInst = ZUN_SimpleAlloc_F(ulMemModuleId, sizeof(BOL_SRPOLICY_INSTANCE_S), BOL_THIS_MODULE, __LINE__);
    if (pvInst == nullptr) {
        BOL_REPORT(0u);
        return nullptr;
    }
    BOL_SRPOLICY_INSTANCE_S *pstInst = static_cast<BOL_SRPOLICY_INSTANCE_S *>(pvInst);
    int iRet = memset_s(pstInst, sizeof(*pstInst), 0, sizeof(*pstInst));
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }
    pstInst->ulMemModuleId = ulMemModuleId;
    pstInst->ulScratchInUse = 0u;

    BOL_SRPOLICY_InitProcTbl(pstProcTbl);
    return pstInst;
}

void BOL_SRPOLICY_Destruct(BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    if (pstInst == nullptr) {
        BOL_REPORT(0u);
        return;
    }
    BOL_FREE(pstInst);
}

void BOL_SRPOLICY_InitProcTbl(BOL_PROC_TBL_S *pstProcTbl)
{
    pstProcTbl->ulHdrWord0 = 0u;
    pstProcTbl->ulHdrWord1 = 0x01020301u;
    pstProcTbl->usHdrHalf = 1u;
    pstProcTbl->ucHdrByte = 0u;

    pstProcTbl->aulPktAttrType[0] = BOL_SRPOLICY_PATTR_MP_REACH;
    pstProcTbl->aulPktAttrType[1] = BOL_SRPOLICY_PATTR_MP_UNREACH;
    pstProcTbl->aulPktAttrType[2] = BOL_SRPOLICY_PATTR_TNL_ENCAP;
    pstProcTbl->aulMsgType[0] = BOL_SRPOLICY_MSG_CONDRT_SUBSKEY;
    pstProcTbl->aulMsgType[1] = BOL_SRPOLICY_MSG_CONDRT_RTKEY;
    pstProcTbl->aulMsgType[2] = BOL_SRPOLICY_MSG_CONDRT_ATTR;
    pstProcTbl->aulHaMsgType[0] = BOL_SRPOLICY_HAMSG_PREFIX;
    pstProcTbl->aulHaMsgType[1] = BOL_SRPOLICY_HAMSG_PREFIX_ALT;
    pstProcTbl->aulAttrMsgType[0] = BOL_SRPOLICY_ATTRMSG_TNL_ENCAP;

    for (uint32_t i = 0; i < 3u; i++) {
        pstProcTbl->aulZero0[i] = 0u;
    }
    for (uint32_t i = 0; i < 2u; i++) {
        pstProcTbl->aulZero1[i] = 0u;
    }

    pstProcTbl->pfnParsePkt = BOL_SRPOLICY_ParsePkt;
    pstProcTbl->pfnFormatPkt = BOL_SRPOLICY_FormatPkt;
    pstProcTbl->pfnSetAttr = BOL_SRPOLICY_SetAttr;
    pstProcTbl->pfnParseMsg = BOL_SRPOLICY_ParseMsg;
    pstProcTbl->pfnFormatMsg = BOL_SRPOLICY_FormatMsg;
    pstProcTbl->pfnParseHaMsg = BOL_SRPOLICY_ParseHaMsg;
    pstProcTbl->pfnFormatHaMsg = BOL_SRPOLICY_FormatHaMsg;
    pstProcTbl->pfnParseAttrMsg = BOL_SRPOLICY_ParseAttrMsg;
    pstProcTbl->pfnFormatAttrMsg = BOL_SRPOLICY_FormatAttrMsg;
    pstProcTbl->pfnParseCfg = BOL_SRPOLICY_ParseCfg;
    pstProcTbl->pfnFormatCfg = BOL_SRPOLICY_FormatCfg;
    pstProcTbl->pfnConstructRtpEntry = BOL_SRPOLICY_ConstructRtpEntry;
    pstProcTbl->pfnNone588 = nullptr;
    pstProcTbl->pfnNone596 = nullptr;
    for (uint32_t i = 0; i < 3u; i++) {
        pstProcTbl->apfnNone604[i] = nullptr;
    }
    pstProcTbl->pfnCmpData = BOL_SRPOLICY_CmpData;
    pstProcTbl->pfnData2Str = BOL_SRPOLICY_Data2Str;
    pstProcTbl->pfnSetRtCount = BOL_SRPOLICY_SetRtCount;
    pstProcTbl->pfnGetRtCount = BOL_SRPOLICY_GetRtCount;
    pstProcTbl->pfnCheckRoute = BOL_SRPOLICY_CheckRoute;
    for (uint32_t i = 0; i < 2u; i++) {
        pstProcTbl->apfnNone648[i] = nullptr;
    }
    pstProcTbl->pfnConstructSubsKey = BOL_SRPOLICY_ConstructSubsKey;
}

/* Route entries carry a key (0x2) and an attribute (0x8). */
uint32_t BOL_SRPOLICY_ConstructRtpEntry(void *pvHost, void *pvRtpEntry)
{
    BOL_CHECK_PTR(pvHost, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pvRtpEntry, BOL_ERR_PARAM);

    /* The flags half-word at byte offset 2 of the host's entry; the entry
     * need not be aligned for a 16-bit access. */
    uint8_t *pucFlags = static_cast<uint8_t *>(pvRtpEntry) + 2;
    uint16_t usFlags = 0u;
    (void)memcpy_s(&usFlags, sizeof(usFlags), pucFlags, sizeof(usFlags));
    usFlags = static_cast<uint16_t>(usFlags | (BOL_OUTPUT_FLAG_KEY | BOL_OUTPUT_FLAG_ATTR));
    (void)memcpy_s(pucFlags, sizeof(usFlags), &usFlags, sizeof(usFlags));
    return BOL_OK;
}

/* ======================================================================== */
/* Memory helpers                                                            */
/* ======================================================================== */

void *BOL_SRPOLICY_Malloc(BOL_SRPOLICY_INSTANCE_S *pstInst, uint32_t ulSize)
{
    BOL_CHECK_PTR(pstInst, nullptr);
    if (ulSize == 0u) {
        return nullptr;
    }
    if (ulSize <= BOL_SRPOLICY_SCRATCH_LEN && pstInst->ulScratchInUse == 0u) {
        pstInst->ulScratchInUse = 1u;
        return pstInst->aucScratch;
    }
    return BOL_ALLOC(pstInst, ulSize);
}

void BOL_SRPOLICY_Free(void **ppvMem, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(ppvMem, );
    BOL_CHECK_PTR(*ppvMem, );
    BOL_CHECK_PTR(pstInst, );

    if (*ppvMem == static_cast<void *>(pstInst->aucScratch)) {
        pstInst->ulScratchInUse = 0u;
    } else {
        BOL_FREE(*ppvMem);
    }
    *ppvMem = nullptr;
}

/* ======================================================================== */
/* Dispatchers of this module                                                */
/* ======================================================================== */

uint32_t BOL_SRPOLICY_Data2Str(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, char *pcBuf, uint32_t ulBufLen,
                               uint32_t *pulOffset, uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pcBuf, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulOffset, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);

    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = BOL_SRPOLICY_GetData2StrEntry(ulType);
    if (pstRow == nullptr || pstRow->unHandler.pfnData2Str == nullptr) {
        return BOL_ERR_NO_STR_HANDLER;
    }
    return pstRow->unHandler.pfnData2Str(pstRtData, pcBuf, ulBufLen, pulOffset, pulMore, pstInst);
}

uint32_t BOL_SRPOLICY_ConstructSubsKey(void *pv1, uint32_t ulType, void *pv2, void *pv3, void *pv4)
{
    BOL_CHECK_PTR(pv1, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pv2, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pv3, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pv4, BOL_ERR_PARAM);

    const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = BOL_SRPOLICY_GetConstructSubsKeyEntry(ulType);
    if (pstRow == nullptr || pstRow->unHandler.pfnSubsKey == nullptr) {
        return BOL_SRPOLICY_ERR_PARA;
    }
    return pstRow->unHandler.pfnSubsKey(pv1, pv2, pv3, pv4);
}

/* The conditional-route subscription key needs nothing from this family. */
uint32_t BOL_SRPOLICY_Construct_CondRtSubsKey(void *pv1, void *pv2, void *pv3, void *pv4)
{
    (void)pv1;
    (void)pv2;
    (void)pv3;
    (void)pv4;
    return BOL_OK;
}

/* ======================================================================== */
/* Output records                                                            */
/* ======================================================================== */

uint32_t BOL_SRPOLICY_CalcOutputLen(const BOL_PARSE_DESC_S *pstDesc, uint32_t *pulLen)
{
    BOL_CHECK_PTR(pstDesc, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulLen, BOL_ERR_PARAM);

    if (pstDesc->pvKey != nullptr && pstDesc->ulKeyLen != BOL_SRPOLICY_NLRI_KEY_LEN) {
        /* The key section always holds one 28-byte key. */
        BOL_REPORT(pstDesc->ulKeyLen);
        return BOL_ERR_PARAM;
    }

    uint32_t ulTotal = BOL_PARSE_OUTPUT_HDR_LEN;
    if (pstDesc->pvKey != nullptr) {
        ulTotal += pstDesc->ulKeyLen;
    }
    if (pstDesc->pucAttr != nullptr) {
        ulTotal += pstDesc->usAttrLen;
    }
    if ((pstDesc->pvKey == nullptr && pstDesc->pucAttr == nullptr) || ulTotal == BOL_PARSE_OUTPUT_HDR_LEN) {
        return BOL_ERR_PARAM;
    }
    *pulLen = ulTotal;
    return BOL_OK;
}

namespace {

/* Copies one section into the block at *pusOffset and advances past it. */
void OutputSection(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain, uint16_t *pusOffset, const void *pvSrc,
                   uint32_t ulLen)
{
    uint8_t *pucBlock = reinterpret_cast<uint8_t *>(pstOut);
    int iRet = memcpy_s(pucBlock + *pusOffset, *pulRemain, pvSrc, ulLen);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }
    *pusOffset = static_cast<uint16_t>(*pusOffset + ulLen);
    *pulRemain -= (ulLen <= *pulRemain) ? ulLen : *pulRemain;
}

} /* namespace */

uint32_t BOL_SRPOLICY_OutputKey(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain, const BOL_PARSE_DESC_S *pstDesc,
                                uint16_t *pusOffset)
{
    BOL_CHECK_PTR(pstOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstDesc, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulRemain, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pusOffset, BOL_ERR_PARAM);

    if (pstDesc->pvKey == nullptr || *pulRemain == 0u) {
        return BOL_OK;
    }
    pstOut->ulOutFlags |= BOL_OUTPUT_FLAG_KEY;
    pstOut->usKeyLen = static_cast<uint16_t>(BOL_SRPOLICY_NLRI_KEY_LEN);
    pstOut->usKeyOffset = *pusOffset;
    OutputSection(pstOut, pulRemain, pusOffset, pstDesc->pvKey, BOL_SRPOLICY_NLRI_KEY_LEN);
    return BOL_OK;
}

uint32_t BOL_SRPOLICY_OutputAttr(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain, const BOL_PARSE_DESC_S *pstDesc,
                                 uint16_t *pusOffset)
{
    BOL_CHECK_PTR(pstOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstDesc, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulRemain, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pusOffset, BOL_ERR_PARAM);

    if (pstDesc->pucAttr == nullptr || *pulRemain == 0u) {
        return BOL_OK;
    }
    pstOut->ulOutFlags |= BOL_OUTPUT_FLAG_ATTR;
    pstOut->ucAttrFlag = pstDesc->ucAttrFlag;
    pstOut->ucAttrType = pstDesc->ucAttrType;
    pstOut->usAttrOffset = *pusOffset;
    pstOut->usAttrLen = pstDesc->usAttrLen;
    OutputSection(pstOut, pulRemain, pusOffset, pstDesc->pucAttr, pstDesc->usAttrLen);
    return BOL_OK;
}

uint32_t BOL_SRPOLICY_OutputData(void **ppvOut, const BOL_PARSE_DESC_S *pstDesc, uint32_t ulMemModuleId)
{
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstDesc, BOL_ERR_PARAM);
    if (ulMemModuleId == 0u) {
        BOL_REPORT(ulMemModuleId);
        return BOL_ERR_PARAM;
    }

    uint32_t ulTotal = 0u;
    uint32_t ulRet = BOL_SRPOLICY_CalcOutputLen(pstDesc, &ulTotal);
    if (ulRet != BOL_OK) {
        return ulRet;
    }

    void *pvBlock = ZUN_SimpleAlloc_F(ulMemModuleId, ulTotal, BOL_THIS_MODULE, __LINE__);
    if (pvBlock == nullptr) {
        BOL_REPORT(ulTotal);
        return BOL_ERR_MALLOC;
    }
    int iRet = memset_s(pvBlock, ulTotal, 0, ulTotal);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }

    BOL_PARSE_OUTPUT_S *pstOut = static_cast<BOL_PARSE_OUTPUT_S *>(pvBlock);
    uint16_t usOffset = static_cast<uint16_t>(BOL_PARSE_OUTPUT_HDR_LEN);
    uint32_t ulRemain = ulTotal - BOL_PARSE_OUTPUT_HDR_LEN;
    (void)BOL_SRPOLICY_OutputKey(pstOut, &ulRemain, pstDesc, &usOffset);
    (void)BOL_SRPOLICY_OutputAttr(pstOut, &ulRemain, pstDesc, &usOffset);

    *ppvOut = pvBlock;
    return BOL_OK;
}

/* ======================================================================== */
/* Route checks and counters                                                 */
/* ======================================================================== */

namespace {

/* Counter index of a route: 1 IPv4 endpoints, 2 IPv6 endpoints, 0 others. */
uint32_t RtCountIndex(const BOL_SRPOLICY_NLRI_S *pstKey)
{
    if (pstKey->ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4) {
        return 1u;
    }
    if (pstKey->ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV6) {
        return 2u;
    }
    return 0u;
}

} /* namespace */

uint32_t BOL_SRPOLICY_CheckRoute(const BOL_RT_DATA_S *pstRtData, uint32_t ulCheckKind, uint32_t *pulValid)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulValid, BOL_ERR_PARAM);

    const BOL_SRPOLICY_NLRI_S *pstKey = pstRtData->pstKey;
    if (pstKey == nullptr || pstRtData->ulKeyLen != BOL_SRPOLICY_NLRI_KEY_LEN) {
        return BOL_SRPOLICY_ERR;
    }
    *pulValid = 1u;
    if (ulCheckKind != BOL_SRPOLICY_CHECK_ENDPOINT) {
        return BOL_OK;
    }
    if (pstKey->ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4) {
        return BOL_SRPOLICY_CheckSRv4Route(pstKey, pulValid);
    }
    if (pstKey->ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV6) {
        return BOL_SRPOLICY_CheckSRv6Route(pstKey, pulValid);
    }
    *pulValid = 0u;
    return BOL_OK;
}

/* Loopback 127/8, multicast 224/4 and 0/8 other than 0.0.0.0 are refused. */
uint32_t BOL_SRPOLICY_CheckSRv4Route(const BOL_SRPOLICY_NLRI_S *pstKey, uint32_t *pulValid)
{
    BOL_CHECK_PTR(pstKey, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulValid, BOL_ERR_PARAM);

    uint32_t ulAddr = pstKey->aulEndpoint[0];
    uint32_t ulTopByte = ulAddr >> 24;
    bool bLoopback = (ulTopByte == 127u);
    bool bMulticast = ((ulAddr >> 28) == 0xEu);
    bool bThisNet = (ulTopByte == 0u && ulAddr != 0u);
    if (bLoopback || bMulticast || bThisNet) {
        *pulValid = 0u;
    }
    return BOL_OK;
}

/* Only the unspecified address :: is refused. */
uint32_t BOL_SRPOLICY_CheckSRv6Route(const BOL_SRPOLICY_NLRI_S *pstKey, uint32_t *pulValid)
{
    BOL_CHECK_PTR(pstKey, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulValid, BOL_ERR_PARAM);

    uint32_t ulAny = pstKey->aulEndpoint[0] | pstKey->aulEndpoint[1] | pstKey->aulEndpoint[2] |
                     pstKey->aulEndpoint[3];
    if (ulAny == 0u) {
        *pulValid = 0u;
    }
    return BOL_OK;
}

uint32_t BOL_SRPOLICY_SetRtCount(const BOL_RT_DATA_S *pstRtData, uint32_t *pulCounters, uint32_t ulCounterNum,
                                 uint32_t ulAdd, uint32_t ulAmount)
{
    if (pstRtData == nullptr || pstRtData->pstKey == nullptr) {
        return BOL_SRPOLICY_ERR_PARA;
    }
    uint32_t ulIndex = RtCountIndex(pstRtData->pstKey);
    if (ulIndex >= ulCounterNum) {
        return BOL_SRPOLICY_ERR_PARA;
    }
    if (ulAdd != 0u) {
        pulCounters[ulIndex] += ulAmount;
    } else {
        pulCounters[ulIndex] -= ulAmount;
    }
    return BOL_OK;
}

uint32_t BOL_SRPOLICY_GetRtCount(const uint32_t *pulCounters, uint32_t ulCounterNum, uint32_t ulIndex,
                                 uint32_t *pulCount)
{
    /* index + 1 > number, without the overflow of index + 1. */
    if (ulIndex >= ulCounterNum) {
        return BOL_SRPOLICY_ERR_PARA;
    }
    if (ulIndex == 1u || ulIndex == 2u) {
        *pulCount = pulCounters[ulIndex];
    }
    return BOL_OK;
}

} /* extern "C" */

/* ======================================================================== */
/* Attribute record release                                                 */
/* ======================================================================== */

/* Not built yet: answers as if nothing could be done. */
extern "C" void BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                             BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    (void)pstAttr;
    (void)pstInst;
}

/* ======================================================================== */
/* Segment-list validation                                                  */
/* ======================================================================== */

/* ======================================================================== */
/* Text helpers and NLRI text                                               */
/* ======================================================================== */

/* ======================================================================== */
/* Attribute text                                                           */
/* ======================================================================== */

/* Not built yet: answers as if nothing could be done. */
extern "C" uint32_t BOL_SRPOLICY_OutputTunnelEncapAttr(const uint8_t *pucTlv, uint32_t ulAttrLen, uint32_t ulRoom,
                                                      char *pcBuf, uint32_t *pulOffset, uint32_t *pulMore)
{
    (void)pucTlv;
    (void)ulAttrLen;
    (void)ulRoom;
    (void)pcBuf;
    (void)pulOffset;
    (void)pulMore;
    return BOL_ERR_NO_HANDLER;
}

/* ======================================================================== */
/* Segment list text                                                        */
/* ======================================================================== */

/* ======================================================================== */
/* Configuration size arithmetic                                            */
/* ======================================================================== */

/*
 * Every piece of the configured-tunnel encoding has a size fixed by the
 * configuration alone, so the whole attribute is sized before a byte is
 * written. The encoder sizes each of its writes with these same functions,
 * so it can never write past what was computed here.
 */
namespace {

const uint32_t kSegListHdrLen = 4u;    /* type 128, 2-byte length, reserved byte */
const uint32_t kSubTlvHdrLen = 2u;     /* type and 1-byte length */
const uint32_t kBsidLenLabel = 8u;     /* binding SID with an MPLS label */
const uint32_t kBsidLenSrv6 = 20u;     /* binding SID with a 16-byte SID */
const uint32_t kBsidLenFlagsOnly = 4u; /* binding SID with flags only */
const uint32_t kSRv6BsidLenShort = 20u;
const uint32_t kSRv6BsidLenLong = 28u; /* B-flag: behavior and structure follow */
const uint32_t kSegLenMpls = 8u;
const uint32_t kSegLenSrv6 = 20u;
const uint32_t kNoLabel = 0xFFFFFFFFu; /* a label slot that is not set */

uint32_t SegListSize(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList)
{
    uint32_t ulSize = 0u;
    if (pstSegList->ucWeightExist == 1u) {
        ulSize += BOL_SRPOLICY_U32_SUBTLV_LEN;
    }
    if (pstSegList->ucPathMtuExist == 1u) {
        ulSize += BOL_SRPOLICY_U32_SUBTLV_LEN;
    }
    uint32_t ulBsidLen = BOL_SRPOLICY_CalculateSegmentListBSidLen(pstSegList) & 0xFFu;
    if (ulBsidLen != 0u) {
        ulSize += ulBsidLen + kSubTlvHdrLen;
    }
    /* Segments past the count have no size; the walk stops at the count. */
    for (uint32_t i = 0; i < pstSegList->ucSegNum; i++) {
        ulSize += BOL_SRPOLICY_CalculateSegmentLen(pstSegList, i);
    }
    return ulSize;
}

} /* namespace */

extern "C" {

uint32_t BOL_SRPOLICY_GetSrpType1SegmentValue(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList, uint32_t ulIndex)
{
    BOL_CHECK_PTR(pstSegList, 0u);
    if (ulIndex < 1u || ulIndex > BOL_SRPOLICY_CFG_MAX_SEGS) {
        BOL_REPORT(ulIndex);
        return 0u;
    }
    return pstSegList->aulSegValue[ulIndex - 1u];
}

uint32_t BOL_SRPOLICY_CalculateSegmentLen(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList, uint32_t ulIndex)
{
    BOL_CHECK_PTR(pstSegList, 0u);
    uint32_t ulSegNum = pstSegList->ucSegNum;
    if (ulIndex >= ulSegNum || ulIndex >= BOL_SRPOLICY_CFG_MAX_SEGS) {
        return 0u;
    }
    if (pstSegList->ucSegType == BOL_SRPOLICY_SEG_MPLS) {
        return (BOL_SRPOLICY_GetSrpType1SegmentValue(pstSegList, ulIndex + 1u) != kNoLabel) ? kSegLenMpls : 0u;
    }
    if (pstSegList->ucSegType == BOL_SRPOLICY_SEG_SRV6) {
        const uint32_t *pulSid = BOL_SRPOLICY_GetSrpType2SegmentValue(pstSegList, ulIndex);
        return (pulSid != nullptr && bol::AnyWord(pulSid)) ? kSegLenSrv6 : 0u;
    }
    return 0u;
}

uint32_t BOL_SRPOLICY_CalculateSegmentListBSidLen(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList)
{
    BOL_CHECK_PTR(pstSegList, 0u);
    /* One SID with its optional behavior and structure. */
    uint32_t ulSidLen = ((pstSegList->ucBsidFlags & BOL_SRPOLICY_CFG_SLBSID_FLAG_SRV6) != 0u) ? 16u : 4u;
    if ((pstSegList->ucBsidFlags & BOL_SRPOLICY_CFG_SLBSID_FLAG_EXT) != 0u) {
        ulSidLen += 8u;
    }
    if (bol::AnyWord(pstSegList->aulReverseBsid)) {
        return 2u * ulSidLen + 2u;
    }
    if (bol::AnyWord(pstSegList->aulBsid)) {
        return ulSidLen + 2u;
    }
    return 0u;
}

uint32_t BOL_SRPOLICY_CalculateSegmentListLen(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList, uint16_t *pusLen)
{
    BOL_CHECK_PTR(pstSegList, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pusLen, BOL_ERR_PARAM);
    *pusLen = static_cast<uint16_t>(*pusLen + SegListSize(pstSegList));
    return BOL_OK;
}

void BOL_SRPOLICY_CalculateBsidLen(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint16_t *pusSize)
{
    BOL_CHECK_PTR(pstCfg, );
    BOL_CHECK_PTR(pusSize, );
    if (pstCfg->ucBsidExist != 1u) {
        return;
    }
    if (pstCfg->ulBsidLabel != 0u) {
        *pusSize = static_cast<uint16_t>(kBsidLenLabel);
    } else if (bol::AnyWord(pstCfg->aulBsidV6)) {
        *pusSize = static_cast<uint16_t>(kBsidLenSrv6);
    } else {
        *pusSize = static_cast<uint16_t>(kBsidLenFlagsOnly);
    }
}

uint32_t BOL_SRPOLICY_CalculateSRv6BsidLen(const BOL_SRPOLICY_CFG_SRV6_BSID_S *pstBsid)
{
    BOL_CHECK_PTR(pstBsid, 0u);
    return ((pstBsid->ucFlags & BOL_SRPOLICY_CFG_SRV6_BSID_FLAG_B) != 0u) ? kSRv6BsidLenLong : kSRv6BsidLenShort;
}

uint64_t BOL_SRPOLICY_CalculateTunAttrSize(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg)
{
    BOL_CHECK_PTR(pstCfg, 0u);

    uint64_t ullTotal = BOL_SRPOLICY_TUNNEL_HDR_LEN;
    if (pstCfg->ucPrefExist == 1u) {
        ullTotal += BOL_SRPOLICY_U32_SUBTLV_LEN;
    }
    uint16_t usBsidLen = 0u;
    BOL_SRPOLICY_CalculateBsidLen(pstCfg, &usBsidLen);
    ullTotal += usBsidLen;
    (void)bol::ForEachNode<BOL_SRPOLICY_CFG_SEGLIST_S>(&pstCfg->stSegLists,
                                                        [&ullTotal](const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList) {
                                                            ullTotal += kSegListHdrLen + SegListSize(pstSegList);
                                                            return 0u;
                                                        });
    if (pstCfg->ucCfgModuleIdExist == 1u) {
        ullTotal += BOL_SRPOLICY_U32_SUBTLV_LEN;
    }
    if (pstCfg->ucSliceIdExist == 1u) {
        ullTotal += BOL_SRPOLICY_U32_SUBTLV_LEN;
    }
    (void)bol::ForEachNode<BOL_SRPOLICY_CFG_SRV6_BSID_S>(&pstCfg->stSRv6BsidList,
                                                          [&ullTotal](const BOL_SRPOLICY_CFG_SRV6_BSID_S *pstBsid) {
                                                              ullTotal += BOL_SRPOLICY_CalculateSRv6BsidLen(pstBsid);
                                                              return 0u;
                                                          });
    return ullTotal;
}

void BOL_SRPOLICY_CalculateTunAttrLen(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint16_t *pusTotal)
{
    BOL_CHECK_PTR(pstCfg, );
    BOL_CHECK_PTR(pusTotal, );
    /* 16-bit arithmetic: the sum wraps modulo 65536. */
    *pusTotal = static_cast<uint16_t>(*pusTotal + BOL_SRPOLICY_CalculateTunAttrSize(pstCfg));
}

} /* extern "C" */
