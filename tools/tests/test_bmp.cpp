/* BMP reading and framing: every message type, and the malformed forms a
 * router (or a liar) can send. */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bmp/bmp_message.h"
#include "bmp_builders.h"

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
const Bytes kPeerPost = PeerHeader(0u, bmp::kFlagPostPolicy, 0x0A000001u, 65001u);

struct Row {
    const char *pcName;
    Bytes vecMsg;
    const char *pcExpect; /* the summary, or the error when it starts with "!" */
};

TEST(BmpMessage, ReadsEveryTypeAndRefusesMalformedOnes)
{
    Bytes vecPeerV6 = PeerHeader(0u, bmp::kFlagIpv6 | bmp::kFlagPostPolicy, 2u, 65002u);
    std::copy_n(Hex("20010db8").begin(), 4, vecPeerV6.begin() + 10);
    Bytes vecLocRib = PeerHeader(bmp::kLocRib, bmp::kFlagLocRibFiltered, 0u, 65000u);
    Bytes vecOpenSent = BgpOpen({4, 65000, 90, 1, {CapMp(1, 73), CapMp(2, 73), CapMp(1, 1), CapAs4(65000)}});
    Bytes vecOpenRecv = BgpOpen({4, 23456, 90, 1, {CapMp(1, 73), CapMp(1, 1), CapAs4(70000)}});
    Bytes vecOpen2Byte = BgpOpen({4, 65010, 90, 1, {CapMp(1, 73)}});
    Bytes vecNotification = Bgp(3u, {6u, 2u}); /* Cease, administrative shutdown */
    Bytes vecTable = Tlv(3u, "red");
    Bytes vecUpdate = EmptyUpdate();

    const Row astRows[] = {
        {"initiation", Bmp(bmp::kInitiation, Concat({Tlv(2u, "r1"), Tlv(1u, "box\x01"), Tlv(9u, "\x01\x02")})),
         "Initiation sysName=r1 sysDescr=box\\x01 TLV 9=0102"},
        {"termination", Bmp(bmp::kTermination, Concat({Tlv(0u, "bye"), Tlv16(1u, 2u)})),
         "Termination string=bye reason=out of resources (2)"},
        {"route monitoring pre-policy", Bmp(bmp::kRouteMonitoring, Concat({kPeer, EmptyUpdate()})),
         "Route Monitoring [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] bgp:23"},
        {"IPv6 peer, post-policy", Bmp(bmp::kRouteMonitoring, Concat({vecPeerV6, EmptyUpdate()})),
         "Route Monitoring [global 2001:db8::2 AS 65002 post-policy t=1700000000.250] bgp:23"},
        {"loc-rib ignores the V and L bits", Bmp(bmp::kRouteMonitoring, Concat({vecLocRib, EmptyUpdate()})),
         "Route Monitoring [loc-rib 0.0.0.0 AS 65000 loc-rib t=1700000000.250] bgp:23"},
        {"adj-rib-out", Bmp(bmp::kRouteMonitoring, Concat({PeerHeader(0u, bmp::kFlagAdjRibOut, 1u, 1u), EmptyUpdate()})),
         "Route Monitoring [global 0.0.0.1 AS 1 adj-rib-out pre-policy t=1700000000.250] bgp:23"},
        {"peer up", Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), vecOpenSent, vecOpenRecv, vecTable})),
         "Peer Up [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] as4=1 remote-as=70000 families=1/73,1/1, "
         "VRF/table name=red"},
        {"peer up, one side without 4-octet AS",
         Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), vecOpenSent, vecOpen2Byte})),
         "Peer Up [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] as4=0 remote-as=65010 families=1/73,"},
        {"peer up, another 4-byte capability is not the AS",
         Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), vecOpenSent, BgpOpen({4, 65010, 90, 1, {Cap(64, {0, 0, 0, 0})}})})),
         "Peer Up [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] as4=0 remote-as=65010 families="},
        {"peer up, extended optional parameters",
         Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), vecOpenSent, BgpOpen({4, 23456, 90, 1, {CapMp(2, 73), CapAs4(70001)}, 2, true})})),
         "Peer Up [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] as4=1 remote-as=70001 families=2/73,"},
        {"peer down, remote notification", Bmp(bmp::kPeerDown, Concat({kPeerPost, {3u}, vecNotification})),
         "Peer Down [global 10.0.0.1 AS 65001 post-policy t=1700000000.250] remote system closed the session with a "
         "NOTIFICATION (reason 3), NOTIFICATION code 6 subcode 2"},
        {"peer down, FSM event", Bmp(bmp::kPeerDown, Concat({kPeer, {2u, 0u, 24u}})),
         "Peer Down [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] local system closed the session without "
         "a NOTIFICATION (reason 2), FSM event 24"},
        {"peer down, no data", Bmp(bmp::kPeerDown, Concat({kPeer, {4u}})),
         "Peer Down [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] remote system closed the session "
         "without a NOTIFICATION (reason 4)"},
        {"peer down, loc-rib closed", Bmp(bmp::kPeerDown, Concat({vecLocRib, {6u}, vecTable})),
         "Peer Down [loc-rib 0.0.0.0 AS 65000 loc-rib t=1700000000.250] local system closed the Loc-RIB (reason 6)"},
        {"statistics", Bmp(bmp::kStatisticsReport, Concat({kPeer, {0, 0, 0, 3}, Tlv(0u, Bytes{0, 0, 1, 0}),
                                                            Tlv(7u, Bytes{0, 0, 0, 1, 0, 0, 0, 2}),
                                                            Tlv(9u, Bytes {0, 1, 73, 0, 0, 0, 0, 0, 0, 0, 5})})),
         "Statistics Report [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] 0=256 7=4294967298 9=5"},
        {"route mirroring", Bmp(bmp::kRouteMirroring, Concat({kPeer, Tlv(0u, EmptyUpdate()), Tlv16(1u, 1u)})),
         "Route Mirroring [global 10.0.0.1 AS 65001 pre-policy t=1700000000.250] bgp:23 info:1"},

        {"wrong version", Bytes{1u, 0, 0, 0, 6, bmp::kInitiation},
         "!BMP version 1, expected 3"},
        {"length says more than the message", Lie(Bmp(bmp::kInitiation, Tlv(2u, "r1")), +4),
         "!BMP message length 16 in a message of 12 bytes"},
        {"route monitoring with a cut per-peer header", Bmp(bmp::kRouteMonitoring, Bytes(kPeer.begin(), kPeer.end() - 1)),
         "!Route Monitoring message of 47 bytes has no room for its per-peer header (42 bytes)"},
        {"route monitoring without an UPDATE", Bmp(bmp::kRouteMonitoring, kPeer),
         "!Route Monitoring UPDATE: 0 bytes left, too short for a BGP header"},
        {"route monitoring UPDATE longer than the message",
         Bmp(bmp::kRouteMonitoring, Concat({kPeer, Bytes(vecUpdate.begin(), vecUpdate.end() - 1)})),
         "!Route Monitoring UPDATE: BGP message length 23 with 22 bytes left"},
        {"route monitoring with bytes after the UPDATE", Bmp(bmp::kRouteMonitoring, Concat({kPeer, EmptyUpdate(), {0u}})),
         "!Route Monitoring: 1 bytes after the UPDATE"},
        {"route monitoring holding a KEEPALIVE", Bmp(bmp::kRouteMonitoring, Concat({kPeer, BgpMessage(4u, 0u, 0u)})),
         "!Route Monitoring UPDATE: BGP message of type 4, expected 2"},
        {"route monitoring with a bad marker", Bmp(bmp::kRouteMonitoring, Concat({kPeer, Hex("ffffff00 ffffffffffffffffffffffff 0017 02 00000000")})),
         "!Route Monitoring UPDATE: bad BGP marker"},
        {"unknown type", Bmp(7u, {}), "!unknown BMP message type 7"},
        {"TLV overruns", Bmp(bmp::kInitiation, Bytes{0, 2, 0, 9, 'r'}),
         "!Initiation: information TLV overruns the message"},
        {"peer up cut in the received OPEN",
         Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), vecOpenSent, Bytes(vecOpenRecv.begin(), vecOpenRecv.end() - 3)})),
         "!Peer Up received OPEN: BGP message length 49 with 46 bytes left"},
        {"peer up with a capability overrunning its parameter",
         Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), vecOpenSent, BgpOpen({4, 65001, 90, 1, {{65, 5, 0, 0}}})})),
         "!Peer Up: OPEN capability overruns its parameter"},
        {"peer up with a byte after the OPEN's last parameter",
         Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), vecOpenSent,
                                   Bgp(1u, {4, 0xFD, 0xF2, 0, 90, 10, 0, 0, 9, 9, 2, 6, 1, 4, 0, 1, 0, 73, 2})})),
         "!Peer Up: OPEN optional parameter overruns the parameters"},
        {"peer up with an UPDATE for an OPEN", Bmp(bmp::kPeerUp, Concat({kPeer, PeerUpFixed(), EmptyUpdate()})),
         "!Peer Up sent OPEN: BGP message of type 2, expected 1"},
        {"peer down without a reason", Bmp(bmp::kPeerDown, kPeer), "!Peer Down without its reason"},
        {"peer down with a cut FSM event", Bmp(bmp::kPeerDown, Concat({kPeer, {2u, 0u}})),
         "!Peer Down without its FSM event code"},
        {"peer down with trailing bytes", Bmp(bmp::kPeerDown, Concat({kPeer, {2u, 0u, 1u, 9u}})),
         "!Peer Down: 1 bytes after the reason's data"},
        {"statistics count lies", Bmp(bmp::kStatisticsReport, Concat({kPeer, {0, 0, 0, 2}, Tlv(0u, Bytes{0, 0, 0, 1})})),
         "!Statistics Report: statistic 2 of 2 overruns the message"},
        {"statistics with bytes after the count", Bmp(bmp::kStatisticsReport, Concat({kPeer, {0, 0, 0, 0}, {1u}})),
         "!Statistics Report: 1 bytes after 0 statistics"},
        {"mirroring information of the wrong length", Bmp(bmp::kRouteMirroring, Concat({kPeer, Tlv(1u, "\x01")})),
         "!Route Mirroring information TLV of length 1, expected 2"},
        {"mirroring BGP message shorter than its TLV", Bmp(bmp::kRouteMirroring, Concat({kPeer, Tlv(0u, Concat({EmptyUpdate(), {0u}}))})),
         "!Route Mirroring BGP message shorter than its TLV"},
        {"cut common header", Bytes{3u, 0u, 0u}, "!cut BMP common header: 3 bytes"},
    };
    for (const Row &row : astRows) {
        SCOPED_TRACE(row.pcName);
        bmp::Message st;
        std::string strError;
        bool bOk = bmp::ParseMessage(row.vecMsg.data(), row.vecMsg.size(), st, strError);
        EXPECT_EQ(bOk ? Summary(st) : "!" + strError, row.pcExpect);
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
        {Concat({vecA, {4u, 0, 0, 0, 6, 4}}), "12 error:BMP version 4, expected 3"},
        {Concat({vecA, {3u, 0, 0, 0, 5, 4}}), "12 error:impossible BMP message length 5"},
        {Bytes{3u, 0x00, 0x10, 0x00, 0x01, 0}, "error:impossible BMP message length 1048577"},
    };
    for (const auto &row : astRows) {
        for (size_t ulChunk : {size_t{1}, size_t{5}, row.first.size()}) {
            SCOPED_TRACE(std::string(row.second) + ", pieces of " + std::to_string(ulChunk));
            bmp::Framer framer;
            std::string strSeen, strError;
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
            strSeen += eResult == bmp::Framer::Result::Error ? "error:" + strError : "more:" + std::to_string(framer.Pending());
            EXPECT_EQ(strSeen, row.second);
        }
    }
    const std::pair<Bytes, bool> astDetect[] = {
        {vecTwo, true}, {Bytes{3u, 0, 0, 0, 6, 4}, true}, {Bytes{3u, 0, 0x10, 0, 0, 0}, true}, /* length at the limit */
        {EmptyUpdate(), false}, {Bytes{2u, 0, 0, 0, 6, 4}, false}, {Bytes{3u, 0, 0, 0, 6, 7}, false}, /* type 7 */
        {Bytes{3u, 0, 0, 0, 6}, false}, {Bytes{3u, 0, 0x10, 0, 1, 0}, false}, {Bytes{3u, 0, 0, 0, 5, 4}, false},
    };
    for (const auto &row : astDetect) {
        EXPECT_EQ(bmp::LooksLikeBmp(row.first.data(), row.first.size()), row.second) << srp::ToHex(row.first);
    }
}

}  // namespace
