/**
 * @file bol_srpolicy.h
 * @brief libbol_srpolicy: the SR Policy address-family plug-in of the BOL codec host.
 *
 * The host interface: the records shared with the host, the result codes, the
 * handler tables and the entry points. Valid C99 and C++.
 *
 * The host constructs the plug-in with BOL_SRPOLICY_Construct() and reaches every
 * operation through the procedure table #BOL_PROC_TBL_S it fills. The plug-in calls
 * the platform functions of bol_platform.h, which the host provides.
 *
 * The offsets given in the comments are those of the 32-bit target. In a build
 * with wider pointers every record keeps its field order with natural
 * alignment; host-owned gaps keep their byte sizes.
 */
#ifndef BOL_SRPOLICY_H
#define BOL_SRPOLICY_H

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"

/** Marks the plug-in's exported names: default visibility while the plug-in is built, nothing for the host. */
#if defined(BOL_SRPOLICY_BUILDING) && defined(__GNUC__)
#define BOL_SRPOLICY_API __attribute__((visibility("default")))
#else
#define BOL_SRPOLICY_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Version                                                                   */
/* ======================================================================== */

/* The major number changes with every change that breaks the interface and
 * names the shared library (libbol_srpolicy.so.MAJOR). */
#define BOL_SRPOLICY_VERSION_MAJOR 1            /**< changes that break the interface */
#define BOL_SRPOLICY_VERSION_MINOR 0            /**< compatible additions */
#define BOL_SRPOLICY_VERSION_PATCH 0            /**< fixes */
#define BOL_SRPOLICY_VERSION_STRING "1.0.0"     /**< "MAJOR.MINOR.PATCH" */
/** The version as one number that grows with every release: MAJOR * 10000 + MINOR * 100 + PATCH. */
#define BOL_SRPOLICY_VERSION \
    (BOL_SRPOLICY_VERSION_MAJOR * 10000 + BOL_SRPOLICY_VERSION_MINOR * 100 + BOL_SRPOLICY_VERSION_PATCH)

/* ======================================================================== */
/* Result codes                                                              */
/* ======================================================================== */

#define BOL_OK 0x0u                       /**< success */
#define BOL_SRPOLICY_ERR 0x1u             /**< print failure; route check without a usable key */
#define BOL_SRPOLICY_ERR_PARA 0x2u        /**< small parameter error */
#define BOL_SRPOLICY_ERR_NOMEM 0x3u       /**< working allocation failed */
#define BOL_SRPOLICY_ERR_BUF_SHORT 0x4u   /**< caller's buffer too small */
#define BOL_SRPOLICY_ERR_SEG_ABSENT 0x6u  /**< segment record not present */
#define BOL_ERR_TLV_LEN 0x20001u          /**< TLV shorter than its header or its length */
#define BOL_ERR_SUBTLV_INVALID 0x30005u   /**< sub-TLV or segment length/value not allowed, or repeated */
#define BOL_ERR_SUBTLV_MALFORMED 0x30006u /**< lengths overrun the enclosing attribute or list */
#define BOL_ERR_MALLOC 0x50001u           /**< output record or attribute storage allocation failed */
#define BOL_ERR_PARAM 0x50002u            /**< null pointer, bad length, or no packet-parse handler */
#define BOL_ERR_NLRI_LEN 0x60001u         /**< NLRI length byte or available bytes do not fit */
#define BOL_ERR_NO_HANDLER 0x80003u       /**< dispatcher found no handler */
#define BOL_ERR_HA_TLV_SHORT 0x80004u     /**< HA prefix TLV shorter than 28 bytes */
#define BOL_ERR_HA_NLRI_LEN 0x80010u      /**< HA prefix TLV NLRI length not 96 or 192 */
#define BOL_ERR_NO_DATA 0x80012u          /**< route data lacks the key or attribute needed */
#define BOL_ERR_CFG_TYPE 0x80016u         /**< configured prefix of another kind */
#define BOL_ERR_NO_STR_HANDLER 0x80017u   /**< text dispatcher found no handler */

/** Comparison results besides -1, 0 and 1. */
#define BOL_CMP_ERR (-2)

/* ======================================================================== */
/* Constants                                                                 */
/* ======================================================================== */

#define BOL_SRPOLICY_SCRATCH_LEN 256u           /**< bytes of the instance's scratch buffer */
#define BOL_SRPOLICY_NLRI_KEY_LEN 28u           /**< bytes of the route key #BOL_SRPOLICY_NLRI_S */
#define BOL_SRPOLICY_NLRI_LEN_IPV4 96u          /**< NLRI length in bits with an IPv4 endpoint */
#define BOL_SRPOLICY_NLRI_LEN_IPV6 192u         /**< NLRI length in bits with an IPv6 endpoint */
#define BOL_PARSE_OUTPUT_HDR_LEN 32u            /**< bytes of the output block header #BOL_PARSE_OUTPUT_S */
#define BOL_OUTPUT_FLAG_KEY 0x00000002u         /**< output block holds a key */
#define BOL_OUTPUT_FLAG_ATTR 0x00000008u        /**< output block holds an attribute */

/** Path attribute type codes served by the packet dispatchers. */
#define BOL_SRPOLICY_PATTR_MP_REACH 14u         /**< MP_REACH_NLRI: SR Policy NLRI */
#define BOL_SRPOLICY_PATTR_MP_UNREACH 15u       /**< MP_UNREACH_NLRI: withdrawn SR Policy NLRI */
#define BOL_SRPOLICY_PATTR_TNL_ENCAP 23u        /**< Tunnel Encapsulation attribute */
/** Comparison data types. */
#define BOL_SRPOLICY_CMP_KEY 2u                 /**< compare route keys */
#define BOL_SRPOLICY_CMP_ATTR 8u                /**< compare attributes */
/** Text data types. */
#define BOL_SRPOLICY_STR_KEY 1u                 /**< key line */
#define BOL_SRPOLICY_STR_ATTR 128u              /**< attribute text, over several calls */
/** Internal message types. */
#define BOL_SRPOLICY_MSG_CONDRT_SUBSKEY 119u    /**< conditional-route subscription key */
#define BOL_SRPOLICY_MSG_CONDRT_SUBSKEY_ALT 120u /**< conditional-route subscription key, second form */
#define BOL_SRPOLICY_MSG_CONDRT_RTKEY 121u      /**< conditional-route route key */
#define BOL_SRPOLICY_MSG_CONDRT_ATTR 122u       /**< conditional-route attribute */
#define BOL_SRPOLICY_HAMSG_PREFIX 3u            /**< HA backup prefix TLV */
#define BOL_SRPOLICY_HAMSG_PREFIX_ALT 5u        /**< HA backup prefix TLV, second form */
#define BOL_SRPOLICY_ATTRMSG_TNL_ENCAP 47u      /**< attribute message of the Tunnel Encapsulation attribute */
/** Configuration record types. */
#define BOL_SRPOLICY_CFG_PREFIX 2u              /**< configured prefix, #BOL_SRPOLICY_CFG_PREFIX_S */
#define BOL_SRPOLICY_CFG_TNL_ENCAP 32u          /**< configured tunnel encapsulation, #BOL_SRPOLICY_CFG_TNLENCAP_S */
/** Attribute-set flag: rewrite the slice id into its private form. */
#define BOL_SRPOLICY_SET_PRIV_SLICE_ID 0x8000u
/** Route flag read by the conditional-route attribute message. */
#define BOL_SRPOLICY_RT_FLAG_PRIV_SLICE_ID 0x80u
/** Route check kind that examines the endpoint. */
#define BOL_SRPOLICY_CHECK_ENDPOINT 2u

/* ======================================================================== */
/* Plug-in instance and route key                                            */
/* ======================================================================== */

/** The plug-in instance: made by BOL_SRPOLICY_Construct(), passed back on most calls. */
typedef struct BOL_SRPOLICY_INSTANCE_S {
    uint32_t ulMemModuleId;                      /**< 0: every allocation names this module */
    uint32_t ulScratchInUse;                     /**< 4: 1 while aucScratch is lent out */
    uint8_t aucScratch[BOL_SRPOLICY_SCRATCH_LEN]; /**< 8 */
} BOL_SRPOLICY_INSTANCE_S;                        /* 264 bytes */

/** Route key of one SR Policy NLRI, host byte order, always zeroed before use. */
typedef struct BOL_SRPOLICY_NLRI_S {
    uint8_t ucNlriLen;        /**< 0: 96 (IPv4 endpoint) or 192 (IPv6 endpoint) */
    uint8_t aucReserved[3];   /**< 1 */
    uint32_t ulDistinguisher; /**< 4 */
    uint32_t ulPolicyColor;   /**< 8 */
    uint32_t aulEndpoint[4];  /**< 12: IPv4 in word 0; IPv6 as four big-endian words */
} BOL_SRPOLICY_NLRI_S;        /* 28 bytes */

/* ======================================================================== */
/* Host records                                                              */
/* ======================================================================== */

/** The host's record of one stored route; the plug-in only reads it. */
typedef struct BOL_RT_DATA_S {
    uint8_t aucHost0[12];        /**< 0: host's */
    uint32_t ulKeyLen;           /**< 12 */
    BOL_SRPOLICY_NLRI_S *pstKey; /**< 16 */
    uint8_t aucHost1[16];        /**< 20: host's */
    uint32_t ulAttrLen;          /**< 36 */
    uint8_t aucHost2[20];        /**< 40: host's */
    uint8_t *pucAttr;            /**< 60: Tunnel Encapsulation attribute value */
    uint8_t aucHost3[28];        /**< 64: host's */
    uint32_t ulRtFlags;          /**< 92 */
} BOL_RT_DATA_S;                 /* 96 bytes */

/** What a decoder hands to BOL_SRPOLICY_OutputData; zeroed before use. */
typedef struct BOL_PARSE_DESC_S {
    uint32_t ulKeyLen;   /**< 28 when a key is handed */
    void *pvKey;         /**< BOL_SRPOLICY_NLRI_S, or null */
    uint8_t ucAttrFlag;  /**< 0 */
    uint8_t ucAttrType;  /**< 23 when an attribute is handed */
    uint16_t usAttrLen;  /**< attribute bytes */
    uint8_t *pucAttr;    /**< attribute bytes, or null */
    uint32_t aulReserved[2]; /**< 0 */
} BOL_PARSE_DESC_S;

/** Header of the output block a decoder hands to the host; the key (28 bytes)
 * and then the attribute follow it in the same block. */
typedef struct BOL_PARSE_OUTPUT_S {
    uint32_t ulOutFlags;     /**< 0: BOL_OUTPUT_FLAG_KEY | BOL_OUTPUT_FLAG_ATTR */
    uint8_t ucAttrFlag;      /**< 4 */
    uint8_t ucAttrType;      /**< 5 */
    uint8_t aucReserved0[6]; /**< 6 */
    uint16_t usKeyOffset;    /**< 12 */
    uint16_t usKeyLen;       /**< 14 */
    uint8_t aucReserved1[8]; /**< 16 */
    uint16_t usAttrOffset;   /**< 24 */
    uint16_t usAttrLen;      /**< 26 */
    uint8_t aucReserved2[4]; /**< 28 */
} BOL_PARSE_OUTPUT_S;        /* 32 bytes */

/* ======================================================================== */
/* Handler signatures and table rows                                         */
/* ======================================================================== */

/** The decoded attribute record; it never leaves the plug-in. */
typedef struct BOL_SRPOLICY_TNLENCAP_ATTR_S BOL_SRPOLICY_TNLENCAP_ATTR_S;

/** Packet decoders: NLRI and the Tunnel Encapsulation attribute. */
typedef uint32_t (*BOL_SRPOLICY_PKT_PARSE_PF)(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx, void **ppvOut,
                                              uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst);
/** Packet, message, HA message and attribute message encoders. */
typedef uint32_t (*BOL_SRPOLICY_FORMAT_PF)(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur, uint32_t ulRoom,
                                           BOL_SRPOLICY_INSTANCE_S *pstInst);
/** Attribute setter. */
typedef uint32_t (*BOL_SRPOLICY_SET_ATTR_PF)(const BOL_RT_DATA_S *pstRtData, uint32_t ulFlags, void **ppvOut,
                                             BOL_SRPOLICY_INSTANCE_S *pstInst);
/** Message, HA message and attribute message decoders. */
typedef uint32_t (*BOL_SRPOLICY_MSG_PARSE_PF)(const uint8_t *pucMsg, uint32_t ulLen, void **ppvOut,
                                              BOL_SRPOLICY_INSTANCE_S *pstInst);
/** Configuration record decoders. */
typedef uint32_t (*BOL_SRPOLICY_CFG_PARSE_PF)(const void *pvCfg, uint32_t ulLen, void **ppvOut,
                                              BOL_SRPOLICY_INSTANCE_S *pstInst);
/** Configuration text writers. */
typedef uint32_t (*BOL_SRPOLICY_CFG_FORMAT_PF)(const BOL_RT_DATA_S *pstRtData, uint8_t **ppucCur, uint32_t ulRoom,
                                               uint32_t *pulOffset, uint32_t *pulMore);
/** Comparators of keys and attributes. */
typedef int32_t (*BOL_SRPOLICY_CMP_PF)(const void *pvA, uint32_t ulLenA, const void *pvB, uint32_t ulLenB);
/** Text renderers of keys and attributes. */
typedef uint32_t (*BOL_SRPOLICY_DATA2STR_PF)(const BOL_RT_DATA_S *pstRtData, char *pcBuf, uint32_t ulBufLen,
                                             uint32_t *pulOffset, uint32_t *pulMore,
                                             BOL_SRPOLICY_INSTANCE_S *pstInst);
/** Subscription-key constructors. */
typedef uint32_t (*BOL_SRPOLICY_SUBSKEY_PF)(void *pv1, void *pv2, void *pv3, void *pv4);
/** Sub-TLV decoder of the attribute walk. */
typedef uint32_t (*BOL_SRPOLICY_SUBTLV_PARSE_PF)(BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t *pucValue,
                                                 uint32_t ulLen, BOL_SRPOLICY_INSTANCE_S *pstInst);
/** Sub-TLV printer of the attribute text walk. */
typedef uint32_t (*BOL_SRPOLICY_TEXT_OUT_PF)(const uint8_t *pucValue, uint32_t ulLen, char *pcBuf, uint32_t ulRoom,
                                             uint32_t *pulWritten, uint32_t *pulInner);
/** Segment check of the segment-list validation, indexed by segment type. */
typedef uint32_t (*BOL_SRPOLICY_SEG_CHECK_PF)(const uint8_t *pucValue, const uint8_t *pucEnd, uint32_t ulLen,
                                              uint32_t ulType);
/** Item encoder of the conditional-route attribute message. */
typedef uint32_t (*BOL_SRPOLICY_CONDRT_ATTR_PF)(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, uint8_t **ppucCur,
                                                const uint8_t *pucEnd);

/** The handler of a table row: one pointer, read as the table's own kind. */
typedef union BOL_SRPOLICY_HANDLER_U {
    BOL_SRPOLICY_PKT_PARSE_PF pfnPktParse; /**< packet decoder */
    BOL_SRPOLICY_FORMAT_PF pfnFormat; /**< packet or message encoder */
    BOL_SRPOLICY_SET_ATTR_PF pfnSetAttr; /**< attribute setter */
    BOL_SRPOLICY_MSG_PARSE_PF pfnMsgParse; /**< message decoder */
    BOL_SRPOLICY_CFG_PARSE_PF pfnCfgParse; /**< configuration decoder */
    BOL_SRPOLICY_CFG_FORMAT_PF pfnCfgFormat; /**< configuration writer */
    BOL_SRPOLICY_CMP_PF pfnCmp; /**< comparator */
    BOL_SRPOLICY_DATA2STR_PF pfnData2Str; /**< text renderer */
    BOL_SRPOLICY_SUBSKEY_PF pfnSubsKey; /**< subscription-key constructor */
    BOL_SRPOLICY_SUBTLV_PARSE_PF pfnSubTlvParse; /**< sub-TLV decoder */
    BOL_SRPOLICY_TEXT_OUT_PF pfnTextOut; /**< sub-TLV printer */
    BOL_SRPOLICY_SEG_CHECK_PF pfnSegCheck; /**< segment check */
    BOL_SRPOLICY_CONDRT_ATTR_PF pfnCondRtAttr; /**< conditional-route item encoder */
#ifdef __cplusplus
    /* Constant rows: each constructor stores its own kind, so a table of any
     * kind is initialised at compile time without casts. */
    constexpr BOL_SRPOLICY_HANDLER_U() : pfnPktParse(nullptr) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_PKT_PARSE_PF pfn) : pfnPktParse(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_FORMAT_PF pfn) : pfnFormat(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_SET_ATTR_PF pfn) : pfnSetAttr(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_MSG_PARSE_PF pfn) : pfnMsgParse(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_CFG_PARSE_PF pfn) : pfnCfgParse(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_CFG_FORMAT_PF pfn) : pfnCfgFormat(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_CMP_PF pfn) : pfnCmp(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_DATA2STR_PF pfn) : pfnData2Str(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_SUBSKEY_PF pfn) : pfnSubsKey(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_SUBTLV_PARSE_PF pfn) : pfnSubTlvParse(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_TEXT_OUT_PF pfn) : pfnTextOut(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_SEG_CHECK_PF pfn) : pfnSegCheck(pfn) {}
    constexpr BOL_SRPOLICY_HANDLER_U(BOL_SRPOLICY_CONDRT_ATTR_PF pfn) : pfnCondRtAttr(pfn) {}
#endif
} BOL_SRPOLICY_HANDLER_U;

/** One row of a handler table. */
typedef struct BOL_SRPOLICY_PROC_ENTRY_S {
    uint32_t ulType;                 /**< type code the row answers to */
    BOL_SRPOLICY_HANDLER_U unHandler; /**< null in a row that has none */
} BOL_SRPOLICY_PROC_ENTRY_S;

/* ======================================================================== */
/* Procedure table                                                           */
/* ======================================================================== */

/** A slot whose operation is the host's business. */
typedef void (*BOL_HOST_PF)(void);

/**
 * The host's procedure table, filled by BOL_SRPOLICY_Construct(): header words, the type codes the plug-in
 * serves, and its entry points. Slots marked "host's" are the host's and are not written.
 */
typedef struct BOL_PROC_TBL_S {
    uint32_t ulHdrWord0;          /**< 0 */
    uint32_t ulHdrWord1;          /**< 4 */
    uint16_t usHdrHalf;           /**< 8 */
    uint8_t ucHdrByte;            /**< 10 */
    uint8_t ucHost11;             /**< 11: host's */
    uint32_t aulPktAttrType[20];  /**< 12 */
    uint32_t aulMsgType[20];      /**< 92 */
    uint32_t aulHaMsgType[20];    /**< 172 */
    uint32_t aulAttrMsgType[20];  /**< 252 */
    uint32_t aulZero0[3];         /**< 332 */
    uint8_t aucHost344[12];       /**< 344: host's */
    uint32_t aulZero1[2];         /**< 356 */
    uint8_t aucHost364[168];      /**< 364: host's */
    uint32_t (*pfnParsePkt)(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx, uint32_t ulType, void **ppvOut,
                            uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 532 */
    uint32_t (*pfnFormatPkt)(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur, uint32_t ulRoom,
                             BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 536 */
    uint32_t (*pfnSetAttr)(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint32_t ulFlags, void **ppvOut,
                           BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 540 */
    BOL_HOST_PF pfnHost544;  /**< 544: host's */
    uint32_t (*pfnParseMsg)(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                            BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 548 */
    uint32_t (*pfnFormatMsg)(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur, uint32_t ulRoom,
                             BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 552 */
    uint32_t (*pfnParseHaMsg)(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                              BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 556 */
    uint32_t (*pfnFormatHaMsg)(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur,
                               uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 560 */
    uint32_t (*pfnParseAttrMsg)(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                                BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 564 */
    uint32_t (*pfnFormatAttrMsg)(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur,
                                 uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 568 */
    uint32_t (*pfnParseCfg)(const void *pvCfg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                            BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 572 */
    uint32_t (*pfnFormatCfg)(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur, uint32_t ulRoom,
                             uint32_t *pulOffset, uint32_t *pulMore); /**< 576 */
    uint32_t (*pfnConstructRtpEntry)(void *pvHost, void *pvRtpEntry); /**< 580 */
    BOL_HOST_PF pfnHost584;     /**< 584: host's */
    BOL_HOST_PF pfnNone588;     /**< 588: not provided, null */
    BOL_HOST_PF pfnHost592;     /**< 592: host's */
    BOL_HOST_PF pfnNone596;     /**< 596: not provided, null */
    BOL_HOST_PF pfnHost600;     /**< 600: host's */
    BOL_HOST_PF apfnNone604[3]; /**< 604: not provided, null */
    int32_t (*pfnCmpData)(const void *pvA, uint32_t ulLenA, const void *pvB, uint32_t ulLenB,
                          uint32_t ulType); /**< 616 */
    uint32_t (*pfnData2Str)(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, char *pcBuf, uint32_t ulBufLen,
                            uint32_t *pulOffset, uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst); /**< 620 */
    uint32_t (*pfnSetRtCount)(const BOL_RT_DATA_S *pstRtData, uint32_t *pulCounters, uint32_t ulCounterNum,
                              uint32_t ulAdd, uint32_t ulAmount); /**< 624 */
    uint32_t (*pfnGetRtCount)(const uint32_t *pulCounters, uint32_t ulCounterNum, uint32_t ulIndex,
                              uint32_t *pulCount); /**< 628 */
    uint32_t (*pfnCheckRoute)(const BOL_RT_DATA_S *pstRtData, uint32_t ulCheckKind, uint32_t *pulValid); /**< 632 */
    BOL_HOST_PF apfnHost636[3]; /**< 636: host's */
    BOL_HOST_PF apfnNone648[2]; /**< 648: not provided, null */
    BOL_HOST_PF apfnHost656[6]; /**< 656: host's */
    uint32_t (*pfnConstructSubsKey)(void *pv1, uint32_t ulType, void *pv2, void *pv3, void *pv4); /**< 680 */
} BOL_PROC_TBL_S; /* 684 bytes */

/* ======================================================================== */
/* Message records                                                           */
/* ======================================================================== */

/** Route key in network byte order: HA prefix TLV and conditional-route key message. */
typedef struct BOL_SRPOLICY_RT_KEY_MSG_S {
    uint8_t ucNlriLen;         /**< 0 */
    uint8_t aucReserved[3];    /**< 1 */
    uint8_t aucDistinguisher[4]; /**< 4 */
    uint8_t aucPolicyColor[4]; /**< 8 */
    uint8_t aucEndpoint[16];   /**< 12 */
} BOL_SRPOLICY_RT_KEY_MSG_S;   /* 28 bytes */

/** Conditional-route attribute message TLV header; the value follows. */
typedef struct BOL_SRPOLICY_CONDRT_TLV_S {
    uint8_t aucType[4];   /**< 0: big-endian */
    uint8_t aucLength[4]; /**< 4: big-endian */
} BOL_SRPOLICY_CONDRT_TLV_S;

#define BOL_SRPOLICY_CONDRT_TLV_PREF 3u         /**< preference */
#define BOL_SRPOLICY_CONDRT_TLV_CFG_MODULE_ID 5u /**< configuration module id */
#define BOL_SRPOLICY_CONDRT_TLV_BSID 2u         /**< binding SID */
#define BOL_SRPOLICY_CONDRT_TLV_SEGLIST 4u      /**< segment lists */
#define BOL_SRPOLICY_CONDRT_TLV_SLICE_ID 7u     /**< slice id */
#define BOL_SRPOLICY_CONDRT_TLV_SRV6_BSID 8u    /**< SRv6 binding SIDs */
#define BOL_SRPOLICY_CONDRT_TLV_CPATH_NAME 9u   /**< candidate path name */
#define BOL_SRPOLICY_CONDRT_TLV_POLICY_NAME 10u /**< policy name */

/** One segment-list entry of TLV 4: length, a reserved byte, the stored value. */
typedef struct BOL_SRPOLICY_CONDRT_SEGLIST_ENTRY_S {
    uint8_t aucLen[2];  /**< 0: big-endian */
    uint8_t ucReserved; /**< 2 */
    /* 3: the Segment List value */
} BOL_SRPOLICY_CONDRT_SEGLIST_ENTRY_S;

/** One SRv6 binding SID entry of TLV 8. */
typedef struct BOL_SRPOLICY_CONDRT_SRV6_BSID_ENTRY_S {
    uint8_t ucFlags;                /**< 0 */
    uint8_t aucReserved0[3];        /**< 1 */
    uint8_t aucSid[16];             /**< 4 */
    uint8_t aucEndpointBehavior[2]; /**< 20 */
    uint8_t aucReserved1[2];        /**< 22 */
    uint8_t ucLbLen;                /**< 24 */
    uint8_t ucLnLen;                /**< 25 */
    uint8_t ucFunLen;               /**< 26 */
    uint8_t ucArgLen;               /**< 27 */
} BOL_SRPOLICY_CONDRT_SRV6_BSID_ENTRY_S; /* 28 bytes */

/* ======================================================================== */
/* Configuration records                                                     */
/* ======================================================================== */

#define BOL_SRPOLICY_CFG_PREFIX_LEN 89u         /**< bytes of #BOL_SRPOLICY_CFG_PREFIX_S */
#define BOL_SRPOLICY_CFG_PREFIX_KIND 14u        /**< ulCfgKind of an SR Policy prefix */
#define BOL_SRPOLICY_CFG_TNLENCAP_LEN 72u       /**< bytes of #BOL_SRPOLICY_CFG_TNLENCAP_S on the 32-bit target */
#define BOL_SRPOLICY_CFG_MAX_SEGS 16u           /**< segments per configured segment list */

#pragma pack(push, 1)
/** Configured prefix record, type 2: 89 bytes, host byte order. */
typedef struct BOL_SRPOLICY_CFG_PREFIX_S {
    uint32_t ulCfgKind;        /**< 0: 14 */
    uint32_t ulDistinguisher;  /**< 4 */
    uint32_t ulPolicyColor;    /**< 8 */
    uint32_t ulEndpointV4;     /**< 12 */
    uint8_t aucEndpointV6[16]; /**< 16: network byte order */
    uint8_t ucEndpointIsV6;    /**< 32 */
    uint8_t aucHost33[56];     /**< 33: host's */
} BOL_SRPOLICY_CFG_PREFIX_S;   /* 89 bytes */
#pragma pack(pop)

/** Configured tunnel encapsulation record, type 32. */
typedef struct BOL_SRPOLICY_CFG_TNLENCAP_S {
    uint32_t ulBsidLabel;                    /**< 0: 20-bit label; 0 = none */
    uint8_t ucBsidSFlag;                     /**< 4 */
    uint8_t ucBsidIFlag;                     /**< 5 */
    uint8_t ucBsidExist;                     /**< 6 */
    uint8_t ucPrefExist;                     /**< 7 */
    uint32_t ulPreference;                   /**< 8 */
    BOL_SRPOLICY_LIST_HEAD_S stSegLists;     /**< 12: BOL_SRPOLICY_CFG_SEGLIST_S nodes */
    BOL_SRPOLICY_LIST_HEAD_S stSRv6BsidList; /**< 28: BOL_SRPOLICY_CFG_SRV6_BSID_S nodes */
    uint32_t ulCfgModuleId;                  /**< 44 */
    uint8_t ucCfgModuleIdExist;              /**< 48 */
    uint8_t ucSliceIdExist;                  /**< 49 */
    uint8_t aucHost50[2];                    /**< 50 */
    uint32_t aulBsidV6[4];                   /**< 52 */
    uint32_t ulSliceId;                      /**< 68 */
} BOL_SRPOLICY_CFG_TNLENCAP_S;               /* 72 bytes */

/** One configured SRv6 binding SID (list node). */
typedef struct BOL_SRPOLICY_CFG_SRV6_BSID_S {
    BOL_SRPOLICY_LIST_NODE_S stNode; /**< 0 */
    uint8_t ucFlags;                 /**< 12: 0x20 = behavior and structure follow */
    uint8_t aucHost13[3];            /**< 13 */
    uint32_t aulSid[4];              /**< 16 */
    uint8_t aucHost32[2];            /**< 32 */
    uint16_t usEndpointBehavior;     /**< 34 */
    uint32_t ulSidStructure;         /**< 36: LB, LN, Func, Args from the top byte down */
} BOL_SRPOLICY_CFG_SRV6_BSID_S;      /* 40 bytes */

/** One configured segment list (list node). */
typedef struct BOL_SRPOLICY_CFG_SEGLIST_S {
    BOL_SRPOLICY_LIST_NODE_S stNode;  /**< 0 */
    uint32_t ulWeight;                /**< 12 */
    uint8_t ucWeightExist;            /**< 16 */
    uint8_t ucSegNum;                 /**< 17 */
    uint8_t ucSegType;                /**< 18: 1 MPLS labels, 2 SRv6 SIDs */
    uint8_t ucPathMtuExist;           /**< 19 */
    uint32_t aulSegValue[64];         /**< 20: 16 labels, or 16 SIDs of four words */
    uint32_t ulPathMtu;               /**< 276 */
    uint8_t ucBsidFlags;              /**< 280 */
    uint8_t aucHost281[3];            /**< 281 */
    uint32_t aulBsid[4];              /**< 284 */
    uint16_t usEndpointBehavior;      /**< 300 */
    uint8_t aucHost302[2];            /**< 302 */
    uint32_t ulSidStructure;          /**< 304 */
    uint32_t aulReverseBsid[4];       /**< 308 */
    uint16_t usReverseEndpointBehavior; /**< 324 */
    uint8_t aucHost326[2];            /**< 326 */
    uint32_t ulReverseSidStructure;   /**< 328 */
} BOL_SRPOLICY_CFG_SEGLIST_S;         /* 332 bytes */

/* ======================================================================== */
/* Handler tables                                                            */
/* ======================================================================== */

/* Constant {type, handler} rows, searched front to back by the dispatchers. */

/** Packet decoders: 14, 15, 23. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_PKT_PARSE_TBL[3];
/** Packet encoders: 14, 15, 23. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_PKT_FORMAT_TBL[3];
/** Attribute setter: 23. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_SET_ATTR_TBL[1];
/** Message decoders: 119, 120. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_MSG_PARSE_TBL[2];
/** Message encoders: 119, 121, 122. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_MSG_FORMAT_TBL[3];
/** HA message decoders: 3, 5. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_HA_MSG_PARSE_TBL[2];
/** HA message encoders: 3, 5. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_HA_MSG_FORMAT_TBL[2];
/** Attribute message decoder: 47. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_ATTR_MSG_PARSE_TBL[1];
/** Attribute message encoder: 47. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_ATTR_MSG_FORMAT_TBL[1];
/** Configuration decoders: 2, 32. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CFG_PARSE_TBL[2];
/** Configuration writers: 2, 32. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CFG_FORMAT_TBL[2];
/** Comparators: 2, 8. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CMP_DATA_TBL[2];
/** Text renderers: 1, 128. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_DATA2STR_TBL[2];
/** Subscription-key constructor. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CONSTRUCT_SUBSKEY_TBL[1];
/** Sub-TLV decoders of the attribute walk. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_TUNENCAPSUBTLV_PARSE_TBL[9];
/** Sub-TLV printers of the attribute text. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_OUTPUT_TNLENCAP_TBL[9];
/** Segment checks, indexed by segment type. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_CHECK_SUBTLV_TBL[9];
/** Item encoders of the conditional-route attribute message, in order. */
BOL_SRPOLICY_API extern const BOL_SRPOLICY_PROC_ENTRY_S g_astBOL_SRPOLICY_FORMAT_CONDRTATTR_TBL[8];

/* ======================================================================== */
/* Entry points                                                              */
/* ======================================================================== */

/**
 * @brief Constructs the plug-in: allocates its instance and fills the procedure table.
 *
 * The host's way in. The type lists and entry points are written into @p pstProcTbl; slots that belong to the
 * host are left as they are. Every later allocation of the plug-in names @p ulMemModuleId.
 *
 * @param pstProcTbl     the host's procedure table (filled on success, untouched on failure)
 * @param ulMemModuleId  the host's memory module for every block the plug-in allocates
 * @return the instance to pass back on later calls; null (after an assertion report) when the table is null,
 *         the module is 0 or the allocation failed
 */
BOL_SRPOLICY_API BOL_SRPOLICY_INSTANCE_S *BOL_SRPOLICY_Construct(BOL_PROC_TBL_S *pstProcTbl, uint32_t ulMemModuleId);
/**
 * @brief Releases an instance made by BOL_SRPOLICY_Construct(); null gives an assertion report and nothing else.
 * @param pstInst  the instance
 */
BOL_SRPOLICY_API void BOL_SRPOLICY_Destruct(BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Writes the plug-in's header words, type lists and entry points into a procedure table.
 *
 * Called by BOL_SRPOLICY_Construct(); the host's own slots are left as they are.
 * @param pstProcTbl  the table to fill
 */
BOL_SRPOLICY_API void BOL_SRPOLICY_InitProcTbl(BOL_PROC_TBL_S *pstProcTbl);
/**
 * @brief Route-entry construction (slot @c pfnConstructRtpEntry): marks the entry as carrying a key and an
 *        attribute by ORing 0x000A into the 16-bit field at byte offset 2 of @p pvRtpEntry.
 * @param pvHost      the host's context: required non-null, not read
 * @param pvRtpEntry  the host's route entry
 * @return #BOL_OK; #BOL_ERR_PARAM for a null argument
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ConstructRtpEntry(void *pvHost, void *pvRtpEntry);

/**
 * @brief Decodes received path-attribute bytes (slot @c pfnParsePkt).
 *
 * Type #BOL_SRPOLICY_PATTR_MP_REACH or #BOL_SRPOLICY_PATTR_MP_UNREACH decodes one SR Policy NLRI into a route
 * key; the host calls again while @p pulMore is 1. Type #BOL_SRPOLICY_PATTR_TNL_ENCAP decodes a Tunnel
 * Encapsulation attribute into its normalised copy. The bytes are changed in place: ignored flag bits and
 * reserved bytes are cleared.
 *
 * @param ppucCur    read cursor on the first byte; advanced past what was consumed
 * @param ulLen      bytes available from the cursor to the end of the attribute value
 * @param pvHostCtx  the host's context: required non-null, not read
 * @param ulType     path attribute type code
 * @param ppvOut     receives the output block (a #BOL_PARSE_OUTPUT_S header, then the key and/or attribute);
 *                   the block belongs to the host, which releases it with ZUN_Free_F()
 * @param pulMore    set to 1 when further NLRI follow the one decoded, else 0
 * @param pstInst    the instance
 * @return #BOL_OK, or a result code: #BOL_ERR_PARAM for a null argument or an unknown type,
 *         #BOL_ERR_NLRI_LEN, #BOL_ERR_TLV_LEN, #BOL_ERR_SUBTLV_INVALID, #BOL_ERR_SUBTLV_MALFORMED,
 *         #BOL_ERR_MALLOC and others of the decoders
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParsePkt(uint8_t **ppucCur, uint32_t ulLen, void *pvHostCtx, uint32_t ulType,
                                                void **ppvOut, uint32_t *pulMore, BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Encodes a stored route's NLRI (types 14, 15) or attribute (type 23) for an UPDATE (slot @c pfnFormatPkt).
 * @param pstRtData  the stored route
 * @param ulType     path attribute type code
 * @param ppucCur    write cursor in the host's buffer; advanced past what was written
 * @param ulRoom     bytes the cursor may still advance
 * @param pstInst    the instance
 * @return #BOL_OK; #BOL_SRPOLICY_ERR_BUF_SHORT when an item does not fit; #BOL_ERR_PARAM; #BOL_ERR_NO_HANDLER
 *         for an unknown type
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatPkt(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur,
                                                 uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Derives a fresh attribute from a stored route for sending (slot @c pfnSetAttr).
 * @param pstRtData  the stored route holding the normalised attribute
 * @param ulType     #BOL_SRPOLICY_PATTR_TNL_ENCAP
 * @param ulFlags    #BOL_SRPOLICY_SET_PRIV_SLICE_ID to rewrite the slice id into its private form
 * @param ppvOut     receives the output block with the attribute (the host's to release)
 * @param pstInst    the instance
 * @return #BOL_OK or a result code of the attribute decoder; #BOL_ERR_PARAM; #BOL_ERR_NO_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_SetAttr(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint32_t ulFlags,
                                               void **ppvOut, BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Reads a conditional-route message (types 119, 120) (slot @c pfnParseMsg).
 * @param pucMsg   the message bytes
 * @param ulLen    their number
 * @param ulType   message type
 * @param ppvOut   receives the output block, when the type produces one
 * @param pstInst  the instance
 * @return #BOL_OK or a result code; #BOL_ERR_PARAM; #BOL_ERR_NO_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseMsg(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType,
                                                void **ppvOut, BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Writes a conditional-route message (types 119, 121, 122) of a stored route (slot @c pfnFormatMsg).
 * @param pstRtData  the stored route
 * @param ulType     message type
 * @param ppucCur    write cursor; advanced past what was written
 * @param ulRoom     bytes the cursor may still advance
 * @param pstInst    the instance
 * @return #BOL_OK; #BOL_SRPOLICY_ERR_BUF_SHORT; #BOL_ERR_NO_DATA; #BOL_ERR_PARAM; #BOL_ERR_NO_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatMsg(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur,
                                                 uint32_t ulRoom, BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Reads an HA backup prefix TLV (types 3, 5) into a route key (slot @c pfnParseHaMsg).
 * @param pucMsg   the TLV bytes
 * @param ulLen    their number
 * @param ulType   HA message type
 * @param ppvOut   receives the output block with the key
 * @param pstInst  the instance
 * @return #BOL_OK; #BOL_ERR_HA_TLV_SHORT; #BOL_ERR_HA_NLRI_LEN; #BOL_ERR_MALLOC; #BOL_ERR_PARAM;
 *         #BOL_ERR_NO_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseHaMsg(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType,
                                                  void **ppvOut, BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Writes the HA backup prefix TLV (types 3, 5) of a stored route (slot @c pfnFormatHaMsg).
 * @param pstRtData  the stored route
 * @param ulType     HA message type
 * @param ppucCur    write cursor; advanced past what was written
 * @param ulRoom     bytes the cursor may still advance
 * @param pstInst    the instance
 * @return #BOL_OK; #BOL_SRPOLICY_ERR_BUF_SHORT; #BOL_ERR_NO_DATA; #BOL_ERR_PARAM; #BOL_ERR_NO_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatHaMsg(const BOL_RT_DATA_S *pstRtData, uint32_t ulType,
                                                   uint8_t **ppucCur, uint32_t ulRoom,
                                                   BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Reads an attribute message (type 47) into an attribute (slot @c pfnParseAttrMsg).
 * @param pucMsg   the message bytes
 * @param ulLen    their number
 * @param ulType   attribute message type
 * @param ppvOut   receives the output block with the attribute
 * @param pstInst  the instance
 * @return #BOL_OK; #BOL_ERR_MALLOC; #BOL_ERR_PARAM; #BOL_ERR_NO_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseAttrMsg(const uint8_t *pucMsg, uint32_t ulLen, uint32_t ulType,
                                                    void **ppvOut, BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Writes the attribute message (type 47) of a stored route (slot @c pfnFormatAttrMsg).
 * @param pstRtData  the stored route
 * @param ulType     attribute message type
 * @param ppucCur    write cursor; advanced past what was written
 * @param ulRoom     bytes the cursor may still advance
 * @param pstInst    the instance
 * @return #BOL_OK; #BOL_SRPOLICY_ERR_BUF_SHORT; #BOL_ERR_NO_DATA; #BOL_ERR_PARAM; #BOL_ERR_NO_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatAttrMsg(const BOL_RT_DATA_S *pstRtData, uint32_t ulType,
                                                     uint8_t **ppucCur, uint32_t ulRoom,
                                                     BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Turns a configuration record into a route key (type 2, #BOL_SRPOLICY_CFG_PREFIX_S) or an encoded
 *        attribute (type 32, #BOL_SRPOLICY_CFG_TNLENCAP_S) (slot @c pfnParseCfg).
 * @param pvCfg    the configuration record
 * @param ulLen    its size in bytes
 * @param ulType   configuration record type
 * @param ppvOut   receives the output block
 * @param pstInst  the instance
 * @return #BOL_OK; #BOL_SRPOLICY_ERR_PARA for an unknown type; #BOL_ERR_CFG_TYPE; #BOL_ERR_PARAM;
 *         #BOL_SRPOLICY_ERR_NOMEM; #BOL_ERR_MALLOC
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ParseCfg(const void *pvCfg, uint32_t ulLen, uint32_t ulType, void **ppvOut,
                                                BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Writes a stored route back as configuration text (types 2, 32) (slot @c pfnFormatCfg), over several
 *        calls when it does not fit.
 * @param pstRtData  the stored route
 * @param ulType     configuration record type
 * @param ppucCur    write cursor; advanced past what was written
 * @param ulRoom     bytes the cursor may still advance; must not be 0
 * @param pulOffset  resume offset: 0 on the first call, then as returned
 * @param pulMore    set to 1 when the text continues in a further call
 * @return #BOL_OK; #BOL_ERR_PARAM; #BOL_ERR_NO_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_FormatCfg(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, uint8_t **ppucCur,
                                                 uint32_t ulRoom, uint32_t *pulOffset, uint32_t *pulMore);
/**
 * @brief Three-way comparison of two route keys (type 2) or two attributes (type 8) (slot @c pfnCmpData).
 * @param pvA     first key or attribute
 * @param ulLenA  its length
 * @param pvB     second key or attribute
 * @param ulLenB  its length
 * @param ulType  #BOL_SRPOLICY_CMP_KEY or #BOL_SRPOLICY_CMP_ATTR
 * @return -1, 0 or 1; #BOL_CMP_ERR for a null pointer or an unknown type
 */
BOL_SRPOLICY_API int32_t BOL_SRPOLICY_CmpData(const void *pvA, uint32_t ulLenA, const void *pvB, uint32_t ulLenB,
                                              uint32_t ulType);
/**
 * @brief Display text of a stored route's key (type 1) or attribute (type 128) (slot @c pfnData2Str).
 *
 * The attribute text continues over several calls when it does not fit: call again with the returned
 * @p pulOffset while @p pulMore is 1.
 *
 * @param pstRtData  the stored route
 * @param ulType     #BOL_SRPOLICY_STR_KEY or #BOL_SRPOLICY_STR_ATTR
 * @param pcBuf      the caller's text buffer; always zero-terminated on success
 * @param ulBufLen   its size in bytes
 * @param pulOffset  resume offset: 0 on the first call, then as returned
 * @param pulMore    set to 1 when the text continues in a further call
 * @param pstInst    the instance
 * @return #BOL_OK; #BOL_SRPOLICY_ERR when the text cannot be made; #BOL_ERR_PARAM; #BOL_ERR_NO_STR_HANDLER
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_Data2Str(const BOL_RT_DATA_S *pstRtData, uint32_t ulType, char *pcBuf,
                                                uint32_t ulBufLen, uint32_t *pulOffset, uint32_t *pulMore,
                                                BOL_SRPOLICY_INSTANCE_S *pstInst);
/**
 * @brief Subscription-key construction (slot @c pfnConstructSubsKey): the family's one row does nothing.
 * @param pv1     the host's first pointer
 * @param ulType  subscription-key type
 * @param pv2     the host's second pointer
 * @param pv3     the host's third pointer
 * @param pv4     the host's fourth pointer
 * @return #BOL_OK; #BOL_SRPOLICY_ERR_PARA for an unknown type; #BOL_ERR_PARAM for a null pointer
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_ConstructSubsKey(void *pv1, uint32_t ulType, void *pv2, void *pv3, void *pv4);

/**
 * @brief Whether a stored route is valid (slot @c pfnCheckRoute).
 *
 * Kind #BOL_SRPOLICY_CHECK_ENDPOINT examines the endpoint: IPv4 endpoints in 127.0.0.0/8, 224.0.0.0/4 and
 * 0.0.0.0/8 (but not 0.0.0.0 itself) and the IPv6 endpoint :: are invalid. Every other kind finds the route valid.
 *
 * @param pstRtData    the stored route
 * @param ulCheckKind  check kind
 * @param pulValid     set to 1 (valid) or 0 (invalid)
 * @return #BOL_OK; #BOL_SRPOLICY_ERR for a route without a key or with a key length other than 28 (the flag
 *         is then not written); #BOL_ERR_PARAM for a null route or flag
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_CheckRoute(const BOL_RT_DATA_S *pstRtData, uint32_t ulCheckKind,
                                                  uint32_t *pulValid);
/**
 * @brief Adds to or subtracts from the route's counter in the host's per-family counters (slot
 *        @c pfnSetRtCount): index 1 counts IPv4 endpoints, 2 IPv6 endpoints, 0 any other key.
 * @param pstRtData     the route
 * @param pulCounters   the host's counters
 * @param ulCounterNum  their number
 * @param ulAdd         non-zero to add, 0 to subtract
 * @param ulAmount      the amount
 * @return #BOL_OK; #BOL_SRPOLICY_ERR_PARA for a missing route or key or an index outside the counters
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_SetRtCount(const BOL_RT_DATA_S *pstRtData, uint32_t *pulCounters,
                                                  uint32_t ulCounterNum, uint32_t ulAdd, uint32_t ulAmount);
/**
 * @brief Reads one of the host's per-family route counters (slot @c pfnGetRtCount).
 * @param pulCounters   the host's counters
 * @param ulCounterNum  their number
 * @param ulIndex       the counter: 1 IPv4 endpoints, 2 IPv6 endpoints (any other index leaves @p pulCount as
 *                      it is)
 * @param pulCount      receives the count
 * @return #BOL_OK; #BOL_SRPOLICY_ERR_PARA for an index outside the counters
 */
BOL_SRPOLICY_API uint32_t BOL_SRPOLICY_GetRtCount(const uint32_t *pulCounters, uint32_t ulCounterNum,
                                                  uint32_t ulIndex, uint32_t *pulCount);

#ifdef __cplusplus
}
#endif

#endif /* BOL_SRPOLICY_H */
