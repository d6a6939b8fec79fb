/*
 * SR Policy NLRI through the packet dispatchers: one NLRI per call with the
 * cursor and the more flag (the encoder's bytes and the round trip:
 * test_route_key.cpp).
 */
#include <gtest/gtest.h>

#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"
#include "fuzz_host.h"

namespace {

class Nlri : public bt::PluginTest {};

int g_iCtx;  // the host context is required but not read
void *const kUntouched = &g_iCtx;

TEST_F(Nlri, DecodeOne)
{
    // length · distinguisher · color · endpoint [· following bytes]
    const char *pcV4 = "60 · 00000001 · 00000064 · 0A000001";
    const char *pcV6 = "C0 · 00000001 · 00000064 · 20010DB8 00000000 00000000 00000001";
    const BOL_SRPOLICY_NLRI_S stV4 = bt::KeyV4(1, 100, 0x0A000001u);
    const BOL_SRPOLICY_NLRI_S stV6 = bt::KeyV6(1, 100, 0x20010DB8u, 0, 0, 1);
    struct Case {
        const char *pcName;
        std::string strHex;
        uint32_t ulRet;
        uint32_t ulAdvance;
        uint32_t ulMore;
        BOL_SRPOLICY_NLRI_S stKey;
    } astCases[] = {
        {"v4 alone", pcV4, BOL_OK, 13, 0, stV4},
        {"v4 then more", std::string(pcV4) + " · 60", BOL_OK, 13, 1, stV4},
        {"v6 alone", pcV6, BOL_OK, 25, 0, stV6},
        {"low bits ignored v4", "67 00000001 00000064 0A000001", BOL_OK, 13, 0, stV4},
        {"11-byte body", "5F 00000001 00000064 0A0000", BOL_ERR_NLRI_LEN, 0, 0, {}},
        {"13-byte body", "68 00000001 00000064 0A000001 00", BOL_ERR_NLRI_LEN, 0, 0, {}},
        {"v6 length, v4 bytes", "C0 00000001 00000064 0A000001", BOL_ERR_NLRI_LEN, 0, 0, {}},
        {"length byte only", "60", BOL_ERR_NLRI_LEN, 0, 0, {}},
    };
    for (const Case &c : astCases) {
        for (uint32_t ulType : {BOL_SRPOLICY_PATTR_MP_REACH, BOL_SRPOLICY_PATTR_MP_UNREACH}) {
            SCOPED_TRACE(testing::Message() << c.pcName << ", type " << ulType);
            tp::Reset();
            bt::Bytes vecIn = bt::Hex(c.strHex);  // exactly the bytes handed in
            uint8_t *pucCur = vecIn.data();
            void *pvOut = kUntouched;
            uint32_t ulMore = 77;
            EXPECT_EQ(m_stTbl.pfnParsePkt(&pucCur, static_cast<uint32_t>(vecIn.size()), &g_iCtx, ulType, &pvOut,
                                          &ulMore, m_pstInst),
                      c.ulRet);
            EXPECT_EQ(static_cast<uint32_t>(pucCur - vecIn.data()), c.ulAdvance);
            if (c.ulRet != BOL_OK) {
                EXPECT_EQ(ulMore, 77u);
                EXPECT_EQ(pvOut, kUntouched);
                EXPECT_EQ(tp::AllocCalls(), 0u);
                continue;
            }
            EXPECT_EQ(ulMore, c.ulMore);
            fz::Output o = fz::TakeOutput(pvOut);
            EXPECT_EQ(o.stHdr.ulOutFlags, BOL_OUTPUT_FLAG_KEY);
            EXPECT_EQ(o.vecBlock.size(), 60u);
            BOL_SRPOLICY_NLRI_S stGot = o.Key();
            EXPECT_EQ(bt::ToHex(reinterpret_cast<uint8_t *>(&stGot), 28),
                      bt::ToHex(reinterpret_cast<const uint8_t *>(&c.stKey), 28));
        }
    }
}

TEST_F(Nlri, RefusedArguments)
{
    bt::Bytes vecIn = bt::Hex("60 00000001 00000064 0A000001");
    uint8_t *pucCur = vecIn.data();
    void *pvOut = kUntouched;
    uint32_t ulMore = 77;
    // The dispatcher does not look at the host context; the decoder requires it.
    EXPECT_EQ(m_stTbl.pfnParsePkt(&pucCur, 13, nullptr, 14, &pvOut, &ulMore, m_pstInst), BOL_ERR_PARAM);
    // A body between the two forms would be read as IPv6 past its end.
    EXPECT_EQ(BOL_SRPOLICY_ParseBgpNlri(&pucCur, 13, &pvOut, &ulMore, m_pstInst), BOL_ERR_PARAM);
    EXPECT_EQ(ReportCount(), 2u);
    EXPECT_EQ(pucCur, vecIn.data());
    EXPECT_EQ(pvOut, kUntouched);
}

/* Without a key and without a buffer the two types answer differently. */
TEST_F(Nlri, EncodeWithoutKeyOrBuffer)
{
    bt::Route rtNoKey;
    uint8_t *pucNull = nullptr;
    EXPECT_EQ(m_stTbl.pfnFormatPkt(&rtNoKey.stRt, 14, &pucNull, 64, m_pstInst), BOL_SRPOLICY_ERR_PARA);
    EXPECT_EQ(m_stTbl.pfnFormatPkt(&rtNoKey.stRt, 15, &pucNull, 64, m_pstInst), BOL_ERR_NO_DATA);
    EXPECT_EQ(ReportCount(), 0u);
}

}  // namespace
