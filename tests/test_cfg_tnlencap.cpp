/*
 * Configured tunnel encapsulation (configuration record 32): the size
 * arithmetic, the encoded attribute bytes and the refusals (its text:
 * test_text.cpp).
 */
#include <gtest/gtest.h>
#include <string.h>

#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

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
    {"nothing configured", [](Cfg &) {},
     /* tunnel type, length */ "00 0F 00 00"},
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
    {"SRv6 binding SID whose structure adds up to 255 bits, flags 0xFF: written as configured",
     [](Cfg &c) {
         BOL_SRPOLICY_CFG_SRV6_BSID_S &b = c.AddSRv6Bsid();
         b.ucFlags = 0xFF;
         SetSid(b.aulSid, 0xFC000000u, 0x1u);
         b.usEndpointBehavior = 0x0048;
         b.ulSidStructure = 0x404040FFu;
     },
     /* tunnel | type 20, len 26, flags, rsv, SID, behavior, 0, LB LN Fun Arg */
     "00 0F 00 1C | 14 1A FF 00 | FC 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 | 00 48 00 00 | 40 40 40 FF"},
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
}

/* ---- Refusals and failures ------------------------------------------------- */

/* Refusals come before any allocation, with one report: a record of another
 * length, an attribute beyond the 16-bit tunnel length. Each row also gives
 * the computed size, which wraps modulo 65536. */
TEST_F(CfgTnlEncap, RefusalsAndTheirLimits)
{
    auto Structure = [](uint8_t ucFlags, uint32_t ulStructure) {
        return [=](Cfg &c) {
            c.AddSRv6Bsid();
            c.AddSRv6Bsid().ucFlags = ucFlags;
            c.dqSRv6Bsids.back().ulSidStructure = ulStructure;
        };
    };
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
        {"SID structure of 32+16+16+64 bits", Structure(0x20, 0x20101040u), 0, BOL_OK, 52},
        {"no B-flag: the structure is not encoded", Structure(0x00, 0xFFFFFFFFu), 0, BOL_OK, 44},
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

/* ---- The encoded attribute decodes into what was configured --------------- */

/* The segments of a stored Segment List value: type and value bytes. */
std::vector<std::pair<uint8_t, Bytes>> Segments(const uint8_t *pucList, size_t ulLen)
{
    std::vector<std::pair<uint8_t, Bytes>> vec;
    for (size_t i = 1u; i + 2u <= ulLen && i + 2u + pucList[i + 1] <= ulLen; i += 2u + pucList[i + 1]) {
        vec.emplace_back(pucList[i], Bytes(pucList + i + 2, pucList + i + 2 + pucList[i + 1]));
    }
    return vec;
}

Bytes Be32(uint32_t ul)
{
    return Bytes{static_cast<uint8_t>(ul >> 24), static_cast<uint8_t>(ul >> 16), static_cast<uint8_t>(ul >> 8),
                 static_cast<uint8_t>(ul)};
}

Bytes Words(const uint32_t *pul, size_t n)
{
    Bytes vec;
    for (size_t i = 0; i < n; i++) {
        Bytes vecWord = Be32(pul[i]);
        vec.insert(vec.end(), vecWord.begin(), vecWord.end());
    }
    return vec;
}

/* The segment sub-TLVs a configured segment list stands for, in order. */
std::vector<std::pair<uint8_t, Bytes>> ExpectedSegments(const BOL_SRPOLICY_CFG_SEGLIST_S &stSl)
{
    std::vector<std::pair<uint8_t, Bytes>> vec;
    auto add = [&vec](uint8_t ucType, uint8_t ucFlags, const Bytes &vecBody) {
        Bytes vecValue{ucFlags, 0u};
        vecValue.insert(vecValue.end(), vecBody.begin(), vecBody.end());
        vec.emplace_back(ucType, vecValue);
    };
    if (stSl.ucWeightExist == 1u) {
        add(9, 0, Be32(stSl.ulWeight));
    }
    if (stSl.ucPathMtuExist == 1u) {
        add(13, 0, Be32(stSl.ulPathMtu));
    }
    bool bRev = stSl.aulReverseBsid[0] | stSl.aulReverseBsid[1] | stSl.aulReverseBsid[2] | stSl.aulReverseBsid[3];
    bool bFwd = stSl.aulBsid[0] | stSl.aulBsid[1] | stSl.aulBsid[2] | stSl.aulBsid[3];
    if (bRev || bFwd) {
        size_t ulWords = (stSl.ucBsidFlags & 0x80u) ? 4u : 1u;
        bool bExt = (stSl.ucBsidFlags & 0x40u) != 0u;
        auto sid = [&](const uint32_t *pulSid, uint16_t usBehavior, uint32_t ulStructure) {
            Bytes vecSid = Words(pulSid, ulWords);
            if (bExt) {
                Bytes vecExt{static_cast<uint8_t>(usBehavior >> 8), static_cast<uint8_t>(usBehavior), 0, 0};
                Bytes vecStruct = Be32(ulStructure);
                vecSid.insert(vecSid.end(), vecExt.begin(), vecExt.end());
                vecSid.insert(vecSid.end(), vecStruct.begin(), vecStruct.end());
            }
            return vecSid;
        };
        Bytes vecBody = sid(stSl.aulBsid, stSl.usEndpointBehavior, stSl.ulSidStructure);
        if (bRev) {
            Bytes vecRev = sid(stSl.aulReverseBsid, stSl.usReverseEndpointBehavior, stSl.ulReverseSidStructure);
            vecBody.insert(vecBody.end(), vecRev.begin(), vecRev.end());
        }
        add(33, stSl.ucBsidFlags, vecBody);
    }
    for (uint32_t i = 0; i < stSl.ucSegNum && i < 16u; i++) {
        if (stSl.ucSegType == 1u && stSl.aulSegValue[i] != 0xFFFFFFFFu) {
            add(1, 0x80, Be32(stSl.aulSegValue[i] << 12));
        } else if (stSl.ucSegType == 2u) {
            const uint32_t *pulSid = &stSl.aulSegValue[4u * i];
            if (pulSid[0] | pulSid[1] | pulSid[2] | pulSid[3]) {
                add(2, 0x80, Words(pulSid, 4));
            }
        }
    }
    return vec;
}

/* Random configurations, each with at least one item (an empty tunnel is
 * refused by the decoder): the encoder writes exactly the computed size, the
 * attribute decodes (a length that overran, or filler, would be refused or
 * show as extra segments), and the record carries what was configured. */
TEST_F(CfgTnlEncap, GeneratedConfigurationsAreFramedExactlyAndDecode)
{
    std::mt19937 rng(4711u);
    auto pick = [&rng](uint32_t ulMax) { return static_cast<uint32_t>(rng() % (ulMax + 1u)); };
    for (uint32_t ulIter = 0; ulIter < 300u; ulIter++) {
        SCOPED_TRACE(::testing::Message() << "configuration " << ulIter);
        Cfg stCfg;
        BOL_SRPOLICY_CFG_TNLENCAP_S &st = stCfg.st;
        st.ucPrefExist = static_cast<uint8_t>(pick(1));
        st.ulPreference = static_cast<uint32_t>(rng());
        st.ucBsidExist = static_cast<uint8_t>(pick(1));
        st.ucBsidSFlag = static_cast<uint8_t>(pick(1));
        st.ucBsidIFlag = static_cast<uint8_t>(pick(1));
        st.ulBsidLabel = pick(1) * pick(0xFFFFF);
        st.aulBsidV6[pick(3)] = pick(1) * static_cast<uint32_t>(rng());
        for (uint32_t n = pick(3); n > 0u; n--) {
            BOL_SRPOLICY_CFG_SEGLIST_S &stSl = stCfg.AddSegList();
            stSl.ucWeightExist = static_cast<uint8_t>(pick(1));
            stSl.ulWeight = static_cast<uint32_t>(rng());
            stSl.ucPathMtuExist = static_cast<uint8_t>(pick(1));
            stSl.ulPathMtu = static_cast<uint32_t>(rng());
            stSl.ucSegType = static_cast<uint8_t>(pick(3));
            stSl.ucSegNum = static_cast<uint8_t>(pick(20));
            for (uint32_t i = 0; i < 64u; i++) {
                uint32_t ulKind = pick(5);
                stSl.aulSegValue[i] = (ulKind == 0u) ? 0xFFFFFFFFu : (ulKind == 1u) ? 0u : pick(0xFFFFF);
            }
            stSl.ucBsidFlags = static_cast<uint8_t>(rng());
            stSl.aulBsid[pick(3)] = pick(1) * static_cast<uint32_t>(rng());
            stSl.usEndpointBehavior = static_cast<uint16_t>(rng());
            stSl.ulSidStructure = static_cast<uint32_t>(rng());
            stSl.aulReverseBsid[pick(3)] = pick(1) * static_cast<uint32_t>(rng());
            stSl.usReverseEndpointBehavior = static_cast<uint16_t>(rng());
            stSl.ulReverseSidStructure = static_cast<uint32_t>(rng());
        }
        for (uint32_t n = pick(2); n > 0u; n--) {
            BOL_SRPOLICY_CFG_SRV6_BSID_S &stBsid = stCfg.AddSRv6Bsid();
            stBsid.ucFlags = static_cast<uint8_t>(rng());
            for (uint32_t &ulWord : stBsid.aulSid) {
                ulWord = static_cast<uint32_t>(rng());
            }
            stBsid.usEndpointBehavior = static_cast<uint16_t>(rng());
            stBsid.ulSidStructure = (pick(32) << 24) | (pick(32) << 16) | (pick(32) << 8) | pick(32);
        }
        st.ucCfgModuleIdExist = static_cast<uint8_t>(pick(1));
        st.ulCfgModuleId = static_cast<uint32_t>(rng());
        st.ucSliceIdExist = static_cast<uint8_t>(pick(1));
        st.ulSliceId = static_cast<uint32_t>(rng());
        if (TunAttrLen(stCfg) == 4u) {
            st.ucPrefExist = 1;
        }

        Bytes vecAttr;
        ASSERT_EQ(Encode(stCfg, vecAttr), BOL_OK);
        EXPECT_EQ(vecAttr.size(), TunAttrLen(stCfg));
        EXPECT_EQ(((vecAttr[2] << 8) | vecAttr[3]) + 4u, vecAttr.size()) << "tunnel length";
        at::Record stRec(m_pstInst, vecAttr);
        ASSERT_EQ(stRec.ulRet, BOL_OK);
        const BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = stRec.pstAttr;

        EXPECT_EQ(pstAttr->ucPrefExist, st.ucPrefExist);
        if (st.ucPrefExist == 1u) {
            EXPECT_EQ(pstAttr->ulPreference, st.ulPreference);
        }
        EXPECT_EQ(pstAttr->ucBsidExist, st.ucBsidExist);
        if (st.ucBsidExist == 1u) {
            EXPECT_EQ(pstAttr->ucBsidFlags, (st.ucBsidSFlag ? 0x80u : 0u) | (st.ucBsidIFlag ? 0x40u : 0u));
            if (st.ulBsidLabel != 0u) {
                EXPECT_EQ(pstAttr->ucBsidType, 1u);
                EXPECT_EQ(pstAttr->aulBsidValue[0] >> 12, st.ulBsidLabel);
            } else if (st.aulBsidV6[0] | st.aulBsidV6[1] | st.aulBsidV6[2] | st.aulBsidV6[3]) {
                EXPECT_EQ(pstAttr->ucBsidType, 2u);
                EXPECT_EQ(Words(pstAttr->aulBsidValue, 4), Words(st.aulBsidV6, 4));
            } else {
                EXPECT_EQ(pstAttr->ucBsidType, 0u);
            }
        }
        EXPECT_EQ(pstAttr->ucCfgModuleIdExist, st.ucCfgModuleIdExist);
        if (st.ucCfgModuleIdExist == 1u) {
            EXPECT_EQ(pstAttr->ulCfgModuleId, st.ulCfgModuleId);
        }
        EXPECT_EQ(pstAttr->ucSliceIdExist, st.ucSliceIdExist);
        if (st.ucSliceIdExist == 1u) {
            EXPECT_EQ(pstAttr->ucSliceIdKind, BOL_SRPOLICY_SLICE_KIND_STD);
            EXPECT_EQ(pstAttr->ulStdSliceId, st.ulSliceId);
        }

        std::vector<const BOL_SRPOLICY_SRV6_BSID_NODE_S *> vecBsids = stRec.Srv6Bsids();
        ASSERT_EQ(vecBsids.size(), stCfg.dqSRv6Bsids.size());
        for (size_t i = 0; i < vecBsids.size(); i++) {
            const BOL_SRPOLICY_CFG_SRV6_BSID_S &stWant = stCfg.dqSRv6Bsids[i];
            EXPECT_EQ(vecBsids[i]->ucFlags, stWant.ucFlags & 0xE0u);
            EXPECT_EQ(Words(vecBsids[i]->aulSid, 4), Words(stWant.aulSid, 4));
            if ((stWant.ucFlags & 0x20u) != 0u) {
                EXPECT_EQ(vecBsids[i]->usEndpointBehavior, stWant.usEndpointBehavior);
                EXPECT_EQ(Bytes({vecBsids[i]->ucLbLen, vecBsids[i]->ucLnLen, vecBsids[i]->ucFunLen,
                                 vecBsids[i]->ucArgLen}),
                          Be32(stWant.ulSidStructure));
            }
        }
        std::vector<Bytes> vecSegLists = stRec.SegLists();
        ASSERT_EQ(vecSegLists.size(), stCfg.dqSegLists.size());
        for (size_t i = 0; i < vecSegLists.size(); i++) {
            EXPECT_EQ(Segments(vecSegLists[i].data(), vecSegLists[i].size()), ExpectedSegments(stCfg.dqSegLists[i]));
        }
    }
    EXPECT_EQ(ReportCount(), 0u);
}

}  // namespace
