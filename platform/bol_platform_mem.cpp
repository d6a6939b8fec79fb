/*
 * Default platform: memory modules backed by the system allocator with
 * per-module counts of live blocks and bytes, and assertion reports on
 * standard error as "module:line value" (a report text as text).
 */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "bol_platform.h"

namespace {

/* Every block carries its module and size in front of it, aligned so that the
 * caller's part keeps the allocator's alignment. */
union BlockHeader {
    struct {
        uint32_t ulModule;
        uint32_t ulSize;
        uint32_t ulClassed; /* allocated at its size class's full size: may go to the cache */
    } st;
    max_align_t stAlign;
};

struct ModuleUsage {
    uint32_t ulModule;
    uint32_t ulBlocks;
    uint32_t ulBytes;
};

const size_t kModuleSlots = 64u;

/* A lock for the few instructions of an update to the counts: held for
 * less time than a system mutex takes to lock. A caller that finds it held
 * gives up its time slice until it is free (the holder may be waiting for
 * the processor). */
class CountLock {
public:
    void lock()
    {
        while (m_bHeld.exchange(true, std::memory_order_acquire)) {
            while (m_bHeld.load(std::memory_order_relaxed)) {
                std::this_thread::yield();
            }
        }
    }
    void unlock() { m_bHeld.store(false, std::memory_order_release); }

private:
    std::atomic<bool> m_bHeld{false};
};

struct Accounting {
    CountLock mtx;
    ModuleUsage astUsage[kModuleSlots] = {};
    uint32_t ulUsed = 0u;
};

Accounting &TheAccounting()
{
    static Accounting s_stAccounting;
    return s_stAccounting;
}

/* The usage slot of a module, created on first use; null when all slots
 * are taken (the block is then served but not counted). */
ModuleUsage *UsageOf(Accounting &stAcc, uint32_t ulModule, bool bCreate)
{
    for (uint32_t i = 0; i < stAcc.ulUsed; i++) {
        if (stAcc.astUsage[i].ulModule == ulModule) {
            return &stAcc.astUsage[i];
        }
    }
    if (!bCreate || stAcc.ulUsed == kModuleSlots) {
        return nullptr;
    }
    ModuleUsage *pstUsage = &stAcc.astUsage[stAcc.ulUsed++];
    pstUsage->ulModule = ulModule;
    return pstUsage;
}

/* Freed blocks kept per thread for reuse, by size (the header's size, up
 * to kCachedMax bytes in steps of 16), each list linked through the blocks'
 * own bytes. Off until a host asks for it. */
const uint32_t kCachedMax = 256u;
const uint32_t kCacheStep = 16u;
std::atomic<uint32_t> g_ulCacheLimit{0u};

struct BlockCache {
    BlockHeader *apstFree[kCachedMax / kCacheStep] = {};
    uint32_t aulCount[kCachedMax / kCacheStep] = {};
    uint32_t ulTotal = 0u;

    static uint32_t Slot(uint32_t ulSize) { return (ulSize - 1u) / kCacheStep; }
    void Release()
    {
        for (uint32_t i = 0; i < kCachedMax / kCacheStep; i++) {
            while (apstFree[i] != nullptr) {
                BlockHeader *pstHdr = apstFree[i];
                apstFree[i] = *reinterpret_cast<BlockHeader **>(pstHdr + 1);
                free(pstHdr);
            }
            aulCount[i] = 0u;
        }
        ulTotal = 0u;
    }
    ~BlockCache() { Release(); }
};

BlockCache &TheBlockCache()
{
    thread_local BlockCache t_stCache;
    return t_stCache;
}

/* A block for ulSize bytes after its header: from the cache when it holds
 * one of its size class; blocks of a class are all allocated at the class's
 * full size so that any of them fits. */
BlockHeader *TakeBlock(uint32_t ulSize)
{
    if (ulSize <= kCachedMax && g_ulCacheLimit.load(std::memory_order_relaxed) != 0u) {
        BlockCache &stCache = TheBlockCache();
        uint32_t ulSlot = BlockCache::Slot(ulSize);
        BlockHeader *pstHdr = stCache.apstFree[ulSlot];
        if (pstHdr != nullptr) {
            stCache.apstFree[ulSlot] = *reinterpret_cast<BlockHeader **>(pstHdr + 1);
            stCache.aulCount[ulSlot]--;
            stCache.ulTotal--;
            return pstHdr;
        }
        pstHdr = static_cast<BlockHeader *>(malloc(sizeof(BlockHeader) + static_cast<size_t>(ulSlot + 1u) * kCacheStep));
        if (pstHdr != nullptr) {
            pstHdr->st.ulClassed = 1u;
        }
        return pstHdr;
    }
    BlockHeader *pstHdr = static_cast<BlockHeader *>(malloc(sizeof(BlockHeader) + static_cast<size_t>(ulSize)));
    if (pstHdr != nullptr) {
        pstHdr->st.ulClassed = 0u;
    }
    return pstHdr;
}

void GiveBlock(BlockHeader *pstHdr)
{
    uint32_t ulSize = pstHdr->st.ulSize;
    uint32_t ulLimit = g_ulCacheLimit.load(std::memory_order_relaxed);
    if (pstHdr->st.ulClassed != 0u && ulLimit != 0u) {
        BlockCache &stCache = TheBlockCache();
        if (stCache.ulTotal < ulLimit) {
            uint32_t ulSlot = BlockCache::Slot(ulSize);
            *reinterpret_cast<BlockHeader **>(pstHdr + 1) = stCache.apstFree[ulSlot];
            stCache.apstFree[ulSlot] = pstHdr;
            stCache.aulCount[ulSlot]++;
            stCache.ulTotal++;
            return;
        }
    }
    free(pstHdr);
}

/* Where assertion reports go when not to standard error. */
struct ReportHook {
    std::mutex mtx;
    BOL_PLATFORM_REPORT_FN pfn = nullptr;
    void *pvCtx = nullptr;
};

ReportHook &TheReportHook()
{
    static ReportHook stHook;
    return stHook;
}

} /* namespace */

extern "C" {

void *ZUN_SimpleAlloc_F(uint32_t ulMemModuleId, uint32_t ulSize, const char *pcModule, uint32_t ulLine)
{
    (void)pcModule;
    (void)ulLine;
    size_t ulTotal = sizeof(BlockHeader) + static_cast<size_t>(ulSize);
    if (ulSize == 0u || ulTotal < ulSize) {
        return nullptr;
    }
    BlockHeader *pstHdr = TakeBlock(ulSize);
    if (pstHdr == nullptr) {
        return nullptr;
    }
    pstHdr->st.ulModule = ulMemModuleId;
    pstHdr->st.ulSize = ulSize;

    Accounting &stAcc = TheAccounting();
    std::lock_guard<CountLock> lock(stAcc.mtx);
    ModuleUsage *pstUsage = UsageOf(stAcc, ulMemModuleId, true);
    if (pstUsage != nullptr) {
        pstUsage->ulBlocks++;
        pstUsage->ulBytes += ulSize;
    }
    return pstHdr + 1;
}

uint32_t ZUN_Free_F(void *pvMem, const char *pcModule, uint32_t ulLine)
{
    (void)pcModule;
    (void)ulLine;
    if (pvMem == nullptr) {
        return 1u;
    }
    BlockHeader *pstHdr = static_cast<BlockHeader *>(pvMem) - 1;
    {
        Accounting &stAcc = TheAccounting();
        std::lock_guard<CountLock> lock(stAcc.mtx);
        ModuleUsage *pstUsage = UsageOf(stAcc, pstHdr->st.ulModule, false);
        if (pstUsage != nullptr) {
            pstUsage->ulBlocks--;
            pstUsage->ulBytes -= pstHdr->st.ulSize;
        }
    }
    GiveBlock(pstHdr);
    return 0u;
}

void BOL_PlatformSetBlockCache(uint32_t ulBlocks)
{
    g_ulCacheLimit.store(ulBlocks, std::memory_order_relaxed);
    if (ulBlocks == 0u) {
        TheBlockCache().Release();
    }
}

void ZUN_GetModuleUsage(uint32_t ulMemModuleId, uint32_t *pulBlocks, uint32_t *pulBytes)
{
    Accounting &stAcc = TheAccounting();
    std::lock_guard<CountLock> lock(stAcc.mtx);
    const ModuleUsage *pstUsage = UsageOf(stAcc, ulMemModuleId, false);
    if (pulBlocks != nullptr) {
        *pulBlocks = (pstUsage != nullptr) ? pstUsage->ulBlocks : 0u;
    }
    if (pulBytes != nullptr) {
        *pulBytes = (pstUsage != nullptr) ? pstUsage->ulBytes : 0u;
    }
}

void BOL_PlatformSetReportHook(BOL_PLATFORM_REPORT_FN pfnReport, void *pvCtx)
{
    ReportHook &stHook = TheReportHook();
    std::lock_guard<std::mutex> lock(stHook.mtx);
    stHook.pfn = pfnReport;
    stHook.pvCtx = pvCtx;
}

void ZUN_Assert(const char *pcModule, uint32_t ulLine, uintptr_t uvValue)
{
    char acText[128];
    const char *pcWho = (pcModule != nullptr) ? pcModule : "?";
    if (BOL_PlatformProbeReportText(uvValue, acText) == 0u) {
        (void)snprintf(acText, sizeof(acText), "%#llx", static_cast<unsigned long long>(uvValue));
    }
    BOL_PLATFORM_REPORT_FN pfn;
    void *pvCtx;
    {
        ReportHook &stHook = TheReportHook();
        std::lock_guard<std::mutex> lock(stHook.mtx);
        pfn = stHook.pfn;
        pvCtx = stHook.pvCtx;
    }
    if (pfn != nullptr) {
        pfn(pvCtx, pcWho, ulLine, acText);
    } else {
        (void)fprintf(stderr, "%s:%u %s\n", pcWho, ulLine, acText);
    }
}

} /* extern "C" */
