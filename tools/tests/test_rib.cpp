/* The route table: replace on announce, remove on withdraw, sources apart. */
#include <gtest/gtest.h>

#include <vector>

#include "plugin/describer.h"
#include "rib/rib.h"

namespace srp {
namespace {

RibKey Key(uint16_t usAfi, uint32_t ulDist, uint32_t ulColor, uint32_t ulEndpointLast)
{
    RibKey st;
    st.usAfi = usAfi;
    st.stKey.ucNlriLen = usAfi == 1u ? 96u : 192u;
    st.stKey.ulDistinguisher = ulDist;
    st.stKey.ulPolicyColor = ulColor;
    st.stKey.aulEndpoint[usAfi == 1u ? 0 : 3] = ulEndpointLast;
    return st;
}

RibSource Peer(const char *pcPeer, RibView eView = RibView::Received)
{
    RibSource st;
    st.strPeer = pcPeer;
    st.eView = eView;
    return st;
}

struct Op {
    bool bAnnounce;
    RibSource stSource;
    RibKey stKey;
    const char *pcNextHop; /* announcements */
    bool bHeld;            /* withdrawals: the source held the key */
};

TEST(Rib, AnnounceReplacesWithdrawRemoves)
{
    const RibSource a = Peer("127.0.0.2");
    const RibSource b = Peer("127.0.0.3");
    const RibSource aPost = Peer("127.0.0.2", RibView::PostPolicy);
    struct Row {
        const char *pcName;
        std::vector<Op> vecOps;
        size_t ulSize;
        size_t ulSizeA;
        const char *pcNextHopA1; /* next hop a holds for Key(1,1,100,1), or null for none */
    };
    const Row aRows[] = {
        {"announce", {{true, a, Key(1, 1, 100, 1), "192.0.2.1", false}}, 1, 1, "192.0.2.1"},
        {"replace", {{true, a, Key(1, 1, 100, 1), "192.0.2.1", false}, {true, a, Key(1, 1, 100, 1), "192.0.2.9", false}},
         1, 1, "192.0.2.9"},
        {"withdraw", {{true, a, Key(1, 1, 100, 1), "192.0.2.1", false}, {false, a, Key(1, 1, 100, 1), nullptr, true}},
         0, 0, nullptr},
        {"withdraw unknown", {{false, a, Key(1, 1, 100, 1), nullptr, false}}, 0, 0, nullptr},
        {"every key field tells routes apart",
         {{true, a, Key(1, 1, 100, 1), "192.0.2.1", false}, {true, a, Key(2, 1, 100, 1), "2001:db8::1", false},
          {true, a, Key(1, 2, 100, 1), "192.0.2.1", false}, {true, a, Key(1, 1, 101, 1), "192.0.2.1", false},
          {true, a, Key(1, 1, 100, 2), "192.0.2.1", false}},
         5, 5, "192.0.2.1"},
        {"sources and views are apart",
         {{true, a, Key(1, 1, 100, 1), "192.0.2.1", false}, {true, b, Key(1, 1, 100, 1), "192.0.2.2", false},
          {true, aPost, Key(1, 1, 100, 1), "192.0.2.3", false}, {false, b, Key(1, 1, 100, 1), nullptr, true}},
         2, 1, "192.0.2.1"},
        {"withdraw from another source", {{true, a, Key(1, 1, 100, 1), "192.0.2.1", false},
                                          {false, b, Key(1, 1, 100, 1), nullptr, false}},
         1, 1, "192.0.2.1"},
    };
    for (const Row &row : aRows) {
        SCOPED_TRACE(row.pcName);
        Rib rib;
        for (const Op &op : row.vecOps) {
            if (op.bAnnounce) {
                RibRoute st;
                st.strNextHop = op.pcNextHop;
                rib.Announce(op.stSource, op.stKey, st);
            } else {
                EXPECT_EQ(rib.Withdraw(op.stSource, op.stKey), op.bHeld);
            }
        }
        EXPECT_EQ(rib.Size(), row.ulSize);
        EXPECT_EQ(rib.Size(a), row.ulSizeA);
        const RibRoute *p = rib.Find(a, Key(1, 1, 100, 1));
        ASSERT_EQ(p != nullptr, row.pcNextHopA1 != nullptr);
        if (p != nullptr) {
            EXPECT_EQ(p->strNextHop, row.pcNextHopA1);
        }
    }
}

TEST(Rib, WalkOrderAndClear)
{
    Rib rib;
    const RibSource a = Peer("127.0.0.2");
    const RibSource b = Peer("127.0.0.3");
    rib.Announce(b, Key(1, 1, 5, 1), {});
    rib.Announce(a, Key(2, 1, 5, 1), {});
    rib.Announce(a, Key(1, 1, 7, 1), {});
    rib.Announce(a, Key(1, 1, 5, 9), {});
    rib.Announce(a, Key(1, 1, 5, 2), {});
    std::vector<std::pair<std::string, RibKey>> vecSeen;
    rib.ForEach([&](const RibSource &s, const RibKey &k, const RibRoute &) { vecSeen.emplace_back(s.strPeer, k); });
    const std::vector<std::pair<std::string, RibKey>> vecWant = {
        {"127.0.0.2", Key(1, 1, 5, 2)}, {"127.0.0.2", Key(1, 1, 5, 9)}, {"127.0.0.2", Key(1, 1, 7, 1)},
        {"127.0.0.2", Key(2, 1, 5, 1)}, {"127.0.0.3", Key(1, 1, 5, 1)}};
    EXPECT_EQ(vecSeen, vecWant);
    EXPECT_EQ(rib.Clear(a), 4u);
    EXPECT_EQ(rib.Clear(a), 0u);
    EXPECT_EQ(rib.Size(), 1u);
}

/* A described UPDATE into the table: a refused attribute takes the routes it
 * came with out (treat-as-withdraw); withdrawals remove; the rest replace. */
TEST(Rib, ApplyUpdate)
{
    const RibSource a = Peer("127.0.0.2");
    auto Routes = [](std::vector<std::pair<RibKey, bool>> vec) {
        DescribedUpdate st;
        for (const auto &p : vec) {
            DescribedRoute stRoute;
            stRoute.usAfi = p.first.usAfi;
            stRoute.stKey = p.first.stKey;
            stRoute.bWithdrawn = p.second;
            st.vecRoutes.push_back(stRoute);
        }
        st.strNextHop = "127.0.0.9";
        st.stAttr.bPresent = true;
        st.stAttr.vecNormalised = {0x00, 0x0f};
        return st;
    };
    DescribedUpdate stRefused = Routes({{Key(1, 1, 100, 1), false}});
    stRefused.stAttr.bPresent = false;
    stRefused.stAttr.ulError = 0x50002u;
    DescribedUpdate stBare = Routes({{Key(1, 1, 100, 3), false}});
    stBare.stAttr.bPresent = false;
    struct Row {
        const char *pcName;
        DescribedUpdate stUpdate;
        size_t ulTreated;
        std::vector<RibKey> vecLeft;
    };
    const Row aRows[] = {
        {"announce two", Routes({{Key(1, 1, 100, 1), false}, {Key(2, 1, 100, 1), false}}), 0,
         {Key(1, 1, 100, 1), Key(1, 1, 100, 2), Key(2, 1, 100, 1)}},
        {"withdraw one", Routes({{Key(1, 1, 100, 2), true}}), 0, {Key(1, 1, 100, 1)}},
        {"refused attribute withdraws", stRefused, 1, {Key(1, 1, 100, 2)}},
        {"no attribute still installs", stBare, 0, {Key(1, 1, 100, 1), Key(1, 1, 100, 2), Key(1, 1, 100, 3)}},
    };
    for (const Row &row : aRows) {
        SCOPED_TRACE(row.pcName);
        Rib rib;
        rib.Announce(a, Key(1, 1, 100, 1), {});
        rib.Announce(a, Key(1, 1, 100, 2), {});
        EXPECT_EQ(ApplyUpdate(rib, a, row.stUpdate, 5.0), row.ulTreated);
        std::vector<RibKey> vecLeft;
        rib.ForEach([&](const RibSource &, const RibKey &k, const RibRoute &) { vecLeft.push_back(k); });
        EXPECT_EQ(vecLeft, row.vecLeft);
    }
    Rib rib;
    ApplyUpdate(rib, a, Routes({{Key(1, 1, 100, 1), false}}), 5.0);
    const RibRoute *p = rib.Find(a, Key(1, 1, 100, 1));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->strNextHop, "127.0.0.9");
    EXPECT_EQ(p->vecAttr, (Bytes{0x00, 0x0f}));
    EXPECT_TRUE(p->bHasAttr);
    EXPECT_DOUBLE_EQ(p->dReceived, 5.0);
}

}  // namespace
}  // namespace srp
