/*
 * Helpers for the Tunnel Encapsulation attribute tests: building attributes
 * from sub-TLVs or configuration records, and decoding them the way the host does (through the
 * procedure table, from a buffer of exactly the attribute's size so that the
 * sanitizer build catches any read past its end).
 */
#ifndef BOL_ATTR_TEST_UTIL_H
#define BOL_ATTR_TEST_UTIL_H

#include <gtest/gtest.h>
#include <stdint.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <iterator>
#include <string>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"
#include "fuzz_host.h"

namespace at {

using bt::Bytes;

/* Byte strings are built at their final size and then filled: appending to
 * a vector that has to grow makes GCC 12 at -O3 see copies past the end of
 * the storage it had before growing (-Warray-bounds, -Wstringop-overflow). */

/* The pieces one after the other. */
inline Bytes Cat(std::initializer_list<Bytes> lst)
{
    size_t n = 0;
    for (const Bytes &b : lst) {
        n += b.size();
    }
    Bytes v(n);
    auto it = v.begin();
    for (const Bytes &b : lst) {
        it = std::copy(b.begin(), b.end(), it);
    }
    return v;
}

/* One sub-TLV: 1-byte length below type 128, 2-byte length from 128 up. */
inline Bytes Sub(uint8_t ucType, const Bytes &vecValue)
{
    const auto ucLenHi = static_cast<uint8_t>(vecValue.size() >> 8);
    const auto ucLenLo = static_cast<uint8_t>(vecValue.size());
    return ucType >= 128u ? Cat({Bytes{ucType, ucLenHi, ucLenLo}, vecValue}) : Cat({Bytes{ucType, ucLenLo}, vecValue});
}

/* An SR Policy tunnel (type 15) around the given sub-TLV bytes. */
inline Bytes Tunnel(const Bytes &vecSubTlvs)
{
    const auto ucLenHi = static_cast<uint8_t>(vecSubTlvs.size() >> 8);
    const auto ucLenLo = static_cast<uint8_t>(vecSubTlvs.size());
    return Cat({Bytes{0x00, 0x0F, ucLenHi, ucLenLo}, vecSubTlvs});
}

/* A decoded record, released when it goes out of scope. */
struct Record {
    BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = nullptr;
    BOL_SRPOLICY_INSTANCE_S *pstInst = nullptr;
    uint8_t *pucPrivSliceId = nullptr;
    uint8_t *pucStdSliceId = nullptr;
    uint32_t ulRet = 0;
    Bytes vecInput; /* decoded in place */

    Record(BOL_SRPOLICY_INSTANCE_S *pstI, const Bytes &vecAttr) : pstInst(pstI), vecInput(vecAttr)
    {
        ulRet = BOL_SRPOLICY_ParsePktTunnelEncapAttr(vecInput.data(), static_cast<uint32_t>(vecInput.size()),
                                                     &pstAttr, pstInst, &pucPrivSliceId, &pucStdSliceId);
    }
    ~Record() { BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, pstInst); }
    Record(const Record &) = delete;
    Record &operator=(const Record &) = delete;

    Bytes Copy() const
    {
        if (pstAttr == nullptr) {
            return Bytes();
        }
        return Bytes(pstAttr->pucRealPrivAttr, pstAttr->pucRealPrivAttr + pstAttr->usRealPrivAttrLen);
    }
};

inline std::string Str(const uint8_t *puc, uint16_t usLen)
{
    return puc == nullptr ? std::string() : std::string(reinterpret_cast<const char *>(puc), usLen);
}

/* A realistic attribute: preference, MPLS binding SID, two segment lists of
 * five label segments with a weight each, candidate-path and policy names.
 * The fuzz target's seed without its control byte. */
inline Bytes RealisticAttr()
{
    std::ifstream in(std::string(BOL_FUZZ_CORPUS_DIR) + "/fuzz_attr/realistic", std::ios::binary);
    Bytes vecSeed((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_FALSE(vecSeed.empty()) << "no realistic seed";
    return vecSeed.empty() ? vecSeed : Bytes(vecSeed.begin() + 1, vecSeed.end());
}

/* A configuration record with the lists the host's configuration layer
 * would hang from it; nodes live as long as the builder. */
struct Cfg {
    BOL_SRPOLICY_CFG_TNLENCAP_S st;
    std::deque<BOL_SRPOLICY_CFG_SEGLIST_S> dqSegLists;
    std::deque<BOL_SRPOLICY_CFG_SRV6_BSID_S> dqSRv6Bsids;

    Cfg()
    {
        memset(&st, 0, sizeof(st));
        fz::InitList(st.stSegLists);
        fz::InitList(st.stSRv6BsidList);
    }
    Cfg(const Cfg &) = delete;
    Cfg &operator=(const Cfg &) = delete;

    BOL_SRPOLICY_CFG_SEGLIST_S &AddSegList() { return Add(dqSegLists, st.stSegLists); }
    BOL_SRPOLICY_CFG_SRV6_BSID_S &AddSRv6Bsid() { return Add(dqSRv6Bsids, st.stSRv6BsidList); }

private:
    /* A zeroed node appended to the list. */
    template <typename T>
    static T &Add(std::deque<T> &dq, BOL_SRPOLICY_LIST_HEAD_S &stList)
    {
        dq.emplace_back();
        T &stNode = dq.back();
        memset(&stNode, 0, sizeof(stNode));
        DLL_Insert_In_Middle(&stList, stList.stHead.pstPrev, &stNode.stNode, &stList.stHead);
        return stNode;
    }
};

inline void SetLabels(BOL_SRPOLICY_CFG_SEGLIST_S &stSl, std::initializer_list<uint32_t> ilLabels)
{
    stSl.ucSegType = BOL_SRPOLICY_SEG_MPLS;
    stSl.ucSegNum = static_cast<uint8_t>(ilLabels.size());
    uint32_t i = 0;
    for (uint32_t ulLabel : ilLabels) {
        stSl.aulSegValue[i++] = ulLabel;
    }
}

}  // namespace at

#endif
