/*
 * Configured-tunnel encoding and the attribute message, on the default
 * platform. The baseline is attribute message 47 read back from the very
 * bytes the configuration encodes to: one allocation, one copy and one
 * output block, which the configuration encoder does as well. The ratio
 * shows what sizing and writing the sub-TLVs cost on top.
 */
#include <benchmark/benchmark.h>
#include <string.h>

#include <deque>
#include <vector>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"

namespace {

const uint32_t kBenchModule = 11u;

struct Plugin {
    BOL_PROC_TBL_S stTbl;
    BOL_SRPOLICY_INSTANCE_S *pstInst;
    Plugin() : pstInst(BOL_SRPOLICY_Construct(&stTbl, kBenchModule)) {}
    ~Plugin() { BOL_SRPOLICY_Destruct(pstInst); }
};

void InitList(BOL_SRPOLICY_LIST_HEAD_S &stList)
{
    stList.stHead.pstNext = &stList.stHead;
    stList.stHead.pstPrev = &stList.stHead;
    stList.ulCount = 0u;
}

/* A typical candidate path: preference, MPLS binding SID, template and slice
 * id, two segment lists of weight and five labels, one SRv6 binding SID. */
struct TypicalCfg {
    BOL_SRPOLICY_CFG_TNLENCAP_S st;
    std::deque<BOL_SRPOLICY_CFG_SEGLIST_S> dqSegLists;
    BOL_SRPOLICY_CFG_SRV6_BSID_S stBsid;

    TypicalCfg()
    {
        memset(&st, 0, sizeof(st));
        InitList(st.stSegLists);
        InitList(st.stSRv6BsidList);
        st.ucPrefExist = 1;
        st.ulPreference = 200;
        st.ucBsidExist = 1;
        st.ulBsidLabel = 24000;
        st.ucCfgModuleIdExist = 1;
        st.ulCfgModuleId = 3;
        st.ucSliceIdExist = 1;
        st.ulSliceId = 4;
        for (uint32_t n = 0; n < 2u; n++) {
            dqSegLists.emplace_back();
            BOL_SRPOLICY_CFG_SEGLIST_S &stSl = dqSegLists.back();
            memset(&stSl, 0, sizeof(stSl));
            stSl.ucWeightExist = 1;
            stSl.ulWeight = n + 1u;
            stSl.ucSegType = BOL_SRPOLICY_SEG_MPLS;
            stSl.ucSegNum = 5;
            for (uint32_t i = 0; i < 5u; i++) {
                stSl.aulSegValue[i] = 16000u + 10u * n + i;
            }
            DLL_Insert_In_Middle(&st.stSegLists, st.stSegLists.stHead.pstPrev, &stSl.stNode, &st.stSegLists.stHead);
        }
        memset(&stBsid, 0, sizeof(stBsid));
        stBsid.ucFlags = 0x20;
        stBsid.aulSid[0] = 0xFC000000u;
        stBsid.aulSid[3] = 1u;
        stBsid.ulSidStructure = 0x20101000u;
        DLL_Insert_In_Middle(&st.stSRv6BsidList, &st.stSRv6BsidList.stHead, &stBsid.stNode,
                             &st.stSRv6BsidList.stHead);
    }
};

/* The encoded attribute of the typical configuration. */
std::vector<uint8_t> EncodedTypical(Plugin &stPlugin, const TypicalCfg &stCfg)
{
    void *pvOut = nullptr;
    std::vector<uint8_t> vec;
    if (BOL_SRPOLICY_ParseCfgTunnelEncapsulation(&stCfg.st, sizeof(stCfg.st), &pvOut, stPlugin.pstInst) == BOL_OK) {
        const BOL_PARSE_OUTPUT_S *pstOut = static_cast<const BOL_PARSE_OUTPUT_S *>(pvOut);
        const uint8_t *puc = static_cast<const uint8_t *>(pvOut) + pstOut->usAttrOffset;
        vec.assign(puc, puc + pstOut->usAttrLen);
        (void)ZUN_Free_F(pvOut, "bench", 0);
    }
    return vec;
}

void BM_AttrMsgRead_Baseline(benchmark::State &state)
{
    Plugin stPlugin;
    TypicalCfg stCfg;
    std::vector<uint8_t> vecAttr = EncodedTypical(stPlugin, stCfg);
    for (auto _ : state) {
        void *pvOut = nullptr;
        uint32_t ulRet = BOL_SRPOLICY_ParseRtTunnelEncapsAttrTlv(vecAttr.data(), static_cast<uint32_t>(vecAttr.size()),
                                                                 &pvOut, stPlugin.pstInst);
        benchmark::DoNotOptimize(ulRet);
        (void)ZUN_Free_F(pvOut, "bench", 0);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(vecAttr.size()));
}
BENCHMARK(BM_AttrMsgRead_Baseline);

void BM_CfgTunnelEncode(benchmark::State &state)
{
    Plugin stPlugin;
    TypicalCfg stCfg;
    size_t ulLen = EncodedTypical(stPlugin, stCfg).size();
    for (auto _ : state) {
        void *pvOut = nullptr;
        uint32_t ulRet = BOL_SRPOLICY_ParseCfgTunnelEncapsulation(&stCfg.st, sizeof(stCfg.st), &pvOut,
                                                                  stPlugin.pstInst);
        benchmark::DoNotOptimize(ulRet);
        (void)ZUN_Free_F(pvOut, "bench", 0);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(ulLen));
}
BENCHMARK(BM_CfgTunnelEncode);

void BM_CfgTunnelSize(benchmark::State &state)
{
    TypicalCfg stCfg;
    for (auto _ : state) {
        uint16_t usTotal = 0u;
        BOL_SRPOLICY_CalculateTunAttrLen(&stCfg.st, &usTotal);
        benchmark::DoNotOptimize(usTotal);
    }
}
BENCHMARK(BM_CfgTunnelSize);

/* The conditional-route attribute message decodes the stored attribute and
 * writes its TLVs; the baseline is the decode alone (record built and
 * released), so the ratio is what the emission table adds. */
const uint8_t kCondRtAttr[] = {
    0x00, 0x0F, 0x00, 0x3C,                                     /* tunnel type 15, length 60 */
    0x0C, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC8,             /* preference 200 */
    0x0D, 0x06, 0x00, 0x00, 0x05, 0xDC, 0x00, 0x00,             /* binding SID, label 24000 */
    0x80, 0x00, 0x19, 0x00, 0x09, 0x06, 0x00, 0x00, 0x00, 0x00, /* segment list: weight 1, */
    0x00, 0x01, 0x01, 0x06, 0x80, 0x00, 0x03, 0xE8, 0x00, 0x00, /* labels 16000, 16001 */
    0x01, 0x06, 0x80, 0x00, 0x03, 0xE8, 0x10, 0x00,
    0x7F, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03,             /* template id 3 */
    0x7B, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04,             /* standard slice id 4 */
};

void BM_CondRtDecode_Baseline(benchmark::State &state)
{
    Plugin stPlugin;
    std::vector<uint8_t> vecAttr(kCondRtAttr, kCondRtAttr + sizeof(kCondRtAttr));
    for (auto _ : state) {
        BOL_SRPOLICY_TNLENCAP_ATTR_S *pstAttr = nullptr;
        uint8_t *pucPriv = nullptr;
        uint8_t *pucStd = nullptr;
        uint32_t ulRet = BOL_SRPOLICY_ParsePktTunnelEncapAttr(vecAttr.data(), static_cast<uint32_t>(vecAttr.size()),
                                                              &pstAttr, stPlugin.pstInst, &pucPriv, &pucStd);
        benchmark::DoNotOptimize(ulRet);
        if (pstAttr != nullptr) {
            BOL_SRPOLICY_FreeTunnelEncapsulationAttrData(pstAttr, stPlugin.pstInst);
        }
    }
}
BENCHMARK(BM_CondRtDecode_Baseline);

void BM_CondRtAttrMessage(benchmark::State &state)
{
    Plugin stPlugin;
    std::vector<uint8_t> vecAttr(kCondRtAttr, kCondRtAttr + sizeof(kCondRtAttr));
    BOL_RT_DATA_S stRt;
    memset(&stRt, 0, sizeof(stRt));
    stRt.pucAttr = vecAttr.data();
    stRt.ulAttrLen = static_cast<uint32_t>(vecAttr.size());
    std::vector<uint8_t> vecMsg(512);
    for (auto _ : state) {
        uint8_t *pucCur = vecMsg.data();
        uint32_t ulRet = BOL_SRPOLICY_FormatCondRtAttr(&stRt, &pucCur, static_cast<uint32_t>(vecMsg.size()),
                                                       stPlugin.pstInst);
        benchmark::DoNotOptimize(ulRet);
        benchmark::DoNotOptimize(pucCur);
    }
}
BENCHMARK(BM_CondRtAttrMessage);

} /* namespace */
