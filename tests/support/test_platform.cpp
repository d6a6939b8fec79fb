/*
 * Test platform implementation of ZUN_SimpleAlloc_F, ZUN_Free_F and
 * ZUN_Assert; the other platform functions come from the shared core.
 */
#include "test_platform.h"

#include <stdlib.h>
#include <string.h>

#include <map>
#include <utility>

#include "bol_platform.h"

namespace tp {
namespace {

struct Block {
    uint32_t ulModule;
    uint32_t ulSize;
};

struct State {
    std::map<void *, Block> mapLive;
    std::vector<Report> vecReports;
    uint32_t ulCountdown = 0;  // fail when it reaches 1
    bool bFailMemcpyS = false;
    uint32_t ulCalls = 0;
    uint32_t ulFailed = 0;
    uint32_t ulBadFrees = 0;
};

State &S()
{
    static State s_stState;
    return s_stState;
}

/* Live blocks (bBytes false) or their bytes of one module. */
uint32_t Live(uint32_t ulModule, bool bBytes)
{
    uint32_t n = 0;
    for (const auto &kv : S().mapLive) {
        n += (kv.second.ulModule == ulModule) ? (bBytes ? kv.second.ulSize : 1u) : 0u;
    }
    return n;
}

}  // namespace

void Reset()
{
    std::map<void *, Block> mapLive = std::move(S().mapLive);
    S() = State();
    S().mapLive = std::move(mapLive);
}

void FailNthAlloc(uint32_t ulNth) { S().ulCountdown = ulNth; }
void FailMemcpyS(bool bFail) { S().bFailMemcpyS = bFail; }
uint32_t AllocCalls() { return S().ulCalls; }
uint32_t FailedAllocs() { return S().ulFailed; }
uint32_t BadFrees() { return S().ulBadFrees; }
const std::vector<Report> &Reports() { return S().vecReports; }

uint32_t LiveBlocks(uint32_t ulModule) { return Live(ulModule, false); }
uint32_t LiveBytes(uint32_t ulModule) { return Live(ulModule, true); }

uint32_t LiveBlocksAll() { return static_cast<uint32_t>(S().mapLive.size()); }

uint32_t TextReportsStartingWith(const std::string &strPrefix)
{
    uint32_t n = 0;
    for (const Report &r : S().vecReports) {
        n += (r.bIsText && r.strText.compare(0, strPrefix.size(), strPrefix) == 0) ? 1u : 0u;
    }
    return n;
}

uint32_t TextReportCount(const std::string &strText)
{
    uint32_t n = 0;
    for (const Report &r : S().vecReports) {
        n += (r.bIsText && r.strText == strText) ? 1u : 0u;
    }
    return n;
}

}  // namespace tp

extern "C" {

void *ZUN_SimpleAlloc_F(uint32_t ulMemModuleId, uint32_t ulSize, const char *pcModule, uint32_t ulLine)
{
    (void)pcModule;
    (void)ulLine;
    tp::State &st = tp::S();
    st.ulCalls++;
    bool bFail = ulSize == 0u;
    if (st.ulCountdown != 0u) {
        if (st.ulCountdown == 1u) {
            bFail = true;
        }
        st.ulCountdown--;
    }
    if (bFail) {
        st.ulFailed++;
        return nullptr;
    }
    void *pv = malloc(ulSize);
    if (pv != nullptr) {
        memset(pv, 0xA5, ulSize); /* a block the plug-in must zero is not zero already */
        st.mapLive[pv] = tp::Block{ulMemModuleId, ulSize};
    }
    return pv;
}

uint32_t ZUN_Free_F(void *pvMem, const char *pcModule, uint32_t ulLine)
{
    (void)pcModule;
    (void)ulLine;
    tp::State &st = tp::S();
    auto it = st.mapLive.find(pvMem);
    if (it == st.mapLive.end()) {
        st.ulBadFrees++;
        return 1u;
    }
    st.mapLive.erase(it);
    free(pvMem);
    return 0u;
}

/* The shared core's memcpy_s, and the one the code under test calls. */
int __real_memcpy_s(void *dest, size_t destMax, const void *src, size_t count);
int __wrap_memcpy_s(void *dest, size_t destMax, const void *src, size_t count)
{
    if (tp::S().bFailMemcpyS && dest != nullptr) {
        memset(dest, 0, destMax);
        return BOL_SEC_EINVAL;
    }
    return __real_memcpy_s(dest, destMax, src, count);
}

void ZUN_Assert(const char *pcModule, uint32_t ulLine, uintptr_t uvValue)
{
    tp::Report stRep;
    stRep.strModule = (pcModule != nullptr) ? pcModule : "";
    stRep.ulLine = ulLine;
    stRep.uvValue = uvValue;
    char acText[128];
    stRep.bIsText = BOL_PlatformProbeReportText(uvValue, acText) != 0u;
    if (stRep.bIsText) {
        stRep.strText = acText;
    }
    tp::S().vecReports.push_back(stRep);
}

void ZUN_GetModuleUsage(uint32_t ulMemModuleId, uint32_t *pulBlocks, uint32_t *pulBytes)
{
    if (pulBlocks != nullptr) {
        *pulBlocks = tp::LiveBlocks(ulMemModuleId);
    }
    if (pulBytes != nullptr) {
        *pulBytes = tp::LiveBytes(ulMemModuleId);
    }
}

}  // extern "C"
