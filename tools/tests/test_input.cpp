/* Hex text, address text, format detection, BGP framing, MRT records, TCP
 * reassembly and captures read through libpcap. */
#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <random>

#include "bgp/message_stream.h"
#include "encode/encode.h"
#include "input/readers.h"
#include "input/source.h"
#include "input/tcp_reassembly.h"
#include "test_support.h"

namespace {

using namespace srp_test;

/* Hex text: separators, "0x" where a byte starts, comments, a byte's digits
 * on two lines; errors name line and column. As one value, and (the text
 * joined to one line) as one value per line. */
TEST(HexText, BytesOrTheErrorWithItsPlace)
{
    /* the text, and its bytes in hex or the error after "!" */
    const std::pair<const char *, const char *> astCases[] = {
        {"09 aF Af", "09afaf"},
        {"0x0a 0xff\n\t01", "0aff01"},
        {"01 # comment 99 zz\n02", "0102"},
        {"de:ad-be.ef", "deadbeef"},
        {"0x", ""},
        {"01 # zz\n  0x02", "0102"},
        {"abc", "!odd number of hex digits: the digit at line 1, column 3 has no partner"},
        {"01\n\n  0g", "!line 3, column 4: 'g' is not a hex digit"},
        {"01\t\x01", "!line 1, column 4: byte 0x01 is not a hex digit"},
        {"00x12", "!line 1, column 3: 'x' is not a hex digit"},
        {"01 0\n# 2", "!odd number of hex digits: the digit at line 1, column 4 has no partner"},
    };
    for (const auto &st : astCases) {
        Bytes v;
        std::string strError;
        EXPECT_EQ(srp::ParseHex(st.first, v, strError) ? srp::ToHex(v) : "!" + strError, st.second) << st.first;
    }
    std::vector<Bytes> vec;
    std::string strError;
    ASSERT_TRUE(srp::ParseHexLines("# values\n0102\n\n  03 04 # x\n", vec, strError));
    EXPECT_EQ(vec, (std::vector<Bytes>{{1, 2}, {3, 4}}));
}

/* Every IPv6 address printed as the C library prints it: zero runs of every
 * length and place, IPv4-mapped and -compatible forms. */
TEST(AddressText, SameAsTheCLibrary)
{
    const char *apcFixed[] = {"::", "::1", "1::", "::ffff:0:1.2.3.4", "::10.1.2.3", "1:0:0:2:0:0:0:3",
                              "1:2:3:4:5:6:7:8"};
    std::mt19937 rng(4291);
    for (size_t n = 0; n < 3000u; n++) {
        std::array<uint8_t, 16> a{};
        for (uint8_t &uc : a) {
            uc = (rng() % 3 == 0) ? static_cast<uint8_t>(rng()) : 0u;
        }
        if (n < std::size(apcFixed)) {
            ASSERT_EQ(inet_pton(AF_INET6, apcFixed[n], a.data()), 1);
        } else if (n % 5 == 0) {
            a[10] = a[11] = 0xFFu;
        }
        char acWant[INET6_ADDRSTRLEN];
        ASSERT_NE(inet_ntop(AF_INET6, a.data(), acWant, sizeof(acWant)), nullptr);
        ASSERT_EQ(srp::Ipv6Text(a.data()), acWant);
    }
}

TEST(Formats, DetectedFromTheFirstBytes)
{
    using srp::Format;
    const std::pair<Bytes, Format> astCases[] = {
        /* Auto: not recognised */
        {{0x0A, 0x0D, 0x0D, 0x0A, 0, 0}, Format::Pcap},
        {BgpMessage(4, 0, 0), Format::Raw},
        /* a typo or an odd digit count is still hex, for the reader to point at */
        {Text("fffffffffffffffffffz0"), Format::Hex},
        {Text("0xabc"), Format::Hex},
        {Text("ff 0x"), Format::Hex}, /* a prefix at the very end */
        {Text("# The face of it\nff"), Format::Hex},
        /* prose is not, nor one NUL, non-ASCII or control byte among many digits */
        {Text("# T\nThe face"), Format::Auto},
        {Text(std::string(40, 'f') + '\0'), Format::Auto},
        {Text(std::string(40, 'f') + "\xc3"), Format::Auto},
        {Text(std::string(40, 'f') + "\x01"), Format::Auto},
        {Text(std::string(40, 'f') + "\t\r\n"), Format::Hex},
        {{0, 0, 0, 1, 0, 16, 0, 4, 0, 0, 0, 0}, Format::Mrt},
        {{0, 0, 0, 1, 0, 99, 0, 4, 0, 0, 0, 0}, Format::Auto},
        {{}, Format::Auto},
    };
    for (const auto &st : astCases) {
        Format eFormat = Format::Auto;
        bool bKnown = srp::DetectFormat(st.first.data(), st.first.size(), eFormat);
        EXPECT_EQ(bKnown ? eFormat : Format::Auto, st.second) << srp::ToHex(st.first);
        EXPECT_EQ(bKnown, st.second != Format::Auto) << srp::ToHex(st.first);
    }
}

/* Runs a stream through the splitter in pieces of ulChunk bytes, with a gap
 * of ullLost bytes reported after the first ulGapAt, and lists what came out:
 * "m<offset>/<length>" per message, "e<offset>" per error. */
std::string Split(const Bytes &vecStream, size_t ulChunk, size_t ulGapAt = 0, uint64_t ullLost = 0)
{
    std::string s;
    srp::BgpStreamSplitter splitter(
        [&](const uint8_t *, size_t n, uint64_t ullOffset) {
            s += "m" + std::to_string(ullOffset) + "/" + std::to_string(n) + " ";
        },
        [&](const std::string &, uint64_t ullOffset) { s += "e" + std::to_string(ullOffset) + " "; });
    auto Feed = [&](size_t ulFrom, size_t ulTo) {
        for (size_t i = ulFrom; i < ulTo; i += ulChunk) {
            splitter.Feed(vecStream.data() + i, std::min(ulChunk, ulTo - i));
        }
    };
    Feed(0, ulGapAt);
    if (ulGapAt > 0u) {
        splitter.Gap(ullLost, true);
    }
    Feed(ulGapAt, vecStream.size());
    splitter.Finish();
    return s;
}

TEST(BgpFraming, MessagesErrorsAndResynchronisation)
{
    Bytes vecUpdate = BgpMessage(2, 10, 0x11); /* 29 bytes */
    Bytes vecKeepalive = BgpMessage(4, 0, 0);  /* 19 bytes */
    struct Case {
        const char *pcName;
        Bytes vecStream;
        const char *pcExpected;
        size_t ulGapAt = 0; /* the rest of a message lost after this many bytes */
    } astCases[] = {
        {"two messages", Concat({vecUpdate, vecKeepalive}), "m0/29 m29/19 "},
        {"bad marker, then resync", Concat({With(vecUpdate, 3, 0), vecUpdate}), "e0 m29/29 "},
        {"impossible length", Concat({With(vecUpdate, 17, 5), vecKeepalive}), "e0 m29/19 "},
        {"below the header, of an unknown type", Concat({With(With(vecKeepalive, 17, 5), 18, 9), vecKeepalive}), "e0 m19/19 "},
        {"cut mid-message", Concat({vecUpdate, Bytes(vecUpdate.begin(), vecUpdate.end() - 4)}), "m0/29 e29 "},
        {"cut mid-header", Concat({vecUpdate, Bytes(10u, 0xFFu)}), "m0/29 e29 "},
        {"garbage only", Bytes(40u, 0x55u), "e0 "},
        {"gap drops the partial message", Concat({Bytes(vecUpdate.begin(), vecUpdate.begin() + 10), vecUpdate}), "e0 m29/29 ", 10},
    };
    for (const Case &st : astCases) {
        /* The outcome does not depend on how the bytes arrive. */
        for (size_t ulChunk : {size_t(1), size_t(7), size_t(4096)}) {
            EXPECT_EQ(Split(st.vecStream, ulChunk, st.ulGapAt, 19u), st.pcExpected)
                << st.pcName << ", pieces of " << ulChunk;
        }
    }
    /* Past 64 KiB the bytes consumed are dropped from the buffer; offsets go on. */
    std::string strMany;
    for (size_t i = 0; i < 4000u; i++) {
        strMany += "m" + std::to_string(i * 29u) + "/29 ";
    }
    EXPECT_EQ(Split(Concat(std::vector<Bytes>(4000u, vecUpdate)), 4096u), strMany);
}

Bytes MrtRecord(const char *pcTypes, const Bytes &vecBody)
{
    Bytes v = Hex(std::string("6553f100 ") + pcTypes);
    srp::Put32(v, static_cast<uint32_t>(vecBody.size()));
    return Concat({v, vecBody});
}

TEST(Mrt, MessageRecordsRibEntriesAndTruncation)
{
    Bytes vecMsg = BgpMessage(2, 4, 0);
    /* BGP4MP_ET MESSAGE_AS4: microseconds, peer and local AS, interface, AFI 1, addresses */
    Bytes vecEt = Concat({Hex("00000005 0000fde9 0000fdea 0000 0001 0a0a0a0a 0a0a0a0a"), vecMsg});
    /* TABLE_DUMP_V2 RIB_GENERIC of AFI 1 SAFI 73: sequence, family, NLRI, two entries
     * (peer index, time, attribute length, ORIGIN) */
    const char *pcNlri = "60 00000001 00000064 0a000001";
    Bytes vecRib = Hex(std::string("00000007 0001 49 ") + pcNlri +
                       " 0002 0000 00000000 0004 40010100 0000 00000000 0004 40010101");
    Bytes vecCut = MrtRecord("0010 0004", vecEt);
    vecCut.resize(vecCut.size() - 3u);
    Bytes vecFile = Concat({MrtRecord("0011 0004", vecEt),
                            /* BGP4MP MESSAGE, IPv6 peers */
                            MrtRecord("0010 0001", Concat({Hex("fde9 fdea 0000 0002"), Bytes(32u, 0x20u), vecMsg})),
                            MrtRecord("000d 0006", vecRib),
                            /* RIB_IPV4_UNICAST: skipped */
                            MrtRecord("000d 0008", Hex("00000008 0001 01 08 0a 0000")),
                            MrtRecord("0010 0000", Bytes(20u, 0u)), MrtRecord("0010 0001", Bytes(50u, 0u)),
                            /* a message of the right length without its marker */
                            MrtRecord("0010 0001",
                                      Concat({Hex("0000 0000 0000 0001 00000000 00000000"), With(BgpMessage(4, 0, 0), 0, 0)})),
                            vecCut});
    RecordingSink sink;
    srp::ReadMrt(vecFile.data(), vecFile.size(), "f.mrt", sink);
    ASSERT_EQ(sink.Kinds(), "msg msg rib rib error error error");
    EXPECT_EQ(sink.vecSeen[0].vecData, vecMsg);
    EXPECT_EQ(sink.vecSeen[1].vecData, vecMsg);
    EXPECT_EQ(sink.vecSeen[3].vecData, Hex(std::string(pcNlri) + "40010101"));
    EXPECT_EQ(sink.ulSkipped, 1u);
    /* Errors name the record's offset in the file */
    EXPECT_EQ(sink.vecSeen[6].ullOffset, vecFile.size() - vecCut.size());
}

/* Peeked bytes are handed out again, whatever the sizes of peek and read. */
TEST(InputFile, PeekThenReadGivesEveryByteOnce)
{
    Bytes vecData(3000u);
    for (size_t i = 0; i < vecData.size(); i++) {
        vecData[i] = static_cast<uint8_t>(i * 7u);
    }
    struct Case {
        size_t ulPeek1, ulPeek2, ulRead; /* a peek, 3 bytes read, a peek, then reads of ulRead bytes */
    } astCases[] = {{0, 0, 1000}, {10, 0, 7}, {10, 100, 64}, {3, 10, 64}, {5000, 0, 999}, {100, 10, 4096}};
    for (const Case &st : astCases) {
        srp::InputFile in;
        in.OpenMemory(vecData.data(), vecData.size());
        EXPECT_EQ(in.Peek(st.ulPeek1).size(), std::min(st.ulPeek1, vecData.size()));
        Bytes vecOut(3u);
        Bytes vecBlock(st.ulRead);
        vecOut.resize(in.Read(vecOut.data(), 3u));
        in.Peek(st.ulPeek2);
        size_t n;
        while ((n = in.Read(vecBlock.data(), vecBlock.size())) > 0u) {
            vecOut.insert(vecOut.end(), vecBlock.begin(), vecBlock.begin() + static_cast<std::ptrdiff_t>(n));
        }
        EXPECT_EQ(vecOut, vecData) << "peek " << st.ulPeek1 << "/" << st.ulPeek2 << ", read " << st.ulRead;
        EXPECT_EQ(in.Consumed(), vecData.size());
    }
}

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
    Bytes vecFile = PcapFile(srp::SessionFrames({BgpMessage(2, 3000, 0x5A), BgpMessage(4, 0, 0)}));
    RecordingSink sink;
    std::string strError;
    ASSERT_TRUE(srp::ReadPcap(vecFile.data(), vecFile.size() - 10u, "c.pcap", sink, strError)) << strError;
    EXPECT_EQ(sink.Kinds(), "msg msg error");
    /* A flow of fewer bytes than tell BGP from BMP is read all the same: cut short. */
    vecFile = PcapFile(srp::SessionFrames({Bytes(5u, 0xFFu)}));
    RecordingSink sinkShort;
    ASSERT_TRUE(srp::ReadPcap(vecFile.data(), vecFile.size(), "c.pcap", sinkShort, strError)) << strError;
    EXPECT_EQ(sinkShort.Kinds(), "error");
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
        {"stacked VLAN tags (802.1ad, then 0x9100)", 1u, Concat({vecMacs, {0x88, 0xA8, 0, 5, 0x91, 0, 0, 6, 0x81, 0, 0, 7, 8, 0}, vecV4}), kV4},
        {"Ethernet IPv6, hop-by-hop", 1u, Concat({vecEth6, Ipv6(vecTcp, true)}), kV6},
        {"IPv6 payload shorter than its hop-by-hop header", 1u, Concat({vecEth6, With(Ipv6(vecTcp, true), 5, 4)}), nullptr},
        {"Linux cooked", 113u, Concat({vecSll, vecV4}), kV4},
        {"Linux cooked v2 IPv6", 276u, Concat({vecSll2, Ipv6(vecTcp, false)}), kV6},
        {"raw IP", 101u, Ipv6(vecTcp, false), kV6},
        {"BSD loopback", 0u, Concat({{2, 0, 0, 0}, vecV4}), kV4},
        /* IPv6 on loopback: 24, 28 or 30 as the BSDs number it */
        {"BSD loopback IPv6 (24)", 0u, Concat({{24, 0, 0, 0}, Ipv6(vecTcp, false)}), kV6},
        {"BSD loopback IPv6 (28)", 0u, Concat({{28, 0, 0, 0}, Ipv6(vecTcp, false)}), kV6},
        {"BSD loopback IPv6 (30)", 108u, Concat({{0, 0, 0, 30}, Ipv6(vecTcp, false)}), kV6},
        {"OpenBSD loopback", 108u, Concat({{0, 0, 0, 2}, vecV4}), kV4},
        {"version 6 behind the IPv4 type", 1u, Concat({vecEth, With(vecV4, 0, 0x65)}), nullptr},
        /* a version 4 header behind the IPv6 type, its bytes laid out so that read as IPv6 they would
         * lead to the segment: refused */
        {"IPv4 behind the IPv6 type", 1u,
         Concat({vecEth6, {0x45, 0, 0, 0, 0, static_cast<uint8_t>(vecTcp.size()), 6, 64}, Bytes(32u, 0u), vecTcp}),
         nullptr},
    };
    for (const Case &st : astCases) {
        Bytes vecFile = PcapFile({st.vecFrame}, st.ulLink);
        RecordingSink sink;
        std::string strError;
        ASSERT_TRUE(srp::ReadPcap(vecFile.data(), vecFile.size(), "x", sink, strError)) << st.pcName << strError;
        EXPECT_EQ(sink.Kinds() + (sink.vecSeen.empty() ? "" : " " + sink.vecSeen[0].strSource),
                  st.pcSource != nullptr ? std::string("msg ") + st.pcSource : "") << st.pcName;
    }
}

}  // namespace
