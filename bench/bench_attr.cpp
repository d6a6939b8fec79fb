/*
 * Decoding a realistic Tunnel Encapsulation attribute through the host's
 * packet-parse entry, against a baseline that makes the same number of
 * platform allocations and copies the attribute twice; and the attribute
 * setter with the private slice-id rewrite.
 */
#include <benchmark/benchmark.h>
#include <string.h>

#include <vector>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"

namespace {

const uint32_t kModule = 11u;

/* As received: preference, MPLS binding SID, two segment lists of five
 * label segments with a weight each, names "cp-primary" and "pol-red-100".
 * The flag bytes are set so that the decoder has bits to clear. 153 bytes. */
const uint8_t g_aucRealistic[] = {
    0x00, 0x0F, 0x00, 0x95,                               /* tunnel type 15, length 149 */
    0x0C, 0x06, 0xFF, 0x00, 0x00, 0x00, 0x00, 0x64,       /* preference 100 */
    0x0D, 0x06, 0xFF, 0x00, 0x00, 0x3E, 0x8F, 0xFF,       /* MPLS binding SID, label 1000 */
    0x80, 0x00, 0x31, 0x00,                               /* segment list 1, reserved */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xE8, 0x10, 0x00,       /* label 16001 */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xE8, 0x20, 0x00,       /* label 16002 */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xE8, 0x30, 0x00,       /* label 16003 */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xE8, 0x40, 0x00,       /* label 16004 */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xE8, 0x50, 0x00,       /* label 16005 */
    0x09, 0x06, 0xFF, 0x00, 0x00, 0x00, 0x00, 0x01,       /* weight 1 */
    0x80, 0x00, 0x31, 0x00,                               /* segment list 2, reserved */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xEE, 0x50, 0x00,       /* label 16101 */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xEE, 0x60, 0x00,       /* label 16102 */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xEE, 0x70, 0x00,       /* label 16103 */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xEE, 0x80, 0x00,       /* label 16104 */
    0x01, 0x06, 0x00, 0x00, 0x03, 0xEE, 0x90, 0x00,       /* label 16105 */
    0x09, 0x06, 0xFF, 0x00, 0x00, 0x00, 0x00, 0x02,       /* weight 2 */
    0x81, 0x00, 0x0B, 0x00,                               /* candidate path name, reserved */
    'c', 'p', '-', 'p', 'r', 'i', 'm', 'a', 'r', 'y',
    0x82, 0x00, 0x0C, 0x00,                               /* policy name, reserved */
    'p', 'o', 'l', '-', 'r', 'e', 'd', '-', '1', '0', '0',
};

/* The same with a standard (123) and a private (126) slice id, normalised
 * as the host stores it: the input of the setter. */
std::vector<uint8_t> SetterInput()
{
    std::vector<uint8_t> v(g_aucRealistic, g_aucRealistic + sizeof(g_aucRealistic));
    const uint8_t aucSlices[] = {
        0x7B, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0B,   /* standard slice id 11 */
        0x7E, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0C,   /* private slice id 12 */
    };
    v.insert(v.end(), aucSlices, aucSlices + sizeof(aucSlices));
    uint16_t usTnlLen = static_cast<uint16_t>(v.size() - 4);
    v[2] = static_cast<uint8_t>(usTnlLen >> 8);
    v[3] = static_cast<uint8_t>(usTnlLen);
    return v;
}

struct Plugin {
    BOL_PROC_TBL_S stTbl;
    BOL_SRPOLICY_INSTANCE_S *pstInst;
    Plugin() { pstInst = BOL_SRPOLICY_Construct(&stTbl, kModule); }
    ~Plugin() { BOL_SRPOLICY_Destruct(pstInst); }
};

/* One call of each measured operation, kept out of line so that callgrind
 * can count its instructions per call (--toggle-collect=*DecodeOnce* etc.). */

/* Decode as the host does: the received bytes (restored each time, since
 * decoding clears bits in place), the type-23 entry, the output block
 * released by the host. */
__attribute__((noinline)) bool DecodeOnce(Plugin &p, uint8_t *pucBuf)
{
    memcpy(pucBuf, g_aucRealistic, sizeof(g_aucRealistic));
    uint8_t *pucCur = pucBuf;
    void *pvOut = nullptr;
    uint32_t ulMore = 0;
    int iHost = 0;
    uint32_t ulRet = p.stTbl.pfnParsePkt(&pucCur, sizeof(g_aucRealistic), &iHost, BOL_SRPOLICY_PATTR_TNL_ENCAP, &pvOut,
                                         &ulMore, p.pstInst);
    benchmark::DoNotOptimize(pvOut);
    (void)ZUN_Free_F(pvOut, "bench", __LINE__);
    return ulRet == BOL_OK;
}

/* The floor: the same eight platform allocations of the same sizes (record,
 * copy buffer, list head, two segment-list nodes, two names, output block),
 * the attribute copied twice (into the copy buffer and the output block),
 * and everything released; the received bytes are restored as above. */
__attribute__((noinline)) void BaselineOnce(uint8_t *pucBuf)
{
    const uint32_t ulLen = sizeof(g_aucRealistic);
    const uint32_t aulSizes[] = {
        static_cast<uint32_t>(sizeof(BOL_SRPOLICY_TNLENCAP_ATTR_S)),
        ulLen + 4u,
        static_cast<uint32_t>(sizeof(BOL_SRPOLICY_LIST_HEAD_S)),
        static_cast<uint32_t>(BOL_SRPOLICY_SEGLIST_NODE_HDR_LEN) + 49u,
        static_cast<uint32_t>(BOL_SRPOLICY_SEGLIST_NODE_HDR_LEN) + 49u,
        10u,
        11u,
        BOL_PARSE_OUTPUT_HDR_LEN + ulLen,
    };
    const size_t n = sizeof(aulSizes) / sizeof(aulSizes[0]);
    void *apv[n];
    memcpy(pucBuf, g_aucRealistic, ulLen);
    for (size_t i = 0; i < n; i++) {
        apv[i] = ZUN_SimpleAlloc_F(kModule, aulSizes[i], "bench", __LINE__);
    }
    memcpy(apv[1], pucBuf, ulLen);
    memcpy(static_cast<uint8_t *>(apv[n - 1]) + BOL_PARSE_OUTPUT_HDR_LEN, apv[1], ulLen);
    benchmark::DoNotOptimize(apv[n - 1]);
    benchmark::ClobberMemory();
    for (size_t i = 0; i < n; i++) {
        (void)ZUN_Free_F(apv[i], "bench", __LINE__);
    }
}

/* The setter with the slice-id rewrite: decode, rename, pack, output. */
__attribute__((noinline)) bool SetOnce(Plugin &p, const BOL_RT_DATA_S &stRt)
{
    void *pvOut = nullptr;
    uint32_t ulRet =
        p.stTbl.pfnSetAttr(&stRt, BOL_SRPOLICY_PATTR_TNL_ENCAP, BOL_SRPOLICY_SET_PRIV_SLICE_ID, &pvOut, p.pstInst);
    benchmark::DoNotOptimize(pvOut);
    (void)ZUN_Free_F(pvOut, "bench", __LINE__);
    return ulRet == BOL_OK;
}

void BM_DecodeAttr(benchmark::State &state)
{
    Plugin p;
    uint8_t aucBuf[sizeof(g_aucRealistic)];
    for (auto _ : state) {
        if (!DecodeOnce(p, aucBuf)) {
            state.SkipWithError("decode failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(sizeof(aucBuf)));
}
BENCHMARK(BM_DecodeAttr);

void BM_DecodeBaseline(benchmark::State &state)
{
    uint8_t aucBuf[sizeof(g_aucRealistic)];
    for (auto _ : state) {
        BaselineOnce(aucBuf);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(sizeof(aucBuf)));
}
BENCHMARK(BM_DecodeBaseline);

/* On a stored attribute that holds a standard and a private slice id. */
void BM_SetAttrPrivSliceId(benchmark::State &state)
{
    Plugin p;
    std::vector<uint8_t> vecAttr = SetterInput();
    BOL_RT_DATA_S stRt;
    memset(&stRt, 0, sizeof(stRt));
    stRt.pucAttr = vecAttr.data();
    stRt.ulAttrLen = static_cast<uint32_t>(vecAttr.size());
    for (auto _ : state) {
        if (!SetOnce(p, stRt)) {
            state.SkipWithError("set failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(vecAttr.size()));
}
BENCHMARK(BM_SetAttrPrivSliceId);

}  // namespace
