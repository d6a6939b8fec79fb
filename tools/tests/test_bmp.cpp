/* BMP reading and framing: every message type, and the malformed forms a
 * router (or a liar) can send; the station apart from its sockets: the tables
 * the monitor keeps per router, monitored peer and view, and the prefixes of
 * --allow. */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "bmp/bmp_message.h"
#include "bmp/monitor.h"
#include "bmp/station.h"
#include "bmp_builders.h"
#include "encode/encode.h"

namespace {

using srp::Bytes;
using namespace srp_test;
namespace bmp = srp::bmp;

/* One line naming what was read, so that a row states its expectation. */
std::string Summary(const bmp::Message &st)
{
    std::string s = bmp::MsgTypeName(st.ucType);
    if (st.bHasPeer) {
        s += " [" + std::string(bmp::PeerTypeName(st.stPeer.ucType)) + " " + st.stPeer.Name() + " " +
             st.stPeer.RibName() + " t=" + std::to_string(st.stPeer.ulSeconds) + "." +
             std::to_string(st.stPeer.ulMicros) + "]";
    }
    for (const Bytes &v : st.vecBgp) {
        s += " bgp:" + std::to_string(v.size());
    }
    for (uint16_t us : st.vecMirrorInfo) {
        s += " info:" + std::to_string(us);
    }
    for (const bmp::InfoTlv &stTlv : st.vecTlvs) {
        s += " " + bmp::InfoTlvName(st.ucType, stTlv.usType) + "=" + bmp::InfoTlvText(st.ucType, stTlv);
    }
    if (st.ucType == bmp::kPeerUp) {
        const bmp::PeerUp &u = st.stPeerUp;
        s += " as4=" + std::to_string(u.As4()) + " remote-as=" + std::to_string(u.stReceived.ulAs) + " families=";
        for (const auto &f : u.Families()) {
            s += std::to_string(f.first) + "/" + std::to_string(f.second) + ",";
        }
        for (const bmp::InfoTlv &stTlv : u.vecTlvs) {
            s += " " + bmp::InfoTlvName(st.ucType, stTlv.usType) + "=" + bmp::InfoTlvText(st.ucType, stTlv);
        }
    }
    if (st.ucType == bmp::kPeerDown) {
        s += " " + st.stPeerDown.Text();
    }
    for (const bmp::Statistic &stStat : st.vecStats) {
        s += " " + std::to_string(stStat.usType) + "=" + std::to_string(stStat.ullValue);
    }
    return s;
}

const Bytes kPeer = PeerHeader(0u, 0u, 0x0A000001u, 65001u);

/* Each row: a message and its summary, or the error after "!". */
TEST(BmpMessage, ReadsEveryTypeAndRefusesMalformedOnes)
{
    const std::string P = "[global 10.0.0.1 AS 65001 pre-policy t=1700000000.250]"; /* kPeer */
    Bytes vecPeerV6 = PeerHeader(0u, bmp::kFlagIpv6 | bmp::kFlagPostPolicy, 2u, 65002u);
    std::copy_n(Hex("20010db8").begin(), 4, vecPeerV6.begin() + 10);
    Bytes vecLocRib = PeerHeader(bmp::kLocRib, bmp::kFlagLocRibFiltered, 0u, 65000u);
    Bytes vecOpenSent = BgpOpen({4, 65000, 90, 1, {CapMp(1, 73), CapMp(2, 73), CapMp(1, 1), CapAs4(65000)}});
    Bytes vecOpenRecv = BgpOpen({4, 23456, 90, 1, {CapMp(1, 73), CapMp(1, 1), CapAs4(70000)}});
    Bytes vecUpdate = EmptyUpdate();
    auto Msg = [](uint8_t ucType, const std::vector<Bytes> &vec) { return Bmp(ucType, Concat(vec)); };
    /* a Peer Up of kPeer with our OPEN, then the peer's and what follows */
    auto Up = [&](const std::vector<Bytes> &vec) {
        return Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), vecOpenSent, Concat(vec)}));
    };
    const std::pair<Bytes, std::string> astRows[] = {
        {Msg(bmp::kInitiation, {Tlv(2u, "r1"), Tlv(1u, "box\x01"), Tlv(9u, "\x01\x02")}), "Initiation sysName=r1 sysDescr=box\\x01 TLV 9=0102"},
        {Msg(bmp::kTermination, {Tlv(0u, "bye"), Tlv(1u, Bytes{0, 2})}), "Termination string=bye reason=out of resources (2)"},
        {Msg(bmp::kRouteMonitoring, {kPeer, vecUpdate}), "Route Monitoring " + P + " bgp:23"},
        {Msg(bmp::kRouteMonitoring, {vecPeerV6, vecUpdate}), "Route Monitoring [global 2001:db8::2 AS 65002 post-policy t=1700000000.250] bgp:23"},
        /* Loc-RIB ignores the V and L bits */
        {Msg(bmp::kRouteMonitoring, {vecLocRib, vecUpdate}), "Route Monitoring [loc-rib 0.0.0.0 AS 65000 loc-rib t=1700000000.250] bgp:23"},
        {Msg(bmp::kRouteMonitoring, {PeerHeader(0u, bmp::kFlagAdjRibOut, 1u, 1u), vecUpdate}),
         "Route Monitoring [global 0.0.0.1 AS 1 adj-rib-out pre-policy t=1700000000.250] bgp:23"},
        {Up({vecOpenRecv, Tlv(3u, "red")}), "Peer Up " + P + " as4=1 remote-as=70000 families=1/73,1/1, VRF/table name=red"},
        /* one side without 4-octet AS; another 4-byte capability is not the AS; extended parameter lengths
         * (255, 255, then 2-byte lengths) */
        {Up({BgpOpen({4, 65010, 90, 1, {CapMp(1, 73)}})}), "Peer Up " + P + " as4=0 remote-as=65010 families=1/73,"},
        {Up({BgpOpen({4, 65010, 90, 1, {Cap(64, {0, 0, 0, 0})}})}), "Peer Up " + P + " as4=0 remote-as=65010 families="},
        {Up({Bgp(1u, Hex("04 5ba0 005a 00000001  ffff 000f 02 000c 01040002 0049 4104 00011171"))}), "Peer Up " + P + " as4=1 remote-as=70001 families=2/73,"},
        {Msg(bmp::kPeerDown, {PeerHeader(0u, bmp::kFlagPostPolicy, 0x0A000001u, 65001u), {3u}, Bgp(3u, {6u, 2u})}),
         "Peer Down [global 10.0.0.1 AS 65001 post-policy t=1700000000.250] remote system closed the session with a NOTIFICATION (reason 3), "
         "NOTIFICATION code 6 subcode 2"},
        {Msg(bmp::kPeerDown, {kPeer, {2u, 0u, 24u}}), "Peer Down " + P + " local system closed the session without a NOTIFICATION (reason 2), FSM event 24"},
        {Msg(bmp::kPeerDown, {kPeer, {4u}}), "Peer Down " + P + " remote system closed the session without a NOTIFICATION (reason 4)"},
        {Msg(bmp::kPeerDown, {vecLocRib, {6u}, Tlv(3u, "red")}), "Peer Down [loc-rib 0.0.0.0 AS 65000 loc-rib t=1700000000.250] local system closed the Loc-RIB (reason 6)"},
        {Msg(bmp::kStatisticsReport, {kPeer, Hex("00000003  0000 0004 00000100  0007 0008 0000000100000002  0009 000b 0001 49 0000000000000005")}),
         "Statistics Report " + P + " 0=256 7=4294967298 9=5"},
        {Msg(bmp::kRouteMirroring, {kPeer, Tlv(0u, vecUpdate), Tlv(1u, Bytes{0, 1})}), "Route Mirroring " + P + " bgp:23 info:1"},

        {Bytes{1u, 0, 0, 0, 6, bmp::kInitiation}, "!BMP version 1, expected 3"},
        {With(Bmp(bmp::kInitiation, Tlv(2u, "r1")), 4, 16u), "!BMP message length 16 in a message of 12 bytes"},
        {Bmp(bmp::kRouteMonitoring, Bytes(kPeer.begin(), kPeer.end() - 1)), "!Route Monitoring message of 47 bytes has no room for its per-peer header (42 bytes)"},
        {Bmp(bmp::kRouteMonitoring, kPeer), "!Route Monitoring UPDATE: 0 bytes left, too short for a BGP header"},
        {Msg(bmp::kRouteMonitoring, {kPeer, Bytes(vecUpdate.begin(), vecUpdate.end() - 1)}), "!Route Monitoring UPDATE: BGP message length 23 with 22 bytes left"},
        {Msg(bmp::kRouteMonitoring, {kPeer, vecUpdate, {0u}}), "!Route Monitoring: 1 bytes after the UPDATE"},
        {Msg(bmp::kRouteMonitoring, {kPeer, BgpMessage(4u, 0u, 0u)}), "!Route Monitoring UPDATE: BGP message of type 4, expected 2"},
        {Msg(bmp::kRouteMonitoring, {kPeer, With(vecUpdate, 3, 0)}), "!Route Monitoring UPDATE: bad BGP marker"},
        {Bmp(7u, {}), "!unknown BMP message type 7"},
        {Bmp(bmp::kInitiation, Bytes{0, 2, 0, 9, 'r'}), "!Initiation: information TLV overruns the message"},
        {Up({Bytes(vecOpenRecv.begin(), vecOpenRecv.end() - 3)}), "!Peer Up received OPEN: BGP message length 49 with 46 bytes left"},
        {Up({BgpOpen({4, 65001, 90, 1, {{65, 5, 0, 0}}})}), "!Peer Up: OPEN capability overruns its parameter"},
        /* a byte after the OPEN's last parameter */
        {Up({Bgp(1u, Hex("04 fdf2 005a 0a000009 09  02 06 01040001 0049  02"))}), "!Peer Up: OPEN optional parameter overruns the parameters"},
        /* the extended-length marker as the last byte */
        {Up({Bgp(1u, Hex("04 fdf2 005a 0a000009 ff ff"))}), "!Peer Up: OPEN extended parameters length missing"},
        {Msg(bmp::kPeerUp, {kPeer, PeerUpFixed(), vecUpdate}), "!Peer Up sent OPEN: BGP message of type 2, expected 1"},
        {Bmp(bmp::kPeerDown, kPeer), "!Peer Down without its reason"},
        {Msg(bmp::kPeerDown, {kPeer, {2u, 0u}}), "!Peer Down without its FSM event code"},
        {Msg(bmp::kPeerDown, {kPeer, {2u, 0u, 1u, 9u}}), "!Peer Down: 1 bytes after the reason's data"},
        {Msg(bmp::kStatisticsReport, {kPeer, Hex("00000002 0000 0004 00000001")}), "!Statistics Report: statistic 2 of 2 overruns the message"},
        {Msg(bmp::kStatisticsReport, {kPeer, {0, 0, 0, 0}, {1u}}), "!Statistics Report: 1 bytes after 0 statistics"},
        {Msg(bmp::kRouteMirroring, {kPeer, Tlv(1u, "\x01")}), "!Route Mirroring information TLV of length 1, expected 2"},
        {Msg(bmp::kRouteMirroring, {kPeer, Tlv(0u, Concat({vecUpdate, {0u}}))}), "!Route Mirroring BGP message shorter than its TLV"},
        {Bytes{3u, 0u, 0u}, "!cut BMP common header: 3 bytes"},
    };
    for (const auto &row : astRows) {
        SCOPED_TRACE(row.second);
        bmp::Message st;
        std::string strError;
        bool bOk = bmp::ParseMessage(row.first.data(), row.first.size(), st, strError);
        EXPECT_EQ(bOk ? Summary(st) : "!" + strError, row.second);
    }
}

/* The framer hands out whole messages however the bytes arrive and stops
 * for good at the first impossible header; the detector tells a BMP stream
 * from others by its first header. */
TEST(BmpFramer, CutsStreamsAndStopsAtTheFirstBadHeader)
{
    Bytes vecA = Bmp(bmp::kInitiation, Tlv(2u, "r1"));
    Bytes vecTwo = Concat({vecA, Bmp(bmp::kRouteMonitoring, Concat({kPeer, EmptyUpdate()}))});
    const std::pair<Bytes, const char *> astRows[] = {
        /* message lengths handed out, then the bytes pending or the error */
        {vecTwo, "12 71 more:0"},
        {Bytes(vecTwo.begin(), vecTwo.end() - 1), "12 more:70"},
        {Concat({vecA, {4u, 0, 0, 0, 6, 4}}), "12 error:BMP version 4, expected 3, then stream already failed"},
        {Concat({vecA, {3u, 0, 0, 0, 5, 4}}), "12 error:impossible BMP message length 5, then stream already failed"},
        {Bytes{3u, 0x00, 0x10, 0x00, 0x01, 0}, "error:impossible BMP message length 1048577, then stream already failed"},
    };
    for (const auto &row : astRows) {
        for (size_t ulChunk : {size_t{1}, size_t{5}, row.first.size()}) {
            SCOPED_TRACE(std::string(row.second) + ", pieces of " + std::to_string(ulChunk));
            bmp::Framer framer;
            std::string strSeen;
            std::string strError;
            bmp::Framer::Result eResult = bmp::Framer::Result::NeedMore;
            for (size_t i = 0; i < row.first.size() && eResult != bmp::Framer::Result::Error; i += ulChunk) {
                framer.Feed(row.first.data() + i, std::min(ulChunk, row.first.size() - i));
                const uint8_t *p = nullptr;
                size_t n = 0;
                while ((eResult = framer.Next(p, n, strError)) == bmp::Framer::Result::Message) {
                    bmp::Message st;
                    ASSERT_TRUE(bmp::ParseMessage(p, n, st, strError)) << strError;
                    strSeen += std::to_string(n) + " ";
                }
            }
            strSeen += eResult == bmp::Framer::Result::Error ? "error:" + strError
                                                              : "more:" + std::to_string(framer.Pending());
            /* after an error, every call says so */
            if (eResult == bmp::Framer::Result::Error) {
                const uint8_t *p = nullptr;
                size_t n = 0;
                framer.Next(p, n, strError);
                strSeen += ", then " + strError;
            }
            EXPECT_EQ(strSeen, row.second);
        }
    }
    const std::pair<Bytes, bool> astDetect[] = {
        {vecTwo, true}, {Bytes{3u, 0, 0, 0, 6, 4}, true}, {Bytes{3u, 0, 0x10, 0, 0, 0}, true}, /* length at the limit */
        {EmptyUpdate(), false}, {Bytes{2u, 0, 0, 0, 6, 4}, false}, {Bytes{3u, 0, 0, 0, 6, 7}, false}, /* type 7 */
        {Bytes{3u, 0, 0, 0, 6}, false}, {Bytes{3u, 0, 0x10, 0, 1, 0}, false}, {Bytes{3u, 0, 0, 0, 5, 4}, false},
        {Bytes{3u, 0, 0, 0, 6, 6}, true}, /* type 6, the last */
    };
    for (const auto &row : astDetect) {
        EXPECT_EQ(bmp::LooksLikeBmp(row.first.data(), row.first.size()), row.second) << srp::ToHex(row.first);
    }
}

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
            std::string strSource =
                st.strRouter + "|" + st.strPeer + "|" + std::to_string(st.ulPeerAs) + "|" + srp::RibViewName(st.eView);
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
    auto rm = [](const Bytes &vecPeer, const Bytes &vecUpdate) {
        return Bmp(bmp::kRouteMonitoring, Concat({vecPeer, vecUpdate}));
    };
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
        /* the last byte of the length field: 50 for 49 bytes */
        {"a lying length", "r2", With(Bmp(bmp::kPeerDown, Concat({vecLocRib, {4u}})), 4, 50u), "r2|0.0.0.0|65000|loc-rib=2", false},
        {"a mirrored KEEPALIVE is no UPDATE", "r2", Bmp(bmp::kRouteMirroring, Concat({vecLocRib, Tlv(0u, BgpMessage(4u, 0u, 0u))})),
         "r2|0.0.0.0|65000|loc-rib=2"},
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
