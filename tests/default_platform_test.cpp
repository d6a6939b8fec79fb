/*
 * The default platform a host links: per-module accounting and assertion
 * reports on standard error.
 */
#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include "bol_platform.h"

namespace {

/* Blocks and bytes are counted per module. With the block cache on, freed
 * blocks come back for later allocations of their size class: every block
 * must still hold the size asked for (filled whole here, which a memory
 * checker watches), counts must be unchanged, and a block allocated before
 * the cache was turned on must never be handed out for a larger size of its
 * class. */
TEST(DefaultPlatform, BlockCacheKeepsSizesAndCounts)
{
    const uint32_t kModule = 4444u;
    void *pvOther = ZUN_SimpleAlloc_F(4343u, 5u, "test", __LINE__);     // another module's, counted apart
    void *pvEarly = ZUN_SimpleAlloc_F(kModule, 17u, "test", __LINE__);  // exact size, before the cache
    ASSERT_TRUE(pvOther != nullptr && pvEarly != nullptr);
    BOL_PlatformSetBlockCache(4u);
    (void)ZUN_Free_F(pvEarly, "test", __LINE__);
    struct Round {
        uint32_t aulSizes[4];
    } astRounds[] = {
        {{17u, 32u, 1u, 256u}},   // 17 and 32 share a class with the early block
        {{32u, 17u, 255u, 16u}},  // the blocks just freed come back in other orders
        {{257u, 1000u, 31u, 2u}}, // beyond the cached sizes, and small ones again
        {{32u, 32u, 32u, 32u}},   // more of one class than the cache keeps
    };
    for (size_t r = 0; r < 2u * (sizeof(astRounds) / sizeof(astRounds[0])); r++) {
        const Round &st = astRounds[r % (sizeof(astRounds) / sizeof(astRounds[0]))];
        SCOPED_TRACE(r);
        void *apv[4];
        uint32_t ulWantBytes = 0;
        for (size_t i = 0; i < 4u; i++) {
            apv[i] = ZUN_SimpleAlloc_F(kModule, st.aulSizes[i], "test", __LINE__);
            ASSERT_NE(apv[i], nullptr);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(apv[i]) % alignof(max_align_t), 0u);
            memset(apv[i], 0xA5, st.aulSizes[i]);
            ulWantBytes += st.aulSizes[i];
        }
        for (size_t i = 0; i < 4u; i++) {
            for (size_t k = i + 1u; k < 4u; k++) {
                EXPECT_NE(apv[i], apv[k]);
            }
        }
        uint32_t ulBlocks = 0, ulBytes = 0;
        ZUN_GetModuleUsage(kModule, &ulBlocks, &ulBytes);
        EXPECT_EQ(ulBlocks, 4u);
        EXPECT_EQ(ulBytes, ulWantBytes);
        for (void *pv : apv) {
            (void)ZUN_Free_F(pv, "test", __LINE__);
        }
        ZUN_GetModuleUsage(kModule, &ulBlocks, &ulBytes);
        EXPECT_EQ(ulBlocks, 0u);
        EXPECT_EQ(ulBytes, 0u);
    }
    uint32_t ulBlocks = 0, ulBytes = 0;
    ZUN_GetModuleUsage(4343u, &ulBlocks, &ulBytes);
    EXPECT_EQ(ulBlocks, 1u);
    EXPECT_EQ(ulBytes, 5u);
    (void)ZUN_Free_F(pvOther, "test", __LINE__);
    BOL_PlatformSetBlockCache(0u);  // releases what the cache kept
    EXPECT_EQ(ZUN_SimpleAlloc_F(kModule, 0, "test", __LINE__), nullptr);
    EXPECT_NE(ZUN_Free_F(nullptr, "test", __LINE__), 0u);
}

TEST(DefaultPlatform, ReportHookTakesReportsUntilCleared)
{
    std::vector<std::string> vecSeen;
    BOL_PlatformSetReportHook(
        [](void *pvCtx, const char *pcModule, uint32_t ulLine, const char *pcText) {
            static_cast<std::vector<std::string> *>(pvCtx)->push_back(std::string(pcModule) + ":" +
                                                                       std::to_string(ulLine) + " " + pcText);
        },
        &vecSeen);
    testing::internal::CaptureStderr();
    char acText[128] = "retCode:34";
    ZUN_Assert("bol_srpolicy_parse", 611, 0x1f);
    ZUN_Assert(nullptr, 7, reinterpret_cast<uintptr_t>(acText));
    BOL_PlatformSetReportHook(nullptr, nullptr);
    ZUN_Assert("bol_srpolicy", 9, 0);
    ZUN_Assert("bol_srpolicy_parse", 120, reinterpret_cast<uintptr_t>(acText));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "bol_srpolicy:9 0\nbol_srpolicy_parse:120 retCode:34\n");
    EXPECT_EQ(vecSeen, (std::vector<std::string>{"bol_srpolicy_parse:611 0x1f", "?:7 retCode:34"}));
}

}  // namespace
