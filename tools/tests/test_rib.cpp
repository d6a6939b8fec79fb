/* The route table: replace on announce, remove on withdraw, sources apart,
 * and described UPDATEs applied to it. */
#include <gtest/gtest.h>

#include <vector>

#include "common/event.h"
#include "plugin/describer.h"
#include "rib/rib.h"

namespace srp {
namespace {

/* A key of family usAfi; the endpoint's word ulWord (the last of an IPv4
 * endpoint's one) is ulEndpoint. */
RibKey Key(uint16_t usAfi, uint32_t ulDist, uint32_t ulColor, uint32_t ulEndpoint, size_t ulWord = 3)
{
    RibKey st;
    st.usAfi = usAfi;
    st.stKey.ucNlriLen = usAfi == 1u ? 96u : 192u;
    st.stKey.ulDistinguisher = ulDist;
    st.stKey.ulPolicyColor = ulColor;
    st.stKey.aulEndpoint[usAfi == 1u ? 0 : ulWord] = ulEndpoint;
    return st;
}

/* The table in walk order: "peer/view afi:dist:color:endpoint words=next hop,
 * + when it holds the attribute, its bytes, @ the time of arrival" per route,
 * then the sizes of the whole and of peer a. */
std::string Dump(const Rib &rib, const RibSource &a)
{
    std::string s;
    rib.ForEach([&](const RibSource &stSource, const RibKey &k, const RibRoute &r) {
        s += stSource.strPeer + "/" + std::to_string(static_cast<int>(stSource.eView)) + " " + std::to_string(k.usAfi) +
             ":" + std::to_string(k.stKey.ulDistinguisher) + ":" + std::to_string(k.stKey.ulPolicyColor) + ":";
        for (uint32_t ul : k.stKey.aulEndpoint) {
            s += std::to_string(ul) + ".";
        }
        s += "=" + r.strNextHop + (r.bHasAttr ? "+" : "") + ToHex(r.vecAttr);
        s += (r.dReceived != 0.0 ? "@" + std::to_string(static_cast<int>(r.dReceived)) : "") + " ";
    });
    return s + "size " + std::to_string(rib.Size()) + "/" + std::to_string(rib.Size(a));
}

TEST(Rib, AnnounceWithdrawClearInWalkOrder)
{
    RibSource a;
    RibSource b;
    RibSource aPost;
    a.strPeer = aPost.strPeer = "a";
    b.strPeer = "b";
    aPost.eView = RibView::PostPolicy;
    struct Step {
        /* Announce, Withdraw, Clear; a described UPDATE of the key: announced
         * (U), withdrawn (X), without the attribute (N), or with one the plug-in
         * refused (R: treat-as-withdraw) */
        char cOp;
        const RibSource *pSource;
        RibKey stKey;
        const char *pcNextHop;
        size_t ulResult; /* withdrawals: held; clear: removed */
        const char *pcTable;
    };
    const Step astSteps[] = {
        {'A', &a, Key(1, 1, 100, 1), "nh1", 0, "a/0 1:1:100:1.0.0.0.=nh1 size 1/1"},
        {'A', &a, Key(1, 1, 100, 1), "nh9", 0, "a/0 1:1:100:1.0.0.0.=nh9 size 1/1"},
        {'W', &b, Key(1, 1, 100, 1), "", 0, "a/0 1:1:100:1.0.0.0.=nh9 size 1/1"},
        {'W', &a, Key(1, 1, 100, 2), "", 0, "a/0 1:1:100:1.0.0.0.=nh9 size 1/1"},
        {'A', &b, Key(1, 1, 100, 1), "nhb", 0, "a/0 1:1:100:1.0.0.0.=nh9 b/0 1:1:100:1.0.0.0.=nhb size 2/1"},
        {'A', &aPost, Key(1, 1, 100, 1), "nhp", 0,
         "a/0 1:1:100:1.0.0.0.=nh9 a/2 1:1:100:1.0.0.0.=nhp b/0 1:1:100:1.0.0.0.=nhb size 3/1"},
        {'W', &b, Key(1, 1, 100, 1), "", 1, "a/0 1:1:100:1.0.0.0.=nh9 a/2 1:1:100:1.0.0.0.=nhp size 2/1"},
        {'C', &aPost, {}, "", 1, "a/0 1:1:100:1.0.0.0.=nh9 size 1/1"},
        /* every key field tells routes apart, and orders them */
        {'A', &a, Key(2, 1, 5, 1, 2), "", 0, ""},
        {'A', &a, Key(2, 1, 5, 1, 1), "", 0, ""},
        {'A', &a, Key(2, 1, 5, 1, 0), "", 0, ""},
        {'A', &a, Key(2, 1, 5, 1), "", 0, ""},
        {'A', &a, Key(1, 2, 5, 1), "", 0, ""},
        {'A', &a, Key(1, 1, 100, 0), "", 0, ""},
        {'A', &a, Key(1, 1, 99, 2), "", 0,
         "a/0 1:1:99:2.0.0.0.= a/0 1:1:100:0.0.0.0.= a/0 1:1:100:1.0.0.0.=nh9 a/0 1:2:5:1.0.0.0.= a/0 2:1:5:0.0.0.1.= "
         "a/0 2:1:5:0.0.1.0.= a/0 2:1:5:0.1.0.0.= a/0 2:1:5:1.0.0.0.= size 8/8"},
        {'W', &a, Key(1, 1, 100, 1), "", 1, ""},
        {'C', &a, {}, "", 7, "size 0/0"},
        {'C', &a, {}, "", 0, "size 0/0"},
        {'U', &a, Key(1, 1, 100, 1), "", 0, "a/0 1:1:100:1.0.0.0.=nh+000f@5 size 1/1"},
        {'N', &a, Key(2, 1, 100, 1), "", 0, "a/0 1:1:100:1.0.0.0.=nh+000f@5 a/0 2:1:100:0.0.0.1.=nh000f@5 size 2/2"},
        {'X', &a, Key(2, 1, 100, 1), "", 0, "a/0 1:1:100:1.0.0.0.=nh+000f@5 size 1/1"},
        {'R', &a, Key(1, 1, 100, 1), "", 1, "size 0/0"},
    };
    Rib rib;
    for (const Step &st : astSteps) {
        SCOPED_TRACE(std::string(1, st.cOp) + " " + Dump(rib, a));
        size_t ulResult = 0;
        if (st.cOp == 'A') {
            RibRoute stRoute;
            stRoute.strNextHop = st.pcNextHop;
            rib.Announce(*st.pSource, st.stKey, stRoute);
        } else if (st.cOp == 'W' || st.cOp == 'C') {
            ulResult = st.cOp == 'W' ? size_t{rib.Withdraw(*st.pSource, st.stKey)} : rib.Clear(*st.pSource);
        } else {
            DescribedUpdate stUpdate;
            stUpdate.vecRoutes.resize(1u);
            stUpdate.vecRoutes[0].usAfi = st.stKey.usAfi;
            stUpdate.vecRoutes[0].stKey = st.stKey.stKey;
            stUpdate.vecRoutes[0].bWithdrawn = st.cOp == 'X';
            stUpdate.strNextHop = "nh";
            stUpdate.stAttr.bPresent = st.cOp == 'U' || st.cOp == 'X';
            stUpdate.stAttr.ulError = st.cOp == 'R' ? 0x50002u : 0u;
            stUpdate.stAttr.vecNormalised = {0x00, 0x0f};
            ulResult = ApplyUpdate(rib, *st.pSource, stUpdate, 5.0);
        }
        EXPECT_EQ(ulResult, st.ulResult);
        if (*st.pcTable != '\0') {
            EXPECT_EQ(Dump(rib, a), st.pcTable);
        }
    }
    EXPECT_EQ(rib.Find(a, Key(1, 1, 100, 1)), nullptr);
}

/* The arrival time the table and live events carry; the rows change second,
 * keep it, and go back, so a cached second is never shown for another. */
TEST(Rib, ArrivalTimeText)
{
    const std::pair<int64_t, const char *> aRows[] = {
        {1764000000123456, "2025-11-24T16:00:00.123456Z"}, {1764000000000007, "2025-11-24T16:00:00.000007Z"},
        {1764000001999999, "2025-11-24T16:00:01.999999Z"}, {0, "1970-01-01T00:00:00.000000Z"},
        {-1, "1969-12-31T23:59:59.999999Z"},               {1764000000123456, "2025-11-24T16:00:00.123456Z"},
    };
    for (const auto &row : aRows) {
        EXPECT_EQ(EventTimeText(row.first), row.second);
    }
}

}  // namespace
}  // namespace srp
