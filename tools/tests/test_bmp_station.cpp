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
        std::string s;
        const srp::RibSource *pLast = nullptr;
        size_t n = 0;
        m_rib.ForEach([&](const srp::RibSource &stSource, const srp::RibKey &, const srp::RibRoute &) {
            if (pLast != nullptr && !(*pLast == stSource)) {
                s += "=" + std::to_string(n) + " ";
                n = 0;
            }
            if (n == 0u) {
                s += stSource.strRouter + "|" + stSource.strPeer + "|" + std::to_string(stSource.ulPeerAs) + "|" +
                     srp::RibViewName(stSource.eView);
            }
            pLast = &stSource;
            n++;
        });
        return n == 0u ? s : s + "=" + std::to_string(n);
    }

    srp::PluginHost m_host;
    int m_iNull;
    srp::OutBuffer m_out;
    srp::Rib m_rib;
    bmp::Monitor m_monitor;
};

TEST_F(MonitorTest, KeepsOneTablePerRouterPeerAndView)
{
    std::vector<Bytes> vecAnnounce = Updates(m_host, kTwoRoutes, false);
    Bytes vecWithdraw = Updates(m_host, kSecondRoute, true).at(0);
    ASSERT_EQ(vecAnnounce.size(), 1u);
    Bytes vecPre = PeerHeader(0u, 0u, 0x0A000009u, 65009u);
    Bytes vecPost = PeerHeader(0u, bmp::kFlagPostPolicy, 0x0A000009u, 65009u);
    Bytes vecOther = PeerHeader(0u, 0u, 0x0A000008u, 65008u);
    Bytes vecLocRib = PeerHeader(bmp::kLocRib, 0u, 0u, 65000u);
    auto rm = [](const Bytes &vecPeer, const Bytes &vecUpdate) {
        return Bmp(bmp::kRouteMonitoring, Concat({vecPeer, vecUpdate}));
    };
    struct Step {
        const char *pcName;
        const char *pcRouter;
        Bytes vecMsg;
        bool bGone; /* the router's session ends instead */
        const char *pcTables;
    };
    const Step astSteps[] = {
        {"pre-policy", "r1", rm(vecPre, vecAnnounce[0]), false, "r1|10.0.0.9|65009|pre-policy=2"},
        {"post-policy apart", "r1", rm(vecPost, vecAnnounce[0]), false,
         "r1|10.0.0.9|65009|pre-policy=2 r1|10.0.0.9|65009|post-policy=2"},
        {"another peer", "r1", rm(vecOther, vecAnnounce[0]), false,
         "r1|10.0.0.8|65008|pre-policy=2 r1|10.0.0.9|65009|pre-policy=2 r1|10.0.0.9|65009|post-policy=2"},
        {"another router, loc-rib", "r2", rm(vecLocRib, vecAnnounce[0]), false,
         "r1|10.0.0.8|65008|pre-policy=2 r1|10.0.0.9|65009|pre-policy=2 r1|10.0.0.9|65009|post-policy=2 "
         "r2|0.0.0.0|65000|loc-rib=2"},
        {"withdrawal in one view", "r1", rm(vecPost, vecWithdraw), false,
         "r1|10.0.0.8|65008|pre-policy=2 r1|10.0.0.9|65009|pre-policy=2 r1|10.0.0.9|65009|post-policy=1 "
         "r2|0.0.0.0|65000|loc-rib=2"},
        {"peer down clears both views of that peer only", "r1", Bmp(bmp::kPeerDown, Concat({vecPre, {4u}})), false,
         "r1|10.0.0.8|65008|pre-policy=2 r2|0.0.0.0|65000|loc-rib=2"},
        {"the same peer at another router is untouched", "r2", Bmp(bmp::kPeerDown, Concat({vecOther, {4u}})), false,
         "r1|10.0.0.8|65008|pre-policy=2 r2|0.0.0.0|65000|loc-rib=2"},
        {"a router gone takes its tables", "r1", {}, true, "r2|0.0.0.0|65000|loc-rib=2"},
    };
    for (const Step &st : astSteps) {
        SCOPED_TRACE(st.pcName);
        if (st.bGone) {
            m_monitor.RouterGone(st.pcRouter);
        } else {
            ASSERT_TRUE(Send(st.pcRouter, st.vecMsg));
        }
        EXPECT_EQ(Tables(), st.pcTables);
    }
}

TEST_F(MonitorTest, RefusedAttributeWithdrawsAndMalformedMessagesChangeNothing)
{
    Bytes vecPeer = PeerHeader(0u, 0u, 0x0A000009u, 65009u);
    std::vector<Bytes> vecAnnounce = Updates(m_host, kTwoRoutes, false);
    ASSERT_TRUE(Send("r1", Bmp(bmp::kRouteMonitoring, Concat({vecPeer, vecAnnounce[0]}))));
    /* The same UPDATE with the tunnel type of its attribute changed: the
     * plug-in refuses the attribute, the routes it came with go. */
    Bytes vecRefused = vecAnnounce[0];
    size_t ulTunnel = vecRefused.size() - 12u; /* tunnel type, length 8, Preference (8 bytes) */
    ASSERT_EQ(vecRefused[ulTunnel + 1], 15u);
    vecRefused[ulTunnel + 1] = 14u;
    EXPECT_TRUE(Send("r1", Bmp(bmp::kRouteMonitoring, Concat({vecPeer, vecRefused}))));
    EXPECT_EQ(Tables(), "");
    EXPECT_GE(m_monitor.Count().ullFailed, 1u);

    ASSERT_TRUE(Send("r1", Bmp(bmp::kRouteMonitoring, Concat({vecPeer, vecAnnounce[0]}))));
    EXPECT_FALSE(Send("r1", Bmp(bmp::kRouteMonitoring, {})));
    EXPECT_FALSE(Send("r1", Lie(Bmp(bmp::kPeerDown, Concat({vecPeer, {4u}})), 1)));
    EXPECT_EQ(Tables(), "r1|10.0.0.9|65009|pre-policy=2");
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
