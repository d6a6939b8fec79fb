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

/* The stored value is written byte for byte, as path attribute 23 and as
 * message 47, when it fits; only the low 16 bits of its length count. */
TEST_F(AttrMsg, WritersCopyTheStoredValueWhenItFits)
{
    struct Row {
        const char *pcName;
        uint32_t ulAttrLen;
        uint32_t ulRoom;
        uint32_t ulRet;
        size_t ulWritten;
    } const astRows[] = {
        {"room equal to the attribute", 12, 12, BOL_OK, 12},
        {"one byte short", 12, 11, BOL_SRPOLICY_ERR_BUF_SHORT, 0},
        {"only the low 16 bits of the length count", 0x10004u, 12, BOL_OK, 4},
    };
    for (uint32_t ulType : {BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_SRPOLICY_ATTRMSG_TNL_ENCAP}) {
        for (const Row &stRow : astRows) {
            SCOPED_TRACE(::testing::Message() << "type " << ulType << ": " << stRow.pcName);
            bt::Route stRoute;
            stRoute.SetAttr(Hex(kAttrHex));
            stRoute.stRt.ulAttrLen = stRow.ulAttrLen;
            Bytes vecBuf(16, 0xEEu);
            uint8_t *pucCur = vecBuf.data();
            auto pfn = ulType == BOL_SRPOLICY_PATTR_TNL_ENCAP ? m_stTbl.pfnFormatPkt : m_stTbl.pfnFormatAttrMsg;
            EXPECT_EQ(pfn(&stRoute.stRt, ulType, &pucCur, stRow.ulRoom, m_pstInst), stRow.ulRet);
            EXPECT_EQ(pucCur, vecBuf.data() + stRow.ulWritten);
            Bytes vecWant = Hex(kAttrHex);
            vecWant.resize(stRow.ulWritten);
            vecWant.resize(vecBuf.size(), 0xEEu);
            EXPECT_EQ(bt::ToHex(vecBuf), bt::ToHex(vecWant));
        }
    }
    EXPECT_EQ(ReportCount(), 0u);
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

/* The output carries the length in 16 bits; an empty message has nothing
 * to copy and gets the allocation failure's code. */
TEST_F(AttrMsg, ReaderLengthIn16BitsAndEmptyMessage)
{
    const Bytes vecLong(65536u + 3u, 0x5Au);
    const uint8_t aucNone[1] = {0};
    void *pvOut = nullptr;
    ASSERT_EQ(BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv(vecLong.data(), static_cast<uint32_t>(vecLong.size()), &pvOut,
                                                      m_pstInst),
              BOL_OK);
    EXPECT_EQ(bt::ToHex(bt::TakeOutput(pvOut).Attr()), "5A 5A 5A");
    pvOut = nullptr;
    EXPECT_EQ(BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv(aucNone, 0u, &pvOut, m_pstInst), BOL_SRPOLICY_ERR_NOMEM);
    EXPECT_EQ(pvOut, nullptr);
}

}  // namespace
