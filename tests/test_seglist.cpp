/*
 * Segment-list validation and the clearing of ignored segment bytes.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "attr_test_util.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using at::Bytes;
using bt::Hex;

namespace {

class SegList : public bt::PluginTest {};

/* Each row is one Segment List value (reserved byte first); a valid row
 * also gives the value after clearing. The lengths each of types 1 to 8
 * takes: the check table test below. */
TEST_F(SegList, ValidationAndClearing)
{
    struct Row {
        const char *pcName;
        std::string strValue;
        uint32_t ulWant;
        const char *pcCleared; /* "" = unchanged */
    } astRows[] = {
        {"worked example: label 100 and a weight of 10",
         "00 | 01 06 00 00 00 06 40 00 | 09 06 FF 00 00 00 00 0A", BOL_OK,
         "00 | 01 06 00 00 00 06 40 00 | 09 06 00 00 00 00 00 0A"},
        {"reserved byte alone", "00", BOL_OK, ""},
        {"one stray byte after the reserved byte", "00 01", BOL_ERR_SUBTLV_MALFORMED, ""},
        {"type 1 of length 5", "00 | 01 05 00 00 00 00 00", BOL_ERR_SUBTLV_INVALID, ""},
        {"type 33 flags 0x80 of length 26", "00 | 21 1A 80 | 00000000 00000000 00000000 00000000 00000000 00000000 00",
         BOL_ERR_SUBTLV_INVALID, ""},
        {"weight of length 0", "00 | 09 00", BOL_ERR_SUBTLV_INVALID, ""},
        {"type 13 of length 0", "00 | 0D 00", BOL_ERR_SUBTLV_INVALID, ""},
        {"type 13 path MTU twice", "00 | 0D 06 00 00 00 00 05 DC | 0D 06 00 00 00 00 05 DC", BOL_ERR_SUBTLV_INVALID,
         ""},
        {"type 13 and type 220 path MTU together, 13 cleared",
         "00 | 0D 06 FF FF 00 00 05 DC | DC 06 FF FF 00 00 05 DC", BOL_OK,
         "00 | 0D 06 00 00 00 00 05 DC | DC 06 FF FF 00 00 05 DC"},
        {"type 220 twice", "00 | DC 06 00 00 00 00 05 DC | DC 06 00 00 00 00 05 DC", BOL_ERR_SUBTLV_INVALID, ""},
        {"weight before a type-13 path MTU: only the weight cleared",
         "00 | 09 06 FF FF 00 00 00 01 | 0D 06 FF FF 00 00 05 DC", BOL_OK,
         "00 | 09 06 00 FF 00 00 00 01 | 0D 06 FF FF 00 00 05 DC"},
        {"type 33 flags 0x40 of length 10", "00 | 21 0A 40 00 00 01 00 00 00 02 00 00", BOL_ERR_SUBTLV_INVALID, ""},
        {"two weights", "00 | 09 06 FF 00 00 00 00 01 | 01 06 00 00 00 06 40 00 | 09 06 FF 00 00 00 00 02",
         BOL_ERR_SUBTLV_INVALID, ""},
        {"type-13 path MTU before a weight: only the path MTU cleared",
         "00 | 0D 06 FF FF 00 00 05 DC | 09 06 FF FF 00 00 00 01", BOL_OK,
         "00 | 0D 06 00 00 00 00 05 DC | 09 06 FF FF 00 00 00 01"},
        {"a label whose value the list cuts", "00 | 01 06 00 00 00 06 40 00 | 01 06 00 00 00 06",
         BOL_ERR_SUBTLV_MALFORMED, ""},
        /* Refused after a clear target: the target keeps its bytes. */
        {"a weight, then a refused label", "00 | 09 06 FF 00 00 00 00 01 | 01 05 00 00 00 00 00",
         BOL_ERR_SUBTLV_INVALID, ""},
    };
    for (const Row &row : astRows) {
        SCOPED_TRACE(row.pcName);
        Bytes vecValue = Hex(row.strValue);
        const uint32_t ulLen = static_cast<uint32_t>(vecValue.size());
        Bytes vecWant = (row.ulWant == BOL_OK && *row.pcCleared != '\0') ? Hex(row.pcCleared) : vecValue;
        /* The decoder's one pass: the same verdict, and the clearing only
         * when the list is accepted. */
        Bytes vecOnePass = vecValue;
        EXPECT_EQ(bol::CheckAndClearSegmentList(vecOnePass.data(), ulLen), row.ulWant);
        EXPECT_EQ(bt::ToHex(vecOnePass), bt::ToHex(vecWant));

        EXPECT_EQ(BOL_SRPOLICY_CheckSegmentListVaild(vecValue.data(), ulLen), row.ulWant);
        if (row.ulWant != BOL_OK) {
            continue;
        }
        BOL_SRPOLICY_SetSegmentSubTlvNoDefFeild2Zero(vecValue.data(), ulLen);
        EXPECT_EQ(bt::ToHex(vecValue), bt::ToHex(vecWant));
    }
    EXPECT_EQ(ReportCount(), 0u);
}

/* Rows 1 to 8 of the check table accept exactly their segment type's
 * lengths, out of every length a 1-byte length field can give. */
TEST_F(SegList, CheckTableAcceptsExactlyEachTypesLengths)
{
    const std::vector<std::vector<uint32_t>> vecLens = {
        {}, {6}, {18}, {6, 10}, {18, 22}, {10, 14}, {10, 14}, {22, 26, 42, 46}, {34, 38}};
    uint8_t aucSeg[255] = {0};
    for (uint32_t ulType = 1; ulType <= 8u; ulType++) {
        const auto pfnCheck = g_astBOL_SRPOLICY_CHECK_SUBTLV_TBL[ulType].unHandler.pfnSegCheck;
        ASSERT_NE(pfnCheck, nullptr);
        for (uint32_t ulLen = 0; ulLen < sizeof(aucSeg); ulLen++) {
            const bool bAccepted =
                std::find(vecLens[ulType].begin(), vecLens[ulType].end(), ulLen) != vecLens[ulType].end();
            ASSERT_EQ(pfnCheck(aucSeg, aucSeg + ulLen, ulLen, ulType), bAccepted ? BOL_OK : BOL_ERR_SUBTLV_INVALID)
                << "type " << ulType << ", length " << ulLen;
        }
    }
}

TEST_F(SegList, UnusedChecks)
{
    uint8_t aucSeg[8] = {0};
    /* The SID encoding check, which no list uses, takes exactly 6 bytes. */
    EXPECT_EQ(BOL_SRPOLICY_CheckSegmentSidEncodingVaild(aucSeg, aucSeg + 6, 6, 0), BOL_OK);
    EXPECT_EQ(BOL_SRPOLICY_CheckSegmentSidEncodingVaild(aucSeg, aucSeg + 7, 7, 0), BOL_ERR_SUBTLV_INVALID);

    /* The weight check, which the walk does in its own pass: 6 bytes, once. */
    uint32_t ulSeen = 0u;
    EXPECT_EQ(BOL_SRPOLICY_CheckSegmenWeightVaild(aucSeg, aucSeg + 6, 6, &ulSeen), BOL_OK);
    EXPECT_EQ(BOL_SRPOLICY_CheckSegmenWeightVaild(aucSeg, aucSeg + 6, 6, &ulSeen), BOL_ERR_SUBTLV_INVALID);
    ulSeen = 0u;
    EXPECT_EQ(BOL_SRPOLICY_CheckSegmenWeightVaild(aucSeg, aucSeg + 4, 4, &ulSeen), BOL_ERR_SUBTLV_INVALID);

    /* Row 0 of the check table has no check: reported as a text, accepted. */
    EXPECT_EQ(BOL_SRPOLICY_CheckSubTlvValid(aucSeg, aucSeg + 6, 6, 0), BOL_OK);
    EXPECT_EQ(tp::TextReportCount("Type:0"), 1u);
}

}  // namespace
