/*
 * Display text of route keys (text type 1) and of stored Tunnel
 * Encapsulation attributes (type 128), and the attribute's configuration
 * text (record 32), as the host reaches them through the procedure table:
 * the lines of every printer, rendering spread over many small buffers, and
 * attribute bytes that lie about their lengths.
 */
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "bol_srpolicy.h"
#include "attr_test_util.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using bt::Bytes;

namespace {

const std::string kHeader = "Tunnel Encaps Attribute (23):\n Tunnel Type: SR Policy (15)\n";

/* 2001:db8::1 and 2001:db8::2 as 16 wire bytes. */
const std::string kSid1 = "20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01";
const std::string kSid2 = "20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 02";

Bytes Tunnel(const std::string &strSubTlvs) { return at::Tunnel(bt::Hex(strSubTlvs)); }

/* Segment List sub-TLV (type 128, 2-byte length): reserved byte, segments. */
std::string SegList(const std::string &strSegs) { return bt::ToHex(at::Sub(128, bt::Hex("00 " + strSegs))); }

/* Policy Name sub-TLV: reserved byte, then the name. */
std::string PolicyName(const std::string &strName)
{
    Bytes vecValue{0};
    vecValue.insert(vecValue.end(), strName.begin(), strName.end());
    return bt::ToHex(at::Sub(130, vecValue));
}

using Call = fz::TextCall;

class Text : public bt::PluginTest {
protected:
    /* The attribute's text through one buffer of ulSize bytes followed by a
     * guard area (the fuzz targets' call and its checks). */
    Call RenderAttr(const Bytes &vecAttr, size_t ulSize = 8192u)
    {
        bt::Route rt;
        rt.SetAttr(vecAttr);
        return fz::Render(fz::Host{m_stTbl, m_pstInst}, rt, BOL_SRPOLICY_STR_ATTR, static_cast<uint32_t>(ulSize), 0u);
    }
};

/* ---- Key line ---------------------------------------------------------------- */

/* The line is built in the scratch buffer: no platform allocation. */
TEST_F(Text, KeyLine)
{
    const std::string strV4 = "SRPOLICY NLRI: Distinguisher[1], PolicyColor[2], Endpoint[10.0.0.1]";
    BOL_SRPOLICY_NLRI_S stOtherLen = bt::KeyV6(1, 2, 0, 0, 0, 0x0A000001u);
    stOtherLen.ucNlriLen = 0u;  // neither 96 nor 192: an IPv6 endpoint
    struct Case {
        const char *pcName;
        BOL_SRPOLICY_NLRI_S stKey;
        uint32_t ulKeyLen;
        size_t ulBufLen;
        uint32_t ulRet;
        std::string strText;
        uint32_t ulFlags;     // resume offset and more flag afterwards: kept (5, 77) on a refusal, else 0
        size_t ulReports;
    } astCases[] = {
        {"ipv4", bt::KeyV4(1, 2, 0x0A000001u), 28, 256, BOL_OK, strV4, 0, 0},
        {"long ipv6", bt::KeyV6(4000000000u, 4294967295u, 0x20010DB8u, 0x11112222u, 0x33334444u, 0x55556666u), 28,
         256, BOL_OK,
         "SRPOLICY NLRI: Distinguisher[4000000000], PolicyColor[4294967295], "
         "Endpoint[2001:db8:1111:2222:3333:4444:5555:6666]", 0, 0},
        {"other nlri length", stOtherLen, 28, 256, BOL_OK,
         "SRPOLICY NLRI: Distinguisher[1], PolicyColor[2], Endpoint[::a00:1]", 0, 0},
        {"line and zero just fit", bt::KeyV4(1, 2, 0x0A000001u), 28, strV4.size() + 1u, BOL_OK, strV4, 0, 0},
        {"no room for the zero: copy reported", bt::KeyV4(1, 2, 0x0A000001u), 28, strV4.size(), BOL_OK, "", 0, 1},
        {"key length 27", bt::KeyV4(1, 2, 3), 27, 8, BOL_ERR_NO_DATA, "", 5, 0},
    };
    for (const Case &c : astCases) {
        SCOPED_TRACE(c.pcName);
        bt::Route rt;
        rt.SetKey(c.stKey);
        rt.stRt.ulKeyLen = c.ulKeyLen;
        tp::Reset();
        /* The more flag starts at 77. */
        const uint32_t ulSize = static_cast<uint32_t>(c.ulBufLen);
        Call stCall = fz::Render(fz::Host{m_stTbl, m_pstInst}, rt, BOL_SRPOLICY_STR_KEY, ulSize, 5u);
        EXPECT_EQ(stCall.ulRet, c.ulRet);
        EXPECT_EQ(stCall.strText, c.strText);
        EXPECT_EQ(stCall.ulOffset, c.ulFlags);
        EXPECT_EQ(stCall.ulMore, c.ulFlags == 0u ? 0u : 77u);
        EXPECT_EQ(tp::Reports().size(), c.ulReports);
        EXPECT_EQ(tp::TextReportCount("retCode:34"), c.ulReports);
        EXPECT_EQ(tp::AllocCalls(), 0u);
        EXPECT_EQ(m_pstInst->ulScratchInUse, 0u);
    }
}

/* ---- Attribute lines --------------------------------------------------------- */

TEST_F(Text, OneLineBySubTlv)
{
    struct Case {
        const char *pcName;
        std::string strSubTlvs;
        std::string strText;  // after "\r\n" and the header
    } astCases[] = {
        {"preference", "0C 06 00 00 00 00 00 64", "  Preference: 100\n"},
        {"preference, length 4", "0C 04 00 00 00 64", "  Preference: no present\n"},
        {"template id", "7F 06 00 00 00 00 01 00", "  Template ID: 256\n"},
        {"private slice id", "7E 06 00 00 00 00 00 07", "  Slice ID(type:126): 7\n"},
        {"standard slice id", "7B 06 00 00 FF FF FF FF", "  Slice ID(type:123): 4294967295\n"},
        {"private slice id, length 4", "7E 04 00 00 00 07", "  unknow type(126),len(4)\n"},
        {"binding sid, no value", "0D 02 C0 00", "  Binding SID: no present, s-flag(1), i-flag(1)\n"},
        {"binding sid, label", "0D 06 80 00 12 34 50 00", "  Binding SID: 74565, s-flag(1), i-flag(0)\n"},
        {"binding sid, srv6", "0D 12 40 00 " + kSid1, "  Binding SID: 2001:db8::1, s-flag(0), i-flag(1)\n"},
        // flags, reserved, SID, behavior 0x30, reserved, LB 32, LN 16, Func 16, Args 0
        {"srv6 binding sid, 26", "14 1A E0 00 " + kSid2 + " 00 30 00 00 20 10 10 08",
         "  SRv6 Binding SID: 2001:db8::2, Flags:0xe0, Endpoint Behavior: 0x30, "
         "SID Structure: LB length:32, LN length:16, Func length:16, Args length:8\n"},
        {"srv6 binding sid, 18", "14 12 40 00 " + kSid2, "  SRv6 Binding SID: 2001:db8::2, Flags:0x40\n"},
        {"candidate path name", "81 00 04 00 63 70 31", "  Candidate Path Name: cp1\n"},
        {"policy name", PolicyName("abc"), "  Policy Name: abc\n"},
        {"policy name, empty", PolicyName(""), ""},
        {"policy names, 0x7F or a tab", "82 00 03 00 61 7F  82 00 04 00 61 09 62", ""},
        {"policy name, 300 characters", PolicyName(std::string(300, 'n')),
         "  Policy Name: " + std::string(255, 'n') + "\n"},
        {"types without a printer", "01 02 AA BB 0F 01 00 C8 00 01 00", ""},
        {"segment list, reserved byte only", SegList(""), "  Segment List\n"},
        {"weight and two labels in stored order",
         SegList("09 06 00 00 00 00 00 0A  01 06 00 00 00 06 40 00  01 06 00 00 00 0C 80 00"),
         "  Segment List\n    Weight: 10\n    Segment: type:1, Label:100\n    Segment: type:1, Label:200\n"},
        {"path mtu of type 13 and 220, type 5 skipped",
         SegList("0D 06 00 00 00 00 05 DC  05 0A 00 00 00 00 00 00 00 00 00 00  DC 06 00 00 00 00 05 DD"),
         "  Segment List\n    Path MTU: 1500\n    Path MTU: 1501\n"},
        {"srv6 segments", SegList("0D 12 80 00 " + kSid2 + "  02 1A 00 00 " + kSid1 + " 00 30 00 00 20 10 10 08"),
         "  Segment List\n    Segment: type:13, SID: 2001:db8::2, Flags:0x80\n"
         "    Segment: type:2, SID: 2001:db8::1, Flags:0x00\n"
         "    SID Structure: LB length:32, LN length:16, Func length:16, Args length:8\n"},
        {"segment list binding sids", SegList("21 22 80 00 " + kSid1 + " " + kSid2),
         "  Segment List\n    Binding SID: 2001:db8::1, \n    Reverse Binding SID: 2001:db8::2, \n"},
        {"segment list binding sids with endpoints",
         SegList("21 32 C0 00 " + kSid1 + " 00 30 00 00 20 10 10 00 " + kSid2 + " 00 31 00 00 20 10 10 00"),
         "  Segment List\n    Binding SID: 2001:db8::1, Endpoint Behavior: 0x30, SID Structure: 0x20101000.\n"
         "    Reverse Binding SID: 2001:db8::2, Endpoint Behavior: 0x31, SID Structure: 0x20101000.\n"},
        {"segment list binding sid of 4 bytes", SegList("21 06 00 00 00 00 00 00"),
         "  Segment List\n    Unsupported BSID, Length: 6, Flags: 0x0\n"},
    };
    for (const Case &c : astCases) {
        SCOPED_TRACE(c.pcName);
        Call stCall = RenderAttr(Tunnel(c.strSubTlvs));
        EXPECT_EQ(stCall.ulRet, BOL_OK);
        EXPECT_EQ(stCall.strText, "\r\n" + kHeader + c.strText);
        EXPECT_EQ(stCall.ulMore, 0u);
        EXPECT_EQ(stCall.ulOffset, 0u);
    }
}

/* Lengths that run past what holds them end the text there; short values
 * are read as far as they go, the rest as zeros. */
TEST_F(Text, LengthsThatRunPastTheirBytes)
{
    struct Case {
        std::string strAttr;
        std::string strText;  // after "\r\n" and the header
    } astCases[] = {
        {"00 0F 00 08  0C 06 00 00 00 00 00 01  0C 06 00 00 00 00 00 02", "  Preference: 1\n"},
        {"00 0F 00 FF  0C 06 00 00 00 00 00 01", "  Preference: 1\n"},
        {"00 0F 00 07  80 00 04 00 09 01 FF", "  Segment List\n    Weight: 0\n"},
        {"00 0F 00 06  80 00 03 00 09 00", "  Segment List\n    Weight: 0\n"},
    };
    for (const Case &c : astCases) {
        EXPECT_EQ(RenderAttr(bt::Hex(c.strAttr)).strText, "\r\n" + kHeader + c.strText) << c.strAttr;
    }
}

/* The exported address text refuses (and reports) no room and no address bytes. */
TEST_F(Text, Ipv6AddressText)
{
    const uint32_t aulAddr[4] = {0x20010DB8u, 0u, 0u, 1u};
    char acText[40];
    EXPECT_EQ(BOL_SRPOLICY_IPv6AddrToStr(aulAddr, 16u, acText, sizeof(acText)), BOL_OK);
    EXPECT_STREQ(acText, "2001:db8::1");
    EXPECT_EQ(BOL_SRPOLICY_IPv6AddrToStr(aulAddr, 0u, acText, sizeof(acText)), BOL_ERR_PARAM);
    EXPECT_EQ(BOL_SRPOLICY_IPv6AddrToStr(aulAddr, 16u, acText, 0u), BOL_ERR_PARAM);
    EXPECT_EQ(ReportCount(), 2u);
}

/* ---- Resumption ------------------------------------------------------------- */

/* Through buffers of every size from the smallest that makes progress up to
 * one that holds everything, the texts of the calls join into exactly the
 * text of one large call; below that size some call makes no progress. */
TEST_F(Text, EverySizeJoinsIntoTheSingleCallText)
{
    struct Case {
        const char *pcName;
        Bytes vecAttr;
        size_t ulSmallest;  // longest piece + "\r\n" + 12 held back + zero
    } astCases[] = {
        {"realistic", at::RealisticAttr(), 2u + kHeader.size() + 1u},
        {"every resumable printer",
         Tunnel("0C 06 00 00 00 00 00 64  7B 06 00 00 00 00 00 09  7F 06 00 00 00 00 00 05  "
                "0D 12 C0 00 " + kSid1 + "  C8 00 02 AA BB  " +
                SegList("09 06 00 00 00 00 00 0A  01 06 00 00 00 06 40 00  05 06 00 00 00 00 00 00  "
                        "02 1A 00 00 " + kSid1 + " 00 30 00 00 20 10 10 00  0D 06 00 00 00 00 05 DC") +
                " " + PolicyName(std::string(255, 'p'))),
         strlen("  Policy Name: \n") + 255u + 15u},
    };
    for (const Case &c : astCases) {
        SCOPED_TRACE(c.pcName);
        const Call stFull = RenderAttr(c.vecAttr, 8192u);
        ASSERT_EQ(stFull.ulMore, 0u);
        const std::string strFull = stFull.strText.substr(2);
        /* The fuzz targets' walk over the calls, with its checks. */
        bt::Route rt;
        rt.SetAttr(c.vecAttr);
        std::string strJoined;
        for (uint32_t ulSize = 3u; ulSize < c.ulSmallest; ulSize++) {
            EXPECT_FALSE(fz::RenderAll(fz::Host{m_stTbl, m_pstInst}, rt, ulSize, strJoined)) << "size " << ulSize;
        }
        for (uint32_t ulSize = c.ulSmallest; ulSize <= strFull.size() + 2u + 12u + 1u; ulSize++) {
            SCOPED_TRACE(ulSize);
            ASSERT_TRUE(fz::RenderAll(fz::Host{m_stTbl, m_pstInst}, rt, ulSize, strJoined));
            ASSERT_EQ(strJoined, strFull);
        }
        EXPECT_EQ(RenderAttr(c.vecAttr, strFull.size() + 2u + 12u + 1u).ulMore, 0u);
        EXPECT_EQ(RenderAttr(c.vecAttr, strFull.size() + 2u + 12u).ulMore, 1u);
    }
}

/* ---- Configuration text (record 32) ---------------------------------------- */

/* The display text without its leading line break (resumed over calls the
 * same way: one text walk); a null buffer is the caller's small error (2, not reported) and a
 * route without an attribute has no text (more flag cleared, offset kept). */
TEST_F(Text, ConfigurationTextIsTheDisplayTextWithoutLeadingBreak)
{
    bt::Route rt;
    rt.SetAttr(at::RealisticAttr());
    char acText[4096];
    uint8_t *pucText = reinterpret_cast<uint8_t *>(acText);
    uint32_t ulOffset = 0u;
    uint32_t ulMore = 1u;
    ASSERT_EQ(m_stTbl.pfnFormatCfg(&rt.stRt, BOL_SRPOLICY_CFG_TNL_ENCAP, &pucText, sizeof(acText), &ulOffset, &ulMore),
              BOL_OK);
    EXPECT_EQ(ulMore, 0u);
    EXPECT_EQ("\r\n" + std::string(acText), RenderAttr(at::RealisticAttr()).strText);

    bt::Route rtNone;
    uint8_t *pucNull = nullptr;
    ulOffset = 7u;
    ulMore = 9u;
    EXPECT_EQ(BOL_SRPOLICY_FormatCfgTunnelEncapsulation(&rtNone.stRt, &pucNull, 64u, &ulOffset, &ulMore),
              BOL_SRPOLICY_ERR_PARA);
    EXPECT_EQ(ulMore, 9u);
    char acBuf[64];
    uint8_t *pucBuf = reinterpret_cast<uint8_t *>(acBuf);
    EXPECT_EQ(BOL_SRPOLICY_FormatCfgTunnelEncapsulation(&rtNone.stRt, &pucBuf, 64u, &ulOffset, &ulMore), BOL_OK);
    EXPECT_EQ(ulMore, 0u);
    EXPECT_EQ(ulOffset, 7u);
    /* A room of one byte is accepted (by the dispatcher and the handler); no
     * room at all is refused and reported. */
    EXPECT_EQ(m_stTbl.pfnFormatCfg(&rtNone.stRt, BOL_SRPOLICY_CFG_TNL_ENCAP, &pucBuf, 1u, &ulOffset, &ulMore), BOL_OK);
    EXPECT_EQ(ReportCount(), 0u);
    EXPECT_EQ(BOL_SRPOLICY_FormatCfgTunnelEncapsulation(&rtNone.stRt, &pucBuf, 0u, &ulOffset, &ulMore),
              BOL_ERR_PARAM);
    EXPECT_EQ(m_stTbl.pfnFormatCfg(&rtNone.stRt, BOL_SRPOLICY_CFG_TNL_ENCAP, &pucBuf, 0u, &ulOffset, &ulMore),
              BOL_ERR_PARAM);
    EXPECT_EQ(ReportCount(), 2u);
}

/* ---- Bytes that did not come from the decoder ---------------------------------- */

}  // namespace
