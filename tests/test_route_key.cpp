/*
 * The route key: its order, its writers (wire NLRI, HA prefix TLV of messages
 * 3 and 5, route key message 121, configured prefix record), the NLRI body
 * decoder, route validity by endpoint and the per-family route counters
 * (reading the HA prefix TLV and the configured record: the key message fuzz
 * target).
 */
#include <gtest/gtest.h>
#include <string.h>

#include <utility>
#include <vector>

#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"
#include "fuzz_host.h"

namespace {

class RouteKey : public bt::PluginTest {};

const BOL_SRPOLICY_NLRI_S kV4 = bt::KeyV4(1, 100, 0x0A000001u);

TEST_F(RouteKey, KeyOrder)
{
    BOL_SRPOLICY_NLRI_S stRsv = kV4;
    stRsv.aucReserved[1] = 9;  // not part of the order
    struct Case {
        const char *pcName;
        BOL_SRPOLICY_NLRI_S stA, stB;
        int32_t lWant;
    } astCases[] = {
        {"v4 before v6", bt::KeyV4(~0u, ~0u, ~0u), bt::KeyV6(0, 0, 0, 0, 0, 0), -1},
        {"distinguisher unsigned", bt::KeyV4(0x80000000u, 0, 0), bt::KeyV4(1, 9, 9), 1},
        {"color", bt::KeyV4(1, 2, 9), bt::KeyV4(1, 3, 0), -1},
        {"v4 address", bt::KeyV4(1, 2, 0xC0000001u), bt::KeyV4(1, 2, 0x0A000001u), 1},
        {"last endpoint word", bt::KeyV6(1, 2, 5, 5, 5, 1), bt::KeyV6(1, 2, 5, 5, 5, 2), -1},
        {"equal but reserved", kV4, stRsv, 0},
    };
    for (const Case &c : astCases) {
        SCOPED_TRACE(c.pcName);
        EXPECT_EQ(m_stTbl.pfnCmpData(&c.stA, 28, &c.stB, 28, BOL_SRPOLICY_CMP_KEY), c.lWant);
        EXPECT_EQ(m_stTbl.pfnCmpData(&c.stB, 28, &c.stA, 28, BOL_SRPOLICY_CMP_KEY), -c.lWant);
    }
    EXPECT_EQ(m_stTbl.pfnCmpData(&kV4, 24, &kV4, 28, BOL_SRPOLICY_CMP_KEY), BOL_CMP_ERR);
    EXPECT_EQ(m_stTbl.pfnCmpData(&kV4, 28, &kV4, 24, BOL_SRPOLICY_CMP_KEY), BOL_CMP_ERR);
    EXPECT_EQ(ReportCount(), 2u);
}

/* Every writer of the key: the NLRI on the wire (path attributes 14 and 15)
 * and the 28-byte TLV of the HA messages 3 and 5 and of the route key
 * message 121. Bytes past what was written keep the caller's fill. */
TEST_F(RouteKey, KeyWriters)
{
    using Writer = std::pair<decltype(BOL_PROC_TBL_S::pfnFormatPkt), uint32_t>;
    const std::vector<Writer> vecWire = {{m_stTbl.pfnFormatPkt, 14}, {m_stTbl.pfnFormatPkt, 15}};
    const std::vector<Writer> vecTlv = {{m_stTbl.pfnFormatHaMsg, 3}, {m_stTbl.pfnFormatHaMsg, 5},
                                        {m_stTbl.pfnFormatMsg, 121}};
    const BOL_SRPOLICY_NLRI_S stV6 = bt::KeyV6(0x01020304u, 0xA0B0C0D0u, 0x20010DB8u, 0, 0, 9);
    struct Case {
        const char *pcName;
        const std::vector<Writer> &vecWriters;
        bool bKey;
        BOL_SRPOLICY_NLRI_S stKey;
        uint32_t ulRoom;
        uint32_t ulRet;
        const char *pcHex;  // length [· reserved] · distinguisher · color · endpoint
    } const astCases[] = {
        {"wire v4", vecWire, true, kV4, 13, BOL_OK, "60 00000001 00000064 0A000001"},
        {"wire v4, room 12", vecWire, true, kV4, 12, BOL_SRPOLICY_ERR_BUF_SHORT, ""},
        {"wire v6", vecWire, true, stV6, 25, BOL_OK, "C0 01020304 A0B0C0D0 20010DB8 00000000 00000000 00000009"},
        {"TLV v4", vecTlv, true, kV4, 28, BOL_OK, "60 000000 00000001 00000064 0A000001 00000000 00000000 00000000"},
        {"TLV, room 27", vecTlv, true, kV4, 27, BOL_SRPOLICY_ERR_BUF_SHORT, ""},
        {"TLV, no key", vecTlv, false, kV4, 28, BOL_ERR_NO_DATA, ""},
    };
    for (const Case &c : astCases) {
        for (const Writer &stWriter : c.vecWriters) {
            SCOPED_TRACE(testing::Message() << c.pcName << ", type " << stWriter.second);
            bt::Route rt;
            if (c.bKey) {
                rt.SetKey(c.stKey);
            }
            bt::Bytes vecBuf(c.ulRoom + 8u, bt::kCanary);
            uint8_t *pucCur = vecBuf.data();
            EXPECT_EQ(stWriter.first(&rt.stRt, stWriter.second, &pucCur, c.ulRoom, m_pstInst), c.ulRet);
            bt::Bytes vecWant = bt::Hex(c.pcHex);
            EXPECT_EQ(pucCur, vecBuf.data() + vecWant.size());
            vecWant.resize(vecBuf.size(), bt::kCanary);
            EXPECT_EQ(bt::ToHex(vecBuf), bt::ToHex(vecWant));
        }
    }
    EXPECT_EQ(ReportCount(), 0u);
    /* The configured prefix record carries its kind (the rest: the key
     * message fuzz target); no room at all is refused and reported. */
    bt::Route rt;
    rt.SetKey(kV4);
    bt::Bytes vecRec(BOL_SRPOLICY_CFG_PREFIX_LEN, 0u);
    uint8_t *pucCur = vecRec.data();
    uint32_t ulOffset = 0;
    uint32_t ulMore = 0;
    EXPECT_EQ(BOL_SRPOLICY_FormatCfgPrefix(&rt.stRt, &pucCur, BOL_SRPOLICY_CFG_PREFIX_LEN, &ulOffset, &ulMore), BOL_OK);
    BOL_SRPOLICY_CFG_PREFIX_S stRec;
    memcpy(&stRec, vecRec.data(), sizeof(stRec));
    EXPECT_EQ(stRec.ulCfgKind, BOL_SRPOLICY_CFG_PREFIX_KIND);
    EXPECT_EQ(BOL_SRPOLICY_FormatCfgPrefix(&rt.stRt, &pucCur, 0u, &ulOffset, &ulMore), BOL_ERR_PARAM);
    EXPECT_EQ(ReportCount(), 1u);
}

int g_iCtx;  // the host context is required but not read
void *const kUntouched = &g_iCtx;

TEST_F(RouteKey, NlriBodyDecoder)
{
    bt::Bytes vecIn = bt::Hex("60 00000001 00000064 0A000001");
    uint8_t *pucCur = vecIn.data();
    void *pvOut = kUntouched;
    uint32_t ulMore = 77;
    // The dispatcher does not look at the host context or the cursor's target; the decoder requires both,
    // whether the dispatcher runs it or the host calls it.
    uint8_t *pucNull = nullptr;
    EXPECT_EQ(m_stTbl.pfnParsePkt(&pucCur, 13, nullptr, 14, &pvOut, &ulMore, m_pstInst), BOL_ERR_PARAM);
    EXPECT_EQ(m_stTbl.pfnParsePkt(&pucNull, 13, &g_iCtx, 15, &pvOut, &ulMore, m_pstInst), BOL_ERR_PARAM);
    EXPECT_EQ(BOL_SRPOLICY_ParseMpNlri(&pucCur, 13, nullptr, &pvOut, &ulMore, m_pstInst), BOL_ERR_PARAM);
    // A body between the two forms would be read as IPv6 past its end.
    EXPECT_EQ(BOL_SRPOLICY_ParseBgpNlri(&pucCur, 13, &pvOut, &ulMore, m_pstInst), BOL_ERR_PARAM);
    EXPECT_EQ(ReportCount(), 4u);
    EXPECT_EQ(pucCur, vecIn.data());
    EXPECT_EQ(pvOut, kUntouched);
    // Twelve body bytes after the length byte: the key, the cursor past them, nothing more to read.
    uint8_t *pucBody = vecIn.data() + 1;
    EXPECT_EQ(BOL_SRPOLICY_ParseBgpNlri(&pucBody, 12, &pvOut, &ulMore, m_pstInst), BOL_OK);
    EXPECT_EQ(pucBody, vecIn.data() + 13);
    EXPECT_EQ(ulMore, 0u);
    const BOL_SRPOLICY_NLRI_S stKey = fz::TakeOutput(pvOut).Key();
    EXPECT_EQ(memcmp(&stKey, &kV4, sizeof(stKey)), 0);
}

/* Only kind 2 looks at the endpoint; a route without a usable key is an
 * error and the valid flag stays as it was. */
TEST_F(RouteKey, ValidityByEndpoint)
{
    BOL_SRPOLICY_NLRI_S stOdd = bt::KeyV4(1, 2, 0x0A000001u);
    stOdd.ucNlriLen = 0;
    auto V4 = [](uint32_t ulAddr) { return bt::KeyV4(1, 2, ulAddr); };
    struct Case {
        const char *pcName;
        BOL_SRPOLICY_NLRI_S stKey;
        uint32_t ulValid;
        uint32_t ulKind = 2u;
        uint32_t ulKeyLen = 28u;
        uint32_t ulRet = BOL_OK;
    } const astCases[] = {
        {"127.0.0.1, kind 1", V4(0x7F000001u), 1, 1}, {"127.0.0.1, kind 8", V4(0x7F000001u), 1, 8},
        {"127.0.0.1", V4(0x7F000001u), 0}, {"224.0.0.5", V4(0xE0000005u), 0}, {"239.255.255.255", V4(0xEFFFFFFFu), 0},
        {"0.0.0.1", V4(0x00000001u), 0}, {"0.0.0.0", V4(0x00000000u), 1}, {"1.0.0.0", V4(0x01000000u), 1},
        {"223.255.255.255", V4(0xDFFFFFFFu), 1}, {"240.0.0.1", V4(0xF0000001u), 1},
        {"255.255.255.255", V4(0xFFFFFFFFu), 1}, {"10.0.0.1", V4(0x0A000001u), 1},
        {"::", bt::KeyV6(1, 2, 0, 0, 0, 0), 0}, {"::1", bt::KeyV6(1, 2, 0, 0, 0, 1), 1},
        {"2001:db8::", bt::KeyV6(1, 2, 0x20010DB8u, 0, 0, 0), 1}, {"0:0:0:1::", bt::KeyV6(1, 2, 0, 1, 0, 0), 1},
        {"::1:0:0", bt::KeyV6(1, 2, 0, 0, 1, 0), 1},
        {"ff02::1", bt::KeyV6(1, 2, 0xFF020000u, 0, 0, 1), 1}, {"other NLRI length: IPv6 ::", stOdd, 0},
        {"key length 0", V4(3), 77, 2, 0, BOL_SRPOLICY_ERR}, {"key length 27", V4(3), 77, 2, 27, BOL_SRPOLICY_ERR},
        {"key length 29", V4(3), 77, 2, 29, BOL_SRPOLICY_ERR},
    };
    for (const Case &c : astCases) {
        SCOPED_TRACE(c.pcName);
        bt::Route rt;
        rt.SetKey(c.stKey);
        rt.stRt.ulKeyLen = c.ulKeyLen;
        uint32_t ulValid = 77;
        EXPECT_EQ(m_stTbl.pfnCheckRoute(&rt.stRt, c.ulKind, &ulValid), c.ulRet);
        EXPECT_EQ(ulValid, c.ulValid);
    }
    uint32_t ulValid = 77;
    bt::Route rt;
    EXPECT_EQ(m_stTbl.pfnCheckRoute(&rt.stRt, 2, &ulValid), BOL_SRPOLICY_ERR);
    EXPECT_EQ(ulValid, 77u);
    EXPECT_EQ(ReportCount(), 0u);
    EXPECT_EQ(m_stTbl.pfnCheckRoute(nullptr, 2, &ulValid), BOL_ERR_PARAM);
    EXPECT_EQ(m_stTbl.pfnCheckRoute(&rt.stRt, 2, nullptr), BOL_ERR_PARAM);
    EXPECT_EQ(ReportCount(), 2u);
}

TEST_F(RouteKey, CountersByFamily)
{
    uint32_t aulCnt[3] = {0, 0, 0};
    bt::Route v4, v6, odd;
    v4.SetKey(bt::KeyV4(1, 2, 3));
    v6.SetKey(bt::KeyV6(1, 2, 0, 0, 0, 1));
    BOL_SRPOLICY_NLRI_S stOdd = bt::KeyV4(1, 2, 3);
    stOdd.ucNlriLen = 0;
    odd.SetKey(stOdd);

    EXPECT_EQ(m_stTbl.pfnSetRtCount(&v4.stRt, aulCnt, 3, 1, 5), BOL_OK);
    EXPECT_EQ(m_stTbl.pfnSetRtCount(&v6.stRt, aulCnt, 3, 1, 2), BOL_OK);
    EXPECT_EQ(m_stTbl.pfnSetRtCount(&odd.stRt, aulCnt, 3, 1, 1), BOL_OK);
    EXPECT_EQ(m_stTbl.pfnSetRtCount(&v4.stRt, aulCnt, 3, 0, 1), BOL_OK);
    EXPECT_EQ(aulCnt[0], 1u);
    EXPECT_EQ(aulCnt[1], 4u);
    EXPECT_EQ(aulCnt[2], 2u);

    EXPECT_EQ(m_stTbl.pfnSetRtCount(&v6.stRt, aulCnt, 2, 1, 1), BOL_SRPOLICY_ERR_PARA);
    EXPECT_EQ(aulCnt[2], 2u);
    EXPECT_EQ(m_stTbl.pfnSetRtCount(&odd.stRt, aulCnt, 3, 0, 2), BOL_OK);
    EXPECT_EQ(aulCnt[0], 0xFFFFFFFFu);  // no floor at zero

    bt::Route none;
    EXPECT_EQ(m_stTbl.pfnSetRtCount(&none.stRt, aulCnt, 3, 1, 1), BOL_SRPOLICY_ERR_PARA);
    EXPECT_EQ(m_stTbl.pfnSetRtCount(nullptr, aulCnt, 3, 1, 1), BOL_SRPOLICY_ERR_PARA);

    uint32_t ulCount = 99;
    EXPECT_EQ(m_stTbl.pfnGetRtCount(aulCnt, 3, 1, &ulCount), BOL_OK);
    EXPECT_EQ(ulCount, 4u);
    EXPECT_EQ(m_stTbl.pfnGetRtCount(aulCnt, 3, 2, &ulCount), BOL_OK);
    EXPECT_EQ(ulCount, 2u);
    ulCount = 99;
    EXPECT_EQ(m_stTbl.pfnGetRtCount(aulCnt, 3, 0, &ulCount), BOL_OK);
    EXPECT_EQ(ulCount, 99u);
    EXPECT_EQ(m_stTbl.pfnGetRtCount(aulCnt, 3, 3, &ulCount), BOL_SRPOLICY_ERR_PARA);
    EXPECT_EQ(m_stTbl.pfnGetRtCount(aulCnt, 2, 2, &ulCount), BOL_SRPOLICY_ERR_PARA);
    EXPECT_EQ(ReportCount(), 0u);
}

}  // namespace
