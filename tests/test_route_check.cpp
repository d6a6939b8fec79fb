/*
 * Route validity by endpoint and the per-family route counters, reached
 * through the procedure table.
 */
#include <gtest/gtest.h>

#include "bol_srpolicy.h"
#include "fixture.h"

namespace {

class RouteCheck : public bt::PluginTest {};

/* Only kind 2 looks at the endpoint; a route without a usable key is an
 * error and the valid flag stays as it was. */
TEST_F(RouteCheck, ValidityByEndpoint)
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

TEST_F(RouteCheck, CountersByFamily)
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
