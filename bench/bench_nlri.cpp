/*
 * Decoding a full-table stream of SR Policy NLRI through the packet-parse
 * dispatcher, one NLRI per call as a host loops on the more flag, against a
 * baseline that does only the work no decoder can avoid: one platform
 * allocation of the 60-byte output block, its zeroing and the 28-byte key
 * copy. The host releases each block as it goes in both.
 */
#include <benchmark/benchmark.h>
#include <stdint.h>

#include <vector>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_wire.h"

namespace {

const uint32_t kModule = 11u;
const uint32_t kNlriCount = 100000u;
const uint32_t kOutputLen = BOL_PARSE_OUTPUT_HDR_LEN + BOL_SRPOLICY_NLRI_KEY_LEN;

/* A full table: two IPv4 endpoints to one IPv6 endpoint, distinct keys. */
const std::vector<uint8_t> &Stream()
{
    static std::vector<uint8_t> s_vecWire;
    if (!s_vecWire.empty()) {
        return s_vecWire;
    }
    s_vecWire.resize(kNlriCount * 25u);
    bol::Writer stWr = bol::MakeWriter(s_vecWire.data(), static_cast<uint32_t>(s_vecWire.size()));
    for (uint32_t i = 0; i < kNlriCount; i++) {
        bool bV6 = (i % 3u == 2u);
        (void)bol::PutU8(stWr, bV6 ? 192u : 96u);
        (void)bol::PutU32(stWr, i);
        (void)bol::PutU32(stWr, 100u + i % 50u);
        (void)bol::PutU32(stWr, bV6 ? 0x20010DB8u : 0x0A000000u + i);
        if (bV6) {
            (void)bol::PutU32(stWr, 0u);
            (void)bol::PutU32(stWr, i);
            (void)bol::PutU32(stWr, 1u);
        }
    }
    s_vecWire.resize(s_vecWire.size() - stWr.ulRoom);
    return s_vecWire;
}

/* One NLRI as a host decodes it: the type-14 entry, the block released.
 * Kept out of line, like the baseline's step below, so that callgrind counts
 * the instructions of one NLRI (--toggle-collect=*NlriOnce*). */
__attribute__((noinline)) uint32_t NlriOnce(const BOL_PROC_TBL_S &stTbl, BOL_SRPOLICY_INSTANCE_S *pstInst,
                                            uint8_t *&pucCur, const uint8_t *pucEnd, uint32_t &ulMore)
{
    int iHostCtx = 0;
    void *pvOut = nullptr;
    uint32_t ulRet = stTbl.pfnParsePkt(&pucCur, static_cast<uint32_t>(pucEnd - pucCur), &iHostCtx,
                                       BOL_SRPOLICY_PATTR_MP_REACH, &pvOut, &ulMore, pstInst);
    benchmark::DoNotOptimize(pvOut);
    (void)ZUN_Free_F(pvOut, "host", 0);
    return ulRet;
}

/* The floor of one NLRI: the block allocated, zeroed, the 28 bytes copied
 * for the key, released; the cursor moved by the length byte. */
__attribute__((noinline)) void BaselineNlriOnce(const uint8_t *&pucCur)
{
    void *pvOut = ZUN_SimpleAlloc_F(kModule, kOutputLen, "bench", __LINE__);
    (void)memset_s(pvOut, kOutputLen, 0, kOutputLen);
    (void)memcpy_s(static_cast<uint8_t *>(pvOut) + BOL_PARSE_OUTPUT_HDR_LEN, BOL_SRPOLICY_NLRI_KEY_LEN, pucCur,
                   BOL_SRPOLICY_NLRI_KEY_LEN);
    pucCur += 1u + (pucCur[0] >> 3);
    benchmark::DoNotOptimize(pvOut);
    (void)ZUN_Free_F(pvOut, "host", 0);
}

void BM_NlriDecodeStream(benchmark::State &state)
{
    std::vector<uint8_t> vecWire = Stream();  // decoders may write to their input
    BOL_PROC_TBL_S stTbl = {};
    BOL_SRPOLICY_INSTANCE_S *pstInst = BOL_SRPOLICY_Construct(&stTbl, kModule);
    uint8_t *pucEnd = vecWire.data() + vecWire.size();
    for (auto _ : state) {
        uint8_t *pucCur = vecWire.data();
        uint32_t ulMore = 1u;
        uint32_t ulCount = 0u;
        while (ulMore != 0u) {
            if (NlriOnce(stTbl, pstInst, pucCur, pucEnd, ulMore) != BOL_OK) {
                state.SkipWithError("decoding failed");
                break;
            }
            ulCount++;
        }
        if (ulCount != kNlriCount) {
            state.SkipWithError("wrong number of NLRI");
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kNlriCount);
    BOL_SRPOLICY_Destruct(pstInst);
}
BENCHMARK(BM_NlriDecodeStream)->Unit(benchmark::kMillisecond);

/* The baseline walks the same stream by its length bytes, so that both read
 * the same input once; the 28 bytes copied stand in for the key. The copy may
 * read past the last NLRI, hence the padding. */
void BM_NlriBaselineAllocZeroCopy(benchmark::State &state)
{
    std::vector<uint8_t> vecWire = Stream();
    size_t ulStreamLen = vecWire.size();
    vecWire.resize(ulStreamLen + BOL_SRPOLICY_NLRI_KEY_LEN);
    for (auto _ : state) {
        const uint8_t *pucCur = vecWire.data();
        for (uint32_t i = 0; i < kNlriCount; i++) {
            BaselineNlriOnce(pucCur);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kNlriCount);
}
BENCHMARK(BM_NlriBaselineAllocZeroCopy)->Unit(benchmark::kMillisecond);

}  // namespace
