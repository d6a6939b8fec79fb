/*
 * Conditional-route messages: the subscription key both ways, and the TLVs
 * of the attribute message written from a decoded attribute record through
 * the emission table, with their room checks and unwritten reserved bytes.
 */
#include <gtest/gtest.h>
#include <string.h>

#include <deque>
#include <string>
#include <vector>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using bt::Bytes;
using bt::Hex;

namespace {

const uint8_t kFill = 0xEEu; /* what the caller's buffer held: bytes not written keep it */

void InitList(BOL_SRPOLICY_LIST_HEAD_S &stList)
{
    stList.stHead.pstNext = &stList.stHead;
    stList.stHead.pstPrev = &stList.stHead;
    stList.stHead.ulHandle = 0u;
    stList.ulCount = 0u;
}

void Append(BOL_SRPOLICY_LIST_HEAD_S &stList, BOL_SRPOLICY_LIST_NODE_S *pstNode)
{
    DLL_Insert_In_Middle(&stList, stList.stHead.pstPrev, pstNode, &stList.stHead);
}

/* A decoded attribute record built by hand, with its two lists. */
struct Record {
    BOL_SRPOLICY_TNLENCAP_ATTR_S st;
    BOL_SRPOLICY_LIST_HEAD_S stSegLists;
    std::deque<std::vector<uint64_t>> dqStore;
    std::string strCPath;
    std::string strPolicy;

    Record()
    {
        memset(&st, 0, sizeof(st));
        InitList(stSegLists);
        InitList(st.stSRv6BsidList);
        st.pstSegListHead = &stSegLists;
    }
    Record(const Record &) = delete;
    Record &operator=(const Record &) = delete;

    void *Node(size_t ulBytes)
    {
        dqStore.emplace_back((ulBytes + 7u) / 8u, 0u);
        return dqStore.back().data();
    }
    void AddSegList(const Bytes &vecValue)
    {
        auto *pstNode = static_cast<BOL_SRPOLICY_SEGLIST_NODE_S *>(
            Node(BOL_SRPOLICY_SEGLIST_NODE_HDR_LEN + vecValue.size() + sizeof(BOL_SRPOLICY_SEGLIST_NODE_S)));
        pstNode->usSegListLen = static_cast<uint16_t>(vecValue.size());
        memcpy(pstNode->aucSegList, vecValue.data(), vecValue.size());
        Append(stSegLists, &pstNode->stNode);
    }
    BOL_SRPOLICY_SRV6_BSID_NODE_S &AddSRv6Bsid()
    {
        auto *pstNode = static_cast<BOL_SRPOLICY_SRV6_BSID_NODE_S *>(Node(sizeof(BOL_SRPOLICY_SRV6_BSID_NODE_S)));
        Append(st.stSRv6BsidList, &pstNode->stNode);
        return *pstNode;
    }
    void SetCPathName(const std::string &strName)
    {
        strCPath = strName;
        st.pucCPathName = reinterpret_cast<uint8_t *>(&strCPath[0]);
        st.usCPathNameLen = static_cast<uint16_t>(strName.size());
        st.ucCPathNameValid = strName.empty() ? 0u : 1u;
    }
    void SetPolicyName(const std::string &strName)
    {
        strPolicy = strName;
        st.pucPolicyName = reinterpret_cast<uint8_t *>(&strPolicy[0]);
        st.usPolicyNameLen = static_cast<uint16_t>(strName.size());
        st.ucPolicyNameValid = strName.empty() ? 0u : 1u;
    }
};

/* Every item the message knows, as decoding would leave them. */
void BuildRich(Record &stRec)
{
    stRec.st.ucPrefExist = 1;
    stRec.st.ulPreference = 100;
    stRec.st.ucCfgModuleIdExist = 1;
    stRec.st.ulCfgModuleId = 7;
    stRec.st.ucBsidExist = 1;
    stRec.st.ucBsidType = 1;
    stRec.st.ucBsidFlags = 0xC0;
    stRec.st.ucBsidValueExist = 1;
    stRec.st.aulBsidValue[0] = 0x00012000u;
    stRec.AddSegList(Hex("00 | 01 06 00 00 00 06 40 00"));
    stRec.AddSegList(Hex("00"));
    stRec.st.ucSliceIdExist = 1;
    stRec.st.ucSliceIdKind = BOL_SRPOLICY_SLICE_KIND_PRIV | BOL_SRPOLICY_SLICE_KIND_RTFLAG;
    stRec.st.ulPrivSliceId = 5;
    BOL_SRPOLICY_SRV6_BSID_NODE_S &stB1 = stRec.AddSRv6Bsid();
    stB1.ucFlags = 0x60;
    stB1.aulSid[0] = 0x20010DB8u;
    stB1.aulSid[3] = 1u;
    stB1.usEndpointBehavior = 0x0041;
    stB1.ucLbLen = 32;
    stB1.ucLnLen = 16;
    stB1.ucFunLen = 16;
    stB1.ucArgLen = 0;
    BOL_SRPOLICY_SRV6_BSID_NODE_S &stB2 = stRec.AddSRv6Bsid();
    stB2.aulSid[3] = 2u;
    stRec.SetCPathName("cp");
    stRec.SetPolicyName("abcd");
}

/* The message of BuildRich; EE marks reserved bytes that are not written. */
const char *const kRichHex =
    /* preference: type 3, length 8, flags, 3 reserved, preference */
    "00 00 00 03 00 00 00 08 00 EE EE EE 00 00 00 64"
    /* template id: type 5, length 8, flags, 3 reserved, id */
    " | 00 00 00 05 00 00 00 08 00 EE EE EE 00 00 00 07"
    /* binding SID: type 2, length 20, flags, kind, 2 reserved, four words */
    " | 00 00 00 02 00 00 00 14 C0 01 EE EE 00 01 20 00 00 00 00 00 00 00 00 00 00 00 00 00"
    /* segment lists: type 4, 0, length 16 | length 9, reserved, value | length 1, reserved, value */
    " | 00 00 00 04 00 00 00 10 | 00 09 EE 00 01 06 00 00 00 06 40 00 | 00 01 EE 00"
    /* slice id: type 7, length 8, flags, 3 reserved, the private id */
    " | 00 00 00 07 00 00 00 08 00 EE EE EE 00 00 00 05"
    /* SRv6 binding SIDs: type 8, 0, length 56 | flags, 3 reserved, SID, behavior,
     * 2 reserved, LB LN Fun Arg | the second entry */
    " | 00 00 00 08 00 00 00 38"
    " | 60 EE EE EE 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01 00 41 EE EE 20 10 10 00"
    " | 00 EE EE EE 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02 00 00 EE EE 00 00 00 00"
    /* candidate path name: type 9, 0, length 2, name */
    " | 00 00 00 09 00 00 00 02 63 70"
    /* policy name: type 10, 0, length 4, name */
    " | 00 00 00 0A 00 00 00 04 61 62 63 64";

/* Sizes of the TLVs of kRichHex, in message order. */
const size_t kRichTlvSizes[] = {16, 16, 28, 24, 16, 64, 10, 12};

/* Runs the emission table as the attribute message does, on a buffer of
 * ulRoom bytes followed by a guard area. */
struct Emitted {
    uint32_t ulRet;
    size_t ulWritten; /* how far the cursor moved */
    Bytes vecBuf;     /* room and guard */
};

const size_t kGuard = 32u;

Emitted EmitAll(const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr, size_t ulRoom)
{
    Emitted stOut;
    stOut.vecBuf.assign(ulRoom + kGuard, kFill);
    uint8_t *pucCur = stOut.vecBuf.data();
    const uint8_t *pucEnd = pucCur + ulRoom;
    stOut.ulRet = BOL_OK;
    for (const BOL_SRPOLICY_PROC_ENTRY_S &stRow : g_astBOL_SRPOLICY_FORMAT_CONDRTATTR_TBL) {
        stOut.ulRet = stRow.unHandler.pfnCondRtAttr(pstAttr, &pucCur, pucEnd);
        if (stOut.ulRet != BOL_OK) {
            break;
        }
    }
    stOut.ulWritten = static_cast<size_t>(pucCur - stOut.vecBuf.data());
    return stOut;
}

class CondRtMsg : public bt::PluginTest {};

/* ---- The attribute message's TLVs ---------------------------------------- */

TEST_F(CondRtMsg, RichRecordGivesEveryTlvInTableOrder)
{
    Record stRec;
    BuildRich(stRec);
    Bytes vecWant = Hex(kRichHex);
    Emitted stOut = EmitAll(&stRec.st, vecWant.size());
    EXPECT_EQ(stOut.ulRet, BOL_OK);
    ASSERT_EQ(stOut.ulWritten, vecWant.size());
    EXPECT_EQ(bt::ToHex(stOut.vecBuf.data(), vecWant.size()), bt::ToHex(vecWant));
    EXPECT_EQ(ReportCount(), 0u);
}

/* Whatever the room, nothing is written past it, and the cursor stops after
 * the last TLV that fits whole. */
TEST_F(CondRtMsg, NeverWritesPastTheRoom)
{
    Record stRec;
    BuildRich(stRec);
    Bytes vecWant = Hex(kRichHex);
    for (size_t ulRoom = 0; ulRoom <= vecWant.size(); ulRoom++) {
        SCOPED_TRACE(::testing::Message() << "room " << ulRoom);
        Emitted stOut = EmitAll(&stRec.st, ulRoom);
        size_t ulFits = 0u;
        for (size_t ulSize : kRichTlvSizes) {
            if (ulFits + ulSize > ulRoom) {
                break;
            }
            ulFits += ulSize;
        }
        EXPECT_EQ(stOut.ulRet, ulRoom == vecWant.size() ? BOL_OK : BOL_SRPOLICY_ERR_BUF_SHORT);
        ASSERT_EQ(stOut.ulWritten, ulFits);
        EXPECT_EQ(bt::ToHex(stOut.vecBuf.data(), ulFits), bt::ToHex(vecWant.data(), ulFits));
        for (size_t i = ulRoom; i < stOut.vecBuf.size(); i++) {
            ASSERT_EQ(stOut.vecBuf[i], kFill) << "byte " << i << " past the room";
        }
    }
}

TEST_F(CondRtMsg, ItemsThatAreAbsentWriteNothing)
{
    Record stRec;
    stRec.st.ucPrefExist = 2;        /* only 1 means present */
    stRec.SetCPathName("");          /* empty names are not valid */
    stRec.SetPolicyName("");
    stRec.st.ucCPathNameValid = 0;
    Emitted stOut = EmitAll(&stRec.st, 0u);
    EXPECT_EQ(stOut.ulRet, BOL_OK);
    EXPECT_EQ(stOut.ulWritten, 0u);

    stRec.st.pstSegListHead = nullptr; /* a record without a segment-list head */
    stOut = EmitAll(&stRec.st, 0u);
    EXPECT_EQ(stOut.ulRet, BOL_OK);
    EXPECT_EQ(stOut.ulWritten, 0u);
}

TEST_F(CondRtMsg, SliceIdValueFollowsKindAndRouteFlag)
{
    struct Row {
        const char *pcName;
        uint8_t ucKind;
        uint32_t ulValue;
    } const astRows[] = {
        {"private, route flag", 0x01 | 0x04, 0x11},
        {"private, no route flag: standard value (0)", 0x01, 0x22},
        {"both, route flag", 0x03 | 0x04, 0x22},
        {"standard, route flag", 0x02 | 0x04, 0x22},
        {"standard", 0x02, 0x22},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        Record stRec;
        stRec.st.ucSliceIdExist = 1;
        stRec.st.ucSliceIdKind = stRow.ucKind;
        stRec.st.ulPrivSliceId = 0x11;
        stRec.st.ulStdSliceId = 0x22;
        Emitted stOut = EmitAll(&stRec.st, 16u);
        ASSERT_EQ(stOut.ulRet, BOL_OK);
        ASSERT_EQ(stOut.ulWritten, 16u);
        EXPECT_EQ(stOut.vecBuf[15], stRow.ulValue);
    }
}

TEST_F(CondRtMsg, ListTlvThatDoesNotFitLeavesTheCursor)
{
    struct Row {
        const char *pcName;
        size_t ulRoom;
        bool bHeader; /* the list's header stands in the buffer */
    } const astRows[] = {
        {"no room for the header", 7, false},
        {"header but not the first entry", 8 + 11, true},
        {"first entry but not the second", 8 + 12 + 3, true},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        Record stRec;
        stRec.AddSegList(Hex("00 | 01 06 00 00 00 06 40 00"));
        stRec.AddSegList(Hex("00"));
        Emitted stOut = EmitAll(&stRec.st, stRow.ulRoom);
        EXPECT_EQ(stOut.ulRet, BOL_SRPOLICY_ERR_BUF_SHORT);
        EXPECT_EQ(stOut.ulWritten, 0u);
        EXPECT_EQ(stOut.vecBuf[3], stRow.bHeader ? 0x04u : kFill);
        EXPECT_EQ(stOut.vecBuf[6], kFill) << "the length is written last";
    }
}

TEST_F(CondRtMsg, ItemEncodersCheckTheirPointers)
{
    Record stRec;
    uint8_t aucBuf[8];
    uint8_t *pucCur = aucBuf;
    const uint8_t *pucEnd = aucBuf + sizeof(aucBuf);
    for (const BOL_SRPOLICY_PROC_ENTRY_S &stRow : g_astBOL_SRPOLICY_FORMAT_CONDRTATTR_TBL) {
        SCOPED_TRACE(::testing::Message() << "row " << stRow.ulType);
        tp::Reset();
        EXPECT_EQ(stRow.unHandler.pfnCondRtAttr(nullptr, &pucCur, pucEnd), BOL_ERR_PARAM);
        EXPECT_EQ(stRow.unHandler.pfnCondRtAttr(&stRec.st, nullptr, pucEnd), BOL_ERR_PARAM);
        ASSERT_EQ(ReportCount(), 2u);
        EXPECT_EQ(tp::Reports()[0].strModule, "bol_srpolicy_format");
        EXPECT_EQ(pucCur, aucBuf);
    }
}

TEST_F(CondRtMsg, OneSegmentRecord)
{
    BOL_SRPOLICY_CONDRT_SEGMENT_S stSeg;
    memset(&stSeg, 0, sizeof(stSeg));
    stSeg.ucType = 2;
    stSeg.ulValue = 0x01020304u;
    uint8_t aucBuf[9];
    memset(aucBuf, kFill, sizeof(aucBuf));
    uint8_t *pucCur = aucBuf;

    EXPECT_EQ(BOL_SRPOLICY_FormatCondRtOneSegment(&stSeg, &pucCur, aucBuf + 8), BOL_SRPOLICY_ERR_SEG_ABSENT);
    stSeg.ucExist = 1;
    EXPECT_EQ(BOL_SRPOLICY_FormatCondRtOneSegment(&stSeg, &pucCur, aucBuf + 7), BOL_SRPOLICY_ERR_BUF_SHORT);
    EXPECT_EQ(pucCur, aucBuf);
    EXPECT_EQ(BOL_SRPOLICY_FormatCondRtOneSegment(&stSeg, &pucCur, aucBuf + 8), BOL_OK);
    EXPECT_EQ(pucCur, aucBuf + 8);
    /* type, presence, 2 bytes not written, value */
    EXPECT_EQ(bt::ToHex(aucBuf, sizeof(aucBuf)), bt::ToHex(Hex("02 01 EE EE 01 02 03 04 EE")));
}

/* ---- Message handlers ------------------------------------------------------ */

TEST_F(CondRtMsg, SubscriptionKeyCarriesNothing)
{
    bt::Route stRoute;
    uint8_t aucBuf[4] = {1, 2, 3, 4};
    uint8_t *pucCur = aucBuf;
    EXPECT_EQ(BOL_SRPOLICY_FormatMsg(&stRoute.stRt, BOL_SRPOLICY_MSG_CONDRT_SUBSKEY, &pucCur, 0u, m_pstInst), BOL_OK);
    EXPECT_EQ(pucCur, aucBuf);

    void *pvOut = &aucBuf;
    for (uint32_t ulType : {BOL_SRPOLICY_MSG_CONDRT_SUBSKEY, BOL_SRPOLICY_MSG_CONDRT_SUBSKEY_ALT}) {
        SCOPED_TRACE(ulType);
        EXPECT_EQ(BOL_SRPOLICY_ParseMsg(aucBuf, 0u, ulType, &pvOut, m_pstInst), BOL_OK);
        EXPECT_EQ(pvOut, static_cast<void *>(&aucBuf));
    }
    EXPECT_EQ(ReportCount(), 0u);
    EXPECT_EQ(tp::AllocCalls(), 0u);

    EXPECT_EQ(BOL_SRPOLICY_ParseCondRtSubsKey(nullptr, 0u, &pvOut, m_pstInst), BOL_ERR_PARAM);
    EXPECT_EQ(BOL_SRPOLICY_ParseCondRtSubsKey(aucBuf, 0u, nullptr, m_pstInst), BOL_ERR_PARAM);
    EXPECT_EQ(BOL_SRPOLICY_ParseCondRtSubsKey(aucBuf, 0u, &pvOut, nullptr), BOL_ERR_PARAM);
    ASSERT_EQ(ReportCount(), 3u);
    EXPECT_EQ(tp::Reports()[0].strModule, "bol_srpolicy_parse");
}

/* The message encoders that read the stored attribute check their arguments
 * before anything else, and differ on a route without an attribute: an
 * empty attribute message (122), no attribute message (47). */
TEST_F(CondRtMsg, AttributeMessageEncodersCheckTheirArguments)
{
    struct Handler {
        const char *pcName;
        BOL_SRPOLICY_FORMAT_PF pfn;
        uint32_t ulNoAttrRet;
    } const astHandlers[] = {
        {"conditional-route attribute", BOL_SRPOLICY_FormatCondRtAttr, BOL_OK},
        {"attribute message", BOL_SRPOLICY_FormatTunnelEncapsAttrTlv, BOL_ERR_NO_DATA},
    };
    bt::Route stRoute;
    uint8_t aucBuf[4];
    uint8_t *pucCur = aucBuf;
    uint8_t *pucNull = nullptr;
    for (const Handler &stHandler : astHandlers) {
        struct Row {
            const char *pcName;
            const BOL_RT_DATA_S *pstRt;
            uint8_t **ppucCur;
            BOL_SRPOLICY_INSTANCE_S *pstInst;
            uint32_t ulRet;
            size_t ulReports;
        } const astRows[] = {
            {"null route", nullptr, &pucCur, m_pstInst, BOL_ERR_PARAM, 1},
            {"null cursor", &stRoute.stRt, nullptr, m_pstInst, BOL_ERR_PARAM, 1},
            {"null buffer", &stRoute.stRt, &pucNull, m_pstInst, BOL_ERR_PARAM, 1},
            {"null instance", &stRoute.stRt, &pucCur, nullptr, BOL_ERR_PARAM, 1},
            {"no attribute", &stRoute.stRt, &pucCur, m_pstInst, stHandler.ulNoAttrRet, 0},
        };
        for (const Row &stRow : astRows) {
            SCOPED_TRACE(::testing::Message() << stHandler.pcName << ": " << stRow.pcName);
            tp::Reset();
            EXPECT_EQ(stHandler.pfn(stRow.pstRt, stRow.ppucCur, sizeof(aucBuf), stRow.pstInst), stRow.ulRet);
            ASSERT_EQ(ReportCount(), stRow.ulReports);
            if (stRow.ulReports != 0u) {
                EXPECT_EQ(tp::Reports()[0].strModule, "bol_srpolicy_format");
            }
            EXPECT_EQ(pucCur, aucBuf);
            EXPECT_EQ(tp::AllocCalls(), 0u);
        }
    }
}

TEST_F(CondRtMsg, MessageTableRows)
{
    EXPECT_EQ(BOL_SRPOLICY_GetBgpiMsgFormatEntry(BOL_SRPOLICY_MSG_CONDRT_RTKEY)->unHandler.pfnFormat,
              BOL_SRPOLICY_FormatCondRtRouteKey);
    EXPECT_EQ(BOL_SRPOLICY_GetBgpiMsgFormatEntry(BOL_SRPOLICY_MSG_CONDRT_ATTR)->unHandler.pfnFormat,
              BOL_SRPOLICY_FormatCondRtAttr);
}

/* ---- Route key message (121) ----------------------------------------------- */

TEST_F(CondRtMsg, RouteKeyMessageIsTheKeyInNetworkOrder)
{
    struct Row {
        const char *pcName;
        BOL_SRPOLICY_NLRI_S stKey;
        uint32_t ulRoom;
        uint32_t ulRet;
        const char *pcHex; /* the bytes written, or "" */
    } const astRows[] = {
        {"IPv4 endpoint", bt::KeyV4(1, 2, 0x0A000001u), 28, BOL_OK,
         /* NLRI length, 3 zero, distinguisher, color, endpoint words */
         "60 00 00 00 | 00 00 00 01 | 00 00 00 02 | 0A 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00"},
        {"IPv6 endpoint", bt::KeyV6(0x01020304u, 0xA0B0C0D0u, 0x20010DB8u, 0, 0, 9), 40, BOL_OK,
         "C0 00 00 00 | 01 02 03 04 | A0 B0 C0 D0 | 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 09"},
        {"room 27", bt::KeyV4(1, 2, 3), 27, BOL_SRPOLICY_ERR_BUF_SHORT, ""},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        bt::Route stRoute;
        stRoute.SetKey(stRow.stKey);
        Bytes vecBuf(40, kFill);
        uint8_t *pucCur = vecBuf.data();
        EXPECT_EQ(BOL_SRPOLICY_FormatMsg(&stRoute.stRt, BOL_SRPOLICY_MSG_CONDRT_RTKEY, &pucCur, stRow.ulRoom,
                                         m_pstInst),
                  stRow.ulRet);
        Bytes vecWant = Hex(stRow.pcHex);
        EXPECT_EQ(pucCur, vecBuf.data() + vecWant.size());
        vecWant.resize(vecBuf.size(), kFill);
        EXPECT_EQ(bt::ToHex(vecBuf), bt::ToHex(vecWant));
    }

    bt::Route stNoKey;
    uint8_t aucBuf[28];
    uint8_t *pucCur = aucBuf;
    EXPECT_EQ(BOL_SRPOLICY_FormatCondRtRouteKey(&stNoKey.stRt, &pucCur, 28u, m_pstInst), BOL_ERR_NO_DATA);
    EXPECT_EQ(pucCur, aucBuf);
    EXPECT_EQ(ReportCount(), 0u);
}

/* ---- The attribute message from the stored attribute (122) ---------------- */

/* The stored attribute that decodes into the record of BuildRich. */
const char *const kRichAttrHex =
    "00 0F 00 6E"
    " | 0C 06 00 00 00 00 00 64"                      /* preference 100 */
    " | 7F 06 00 00 00 00 00 07"                      /* template id 7 */
    " | 0D 06 C0 00 00 01 20 00"                      /* binding SID, label 18, S and I */
    " | 80 00 09 00 01 06 00 00 00 06 40 00"          /* segment list: one label */
    " | 80 00 01 00"                                  /* segment list: reserved byte only */
    " | 7E 06 00 00 00 00 00 05"                      /* private slice id 5 */
    " | 14 1A 60 00 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01 00 41 00 00 20 10 10 00"
    " | 14 12 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02" /* SRv6 binding SIDs */
    " | 81 00 03 00 63 70"                            /* candidate path name "cp" */
    " | 82 00 05 00 61 62 63 64";                     /* policy name "abcd" */

TEST_F(CondRtMsg, AttributeMessageRebuiltFromTheStoredAttribute)
{
    Bytes vecWant = Hex(kRichHex);
    for (size_t ulRoom = 0; ulRoom <= vecWant.size() + 1u; ulRoom++) {
        SCOPED_TRACE(::testing::Message() << "room " << ulRoom);
        bt::Route stRoute;
        stRoute.SetAttr(Hex(kRichAttrHex));
        stRoute.stRt.ulRtFlags = BOL_SRPOLICY_RT_FLAG_PRIV_SLICE_ID;
        Bytes vecBuf(ulRoom + kGuard, kFill);
        uint8_t *pucCur = vecBuf.data();
        uint32_t ulRet = BOL_SRPOLICY_FormatMsg(&stRoute.stRt, BOL_SRPOLICY_MSG_CONDRT_ATTR, &pucCur,
                                                static_cast<uint32_t>(ulRoom), m_pstInst);
        size_t ulFits = 0u;
        for (size_t ulSize : kRichTlvSizes) {
            if (ulFits + ulSize > ulRoom) {
                break;
            }
            ulFits += ulSize;
        }
        EXPECT_EQ(ulRet, ulRoom >= vecWant.size() ? BOL_OK : BOL_SRPOLICY_ERR_BUF_SHORT);
        ASSERT_EQ(static_cast<size_t>(pucCur - vecBuf.data()), ulFits);
        EXPECT_EQ(bt::ToHex(vecBuf.data(), ulFits), bt::ToHex(vecWant.data(), ulFits));
        for (size_t i = ulRoom; i < vecBuf.size(); i++) {
            ASSERT_EQ(vecBuf[i], kFill) << "byte " << i << " past the room";
        }
        EXPECT_EQ(tp::LiveBlocks(bt::kModule), 1u) << "the decoded record is released";
    }
    EXPECT_EQ(ReportCount(), 0u);
}

TEST_F(CondRtMsg, AttributeMessageCases)
{
    struct Row {
        const char *pcName;
        const char *pcAttrHex;
        uint32_t ulAttrLenHigh; /* bits above the 16 that are used */
        uint32_t ulRtFlags;
        uint32_t ulRoom;
        uint32_t ulFailNth;
        uint32_t ulRet;
        const char *pcMsgHex; /* what is written */
        const char *pcStoredHex; /* the stored attribute afterwards, "" = unchanged */
    } const astRows[] = {
        {"preference only, room 16", "00 0F 00 08 | 0C 06 00 00 00 00 00 64", 0, 0, 16, 0, BOL_OK,
         /* type 3, length 8, flags, reserved, preference */ "00 00 00 03 00 00 00 08 00 EE EE EE 00 00 00 64", ""},
        {"preference only, room 15", "00 0F 00 08 | 0C 06 00 00 00 00 00 64", 0, 0, 15, 0,
         BOL_SRPOLICY_ERR_BUF_SHORT, "", ""},
        {"the stored flags are cleared in place", "00 0F 00 08 | 0C 06 FF 00 00 00 00 64", 0, 0, 16, 0, BOL_OK,
         "00 00 00 03 00 00 00 08 00 EE EE EE 00 00 00 64", "00 0F 00 08 | 0C 06 00 00 00 00 00 64"},
        {"length beyond 16 bits", "00 0F 00 08 | 0C 06 00 00 00 00 00 64", 0x10000u, 0, 16, 0, BOL_OK,
         "00 00 00 03 00 00 00 08 00 EE EE EE 00 00 00 64", ""},
        {"private slice id without the route flag: standard value", "00 0F 00 08 | 7E 06 00 00 00 00 00 05", 0, 0,
         16, 0, BOL_OK, /* type 7, length 8, flags, reserved, 0 */ "00 00 00 07 00 00 00 08 00 EE EE EE 00 00 00 00",
         ""},
        {"both slice ids with the route flag: standard value",
         "00 0F 00 10 | 7E 06 00 00 00 00 00 05 | 7B 06 00 00 00 00 00 06", 0, 0x80, 16, 0, BOL_OK,
         "00 00 00 07 00 00 00 08 00 EE EE EE 00 00 00 06", ""},
        {"two SRv6 binding SIDs, room exactly enough",
         "00 0F 00 28 | 14 12 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01"
         " | 14 12 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02",
         0, 0, 64, 0, BOL_OK,
         /* type 8, 0, length 56 | two entries */
         "00 00 00 08 00 00 00 38"
         " | 00 EE EE EE 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 EE EE 00 00 00 00"
         " | 00 EE EE EE 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02 00 00 EE EE 00 00 00 00",
         ""},
        {"undecodable attribute: nothing written", "00 0E 00 08 | 0C 06 00 00 00 00 00 64", 0, 0, 64, 0,
         BOL_ERR_SUBTLV_MALFORMED, "", ""},
        {"decoder out of memory: nothing written", "00 0F 00 08 | 0C 06 00 00 00 00 00 64", 0, 0, 64, 1,
         BOL_ERR_MALLOC, "", ""},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        tp::Reset();
        bt::Route stRoute;
        stRoute.SetAttr(Hex(stRow.pcAttrHex));
        stRoute.stRt.ulAttrLen |= stRow.ulAttrLenHigh;
        stRoute.stRt.ulRtFlags = stRow.ulRtFlags;
        Bytes vecBuf(stRow.ulRoom + kGuard, kFill);
        uint8_t *pucCur = vecBuf.data();
        tp::FailNthAlloc(stRow.ulFailNth);
        EXPECT_EQ(BOL_SRPOLICY_FormatCondRtAttr(&stRoute.stRt, &pucCur, stRow.ulRoom, m_pstInst), stRow.ulRet);
        Bytes vecWant = Hex(stRow.pcMsgHex);
        EXPECT_EQ(pucCur, vecBuf.data() + vecWant.size());
        vecWant.resize(vecBuf.size(), kFill);
        EXPECT_EQ(bt::ToHex(vecBuf), bt::ToHex(vecWant));
        if (stRow.pcStoredHex[0] != '\0') {
            EXPECT_EQ(bt::ToHex(stRoute.vecAttr), bt::ToHex(Hex(stRow.pcStoredHex)));
        }
        EXPECT_EQ(tp::LiveBlocks(bt::kModule), 1u);
    }
}

}  // namespace
