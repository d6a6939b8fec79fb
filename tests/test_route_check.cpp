/*
 * Route validity by endpoint and the per-family route counters, reached
 * through the procedure table.
 */
#include <gtest/gtest.h>

#include "bol_srpolicy.h"
#include "fixture.h"

namespace {

class RouteCheck : public bt::PluginTest {};

TEST_F(RouteCheck, Ipv4EndpointsByKind)
{
    struct Case {
        uint32_t ulAddr;
        uint32_t ulKind;
        uint32_t ulValid;
    } astCases[] = {
        {0x7F000001u, 1, 1}, {0x7F000001u, 8, 1},  // only kind 2 looks at the endpoint
        {0x7F000001u, 2, 0}, {0xE0000005u, 2, 0}, {0xEFFFFFFFu, 2, 0}, {0x00000001u, 2, 0},
        {0x00000000u, 2, 1}, {0x01000000u, 2, 1}, {0xDFFFFFFFu, 2, 1}, {0xF0000001u, 2, 1},
        {0xFFFFFFFFu, 2, 1}, {0x0A000001u, 2, 1},
    };
    for (const Case &c : astCases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.ulAddr << " kind " << c.ulKind);
        bt::Route rt;
        rt.SetKey(bt::KeyV4(1, 2, c.ulAddr));
        uint32_t ulValid = 77;
        EXPECT_EQ(m_stTbl.pfnCheckRoute(&rt.stRt, c.ulKind, &ulValid), BOL_OK);
        EXPECT_EQ(ulValid, c.ulValid);
    }
}

TEST_F(RouteCheck, Ipv6AndOtherLengths)
{
    struct Case {
        BOL_SRPOLICY_NLRI_S stKey;
        uint32_t ulValid;
    } astCases[] = {
        {bt::KeyV6(1, 2, 0, 0, 0, 0), 0},
        {bt::KeyV6(1, 2, 0, 0, 0, 1), 1},
        {bt::KeyV6(1, 2, 0xFF020000u, 0, 0, 1), 1},
    };
    for (const Case &c : astCases) {
        bt::Route rt;
        rt.SetKey(c.stKey);
        uint32_t ulValid = 77;
        EXPECT_EQ(m_stTbl.pfnCheckRoute(&rt.stRt, 2, &ulValid), BOL_OK);
        EXPECT_EQ(ulValid, c.ulValid);
    }
    bt::Route rt;
    BOL_SRPOLICY_NLRI_S stOdd = bt::KeyV4(1, 2, 0x0A000001u);
    stOdd.ucNlriLen = 0;
    rt.SetKey(stOdd);
    uint32_t ulValid = 77;
    EXPECT_EQ(m_stTbl.pfnCheckRoute(&rt.stRt, 2, &ulValid), BOL_OK);
    EXPECT_EQ(ulValid, 0u);
}

TEST_F(RouteCheck, WithoutUsableKey)
{
    bt::Route rt;
    uint32_t ulValid = 77;
    EXPECT_EQ(m_stTbl.pfnCheckRoute(&rt.stRt, 2, &ulValid), BOL_SRPOLICY_ERR);
    rt.SetKey(bt::KeyV4(1, 2, 3));
    for (uint32_t ulLen : {27u, 29u, 0u}) {
        rt.stRt.ulKeyLen = ulLen;
        EXPECT_EQ(m_stTbl.pfnCheckRoute(&rt.stRt, 2, &ulValid), BOL_SRPOLICY_ERR);
    }
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
