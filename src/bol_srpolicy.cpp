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

bool WriterMismatch(const Writer &stWr, bool bFilled, const char *pcModule, uint32_t ulLine)
{
    if (stWr.ulShort != 0u) {
        ReportCode(pcModule, ulLine, "sizeMismatch:%d", static_cast<int>(stWr.ulShort & 0x7FFFFFFFu));
        return false;
    }
    if (bFilled && stWr.ulRoom != 0u) {
        ReportCode(pcModule, ulLine, "sizeMismatch:%d", -static_cast<int>(stWr.ulRoom & 0x7FFFFFFFu));
        return false;
    }
    return true;
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
    {BOL_SRPOLICY_PATTR_MP_REACH, BOL_SRPOLICY_ParseMpNlri},
    {BOL_SRPOLICY_PATTR_MP_UNREACH, BOL_SRPOLICY_ParseMpUnNlri},
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_SRPOLICY_ParseTunnelEncapsulationAttribute},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_PKT_FORMAT_TBL[3] = {
    {BOL_SRPOLICY_PATTR_MP_REACH, BOL_SRPOLICY_FormatMpNlri},
    {BOL_SRPOLICY_PATTR_MP_UNREACH, BOL_SRPOLICY_FormatMpUnNlri},
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_SRPOLICY_FormatTunnelEncapsulationAttribute},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_SET_ATTR_TBL[1] = {
    {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_SRPOLICY_SetTunnelEncapsulationAttr},
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
    {BOL_SRPOLICY_HAMSG_PREFIX, BOL_SRPOLICY_ParseHaRtPrefixTlv},
    {BOL_SRPOLICY_HAMSG_PREFIX_ALT, BOL_SRPOLICY_ParseHaRtPrefixTlv},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_HA_MSG_FORMAT_TBL[2] = {
    {BOL_SRPOLICY_HAMSG_PREFIX, BOL_SRPOLICY_FormatHaRtPrefixTlv},
    {BOL_SRPOLICY_HAMSG_PREFIX_ALT, BOL_SRPOLICY_FormatHaRtPrefixTlv},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_ATTR_MSG_PARSE_TBL[1] = {
    {BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_ATTR_MSG_FORMAT_TBL[1] = {
    {BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, BOL_SRPOLICY_FormatTunnelEncapsAttrTlv},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CFG_PARSE_TBL[2] = {
    {BOL_SRPOLICY_CFG_PREFIX, BOL_SRPOLICY_ParseCfgPrefix},
    {BOL_SRPOLICY_CFG_TNL_ENCAP, BOL_SRPOLICY_ParseCfgTunnelEncapsulation},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CFG_FORMAT_TBL[2] = {
    {BOL_SRPOLICY_CFG_PREFIX, BOL_SRPOLICY_FormatCfgPrefix},
    {BOL_SRPOLICY_CFG_TNL_ENCAP, BOL_SRPOLICY_FormatCfgTunnelEncapsulation},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CMP_DATA_TBL[2] = {
    {BOL_SRPOLICY_CMP_KEY, BOL_SRPOLICY_CmpKey},
    {BOL_SRPOLICY_CMP_ATTR, BOL_SRPOLICY_CmpAttr},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_DATA2STR_TBL[2] = {
    {BOL_SRPOLICY_STR_KEY, BOL_SRPOLICY_MpNlriData2Str},
    {BOL_SRPOLICY_STR_ATTR, BOL_SRPOLICY_TunnelEncapsulationAttr2Str},
};

const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CONSTRUCT_SUBSKEY_TBL[1] = {
    {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY, BOL_SRPOLICY_Construct_CondRtSubsKey},
};

/* Sub-TLV decoders of the attribute walk; the order is the contract's.
 * constexpr so that the walk's type index below is built from it. */
constexpr BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL[9] = {
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

} /* extern "C" */

namespace bol {

namespace {

/* The row of each sub-TLV type, built from the table at compile time: the
 * first row that names the type, as the search finds it. */
template <size_t N>
constexpr SubTlvRowIndex MakeSubTlvRowIndex(const BOL_SRPOLICY_PROC_ENTRY_S (&astTbl)[N])
{
    static_assert(N < 255u, "a row number and the no-row mark fit a byte");
    SubTlvRowIndex stIndex = {};
    for (size_t i = N; i-- > 0;) {
        if (astTbl[i].ulType < sizeof(stIndex.aucRowPlus1)) {
            stIndex.aucRowPlus1[astTbl[i].ulType] = static_cast<uint8_t>(i + 1u);
        }
    }
    return stIndex;
}

} /* namespace */

constexpr SubTlvRowIndex g_stSubTlvParseRows = MakeSubTlvRowIndex(g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL);

namespace {

/* Whether the row a sub-TLV type finds holds this decoder. */
constexpr bool RowDecodesWith(uint32_t ulType, BOL_SRPOLICY_SUBTLV_PARSE_PF pfnDecode)
{
    return g_stSubTlvParseRows.aucRowPlus1[ulType] != 0u &&
           g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL[g_stSubTlvParseRows.aucRowPlus1[ulType] - 1u]
                   .unHandler.pfnSubTlvParse == pfnDecode;
}

} /* namespace */

/* The attribute walk runs the bodies of these rows' decoders in place of the
 * call through the row. */
static_assert(RowDecodesWith(BOL_SRPOLICY_SUBTLV_SEGLIST, BOL_SRPOLICY_ParseSubTlv_SegmentList) &&
                  RowDecodesWith(BOL_SRPOLICY_SUBTLV_PREF, BOL_SRPOLICY_ParseSubTlv_Preference) &&
                  RowDecodesWith(BOL_SRPOLICY_SUBTLV_BSID, BOL_SRPOLICY_ParseSubTlv_BSID) &&
                  RowDecodesWith(BOL_SRPOLICY_SUBTLV_CPATH_NAME, BOL_SRPOLICY_ParseSubTlv_CPathName) &&
                  RowDecodesWith(BOL_SRPOLICY_SUBTLV_POLICY_NAME, BOL_SRPOLICY_ParseSubTlv_PolicyName),
              "the sub-TLV rows the attribute walk decodes in place");

} /* namespace bol */

extern "C" {

/* Sub-TLV printers of the attribute text; same order as the decoders. */
const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_OUTPUT_TNLENCAP_TBL[9] = {
    {BOL_SRPOLICY_SUBTLV_PREF, BOL_SRPOLICY_OutputPreferenceData},
    {BOL_SRPOLICY_SUBTLV_BSID, BOL_SRPOLICY_OutputBSIDData},
    {BOL_SRPOLICY_SUBTLV_SEGLIST, BOL_SRPOLICY_OutputSegmentList},
    {BOL_SRPOLICY_SUBTLV_CFG_MODULE_ID, BOL_SRPOLICY_OutputCfgModuleData},
    {BOL_SRPOLICY_SUBTLV_PRIV_SLICE_ID, BOL_SRPOLICY_OutputSliceIdData},
    {BOL_SRPOLICY_SUBTLV_SRV6_BSID, BOL_SRPOLICY_OutputSRv6BSIDData},
    {BOL_SRPOLICY_SUBTLV_CPATH_NAME, BOL_SRPOLICY_OutputCPathName},
    {BOL_SRPOLICY_SUBTLV_POLICY_NAME, BOL_SRPOLICY_OutputPolicyName},
    {BOL_SRPOLICY_SUBTLV_STD_SLICE_ID, BOL_SRPOLICY_OutputSliceIdData},
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

extern "C" {

#define BOL_DEFINE_LOOKUP(name, table)                                        \
    const BOL_SRPOLICY_PROC_ENTRY_S *name(uint32_t ulType)                    \
    {                                                                         \
        return bol::FindRow(table, ulType);                                   \
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

/* The second header word holds the bytes 01 03 02 01 in memory, on either
 * byte order, written as one 32-bit store. */
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
#define BOL_PROC_TBL_HDR_WORD1 0x01030201u
#else
#define BOL_PROC_TBL_HDR_WORD1 0x01020301u
#endif

void BOL_SRPOLICY_InitProcTbl(BOL_PROC_TBL_S *pstProcTbl)
{
    pstProcTbl->ulHdrWord0 = 0u;
    pstProcTbl->ulHdrWord1 = BOL_PROC_TBL_HDR_WORD1;
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
    bol::StoreHost16(pucFlags,
                     static_cast<uint16_t>(bol::LoadHost16(pucFlags) | (BOL_OUTPUT_FLAG_KEY | BOL_OUTPUT_FLAG_ATTR)));
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

} /* extern "C" */

namespace {

/* The pieces of the output service without their argument checks: the
 * exported functions check and call them, and BOL_SRPOLICY_OutputData, which
 * runs once per decoded NLRI of a full table, calls them directly. */

inline uint32_t OutputLen(const BOL_PARSE_DESC_S *pstDesc, uint32_t *pulLen)
{
    uint32_t ulKeyLen = (pstDesc->pvKey != nullptr) ? pstDesc->ulKeyLen : 0u;
    uint32_t ulAttrLen = (pstDesc->pucAttr != nullptr) ? pstDesc->usAttrLen : 0u;
    if (ulKeyLen == 0u && ulAttrLen == 0u) {
        return BOL_ERR_PARAM; /* nothing to hand over: no report */
    }
    if (pstDesc->pvKey != nullptr && ulKeyLen != BOL_SRPOLICY_NLRI_KEY_LEN) {
        /* The key section always holds one 28-byte key. */
        BOL_REPORT(ulKeyLen);
        return BOL_ERR_PARAM;
    }
    *pulLen = BOL_PARSE_OUTPUT_HDR_LEN + ulKeyLen + ulAttrLen;
    return BOL_OK;
}

/* Copies one section into the block at *pusOffset and advances past it. */
inline void OutputSection(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain, uint16_t *pusOffset, const void *pvSrc,
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

inline void OutputKeySection(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain, const BOL_PARSE_DESC_S *pstDesc,
                             uint16_t *pusOffset)
{
    if (pstDesc->pvKey == nullptr || *pulRemain == 0u) {
        return;
    }
    pstOut->ulOutFlags |= BOL_OUTPUT_FLAG_KEY;
    pstOut->usKeyLen = static_cast<uint16_t>(BOL_SRPOLICY_NLRI_KEY_LEN);
    pstOut->usKeyOffset = *pusOffset;
    OutputSection(pstOut, pulRemain, pusOffset, pstDesc->pvKey, BOL_SRPOLICY_NLRI_KEY_LEN);
}

inline void OutputAttrSection(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain, const BOL_PARSE_DESC_S *pstDesc,
                              uint16_t *pusOffset)
{
    if (pstDesc->pucAttr == nullptr || *pulRemain == 0u) {
        return;
    }
    pstOut->ulOutFlags |= BOL_OUTPUT_FLAG_ATTR;
    pstOut->ucAttrFlag = pstDesc->ucAttrFlag;
    pstOut->ucAttrType = pstDesc->ucAttrType;
    pstOut->usAttrOffset = *pusOffset;
    pstOut->usAttrLen = pstDesc->usAttrLen;
    OutputSection(pstOut, pulRemain, pusOffset, pstDesc->pucAttr, pstDesc->usAttrLen);
}

} /* namespace */

extern "C" {

uint32_t BOL_SRPOLICY_CalcOutputLen(const BOL_PARSE_DESC_S *pstDesc, uint32_t *pulLen)
{
    BOL_CHECK_PTR(pstDesc, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulLen, BOL_ERR_PARAM);
    return OutputLen(pstDesc, pulLen);
}

uint32_t BOL_SRPOLICY_OutputKey(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain, const BOL_PARSE_DESC_S *pstDesc,
                                uint16_t *pusOffset)
{
    BOL_CHECK_PTR(pstOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstDesc, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulRemain, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pusOffset, BOL_ERR_PARAM);
    OutputKeySection(pstOut, pulRemain, pstDesc, pusOffset);
    return BOL_OK;
}

uint32_t BOL_SRPOLICY_OutputAttr(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain, const BOL_PARSE_DESC_S *pstDesc,
                                 uint16_t *pusOffset)
{
    BOL_CHECK_PTR(pstOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstDesc, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulRemain, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pusOffset, BOL_ERR_PARAM);
    OutputAttrSection(pstOut, pulRemain, pstDesc, pusOffset);
    return BOL_OK;
}

uint32_t BOL_SRPOLICY_OutputData(void **ppvOut, const BOL_PARSE_DESC_S *pstDesc, uint32_t ulMemModuleId)
{
    BOL_CHECK_PTR(ppvOut, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstDesc, BOL_ERR_PARAM);
    if (pstDesc->pvKey != nullptr && pstDesc->ulKeyLen == BOL_SRPOLICY_NLRI_KEY_LEN && pstDesc->pucAttr == nullptr) {
        return bol::OutputKeyBlock(ppvOut, static_cast<const BOL_SRPOLICY_NLRI_S *>(pstDesc->pvKey), ulMemModuleId);
    }
    if (ulMemModuleId == 0u) {
        BOL_REPORT(ulMemModuleId);
        return BOL_ERR_PARAM;
    }

    uint32_t ulTotal = 0u;
    uint32_t ulRet = OutputLen(pstDesc, &ulTotal);
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
    OutputKeySection(pstOut, &ulRemain, pstDesc, &usOffset);
    OutputAttrSection(pstOut, &ulRemain, pstDesc, &usOffset);

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
__attribute__((always_inline)) inline void FreeListNodes(BOL_SRPOLICY_LIST_HEAD_S *pstList)
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
/* A type-13 segment of this length or more carries an SRv6 SID. */
const uint32_t kType13SidFormMin = 18u;

constexpr uint64_t LenBit(uint32_t ulLen)
{
    return uint64_t{1} << ulLen;
}

/* The value length of an MPLS label segment (type 1): flags, reserved byte,
 * label field. */
const uint8_t kSegMplsLen = 6u;

/* Accepted value lengths of segment types 1 to 8 (bit n set: length n),
 * indexed like the check table; row 0 has no check. The checks in rows 1 to 8
 * of the table test exactly these, and the segment walk tests them without
 * the call. */
constexpr uint64_t g_aullSegTypeLens[] = {
    0u,                                                  /* 0: no check */
    LenBit(kSegMplsLen),                                 /* 1: MPLS label */
    LenBit(18u),                                         /* 2: SRv6 SID */
    LenBit(6u) | LenBit(10u),                            /* 3 */
    LenBit(18u) | LenBit(22u),                           /* 4 */
    LenBit(10u) | LenBit(14u),                           /* 5 */
    LenBit(10u) | LenBit(14u),                           /* 6 */
    LenBit(22u) | LenBit(26u) | LenBit(42u) | LenBit(46u), /* 7 */
    LenBit(34u) | LenBit(38u),                           /* 8 */
};
static_assert(sizeof(g_aullSegTypeLens) / sizeof(g_aullSegTypeLens[0]) == kCheckRows,
              "one accepted-length row per check-table row");

/* The walk's first test, one row per segment type: the lengths below 64
 * that are accepted without further look (bit n: length n). Types 1 to 8: the
 * rows above; types with a rule of their own (once-only markers, the clear
 * target, the Binding SID check): none; every other type: all. A segment
 * that fails this test goes through its full check. */
struct SegQuickLens {
    uint64_t aull[256];
};

constexpr SegQuickLens MakeSegQuickLens()
{
    SegQuickLens st = {};
    for (uint64_t &ull : st.aull) {
        ull = ~uint64_t{0};
    }
    for (uint32_t i = 1u; i < kCheckRows; i++) {
        st.aull[i] = g_aullSegTypeLens[i];
    }
    st.aull[BOL_SRPOLICY_SEG_WEIGHT] = 0u;
    st.aull[BOL_SRPOLICY_SEG_TYPE13] = 0u;
    st.aull[BOL_SRPOLICY_SEG_BSID] = 0u;
    st.aull[BOL_SRPOLICY_SEG_PATH_MTU] = 0u;
    return st;
}

constexpr SegQuickLens g_stSegQuickLens = MakeSegQuickLens();

/* Whether bit ulLen of a row of accepted lengths is set (lengths of 64 and
 * more are in no row). */
inline bool LenAccepted(uint64_t ullAccepted, uint32_t ulLen)
{
    return ulLen < 64u && ((ullAccepted >> ulLen) & 1u) != 0u;
}

uint32_t CheckSegLen(uint64_t ullAccepted, uint32_t ulLen)
{
    return LenAccepted(ullAccepted, ulLen) ? BOL_OK : BOL_ERR_SUBTLV_INVALID;
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

/* Type 13: a path MTU (length 6, once) or an SRv6 SID form (18 and longer,
 * any number). */
uint32_t CheckType13(uint32_t ulLen, uint32_t *pulMtuSeen)
{
    if (ulLen >= kType13SidFormMin) {
        return BOL_OK;
    }
    return CheckOnce(ulLen == kSegFlaggedU32Len, pulMtuSeen);
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

/* Checks one segment by its type; types without a check are accepted. */
inline uint32_t CheckOneSegment(uint32_t ulType, const bol::View &stSeg, SegMarkers &stMarkers)
{
    if (ulType < kCheckRows) {
        return (ulType == 0u) ? BOL_OK : CheckSegLen(g_aullSegTypeLens[ulType], stSeg.ulLen);
    }
    switch (ulType) {
        case BOL_SRPOLICY_SEG_WEIGHT:
            return CheckOnce(stSeg.ulLen == kSegFlaggedU32Len, &stMarkers.ulWeightSeen);
        case BOL_SRPOLICY_SEG_TYPE13:
            return CheckType13(stSeg.ulLen, &stMarkers.ulMtu13Seen);
        case BOL_SRPOLICY_SEG_PATH_MTU:
            return CheckOnce(stSeg.ulLen == kSegFlaggedU32Len, &stMarkers.ulMtu220Seen);
        case BOL_SRPOLICY_SEG_BSID:
            return BOL_SRPOLICY_CheckSegmentListBSidValid(stSeg.puc, stSeg.puc + stSeg.ulLen, stSeg.ulLen);
        default:
            return BOL_OK;
    }
}

/* The segment whose ignored bytes the clearing step sets to 0: the first
 * weight, or the first type-13 path MTU, whichever comes first. */
bool IsClearTarget(uint32_t ulType, const bol::View &stSeg)
{
    return ulType == BOL_SRPOLICY_SEG_WEIGHT ||
           (ulType == BOL_SRPOLICY_SEG_TYPE13 && stSeg.ulLen == kSegFlaggedU32Len);
}

/* Sets a clear target's ignored bytes to 0: the weight's flags, or the path
 * MTU's flags and reserved byte. */
void ClearTarget(uint32_t ulType, const bol::View &stSeg)
{
    if (ulType == BOL_SRPOLICY_SEG_WEIGHT) {
        bol::SetU8(stSeg, 0u, 0u);
    } else {
        bol::SetU16(stSeg, 0u, 0u);
    }
}

/* One pass over a Segment List value (a reserved byte, then segment
 * sub-TLVs with 1-byte type and length): checks every segment, and notes the
 * clear target in stTarget/ucTargetType (left empty when there is none). */
__attribute__((always_inline)) inline uint32_t WalkSegments(const bol::View &stValue, bol::View &stTarget,
                                                         uint8_t &ucTargetType)
{
    if (stValue.ulLen <= 1u) {
        return BOL_OK;
    }
    bol::Reader stRd = bol::MakeReader(stValue);
    (void)bol::Skip(stRd, 1u);
    SegMarkers stMarkers = {0u, 0u, 0u};
    uint8_t ucType = 0u;
    bol::View stSeg = {nullptr, 0u};
    /* The reader refuses a header or value that does not fit, and stops at
     * the end; only the end leaves nothing behind. MPLS label segments, the
     * usual run, are accepted by their fixed header alone (the only length
     * their check accepts). */
    for (;;) {
        if (bol::ReadTlv8Of(stRd, BOL_SRPOLICY_SEG_MPLS, kSegMplsLen, stSeg)) {
            continue;
        }
        if (stMarkers.ulWeightSeen == 0u &&
            bol::ReadTlv8Of(stRd, BOL_SRPOLICY_SEG_WEIGHT, kSegFlaggedU32Len, stSeg)) {
            /* A first weight of the one accepted length: its check passes. */
            ucType = BOL_SRPOLICY_SEG_WEIGHT;
            stMarkers.ulWeightSeen = 1u;
        } else {
            if (!bol::ReadTlv8(stRd, ucType, stSeg)) {
                break;
            }
            if (LenAccepted(g_stSegQuickLens.aull[ucType], stSeg.ulLen)) {
                continue;
            }
            uint32_t ulRet = CheckOneSegment(ucType, stSeg, stMarkers);
            if (ulRet != BOL_OK) {
                return ulRet;
            }
        }
        if (stTarget.puc == nullptr && IsClearTarget(ucType, stSeg)) {
            stTarget = stSeg;
            ucTargetType = ucType;
        }
    }
    return (stRd.ulLeft == 0u) ? BOL_OK : BOL_ERR_SUBTLV_MALFORMED;
}

} /* namespace */

namespace bol {

uint32_t CheckAndClearSegmentList(uint8_t *pucValue, uint32_t ulLen)
{
    bol::View stTarget = {nullptr, 0u};
    uint8_t ucTargetType = 0u;
    uint32_t ulRet = WalkSegments(bol::MakeView(pucValue, ulLen), stTarget, ucTargetType);
    if (ulRet == BOL_OK && stTarget.puc != nullptr) {
        ClearTarget(ucTargetType, stTarget);
    }
    return ulRet;
}

} /* namespace bol */

extern "C" {

/* Value: a reserved byte, then segment sub-TLVs with 1-byte type and length. */
uint32_t BOL_SRPOLICY_CheckSegmentListVaild(const uint8_t *pucValue, uint32_t ulLen)
{
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    bol::View stTarget = {nullptr, 0u};
    uint8_t ucTargetType = 0u;
    return WalkSegments(bol::MakeReadView(pucValue, ulLen), stTarget, ucTargetType);
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
        if (IsClearTarget(ucType, stSeg)) {
            ClearTarget(ucType, stSeg);
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

/* Segment types 1 to 8, one check per type: the lengths of its row in
 * g_aullSegTypeLens. */
#define BOL_SEG_TYPE_CHECK(name, lens)                                                                \
    uint32_t name(const uint8_t *pucValue, const uint8_t *pucEnd, uint32_t ulLen, uint32_t ulType)      \
    {                                                                                                  \
        (void)ulType;                                                                                  \
        BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);                                                        \
        BOL_CHECK_PTR(pucEnd, BOL_ERR_PARAM);                                                          \
        return CheckSegLen(lens, ulLen);                                                               \
    }

BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType1Vaild, g_aullSegTypeLens[1])
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType2Vaild, g_aullSegTypeLens[2])
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType3Vaild, g_aullSegTypeLens[3])
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType4Vaild, g_aullSegTypeLens[4])
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType5Vaild, g_aullSegTypeLens[5])
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType6Vaild, g_aullSegTypeLens[6])
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType7Vaild, g_aullSegTypeLens[7])
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentType8Vaild, g_aullSegTypeLens[8])
/* The SID encoding check is kept for hosts that call it; nothing here does. */
BOL_SEG_TYPE_CHECK(BOL_SRPOLICY_CheckSegmentSidEncodingVaild, LenBit(6u))

#undef BOL_SEG_TYPE_CHECK

uint32_t BOL_SRPOLICY_CheckSegmenWeightVaild(const uint8_t *pucValue, const uint8_t *pucEnd, uint32_t ulLen,
                                             uint32_t *pulWeightSeen)
{
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pucEnd, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulWeightSeen, BOL_ERR_PARAM);
    return CheckOnce(ulLen == kSegFlaggedU32Len, pulWeightSeen);
}

uint32_t BOL_SRPOLICY_CheckSegmentType13Vaild(uint32_t ulType, uint32_t ulLen, uint32_t *pulMtuSeen)
{
    (void)ulType;
    BOL_CHECK_PTR(pulMtuSeen, BOL_ERR_PARAM);
    return CheckType13(ulLen, pulMtuSeen);
}

uint32_t BOL_SRPOLICY_CheckSegmentType220Vaild(uint32_t ulLen, uint32_t *pulMtuSeen)
{
    BOL_CHECK_PTR(pulMtuSeen, BOL_ERR_PARAM);
    return CheckOnce(ulLen == kSegFlaggedU32Len, pulMtuSeen);
}

/* Flags (1), reserved (1), then one binding SID or two (the second is the
 * reverse one), each of the size its flags give. */
uint32_t BOL_SRPOLICY_CheckSegmentListBSidValid(const uint8_t *pucValue, const uint8_t *pucEnd, uint32_t ulLen)
{
    (void)pucEnd;
    BOL_CHECK_PTR(pucValue, BOL_ERR_PARAM);
    const uint32_t ulHdrLen = BOL_SRPOLICY_SLBSID_HDR_LEN;
    if (ulLen < ulHdrLen) {
        return BOL_ERR_SUBTLV_INVALID;
    }
    uint32_t ulSidLen = bol::SlBsidEntryLen(bol::GetU8(bol::MakeReadView(pucValue, ulLen), 0u));
    if (ulLen == ulHdrLen + ulSidLen || ulLen == ulHdrLen + 2u * ulSidLen) {
        return BOL_OK;
    }
    return BOL_ERR_SUBTLV_INVALID;
}

} /* extern "C" */

/* ======================================================================== */
/* Text helpers and NLRI text                                               */
/* ======================================================================== */

namespace {

/* Where a text goes: the position, the room left there (its terminating
 * zero included) and the characters written so far. */
struct TextOut {
    char *pc;
    uint32_t ulRoom;
    uint32_t ulCount;
};

/* Takes the result of an all-or-nothing format at the position: false when
 * the text did not fit (or was empty), and then nothing moves. */
bool TextTake(TextOut &stOut, int iCount)
{
    if (iCount <= 0 || static_cast<uint32_t>(iCount) >= stOut.ulRoom) {
        return false;
    }
    stOut.pc += iCount;
    stOut.ulRoom -= static_cast<uint32_t>(iCount);
    stOut.ulCount += static_cast<uint32_t>(iCount);
    return true;
}

/* Takes the result of a format that cuts its text at the end of the room:
 * whatever was written counts, a failure writes nothing. */
void TextTakeCut(TextOut &stOut, int iCount)
{
    (void)TextTake(stOut, iCount);
}

/* Ends the text at the position when there is room for the zero. */
void TextEnd(char *pcPos, uint32_t ulRoom)
{
    if (pcPos != nullptr && ulRoom != 0u) {
        pcPos[0] = '\0';
    }
}

/* Text of the SID in the 16 bytes at ulOff of the value (four big-endian
 * words), into a zero-filled buffer of the caller. */
void SidText(const bol::View &stValue, uint32_t ulOff, char *pcText, uint32_t ulTextLen)
{
    uint32_t aulWords[4];
    bol::GetWords4(stValue, ulOff, aulWords);
    (void)BOL_SRPOLICY_IPv6AddrToStr(aulWords, 16u, pcText, ulTextLen);
}

/* The argument checks of the text handlers, in their order. */
uint32_t CheckData2StrArgs(const BOL_RT_DATA_S *pstRtData, const char *pcBuf, const uint32_t *pulOffset,
                           const uint32_t *pulMore, const BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    BOL_CHECK_PTR(pstRtData, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pcBuf, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulOffset, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pulMore, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pstInst, BOL_ERR_PARAM);
    return BOL_OK;
}

} /* namespace */

/* Formats at the position of a TextOut: all or nothing, or cut at the end of
 * the room. The format stays a literal so that its arguments are checked. */
#define BOL_TEXT_PUT(stOut, ...) TextTake((stOut), sprintf_s((stOut).pc, (stOut).ulRoom, __VA_ARGS__))
#define BOL_TEXT_CUT(stOut, ...) TextTakeCut((stOut), snprintf_truncated_s((stOut).pc, (stOut).ulRoom, __VA_ARGS__))

/* Size of the endpoint and SID texts (39 characters and a zero). */
#define BOL_ADDR_TEXT_LEN 40u
/* Work buffer of the key line. */
#define BOL_KEY_LINE_LEN 256u

extern "C" {

uint32_t BOL_SRPOLICY_IPv6AddrToStr(const uint32_t *pulAddr, uint32_t ulAddrLen, char *pcBuf, uint32_t ulBufLen)
{
    BOL_CHECK_PTR(pulAddr, BOL_ERR_PARAM);
    BOL_CHECK_PTR(pcBuf, BOL_ERR_PARAM);
    if (ulBufLen == 0u) {
        BOL_REPORT(ulBufLen);
        return BOL_ERR_PARAM;
    }
    if (ulAddrLen == 0u) {
        BOL_REPORT(ulAddrLen);
        return BOL_ERR_PARAM;
    }

    /* The platform takes eight 16-bit groups; word i holds groups 2i, 2i+1. */
    KEO_IN6ADDR_S stAddr;
    for (size_t i = 0; i < 4u; i++) {
        stAddr.ausGroup[2u * i] = static_cast<uint16_t>(pulAddr[i] >> 16);
        stAddr.ausGroup[2u * i + 1u] = static_cast<uint16_t>(pulAddr[i]);
    }
    return KEO_Inet_ntoa_b_ipv6(stAddr, pcBuf);
}

uint32_t BOL_SRPOLICY_MpNlriData2Str(const BOL_RT_DATA_S *pstRtData, char *pcBuf, uint32_t ulBufLen,
                                     uint32_t *pulOffset, uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    uint32_t ulRet = CheckData2StrArgs(pstRtData, pcBuf, pulOffset, pulMore, pstInst);
    if (ulRet != BOL_OK) {
        return ulRet;
    }

    const BOL_SRPOLICY_NLRI_S *pstKey = pstRtData->pstKey;
    if (pstKey == nullptr || pstRtData->ulKeyLen != BOL_SRPOLICY_NLRI_KEY_LEN) {
        return BOL_ERR_NO_DATA;
    }

    /* The line is built in a borrowed work buffer (normally the scratch
     * buffer, so no allocation) and copied out whole. */
    void *pvWork = BOL_SRPOLICY_Malloc(pstInst, BOL_KEY_LINE_LEN);
    if (pvWork == nullptr) {
        BOL_REPORT(0u);
        return BOL_SRPOLICY_ERR_NOMEM;
    }
    char *pcWork = static_cast<char *>(pvWork);
    int iRet = memset_s(pcWork, BOL_KEY_LINE_LEN, 0, BOL_KEY_LINE_LEN);
    if (iRet != 0) {
        BOL_REPORT_RET(iRet);
    }

    char acEndpoint[BOL_ADDR_TEXT_LEN] = {};
    const char *pcEndpoint = acEndpoint;
    if (pstKey->ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4) {
        const char *pcText = KEO_IpAddrToStr(pstKey->aulEndpoint[0], acEndpoint);
        if (pcText != nullptr) {
            pcEndpoint = pcText;
        }
    } else {
        /* 192 and every other length: the four words are an IPv6 address. */
        (void)BOL_SRPOLICY_IPv6AddrToStr(pstKey->aulEndpoint, 16u, acEndpoint, BOL_ADDR_TEXT_LEN);
    }

    uint32_t ulResult = BOL_OK;
    int iCount = sprintf_s(pcWork, BOL_KEY_LINE_LEN, "SRPOLICY NLRI: Distinguisher[%u], PolicyColor[%u], Endpoint[%s]",
                           pstKey->ulDistinguisher, pstKey->ulPolicyColor, pcEndpoint);
    if (iCount < 0) {
        ulResult = BOL_SRPOLICY_ERR;
    } else {
        iRet = memcpy_s(pcBuf, ulBufLen, pcWork, static_cast<size_t>(iCount) + 1u);
        if (iRet != 0) {
            BOL_REPORT_RET(iRet);
        }
        *pulOffset = 0u;
        *pulMore = 0u;
    }
    BOL_SRPOLICY_Free(&pvWork, pstInst);
    return ulResult;
}

} /* extern "C" */

/* ======================================================================== */
/* Attribute text                                                           */
/* ======================================================================== */

namespace {

/* Characters of every call that the printers are never given. */
const uint32_t kHeldBackChars = 12u;
/* Work buffers of the printers: SID text of the binding SIDs, a name. */
const uint32_t kBsidTextLen = 1000u;
const uint32_t kNameTextLen = 256u;

/* What one printer writes for a value: false when its text did not fit, or
 * when the value has no text that could ever fit. */
using PrinterText = bool (*)(const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut);

/* The printer contract around a PrinterText: 2 for a null value or written
 * count (reported), 4 for a null text buffer or a text that did not fit
 * (written count 0); on success the characters written are added. */
uint32_t RunPrinter(PrinterText pfnText, const uint8_t *pucValue, uint32_t ulLen, char *pcBuf, uint32_t ulRoom,
                    uint32_t *pulWritten)
{
    BOL_CHECK_PTR(pucValue, BOL_SRPOLICY_ERR_PARA);
    BOL_CHECK_PTR(pulWritten, BOL_SRPOLICY_ERR_PARA);
    TextOut stOut = {pcBuf, ulRoom, 0u};
    if (pcBuf == nullptr || !pfnText(pucValue, ulLen, stOut)) {
        *pulWritten = 0u;
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    *pulWritten += stOut.ulCount;
    return BOL_OK;
}

/* Preference and Template ID: flags, reserved, a 32-bit number. */
bool NumberText(const char *pcLabel, const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    if (ulLen != 6u) {
        return BOL_TEXT_PUT(stOut, "  %s: no present\n", pcLabel);
    }
    return BOL_TEXT_PUT(stOut, "  %s: %u\n", pcLabel, bol::GetU32(bol::MakeReadView(pucValue, ulLen), 2u));
}

bool PreferenceText(const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    return NumberText("Preference", pucValue, ulLen, stOut);
}

bool TemplateIdText(const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    return NumberText("Template ID", pucValue, ulLen, stOut);
}

/* Candidate Path Name and Policy Name: a reserved byte, then the name. A
 * name that is empty or not printable is not shown. */
bool NameText(const char *pcLabel, const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    const bol::View stName = bol::SubView(bol::MakeReadView(pucValue, ulLen), 1u, (ulLen != 0u) ? ulLen - 1u : 0u);
    if (BOL_SRPOLICY_CheckNameValid(stName.puc, stName.ulLen) == 0u) {
        return true;
    }
    char acName[kNameTextLen] = {};
    BOL_SRPOLICY_OutputGetCopyName(acName, sizeof(acName), stName.puc, stName.ulLen);
    return BOL_TEXT_PUT(stOut, "  %s: %s\n", pcLabel, acName);
}

bool CPathNameText(const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    return NameText("Candidate Path Name", pucValue, ulLen, stOut);
}

bool PolicyNameText(const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    return NameText("Policy Name", pucValue, ulLen, stOut);
}

/* Private (126) and standard (123) slice id alike. Type and length are read
 * from the two header bytes that the walk always hands over just before the
 * value (both types have a 1-byte length). */
bool SliceIdText(const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    const bol::View stHdr = bol::MakeReadView(pucValue - 2, 2u);
    const uint32_t ulType = bol::GetU8(stHdr, 0u);
    if (ulLen != 6u) {
        return BOL_TEXT_PUT(stOut, "  unknow type(%u),len(%u)\n", ulType, static_cast<uint32_t>(bol::GetU8(stHdr, 1u)));
    }
    return BOL_TEXT_PUT(stOut, "  Slice ID(type:%u): %u\n", ulType,
                        bol::GetU32(bol::MakeReadView(pucValue, ulLen), 2u));
}

/* Binding SID: without a value (length 2), an MPLS label (6) or an SRv6 SID
 * (18); any other length has no text and stops the walk. */
bool BsidText(const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    const bol::View stValue = bol::MakeReadView(pucValue, ulLen);
    const uint32_t ulFlags = bol::GetU8(stValue, 0u);
    const uint32_t ulSFlag = (ulFlags >> 7) & 1u;
    const uint32_t ulIFlag = (ulFlags >> 6) & 1u;
    if (ulLen == 2u) {
        return BOL_TEXT_PUT(stOut, "  Binding SID: no present, s-flag(%u), i-flag(%u)\n", ulSFlag, ulIFlag);
    }
    if (ulLen == 6u) {
        return BOL_TEXT_PUT(stOut, "  Binding SID: %u, s-flag(%u), i-flag(%u)\n", bol::GetU32(stValue, 2u) >> 12,
                            ulSFlag, ulIFlag);
    }
    if (ulLen == 18u) {
        char acSid[kBsidTextLen] = {};
        SidText(stValue, 2u, acSid, kBsidTextLen);
        return BOL_TEXT_PUT(stOut, "  Binding SID: %s, s-flag(%u), i-flag(%u)\n", acSid, ulSFlag, ulIFlag);
    }
    return false;
}

/* SRv6 Binding SID: the SID line must fit; behavior and structure (length
 * 26) are then appended as far as the room goes. */
bool Srv6BsidText(const uint8_t *pucValue, uint32_t ulLen, TextOut &stOut)
{
    const bol::View stValue = bol::MakeReadView(pucValue, ulLen);
    char acSid[kBsidTextLen] = {};
    SidText(stValue, 2u, acSid, kBsidTextLen);
    const uint32_t ulFlags = bol::GetU8(stValue, 0u);
    if (!BOL_TEXT_PUT(stOut, "  SRv6 Binding SID: %s, Flags:0x%02x", acSid, ulFlags)) {
        return false;
    }
    if (ulLen != 26u) {
        BOL_TEXT_CUT(stOut, "\n");
        return true;
    }
    const uint32_t ulBehavior = bol::GetU16(stValue, 18u);
    BOL_TEXT_CUT(stOut, ", Endpoint Behavior: 0x%x", ulBehavior);
    BOL_TEXT_CUT(stOut, ", SID Structure: LB length:%u, LN length:%u, Func length:%u, Args length:%u\n",
                 static_cast<uint32_t>(bol::GetU8(stValue, 22u)), static_cast<uint32_t>(bol::GetU8(stValue, 23u)),
                 static_cast<uint32_t>(bol::GetU8(stValue, 24u)), static_cast<uint32_t>(bol::GetU8(stValue, 25u)));
    return true;
}

} /* namespace */

extern "C" {

uint32_t BOL_SRPOLICY_TunnelEncapsulationAttr2Str(const BOL_RT_DATA_S *pstRtData, char *pcBuf, uint32_t ulBufLen,
                                                  uint32_t *pulOffset, uint32_t *pulMore,
                                                  BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    uint32_t ulRet = CheckData2StrArgs(pstRtData, pcBuf, pulOffset, pulMore, pstInst);
    if (ulRet != BOL_OK) {
        return ulRet;
    }
    if (pstRtData->pucAttr == nullptr) {
        return BOL_ERR_NO_DATA;
    }

    /* Every call, resuming ones too, starts on a new line. */
    TextOut stOut = {pcBuf, ulBufLen, 0u};
    if (!BOL_TEXT_PUT(stOut, "\r\n")) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    (void)BOL_SRPOLICY_OutputTunnelEncapAttr(pstRtData->pucAttr, pstRtData->ulAttrLen, stOut.ulRoom, stOut.pc,
                                             pulOffset, pulMore);
    return BOL_OK;
}

uint32_t BOL_SRPOLICY_FormatTnlEncapAttrHeader(uint32_t ulOffset, char **ppcPos, uint32_t *pulRoom)
{
    BOL_CHECK_PTR(ppcPos, BOL_SRPOLICY_ERR_BUF_SHORT);
    BOL_CHECK_PTR(pulRoom, BOL_SRPOLICY_ERR_BUF_SHORT);
    if (ulOffset != 0u) {
        return BOL_OK; /* shown by the first call of this rendering */
    }
    TextOut stOut = {*ppcPos, *pulRoom, 0u};
    if (!BOL_TEXT_PUT(stOut, "Tunnel Encaps Attribute (23):\n Tunnel Type: SR Policy (15)\n")) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    *ppcPos = stOut.pc;
    *pulRoom = stOut.ulRoom;
    return BOL_OK;
}

/*
 * The walk reads nothing beyond min(4 + tunnel length, attribute length): a
 * sub-TLV whose header or value would run past that bound ends the text,
 * complete, after what was already written. Stored attributes come from the
 * decoder and are always well formed; the bound is for bytes that did not.
 */
uint32_t BOL_SRPOLICY_OutputTunnelEncapAttr(const uint8_t *pucTlv, uint32_t ulAttrLen, uint32_t ulRoom, char *pcBuf,
                                            uint32_t *pulOffset, uint32_t *pulMore)
{
    BOL_CHECK_PTR(pucTlv, BOL_SRPOLICY_ERR_PARA);
    BOL_CHECK_PTR(pcBuf, BOL_SRPOLICY_ERR_PARA);
    BOL_CHECK_PTR(pulOffset, BOL_SRPOLICY_ERR_PARA);
    BOL_CHECK_PTR(pulMore, BOL_SRPOLICY_ERR_PARA);

    char *pcPos = pcBuf;
    uint32_t ulLeft = ulRoom;
    if (BOL_SRPOLICY_FormatTnlEncapAttrHeader(*pulOffset, &pcPos, &ulLeft) != BOL_OK) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }

    /* A tunnel length that the attribute cannot hold reads as the bytes it
     * does hold; an attribute shorter than its header reads as empty. */
    const bol::View stTlv = bol::MakeReadView(pucTlv, ulAttrLen);
    const uint32_t ulTotal = bol::GetU16(stTlv, 2u);
    const uint32_t ulAvail = (ulAttrLen > 4u) ? ulAttrLen - 4u : 0u;
    const uint32_t ulBound = (ulTotal < ulAvail) ? ulTotal : ulAvail;
    bol::Reader stRd = bol::MakeReader(bol::SubView(stTlv, 4u, ulBound));

    while (stRd.ulLeft != 0u) {
        uint8_t ucType = 0u;
        uint16_t usLen = 0u;
        if (!bol::ReadSubTlvHeader(stRd, ucType, usLen)) {
            break;
        }
        const uint32_t ulValueOff = 4u + ulBound - stRd.ulLeft;
        bol::View stValue;
        if (!bol::ReadView(stRd, usLen, stValue)) {
            break;
        }
        const BOL_SRPOLICY_PROC_ENTRY_S *pstRow = BOL_SRPOLICY_GetOutputTnlEncapTlvEntry(ucType);
        if (pstRow == nullptr || pstRow->unHandler.pfnTextOut == nullptr || ulValueOff + usLen <= *pulOffset) {
            continue; /* no text, or shown by an earlier call */
        }

        const uint32_t ulPrinterRoom = (ulLeft > kHeldBackChars) ? ulLeft - kHeldBackChars : 0u;
        uint32_t ulInner = (*pulOffset > ulValueOff) ? *pulOffset - ulValueOff : 0u;
        uint32_t ulWritten = 0u;
        uint32_t ulRet = pstRow->unHandler.pfnTextOut(stValue.puc, usLen, pcPos, ulPrinterRoom, &ulWritten, &ulInner);
        ulWritten = (ulWritten < ulPrinterRoom) ? ulWritten : 0u;
        if (ulRet != BOL_OK) {
            /* A printer that stopped inside its value keeps what it wrote;
             * any other text of this sub-TLV is dropped. */
            const uint32_t ulKept = (ulInner != 0u) ? ulWritten : 0u;
            TextEnd(pcPos + ulKept, ulLeft - ulKept);
            *pulOffset = ulValueOff + ulInner;
            *pulMore = 1u;
            return ulRet;
        }
        pcPos += ulWritten;
        ulLeft -= ulWritten;
    }

    TextEnd(pcPos, ulLeft);
    *pulMore = 0u;
    return BOL_OK;
}

void BOL_SRPOLICY_OutputGetCopyName(char *pcDst, uint32_t ulDstSize, const uint8_t *pucSrc, uint32_t ulCount)
{
    const uint32_t ulCopy = (ulCount < BOL_SRPOLICY_NAME_MAX) ? ulCount : BOL_SRPOLICY_NAME_MAX;
    int iRet = memcpy_s(pcDst, ulDstSize, pucSrc, ulCopy);
    if (iRet != 0) {
        BOL_REPORT_SEC(iRet);
    }
}

uint32_t BOL_SRPOLICY_TLVGetTypeAndLen(const uint8_t *pucTlv, uint32_t ulLen, uint8_t *pucType, uint16_t *pusLen)
{
    if (pucTlv == nullptr || pucType == nullptr || pusLen == nullptr) {
        return BOL_ERR_PARAM;
    }
    bol::Reader stRd = bol::MakeReader(bol::MakeReadView(pucTlv, ulLen));
    if (stRd.ulLeft < 3u) {
        return BOL_ERR_TLV_LEN;
    }
    (void)bol::ReadU8(stRd, *pucType);
    (void)bol::ReadU16(stRd, *pusLen);
    return (*pusLen > stRd.ulLeft) ? BOL_ERR_TLV_LEN : BOL_OK;
}

/* Sub-TLVs that have no text. */
void BOL_SRPOLICY_OutputENLP(void) {}

void BOL_SRPOLICY_OutputPriorityData(void) {}

/* The exported printers: the contract of RunPrinter around their text. */
#define BOL_DEFINE_PRINTER(name, text)                                                                      \
    uint32_t name(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf, uint32_t ulRoom, uint32_t *pulWritten, \
                  uint32_t *pulInner)                                                                          \
    {                                                                                                          \
        (void)pulInner;                                                                                        \
        return RunPrinter(text, pucValue, ulLen, pcBuf, ulRoom, pulWritten);                                   \
    }

BOL_DEFINE_PRINTER(BOL_SRPOLICY_OutputPreferenceData, PreferenceText)
BOL_DEFINE_PRINTER(BOL_SRPOLICY_OutputCfgModuleData, TemplateIdText)
BOL_DEFINE_PRINTER(BOL_SRPOLICY_OutputSliceIdData, SliceIdText)
BOL_DEFINE_PRINTER(BOL_SRPOLICY_OutputBSIDData, BsidText)
BOL_DEFINE_PRINTER(BOL_SRPOLICY_OutputSRv6BSIDData, Srv6BsidText)
BOL_DEFINE_PRINTER(BOL_SRPOLICY_OutputCPathName, CPathNameText)
BOL_DEFINE_PRINTER(BOL_SRPOLICY_OutputPolicyName, PolicyNameText)

#undef BOL_DEFINE_PRINTER

} /* extern "C" */

/* ======================================================================== */
/* Segment list text                                                        */
/* ======================================================================== */

namespace {

/* One text line (or two) of a segment: value, room, buffer, type, length;
 * returns the characters written, 0 or less when the text did not fit. */
using SegLineFn = int32_t (*)(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf, uint32_t ulType, uint32_t ulLen);

int32_t SegWeightLine(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf, uint32_t ulType, uint32_t ulLen)
{
    (void)ulType;
    return sprintf_s(pcBuf, ulRoom, "    Weight: %u\n", bol::GetU32(bol::MakeReadView(pucSeg, ulLen), 2u));
}

/* The label is the top 20 bits of the label field. */
int32_t SegLabelLine(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf, uint32_t ulType, uint32_t ulLen)
{
    return sprintf_s(pcBuf, ulRoom, "    Segment: type:%u, Label:%u\n", ulType,
                     bol::GetU32(bol::MakeReadView(pucSeg, ulLen), 2u) >> 12);
}

int32_t SegPathMtuLine(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf, uint32_t ulType, uint32_t ulLen)
{
    (void)ulType;
    return sprintf_s(pcBuf, ulRoom, "    Path MTU: %u\n", bol::GetU32(bol::MakeReadView(pucSeg, ulLen), 2u));
}

int32_t SegBSidLines(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf, uint32_t ulType, uint32_t ulLen)
{
    return BOL_SRPOLICY_OutputSegListBSid(ulRoom, ulType, ulLen, pucSeg, pcBuf);
}

const uint32_t kAnySegLen = 0xFFFFFFFFu;

/* Which segments have text, and how; the first row that matches decides. */
struct SegTextRow {
    uint32_t ulType;
    uint32_t ulLen; /* kAnySegLen: every length */
    SegLineFn pfnLine;
};

const SegTextRow g_astSegText[] = {
    {BOL_SRPOLICY_SEG_WEIGHT, kAnySegLen, SegWeightLine},
    {BOL_SRPOLICY_SEG_MPLS, kAnySegLen, SegLabelLine},
    {BOL_SRPOLICY_SEG_PATH_MTU, kAnySegLen, SegPathMtuLine},
    {BOL_SRPOLICY_SEG_TYPE13, 6u, SegPathMtuLine}, /* type 13 of length 6 is a path MTU */
    {BOL_SRPOLICY_SEG_SRV6, kAnySegLen, BOL_SRPOLICY_OutputSegListType2Type13},
    {BOL_SRPOLICY_SEG_TYPE13, kAnySegLen, BOL_SRPOLICY_OutputSegListType2Type13},
    {BOL_SRPOLICY_SEG_BSID, kAnySegLen, SegBSidLines},
};

} /* namespace */

extern "C" {

uint32_t BOL_SRPOLICY_OutputSegmentListHead(char **ppcPos, uint32_t *pulRoom, uint32_t *pulWritten, uint32_t ulInner)
{
    BOL_CHECK_PTR(ppcPos, BOL_SRPOLICY_ERR_BUF_SHORT);
    BOL_CHECK_PTR(pulRoom, BOL_SRPOLICY_ERR_BUF_SHORT);
    BOL_CHECK_PTR(pulWritten, BOL_SRPOLICY_ERR_BUF_SHORT);
    if (ulInner != 0u) {
        return BOL_OK; /* resuming inside the list: the heading is out */
    }
    TextOut stOut = {*ppcPos, *pulRoom, 0u};
    if (!BOL_TEXT_PUT(stOut, "  Segment List\n")) {
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    *ppcPos = stOut.pc;
    *pulRoom = stOut.ulRoom;
    *pulWritten += stOut.ulCount;
    return BOL_OK;
}

/*
 * A segment whose text does not fit ends the text after the last whole
 * segment and reports, through the inner offset, the position of its value
 * counted from the reserved byte; the next call resumes there without the
 * heading. The segments are read within the list's value only: a header or
 * value that would run past it ends the list's text there.
 */
uint32_t BOL_SRPOLICY_OutputSegmentList(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf, uint32_t ulRoom,
                                        uint32_t *pulWritten, uint32_t *pulInner)
{
    BOL_CHECK_PTR(pucValue, BOL_SRPOLICY_ERR_PARA);
    BOL_CHECK_PTR(pulWritten, BOL_SRPOLICY_ERR_PARA);
    if (pcBuf == nullptr) {
        *pulWritten = 0u;
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }
    BOL_CHECK_PTR(pulInner, BOL_SRPOLICY_ERR_PARA);

    char *pcPos = pcBuf;
    uint32_t ulLeft = ulRoom;
    if (BOL_SRPOLICY_OutputSegmentListHead(&pcPos, &ulLeft, pulWritten, *pulInner) != BOL_OK) {
        *pulWritten = 0u;
        return BOL_SRPOLICY_ERR_BUF_SHORT;
    }

    bol::Reader stRd = bol::MakeReader(bol::MakeReadView(pucValue, ulLen));
    if (!bol::Skip(stRd, 1u)) {
        return BOL_OK; /* not even the reserved byte */
    }
    while (stRd.ulLeft != 0u) {
        uint8_t ucType = 0u;
        uint8_t ucLen = 0u;
        bol::View stSeg;
        if (!bol::ReadU8(stRd, ucType) || !bol::ReadU8(stRd, ucLen)) {
            break;
        }
        const uint32_t ulSegOff = ulLen - stRd.ulLeft;
        if (!bol::ReadView(stRd, ucLen, stSeg)) {
            break;
        }
        if (ulSegOff + ucLen <= *pulInner) {
            continue; /* written by an earlier call */
        }
        uint32_t ulUnsupported = 0u;
        int32_t iCount = BOL_SRPOLICY_OutputSegListSubType(stSeg.puc, ulLeft, pcPos, ucType, ucLen, &ulUnsupported);
        if (ulUnsupported != 0u) {
            continue;
        }
        if (iCount <= 0 || static_cast<uint32_t>(iCount) >= ulLeft) {
            *pulInner = ulSegOff;
            TextEnd(pcPos, ulLeft);
            return BOL_SRPOLICY_ERR_BUF_SHORT;
        }
        pcPos += iCount;
        ulLeft -= static_cast<uint32_t>(iCount);
        *pulWritten += static_cast<uint32_t>(iCount);
    }
    return BOL_OK;
}

int32_t BOL_SRPOLICY_OutputSegListSubType(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf, uint32_t ulType,
                                          uint32_t ulLen, uint32_t *pulUnsupported)
{
    BOL_CHECK_PTR(pulUnsupported, -1);
    for (const SegTextRow &stRow : g_astSegText) {
        if (stRow.ulType == ulType && (stRow.ulLen == kAnySegLen || stRow.ulLen == ulLen)) {
            return stRow.pfnLine(pucSeg, ulRoom, pcBuf, ulType, ulLen);
        }
    }
    *pulUnsupported = 1u;
    return 0;
}

/* SRv6 SID segment (type 2, or 13 other than a path MTU): the SID line, and
 * at length 26 the SID structure line; both must fit. */
int32_t BOL_SRPOLICY_OutputSegListType2Type13(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf, uint32_t ulType,
                                              uint32_t ulLen)
{
    const bol::View stSeg = bol::MakeReadView(pucSeg, ulLen);
    char acSid[BOL_ADDR_TEXT_LEN] = {};
    SidText(stSeg, 2u, acSid, BOL_ADDR_TEXT_LEN);
    TextOut stOut = {pcBuf, ulRoom, 0u};
    int32_t iFirst = sprintf_s(stOut.pc, stOut.ulRoom, "    Segment: type:%u, SID: %s, Flags:0x%02x\n", ulType, acSid,
                               static_cast<uint32_t>(bol::GetU8(stSeg, 0u)));
    if (!TextTake(stOut, iFirst) || ulLen != 26u) {
        return iFirst;
    }
    int32_t iSecond = sprintf_s(stOut.pc, stOut.ulRoom,
                                "    SID Structure: LB length:%u, LN length:%u, Func length:%u, Args length:%u\n",
                                static_cast<uint32_t>(bol::GetU8(stSeg, 22u)),
                                static_cast<uint32_t>(bol::GetU8(stSeg, 23u)),
                                static_cast<uint32_t>(bol::GetU8(stSeg, 24u)),
                                static_cast<uint32_t>(bol::GetU8(stSeg, 25u)));
    return (iSecond > 0) ? iFirst + iSecond : iSecond;
}

/*
 * Binding SIDs of the segment list: only SRv6 SIDs have text, each with its
 * behavior and structure when the flags say they follow; the first is the
 * forward SID, the second the reverse one. Pieces are cut at the end of the
 * room rather than refused.
 */
int32_t BOL_SRPOLICY_OutputSegListBSid(uint32_t ulRoom, uint32_t ulType, uint32_t ulLen, const uint8_t *pucSeg,
                                       char *pcBuf)
{
    (void)ulType;
    const bol::View stSeg = bol::MakeReadView(pucSeg, ulLen);
    const uint32_t ulFlags = bol::GetU8(stSeg, 0u);
    TextOut stOut = {pcBuf, ulRoom, 0u};
    if ((ulFlags & BOL_SRPOLICY_SLBSID_FLAG_SRV6) == 0u) {
        BOL_TEXT_CUT(stOut, "    Unsupported BSID, Length: %u, Flags: 0x%x\n", ulLen, ulFlags);
        return static_cast<int32_t>(stOut.ulCount);
    }

    bol::Reader stRd = bol::MakeReader(stSeg);
    (void)bol::Skip(stRd, BOL_SRPOLICY_SLBSID_HDR_LEN);
    bool bReverse = false;
    bol::View stSid;
    while (bol::ReadView(stRd, bol::SlBsidSidLen(ulFlags), stSid)) {
        char acSid[BOL_ADDR_TEXT_LEN] = {};
        SidText(stSid, 0u, acSid, BOL_ADDR_TEXT_LEN);
        BOL_TEXT_CUT(stOut, "    %sBinding SID: %s, ", bReverse ? "Reverse " : "", acSid);
        bReverse = !bReverse;
        if ((ulFlags & BOL_SRPOLICY_SLBSID_FLAG_EXT) == 0u) {
            BOL_TEXT_CUT(stOut, "\n");
            continue;
        }
        bol::View stEndpoint;
        if (!bol::ReadView(stRd, BOL_SRPOLICY_SLBSID_EXT_LEN, stEndpoint)) {
            BOL_TEXT_CUT(stOut, "\n");
            break;
        }
        /* Behavior (2 bytes), 2 bytes not shown, structure as one number. */
        const uint32_t ulBehavior = bol::GetU16(stEndpoint, 0u);
        BOL_TEXT_CUT(stOut, "Endpoint Behavior: 0x%x, ", ulBehavior);
        BOL_TEXT_CUT(stOut, "SID Structure: 0x%x.\n", bol::GetU32(stEndpoint, 4u));
    }
    return static_cast<int32_t>(stOut.ulCount);
}

} /* extern "C" */

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
    uint32_t ulSidLen = bol::SlBsidEntryLen(pstSegList->ucBsidFlags);
    if (bol::AnyWord(pstSegList->aulReverseBsid)) {
        return 2u * ulSidLen + BOL_SRPOLICY_SLBSID_HDR_LEN;
    }
    if (bol::AnyWord(pstSegList->aulBsid)) {
        return ulSidLen + BOL_SRPOLICY_SLBSID_HDR_LEN;
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
