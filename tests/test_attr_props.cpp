/*
 * Properties of the attribute codec over generated attributes: decoding the
 * normalised copy again gives the same bytes, the setter's output decodes
 * again, failures hand nothing over and leak nothing, and allocations are
 * exactly the ones the record needs.
 */
#include <gtest/gtest.h>

#include <random>

#include "attr_test_util.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using at::Bytes;
using bt::Hex;

namespace {

/* Random attributes: mostly well-formed sub-TLVs of every known type (with
 * random flags, lengths near the accepted ones and random names), unknown
 * types, and then, for some, a damaged byte, a cut or trailing bytes. */
class AttrGen {
public:
    explicit AttrGen(uint32_t ulSeed) : m_rng(ulSeed) {}

    Bytes Attr()
    {
        Bytes vecSubs;
        uint32_t ulCount = Pick(0, 6);
        for (uint32_t i = 0; i < ulCount; i++) {
            Bytes v = SubTlv();
            vecSubs.insert(vecSubs.end(), v.begin(), v.end());
        }
        Bytes vecAttr = at::Tunnel(vecSubs);
        switch (Pick(0, 7)) {
            case 0: /* damage one byte */
                vecAttr[Pick(0, static_cast<uint32_t>(vecAttr.size() - 1))] = Byte();
                break;
            case 1: /* cut */
                vecAttr.resize(Pick(0, static_cast<uint32_t>(vecAttr.size())));
                break;
            case 2: /* trailing bytes, maybe a second tunnel */
                for (uint32_t i = Pick(1, 12); i > 0; i--) {
                    vecAttr.push_back(Byte());
                }
                break;
            default:
                break;
        }
        return vecAttr;
    }

private:
    uint32_t Pick(uint32_t ulLo, uint32_t ulHi) { return std::uniform_int_distribution<uint32_t>(ulLo, ulHi)(m_rng); }
    uint8_t Byte() { return static_cast<uint8_t>(Pick(0, 255)); }
    Bytes Random(uint32_t n)
    {
        Bytes v(n);
        for (uint8_t &uc : v) {
            uc = Byte();
        }
        return v;
    }
    /* A length: usually the accepted one, sometimes a neighbour. */
    uint32_t Len(uint32_t ulGood) { return Pick(0, 5) == 0 ? ulGood + Pick(0, 2) - 1 : ulGood; }

    Bytes Segment()
    {
        static const uint8_t aucTypes[] = {1, 1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 13, 33, 220, 10};
        static const uint8_t aucLens[] = {6, 6, 6, 18, 10, 22, 14, 10, 46, 38, 6, 6, 18, 26, 6, 3};
        uint32_t i = Pick(0, sizeof(aucTypes) - 1);
        uint8_t ucType = aucTypes[i];
        uint32_t ulLen = Len(aucLens[i]);
        Bytes v{ucType, static_cast<uint8_t>(ulLen)};
        Bytes vecValue = Random(ulLen);
        if (ucType == 33 && ulLen > 0) {
            vecValue[0] = 0xC0; /* 16-byte SIDs with behavior: one SID is 26 bytes */
        }
        v.insert(v.end(), vecValue.begin(), vecValue.end());
        return v;
    }

    Bytes Name()
    {
        uint32_t ulLen = Pick(0, 5) == 0 ? Pick(0, 300) : Pick(0, 12);
        Bytes v{Byte()};
        for (uint32_t i = 0; i < ulLen; i++) {
            v.push_back(Pick(0, 20) == 0 ? Byte() : static_cast<uint8_t>(Pick(0x20, 0x7E)));
        }
        return v;
    }

    Bytes SubTlv()
    {
        switch (Pick(0, 11)) {
            case 0:
                return at::Sub(12, Random(Len(6)));
            case 1: {
                static const uint32_t aulLens[] = {2, 6, 18};
                return at::Sub(13, Random(Len(aulLens[Pick(0, 2)])));
            }
            case 2:
                return at::Sub(127, Random(Len(6)));
            case 3:
                return at::Sub(126, Random(Pick(0, 1) ? 6 : Pick(1, 10)));
            case 4:
                return at::Sub(123, Random(Len(6)));
            case 5: {
                bool bLong = Pick(0, 1) == 1;
                Bytes v = Random(Len(bLong ? 26 : 18));
                v[0] = static_cast<uint8_t>(bLong ? (v[0] | 0x20) : (v[0] & 0xDF));
                if (bLong && v.size() >= 26) {
                    for (size_t i = 22; i < 26; i++) {
                        v[i] = static_cast<uint8_t>(Pick(0, 40));
                    }
                }
                return at::Sub(20, v);
            }
            case 6:
            case 7: {
                Bytes v{Byte()};
                for (uint32_t n = Pick(0, 6); n > 0; n--) {
                    Bytes s = Segment();
                    v.insert(v.end(), s.begin(), s.end());
                }
                return at::Sub(128, v);
            }
            case 8:
                return at::Sub(129, Name());
            case 9:
                return at::Sub(130, Name());
            case 10:
                return at::Sub(static_cast<uint8_t>(Pick(0, 11)), Random(Pick(1, 8)));
            default:
                return at::Sub(static_cast<uint8_t>(Pick(131, 255)), Random(Pick(1, 8)));
        }
    }

    std::mt19937 m_rng;
};

class AttrProps : public bt::PluginTest {
protected:
    uint32_t Set(const Bytes &vecHeld, uint32_t ulFlags, Bytes &vecOut)
    {
        return at::SetAsHost(m_stTbl, m_pstInst, vecHeld, ulFlags, vecOut);
    }
};

/* Allocations a decode of vecAttr must make: record, copy buffer and list
 * head, one per kept name, Segment List and SRv6 Binding SID, and the
 * output block. */
uint32_t ExpectedAllocs(BOL_SRPOLICY_INSTANCE_S *pstInst, const Bytes &vecAttr)
{
    at::Record rec(pstInst, vecAttr);
    if (rec.pstAttr == nullptr) {
        return 0;
    }
    const BOL_SRPOLICY_TNLENCAP_ATTR_S &a = *rec.pstAttr;
    return 3u + (a.pucPolicyName != nullptr) + (a.pucCPathName != nullptr) + a.pstSegListHead->ulCount +
           a.stSRv6BsidList.ulCount + 1u;
}

/* Number of top-level sub-TLVs of ucType in a well-formed tunnel. */
uint32_t CountSubTlvs(const Bytes &v, uint8_t ucType)
{
    uint32_t n = 0;
    size_t i = 4;
    while (i < v.size()) {
        size_t ulWidth = v[i] < 128 ? 1 : 2;
        size_t ulLen = ulWidth == 1 ? v[i + 1] : (static_cast<size_t>(v[i + 1]) << 8 | v[i + 2]);
        n += (v[i] == ucType);
        i += 1 + ulWidth + ulLen;
    }
    return n;
}

bool WellFormedTunnel(const Bytes &v)
{
    return v.size() >= 4 && (static_cast<size_t>(v[2]) << 8 | v[3]) == v.size() - 4;
}

TEST_F(AttrProps, GeneratedAttributes)
{
    AttrGen gen(20261123u);
    uint32_t ulDecoded = 0;
    uint32_t ulRefused = 0;
    uint32_t ulMultiPrivate = 0;
    for (uint32_t ulIter = 0; ulIter < 3000; ulIter++) {
        Bytes vecIn = gen.Attr();
        SCOPED_TRACE(testing::Message() << "input " << bt::ToHex(vecIn));

        tp::Reset();
        at::HostDecode r = at::DecodeAsHost(m_stTbl, m_pstInst, vecIn, false);
        uint32_t ulAllocs = tp::AllocCalls();
        ASSERT_EQ(tp::LiveBlocksAll(), 1u) << "only the instance stays live";
        if (r.ulRet != BOL_OK) {
            ulRefused++;
            continue;
        }
        ulDecoded++;
        const Bytes vecCopy = r.stOut.Attr();
        ASSERT_TRUE(WellFormedTunnel(vecCopy)) << bt::ToHex(vecCopy);
        ASSERT_LE(vecCopy.size(), vecIn.size());
        /* No hidden allocations. */
        ASSERT_EQ(ulAllocs, ExpectedAllocs(m_pstInst, r.vecInputAfter));

        /* Idempotence: the copy decodes to itself and stays unchanged. */
        at::ExpectIdempotent(m_pstInst, vecCopy);
        ASSERT_FALSE(HasFailure());

        /* The setter's output decodes again, with and without the rewrite;
         * without it, it is the held copy itself. */
        for (uint32_t ulFlags : {0u, BOL_SRPOLICY_SET_PRIV_SLICE_ID}) {
            Bytes vecSet;
            ASSERT_EQ(Set(vecCopy, ulFlags, vecSet), BOL_OK);
            ASSERT_TRUE(WellFormedTunnel(vecSet)) << bt::ToHex(vecSet);
            if (ulFlags == 0u) {
                ASSERT_EQ(bt::ToHex(vecSet), bt::ToHex(vecCopy));
            }
            if (vecSet.size() == 4) {
                /* A lone undecodable private slice id leaves an empty tunnel,
                 * which the decoder refuses for its length 0. */
                continue;
            }
            at::HostDecode r3 = at::DecodeAsHost(m_stTbl, m_pstInst, vecSet);
            if (r3.ulRet != BOL_OK && ulFlags != 0u && CountSubTlvs(vecCopy, 123) != 0 &&
                CountSubTlvs(vecCopy, 126) >= 2) {
                /* Only the last private slice id is taken out when a standard
                 * one becomes private; an earlier private one then follows or
                 * precedes a second private slice id and is refused. */
                ASSERT_EQ(r3.ulRet, BOL_ERR_SUBTLV_INVALID);
                ulMultiPrivate++;
                continue;
            }
            ASSERT_EQ(r3.ulRet, BOL_OK);
            ASSERT_EQ(bt::ToHex(r3.stOut.Attr()), bt::ToHex(vecSet));
        }
        ASSERT_EQ(tp::LiveBlocksAll(), 1u);
    }
    /* The generator reaches both outcomes often enough to mean something. */
    EXPECT_GT(ulDecoded, 600u);
    EXPECT_GT(ulRefused, 600u);
    RecordProperty("MultiPrivateSliceIdOutputsRefused", static_cast<int>(ulMultiPrivate));
}

}  // namespace
