/*
 * Allocation-failure sweeps: for each entry point that allocates more than
 * once (the single allocation of the NLRI, key and attribute message
 * decoders: their fuzz targets), and an input that makes it allocate as
 * much as it can, every allocation fails in turn. Each failure gives the code of what the allocation was for, nothing
 * is allocated after it, nothing leaks and nothing is handed over (or, for
 * message 122, written).
 */
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "attr_test_util.h"
#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "fixture.h"

using at::Bytes;
using bt::Hex;

namespace {

class AllocSweep : public bt::PluginTest {};

int g_iHostCtx;

/* One call of an entry point: its result and what it handed over. */
struct Result {
    uint32_t ulRet;
    void *pvOut;
};

/* The realistic attribute with a standard and a private slice id, so that
 * the private rewrite packs the copy without the private one. */
Bytes SliceIdAttr()
{
    Bytes vecAttr = at::RealisticAttr();
    Bytes vecSubs(vecAttr.begin() + 4, vecAttr.end());
    return at::Tunnel(
        at::Cat({vecSubs, at::Sub(123, Hex("00 00 00 00 00 07")), at::Sub(126, Hex("00 00 00 00 00 09"))}));
}

TEST_F(AllocSweep, EveryAllocationOfEveryEntryPointFails)
{
    const uint32_t M = BOL_ERR_MALLOC;
    const uint32_t N = BOL_SRPOLICY_ERR_NOMEM;
    const uint32_t D = BOL_ERR_NO_DATA; /* the setter's answer to any decode failure */
    void *const pvUntouched = &g_iHostCtx;
    /* For the handlers that store null when they hand nothing over. */
    auto NullIsNothing = [pvUntouched](Result r) {
        return Result{r.ulRet, r.pvOut != nullptr ? r.pvOut : pvUntouched};
    };

    /* Each call works on fresh copies of its input: decoding clears bits in
     * the bytes it is given. */
    auto Pkt = [&](uint32_t ulType, const Bytes &vecIn) {
        return [&, ulType, vecIn]() {
            Bytes v = vecIn;
            uint8_t *pucCur = v.data();
            uint32_t ulMore = 77u;
            Result r = {0u, pvUntouched};
            r.ulRet = m_stTbl.pfnParsePkt(&pucCur, static_cast<uint32_t>(v.size()), &g_iHostCtx, ulType, &r.pvOut,
                                          &ulMore, m_pstInst);
            return r;
        };
    };
    auto Set = [&](uint32_t ulFlags, const Bytes &vecHeld) {
        return [&, ulFlags, vecHeld]() {
            bt::Route rt;
            rt.SetAttr(vecHeld);
            Result r = {0u, pvUntouched};
            r.ulRet = m_stTbl.pfnSetAttr(&rt.stRt, BOL_SRPOLICY_PATTR_TNL_ENCAP, ulFlags, &r.pvOut, m_pstInst);
            return NullIsNothing(r);
        };
    };
    /* The key line borrows the scratch buffer; while it is lent out the line
     * needs a block of its own. */
    auto KeyText = [&]() {
        bt::Route rt;
        rt.SetKey(bt::KeyV4(1, 100, 0x0A000001u));
        char acBuf[256];
        uint32_t ulOffset = 0u;
        uint32_t ulMore = 77u;
        m_pstInst->ulScratchInUse = 1u;
        Result r = {0u, pvUntouched};
        r.ulRet = m_stTbl.pfnData2Str(&rt.stRt, BOL_SRPOLICY_STR_KEY, acBuf, sizeof(acBuf), &ulOffset, &ulMore,
                                      m_pstInst);
        m_pstInst->ulScratchInUse = 0u;
        EXPECT_TRUE(r.ulRet != BOL_OK || ulMore == 0u);
        return r;
    };

    /* Message 122 decodes the stored attribute; a failed decode writes
     * nothing. The cursor standing still is reported as "nothing handed
     * over". */
    auto CondRtAttr = [&](const Bytes &vecHeld) {
        return [&, vecHeld]() {
            bt::Route rt;
            rt.SetAttr(vecHeld);
            uint8_t aucBuf[1024];
            uint8_t *pucCur = aucBuf;
            Result r = {0u, pvUntouched};
            r.ulRet = m_stTbl.pfnFormatMsg(&rt.stRt, BOL_SRPOLICY_MSG_CONDRT_ATTR, &pucCur, sizeof(aucBuf),
                                           m_pstInst);
            if (pucCur != aucBuf) {
                r.pvOut = pucCur;
            }
            return r;
        };
    };
    /* A configured tunnel: preference, binding SID label and one segment
     * list of two labels. */
    at::Cfg stTnl;
    stTnl.st.ucPrefExist = 1u;
    stTnl.st.ulPreference = 100u;
    stTnl.st.ucBsidExist = 1u;
    stTnl.st.ulBsidLabel = 1000u;
    at::SetLabels(stTnl.AddSegList(), {16001u, 16002u});
    auto CfgTnl = [&]() {
        Result r = {0u, pvUntouched};
        r.ulRet = m_stTbl.pfnParseCfg(&stTnl.st, sizeof(stTnl.st), BOL_SRPOLICY_CFG_TNL_ENCAP, &r.pvOut, m_pstInst);
        return NullIsNothing(r);
    };

    struct Row {
        const char *pcName;
        std::function<Result()> fnCall;
        bool bHandsOver; /* a success hands an output block over */
        std::vector<uint32_t> vecCodes; /* the result when allocation k+1 fails */
    } astRows[] = {
        /* record, copy, head, 2 segment lists, candidate path name, policy name, output */
        {"parse 23", Pkt(23, SliceIdAttr()), true, {M, M, M, M, M, N, N, M}},
        /* record, copy, head, SRv6 BSID, policy name, SRv6 BSID, output */
        {"parse 23, SRv6 binding SIDs around a name",
         Pkt(23, at::Tunnel(at::Cat({at::Sub(20, Bytes(18, 0x00)), at::Sub(130, Hex("00 61")),
                                     at::Sub(20, Bytes(18, 0x00))}))),
         true, {M, M, M, M, N, M, M}},
        /* the decode's allocations, the packed copy, the output */
        {"set private slice id", Set(BOL_SRPOLICY_SET_PRIV_SLICE_ID, SliceIdAttr()), true,
         {D, D, D, D, D, D, D, N, M}},
        {"key text, scratch lent out", KeyText, false, {N}},
        /* the decode's allocations: the decoder's own codes */
        {"message 122", CondRtAttr(SliceIdAttr()), false, {M, M, M, M, M, N, N}},
        /* the attribute buffer, the output */
        {"configured tunnel", CfgTnl, true, {N, M}},
    };
    for (const Row &row : astRows) {
        SCOPED_TRACE(row.pcName);
        tp::Reset();
        Result ok = row.fnCall();
        ASSERT_EQ(ok.ulRet, BOL_OK);
        ASSERT_EQ(tp::AllocCalls(), row.vecCodes.size()) << "allocations of a successful call";
        if (row.bHandsOver) {
            ASSERT_NE(ok.pvOut, pvUntouched);
            (void)fz::TakeOutput(ok.pvOut);
        }
        ASSERT_EQ(tp::LiveBlocksAll(), 1u);
        for (size_t k = 0; k < row.vecCodes.size(); k++) {
            SCOPED_TRACE(testing::Message() << "allocation " << k + 1 << " fails");
            tp::Reset();
            tp::FailNthAlloc(static_cast<uint32_t>(k + 1));
            Result r = row.fnCall();
            EXPECT_EQ(r.ulRet, row.vecCodes[k]);
            EXPECT_EQ(r.pvOut, pvUntouched) << "nothing handed over";
            EXPECT_EQ(tp::AllocCalls(), k + 1) << "nothing allocated after the failure";
            EXPECT_EQ(tp::LiveBlocksAll(), 1u) << "only the instance stays live";
            EXPECT_EQ(tp::BadFrees(), 0u);
            const std::string strName = row.pcName;
            if (strName.rfind("parse 23", 0) == 0 || strName.rfind("key text", 0) == 0) {
                EXPECT_GE(ReportCount(), 1u) << "the failed allocation is reported";
            }
        }
    }
}

}  // namespace
