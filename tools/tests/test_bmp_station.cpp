/* The BMP station apart from its sockets: the tables the monitor keeps per
 * router, monitored peer and view, and the prefixes of --allow. */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "bmp/monitor.h"
#include "bmp/station.h"
#include "bmp_builders.h"
#include "encode/encode.h"

namespace {

using srp::Bytes;
using namespace srp_test;
namespace bmp = srp::bmp;

/* UPDATEs of a configuration, as the encoder builds them. */
std::vector<Bytes> Updates(srp::PluginHost &host, const std::string &strConfig, bool bWithdraw)
{
    std::vector<srp::CfgRoute> vecRoutes;
    std::string strError;
    EXPECT_TRUE(srp::LoadConfig(strConfig, vecRoutes, strError)) << strError;
    std::vector<Bytes> vecMsgs;
    EXPECT_TRUE(srp::BuildUpdates(host, vecRoutes, bWithdraw, vecMsgs, strError)) << strError;
    return vecMsgs;
}

const char *const kTwoRoutes = R"({"defaults": {"next_hop": "192.0.2.1"}, "routes": [
    {"endpoint": "10.0.0.1", "color": 1, "preference": 10},
    {"endpoint": "10.0.0.2", "color": 2, "preference": 10}]})";
const char *const kSecondRoute = R"({"defaults": {"next_hop": "192.0.2.1"}, "routes": [
    {"endpoint": "10.0.0.2", "color": 2, "preference": 10}]})";

/* A monitor writing its output nowhere, and the table it keeps. */
class MonitorTest : public ::testing::Test {
protected:
    MonitorTest() : m_iNull(open("/dev/null", O_WRONLY)), m_out(m_iNull), m_monitor(m_host, m_rib, m_out, {}) {}
    ~MonitorTest() override { close(m_iNull); }

    bool Send(const std::string &strRouter, const Bytes &vecMsg)
    {
        std::string strError;
        return m_monitor.Handle(strRouter, "test", vecMsg.data(), vecMsg.size(), 0u, 1u, strError);
    }
    /* Routes held per source, as "router|peer|AS|view=n" in table order. */
    std::string Tables() const
    {
        std::vector<std::pair<std::string, size_t>> vec;
        m_rib.ForEach([&](const srp::RibSource &st, const srp::RibKey &, const srp::RibRoute &) {
            std::string strSource = st.strRouter + "|" + st.strPeer + "|" + std::to_string(st.ulPeerAs) + "|" + srp::RibViewName(st.eView);
            if (vec.empty() || vec.back().first != strSource) {
                vec.emplace_back(strSource, 0u);
            }
            vec.back().second++;
        });
        std::string s;
        for (const auto &p : vec) {
            s += (s.empty() ? "" : " ") + p.first + "=" + std::to_string(p.second);
        }
        return s;
    }

    srp::PluginHost m_host;
    int m_iNull;
    srp::OutBuffer m_out;
    srp::Rib m_rib;
    bmp::Monitor m_monitor;
};

/* Steps through one monitor: each router, monitored peer and view has its
 * table; a refused attribute withdraws the routes it came with; a malformed
 * message is refused and changes nothing. */
TEST_F(MonitorTest, KeepsOneTablePerRouterPeerAndView)
{
    std::vector<Bytes> vecAnnounce = Updates(m_host, kTwoRoutes, false);
    Bytes vecWithdraw = Updates(m_host, kSecondRoute, true).at(0);
    ASSERT_EQ(vecAnnounce.size(), 1u);
    /* The same UPDATE with the tunnel type of its attribute (before its length 8
     * and the 8 bytes of Preference) turned from 15 to 14: refused by the plug-in. */
    Bytes vecRefused = With(vecAnnounce[0], vecAnnounce[0].size() - 11u, 14u);
    ASSERT_EQ(vecAnnounce[0][vecAnnounce[0].size() - 11u], 15u);
    Bytes vecPre = PeerHeader(0u, 0u, 0x0A000009u, 65009u);
    Bytes vecPost = PeerHeader(0u, bmp::kFlagPostPolicy, 0x0A000009u, 65009u);
    Bytes vecOther = PeerHeader(0u, 0u, 0x0A000008u, 65008u);
    Bytes vecLocRib = PeerHeader(bmp::kLocRib, 0u, 0u, 65000u);
    auto rm = [](const Bytes &vecPeer, const Bytes &vecUpdate) { return Bmp(bmp::kRouteMonitoring, Concat({vecPeer, vecUpdate})); };
    struct Step {
        const char *pcName;
        const char *pcRouter;
        Bytes vecMsg; /* none: the router's session ends */
        const char *pcTables;
        bool bOk = true;
    };
    const Step astSteps[] = {
        {"pre-policy", "r1", rm(vecPre, vecAnnounce[0]), "r1|10.0.0.9|65009|pre-policy=2"},
        {"post-policy apart", "r1", rm(vecPost, vecAnnounce[0]),
         "r1|10.0.0.9|65009|pre-policy=2 r1|10.0.0.9|65009|post-policy=2"},
        {"another peer", "r1", rm(vecOther, vecAnnounce[0]),
         "r1|10.0.0.8|65008|pre-policy=2 r1|10.0.0.9|65009|pre-policy=2 r1|10.0.0.9|65009|post-policy=2"},
        {"another router, loc-rib", "r2", rm(vecLocRib, vecAnnounce[0]),
         "r1|10.0.0.8|65008|pre-policy=2 r1|10.0.0.9|65009|pre-policy=2 r1|10.0.0.9|65009|post-policy=2 "
         "r2|0.0.0.0|65000|loc-rib=2"},
        {"withdrawal in one view", "r1", rm(vecPost, vecWithdraw),
         "r1|10.0.0.8|65008|pre-policy=2 r1|10.0.0.9|65009|pre-policy=2 r1|10.0.0.9|65009|post-policy=1 "
         "r2|0.0.0.0|65000|loc-rib=2"},
        {"peer down clears both views of that peer only", "r1", Bmp(bmp::kPeerDown, Concat({vecPre, {4u}})),
         "r1|10.0.0.8|65008|pre-policy=2 r2|0.0.0.0|65000|loc-rib=2"},
        {"the same peer at another router is untouched", "r2", Bmp(bmp::kPeerDown, Concat({vecOther, {4u}})),
         "r1|10.0.0.8|65008|pre-policy=2 r2|0.0.0.0|65000|loc-rib=2"},
        {"a router gone takes its tables", "r1", {}, "r2|0.0.0.0|65000|loc-rib=2"},
        {"no per-peer header", "r2", Bmp(bmp::kRouteMonitoring, {}), "r2|0.0.0.0|65000|loc-rib=2", false},
        {"a lying length", "r2", Lie(Bmp(bmp::kPeerDown, Concat({vecLocRib, {4u}})), 1), "r2|0.0.0.0|65000|loc-rib=2", false},
        {"refused attribute", "r2", rm(vecLocRib, vecRefused), ""},
    };
    for (const Step &st : astSteps) {
        SCOPED_TRACE(st.pcName);
        if (st.vecMsg.empty()) {
            m_monitor.RouterGone(st.pcRouter);
        } else {
            EXPECT_EQ(Send(st.pcRouter, st.vecMsg), st.bOk);
        }
        EXPECT_EQ(Tables(), st.pcTables);
    }
    EXPECT_EQ(m_monitor.Count().ullFailed, 3u);
}

TEST(BmpStation, AllowedPrefixes)
{
    struct PrefixRow {
        const char *pcPrefix;
        const char *pcAddr;
        int iExpect; /* 1 inside, 0 outside, -1 not a prefix */
    };
    const PrefixRow astPrefixes[] = {
        {"127.0.0.0/8", "127.1.2.3", 1},  {"127.0.0.0/8", "128.0.0.1", 0},    {"127.0.0.1", "127.0.0.1", 1},
        {"127.0.0.1", "127.0.0.2", 0},    {"10.1.2.0/23", "10.1.3.255", 1},   {"10.1.2.0/23", "10.1.4.0", 0},
        {"0.0.0.0/0", "192.0.2.1", 1},    {"::1", "::1", 1},                  {"::1", "127.0.0.1", 0},
        {"2001:db8::/33", "2001:db8:7fff::1", 1}, {"2001:db8::/33", "2001:db8:8000::1", 0},
        {"10.0.0.0/33", "10.0.0.1", -1},  {"10.0.0.0/", "10.0.0.1", -1},      {"host/8", "10.0.0.1", -1},
        {"::/129", "::1", -1},
    };
    for (const PrefixRow &row : astPrefixes) {
        SCOPED_TRACE(std::string(row.pcPrefix) + " " + row.pcAddr);
        bmp::Prefix st;
        Bytes vecAddr;
        ASSERT_TRUE(srp::ParseAddress(row.pcAddr, vecAddr));
        int iGot = bmp::ParsePrefix(row.pcPrefix, st) ? int{bmp::PrefixContains(st, vecAddr)} : -1;
        EXPECT_EQ(iGot, row.iExpect);
    }
}

}  // namespace
