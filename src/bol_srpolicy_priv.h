/*
 * Internal interface of the SR Policy plug-in: the decoded attribute record,
 * the report helpers, and every exported function that the host reaches only
 * through the handler tables.
 *
 * Where each Tunnel Encapsulation sub-TLV is handled, in the order decode;
 * text; message 122; size; encode (BOL_SRPOLICY_ prefixes left out; files:
 * p = _parse, b = _parse_bindsid, f = _format, s = bol_srpolicy.cpp). Every
 * sub-TLV, known or not, is also appended to the normalised copy by
 * CopySubTlv (p).
 *
 *   12  Preference:   ParseSubTlv_Preference (p); OutputPreferenceData (s);
 *                     FormatCondRtPreference (f); CalculateTunAttrSize (s);
 *                     ParseCfgTunnelEncapsulation (p)
 *   13  Binding SID:  ParseSubTlv_BSID (p); OutputBSIDData (s);
 *                     FormatCondRtBindSid (f); CalculateBsidLen (s); ParseCfgBSID (p)
 *   20  SRv6 BSID:    ParseSubTlv_SRv6BSID (b); OutputSRv6BSIDData (s);
 *                     FormatCondRtSRv6BSID, FormatCondRtOneSRv6BSID (f);
 *                     CalculateSRv6BsidLen (s); ParseCfgSRv6BSID (p)
 *   123 Slice id:     ParseSubTlv_Standard_SliceId (p); OutputSliceIdData (s);
 *                     FormatCondRtSliceId (f); CalculateTunAttrSize (s);
 *                     ParseCfgTunnelEncapsulation (p)
 *   126 Private slice id: ParseSubTlv_SliceId (p); OutputSliceIdData (s);
 *                     FormatCondRtSliceId (f); not configured; the attribute
 *                     setter turns 123 into 126 (SetTunnelEncapsulationAttr)
 *   127 Template id:  ParseSubTlv_CfgModuleId (p); OutputCfgModuleData (s);
 *                     FormatCondRtCfgModuleId (f); CalculateTunAttrSize (s);
 *                     ParseCfgTunnelEncapsulation (p)
 *   128 Segment List: ParseSubTlv_SegmentList (p) after CheckSegmentListVaild
 *                     (s); OutputSegmentList, OutputSegListSubType (s);
 *                     FormatCondRtSegmentList, FormatCondRtOneSegmentList (f);
 *                     CalculateSegmentListLen, CalculateSegmentLen,
 *                     CalculateSegmentListBSidLen (s); ParseCfgSegmentList,
 *                     ParseCfgSegListBSid, ParseCfgSegment (p)
 *   129 Candidate path name: ParseSubTlv_CPathName (p); OutputCPathName (s);
 *                     FormatCondRtCPathName (f); not configured
 *   130 Policy name:  ParseSubTlv_PolicyName (p); OutputPolicyName (s);
 *                     FormatCondRtPolicyName (f); not configured
 *
 * Inside a Segment List, the segment-list binding SID (segment type 33) is
 * checked by CheckSegmentListBSidValid, printed by OutputSegListBSid, sized
 * by CalculateSegmentListBSidLen and written by ParseCfgSegListBSid, all with
 * the layout of bol::SlBsidSidLen and bol::SlBsidEntryLen (below).
 */
#ifndef BOL_SRPOLICY_PRIV_H
#define BOL_SRPOLICY_PRIV_H

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_wire.h"

/* ======================================================================== */
/* Reports                                                                   */
/* ======================================================================== */

/* Source module names used in assertion reports and allocation tags. */
#define BOL_MOD_SRPOLICY "bol_srpolicy"
#define BOL_MOD_ATTR "bol_srpolicy_attr"
#define BOL_MOD_CMP "bol_srpolicy_cmp"
#define BOL_MOD_FORMAT "bol_srpolicy_format"
#define BOL_MOD_PARSE "bol_srpolicy_parse"
#define BOL_MOD_PARSE_BINDSID "bol_srpolicy_parse_bindsid"

/* Each source file defines BOL_THIS_MODULE before including this header. */
#define BOL_REPORT(value) ZUN_Assert(BOL_THIS_MODULE, (uint32_t)__LINE__, (uintptr_t)(value))

/* A null required pointer: report it and return ret. */
#define BOL_CHECK_PTR(ptr, ret)                                   \
    do {                                                          \
        if ((ptr) == NULL) {                                      \
            ZUN_Assert(BOL_THIS_MODULE, (uint32_t)__LINE__, 0u);  \
            return ret;                                           \
        }                                                         \
    } while (0)

/* Allocation from the instance's memory module, tagged with module and line. */
#define BOL_ALLOC(pstInst, size) ZUN_SimpleAlloc_F((pstInst)->ulMemModuleId, (size), BOL_THIS_MODULE, __LINE__)
#define BOL_FREE(pv) ((void)ZUN_Free_F((pv), BOL_THIS_MODULE, __LINE__))

#define BOL_REPORT_TEXT_LEN 128u

#ifdef __cplusplus
/* Report a failed bounds-checked call as "<pcFmt>" with its code in a zeroed
 * 128-byte text (at most 127 characters). pcFmt is "retCode:%d" or
 * "secRetCode:%d". */
namespace bol {
void ReportCode(const char *pcModule, uint32_t ulLine, const char *pcFmt, int iCode);
}
#define BOL_REPORT_RET(code) bol::ReportCode(BOL_THIS_MODULE, (uint32_t)__LINE__, "retCode:%d", (code))
#define BOL_REPORT_SEC(code) bol::ReportCode(BOL_THIS_MODULE, (uint32_t)__LINE__, "secRetCode:%d", (code))
#endif

#ifdef __cplusplus
namespace bol {
/* Walks a platform list from its first node: calls fn(node) for each node
 * until the walk comes back to the head or meets a null link, and returns
 * the first non-zero result of fn (0 when every call gave 0). A list whose
 * count is 0 is not walked. NodeT begins with its BOL_SRPOLICY_LIST_NODE_S. */
template <typename NodeT, typename Fn>
inline uint32_t ForEachNode(const BOL_SRPOLICY_LIST_HEAD_S *pstList, Fn fn)
{
    if (pstList == nullptr || pstList->ulCount == 0u) {
        return 0u;
    }
    for (const BOL_SRPOLICY_LIST_NODE_S *pstNode = pstList->stHead.pstNext;
         pstNode != nullptr && pstNode != &pstList->stHead; pstNode = pstNode->pstNext) {
        uint32_t ulRet = fn(reinterpret_cast<const NodeT *>(pstNode));
        if (ulRet != 0u) {
            return ulRet;
        }
    }
    return 0u;
}
} /* namespace bol */
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Decoded Tunnel Encapsulation attribute                                    */
/* ======================================================================== */

#define BOL_SRPOLICY_NAME_MAX 255u

/* One Segment List sub-TLV; its value bytes follow the fixed part. */
typedef struct BOL_SRPOLICY_SEGLIST_NODE_S {
    BOL_SRPOLICY_LIST_NODE_S stNode;
    uint16_t usSegListLen;
    uint8_t aucSegList[2]; /* usSegListLen bytes, allocated with the node */
} BOL_SRPOLICY_SEGLIST_NODE_S;

#define BOL_SRPOLICY_SEGLIST_NODE_HDR_LEN offsetof(BOL_SRPOLICY_SEGLIST_NODE_S, aucSegList)

/* One SRv6 Binding SID sub-TLV. */
typedef struct BOL_SRPOLICY_SRV6_BSID_NODE_S {
    BOL_SRPOLICY_LIST_NODE_S stNode;
    uint8_t ucFlags;
    uint32_t aulSid[4];
    uint16_t usEndpointBehavior;
    uint8_t ucLbLen;
    uint8_t ucLnLen;
    uint8_t ucFunLen;
    uint8_t ucArgLen;
} BOL_SRPOLICY_SRV6_BSID_NODE_S;

struct BOL_SRPOLICY_TNLENCAP_ATTR_S {
    uint8_t ucPrefExist;
    uint8_t ucPrefFlags;
    uint32_t ulPreference;
    uint8_t ucBsidExist;
    uint8_t ucBsidType; /* 0 none, 1 MPLS label, 2 SRv6 SID */
    uint8_t ucBsidFlags;
    uint8_t ucBsidValueExist;
    uint32_t aulBsidValue[4];
    uint8_t *pucPolicyName;
    uint16_t usPolicyNameLen;
    uint8_t ucPolicyNameValid;
    uint8_t *pucCPathName;
    uint16_t usCPathNameLen;
    uint8_t ucCPathNameValid;
    uint8_t ucCfgModuleIdExist;
    uint8_t ucCfgModuleIdFlags;
    uint32_t ulCfgModuleId;
    uint8_t ucSliceIdExist;
    uint8_t ucSliceIdFlags;
    uint8_t ucSliceIdKind; /* 0x01 private, 0x02 standard, 0x04 route flag */
    uint32_t ulStdSliceId;
    uint32_t ulPrivSliceId;
    BOL_SRPOLICY_LIST_HEAD_S *pstSegListHead;
    BOL_SRPOLICY_LIST_HEAD_S stSRv6BsidList;
    BOL_SRPOLICY_INSTANCE_S *pstInst;
    uint16_t usRecvAttrLen;
    uint8_t ucPolicyNameExist;
    uint8_t ucCPathNameExist;
    uint8_t *pucRealPrivAttr;
    uint8_t *pucCurLenField;
    uint16_t usRealPrivAttrLen;
    uint8_t ucSubTlvLenWidth;
    uint16_t usTunnelType;
};

#define BOL_SRPOLICY_SLICE_KIND_PRIV 0x01u
#define BOL_SRPOLICY_SLICE_KIND_STD 0x02u
#define BOL_SRPOLICY_SLICE_KIND_RTFLAG 0x04u

/* Tunnel and sub-TLV type codes. */
#define BOL_SRPOLICY_TUNNEL_TYPE 15u
#define BOL_SRPOLICY_SUBTLV_PREF 12u
#define BOL_SRPOLICY_SUBTLV_BSID 13u
#define BOL_SRPOLICY_SUBTLV_SRV6_BSID 20u
#define BOL_SRPOLICY_SUBTLV_STD_SLICE_ID 123u
#define BOL_SRPOLICY_SUBTLV_PRIV_SLICE_ID 126u
#define BOL_SRPOLICY_SUBTLV_CFG_MODULE_ID 127u
#define BOL_SRPOLICY_SUBTLV_SEGLIST 128u
#define BOL_SRPOLICY_SUBTLV_CPATH_NAME 129u
#define BOL_SRPOLICY_SUBTLV_POLICY_NAME 130u

/* Segment sub-TLV types inside a Segment List. */
#define BOL_SRPOLICY_SEG_MPLS 1u
#define BOL_SRPOLICY_SEG_SRV6 2u
#define BOL_SRPOLICY_SEG_WEIGHT 9u
#define BOL_SRPOLICY_SEG_TYPE13 13u
#define BOL_SRPOLICY_SEG_BSID 33u
#define BOL_SRPOLICY_SEG_PATH_MTU 220u

/* Segment-list binding SID (segment type 33): flags (1), reserved (1), then
 * one SID or two (the second is the reverse SID). The flags give the size
 * of each SID; bol::SlBsidSidLen and bol::SlBsidEntryLen (end of this
 * header) are the one place that turns them into byte counts. */
#define BOL_SRPOLICY_SLBSID_FLAG_SRV6 0x80u /* SIDs of 16 bytes, else 4 */
#define BOL_SRPOLICY_SLBSID_FLAG_EXT 0x40u  /* each SID followed by behavior (2), reserved (2), structure (4) */
#define BOL_SRPOLICY_SLBSID_HDR_LEN 2u      /* flags and reserved byte */
#define BOL_SRPOLICY_SLBSID_EXT_LEN 8u      /* behavior, reserved, structure */


/* ======================================================================== */
/* Plug-in frame                                                             */
/* ======================================================================== */

BOL_SRPOLICY_API void *BOL_SRPOLICY_Malloc(BOL_SRPOLICY_INSTANCE_S *pstInst, uint32_t ulSize);
BOL_SRPOLICY_API void BOL_SRPOLICY_Free(void **ppvMem, BOL_SRPOLICY_INSTANCE_S *pstInst);

BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetPktParseEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetPktFormatEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetAttrSetEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetBgpiMsgParseEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetBgpiMsgFormatEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetHaiMsgParseEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetHaiMsgFormatEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetAttrMsgParseEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetAttrMsgFormatEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetCfgParseEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetCfgFormatEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetDataCmpEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetData2StrEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetConstructSubsKeyEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetTunEncapSubTlvParseEntry(uint32_t ulType);
BOL_SRPOLICY_API const BOL_SRPOLICY_PROC_ENTRY_S *BOL_SRPOLICY_GetOutputTnlEncapTlvEntry(uint32_t ulType);

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_Construct_CondRtSubsKey(void *pv1, void *pv2, void *pv3, void *pv4);

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputData(void **ppvOut, const BOL_PARSE_DESC_S *pstDesc,
                                                  uint32_t ulMemModuleId);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CalcOutputLen(const BOL_PARSE_DESC_S *pstDesc, uint32_t *pulLen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputKey(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain,
                                                 const BOL_PARSE_DESC_S *pstDesc, uint16_t *pusOffset);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputAttr(BOL_PARSE_OUTPUT_S *pstOut, uint32_t *pulRemain,
                                                  const BOL_PARSE_DESC_S *pstDesc, uint16_t *pusOffset);

/* ======================================================================== */
/* SR Policy NLRI                                                            */
/* ======================================================================== */

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseMpNlri(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx, void **ppvOut,
                                                   uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseMpUnNlri(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx,
                                                     void **ppvOut, uint32_t *pulMore,
                                                     BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseBgpNlri(uint8_t **ppucCur, uint32_t ulNlriBytes, void **ppvOut,
                                                    uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatMpNlri(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                    uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatMpUnNlri(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                      uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);

/* ======================================================================== */
/* Tunnel Encapsulation attribute codec                                      */
/* ======================================================================== */

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_InitTunnelEncapAttr(BOL_SRPOLICY_TNLENCAP_ATTR_S **ppstAttr,
                                                           BOL_SRPOLICY_INSTANCE_S *pstInst, uint32_t ulAttrLen);
BOL_SRPOLICY_API void BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                                   BOL_SRPOLICY_INSTANCE_S *pstInst);

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParsePktTunnelEncapAttr(uint8_t *pucAttr, uint32_t ulAttrLen,
                                                               BOL_SRPOLICY_TNLENCAP_ATTR_S **ppstAttr,
                                                               BOL_SRPOLICY_INSTANCE_S *pstInst,
                                                               uint8_t **ppucPrivSliceIdPos,
                                                               uint8_t **ppucStdSliceIdPos);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseTunnelEncapsulationAttribute(uint8_t **ppucCur, uint32_t ulLen,
                                                                         void *pvHostCtx, void **ppvOut,
                                                                         uint32_t *pulMore,
                                                                         BOL_SRPOLICY_INSTANCE_S *pstInst);
/* Copy writer of the normalised attribute; each advances *ppucPos. */
BOL_SRPOLICY_API void BOL_SRPOLICY_CopyAttrLenAndType(uint8_t **ppucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                      const uint8_t *pucAttr, uint32_t ulAttrLen,
                                                      BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API void BOL_SRPOLICY_SetRealPrivateAttr(uint8_t **ppucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                      uint32_t ulType, uint32_t ulLen, const uint8_t *pucValue,
                                                      uint8_t **ppucPrivSliceIdPos, uint8_t **ppucStdSliceIdPos);
BOL_SRPOLICY_API void BOL_SRPOLICY_SetRealPrivateAttrName(uint8_t **ppucPos, const uint8_t *pucName,
                                                          uint16_t usNameLen, uint8_t *pucLenField,
                                                          uint8_t ucWidth);
BOL_SRPOLICY_API void BOL_SRPOLICY_GetSliceIDAttrPos(uint8_t **ppucPos, uint32_t ulType,
                                                     uint8_t **ppucPrivSliceIdPos, uint8_t **ppucStdSliceIdPos);
BOL_SRPOLICY_API void BOL_SRPOLICY_UpdateRealPrivateAttrLen(uint8_t **ppucPos, BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr);

/* Sub-TLV decoders. */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_Preference(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                              uint8_t *pucValue, uint32_t ulLen,
                                                              BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_BSID(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                                        uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_SegmentList(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                               uint8_t *pucValue, uint32_t ulLen,
                                                               BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_CfgModuleId(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                               uint8_t *pucValue, uint32_t ulLen,
                                                               BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_SliceId(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                                           uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_Standard_SliceId(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                                    uint8_t *pucValue, uint32_t ulLen,
                                                                    BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_SRv6BSID(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                            uint8_t *pucValue, uint32_t ulLen,
                                                            BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_CPathName(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                             uint8_t *pucValue, uint32_t ulLen,
                                                             BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_PolicyName(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                              uint8_t *pucValue, uint32_t ulLen,
                                                              BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_ENLP(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                                        uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseSubTlv_Priority(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                            uint8_t *pucValue, uint32_t ulLen,
                                                            BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API void BOL_SRPOLICY_SaveSRv6BSID(uint8_t *pucValue, BOL_SRPOLICY_SRV6_BSID_NODE_S *pstNode,
                                                BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API void BOL_SRPOLICY_SaveSRv6BSIDEndPoint(uint8_t *pucBehavior, BOL_SRPOLICY_SRV6_BSID_NODE_S *pstNode,
                                                        BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckNameValid(const uint8_t *pucName, uint32_t ulLen);

/* Segment-list validation. */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentListVaild(const uint8_t *pucValue, uint32_t ulLen);
BOL_SRPOLICY_API void BOL_SRPOLICY_SetSegmentSubTlvNoDefFeild2Zero(uint8_t *pucValue, uint32_t ulLen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSubTlvValid(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                        uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType1Vaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType2Vaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType3Vaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType4Vaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType5Vaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType6Vaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType7Vaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType8Vaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t ulType);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmenWeightVaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                              uint32_t ulLen, uint32_t *pulWeightSeen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType13Vaild(uint32_t ulType, uint32_t ulLen,
                                                               uint32_t *pulMtuSeen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentType220Vaild(uint32_t ulLen, uint32_t *pulMtuSeen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentListBSidValid(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                                 uint32_t ulLen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSegmentSidEncodingVaild(const uint8_t *pucValue, const uint8_t *pucEnd,
                                                                    uint32_t ulLen, uint32_t ulType);

/* Attribute set and encoding. */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_SetTunnelEncapsulationAttr(const BOL_RT_DATA_S *pstRtData, uint32_t ulFlags,
                                                                  void **ppvOut, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_TryPackTnlEncapAttr(uint8_t **ppucPacked, uint8_t *pucRealPrivAttr,
                                                           uint8_t *pucPrivSliceId, BOL_SRPOLICY_INSTANCE_S *pstInst,
                                                           uint16_t usRealPrivAttrLen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatTunnelEncapsulationAttribute(const BOL_RT_DATA_S *pstRtData,
                                                                          uint8_t **ppucCur, uint32_t ulRoom,
                                                                          BOL_SRPOLICY_INSTANCE_S *pstInst);

/* ======================================================================== */
/* Text rendering                                                            */
/* ======================================================================== */

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_IPv6AddrToStr(const uint32_t *pulAddr, uint32_t ulAddrLen, char *pcBuf,
                                                     uint32_t ulBufLen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_MpNlriData2Str(const BOL_RT_DATA_S *pstRtData, char *pcBuf, uint32_t ulBufLen,
                                                      uint32_t *pulOffset, uint32_t *pulMore,
                                                      BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_TunnelEncapsulationAttr2Str(const BOL_RT_DATA_S *pstRtData, char *pcBuf,
                                                                   uint32_t ulBufLen, uint32_t *pulOffset,
                                                                   uint32_t *pulMore,
                                                                   BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputTunnelEncapAttr(const uint8_t *pucTlv, uint32_t ulAttrLen,
                                                             uint32_t ulRoom, char *pcBuf, uint32_t *pulOffset,
                                                             uint32_t *pulMore);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatTnlEncapAttrHeader(uint32_t ulOffset, char **ppcPos,
                                                                uint32_t *pulRoom);
BOL_SRPOLICY_API void BOL_SRPOLICY_OutputGetCopyName(char *pcDst, uint32_t ulDstSize, const uint8_t *pucSrc,
                                                     uint32_t ulCount);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_TLVGetTypeAndLen(const uint8_t *pucTlv, uint32_t ulLen, uint8_t *pucType,
                                                        uint16_t *pusLen);
BOL_SRPOLICY_API void BOL_SRPOLICY_OutputENLP(void);
BOL_SRPOLICY_API void BOL_SRPOLICY_OutputPriorityData(void);

/* Sub-TLV printers (the printer contract of the attribute text walk). */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputPreferenceData(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf,
                                                            uint32_t ulRoom, uint32_t *pulWritten,
                                                            uint32_t *pulInner);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputBSIDData(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf,
                                                      uint32_t ulRoom, uint32_t *pulWritten, uint32_t *pulInner);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputSegmentList(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf,
                                                         uint32_t ulRoom, uint32_t *pulWritten, uint32_t *pulInner);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputCfgModuleData(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf,
                                                           uint32_t ulRoom, uint32_t *pulWritten,
                                                           uint32_t *pulInner);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputSliceIdData(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf,
                                                         uint32_t ulRoom, uint32_t *pulWritten, uint32_t *pulInner);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputSRv6BSIDData(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf,
                                                          uint32_t ulRoom, uint32_t *pulWritten,
                                                          uint32_t *pulInner);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputCPathName(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf,
                                                       uint32_t ulRoom, uint32_t *pulWritten, uint32_t *pulInner);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputPolicyName(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf,
                                                        uint32_t ulRoom, uint32_t *pulWritten, uint32_t *pulInner);

/* Segment-list text. */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_OutputSegmentListHead(char **ppcPos, uint32_t *pulRoom, uint32_t *pulWritten,
                                                             uint32_t ulInner);
BOL_SRPOLICY_API int32_t BOL_SRPOLICY_OutputSegListSubType(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf,
                                                           uint32_t ulType, uint32_t ulLen,
                                                           uint32_t *pulUnsupported);
BOL_SRPOLICY_API int32_t BOL_SRPOLICY_OutputSegListType2Type13(const uint8_t *pucSeg, uint32_t ulRoom, char *pcBuf,
                                                               uint32_t ulType, uint32_t ulLen);
BOL_SRPOLICY_API int32_t BOL_SRPOLICY_OutputSegListBSid(uint32_t ulRoom, uint32_t ulType, uint32_t ulLen,
                                                        const uint8_t *pucSeg, char *pcBuf);

/* ======================================================================== */
/* Comparison                                                                */
/* ======================================================================== */

BOL_SRPOLICY_API int32_t BOL_SRPOLICY_CmpKey(const void *pvA, uint32_t ulLenA, const void *pvB, uint32_t ulLenB);
BOL_SRPOLICY_API int32_t BOL_SRPOLICY_CmpAttr(const void *pvA, uint32_t ulLenA, const void *pvB, uint32_t ulLenB);

/* ======================================================================== */
/* Internal messages                                                         */
/* ======================================================================== */

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtSubsKey(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                           uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtRouteKey(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                            uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtAttr(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                        uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseCondRtSubsKey(const uint8_t *pucMsg, uint32_t ulLen, void **ppvOut,
                                                          BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtPreference(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                              uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtCfgModuleId(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                               uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtBindSid(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                           uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtSegmentList(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                               uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtSliceId(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                           uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtSRv6BSID(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                            uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtCPathName(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                             uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtPolicyName(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr,
                                                              uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtOneSegmentList(const BOL_SRPOLICY_SEGLIST_NODE_S *pstNode,
                                                                  uint8_t **ppucCur, const uint8_t *pucEnd);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtOneSRv6BSID(const BOL_SRPOLICY_SRV6_BSID_NODE_S *pstNode,
                                                               uint8_t **ppucCur, const uint8_t *pucEnd);

/* The segment record read by BOL_SRPOLICY_FormatCondRtOneSegment. */
typedef struct BOL_SRPOLICY_CONDRT_SEGMENT_S {
    BOL_SRPOLICY_LIST_NODE_S stNode;
    uint8_t ucExist; /* must be 1 */
    uint8_t ucRsv0;
    uint8_t ucType;
    uint8_t ucRsv1;
    uint32_t ulValue;
} BOL_SRPOLICY_CONDRT_SEGMENT_S;

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCondRtOneSegment(const BOL_SRPOLICY_CONDRT_SEGMENT_S *pstSeg,
                                                              uint8_t **ppucCur, const uint8_t *pucEnd);

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatHaRtPrefixTlv(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                           uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseHaRtPrefixTlv(const uint8_t *pucMsg, uint32_t ulLen, void **ppvOut,
                                                          BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatTunnelEncapsAttrTlv(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                                 uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv(const uint8_t *pucMsg, uint32_t ulLen,
                                                                  void **ppvOut, BOL_SRPOLICY_INSTANCE_S *pstInst);

/* ======================================================================== */
/* Configuration                                                             */
/* ======================================================================== */

/* Configured tunnel encapsulation: flags and the sizes that both the size
 * arithmetic and the encoder use. */
#define BOL_SRPOLICY_CFG_SRV6_BSID_FLAG_B 0x20u /* SRv6 binding SID: behavior and structure follow */
#define BOL_SRPOLICY_TUNNEL_HDR_LEN 4u          /* tunnel type and tunnel length */
#define BOL_SRPOLICY_U32_SUBTLV_LEN 8u          /* type, length 6, flags, reserved, 4-byte value */

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseCfgPrefix(const void *pvCfg, uint32_t ulLen, void **ppvOut,
                                                      BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCfgPrefix(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur,
                                                       uint32_t ulRoom, uint32_t *pulOffset, uint32_t *pulMore);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseCfgTunnelEncapsulation(const void *pvCfg, uint32_t ulLen, void **ppvOut,
                                                                   BOL_SRPOLICY_INSTANCE_S *pstInst);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCfgTunnelEncapsulation(const BOL_RT_DATA_S *pstRtData,
                                                                    uint8_t **ppucCur, uint32_t ulRoom,
                                                                    uint32_t *pulOffset, uint32_t *pulMore);
BOL_SRPOLICY_API void BOL_SRPOLICY_ParseCfgBSID(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint8_t **ppucPos);
BOL_SRPOLICY_API void BOL_SRPOLICY_ParseCfgSRv6BSID(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint8_t **ppucPos);
BOL_SRPOLICY_API void BOL_SRPOLICY_ParseCfgSegmentList(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg,
                                                       uint8_t **ppucPos);
BOL_SRPOLICY_API void BOL_SRPOLICY_ParseCfgSegListBSid(uint8_t **ppucPos, const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList);
BOL_SRPOLICY_API void BOL_SRPOLICY_ParseCfgSegment(uint8_t **ppucPos, const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_GetSrpType1SegmentValue(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList,
                                                               uint32_t ulIndex);
BOL_SRPOLICY_API const uint32_t *BOL_SRPOLICY_GetSrpType2SegmentValue(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList,
                                                                      uint32_t ulIndex);
BOL_SRPOLICY_API void BOL_SRPOLICY_CalculateTunAttrLen(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint16_t *pusTotal);
BOL_SRPOLICY_API void BOL_SRPOLICY_CalculateBsidLen(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg, uint16_t *pusSize);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CalculateSegmentListLen(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList,
                                                               uint16_t *pusLen);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CalculateSegmentListBSidLen(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList);
/* Size of segment ulIndex (0-based) of a configured segment list as it is
 * encoded: 8 (MPLS label), 20 (SRv6 SID), or 0 when it is not encoded (past
 * the segment count or the 16th segment, label 0xFFFFFFFF, all-zero SID,
 * other segment type). The size arithmetic and the encoder both use it. */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CalculateSegmentLen(const BOL_SRPOLICY_CFG_SEGLIST_S *pstSegList,
                                                           uint32_t ulIndex);
/* Size of one configured SRv6 binding SID sub-TLV: 28 with the B-flag, else 20. */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CalculateSRv6BsidLen(const BOL_SRPOLICY_CFG_SRV6_BSID_S *pstBsid);
/* The whole encoded size without the 16-bit wrap of BOL_SRPOLICY_CalculateTunAttrLen,
 * so that the encoder can refuse what a 16-bit length cannot carry. 0 for a
 * null record (reported). */
BOL_SRPOLICY_API uint64_t BOL_SRPOLICY_CalculateTunAttrSize(const BOL_SRPOLICY_CFG_TNLENCAP_S *pstCfg);

/* ======================================================================== */
/* Route checks                                                              */
/* ======================================================================== */

BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSRv4Route(const BOL_SRPOLICY_NLRI_S *pstKey, uint32_t *pulValid);
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckSRv6Route(const BOL_SRPOLICY_NLRI_S *pstKey, uint32_t *pulValid);

#ifdef __cplusplus
}
#endif

#ifdef __cplusplus
namespace bol {
/* The one lookup behind every BOL_SRPOLICY_Get*Entry: the first row of the
 * table whose type matches, or null. Inline so that the hot dispatchers
 * (packet parse, the sub-TLV walk) search their table without a call. */
template <size_t N>
inline const BOL_SRPOLICY_PROC_ENTRY_S *FindRow(const BOL_SRPOLICY_PROC_ENTRY_S (&astTbl)[N], uint32_t ulType)
{
    for (size_t i = 0; i < N; i++) {
        if (astTbl[i].ulType == ulType) {
            return &astTbl[i];
        }
    }
    return nullptr;
}

/* g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL indexed by sub-TLV type (types
 * have 8 bits): the row number plus one, 0 for a type without a row. */
struct SubTlvRowIndex {
    uint8_t aucRowPlus1[256];
};
extern const SubTlvRowIndex g_stSubTlvParseRows;

/* The row BOL_SRPOLICY_GetTunEncapSubTlvParseEntry finds for a sub-TLV type,
 * with one load instead of a search: the walk asks once per sub-TLV. */
inline const BOL_SRPOLICY_PROC_ENTRY_S *SubTlvParseRow(uint8_t ucType)
{
    uint32_t ulRowPlus1 = g_stSubTlvParseRows.aucRowPlus1[ucType];
    return (ulRowPlus1 == 0u) ? nullptr : &g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL[ulRowPlus1 - 1u];
}

/* Checks a Segment List value as BOL_SRPOLICY_CheckSegmentListVaild does and,
 * when it is accepted, clears what BOL_SRPOLICY_SetSegmentSubTlvNoDefFeild2Zero
 * clears, in one pass over the segments. Nothing is cleared on a refusal. */
uint32_t CheckAndClearSegmentList(uint8_t *pucValue, uint32_t ulLen);

/* Bytes of one segment-list binding SID itself: 16 or 4. */
inline uint32_t SlBsidSidLen(uint32_t ulFlags)
{
    return ((ulFlags & BOL_SRPOLICY_SLBSID_FLAG_SRV6) != 0u) ? 16u : 4u;
}

/* Bytes of one segment-list binding SID with its behavior and structure. */
inline uint32_t SlBsidEntryLen(uint32_t ulFlags)
{
    uint32_t ulExt = ((ulFlags & BOL_SRPOLICY_SLBSID_FLAG_EXT) != 0u) ? BOL_SRPOLICY_SLBSID_EXT_LEN : 0u;
    return SlBsidSidLen(ulFlags) + ulExt;
}

/* The end-of-encoder check of a writer. Every encoder sizes its writes
 * beforehand (a room check, or the size arithmetic of the configured tunnel);
 * a write that then did not fit, or (bFilled) room that a buffer sized for
 * exactly what is written still has left, means the sizes and the encoder
 * disagree. That is reported as the text "sizeMismatch:%d" with the bytes
 * refused (positive) or left unwritten (negative), and false is returned. */
bool WriterMismatch(const Writer &stWr, bool bFilled, const char *pcModule, uint32_t ulLine);
/* Inline, so that a writer that holds what was sized (every decode writes a
 * dozen) costs a compare; the report is made out of line. */
inline bool WriterDone(const Writer &stWr, bool bFilled, const char *pcModule, uint32_t ulLine)
{
    if (stWr.ulShort == 0u && (!bFilled || stWr.ulRoom == 0u)) {
        return true;
    }
    return WriterMismatch(stWr, bFilled, pcModule, ulLine);
}

/* Appends the 28-byte route key message (BOL_SRPOLICY_RT_KEY_MSG_S) of a key:
 * the HA prefix TLV and the conditional-route key message. False, and nothing
 * written, when it does not fit. Defined in bol_srpolicy_format.cpp. */
bool PutRtKeyMsg(Writer &stWr, const BOL_SRPOLICY_NLRI_S &stKey);

/* An output block from the module holding usLen body bytes after its
 * header: allocated, zeroed and the body copied, as BOL_SRPOLICY_OutputData
 * builds it; the caller sets the header's flags and the body's place. Null,
 * after a report, when the allocation fails. Inline so that the decoders, the
 * NLRI decoder above all, which hands over one key per NLRI of a full table,
 * build the block without a call; its reports and its allocation tag name the
 * output service's module whoever inlines it. */
inline BOL_PARSE_OUTPUT_S *NewOutputBlock(const void *pvBody, uint16_t usLen, uint32_t ulMemModuleId)
{
    const uint32_t ulTotal = BOL_PARSE_OUTPUT_HDR_LEN + usLen;
    void *pvBlock = ZUN_SimpleAlloc_F(ulMemModuleId, ulTotal, BOL_MOD_SRPOLICY, (uint32_t)__LINE__);
    if (pvBlock == nullptr) {
        ZUN_Assert(BOL_MOD_SRPOLICY, (uint32_t)__LINE__, ulTotal);
        return nullptr;
    }
    int iRet = memset_s(pvBlock, ulTotal, 0, ulTotal);
    if (iRet != 0) {
        ReportCode(BOL_MOD_SRPOLICY, (uint32_t)__LINE__, "retCode:%d", iRet);
    }
    iRet = memcpy_s(static_cast<uint8_t *>(pvBlock) + BOL_PARSE_OUTPUT_HDR_LEN, usLen, pvBody, usLen);
    if (iRet != 0) {
        ReportCode(BOL_MOD_SRPOLICY, (uint32_t)__LINE__, "retCode:%d", iRet);
    }
    return static_cast<BOL_PARSE_OUTPUT_S *>(pvBlock);
}

/* The output block of a key alone, which BOL_SRPOLICY_OutputData builds for a
 * descriptor that holds a 28-byte key and no attribute: flags 0x2, key offset
 * 32, key length 28, stored in *ppvOut. */
inline uint32_t OutputKeyBlock(void **ppvOut, const BOL_SRPOLICY_NLRI_S *pstKey, uint32_t ulMemModuleId)
{
    if (ulMemModuleId == 0u) {
        ZUN_Assert(BOL_MOD_SRPOLICY, (uint32_t)__LINE__, 0u);
        return BOL_ERR_PARAM;
    }
    BOL_PARSE_OUTPUT_S *pstOut = NewOutputBlock(pstKey, BOL_SRPOLICY_NLRI_KEY_LEN, ulMemModuleId);
    if (pstOut == nullptr) {
        return BOL_ERR_MALLOC;
    }
    pstOut->ulOutFlags = BOL_OUTPUT_FLAG_KEY;
    pstOut->usKeyOffset = static_cast<uint16_t>(BOL_PARSE_OUTPUT_HDR_LEN);
    pstOut->usKeyLen = static_cast<uint16_t>(BOL_SRPOLICY_NLRI_KEY_LEN);
    *ppvOut = pstOut;
    return BOL_OK;
}

/* Hands usLen attribute bytes to the host as one output block: no key,
 * attribute flags 0, attribute type 23, the bytes copied. This is the block
 * BOL_SRPOLICY_OutputData builds for such a descriptor (nothing handed over,
 * without a report, when there are no bytes), built without the descriptor
 * and the call (its callers have checked ppvOut and pucAttr). */
inline uint32_t OutputAttribute(void **ppvOut, const uint8_t *pucAttr, uint16_t usLen,
                                const BOL_SRPOLICY_INSTANCE_S *pstInst)
{
    if (pstInst->ulMemModuleId == 0u) {
        ZUN_Assert(BOL_MOD_SRPOLICY, (uint32_t)__LINE__, 0u);
        return BOL_ERR_PARAM;
    }
    if (usLen == 0u) {
        return BOL_ERR_PARAM;
    }
    BOL_PARSE_OUTPUT_S *pstOut = NewOutputBlock(pucAttr, usLen, pstInst->ulMemModuleId);
    if (pstOut == nullptr) {
        return BOL_ERR_MALLOC;
    }
    pstOut->ulOutFlags = BOL_OUTPUT_FLAG_ATTR;
    pstOut->ucAttrType = static_cast<uint8_t>(BOL_SRPOLICY_PATTR_TNL_ENCAP);
    pstOut->usAttrOffset = static_cast<uint16_t>(BOL_PARSE_OUTPUT_HDR_LEN);
    pstOut->usAttrLen = usLen;
    *ppvOut = pstOut;
    return BOL_OK;
}

/* Allocates a zero-filled list node of ulSize bytes from the instance's
 * module, tagged with the caller's module and line, and links it at the
 * tail of pstList. Null when the allocation fails (nothing is linked). */
BOL_SRPOLICY_LIST_NODE_S *AppendNewNode(BOL_SRPOLICY_LIST_HEAD_S *pstList, uint32_t ulSize,
                                        BOL_SRPOLICY_INSTANCE_S *pstInst, const char *pcModule, uint32_t ulLine);
} /* namespace bol */
#define BOL_WRITER_DONE(stWr) bol::WriterDone((stWr), false, BOL_THIS_MODULE, (uint32_t)__LINE__)
#define BOL_WRITER_FILLED(stWr) bol::WriterDone((stWr), true, BOL_THIS_MODULE, (uint32_t)__LINE__)
#define BOL_APPEND_NEW_NODE(pstList, ulSize, pstInst) \
    bol::AppendNewNode((pstList), (ulSize), (pstInst), BOL_THIS_MODULE, (uint32_t)__LINE__)
#endif

#endif /* BOL_SRPOLICY_PRIV_H */
