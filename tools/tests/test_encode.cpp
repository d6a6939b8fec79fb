/* UPDATEs that stay within 4096 bytes however many routes share them. The
 * encoder's warnings and the tool's own look at tunnels and sub-TLVs are
 * checked end to end (interop, kept_parts). */
#include <gtest/gtest.h>

#include "common/bytes.h"
#include "encode/encode.h"

namespace {

using srp::Bytes;

/* Routes sharing their attributes fill UPDATEs up to 4096 bytes and no
 * further; a change of attributes starts a new one. */
TEST(Encode, RoutesShareUpdatesUpTo4096Bytes)
{
    srp::PluginHost host;
    ASSERT_TRUE(host.Ok());
    struct Case {
        size_t ulRoutes;
        uint32_t ulPrefEvery; /* a new preference every this many routes (0: never) */
        size_t ulMessages;
    } astCases[] = {{1u, 0u, 1u}, {200u, 0u, 1u}, {400u, 0u, 2u}, {1000u, 0u, 4u}, {10u, 3u, 4u}};
    for (const Case &st : astCases) {
        std::vector<srp::CfgRoute> vecRoutes(st.ulRoutes);
        for (size_t i = 0; i < st.ulRoutes; i++) {
            srp::CfgRoute &r = vecRoutes[i];
            r.vecEndpoint = {10, 0, static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i)};
            r.ulColor = 1u;
            r.vecNextHop = {192, 0, 2, 1};
            r.oPreference = st.ulPrefEvery == 0u ? 100u : static_cast<uint32_t>(i / st.ulPrefEvery);
        }
        for (bool bWithdraw : {false, true}) {
            std::vector<Bytes> vecMsgs;
            std::string strError;
            ASSERT_TRUE(srp::BuildUpdates(host, vecRoutes, bWithdraw, vecMsgs, strError)) << strError;
            for (const Bytes &v : vecMsgs) {
                EXPECT_LE(v.size(), 4096u);
                EXPECT_EQ(srp::Be16(v.data() + 16), v.size());
                /* The attributes (after 19 + 2 + 2 bytes) fill their section exactly, extended
                 * lengths past 255 bytes, MP_REACH_NLRI or MP_UNREACH_NLRI among them. */
                size_t ulAt = 23u;
                const size_t ulEnd = 23u + srp::Be16(v.data() + 21);
                bool bMp = false;
                while (ulAt + 3u <= ulEnd) {
                    bool bExt = (v[ulAt] & 0x10u) != 0u;
                    bMp = bMp || v[ulAt + 1u] == (bWithdraw ? 15u : 14u);
                    ulAt += bExt ? 4u + srp::Be16(&v[ulAt + 2u]) : 3u + v[ulAt + 2u];
                }
                EXPECT_EQ(ulAt, ulEnd);
                EXPECT_TRUE(bMp);
            }
            if (!bWithdraw) {
                EXPECT_EQ(vecMsgs.size(), st.ulMessages) << st.ulRoutes << " routes";
            }
            /* a full UPDATE leaves no room for one more NLRI (13 bytes) */
            for (size_t i = 0; i + 1u < vecMsgs.size() && st.ulPrefEvery == 0u; i++) {
                EXPECT_GT(vecMsgs[i].size() + 13u, 4096u) << st.ulRoutes << " routes, message " << i;
            }
        }
    }
}

}  // namespace
