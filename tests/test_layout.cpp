/*
 * The records shared with the host: their compile-time layout is checked by
 * including the library's layout assertions here too, and the records a host
 * fills byte by byte are checked through those bytes.
 */
#include <gtest/gtest.h>
#include <string.h>

#include "bol_srpolicy.h"
#include "bol_srpolicy_layout.h"

namespace {

TEST(Layout, ProcTableSlotsAreAtTheirOffsets)
{
    BOL_PROC_TBL_S stTbl;
    memset(&stTbl, 0, sizeof(stTbl));
    BOL_SRPOLICY_InitProcTbl(&stTbl);
    const uint8_t *puc = reinterpret_cast<const uint8_t *>(&stTbl);
    /* The announced type lists as little-endian words at 12, 92, 172, 252. */
    uint32_t ul;
    memcpy(&ul, puc + 12, 4);
    EXPECT_EQ(ul, 14u);
    memcpy(&ul, puc + 92 + 8, 4);
    EXPECT_EQ(ul, 122u);
    memcpy(&ul, puc + 172 + 4, 4);
    EXPECT_EQ(ul, 5u);
    memcpy(&ul, puc + 252, 4);
    EXPECT_EQ(ul, 47u);
    EXPECT_EQ(reinterpret_cast<const uint8_t *>(&stTbl.pfnParsePkt) - puc,
              static_cast<ptrdiff_t>(BOL_PROC_SLOT(532u)));
#if UINTPTR_MAX == 0xFFFFFFFFu
    EXPECT_EQ(sizeof(void *), 4u);
#endif
}

TEST(Layout, ConfiguredPrefixIsPacked)
{
    EXPECT_EQ(sizeof(BOL_SRPOLICY_CFG_PREFIX_S), 89u);
}

}  // namespace
