/*
 * The configured tunnel encapsulation (configuration record 32) through the
 * configuration dispatcher, from records built out of the input: the record
 * itself, up to three segment-list nodes and up to two SRv6 binding SID
 * nodes, every field taken from the input bytes.
 *
 * Input: one control byte (bits 0-1: the allocation that fails, 0 = none;
 * bits 2-3: segment lists; bits 4-5: SRv6 binding SIDs), then the bytes the
 * record and its nodes are filled from (zeros past the end).
 *
 * Properties: an attribute that is handed over is a well-formed SR Policy
 * tunnel whose size is the one the size arithmetic gives, and it decodes,
 * unless an SRv6 binding SID was configured with a SID structure longer than
 * the SID (encoded as configured, refused by a receiver); a failed allocation gives its
 * code and hands nothing over; nothing leaks.
 */
#include <string.h>

#include <deque>

#include "bol_platform.h"
#include "bol_srpolicy_priv.h"
#include "fuzz_host.h"

namespace {

int g_iHostCtx;

/* Hands out the input bytes in order, then zeros. */
struct Filler {
    const uint8_t *puc;
    size_t ulLeft;
    void Fill(void *pv, size_t n)
    {
        size_t k = n < ulLeft ? n : ulLeft;
        memset(pv, 0, n);
        if (k != 0u) {
            memcpy(pv, puc, k);
        }
        puc += k;
        ulLeft -= k;
    }
};

/* Makes stList a list of n nodes filled from the input; the nodes live in
 * dqNodes. */
template <typename Node>
void FillList(BOL_SRPOLICY_LIST_HEAD_S &stList, std::deque<Node> &dqNodes, uint32_t n, Filler &stIn)
{
    fz::InitList(stList);
    for (; n > 0u; n--) {
        dqNodes.emplace_back();
        Node &stNode = dqNodes.back();
        stIn.Fill(&stNode, sizeof(stNode));
        DLL_Insert_In_Middle(&stList, stList.stHead.pstPrev, &stNode.stNode, &stList.stHead);
    }
}

/* An SRv6 binding SID whose structure lengths add up past the 128 bits of the
 * SID: the encoder writes it as configured, the decoder refuses it. */
bool HasOverlongStructure(const std::deque<BOL_SRPOLICY_CFG_SRV6_BSID_S> &dqBsids)
{
    for (const BOL_SRPOLICY_CFG_SRV6_BSID_S &stBsid : dqBsids) {
        uint32_t ul = stBsid.ulSidStructure;
        uint32_t ulBits = (ul >> 24) + ((ul >> 16) & 0xFFu) + ((ul >> 8) & 0xFFu) + (ul & 0xFFu);
        if ((stBsid.ucFlags & 0x20u) != 0u && ulBits > 128u) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pucData, size_t ulSize)
{
    if (ulSize < 1u) {
        return 0;
    }
    fz::Host &h = fz::Begin();
    const uint8_t ucCtl = pucData[0];
    Filler stIn = {pucData + 1, ulSize - 1u};

    BOL_SRPOLICY_CFG_TNLENCAP_S stCfg;
    stIn.Fill(&stCfg, sizeof(stCfg));
    std::deque<BOL_SRPOLICY_CFG_SEGLIST_S> dqSegLists;
    std::deque<BOL_SRPOLICY_CFG_SRV6_BSID_S> dqBsids;
    FillList(stCfg.stSegLists, dqSegLists, (ucCtl >> 2) & 3u, stIn);
    FillList(stCfg.stSRv6BsidList, dqBsids, (ucCtl >> 4) & 3u, stIn);

    const uint32_t ulFailNth = ucCtl & 3u;
    tp::FailNthAlloc(ulFailNth);
    void *pvOut = nullptr;
    uint32_t ulRet = h.stTbl.pfnParseCfg(&stCfg, sizeof(stCfg), BOL_SRPOLICY_CFG_TNL_ENCAP, &pvOut, h.pstInst);
    fz::CheckHandOver(ulRet, pvOut, tp::FailedAllocs() != 0u);
    tp::FailNthAlloc(0u);
    if (ulRet == BOL_OK) {
        fz::Output o = fz::TakeOutput(pvOut);
        FZ_CHECK(o.stHdr.ulOutFlags == BOL_OUTPUT_FLAG_ATTR && o.stHdr.ucAttrType == 23u);
        const fz::Bytes &v = o.vecAttr;
        FZ_CHECK(v.size() >= 4u && v[0] == 0u && v[1] == 15u);
        FZ_CHECK(((static_cast<size_t>(v[2]) << 8) | v[3]) + 4u == v.size());
        uint16_t usTotal = 0u;
        BOL_SRPOLICY_CalculateTunAttrLen(&stCfg, &usTotal);
        FZ_CHECK(usTotal == v.size());

        /* The encoded value decodes, as a peer's attribute would (an empty
         * tunnel is refused for its length 0). */
        if (v.size() > 4u) {
            fz::Bytes vecIn = v;
            uint8_t *pucCur = vecIn.data();
            void *pvAttr = nullptr;
            uint32_t ulMore = 77u;
            uint32_t ulDec = h.stTbl.pfnParsePkt(&pucCur, static_cast<uint32_t>(vecIn.size()), &g_iHostCtx,
                                                 BOL_SRPOLICY_PATTR_TNL_ENCAP, &pvAttr, &ulMore, h.pstInst);
            if (HasOverlongStructure(dqBsids)) {
                FZ_CHECK(ulDec == BOL_ERR_SUBTLV_INVALID && pvAttr == nullptr);
            } else {
                FZ_CHECK(ulDec == BOL_OK);
                (void)fz::TakeOutput(pvAttr);
            }
        }
    }
    fz::CheckNoLeak();
    return 0;
}
