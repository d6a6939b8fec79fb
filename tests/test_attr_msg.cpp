/*
 * Attribute message 47 (and path attribute 23): the stored attribute value
 * written byte for byte, and message 47 read into an output block carrying
 * path attribute 23.
 */
#include <gtest/gtest.h>
#include <string.h>

#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"
#include "fuzz_host.h"

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
        bool bFailCopy; /* the copy fails: reported, its bytes cleared */
    } const astRows[] = {
        {"room equal to the attribute", 12, 12, BOL_OK, 12, false},
        {"one byte short", 12, 11, BOL_SRPOLICY_ERR_BUF_SHORT, 0, false},
        {"only the low 16 bits of the length count", 0x10004u, 12, BOL_OK, 4, false},
        {"a failing copy", 12, 12, BOL_OK, 12, true},
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
            tp::Reset();
            tp::FailMemcpyS(stRow.bFailCopy);
            EXPECT_EQ(pfn(&stRoute.stRt, ulType, &pucCur, stRow.ulRoom, m_pstInst), stRow.ulRet);
            tp::FailMemcpyS(false);
            EXPECT_EQ(pucCur, vecBuf.data() + stRow.ulWritten);
            EXPECT_EQ(tp::TextReportCount("retCode:22"), stRow.bFailCopy ? 1u : 0u);
            EXPECT_EQ(ReportCount(), stRow.bFailCopy ? 1u : 0u);
            Bytes vecWant = stRow.bFailCopy ? Bytes(12, 0u) : Hex(kAttrHex);
            vecWant.resize(stRow.ulWritten);
            vecWant.resize(vecBuf.size(), 0xEEu);
            EXPECT_EQ(bt::ToHex(vecBuf), bt::ToHex(vecWant));
        }
    }
}

/* The reader hands any bytes on as attribute 23 with flags 0, also ones
 * that are no valid attribute; the length is carried in 16 bits. An empty
 * message has nothing to copy and gets the allocation failure's code. */
TEST_F(AttrMsg, ReaderHandsTheBytesOnAsAttribute23)
{
    struct Row {
        const char *pcName;
        Bytes vecMsg;
        uint32_t ulRet;
        const char *pcAttr;
    } const astRows[] = {
        {"an attribute", Hex(kAttrHex), BOL_OK, kAttrHex},
        {"one byte", Hex("FF"), BOL_OK, "FF"},
        {"a tunnel length beyond the bytes", Hex("00 0F 00 FF 01"), BOL_OK, "00 0F 00 FF 01"},
        {"65539 bytes", Bytes(65536u + 3u, 0x5Au), BOL_OK, "5A 5A 5A"},
        {"empty", Bytes(), BOL_SRPOLICY_ERR_NOMEM, ""},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        const uint8_t aucNone[1] = {0};
        void *pvOut = nullptr;
        EXPECT_EQ(m_stTbl.pfnParseAttrMsg(stRow.vecMsg.empty() ? aucNone : stRow.vecMsg.data(),
                                          static_cast<uint32_t>(stRow.vecMsg.size()), BOL_SRPOLICY_ATTRMSG_TNL_ENCAP,
                                          &pvOut, m_pstInst),
                  stRow.ulRet);
        if (stRow.ulRet != BOL_OK) {
            EXPECT_EQ(pvOut, nullptr);
            continue;
        }
        fz::Output stOut = fz::TakeOutput(pvOut);
        EXPECT_EQ(stOut.stHdr.ulOutFlags, BOL_OUTPUT_FLAG_ATTR);
        EXPECT_EQ(stOut.stHdr.ucAttrType, BOL_SRPOLICY_PATTR_TNL_ENCAP);
        EXPECT_EQ(stOut.stHdr.ucAttrFlag, 0u);
        EXPECT_EQ(bt::ToHex(stOut.vecAttr), bt::ToHex(Hex(stRow.pcAttr)));
    }
    EXPECT_EQ(ReportCount(), 0u);
}

}  // namespace
