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
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_SRPOLICY_ParseTunnelEncapsulationAttribute},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_PKT_FORMAT_TBL[3] = {
    {BOL_SRPOLICY_PATTR_MP_REACH, BOL_NO_HANDLER},
    {BOL_SRPOLICY_PATTR_MP_UNREACH, BOL_NO_HANDLER},
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_SRPOLICY_FormatTunnelEncapsulationAttribute},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_SET_ATTR_TBL[1] = {
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_SRPOLICY_SetTunnelEncapsulationAttr},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_MSG_PARSE_TBL[2] = {
    {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY, BOL_NO_HANDLER},
    {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY_ALT, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_MSG_FORMAT_TBL[3] = {
    {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY, BOL_NO_HANDLER},
    {BOL_SRPOLICY_MSG_CONDRT_RTKEY, BOL_NO_HANDLER},
    {BOL_SRPOLICY_MSG_CONDRT_ATTR, BOL_NO_HANDLER},
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
    {BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_ATTR_MSG_FORMAT_TBL[1] = {
    {BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CFG_PARSE_TBL[2] = {
    {BOL_SRPOLICY_CFG_PREFIX, BOL_NO_HANDLER},
    {BOL_SRPOLICY_CFG_TNL_ENCAP, BOL_NO_HANDLER},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CFG_FORMAT_TBL[2] = {
    {BOL_SRPOLICY_CFG_PREFIX, BOL_NO_HANDLER},
    {BOL_SRPOLICY_CFG_TNL_ENCAP, BOL_NO_HANDLER},
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
    {BOL_SRPOLICY_SUBTLV_PREF, BOL_SRPOLICY_ParseSubTlv_Preference},
    {BOL_SRPOLICY_SUBTLV_BSID, BOL_SRPOLICY_ParseSubTlv_BSID},
    {BOL_SRPOLICY_SUBTLV_SEGLIST, BOL_SRPOLICY_ParseSubTlv_SegmentList},
    {BOL_SRPOLICY_SUBTLV_CFG_MODULE_ID, BOL_SRPOLICY_ParseSubTlv_CfgModuleId},
    {BOL_SRPOLICY_SUBTLV_PRIV_SLICE_ID, BOL_SRPOLICY_ParseSubTlv_SliceId},
    {BOL_SRPOLICY_SUBTLV_SRV6_BSID, BOL_SRPOLICY_ParseSubTlv_SRv6BSID},
    {BOL_SRPOLICY_SUBTLV_CPATH_NAME, BOL_SRPOLICY_ParseSubTlv_CPathName},
    {BOL_SRPOLICY_SUBTLV_POLICY_NAME, BOL_SRPOLICY_ParseSubTlv_PolicyName},
    {BOL_SRPOLICY_SUBTLV_STD_SLICE_ID, BOL_SRPOLICY_ParseSubTlv_Standard_SliceId},
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
    {0u, BOL_NO_HANDLER},
    {1u, BOL_SRPOLICY_CheckSegmentType1Vaild},
    {2u, BOL_SRPOLICY_CheckSegmentType2Vaild},
    {3u, BOL_SRPOLICY_CheckSegmentType3Vaild},
    {4u, BOL_SRPOLICY_CheckSegmentType4Vaild},
    {5u, BOL_SRPOLICY_CheckSegmentType5Vaild},
    {6u, BOL_SRPOLICY_CheckSegmentType6Vaild},
    {7u, BOL_SRPOLICY_CheckSegmentType7Vaild},
    {8u, BOL_SRPOLICY_CheckSegmentType8Vaild},
};

/* Conditional-route attribute message items, visited in row order. */
const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_FORMAT_CONDRTATTR_TBL[8] = {
    {2u, BOL_NO_HANDLER}, {3u, BOL_NO_HANDLER}, {4u, BOL_NO_HANDLER}, {5u, BOL_NO_HANDLER},
    {7u, BOL_NO_HANDLER}, {8u, BOL_NO_HANDLER}, {9u, BOL_NO_HANDLER}, {10u, BOL_NO_HANDLER},
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

namespace {

/* Unlinks and frees every node of a list, reading each successor before its
 * node goes; the head itself stays. */
void FreeListNodes(BOL_SRPOLICY_LIST_HEAD_S *pstList)
{
    if (pstList->ulCount == 0u || pstList->stHead.pstNext == nullptr) {
        return;
    }
    BOL_SRPOLICY_LIST_NODE_S *pstNode = pstList->stHead.pstNext;
    while (pstNode != &pstList->stHead && pstNode != nullptr) {
        BOL_SRPOLICY_LIST_NODE_S *pstNext = pstNode->pstNext;
        DLL_Delete(pstList, pstNode);
        BOL_FREE(pstNode);
        pstNode = pstNext;
    }
}

/* Frees an owned buffer if set and nulls the field. */
void FreeOwned(uint8_t *&pucBuf)
{
    if (pucBuf != nullptr) {
        BOL_FREE(pucBuf);
        pucBuf = nullptr;
    }
}

} /* namespace */

extern "C" void BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                             BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    if (pstAttr == nullptr) {
        return;
    }
    FreeOwned(pstAttr->pucPolicyName);
    FreeOwned(pstAttr->pucCPathName);
    FreeOwned(pstAttr->pucRealPrivAttr);
    if (pstAttr->pstSegListHead != nullptr) {
        FreeListNodes(pstAttr->pstSegListHead);
        BOL_FREE(pstAttr->pstSegListHead);
        pstAttr->pstSegListHead = nullptr;
    }
    FreeListNodes(&pstAttr->stSRv6BsidList);

    void *pvAttr = pstAttr;
    BOL_SRPOLICY_Free(&pvAttr, pstInst);
}

/* ======================================================================== */
/* Segment-list validation                                                  */
/* ======================================================================== */

namespace {

/* Segment value layouts that the clearing step knows: flags (1), reserved (1),
 * then a 32-bit weight or path MTU. */
const uint32_t kSegFlaggedU32Len = 6u;
/* Rows of the check table; a segment type below this indexes it. */
const uint32_t kCheckRows =
    static_cast<uint32_t>(sizeof(g_astBOL_SRPOLICY_CHECK_SUBTLV_TBL) / sizeof(g_astBOL_SRPOLICY_CHECK_SUBTLV_TBL[0]));

/* The value length is one of the accepted ones. */
template <size_t N>
uint32_t CheckSegLen(uint32_t ulLen, const uint32_t (&aulAccepted)[N])
{
    for (uint32_t ulAccepted : aulAccepted) {
        if (ulLen == ulAccepted) {
            return BOL_OK;
        }
    }
    return BOL_ERR_SUBTLV_INVALID;
}

/* A once-only segment: accepted length, and not seen before in this list. */
uint32_t CheckOnce(bool bLenOk, uint32_t *pulSeen)
{
    if (!bLenOk || *pulSeen != 0u) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    *pulSeen = 1u;
    return BOL_OK;
}

/* The check in row ulType of the table, null when the row has none or the
 * type has no row. */
BOL_SRPOLICY_SEG_CHECK_PF RowCheck(uint32_t ulType)
{
    return (ulType < kCheckRows) ? g_astBOL_SRPOLICY_CHECK_SUBTLV_TBL[ulType].unHandler.pfnSegCheck : nullptr;
}

/* The once-only markers of one validation. */
struct SegMarkers {
    uint32_t ulWeightSeen;
    uint32_t ulMtu13Seen;
    uint32_t ulMtu220Seen;
};

/* Checks one segment by its type; types without a check are accepted.
 * Types 1 to 8 (the usual label and SID segments) come from the table. */
uint32_t CheckOneSegment(uint32_t ulType, const bol::View &stSeg, SegMarkers &stMarkers)
{
    const uint8_t *pucEnd = stSeg.puc + stSeg.ulLen;
    if (ulType >= 1u && ulType < kCheckRows) {
        BOL_SRPOLICY_SEG_CHECK_PF pfnCheck = RowCheck(ulType);
        return (pfnCheck != nullptr) ? pfnCheck(stSeg.puc, pucEnd, stSeg.ulLen, ulType)
                                     : BOL_SRPOLICY_CheckSubTlvValid(stSeg.puc, pucEnd, stSeg.ulLen, ulType);
    }
    if (ulType == BOL_SRPOLICY_SEG_WEIGHT) {
        return BOL_SRPOLICY_CheckSegmenWeightVaild(stSeg.puc, pucEnd, stSeg.ulLen, &stMarkers.ulWeightSeen);
    }
    if (ulType == BOL_SRPOLICY_SEG_TYPE13) {
        return BOL_SRPOLICY_CheckSegmentType13Vaild(ulType, stSeg.ulLen, &stMarkers.ulMtu13Seen);
    }
    if (ulType == BOL_SRPOLICY_SEG_PATH_MTU) {
        return BOL_SRPOLICY_CheckSegmentType220Vaild(stSeg.ulLen, &stMarkers.ulMtu220Seen);
    }
    if (ulType == BOL_SRPOLICY_SEG_BSID) {
        return BOL_SRPOLICY_CheckSegmentListBSidValid(stSeg.puc, pucEnd, stSeg.ulLen);
    }
    return BOL_OK;
}

} /* namespace */

extern "C" {

/* Value: a reserved byte, then segment sub-TLVs with 1-byte type and length. */
uint32_t BOL_SRPOLICY_CheckSegmentListVaild(const uint8_t *pucValue, uint32_t ulLen)
{
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    if (ulLen <= 1u) {
        return BOL_OK;
    }
    bol::Reader stRd = bol::MakeReader(const_cast<uint8_t *>(pucValue), ulLen);
    (void)bol::Skip(stRd, 1u);
    SegMarkers stMarkers = {0u, 0u, 0u};
    while (stRd.ulLeft != 0u) {
        uint8_t ucType = 0u;
        bol::View stSeg = {nullptr, 0u};
        if (!bol::ReadTlv8(stRd, ucType, stSeg)) {
            return BOL_ERR_SUBTLV_MALFORMED;
        }
        uint32_t ulRet = CheckOneSegment(ucType, stSeg, stMarkers);
        if (ulRet != BOL_OK) {
            return ulRet;
        }
    }
    return BOL_OK;
}

/* Clears the flags of the first weight, or the flags and reserved byte of
 * the first type-13 path MTU, whichever comes first; nothing else. */
void BOL_SRPOLICY_SetSegmentSubTlvNoDefFeild2Zero(uint8_t *pucValue, uint32_t ulLen)
{
    BOL_CHECK_PTR(pucValue, );
    if (ulLen <= 1u) {
        return;
    }
    bol::Reader stRd = bol::MakeReader(pucValue, ulLen);
    (void)bol::Skip(stRd, 1u);
    uint8_t ucType = 0u;
    bol::View stSeg = {nullptr, 0u};
    while (bol::ReadTlv8(stRd, ucType, stSeg)) {
        if (ucType == BOL_SRPOLICY_SEG_WEIGHT) {
            bol::SetU8(stSeg, 0u, 0u);
            return;
        }
        if (ucType == BOL_SRPOLICY_SEG_TYPE13 && stSeg.ulLen == kSegFlaggedU32Len) {
            bol::SetU16(stSeg, 0u, 0u);
            return;
        }
    }
}

uint32_t BOL_SRPOLICY_CheckSubTlvValid(const uint8_t *pucValue, const uint8_t *pucEnd, uint32_t ulLen,
                                       uint32_t ulType)
{
    BOL_SRPOLICY_SEG_CHECK_PF pfnCheck = RowCheck(ulType);
    if (pfnCheck == nullptr) {
        char acText[BOL_REPORT_TEXT_LEN];
        (void)memset_s(acText, sizeof(acText), 0, sizeof(acText));
        (void)snprintf_s(acText, sizeof(acText), sizeof(acText) - 1u, "Type:%u", ulType);
        BOL_REPORT(reinterpret_cast<uintptr_t>(acText));
        return BOL_OK;
    }
    return pfnCheck(pucValue, pucEnd, ulLen, ulType);
}

/* Accepted value lengths of segment types 1 to 8, one check per type. */
#define BOL_SEG_TYPE_CHECK(name, ...)                                                                  \
    uint32_t name(const uint8_t *pucValue, const uint8_t *pucEnd, uint32_t ulLen, uint32_t ulType)      \
    {                                                                                                  \
        (void)ulType;                                                                                  \
        BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);                                                        \
        BOL_CHECK_PTR(pucEnd, BOL_ERR_PARAM);                                                          \
        static const uint32_t aulAccepted[] = {__VA_ARGS__};                                           \
        return CheckSegLen(ulLen, aulAccepted);                                                        \
    }

BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType1Vaild, 6u)
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType2Vaild, 18u)
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType3Vaild, 6u, 10u)
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType4Vaild, 18u, 22u)
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType5Vaild, 10u, 14u)
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType6Vaild, 10u, 14u)
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType7Vaild, 22u, 26u, 42u, 46u)
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType8Vaild, 34u, 38u)
/* The SID encoding check is kept for hosts that call it; nothing here does. */
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentSidEncodingVaild, 6u)

#undef BOL_SEG_TYPE_CHECK

uint32_t BOL_SRPOLICY_CheckSegmenWeightVaild(const uint8_t *pucValue, const uint8_t *pucEnd, uint32_t ulLen,
                                             uint32_t *pulWeightSeen)
{
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucEnd, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulWeightSeen, BOL_ERR_PARAM);
    return CheckOnce(ulLen == kSegFlaggedU32Len, pulWeightSeen);
}

/* Type 13: a path MTU (length 6, once) or an SRv6 SID form (18 and longer,
 * any number). */
uint32_t BOL_SRPOLICY_CheckSegmentType13Vaild(uint32_t ulType, uint32_t ulLen, uint32_t *pulMtuSeen)
{
    (void)ulType;
    BOL_CHECK_PTR(pulMtuSeen, BOL_ERR_PARAM);
    const uint32_t ulSidFormMin = 18u;
    if (ulLen >= ulSidFormMin) {
        return BOL_OK;
    }
    return CheckOnce(ulLen == kSegFlaggedU32Len, pulMtuSeen);
}

uint32_t BOL_SRPOLICY_CheckSegmentType220Vaild(uint32_t ulLen, uint32_t *pulMtuSeen)
{
    BOL_CHECK_PTR(pulMtuSeen, BOL_ERR_PARAM);
    return CheckOnce(ulLen == kSegFlaggedU32Len, pulMtuSeen);
}

/* Flags (1), reserved (1), then one binding SID or two (the second is the
 * reverse one). Flag 0x80: SIDs of 16 bytes, else 4; flag 0x40: each SID is
 * followed by 8 bytes of behavior, reserved and structure. */
uint32_t BOL_SRPOLICY_CheckSegmentListBSidValid(const uint8_t *pucValue, const uint8_t *pucEnd, uint32_t ulLen)
{
    (void)pucEnd;
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    const uint32_t ulHdrLen = 2u;
    if (ulLen < ulHdrLen) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    uint8_t ucFlags = bol::GetU8(bol::MakeView(const_cast<uint8_t *>(pucValue), ulLen), 0u);
    uint32_t ulSidLen = ((ucFlags & 0x80u) != 0u) ? 16u : 4u;
    if ((ucFlags & 0x40u) != 0u) {
        ulSidLen += 8u;
    }
    if (ulLen == ulHdrLen + ulSidLen || ulLen == ulHdrLen + 2u * ulSidLen) {
        return BOL_OK;
    }
    return BOL_ERR_SUBTLV_INVALID;
}

} /* extern "C" */

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
