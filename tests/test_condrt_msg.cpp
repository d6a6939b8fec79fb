/*
 * Conditional-route messages: the TLVs of the attribute message rebuilt from
 * the stored attribute through the emission table, with their room checks
 * and unwritten reserved bytes (the route key message: test_route_key.cpp).
 */
#include <gtest/gtest.h>
#include <string.h>

#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using bt::Bytes;
using bt::Hex;

namespace {

const uint8_t kFill = 0xEEu; /* what the caller's buffer held: bytes not written keep it */

class CondRtMsg : public bt::PluginTest {};

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

/* ---- The attribute message from the stored attribute (122) ---------------- */

/* A stored preference, template id and binding SID. */
const char *const kThreeItems =
    "00 0F 00 18 | 0C 06 00 00 00 00 00 64 | 7F 06 00 00 00 00 00 07 | 0D 06 C0 00 00 01 20 00";

/* A row whose pcReport is set runs with every memcpy_s failing, the decode's
 * own copies included: a copy that fails clears only its own item (the
 * segment-list entry's and the name's L bytes, never the rest of the
 * caller's room), so the copied bytes are 0; each of the three failures
 * (decode and message) is reported and the message is still completed. */
TEST_F(CondRtMsg, AttributeMessageCases)
{
    struct Row {
        const char *pcName;
        const char *pcAttrHex;
        uint32_t ulRtFlags;
        uint32_t ulRoom;
        uint32_t ulRet;
        const char *pcMsgHex; /* what is written */
        const char *pcStoredHex; /* the stored attribute afterwards, "" = unchanged */
        const char *pcReport; /* "" = copies work */
    } const astRows[] = {
        /* preference 100, template id 7, binding SID label 18 with S and I, written in the table's
         * order: type 3, length 8, flags, 3 reserved, value | type 5 ... | type 2, length 20, flags,
         * kind, 2 reserved, four words */
        {"items in message order", kThreeItems, 0, 60, BOL_OK,
         "00 00 00 03 00 00 00 08 00 EE EE EE 00 00 00 64 | 00 00 00 05 00 00 00 08 00 EE EE EE 00 00 00 07"
         " | 00 00 00 02 00 00 00 14 C0 01 EE EE 00 01 20 00 00 00 00 00 00 00 00 00 00 00 00 00", "", ""},
        {"a room one byte short keeps the items that fit", kThreeItems, 0, 59, BOL_SRPOLICY_ERR_BUF_SHORT,
         "00 00 00 03 00 00 00 08 00 EE EE EE 00 00 00 64 | 00 00 00 05 00 00 00 08 00 EE EE EE 00 00 00 07", "", ""},
        /* type 4, 0, length 16 | length 9, reserved, value | length 1, reserved, value */
        {"segment lists, one of the reserved byte only",
         "00 0F 00 10 | 80 00 09 00 01 06 00 00 00 06 40 00 | 80 00 01 00", 0, 64, BOL_OK,
         "00 00 00 04 00 00 00 10 | 00 09 EE 00 01 06 00 00 00 06 40 00 | 00 01 EE 00", "", ""},
        /* type 8, 0, length 56 | flags, 3 reserved, SID, behavior, 2 reserved, LB LN Fun Arg | the second entry */
        {"SRv6 binding SIDs",
         "00 0F 00 30 | 14 1A 60 00 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01 00 41 00 00 20 18 10 00"
         " | 14 12 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02", 0, 64, BOL_OK, "00 00 00 08 00 00 00 38"
         " | 60 EE EE EE 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01 00 41 EE EE 20 18 10 00"
         " | 00 EE EE EE 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02 00 00 EE EE 00 00 00 00", "", ""},
        /* type 9, 0, length 2, name | type 10, 0, length 4, name */
        {"names", "00 0F 00 0E | 81 00 03 00 63 70 | 82 00 05 00 61 62 63 64", 0, 64, BOL_OK,
         "00 00 00 09 00 00 00 02 63 70 | 00 00 00 0A 00 00 00 04 61 62 63 64", "", ""},
        {"private slice id with the route flag: private value", "00 0F 00 08 | 7E 06 00 00 00 00 00 05", 0x80, 16,
         BOL_OK, "00 00 00 07 00 00 00 08 00 EE EE EE 00 00 00 05", "", ""},
        {"the stored flags are cleared in place", "00 0F 00 08 | 0C 06 FF 00 00 00 00 64", 0, 16, BOL_OK,
         /* type 3, length 8, flags, reserved, preference */ "00 00 00 03 00 00 00 08 00 EE EE EE 00 00 00 64",
         "00 0F 00 08 | 0C 06 00 00 00 00 00 64", ""},
        {"private slice id without the route flag: standard value", "00 0F 00 08 | 7E 06 00 00 00 00 00 05", 0,
         16, BOL_OK, /* type 7, length 8, flags, reserved, 0 */ "00 00 00 07 00 00 00 08 00 EE EE EE 00 00 00 00",
         "", ""},
        {"both slice ids with the route flag: standard value",
         "00 0F 00 10 | 7E 06 00 00 00 00 00 05 | 7B 06 00 00 00 00 00 06", 0x80, 16, BOL_OK,
         "00 00 00 07 00 00 00 08 00 EE EE EE 00 00 00 06", "", ""},
        {"failed copy of a segment list entry", "00 0F 00 0C | 80 00 09 00 01 06 00 00 00 06 40 00", 0, 64,
         BOL_OK, /* type 4, 0, length 12 | L 9, reserved, 9 cleared bytes */
         "00 00 00 04 00 00 00 0C | 00 09 EE | 00 00 00 00 00 00 00 00 00", "", "retCode:22"},
        {"failed copy of a candidate path name", "00 0F 00 07 | 81 00 04 00 61 62 63", 0, 64, BOL_OK,
         /* type 9, 0, length 3, 3 cleared bytes */ "00 00 00 09 00 00 00 03 | 00 00 00", "", "secRetCode:22"},
        {"failed copy of a policy name", "00 0F 00 08 | 82 00 05 00 61 62 63 64", 0, 64, BOL_OK,
         /* type 10, 0, length 4, 4 cleared bytes */ "00 00 00 0A 00 00 00 04 | 00 00 00 00", "", "secRetCode:22"},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        tp::Reset();
        bt::Route stRoute;
        stRoute.SetAttr(Hex(stRow.pcAttrHex));
        stRoute.stRt.ulRtFlags = stRow.ulRtFlags;
        Bytes vecBuf(stRow.ulRoom + 32u, kFill); // the room and a guard area
        uint8_t *pucCur = vecBuf.data();
        const bool bFailCopies = stRow.pcReport[0] != '\0';
        tp::FailMemcpyS(bFailCopies);
        const uint32_t ulRet = BOL_SRPOLICY_FormatCondRtAttr(&stRoute.stRt, &pucCur, stRow.ulRoom, m_pstInst);
        tp::FailMemcpyS(false);
        EXPECT_EQ(ulRet, stRow.ulRet);
        Bytes vecWant = Hex(stRow.pcMsgHex);
        EXPECT_EQ(pucCur, vecBuf.data() + vecWant.size());
        vecWant.resize(vecBuf.size(), kFill);
        EXPECT_EQ(bt::ToHex(vecBuf), bt::ToHex(vecWant));
        if (stRow.pcStoredHex[0] != '\0') {
            EXPECT_EQ(bt::ToHex(stRoute.vecAttr), bt::ToHex(Hex(stRow.pcStoredHex)));
        }
        EXPECT_EQ(tp::Reports().size(), bFailCopies ? 3u : 0u);
        EXPECT_EQ(tp::TextReportCount("retCode:22") + tp::TextReportCount("secRetCode:22"), tp::Reports().size());
        EXPECT_GE(tp::TextReportCount(stRow.pcReport), bFailCopies ? 1u : 0u);
        EXPECT_EQ(tp::LiveBlocks(bt::kModule), 1u);
    }
}

}  // namespace
