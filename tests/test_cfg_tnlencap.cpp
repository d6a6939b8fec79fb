/*
 * Configured tunnel encapsulation (configuration record 32): the size
 * arithmetic, the encoded attribute bytes and the refusals (its text:
 * test_text.cpp).
 */
#include <gtest/gtest.h>

#include <functional>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "attr_test_util.h"
#include "fixture.h"

using bt::Bytes;
using bt::Hex;

namespace {

using at::Cfg;
using at::SetLabels;

void SetSid(uint32_t *pulWords, uint32_t ul0, uint32_t ul3)
{
    pulWords[0] = ul0;
    pulWords[1] = 0u;
    pulWords[2] = 0u;
    pulWords[3] = ul3;
}

uint16_t TunAttrLen(const Cfg &stCfg)
{
    uint16_t usTotal = 0u;
    BOL_SRPOLICY_CalculateTunAttrLen(&stCfg.st, &usTotal);
    return usTotal;
}

class CfgTnlEncap : public bt::PluginTest {
protected:
    /* Encodes through the configuration dispatcher; the attribute handed over. */
    uint32_t Encode(const Cfg &stCfg, Bytes &vecAttr)
    {
        void *pvOut = nullptr;
        uint32_t ulRet = BOL_SRPOLICY_ParseCfg(&stCfg.st, sizeof(stCfg.st), BOL_SRPOLICY_CFG_TNL_ENCAP, &pvOut,
                                               m_pstInst);
        vecAttr.clear();
        if (ulRet == BOL_OK) {
            fz::Output stOut = fz::TakeOutput(pvOut);
            EXPECT_TRUE(stOut.vecKey.empty());
            EXPECT_EQ(stOut.stHdr.ucAttrType, BOL_SRPOLICY_PATTR_TNL_ENCAP);
            EXPECT_EQ(stOut.stHdr.ucAttrFlag, 0u);
            vecAttr = stOut.vecAttr;
        } else {
            EXPECT_EQ(pvOut, nullptr);
        }
        return ulRet;
    }
};

/* ---- Encoded bytes --------------------------------------------------------- */

struct EncodeRow {
    const char *pcName;
    void (*pfnBuild)(Cfg &);
    const char *pcHex; /* the attribute value */
};

const EncodeRow kEncodeRows[] = {
    {"binding SID label 16 with S-flag",
     [](Cfg &c) { c.st.ucBsidExist = 1; c.st.ucBsidSFlag = 1; c.st.ulBsidLabel = 16; },
     /* tunnel | type 13, len 6, flags S, rsv, label field */ "00 0F 00 08 | 0D 06 80 00 00 01 00 00"},
    {"binding SID flags only, I-flag",
     [](Cfg &c) { c.st.ucBsidExist = 1; c.st.ucBsidIFlag = 1; },
     /* tunnel | type 13, len 2, flags I, rsv */ "00 0F 00 04 | 0D 02 40 00"},
    {"segment list: weight 10, labels 100 and 200",
     [](Cfg &c) {
         BOL_SRPOLICY_CFG_SEGLIST_S &s = c.AddSegList();
         s.ucWeightExist = 1;
         s.ulWeight = 10;
         SetLabels(s, {100, 200});
     },
     /* tunnel | type 128, len 25, rsv | weight | label 100 | label 200 */
     "00 0F 00 1C | 80 00 19 00 | 09 06 00 00 00 00 00 0A | 01 06 80 00 00 06 40 00 | 01 06 80 00 00 0C 80 00"},
    {"segment list: path MTU, unset label left out and not counted",
     [](Cfg &c) {
         BOL_SRPOLICY_CFG_SEGLIST_S &s = c.AddSegList();
         s.ucPathMtuExist = 1;
         s.ulPathMtu = 1500;
         SetLabels(s, {0xFFFFFFFFu, 0u, 0xFFFFFFFFu});
     },
     /* tunnel | type 128, len 17, rsv | path MTU (13) | label 0 */
     "00 0F 00 14 | 80 00 11 00 | 0D 06 00 00 00 00 05 DC | 01 06 80 00 00 00 00 00"},
    {"segment list: SRv6 SIDs, the all-zero one left out",
     [](Cfg &c) {
         BOL_SRPOLICY_CFG_SEGLIST_S &s = c.AddSegList();
         s.ucSegType = BOL_SRPOLICY_SEG_SRV6;
         s.ucSegNum = 3;
         SetSid(&s.aulSegValue[0], 0xFC000000u, 1u);
         SetSid(&s.aulSegValue[8], 0xFC000000u, 3u);
     },
     /* tunnel | type 128, len 41, rsv | SID 1 | SID 3 */
     "00 0F 00 2C | 80 00 29 00 | 02 12 80 00 FC 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01"
     " | 02 12 80 00 FC 00 00 00 00 00 00 00 00 00 00 00 00 00 00 03"},
    {"segment-list binding SIDs of 4 bytes with behavior, forward all zero, reverse set",
     [](Cfg &c) {
         BOL_SRPOLICY_CFG_SEGLIST_S &s = c.AddSegList();
         s.ucBsidFlags = 0x40;
         s.usEndpointBehavior = 0x0048;
         s.ulSidStructure = 0x20101040u;
         SetSid(s.aulReverseBsid, 0xAABBCCDDu, 0u);
         s.usReverseEndpointBehavior = 0x0049;
         s.ulReverseSidStructure = 0x01020304u;
     },
     /* tunnel | type 128, len 29, rsv | type 33, len 26, flags, rsv,
      * SID, behavior, 0, structure, reverse SID, behavior, 0, structure */
     "00 0F 00 20 | 80 00 1D 00 | 21 1A 40 00 | 00 00 00 00 00 48 00 00 20 10 10 40"
     " | AA BB CC DD 00 49 00 00 01 02 03 04"},
    {"SRv6 binding SID with B-flag (0x60)",
     [](Cfg &c) {
         BOL_SRPOLICY_CFG_SRV6_BSID_S &b = c.AddSRv6Bsid();
         b.ucFlags = 0x60;
         SetSid(b.aulSid, 0x20010DB8u, 0x5u);
         b.usEndpointBehavior = 0x0041;
         b.ulSidStructure = 0x28181000u;
     },
     /* tunnel | type 20, len 26, flags, rsv, SID, behavior, 0, LB LN Fun Arg */
     "00 0F 00 1C | 14 1A 60 00 | 20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 05 | 00 41 00 00 | 28 18 10 00"},
    {"sub-TLV order: preference, binding SID, SRv6 binding SID, segment list, template id, slice id",
     [](Cfg &c) {
         c.st.ucSliceIdExist = 1;
         c.st.ulSliceId = 6;
         c.st.ucCfgModuleIdExist = 1;
         c.st.ulCfgModuleId = 5;
         SetLabels(c.AddSegList(), {4});
         c.AddSRv6Bsid().aulSid[3] = 3;
         c.st.ucBsidExist = 1;
         c.st.ulBsidLabel = 2;
         c.st.ucPrefExist = 1;
         c.st.ulPreference = 1;
     },
     /* tunnel | preference | binding SID | SRv6 binding SID | segment list with one label
      * | template id | slice id */
     "00 0F 00 40 | 0C 06 00 00 00 00 00 01 | 0D 06 00 00 00 00 20 00"
     " | 14 12 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 03"
     " | 80 00 09 00 01 06 80 00 00 00 40 00 | 7F 06 00 00 00 00 00 05 | 7B 06 00 00 00 00 00 06"},
};

TEST_F(CfgTnlEncap, EncodesTheConfiguredSubTlvs)
{
    for (const EncodeRow &stRow : kEncodeRows) {
        SCOPED_TRACE(stRow.pcName);
        Cfg stCfg;
        stRow.pfnBuild(stCfg);
        Bytes vecAttr;
        ASSERT_EQ(Encode(stCfg, vecAttr), BOL_OK);
        EXPECT_EQ(bt::ToHex(vecAttr), bt::ToHex(Hex(stRow.pcHex)));
        EXPECT_EQ(TunAttrLen(stCfg), vecAttr.size());
        /* A receiver decodes it into as many segment lists (it refuses an empty
         * tunnel and a SID structure longer than the SID). */
        at::Record stRec(m_pstInst, vecAttr);
        if (stRec.pstAttr != nullptr) {
            EXPECT_EQ(stRec.pstAttr->pstSegListHead->ulCount, stCfg.dqSegLists.size());
            const BOL_SRPOLICY_LIST_NODE_S *pstFirst = stRec.pstAttr->pstSegListHead->stHead.pstNext;
            /* Nodes are zeroed before they are linked. */
            EXPECT_TRUE(stCfg.dqSegLists.empty() || pstFirst->ulHandle == 0u);
        }
    }
    EXPECT_EQ(ReportCount(), 0u);
}

/* A configured label by its 1-based index (1 to 16) and an SRv6 SID by its
 * 0-based one (0 to 15); any other index is reported and reads nothing. */
TEST_F(CfgTnlEncap, SegmentValueByIndex)
{
    Cfg stCfg;
    BOL_SRPOLICY_CFG_SEGLIST_S &stSl = stCfg.AddSegList();
    for (uint32_t i = 0; i < 64u; i++) {
        stSl.aulSegValue[i] = 100u + i;
    }
    for (uint32_t ulIndex : {0u, 1u, 16u, 17u}) {
        SCOPED_TRACE(ulIndex);
        tp::Reset();
        const bool bIn = ulIndex >= 1u && ulIndex <= 16u;
        EXPECT_EQ(BOL_SRPOLICY_GetSrpType1SegmentValue(&stSl, ulIndex), bIn ? 99u + ulIndex : 0u);
        /* The SRv6 SID of a 0-based index: four words each. */
        const uint32_t *pulSid = BOL_SRPOLICY_GetSrpType2SegmentValue(&stSl, ulIndex - 1u);
        EXPECT_EQ(pulSid, bIn ? &stSl.aulSegValue[4u * (ulIndex - 1u)] : nullptr);
        EXPECT_EQ(ReportCount(), bIn ? 0u : 2u);
    }
    /* A label slot past the count has no size, though it holds a label. */
    SetLabels(stSl, {1, 2});
    EXPECT_EQ(BOL_SRPOLICY_CalculateSegmentLen(&stSl, 1u), 8u);
    EXPECT_EQ(BOL_SRPOLICY_CalculateSegmentLen(&stSl, 2u), 0u);
    /* Nor has a slot past the sixteen a list holds. */
    stSl.ucSegNum = 17u;
    EXPECT_EQ(BOL_SRPOLICY_CalculateSegmentLen(&stSl, 16u), 0u);
}

/* ---- Refusals and failures ------------------------------------------------- */

/* Refusals come before any allocation, with one report: a record of another
 * length, an attribute beyond the 16-bit tunnel length. Each row also gives
 * the computed size, which wraps modulo 65536. */
TEST_F(CfgTnlEncap, RefusalsAndTheirLimits)
{
    /* Every piece is a multiple of 4 bytes, so 65532 is the largest size
     * there is; a binding SID label instead of its flags alone adds 4. */
    auto Largest = [](uint32_t ulBsidLabel) {
        return [=](Cfg &c) {
            for (uint32_t n = 0; n < 202u; n++) {
                BOL_SRPOLICY_CFG_SEGLIST_S &stSl = c.AddSegList();
                stSl.ucSegType = BOL_SRPOLICY_SEG_SRV6;
                stSl.ucSegNum = 16;
                for (uint32_t i = 0; i < 16u; i++) {
                    stSl.aulSegValue[4u * i] = n + 1u;
                }
            }
            SetLabels(c.AddSegList(), {1, 2, 3, 4, 5, 6, 7, 8, 9});
            c.st.ucBsidExist = 1;
            c.st.ulBsidLabel = ulBsidLabel;
        };
    };
    struct Row {
        const char *pcName;
        std::function<void(Cfg &)> fnBuild;
        int iLenDelta; /* the record length passed, against its size */
        uint32_t ulRet;
        uint16_t usSize;
    } const astRows[] = {
        {"record one byte short", [](Cfg &) {}, -1, BOL_ERR_PARAM, 4},
        {"record one byte over", [](Cfg &) {}, 1, BOL_ERR_PARAM, 4},
        {"65532 bytes", Largest(0), 0, BOL_OK, 65532},
        {"65536 bytes", Largest(1), 0, BOL_ERR_PARAM, 0},
    };
    for (const Row &stRow : astRows) {
        SCOPED_TRACE(stRow.pcName);
        tp::Reset();
        Cfg stCfg;
        stRow.fnBuild(stCfg);
        EXPECT_EQ(TunAttrLen(stCfg), stRow.usSize);
        void *pvOut = nullptr;
        EXPECT_EQ(BOL_SRPOLICY_ParseCfgTunnelEncapsulation(
                      &stCfg.st, static_cast<uint32_t>(static_cast<int>(sizeof(stCfg.st)) + stRow.iLenDelta), &pvOut,
                      m_pstInst),
                  stRow.ulRet);
        if (stRow.ulRet == BOL_OK) {
            Bytes vecAttr = fz::TakeOutput(pvOut).vecAttr;
            EXPECT_EQ(vecAttr.size(), stRow.usSize);
            EXPECT_EQ(((vecAttr[2] << 8) | vecAttr[3]) + 4u, vecAttr.size()) << "tunnel length";
            EXPECT_EQ(ReportCount(), 0u);
            continue;
        }
        EXPECT_EQ(pvOut, nullptr);
        ASSERT_EQ(ReportCount(), 1u);
        EXPECT_EQ(tp::Reports()[0].strModule, "bol_srpolicy_parse");
        EXPECT_EQ(tp::AllocCalls(), 0u);
    }
}

}  // namespace
