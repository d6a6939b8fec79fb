/*
 * Decoding of the Tunnel Encapsulation attribute: the tunnel header, the
 * sub-TLV walk, the normalised copy handed to the host, and the record.
 */
#include <gtest/gtest.h>
#include <string.h>

#include "attr_test_util.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using at::Bytes;
using bt::Hex;

namespace {

class AttrDecode : public bt::PluginTest {};

/* The worked example: preference, MPLS binding SID, policy name and an
 * unknown type-14 sub-TLV; the normalised copy, and the received bytes as the
 * decoders leave them (cleared in place, the name's reserved byte as received). */
const char *const kExampleIn =
    "00 0F 00 1B"                /* tunnel type 15, length 27 */
    "| 0C 06 FF 01 00 00 00 64"  /* preference: flags FF, reserved 01, 100 */
    "| 0D 06 FF 00 00 01 2F FF"  /* binding SID: flags FF, label field 00 01 2F FF */
    "| 82 00 05 7F 61 62 63 64"  /* policy name: reserved 7F, "abcd" */
    "| 0E 01 05";                /* type 14, no decoder */
const char *const kExampleOut =
    "00 0F 00 1B | 0C 06 00 01 00 00 00 64 | 0D 06 C0 00 00 01 20 00 | 82 00 05 00 61 62 63 64 | 0E 01 05";
const char *const kExampleInAfter =
    "00 0F 00 1B | 0C 06 00 01 00 00 00 64 | 0D 06 C0 00 00 01 20 00 | 82 00 05 7F 61 62 63 64 | 0E 01 05";

/* Framing of the tunnel and its sub-TLVs. Each row is decoded through the
 * host entry; a row with an output gives the normalised copy expected. */
TEST_F(AttrDecode, TunnelAndSubTlvFraming)
{
    struct Row {
        const char *pcName;
        const char *pcIn;
        uint32_t ulWant;
        const char *pcOut; /* normalised copy when ulWant is 0 */
        const char *pcInAfter = nullptr; /* the decoded bytes afterwards, when checked */
    } astRows[] = {
        {"worked example", kExampleIn, BOL_OK, kExampleOut, kExampleInAfter},
        {"tunnel length = value - 4", "00 0F 00 03 | 0E 01 05", BOL_OK, "00 0F 00 03 0E 01 05"},
        {"length 0 (1-byte form)", "00 0F 00 02 | 0E 00", BOL_ERR_SUBTLV_MALFORMED, ""},
        {"length 0 (2-byte form)", "00 0F 00 03 | C8 00 00", BOL_ERR_SUBTLV_MALFORMED, ""},
        {"unknown type 200 copied with its 2-byte length", "00 0F 00 05 | C8 00 02 AB CD", BOL_OK,
         "00 0F 00 05 C8 00 02 AB CD"},
        {"second tunnel after the first is neither decoded nor copied",
         "00 0F 00 03 | 0E 01 05 | 00 0F 00 02 | 0E 00", BOL_OK, "00 0F 00 03 0E 01 05"},
        {"a failing decoder stops the walk", "00 0F 00 0A | 0E 01 05 | 0C 05 00 00 00 00 64",
         BOL_ERR_SUBTLV_INVALID, ""},
    };
    for (const Row &row : astRows) {
        SCOPED_TRACE(row.pcName);
        fz::Decode r = fz::DecodeAttr(fz::Host{m_stTbl, m_pstInst}, Hex(row.pcIn));
        EXPECT_EQ(r.ulRet, row.ulWant);
        if (row.ulWant == BOL_OK) {
            EXPECT_EQ(bt::ToHex(r.vecCopy), bt::ToHex(Hex(row.pcOut)));
        }
        if (row.pcInAfter != nullptr) {
            EXPECT_EQ(bt::ToHex(r.vecInAfter), bt::ToHex(Hex(row.pcInAfter)));
        }
        EXPECT_EQ(tp::LiveBlocksAll(), 1u) << "only the instance stays live";
    }
}

/* Names are kept up to 255 bytes; the copy holds the reserved byte 0 and the
 * kept bytes, its length field and the tunnel length shrink to match, and the
 * validity check still covers the dropped bytes. */
TEST_F(AttrDecode, LongNamesAreCutTo255Bytes)
{
    struct Row {
        const char *pcName;
        uint8_t ucType;
        size_t ulNameLen;
        uint8_t ucLastByte; /* the name's last byte (beyond 255 when long) */
        uint8_t ucWantValid;
    } astRows[] = {
        {"policy name of 300", 130, 300, 'z', 1},
        {"candidate path name of 255", 129, 255, 'z', 1},
        {"policy name of 256 with a tab beyond the kept bytes", 130, 256, '\t', 0},
    };
    for (const Row &row : astRows) {
        SCOPED_TRACE(row.pcName);
        Bytes vecValue(1 + row.ulNameLen, 'a');
        vecValue[0] = 0x5A; /* reserved */
        vecValue.back() = row.ucLastByte;
        /* After a preference, which the copy takes as received. */
        const Bytes vecPref = Hex("0C 06 00 00 00 00 00 64");
        Bytes vecIn = at::Tunnel(at::Cat({vecPref, at::Sub(row.ucType, vecValue)}));
        size_t ulKept = row.ulNameLen < 255 ? row.ulNameLen : 255;

        at::Record rec(m_pstInst, vecIn);
        ASSERT_EQ(rec.ulRet, BOL_OK);
        bool bPolicy = row.ucType == 130;
        const uint8_t *pucName = bPolicy ? rec.pstAttr->pucPolicyName : rec.pstAttr->pucCPathName;
        uint16_t usLen = bPolicy ? rec.pstAttr->usPolicyNameLen : rec.pstAttr->usCPathNameLen;
        EXPECT_EQ(usLen, ulKept);
        EXPECT_EQ(at::Str(pucName, usLen), std::string(vecIn.begin() + 16, vecIn.begin() + 16 + ulKept));
        EXPECT_EQ(bPolicy ? rec.pstAttr->ucPolicyNameValid : rec.pstAttr->ucCPathNameValid, row.ucWantValid);

        Bytes vecWant =
            at::Tunnel(at::Cat({vecPref, at::Sub(row.ucType, Bytes(vecValue.begin(), vecValue.begin() + 1 + ulKept))}));
        vecWant[15] = 0x00; /* the reserved byte reads 0 in the copy */
        EXPECT_EQ(bt::ToHex(rec.Copy()), bt::ToHex(vecWant));
        EXPECT_EQ(vecIn.size() - rec.Copy().size(), row.ulNameLen - ulKept);
    }
    /* The kept part of a cut name is copied on its own, into the record's
     * buffer and into the copy: with copies failing, each is reported. */
    Bytes vecLong = at::Tunnel(at::Sub(130, Bytes(301, 'a')));
    BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = nullptr;
    tp::Reset();
    tp::FailMemcpyS(true);
    EXPECT_EQ(BOL_SRPOLICY_ParsePktTunnelEncapAttr(vecLong.data(), static_cast<uint32_t>(vecLong.size()), &pstAttr,
                                                   m_pstInst, nullptr, nullptr),
              BOL_OK);
    tp::FailMemcpyS(false);
    EXPECT_EQ(tp::TextReportCount("secRetCode:22"), 2u);
    EXPECT_EQ(ReportCount(), 2u);
    BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, m_pstInst);
}

/* The exported copy helpers write the copy the way the walk does: the
 * header as received, a sub-TLV with its slice-id position noted at its type
 * byte, a name with reserved byte 0 and its length field rewritten in the
 * wire's width, and the tunnel length fixed at the end. */
TEST_F(AttrDecode, ExportedCopyHelpersWriteTheWalksCopy)
{
    const Bytes vecHdr = Hex("00 0F 01 23");
    Bytes vecCopy(40, 0x00);
    BOL_SRPOLICY_TNLENCAP_ATTR_S stAttr;
    memset(&stAttr, 0, sizeof(stAttr));
    stAttr.pucRealPrivAttr = vecCopy.data();
    uint8_t *pucPos = vecCopy.data();
    BOL_SRPOLICY_CopyAttrLenAndType(&pucPos, &stAttr, vecHdr.data(), 99u, m_pstInst);
    EXPECT_EQ(stAttr.usRecvAttrLen, 99u);
    EXPECT_EQ(stAttr.pstInst, m_pstInst);

    uint8_t *pucPriv = nullptr;
    uint8_t *pucStd = nullptr;
    const Bytes vecSlice = Hex("00 00 00 00 00 07");
    stAttr.ucSubTlvLenWidth = 1u;
    BOL_SRPOLICY_SetRealPrivateAttr(&pucPos, &stAttr, 126u, 6u, vecSlice.data(), &pucPriv, &pucStd);
    EXPECT_EQ(pucPriv, vecCopy.data() + 4);
    EXPECT_EQ(pucStd, nullptr);
    BOL_SRPOLICY_GetSliceIDAttrPos(&pucPos, 123u, &pucPriv, &pucStd);
    EXPECT_EQ(pucStd, pucPos - 2) << "a standard slice id whose value starts at the position";
    EXPECT_EQ(pucPriv, vecCopy.data() + 4) << "the private one noted before is kept";
    BOL_SRPOLICY_GetSliceIDAttrPos(&pucPos, 126u, &pucPriv, &pucStd);
    EXPECT_EQ(pucPriv, pucPos - 2) << "and a private one noted the same way";

    uint8_t aucName[] = {'a', 'b', 'c'};
    stAttr.pucPolicyName = aucName;
    stAttr.usPolicyNameLen = 3u;
    stAttr.ucSubTlvLenWidth = 2u;
    BOL_SRPOLICY_SetRealPrivateAttr(&pucPos, &stAttr, 130u, 9u, vecSlice.data(), &pucPriv, &pucStd);
    /* A candidate path name in the 1-byte length form, type byte written by hand. */
    *pucPos++ = 129u;
    uint8_t *pucLenField = pucPos++;
    BOL_SRPOLICY_SetRealPrivateAttrName(&pucPos, aucName, 1u, pucLenField, 1u);
    BOL_SRPOLICY_UpdateRealPrivateAttrLen(&pucPos, &stAttr);
    EXPECT_EQ(stAttr.usRealPrivAttrLen, 4u + 8u + 7u + 4u);
    EXPECT_EQ(bt::ToHex(vecCopy.data(), stAttr.usRealPrivAttrLen),
              bt::ToHex(Hex("00 0F 00 13 | 7E 06 00 00 00 00 00 07 | 82 00 04 00 61 62 63 | 81 02 00 61")));
    EXPECT_EQ(ReportCount(), 0u);

    /* A value whose copy fails is reported. */
    Bytes vecScratch(16, 0x00);
    uint8_t *pucAt = vecScratch.data();
    stAttr.ucSubTlvLenWidth = 1u;
    tp::FailMemcpyS(true);
    BOL_SRPOLICY_SetRealPrivateAttr(&pucAt, &stAttr, 12u, 6u, vecSlice.data(), nullptr, nullptr);
    tp::FailMemcpyS(false);
    EXPECT_EQ(tp::TextReportCount("secRetCode:22"), 1u);
}

}  // namespace
