/*
 * Compile-time checks of the records shared with the host. On the 32-bit
 * target every offset is the contract's; with wider pointers the records keep
 * their field order with natural alignment, host-owned gaps keep their byte
 * sizes and pointer slots widen.
 */
#ifndef BOL_SRPOLICY_LAYOUT_H
#define BOL_SRPOLICY_LAYOUT_H

#include <stddef.h>
#include <stdint.h>
#include <type_traits>

#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"

#define BOL_OFF(type, field, off) static_assert(offsetof(type, field) == (off), #type "." #field)
#define BOL_SIZE(type, size) static_assert(sizeof(type) == (size), "sizeof " #type)

/* Records whose layout does not depend on the pointer width. */
BOL_SIZE(BOL_SRPOLICY_NLRI_S, 28);
BOL_OFF(BOL_SRPOLICY_NLRI_S, ucNlriLen, 0);
BOL_OFF(BOL_SRPOLICY_NLRI_S, ulDistinguisher, 4);
BOL_OFF(BOL_SRPOLICY_NLRI_S, ulPolicyColor, 8);
BOL_OFF(BOL_SRPOLICY_NLRI_S, aulEndpoint, 12);

BOL_SIZE(BOL_SRPOLICY_INSTANCE_S, 264);
BOL_OFF(BOL_SRPOLICY_INSTANCE_S, ulMemModuleId, 0);
BOL_OFF(BOL_SRPOLICY_INSTANCE_S, ulScratchInUse, 4);
BOL_OFF(BOL_SRPOLICY_INSTANCE_S, aucScratch, 8);

BOL_SIZE(BOL_PARSE_OUTPUT_S, BOL_PARSE_OUTPUT_HDR_LEN);
BOL_OFF(BOL_PARSE_OUTPUT_S, ulOutFlags, 0);
BOL_OFF(BOL_PARSE_OUTPUT_S, ucAttrFlag, 4);
BOL_OFF(BOL_PARSE_OUTPUT_S, ucAttrType, 5);
BOL_OFF(BOL_PARSE_OUTPUT_S, aucReserved0, 6);
BOL_OFF(BOL_PARSE_OUTPUT_S, usKeyOffset, 12);
BOL_OFF(BOL_PARSE_OUTPUT_S, usKeyLen, 14);
BOL_OFF(BOL_PARSE_OUTPUT_S, aucReserved1, 16);
BOL_OFF(BOL_PARSE_OUTPUT_S, usAttrOffset, 24);
BOL_OFF(BOL_PARSE_OUTPUT_S, usAttrLen, 26);
BOL_OFF(BOL_PARSE_OUTPUT_S, aucReserved2, 28);

BOL_SIZE(BOL_SRPOLICY_RT_KEY_MSG_S, 28);
BOL_OFF(BOL_SRPOLICY_RT_KEY_MSG_S, aucDistinguisher, 4);
BOL_OFF(BOL_SRPOLICY_RT_KEY_MSG_S, aucPolicyColor, 8);
BOL_OFF(BOL_SRPOLICY_RT_KEY_MSG_S, aucEndpoint, 12);
BOL_SIZE(BOL_SRPOLICY_CONDRT_TLV_S, 8);
BOL_SIZE(BOL_SRPOLICY_CONDRT_SEGLIST_ENTRY_S, 3);
BOL_SIZE(BOL_SRPOLICY_CONDRT_SRV6_BSID_ENTRY_S, 28);
BOL_OFF(BOL_SRPOLICY_CONDRT_SRV6_BSID_ENTRY_S, aucSid, 4);
BOL_OFF(BOL_SRPOLICY_CONDRT_SRV6_BSID_ENTRY_S, aucEndpointBehavior, 20);
BOL_OFF(BOL_SRPOLICY_CONDRT_SRV6_BSID_ENTRY_S, ucLbLen, 24);
BOL_OFF(BOL_SRPOLICY_CONDRT_SRV6_BSID_ENTRY_S, ucArgLen, 27);

BOL_SIZE(BOL_SRPOLICY_CFG_PREFIX_S, BOL_SRPOLICY_CFG_PREFIX_LEN);
BOL_OFF(BOL_SRPOLICY_CFG_PREFIX_S, ulCfgKind, 0);
BOL_OFF(BOL_SRPOLICY_CFG_PREFIX_S, ulDistinguisher, 4);
BOL_OFF(BOL_SRPOLICY_CFG_PREFIX_S, ulPolicyColor, 8);
BOL_OFF(BOL_SRPOLICY_CFG_PREFIX_S, ulEndpointV4, 12);
BOL_OFF(BOL_SRPOLICY_CFG_PREFIX_S, aucEndpointV6, 16);
BOL_OFF(BOL_SRPOLICY_CFG_PREFIX_S, ucEndpointIsV6, 32);

/* Tables and rows. */
static_assert(std::is_standard_layout<BOL_SRPOLICY_PROC_ENTRY_S>::value, "row is a plain record");
static_assert(sizeof(BOL_SRPOLICY_HANDLER_U) == sizeof(void *), "a handler is one pointer");
BOL_OFF(BOL_SRPOLICY_PROC_ENTRY_S, ulType, 0);
static_assert(std::is_standard_layout<BOL_PROC_TBL_S>::value, "procedure table is a plain record");
static_assert(std::is_standard_layout<BOL_RT_DATA_S>::value, "route record is a plain record");

/* Byte offsets of the 32-bit target; P is the width of a pointer slot. */
#define BOL_P (sizeof(void *))
/* First pointer slot of the procedure table: offset 532 on the target,
 * rounded up to the pointer's alignment elsewhere. */
#define BOL_PROC_SLOT0 ((532u + alignof(void *) - 1u) / alignof(void *) * alignof(void *))
#define BOL_PROC_SLOT(off32) (BOL_PROC_SLOT0 + ((off32) - 532u) / 4u * BOL_P)

BOL_OFF(BOL_PROC_TBL_S, ulHdrWord0, 0);
BOL_OFF(BOL_PROC_TBL_S, ulHdrWord1, 4);
BOL_OFF(BOL_PROC_TBL_S, usHdrHalf, 8);
BOL_OFF(BOL_PROC_TBL_S, ucHdrByte, 10);
BOL_OFF(BOL_PROC_TBL_S, ucHost11, 11);
BOL_OFF(BOL_PROC_TBL_S, aulPktAttrType, 12);
BOL_OFF(BOL_PROC_TBL_S, aulMsgType, 92);
BOL_OFF(BOL_PROC_TBL_S, aulHaMsgType, 172);
BOL_OFF(BOL_PROC_TBL_S, aulAttrMsgType, 252);
BOL_OFF(BOL_PROC_TBL_S, aulZero0, 332);
BOL_OFF(BOL_PROC_TBL_S, aucHost344, 344);
BOL_OFF(BOL_PROC_TBL_S, aulZero1, 356);
BOL_OFF(BOL_PROC_TBL_S, aucHost364, 364);
BOL_OFF(BOL_PROC_TBL_S, pfnParsePkt, BOL_PROC_SLOT(532u));
BOL_OFF(BOL_PROC_TBL_S, pfnFormatPkt, BOL_PROC_SLOT(536u));
BOL_OFF(BOL_PROC_TBL_S, pfnSetAttr, BOL_PROC_SLOT(540u));
BOL_OFF(BOL_PROC_TBL_S, pfnHost544, BOL_PROC_SLOT(544u));
BOL_OFF(BOL_PROC_TBL_S, pfnParseMsg, BOL_PROC_SLOT(548u));
BOL_OFF(BOL_PROC_TBL_S, pfnFormatMsg, BOL_PROC_SLOT(552u));
BOL_OFF(BOL_PROC_TBL_S, pfnParseHaMsg, BOL_PROC_SLOT(556u));
BOL_OFF(BOL_PROC_TBL_S, pfnFormatHaMsg, BOL_PROC_SLOT(560u));
BOL_OFF(BOL_PROC_TBL_S, pfnParseAttrMsg, BOL_PROC_SLOT(564u));
BOL_OFF(BOL_PROC_TBL_S, pfnFormatAttrMsg, BOL_PROC_SLOT(568u));
BOL_OFF(BOL_PROC_TBL_S, pfnParseCfg, BOL_PROC_SLOT(572u));
BOL_OFF(BOL_PROC_TBL_S, pfnFormatCfg, BOL_PROC_SLOT(576u));
BOL_OFF(BOL_PROC_TBL_S, pfnConstructRtpEntry, BOL_PROC_SLOT(580u));
BOL_OFF(BOL_PROC_TBL_S, pfnHost584, BOL_PROC_SLOT(584u));
BOL_OFF(BOL_PROC_TBL_S, pfnNone588, BOL_PROC_SLOT(588u));
BOL_OFF(BOL_PROC_TBL_S, pfnHost592, BOL_PROC_SLOT(592u));
BOL_OFF(BOL_PROC_TBL_S, pfnNone596, BOL_PROC_SLOT(596u));
BOL_OFF(BOL_PROC_TBL_S, pfnHost600, BOL_PROC_SLOT(600u));
BOL_OFF(BOL_PROC_TBL_S, apfnNone604, BOL_PROC_SLOT(604u));
BOL_OFF(BOL_PROC_TBL_S, pfnCmpData, BOL_PROC_SLOT(616u));
BOL_OFF(BOL_PROC_TBL_S, pfnData2Str, BOL_PROC_SLOT(620u));
BOL_OFF(BOL_PROC_TBL_S, pfnSetRtCount, BOL_PROC_SLOT(624u));
BOL_OFF(BOL_PROC_TBL_S, pfnGetRtCount, BOL_PROC_SLOT(628u));
BOL_OFF(BOL_PROC_TBL_S, pfnCheckRoute, BOL_PROC_SLOT(632u));
BOL_OFF(BOL_PROC_TBL_S, apfnHost636, BOL_PROC_SLOT(636u));
BOL_OFF(BOL_PROC_TBL_S, apfnNone648, BOL_PROC_SLOT(648u));
BOL_OFF(BOL_PROC_TBL_S, apfnHost656, BOL_PROC_SLOT(656u));
BOL_OFF(BOL_PROC_TBL_S, pfnConstructSubsKey, BOL_PROC_SLOT(680u));
BOL_SIZE(BOL_PROC_TBL_S, BOL_PROC_SLOT(684u));

/* Route record: 12-byte host area, key length and key, 16-byte host area,
 * attribute length, 20-byte host area, attribute, 28-byte host area, flags. */
BOL_OFF(BOL_RT_DATA_S, ulKeyLen, 12);
BOL_OFF(BOL_RT_DATA_S, pstKey, 16);
BOL_OFF(BOL_RT_DATA_S, ulAttrLen, 16 + BOL_P + 16);
BOL_OFF(BOL_RT_DATA_S, pucAttr, (16 + BOL_P + 16 + 4 + 20 + BOL_P - 1) / BOL_P * BOL_P);

/* List records: the platform node is three words on the target. */
BOL_SIZE(BOL_SRPOLICY_LIST_NODE_S, (2 * BOL_P + 4 + BOL_P - 1) / BOL_P * BOL_P);

#if UINTPTR_MAX == 0xFFFFFFFFu
/* The 32-bit target: every remaining offset is fixed. */
BOL_OFF(BOL_PROC_TBL_S, pfnParsePkt, 532);
BOL_OFF(BOL_PROC_TBL_S, pfnConstructSubsKey, 680);
BOL_SIZE(BOL_PROC_TBL_S, 684);

BOL_OFF(BOL_RT_DATA_S, ulAttrLen, 36);
BOL_OFF(BOL_RT_DATA_S, pucAttr, 60);
BOL_OFF(BOL_RT_DATA_S, ulRtFlags, 92);
BOL_SIZE(BOL_RT_DATA_S, 96);

BOL_SIZE(BOL_SRPOLICY_PROC_ENTRY_S, 8);
BOL_OFF(BOL_SRPOLICY_PROC_ENTRY_S, unHandler, 4);

BOL_OFF(BOL_PARSE_DESC_S, ulKeyLen, 0);
BOL_OFF(BOL_PARSE_DESC_S, pvKey, 4);
BOL_OFF(BOL_PARSE_DESC_S, ucAttrFlag, 8);
BOL_OFF(BOL_PARSE_DESC_S, ucAttrType, 9);
BOL_OFF(BOL_PARSE_DESC_S, usAttrLen, 10);
BOL_OFF(BOL_PARSE_DESC_S, pucAttr, 12);

BOL_SIZE(BOL_SRPOLICY_LIST_NODE_S, 12);
BOL_SIZE(BOL_SRPOLICY_LIST_HEAD_S, 16);
BOL_OFF(BOL_SRPOLICY_LIST_HEAD_S, ulCount, 12);

BOL_SIZE(BOL_SRPOLICY_CFG_TNLENCAP_S, BOL_SRPOLICY_CFG_TNLENCAP_LEN);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ulBsidLabel, 0);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ucBsidSFlag, 4);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ucBsidIFlag, 5);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ucBsidExist, 6);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ucPrefExist, 7);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ulPreference, 8);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, stSegLists, 12);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, stSRv6BsidList, 28);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ulCfgModuleId, 44);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ucCfgModuleIdExist, 48);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ucSliceIdExist, 49);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, aulBsidV6, 52);
BOL_OFF(BOL_SRPOLICY_CFG_TNLENCAP_S, ulSliceId, 68);

BOL_SIZE(BOL_SRPOLICY_CFG_SRV6_BSID_S, 40);
BOL_OFF(BOL_SRPOLICY_CFG_SRV6_BSID_S, ucFlags, 12);
BOL_OFF(BOL_SRPOLICY_CFG_SRV6_BSID_S, aulSid, 16);
BOL_OFF(BOL_SRPOLICY_CFG_SRV6_BSID_S, usEndpointBehavior, 34);
BOL_OFF(BOL_SRPOLICY_CFG_SRV6_BSID_S, ulSidStructure, 36);

BOL_SIZE(BOL_SRPOLICY_CFG_SEGLIST_S, 332);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ulWeight, 12);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ucWeightExist, 16);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ucSegNum, 17);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ucSegType, 18);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ucPathMtuExist, 19);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, aulSegValue, 20);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ulPathMtu, 276);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ucBsidFlags, 280);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, aulBsid, 284);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, usEndpointBehavior, 300);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ulSidStructure, 304);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, aulReverseBsid, 308);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, usReverseEndpointBehavior, 324);
BOL_OFF(BOL_SRPOLICY_CFG_SEGLIST_S, ulReverseSidStructure, 328);
#endif

#undef BOL_OFF
#undef BOL_SIZE

#endif /* BOL_SRPOLICY_LAYOUT_H */
