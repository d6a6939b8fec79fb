/* The encoder's warnings for code points RFC 9830 receivers read differently,
 * and UPDATEs that stay within 4096 bytes however many routes share them. The
 * tool's own look at tunnels and sub-TLVs is checked end to end (kept_parts). */
#include <gtest/gtest.h>

#include "common/bytes.h"
#include "encode/encode.h"
#include "encode/interop.h"
#include "test_support.h"

namespace {

using srp::Bytes;
using srp_test::Hex;

TEST(Interop, EachCodePointWarnedOncePerRoute)
{
    struct Case {
        const char *pcName;
        const char *pcValue;
        std::vector<std::string> vecStarts; /* the warnings' first words, in order */
    } astCases[] = {
        {"MPLS labels, flags 0", "000f 000c  8000 09 00  0106 00 00 00064000", {}},
        {"MPLS labels, flags 0x80 twice", "000f 0014  8000 11 00  0106 80 00 00064000  0106 80 00 000c8000",
         {"segments written with flags 0x80"}},
        /* the path MTU, SRv6 segment and segment-list binding SID warnings: srpolicy.interop.* */
        {"SRv6 segment, type 13 (RFC 9830)",
         "000f 0018  8000 15 00  0d12 00 00 20010db8000100000000000000000001", {}},
        {"SRv6 binding SID, structure 128",
         "000f 001c  141a 20 00 20010db8000100000000000000000001 0030 0000 40 30 10 00", {}},
        {"SRv6 binding SID, structure 129",
         "000f 001c  141a 20 00 20010db8000100000000000000000001 0030 0000 40 30 10 01", {"SRv6 binding SID"}},
        {"structure 129 without the B-flag",
         "000f 001c  141a 00 00 20010db8000100000000000000000001 0030 0000 40 30 10 01", {}},
    };
    for (const Case &st : astCases) {
        Bytes v = Hex(st.pcValue);
        std::vector<std::string> vec = srp::InteropWarnings(v.data(), v.size());
        for (size_t i = 0; i < vec.size() && i < st.vecStarts.size(); i++) {
            vec[i].resize(std::min(vec[i].size(), st.vecStarts[i].size()));
        }
        EXPECT_EQ(vec, st.vecStarts) << st.pcName;
    }
}

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
