/* The route table: announced paths are held once and shared, replaced,
 * withdrawn and cleared routes give their share back, and no route sees
 * another's path. */
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "plugin/describer.h"
#include "rib/rib.h"

namespace {

using srp::Bytes;

/* One step on the table: an UPDATE from a peer (routes by endpoint,
 * announced with the attribute byte and next hop given, or withdrawn), or
 * the end of a peer's session; then what every route of the table holds
 * ("peer endpoint=attr@nexthop", in table order) and how many distinct
 * paths the table keeps. */
struct Step {
    const char *pcWhat;
    const char *pcPeer;
    std::vector<uint32_t> vecEndpoints;
    int iAttr; /* -1: withdraw; -2: the session ends (the peer's routes go) */
    const char *pcNextHop;
    const char *pcTable;
    size_t ulPaths;
};

std::string TableText(const srp::Rib &rib)
{
    std::string str;
    rib.ForEach([&](const srp::RibSource &stSource, const srp::RibKey &stKey, const srp::RibRoute &stRoute) {
        str += (str.empty() ? "" : " ") + stSource.strPeer + " " + std::to_string(stKey.stKey.aulEndpoint[0]) + "=" +
               (stRoute.pPath->bHasAttr ? std::to_string(stRoute.pPath->vecAttr.at(0)) : "-") + "@" +
               stRoute.pPath->strNextHop;
    });
    return str;
}

TEST(Rib, PathsSharedAndReleased)
{
    const Step astSteps[] = {
        {"one UPDATE, three routes: one path", "a", {3, 1, 2}, 7, "n1", "a 1=7@n1 a 2=7@n1 a 3=7@n1", 1},
        {"another attribute for one route", "a", {2}, 8, "n1", "a 1=7@n1 a 2=8@n1 a 3=7@n1", 2},
        {"the same bytes again: shared, not copied", "a", {4}, 8, "n1", "a 1=7@n1 a 2=8@n1 a 3=7@n1 a 4=8@n1", 2},
        {"another next hop is another path", "a", {4}, 8, "n2", "a 1=7@n1 a 2=8@n1 a 3=7@n1 a 4=8@n2", 3},
        {"no attribute", "a", {5}, 0, "n1", "a 1=7@n1 a 2=8@n1 a 3=7@n1 a 4=8@n2 a 5=-@n1", 4},
        {"a re-announcement with its own path", "a", {5}, 0, "n1", "a 1=7@n1 a 2=8@n1 a 3=7@n1 a 4=8@n2 a 5=-@n1", 4},
        {"the last route of a path withdrawn", "a", {2}, -1, "", "a 1=7@n1 a 3=7@n1 a 4=8@n2 a 5=-@n1", 3},
        {"a withdrawal of an unknown route", "a", {9}, -1, "", "a 1=7@n1 a 3=7@n1 a 4=8@n2 a 5=-@n1", 3},
        {"another peer shares a path", "b", {1}, 7, "n1", "a 1=7@n1 a 3=7@n1 a 4=8@n2 a 5=-@n1 b 1=7@n1", 3},
        {"the first peer goes", "a", {}, -2, "", "b 1=7@n1", 1},
        {"the last route goes", "b", {1}, -1, "", "", 0},
        {"the table fills again", "b", {6, 1}, 9, "n3", "b 1=9@n3 b 6=9@n3", 1},
        {"the last route announced goes", "b", {1}, -1, "", "b 6=9@n3", 1},
        {"routes in order after it", "b", {2, 3}, 9, "n3", "b 2=9@n3 b 3=9@n3 b 6=9@n3", 1},
        {"a route before the last", "b", {1}, 5, "n3", "b 1=5@n3 b 2=9@n3 b 3=9@n3 b 6=9@n3", 2},
        {"the next one re-announced", "b", {2}, 5, "n3", "b 1=5@n3 b 2=5@n3 b 3=9@n3 b 6=9@n3", 2},
        {"past the end, then between", "b", {7, 4}, 5, "n3", "b 1=5@n3 b 2=5@n3 b 3=9@n3 b 4=5@n3 b 6=9@n3 b 7=5@n3", 2},
    };
    srp::Rib rib;
    for (const Step &st : astSteps) {
        SCOPED_TRACE(st.pcWhat);
        srp::RibSource stSource;
        stSource.strPeer = st.pcPeer;
        if (st.iAttr == -2) {
            rib.Clear(stSource);
        } else {
            srp::DescribedUpdate stUpdate;
            stUpdate.strNextHop = st.pcNextHop;
            stUpdate.stAttr.bPresent = st.iAttr > 0;
            if (st.iAttr > 0) {
                stUpdate.stAttr.vecNormalised = Bytes{static_cast<uint8_t>(st.iAttr), 0x00, 0x0F};
            }
            for (uint32_t ulEndpoint : st.vecEndpoints) {
                srp::DescribedRoute stRoute;
                stRoute.usAfi = 1u;
                stRoute.stKey.aulEndpoint[0] = ulEndpoint;
                stRoute.bWithdrawn = st.iAttr == -1;
                stUpdate.vecRoutes.push_back(stRoute);
            }
            srp::ApplyUpdate(rib, stSource, stUpdate, 1.0);
        }
        EXPECT_EQ(TableText(rib), st.pcTable);
        EXPECT_EQ(rib.Paths(), st.ulPaths);
    }
}

/* Many paths (the table of paths grows, probes collide): withdrawn in an
 * order that frees them between others, every remaining route keeps its own
 * path, and the count follows. */
TEST(Rib, ManyPathsReleasedInAnyOrder)
{
    const uint32_t ulRoutes = 3000u, ulPaths = 700u;
    srp::Rib rib;
    srp::RibSource stSource;
    stSource.strPeer = "p";
    auto update = [](uint32_t ulRoute, bool bWithdrawn) {
        srp::DescribedUpdate st;
        st.strNextHop = "n";
        st.stAttr.bPresent = true;
        uint32_t ulPath = ulRoute % ulPaths;
        st.stAttr.vecNormalised = Bytes{static_cast<uint8_t>(ulPath >> 8), static_cast<uint8_t>(ulPath), 0x0F};
        srp::DescribedRoute stRoute;
        stRoute.usAfi = 1u;
        stRoute.stKey.ulPolicyColor = ulRoute % 7u;
        stRoute.stKey.aulEndpoint[0] = ulRoute;
        stRoute.bWithdrawn = bWithdrawn;
        st.vecRoutes.push_back(stRoute);
        return st;
    };
    for (uint32_t i = 0; i < ulRoutes; i++) {
        srp::ApplyUpdate(rib, stSource, update(i, false), 1.0);
    }
    ASSERT_EQ(rib.Paths(), ulPaths);
    /* every route whose number is a multiple of 3 or 5 goes */
    std::vector<bool> vecKept(ulRoutes, true);
    for (uint32_t i = ulRoutes; i-- > 0;) {
        if (i % 3u == 0u || i % 5u == 0u) {
            srp::ApplyUpdate(rib, stSource, update(i, true), 1.0);
            vecKept[i] = false;
        }
    }
    std::vector<bool> vecPathUsed(ulPaths, false);
    size_t ulLeft = 0;
    for (uint32_t i = 0; i < ulRoutes; i++) {
        srp::RibKey stKey;
        stKey.usAfi = 1u;
        stKey.stKey.ulPolicyColor = i % 7u;
        stKey.stKey.aulEndpoint[0] = i;
        const srp::RibRoute *pRoute = rib.Find(stSource, stKey);
        ASSERT_EQ(pRoute != nullptr, vecKept[i]) << i;
        if (pRoute != nullptr) {
            ulLeft++;
            vecPathUsed[i % ulPaths] = true;
            EXPECT_EQ(pRoute->pPath->vecAttr, update(i, false).stAttr.vecNormalised) << i;
        }
    }
    EXPECT_EQ(rib.Size(), ulLeft);
    EXPECT_EQ(rib.Paths(), static_cast<size_t>(std::count(vecPathUsed.begin(), vecPathUsed.end(), true)));
    /* the freed paths come back as new ones */
    for (uint32_t i = 0; i < ulRoutes; i += 3u) {
        srp::ApplyUpdate(rib, stSource, update(i, false), 1.0);
    }
    EXPECT_EQ(rib.Paths(), ulPaths);
}

/* Keys order by family, distinguisher, color, then the endpoint words. */
TEST(Rib, KeyOrder)
{
    auto key = [](uint16_t usAfi, uint32_t ulDist, uint32_t ulColor, std::vector<uint32_t> vecEp) {
        srp::RibKey st;
        st.usAfi = usAfi;
        st.stKey.ulDistinguisher = ulDist;
        st.stKey.ulPolicyColor = ulColor;
        for (size_t i = 0; i < vecEp.size(); i++) {
            st.stKey.aulEndpoint[i] = vecEp[i];
        }
        return st;
    };
    const srp::RibKey astOrdered[] = {
        key(1, 0, 0, {0}),          key(1, 0, 0, {0xFFFFFFFF}),  key(1, 0, 1, {0}),
        key(1, 1, 0, {0}),          key(1, 0xFFFFFFFF, 0, {0}),  key(2, 0, 0, {0, 0, 0, 1}),
        key(2, 0, 0, {0, 0, 1, 0}), key(2, 0, 0, {0, 1, 0, 0}),  key(2, 0, 0, {1, 0, 0, 0}),
    };
    for (size_t i = 0; i < std::size(astOrdered); i++) {
        for (size_t j = 0; j < std::size(astOrdered); j++) {
            EXPECT_EQ(astOrdered[i] < astOrdered[j], i < j) << i << " " << j;
        }
    }
}

}  // namespace
