/*
 * The sub-TLV decoders: lengths, repeats, what each stores in the record and
 * which received bits it clears (seen in the normalised copy).
 */
#include <gtest/gtest.h>

#include <functional>

#include "attr_test_util.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using at::Bytes;
using bt::Hex;

namespace {

class SubTlv : public bt::PluginTest {};

using Check = std::function<void(const at::Record &)>;

/* Each row is the sub-TLV area of one tunnel; when it decodes, the copy
 * must equal pcCopy (the same area as the decoder left it) and the record
 * must pass the row's check. */
struct Row {
    const char *pcName;
    const char *pcSubTlvs;
    uint32_t ulWant;
    const char *pcCopy;
    Check fnCheck;
};

/* One table for every decoder (a preference and a binding SID of length 6:
 * the worked example). */
TEST_F(SubTlv, EachDecoderStoresAndClears)
{
    const Row astRows[] = {
        {"binding SID of length 2: flags only", "0D 02 7F 09", BOL_OK, "0D 02 40 09",
         [](const at::Record &r) {
             EXPECT_EQ(r.pstAttr->ucBsidType, 0u);
             EXPECT_EQ(r.pstAttr->ucBsidValueExist, 0u);
         }},
        {"binding SID of length 18: an SRv6 SID", "0D 12 80 00 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01", BOL_OK,
         "0D 12 80 00 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01",
         [](const at::Record &r) {
             EXPECT_EQ(r.pstAttr->ucBsidType, 2u);
             EXPECT_EQ(r.pstAttr->ucBsidValueExist, 1u);
             EXPECT_EQ(r.pstAttr->aulBsidValue[0], 0x20010DB8u);
             EXPECT_EQ(r.pstAttr->aulBsidValue[3], 1u);
         }},
        /* flags, reserved, SID, behavior, reserved, LB 32, LN 16, Func 16, Args 64 */
        {"SRv6 binding SID, structure of 128 bits: flags masked, reserved bytes cleared",
         "14 1A FF 77 | FC 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 | 00 30 AB CD 20 10 10 40", BOL_OK,
         "14 1A E0 00 | FC 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 | 00 30 00 00 20 10 10 40", nullptr},
        {"SRv6 binding SID, structure of 129 bits",
         "14 1A 20 00 | 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 | 00 30 00 00 20 10 10 41",
         BOL_ERR_SUBTLV_INVALID, "", nullptr},
        {"preference of length 5", "0C 05 00 00 00 00 01", BOL_ERR_SUBTLV_INVALID, "", nullptr},
        {"template id", "7F 06 80 00 12 34 56 78", BOL_OK, "7F 06 00 00 12 34 56 78",
         [](const at::Record &r) {
             EXPECT_EQ(r.pstAttr->ucCfgModuleIdExist, 1u);
             EXPECT_EQ(r.pstAttr->ulCfgModuleId, 0x12345678u);
             /* the last sub-TLV's length field in the copy */
             EXPECT_EQ(r.pstAttr->pucCurLenField, r.pstAttr->pucRealPrivAttr + 5);
         }},
        {"private slice id of length 4, then a valid one",
         "7E 04 FF FF FF FF | 7E 06 FF 00 00 00 00 07", BOL_OK, "7E 04 FF FF FF FF | 7E 06 00 00 00 00 00 07",
         [](const at::Record &r) {
             EXPECT_EQ(r.pstAttr->ucSliceIdExist, 1u);
             EXPECT_EQ(r.pstAttr->ucSliceIdKind, 0x01u);
             EXPECT_EQ(r.pstAttr->ulPrivSliceId, 7u);
             /* the position is that of the last private sub-TLV copied */
             EXPECT_EQ(r.pucPrivSliceId, r.pstAttr->pucRealPrivAttr + 10);
         }},
        {"private slice id of length 4 alone: copied, nothing stored", "7E 04 FF FF FF FF", BOL_OK,
         "7E 04 FF FF FF FF",
         [](const at::Record &r) {
             EXPECT_EQ(r.pstAttr->ucSliceIdExist, 0u);
             EXPECT_EQ(r.pucPrivSliceId, r.pstAttr->pucRealPrivAttr + 4);
         }},
        {"private and standard", "7B 06 01 00 00 00 00 0B | 7E 06 01 00 00 00 00 0C", BOL_OK,
         "7B 06 00 00 00 00 00 0B | 7E 06 00 00 00 00 00 0C",
         [](const at::Record &r) {
             EXPECT_EQ(r.pstAttr->ucSliceIdKind, 0x03u);
             EXPECT_EQ(r.pstAttr->ulStdSliceId, 11u);
             EXPECT_EQ(r.pstAttr->ulPrivSliceId, 12u);
             EXPECT_EQ(r.pucStdSliceId, r.pstAttr->pucRealPrivAttr + 4);
             EXPECT_EQ(r.pucPrivSliceId, r.pstAttr->pucRealPrivAttr + 12);
         }},
        {"private twice", "7E 06 00 00 00 00 00 01 | 7E 06 00 00 00 00 00 02", BOL_ERR_SUBTLV_INVALID, "", nullptr},
        {"policy name of the reserved byte only: present, invalid, no buffer", "82 00 01 33", BOL_OK, "82 00 01 00",
         [](const at::Record &r) {
             EXPECT_EQ(r.pstAttr->ucPolicyNameExist, 1u);
             EXPECT_EQ(r.pstAttr->ucPolicyNameValid, 0u);
             EXPECT_EQ(r.pstAttr->pucPolicyName, nullptr);
             EXPECT_EQ(r.pstAttr->usPolicyNameLen, 0u);
         }},
        {"candidate path name, printable edges 0x20 and 0x7E", "81 00 03 FF 20 7E", BOL_OK, "81 00 03 00 20 7E",
         [](const at::Record &r) {
             EXPECT_EQ(at::Str(r.pstAttr->pucCPathName, r.pstAttr->usCPathNameLen), " ~");
             EXPECT_EQ(r.pstAttr->ucCPathNameValid, 1u);
             EXPECT_EQ(r.pstAttr->ucCPathNameExist, 1u);
         }},
    };
    for (const Row &row : astRows) {
        SCOPED_TRACE(row.pcName);
        at::Record rec(m_pstInst, at::Tunnel(Hex(row.pcSubTlvs)));
        EXPECT_EQ(rec.ulRet, row.ulWant);
        if (row.ulWant != BOL_OK || rec.pstAttr == nullptr) {
            EXPECT_EQ(rec.pstAttr, nullptr);
            continue;
        }
        EXPECT_EQ(bt::ToHex(rec.Copy()), bt::ToHex(at::Tunnel(Hex(row.pcCopy))));
        if (row.fnCheck) {
            row.fnCheck(rec);
        }
    }
}


/* The name check looks at four bytes at a time and then at the rest: one
 * byte at the edges of the printable range, at every place of names that
 * fill whole words and names that do not, decides alone. */
TEST(NameCheck, EveryPlaceAndEdgeByte)
{
    struct Row {
        uint8_t ucByte;
        uint32_t ulWant;
    } astRows[] = {
        {0x00, 0u}, {0x1F, 0u}, {0x20, 1u}, {0x41, 1u}, {0x7E, 1u}, {0x7F, 0u}, {0x80, 0u}, {0xA0, 0u}, {0xFF, 0u},
    };
    for (uint32_t ulLen : {1u, 4u, 5u, 7u, 8u, 9u, 11u}) {
        for (uint32_t ulAt = 0; ulAt < ulLen; ulAt++) {
            for (const Row &row : astRows) {
                SCOPED_TRACE(testing::Message() << "length " << ulLen << ", byte " << int(row.ucByte) << " at " << ulAt);
                Bytes vecName(ulLen, 'm');
                vecName[ulAt] = row.ucByte;
                EXPECT_EQ(BOL_SRPOLICY_CheckNameValid(vecName.data(), ulLen), row.ulWant);
            }
        }
    }
}

}  // namespace
