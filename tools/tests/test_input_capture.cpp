/* TCP reassembly, and captures read through libpcap. */
#include <gtest/gtest.h>

#include <algorithm>

#include "encode/encode.h"
#include "input/readers.h"
#include "input/tcp_reassembly.h"
#include "test_support.h"

namespace {

using srp::Bytes;
using srp_test::BgpMessage;
using srp_test::Concat;
using srp_test::RecordingSink;

struct Seg {
    uint32_t ulSeq;
    bool bSyn;
    std::string strData;
};

/* Delivered bytes, with "|gap N|" where a hole was skipped and "|mid|" where
 * the stream was joined without a SYN. */
std::string Reassemble(const std::vector<Seg> &vecSegs, size_t ulMaxPending)
{
    std::string s;
    srp::TcpStream stream([&](const uint8_t *p, size_t n) { s.append(reinterpret_cast<const char *>(p), n); },
                          [&](uint64_t ullLost, bool bMid) {
                              s += bMid ? "|mid|" : "|gap " + std::to_string(ullLost) + "|";
                          },
                          ulMaxPending);
    for (const Seg &st : vecSegs) {
        stream.Segment(st.ulSeq, st.bSyn, reinterpret_cast<const uint8_t *>(st.strData.data()), st.strData.size());
    }
    stream.Finish();
    return s;
}

TEST(TcpReassembly, SegmentsInAnyOrderComeOutOnce)
{
    const uint32_t W = 0xFFFFFFF0u; /* sequence numbers that wrap */
    struct Case {
        std::vector<Seg> vecSegs;
        const char *pcExpected;
        size_t ulMaxPending = 1u << 20;
    } astCases[] = {
        {{{100, true, ""}, {101, false, "abc"}, {104, false, "def"}}, "abcdef"},
        {{{100, true, ""}, {104, false, "def"}, {101, false, "abc"}}, "abcdef"},
        {{{100, true, ""}, {101, false, "abc"}, {101, false, "abc"}, {104, false, "def"}}, "abcdef"},
        {{{100, true, ""}, {101, false, "abcd"}, {103, false, "cdef"}}, "abcdef"},
        {{{100, true, ""}, {104, false, "de"}, {104, false, "def"}, {101, false, "abc"}}, "abcdef"},
        {{{100, true, ""}, {101, false, "ab"}, {105, false, "ef"}}, "ab|gap 2|ef"},
        {{{500, false, "xy"}, {502, false, "z"}}, "|mid|xyz"},
        {{{500, false, ""}, {500, false, "xy"}}, "|mid|xy"},
        {{{W, true, ""}, {W + 9u, false, "world"}, {W + 1u, false, "hello, w"}}, "hello, wworld"},
        {{{100, true, ""}, {90, false, "old"}, {101, false, "a"}}, "a"},
        /* too much waiting behind a hole skips it */
        {{{0, true, ""}, {10, false, "0123"}, {20, false, "abcd"}}, "|gap 9|0123|gap 6|abcd", 6u},
    };
    for (const Case &st : astCases) {
        EXPECT_EQ(Reassemble(st.vecSegs, st.ulMaxPending), st.pcExpected);
    }
}

/* A capture whose last record is cut: libpcap's report comes after the
 * messages. */
TEST(PcapCapture, CutRecordReported)
{
    Bytes vecFile = srp_test::PcapFile(srp::SessionFrames({BgpMessage(2, 3000, 0x5A), BgpMessage(4, 0, 0)}));
    RecordingSink sink;
    std::string strError;
    ASSERT_TRUE(srp::ReadPcap(vecFile.data(), vecFile.size() - 10u, "c.pcap", sink, strError)) << strError;
    EXPECT_EQ(sink.Kinds(), "msg msg error");
}

/* The TCP segment in an IPv6 packet ::1 > ::2, behind a hop-by-hop header
 * when asked. */
Bytes Ipv6(const Bytes &vecTcp, bool bHopByHop)
{
    Bytes v = {0x60, 0, 0, 0};
    srp::Put16(v, static_cast<uint32_t>(vecTcp.size() + (bHopByHop ? 8u : 0u)));
    v.insert(v.end(), {static_cast<uint8_t>(bHopByHop ? 0u : 6u), 64u});
    Bytes vecAddrs(32u, 0u);
    vecAddrs[15] = 1u;
    vecAddrs[31] = 2u;
    return Concat({v, vecAddrs, bHopByHop ? Bytes{6, 0, 1, 4, 0, 0, 0, 0} : Bytes{}, vecTcp});
}

}  // namespace

/* Link layers and IP versions a capture may use: each frame carries one
 * KEEPALIVE from port 179, which must come out. */
TEST(PcapCapture, LinkLayersAndIpVersions)
{
    /* The encoder's frame of a KEEPALIVE (its data segment, no SYN before it):
     * Ethernet, IPv4 192.0.2.1 > 192.0.2.2, TCP 179 > 50179. */
    const Bytes vecFrame = srp::SessionFrames({BgpMessage(4, 0, 0)}).at(3);
    const Bytes vecV4(vecFrame.begin() + 14, vecFrame.end());
    const Bytes vecTcp(vecV4.begin() + 20, vecV4.end());
    Bytes vecMacs(12u, 0x02u);
    Bytes vecEth = Concat({vecMacs, {0x08, 0x00}});
    Bytes vecVlan = Concat({vecMacs, {0x81, 0x00, 0x00, 0x05, 0x08, 0x00}});
    Bytes vecEth6 = Concat({vecMacs, {0x86, 0xDD}});
    Bytes vecSll = Concat({Bytes(14u, 0u), {0x08, 0x00}});
    Bytes vecSll2 = Concat({{0x86, 0xDD}, Bytes(18u, 0u)});
    const char *const kV4 = "x 192.0.2.1:179>192.0.2.2:50179";
    const char *const kV6 = "x [::1]:179>[::2]:50179";
    struct Case {
        const char *pcName;
        uint32_t ulLink;
        Bytes vecFrame;
        const char *pcSource;
    } astCases[] = {
        {"Ethernet IPv4", 1u, Concat({vecEth, vecV4}), kV4},
        {"VLAN-tagged", 1u, Concat({vecVlan, vecV4}), kV4},
        {"Ethernet IPv6, hop-by-hop", 1u, Concat({vecEth6, Ipv6(vecTcp, true)}), kV6},
        {"Linux cooked", 113u, Concat({vecSll, vecV4}), kV4},
        {"Linux cooked v2 IPv6", 276u, Concat({vecSll2, Ipv6(vecTcp, false)}), kV6},
        {"raw IP", 101u, Ipv6(vecTcp, false), kV6},
        {"BSD loopback", 0u, Concat({{2, 0, 0, 0}, vecV4}), kV4},
        {"OpenBSD loopback", 108u, Concat({{0, 0, 0, 2}, vecV4}), kV4},
        {"raw IP (12)", 12u, vecV4, kV4},
        {"raw IP (14)", 14u, Ipv6(vecTcp, false), kV6},
        {"IPv4", 228u, vecV4, kV4},
        {"IPv6", 229u, Ipv6(vecTcp, false), kV6},
        /* a version 4 header behind the IPv6 type, its bytes laid out so that read as IPv6 they would
         * lead to the segment: refused */
        {"IPv4 behind the IPv6 type", 1u,
         Concat({vecEth6, {0x45, 0, 0, 0, 0, static_cast<uint8_t>(vecTcp.size()), 6, 64}, Bytes(32u, 0u), vecTcp}),
         nullptr},
    };
    for (const Case &st : astCases) {
        Bytes vecFile = srp_test::PcapFile({st.vecFrame}, st.ulLink);
        RecordingSink sink;
        std::string strError;
        ASSERT_TRUE(srp::ReadPcap(vecFile.data(), vecFile.size(), "x", sink, strError)) << st.pcName << strError;
        EXPECT_EQ(sink.Kinds() + (sink.vecSeen.empty() ? "" : " " + sink.vecSeen[0].strSource),
                  st.pcSource != nullptr ? std::string("msg ") + st.pcSource : "") << st.pcName;
    }
}
