/*
 * The attribute fuzz target's properties (decode of the normalised copy,
 * setter, encoder, text, message 122, comparison, allocation failures) over
 * generated attributes: the seeds reach the corners, these reach the mix.
 */
#include <gtest/gtest.h>

#include <random>

#include "attr_test_util.h"

extern "C" int fuzz_attr_one(const uint8_t *pucData, size_t ulSize);

using at::Bytes;

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

TEST(AttrProps, GeneratedAttributesKeepTheFuzzTargetsProperties)
{
    AttrGen gen(20261123u);
    for (uint32_t ulIter = 0; ulIter < 3000; ulIter++) {
        /* The control byte plans the failing allocation (0: none). */
        const Bytes vecIn = at::Cat({Bytes{static_cast<uint8_t>(ulIter % 8u)}, gen.Attr()});
        SCOPED_TRACE(testing::Message() << "input " << bt::ToHex(vecIn));
        ASSERT_EQ(fuzz_attr_one(vecIn.data(), vecIn.size()), 0);
    }
    fz::End();
    EXPECT_EQ(tp::LiveBlocksAll(), 0u);
}

}  // namespace
