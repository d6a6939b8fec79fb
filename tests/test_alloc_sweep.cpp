/*
 * Allocation failures of the attribute decoder and of the key line: each
 * allocation a decode of the realistic attribute makes fails in turn and
 * gives the code of what it was for, is reported, and leaves nothing live or
 * handed over (the failures of the other entry points: their fuzz targets,
 * whose seeds plan them).
 */
#include <gtest/gtest.h>

#include "attr_test_util.h"
#include "bol_srpolicy.h"
#include "fixture.h"

namespace {

class AllocSweep : public bt::PluginTest {};

TEST_F(AllocSweep, EveryAllocationOfTheDecoderFailsInTurn)
{
    const fz::Host stHost{m_stTbl, m_pstInst};
    const bt::Bytes vecAttr = at::RealisticAttr();
    /* record, copy, list head, two segment lists, candidate path name, policy name, output */
    const uint32_t aulCodes[] = {BOL_ERR_MALLOC,         BOL_ERR_MALLOC,         BOL_ERR_MALLOC, BOL_ERR_MALLOC,
                                 BOL_ERR_MALLOC,         BOL_SRPOLICY_ERR_NOMEM, BOL_SRPOLICY_ERR_NOMEM,
                                 BOL_ERR_MALLOC};
    for (uint32_t k = 1; k <= 8u; k++) {
        SCOPED_TRACE(testing::Message() << "allocation " << k << " fails");
        tp::Reset();
        tp::FailNthAlloc(k);
        EXPECT_EQ(fz::DecodeAttr(stHost, vecAttr).ulRet, aulCodes[k - 1u]);
        EXPECT_EQ(tp::AllocCalls(), k) << "nothing allocated after the failure";
        EXPECT_GE(ReportCount(), 1u) << "the failed allocation is reported";
        EXPECT_EQ(tp::LiveBlocksAll(), 1u) << "only the instance stays live";
    }
    tp::Reset();
    EXPECT_EQ(fz::DecodeAttr(stHost, vecAttr).ulRet, BOL_OK);
    EXPECT_EQ(tp::AllocCalls(), 8u);
    /* An SRv6 binding SID's node: the fourth allocation. */
    tp::Reset();
    tp::FailNthAlloc(4u);
    EXPECT_EQ(fz::DecodeAttr(stHost, at::Tunnel(at::Sub(20, bt::Bytes(18, 0u)))).ulRet, BOL_ERR_MALLOC);
    EXPECT_EQ(ReportCount(), 1u);

    /* The key line borrows the scratch buffer; while it is lent out the line
     * needs a block of its own. */
    bt::Route rt;
    rt.SetKey(bt::KeyV4(1, 100, 0x0A000001u));
    m_pstInst->ulScratchInUse = 1u;
    tp::Reset();
    tp::FailNthAlloc(1u);
    EXPECT_EQ(fz::Render(stHost, rt, BOL_SRPOLICY_STR_KEY, 256u, 0u).ulRet, BOL_SRPOLICY_ERR_NOMEM);
    EXPECT_EQ(ReportCount(), 1u);
    m_pstInst->ulScratchInUse = 0u;
}

}  // namespace
