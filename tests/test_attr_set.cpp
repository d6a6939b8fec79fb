/*
 * The attribute setter (fresh normalised attribute, slice id rewritten into
 * its private form on request); the encoder's refusals.
 */
#include <gtest/gtest.h>

#include "attr_test_util.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using at::Bytes;
using bt::Hex;

namespace {

class AttrSet : public bt::PluginTest {
protected:
    uint32_t Set(const Bytes &vecHeld, uint32_t ulFlags, Bytes &vecOut)
    {
        return fz::SetAttr(fz::Host{m_stTbl, m_pstInst}, vecHeld, ulFlags, vecOut);
    }
};

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
        {"no flag: output equals the held attribute",
         "00 0F 00 18 | 0C 06 00 00 00 00 00 01 | 7B 06 00 00 00 00 00 0B | 7E 06 00 00 00 00 00 0C", 0, BOL_OK,
         "="},
        {"standard only: its type byte becomes 126", "00 0F 00 10 | 0C 06 00 00 00 00 00 01 | 7B 06 00 00 00 00 00 0B",
         kPriv, BOL_OK, "00 0F 00 10 | 0C 06 00 00 00 00 00 01 | 7E 06 00 00 00 00 00 0B"},
        {"standard and private: private removed, standard becomes private, 8 bytes shorter",
         "00 0F 00 18 | 7E 06 00 00 00 00 00 0C | 0C 06 00 00 00 00 00 01 | 7B 06 00 00 00 00 00 0B", kPriv, BOL_OK,
         "00 0F 00 10 | 0C 06 00 00 00 00 00 01 | 7E 06 00 00 00 00 00 0B"},
        {"private only, length 6: unchanged", "00 0F 00 10 | 0C 06 00 00 00 00 00 01 | 7E 06 00 00 00 00 00 0C",
         kPriv, BOL_OK, "="},
        {"no slice id: unchanged", "00 0F 00 08 | 0C 06 00 00 00 00 00 01", kPriv, BOL_OK, "="},
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
        {"tunnel type 14", "00 0E 00 08 | 0C 06 00 00 00 00 00 01", 0, BOL_ERR_NO_DATA, ""},
        {"refused sub-TLV", "00 0F 00 07 | 0C 05 00 00 00 00 01", kPriv, BOL_ERR_NO_DATA, ""},
    };
    for (const Row &row : astRows) {
        SCOPED_TRACE(row.pcName);
        Bytes vecHeld = Hex(row.pcHeld);
        Bytes vecOut;
        EXPECT_EQ(Set(vecHeld, row.ulFlags, vecOut), row.ulWant);
        if (row.ulWant == BOL_OK) {
            Bytes vecWant = (row.pcOut[0] == '=') ? vecHeld : Hex(row.pcOut);
            EXPECT_EQ(bt::ToHex(vecOut), bt::ToHex(vecWant));
        }
        EXPECT_EQ(tp::LiveBlocksAll(), 1u) << "only the instance stays live";
    }
}

/* Setter and encoder: a route without an attribute has no data (not reported). */
TEST_F(AttrSet, NoAttribute)
{
    bt::Route rt;
    void *pvOut = reinterpret_cast<void *>(0x1);
    uint8_t aucBuf[4];
    uint8_t *pucCur = aucBuf;
    EXPECT_EQ(BOL_SRPOLICY_SetTunnelEncapsulationAttr(&rt.stRt, 0, &pvOut, m_pstInst), BOL_ERR_NO_DATA);
    EXPECT_EQ(pvOut, nullptr);
    EXPECT_EQ(BOL_SRPOLICY_FormatTunnelEncapsulationAttribute(&rt.stRt, &pucCur, 4, m_pstInst), BOL_ERR_NO_DATA);
    EXPECT_EQ(ReportCount(), 0u);
    EXPECT_EQ(pucCur, aucBuf);
}

}  // namespace
