/*
 * The attribute setter (fresh normalised attribute, slice id rewritten into
 * its private form on request); attribute message 47
 * (and path attribute 23): the stored value written byte for byte, and
 * message 47 read into an output block carrying path attribute 23.
 */
#include <gtest/gtest.h>

#include "attr_test_util.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"
#include "fuzz_host.h"

using at::Bytes;
using bt::Hex;

namespace {

class AttrSet : public bt::PluginTest {};

const uint32_t kPriv = BOL_SRPOLICY_SET_PRIV_SLICE_ID;

TEST_F(AttrSet, SliceIdRewrite)
{
    struct Row {
        const char *pcName;
        const char *pcHeld;
        uint32_t ulFlags;
        uint32_t ulWant;
        const char *pcOut; /* "=" means equal to the held bytes */
    } astRows[] = {
        {"standard only: its type byte becomes 126", "00 0F 00 10 | 0C 06 00 00 00 00 00 01 | 7B 06 00 00 00 00 00 0B",
         kPriv, BOL_OK, "00 0F 00 10 | 0C 06 00 00 00 00 00 01 | 7E 06 00 00 00 00 00 0B"},
        {"standard and private: private removed, standard becomes private, 8 bytes shorter",
         "00 0F 00 18 | 7E 06 00 00 00 00 00 0C | 0C 06 00 00 00 00 00 01 | 7B 06 00 00 00 00 00 0B", kPriv, BOL_OK,
         "00 0F 00 10 | 0C 06 00 00 00 00 00 01 | 7E 06 00 00 00 00 00 0B"},
        {"private of length 4 only: removed, 6 bytes shorter",
         "00 0F 00 0E | 7E 04 AA BB CC DD | 0C 06 00 00 00 00 00 01", kPriv, BOL_OK,
         "00 0F 00 08 | 0C 06 00 00 00 00 00 01"},
        {"standard and a private of length 9 after it: the 11 private bytes go",
         "00 0F 00 13 | 7B 06 00 00 00 00 00 0B | 7E 09 01 02 03 04 05 06 07 08 09", kPriv, BOL_OK,
         "00 0F 00 08 | 7E 06 00 00 00 00 00 0B"},
        /* Only the last private slice id is known to the setter; the earlier
         * one stays and, behind the rewritten standard one, will be refused
         * as a second private slice id when this output is decoded. */
        {"standard and two private slice ids: only the last private goes",
         "00 0F 00 16 | 7B 06 00 00 00 00 00 0B | 7E 04 AA BB CC DD | 7E 06 00 00 00 00 00 0C", kPriv, BOL_OK,
         "00 0F 00 0E | 7E 06 00 00 00 00 00 0B | 7E 04 AA BB CC DD"},
        {"private of length 4 as the only sub-TLV: an empty tunnel", "00 0F 00 06 | 7E 04 AA BB CC DD", kPriv, BOL_OK,
         "00 0F 00 00"},
        {"held bytes with ignored bits set: output normalised",
         "00 0F 00 10 | 0C 06 FF 00 00 00 00 01 | 0D 06 FF 00 00 01 2F FF", 0, BOL_OK,
         "00 0F 00 10 | 0C 06 00 00 00 00 00 01 | 0D 06 C0 00 00 01 20 00"},
    };
    for (const Row &row : astRows) {
        SCOPED_TRACE(row.pcName);
        Bytes vecHeld = Hex(row.pcHeld);
        Bytes vecOut;
        EXPECT_EQ(fz::SetAttr(fz::Host{m_stTbl, m_pstInst}, vecHeld, row.ulFlags, vecOut), row.ulWant);
        if (row.ulWant == BOL_OK) {
            Bytes vecWant = (row.pcOut[0] == '=') ? vecHeld : Hex(row.pcOut);
            EXPECT_EQ(bt::ToHex(vecOut), bt::ToHex(vecWant));
        }
        EXPECT_EQ(tp::LiveBlocksAll(), 1u) << "only the instance stays live";
    }
}


/* tunnel type 15, length 8 | preference 100 */
const char *const kAttrHex = "00 0F 00 08 | 0C 06 00 00 00 00 00 64";

/* The stored value is written byte for byte, as path attribute 23 and as
 * message 47, when it fits; only the low 16 bits of its length count. */
TEST_F(AttrSet, WritersCopyTheStoredValueWhenItFits)
{
    struct Row {
        const char *pcName;
        uint32_t ulAttrLen;
        uint32_t ulRoom;
        uint32_t ulRet;
        size_t ulWritten;
        bool bFailCopy; /* the copy fails: reported, its bytes cleared */
    } const astRows[] = {
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

/* The reader hands any bytes on as attribute 23 with flags 0 (the attribute
 * message fuzz target); the length is carried in 16 bits. */
TEST_F(AttrSet, ReaderCarriesTheLengthIn16Bits)
{
    const Bytes vecMsg(65536u + 3u, 0x5Au);
    void *pvOut = nullptr;
    EXPECT_EQ(m_stTbl.pfnParseAttrMsg(vecMsg.data(), static_cast<uint32_t>(vecMsg.size()), BOL_SRPOLICY_ATTRMSG_TNL_ENCAP,
                                      &pvOut, m_pstInst),
              BOL_OK);
    EXPECT_EQ(bt::ToHex(fz::TakeOutput(pvOut).vecAttr), "5A 5A 5A");
    EXPECT_EQ(ReportCount(), 0u);
}

}  // namespace
