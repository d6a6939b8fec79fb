/*
 * Display text of a stored Tunnel Encapsulation attribute: the realistic
 * attribute rendered into one 4 KiB buffer, and into 256-byte buffers over
 * as many calls as it takes. Both count the same characters (the attribute's
 * text without each call's leading "\r\n"), so their rates compare directly.
 */
#include <benchmark/benchmark.h>
#include <string.h>

#include <string>
#include <vector>

#include "bol_srpolicy.h"

namespace {

void PutBe16(std::vector<uint8_t> &v, uint32_t ul)
{
    v.push_back(static_cast<uint8_t>(ul >> 8));
    v.push_back(static_cast<uint8_t>(ul));
}

void PutBe32(std::vector<uint8_t> &v, uint32_t ul)
{
    PutBe16(v, ul >> 16);
    PutBe16(v, ul & 0xFFFFu);
}

/* Segment List: reserved byte, weight, five MPLS label segments. */
void PutSegList(std::vector<uint8_t> &v, uint32_t ulWeight, uint32_t ulFirstLabel)
{
    v.push_back(128u);
    PutBe16(v, 1u + 8u + 5u * 8u);
    v.push_back(0u);
    v.insert(v.end(), {9u, 6u, 0u, 0u});  // weight: type, length, flags, reserved
    PutBe32(v, ulWeight);
    for (uint32_t i = 0; i < 5u; i++) {
        v.insert(v.end(), {1u, 6u, 0u, 0u});  // label: type, length, flags, reserved
        PutBe32(v, (ulFirstLabel + i) << 12);
    }
}

void PutName(std::vector<uint8_t> &v, uint8_t ucType, const char *pcName)
{
    v.push_back(ucType);
    PutBe16(v, 1u + static_cast<uint32_t>(strlen(pcName)));
    v.push_back(0u);  // reserved
    v.insert(v.end(), pcName, pcName + strlen(pcName));
}

/* Preference, MPLS binding SID, two segment lists, candidate path and
 * policy names, as the decoder stores them. */
std::vector<uint8_t> RealisticAttr()
{
    std::vector<uint8_t> vecSub = {12u, 6u, 0u, 0u, 0u, 0u, 0u, 100u,           // preference 100
                                   13u, 6u, 0xC0u, 0u, 0x00u, 0x3Eu, 0x80u, 0u};  // binding SID label 1000
    PutSegList(vecSub, 10u, 16001u);
    PutSegList(vecSub, 20u, 17001u);
    PutName(vecSub, 129u, "cp-primary");
    PutName(vecSub, 130u, "policy-to-pe3");
    std::vector<uint8_t> vecAttr;
    PutBe16(vecAttr, 15u);  // tunnel type SR Policy
    PutBe16(vecAttr, static_cast<uint32_t>(vecSub.size()));
    vecAttr.insert(vecAttr.end(), vecSub.begin(), vecSub.end());
    return vecAttr;
}

class Plugin {
public:
    Plugin() : m_vecAttr(RealisticAttr())
    {
        m_pstInst = BOL_SRPOLICY_Construct(&m_stTbl, 1u);
        memset(&m_stRt, 0, sizeof(m_stRt));
        m_stRt.pucAttr = m_vecAttr.data();
        m_stRt.ulAttrLen = static_cast<uint32_t>(m_vecAttr.size());
    }
    ~Plugin() { BOL_SRPOLICY_Destruct(m_pstInst); }
    Plugin(const Plugin &) = delete;
    Plugin &operator=(const Plugin &) = delete;

    /* Renders the whole text through buffers of ulSize; returns the
     * characters of the text, each call's "\r\n" not counted, and adds the
     * calls made to ulCalls. */
    size_t RenderAll(char *pcBuf, uint32_t ulSize, size_t &ulCalls)
    {
        size_t ulChars = 0u;
        uint32_t ulOffset = 0u;
        uint32_t ulMore = 1u;
        while (ulMore != 0u) {
            uint32_t ulPrev = ulOffset;
            ulCalls++;
            (void)m_stTbl.pfnData2Str(&m_stRt, BOL_SRPOLICY_STR_ATTR, pcBuf, ulSize, &ulOffset, &ulMore, m_pstInst);
            ulChars += strlen(pcBuf) - 2u;
            if (ulMore != 0u && ulOffset == ulPrev) {
                return 0u;  // no progress: the buffer is too small
            }
        }
        return ulChars;
    }

private:
    BOL_PROC_TBL_S m_stTbl;
    BOL_SRPOLICY_INSTANCE_S *m_pstInst = nullptr;
    std::vector<uint8_t> m_vecAttr;
    BOL_RT_DATA_S m_stRt;
};

void RenderThrough(benchmark::State &state, uint32_t ulSize)
{
    Plugin stPlugin;
    std::vector<char> vecBuf(ulSize);
    size_t ulChars = 0u;
    size_t ulCalls = 0u;
    for (auto _ : state) {
        ulChars += stPlugin.RenderAll(vecBuf.data(), ulSize, ulCalls);
        benchmark::DoNotOptimize(vecBuf.data());
    }
    if (ulChars == 0u) {
        state.SkipWithError("no progress");
    }
    state.counters["calls_per_text"] =
        benchmark::Counter(static_cast<double>(ulCalls), benchmark::Counter::kAvgIterations);
    state.counters["chars_per_text"] =
        benchmark::Counter(static_cast<double>(ulChars), benchmark::Counter::kAvgIterations);
    state.counters["chars_per_second"] = benchmark::Counter(static_cast<double>(ulChars), benchmark::Counter::kIsRate);
}

void BM_AttrText_OneBuffer4K(benchmark::State &state) { RenderThrough(state, 4096u); }
void BM_AttrText_Buffers256(benchmark::State &state) { RenderThrough(state, 256u); }

BENCHMARK(BM_AttrText_OneBuffer4K);
BENCHMARK(BM_AttrText_Buffers256);

}  // namespace
