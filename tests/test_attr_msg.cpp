/*
 * Attribute message 47: the stored attribute value written byte for byte,
 * and read back into an output block carrying path attribute 23.
 */
#include <gtest/gtest.h>
#include <string.h>

#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using bt::Bytes;
using bt::Hex;

namespace {

class AttrMsg : public bt::PluginTest {};

/* tunnel type 15, length 8 | preference 100 */
const char *const kAttrHex = "00 0F 00 08 | 0C 06 00 00 00 00 00 64";

TEST_F(AttrMsg, WriterCopiesTheStoredValueWhenItFits)
{
    struct Row {
        const char *pcName;
        uint32_t ulRoom;
        uint32_t ulRet;
        size_t ulWritten;
    } const astRows[] = {
        {"room equal to the attribute", 12, BOL_OK, 12},
        {"one byte short", 11, BOL_SRPOLICY_ERR_BUF_SHORT, 0},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        bt::Route stRoute;
        stRoute.SetAttr(Hex(kAttrHex));
        Bytes vecBuf(24, 0xEEu);
        uint8_t *pucCur = vecBuf.data();
        EXPECT_EQ(BOL_SRPOLICY_FormatAttrMsg(&stRoute.stRt, BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, &pucCur, stRow.ulRoom,
                                             m_pstInst),
                  stRow.ulRet);
        EXPECT_EQ(pucCur, vecBuf.data() + stRow.ulWritten);
        Bytes vecWant = Hex(kAttrHex);
        vecWant.resize(stRow.ulWritten);
        vecWant.resize(vecBuf.size(), 0xEEu);
        EXPECT_EQ(bt::ToHex(vecBuf), bt::ToHex(vecWant));
    }
    EXPECT_EQ(ReportCount(), 0u);
}

TEST_F(AttrMsg, WriterUsesTheLow16BitsOfTheLength)
{
    bt::Route stRoute;
    stRoute.SetAttr(Hex(kAttrHex));
    stRoute.stRt.ulAttrLen = 0x10004u;
    Bytes vecBuf(8, 0xEEu);
    uint8_t *pucCur = vecBuf.data();
    EXPECT_EQ(BOL_SRPOLICY_FormatTunnelEncapsAttrTlv(&stRoute.stRt, &pucCur, 8u, m_pstInst), BOL_OK);
    EXPECT_EQ(pucCur, vecBuf.data() + 4);
    EXPECT_EQ(bt::ToHex(vecBuf), "00 0F 00 08 EE EE EE EE");
}

/* Written, then read back: attribute type 23, flags 0, the same bytes. Any
 * bytes are carried, also ones that are no valid attribute. */
TEST_F(AttrMsg, ReaderHandsTheBytesOnAsAttribute23)
{
    for (const char *pcHex : {kAttrHex, "FF", "00 0F 00 FF 01"}) {
        SCOPED_TRACE(pcHex);
        bt::Route stRoute;
        stRoute.SetAttr(Hex(pcHex));
        Bytes vecMsg(64, 0u);
        uint8_t *pucCur = vecMsg.data();
        ASSERT_EQ(BOL_SRPOLICY_FormatAttrMsg(&stRoute.stRt, BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, &pucCur, 64u, m_pstInst),
                  BOL_OK);
        vecMsg.resize(static_cast<size_t>(pucCur - vecMsg.data()));

        void *pvOut = nullptr;
        ASSERT_EQ(BOL_SRPOLICY_ParseAttrMsg(vecMsg.data(), static_cast<uint32_t>(vecMsg.size()),
                                            BOL_SRPOLICY_ATTRMSG_TNL_ENCAP, &pvOut, m_pstInst),
                  BOL_OK);
        bt::Output stOut = bt::TakeOutput(pvOut);
        EXPECT_FALSE(stOut.HasKey());
        EXPECT_EQ(stOut.stHdr.ucAttrType, BOL_SRPOLICY_PATTR_TNL_ENCAP);
        EXPECT_EQ(stOut.stHdr.ucAttrFlag, 0u);
        EXPECT_EQ(bt::ToHex(stOut.Attr()), bt::ToHex(Hex(pcHex)));
    }
    EXPECT_EQ(ReportCount(), 0u);
}

TEST_F(AttrMsg, ReaderCarriesTheLengthIn16Bits)
{
    Bytes vecMsg(65536u + 3u, 0x5Au);
    void *pvOut = nullptr;
    ASSERT_EQ(BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv(vecMsg.data(), static_cast<uint32_t>(vecMsg.size()), &pvOut,
                                                      m_pstInst),
              BOL_OK);
    bt::Output stOut = bt::TakeOutput(pvOut);
    EXPECT_EQ(bt::ToHex(stOut.Attr()), "5A 5A 5A");
}

TEST_F(AttrMsg, ReaderFailuresProduceNoOutputAndReleaseTheCopy)
{
    Bytes vecMsg = Hex(kAttrHex);
    uint8_t aucNone[1] = {0};
    struct Row {
        const char *pcName;
        const uint8_t *pucMsg;
        uint32_t ulLen;
        uint32_t ulFailNth;
        uint32_t ulRet;
    } const astRows[] = {
        {"the copy cannot be allocated", vecMsg.data(), 12, 1, BOL_SRPOLICY_ERR_NOMEM},
        {"the output block cannot be allocated", vecMsg.data(), 12, 2, BOL_ERR_MALLOC},
        {"empty message", aucNone, 0, 0, BOL_SRPOLICY_ERR_NOMEM},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        tp::Reset();
        tp::FailNthAlloc(stRow.ulFailNth);
        void *pvOut = nullptr;
        EXPECT_EQ(BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv(stRow.pucMsg, stRow.ulLen, &pvOut, m_pstInst), stRow.ulRet);
        EXPECT_EQ(pvOut, nullptr);
        EXPECT_EQ(tp::LiveBlocks(bt::kModule), 1u); /* the instance alone */
    }
}

}  // namespace
