/* The session state machine fed with what a peer sends: the NOTIFICATION it
 * answers with, the state it reaches, timers and End-of-RIB; and what the
 * command line names as peers and endpoints. */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include <vector>

#include "bgp/session.h"
#include "bgp/speaker.h"
#include "test_support.h"

namespace srp {
namespace {

using namespace srp_test;

struct Recorder : SessionEvents {
    void Established() override { iEstablished++; }
    void Update(const uint8_t *p, size_t n) override { vecUpdates.emplace_back(p, p + n); }
    void RouteRefresh(const Family &st) override { vecRefresh.push_back(st); }
    int iEstablished = 0;
    std::vector<Bytes> vecUpdates;
    std::vector<Family> vecRefresh;
};

Bytes Keepalive() { return BuildMessage(kBgpKeepalive, {}); }
SessionConfig Config(uint32_t ulPeerAs = 0)
{
    SessionConfig st;
    st.ulLocalAs = 65000;
    st.ulRouterId = 0x7f000001u;
    st.usHoldTime = 90;
    st.ulPeerAs = ulPeerAs;
    return st;
}

/* The last message the session wrote when it is a NOTIFICATION: its code,
 * subcode and data; empty otherwise. */
Bytes LastNotification(const Bytes &vecOut)
{
    size_t i = 0;
    while (i + kBgpHeaderLen <= vecOut.size() && i + Be16(&vecOut[i + 16]) < vecOut.size()) {
        i += Be16(&vecOut[i + 16]);
    }
    bool bFound = i + kBgpHeaderLen <= vecOut.size() && vecOut[i + 18] == kBgpNotification;
    return bFound ? Bytes(vecOut.begin() + static_cast<std::ptrdiff_t>(i + 19), vecOut.end()) : Bytes{};
}

Bytes Header(uint16_t usLen, uint8_t ucType)
{
    Bytes v(16u, 0xffu);
    Put16(v, usLen);
    Put8(v, ucType);
    return v;
}

/* What a peer's bytes lead to: the state reached, "up" when Established was
 * reached on the way, and the NOTIFICATION sent (code, subcode, data; spaces
 * for reading only). Whole,
 * one byte at a time, and in 7-byte pieces read into a room of 64 KiB as a
 * socket fills it: framing must not care. */
TEST(Session, PeerInputToNotification)
{
    const Bytes vecUpdate = BuildMessage(kBgpUpdate, {0, 0, 0, 0});
    const Bytes vecExtended = Concat({BgpOpen({4, 65001, 90, 1, {CapMp(1, 73), Cap(6, {})}}), Keepalive()});
    /* our own OPEN, of an AS past 2 bytes (AS_TRANS and the 4-octet AS capability) */
    SessionConfig stWide = Config();
    stWide.ulLocalAs = 4200000000u;
    struct Row {
        const char *pcName;
        uint32_t ulPeerAs; /* configured */
        Bytes vecIn;
        const char *pcExpect;
    };
    const Row aRows[] = {
        {"good open", 65001, BgpOpen({}), "OpenConfirm"},
        {"good open and keepalive", 0, Concat({BgpOpen({}), Keepalive()}), "Established up"},
        {"bad marker", 0, With(Header(19, kBgpKeepalive), 3, 0), "Closed 0101"},
        {"length below header", 0, Header(18, kBgpKeepalive), "Closed 01020012"},
        {"keepalive with a body", 0, Concat({Header(20, kBgpKeepalive), {0}}), "Closed 01020014"},
        {"open too short", 0, Header(28, kBgpOpen), "Closed 0102001c"},
        {"standard length exceeded", 0, Header(4097, kBgpUpdate), "Closed 01021001"},
        {"unknown type", 0, Header(19, 9), "Closed 010309"},
        {"UPDATE past 4096 with extended messages", 0, Concat({vecExtended, Header(5000, kBgpUpdate), Bytes(4981)}), "Established up"},
        {"OPEN past 4096 even with extended messages", 0, Concat({vecExtended, Header(5000, kBgpOpen)}), "Closed up 01021388"},
        {"version 3", 0, BgpOpen({3}), "Closed 02010004"},
        {"parameters longer than the message", 0, Concat({Header(29, kBgpOpen), {4, 0xfd, 0xe9, 0, 90, 0, 0, 0, 1, 2}}), "Closed 0200"},
        {"capability overruns its parameter", 0, BgpOpen({4, 65001, 90, 1, {{1, 9, 0, 1}}}), "Closed 0200"},
        {"peer AS not the configured one", 65002, BgpOpen({}), "Closed 0202"},
        {"4-octet AS beats AS_TRANS", 4200000000u, BgpOpen({4, kAsTrans, 90, 1, {CapMp(1, 73), CapAs4(4200000000u)}}), "OpenConfirm"},
        {"our OPEN, read by a peer", 4200000000u, Concat({BuildOpen(stWide), Keepalive()}), "Established up"},
        {"4-octet AS mismatch", 65001, BgpOpen({4, 65001, 90, 1, {CapMp(1, 73), CapAs4(65009)}}), "Closed 0202"},
        {"another 4-byte capability is not the AS", 65001, BgpOpen({4, 65001, 90, 1, {CapMp(1, 73), Cap(64, {0, 0, 0, 9})}}), "OpenConfirm"},
        {"BGP identifier 0", 0, BgpOpen({4, 65001, 90, 0}), "Closed 0203"},
        {"BGP identifier 255.255.255.255", 0, BgpOpen({4, 65001, 90, 0xFFFFFFFFu}), "Closed 0203"},
        {"unknown optional parameter", 0, Bgp(kBgpOpen, Hex("04 fde9 005a 00000001  08 09 06 01040001 0049")), "Closed 0204"},
        {"hold time 2", 0, BgpOpen({4, 65001, 2}), "Closed 0206"},
        {"hold time 0 is fine", 0, BgpOpen({4, 65001, 0}), "OpenConfirm"},
        {"no SR Policy family", 0, BgpOpen({4, 65001, 90, 1, {CapMp(1, 1)}}), "Closed 0207 01040001 0049 01040002 0049"},
        {"update before open", 0, vecUpdate, "Closed 0501"},
        {"update in OpenConfirm", 0, Concat({BgpOpen({}), vecUpdate}), "Closed 0502"},
        {"open in Established", 0, Concat({BgpOpen({}), Keepalive(), BgpOpen({})}), "Closed up 0503"},
        {"peer notification", 0, Concat({BgpOpen({}), BuildNotification(6, 2, {})}), "Closed"},
    };
    for (const Row &row : aRows) {
        SCOPED_TRACE(row.pcName);
        for (size_t ulStep : {row.vecIn.size(), size_t{1}, size_t{7}}) {
            Recorder rec;
            BgpSession s(Config(row.ulPeerAs), rec);
            s.Start(0.0);
            for (size_t i = 0; i < row.vecIn.size(); i += ulStep) {
                size_t n = std::min(ulStep, row.vecIn.size() - i);
                if (ulStep == 7u) {
                    std::memcpy(s.InputRoom(65536u), row.vecIn.data() + i, n);
                    s.Received(n, 1.0);
                } else {
                    s.Receive(row.vecIn.data() + i, n, 1.0);
                }
            }
            std::string strGot = SessionStateName(s.State()) + std::string(rec.iEstablished == 1 ? "up" : "") +
                                 ToHex(LastNotification(s.Output()));
            std::string strExpect = row.pcExpect;
            strExpect.erase(std::remove(strExpect.begin(), strExpect.end(), ' '), strExpect.end());
            EXPECT_EQ(strGot, strExpect);
        }
    }
}

TEST(Session, TimersAndEstablishedTraffic)
{
    Recorder rec;
    BgpSession s(Config(), rec);
    s.Start(0.0);
    /* Nothing but the OPEN goes out before the session is up. */
    Bytes vecOpen = s.Output();
    s.Send(BuildEndOfRib({1, 73}));
    EXPECT_EQ(s.Output(), vecOpen);
    Bytes vecIn = Concat({BgpOpen({4, 65001, 9}), Keepalive()});
    s.Receive(vecIn.data(), vecIn.size(), 0.0);
    ASSERT_EQ(s.State(), SessionState::Established);
    EXPECT_EQ(s.HoldTime(), 9u);
    s.Output().clear();
    /* UPDATEs go out once the session is up. */
    Bytes vecEor = BuildEndOfRib({2, 73});
    s.Send(vecEor);
    EXPECT_EQ(s.Output(), vecEor);
    s.Output().clear();
    /* A keepalive every third of the hold time. */
    EXPECT_DOUBLE_EQ(s.NextDeadline(), 3.0);
    s.Tick(3.0);
    EXPECT_EQ(s.Output(), Keepalive());
    /* Updates and route refresh reach the owner; a keepalive restarts hold. */
    Bytes vecUpdate = BuildEndOfRib({1, 73});
    Bytes vecRefresh = BuildMessage(kBgpRouteRefresh, {0, 2, 0, 73});
    vecIn = Concat({vecUpdate, vecRefresh, Keepalive()});
    s.Receive(vecIn.data(), vecIn.size(), 8.0);
    ASSERT_EQ(rec.vecUpdates.size(), 1u);
    EXPECT_EQ(rec.vecUpdates[0], vecUpdate);
    EXPECT_EQ(rec.vecRefresh, (std::vector<Family>{{2, 73}}));
    s.Tick(16.9);
    EXPECT_EQ(s.State(), SessionState::Established);
    s.Tick(17.0);
    EXPECT_EQ(s.State(), SessionState::Closed);
    EXPECT_EQ(LastNotification(s.Output()), (Bytes{kErrHoldTimer, 0}));
    /* Nothing is read after the close. */
    s.Receive(vecUpdate.data(), vecUpdate.size(), 18.0);
    EXPECT_EQ(rec.vecUpdates.size(), 1u);
    /* Hold time 0: no timer runs, the owner's loop may sleep an hour. */
    BgpSession s0(Config(), rec);
    s0.Start(0.0);
    vecIn = Concat({BgpOpen({4, 65001, 0}), Keepalive()});
    s0.Receive(vecIn.data(), vecIn.size(), 0.0);
    EXPECT_DOUBLE_EQ(s0.NextDeadline(), 3600.0);
}

TEST(Session, EndOfRib)
{
    const std::pair<Bytes, Family> aRows[] = {
        {BuildEndOfRib({1, 73}), {1, 73}},
        {BuildEndOfRib({2, 73}), {2, 73}},
        {BuildEndOfRib({1, 1}), {1, 1}},
        /* Extended-length MP_UNREACH_NLRI of three bytes. */
        {BuildMessage(kBgpUpdate, {0, 0, 0, 7, 0x90, 15, 0, 3, 0, 1, 73}), {1, 73}},
        /* A withdrawal is not the end ({0, 0}), nor an UPDATE without MP_UNREACH_NLRI. */
        {BuildMessage(kBgpUpdate, {0, 0, 0, 7, 0x80, 15, 4, 0, 1, 73, 0}), {0, 0}},
        {BuildMessage(kBgpUpdate, {0, 0, 0, 4, 0x40, 1, 1, 0}), {0, 0}},
    };
    for (const auto &row : aRows) {
        Family st{0, 0};
        EXPECT_EQ(IsEndOfRib(row.first.data(), row.first.size(), st) ? st : Family(), row.second) << ToHex(row.first);
    }
}

/* A speaker connecting to a loopback port nobody listens on: the refused
 * connection is reported and closed, and tried again after the retry time. */
TEST(Speaker, RefusedConnectionReportedAndRetried)
{
    struct Handler : SpeakerHandler {
        void PeerUp(Speaker &, const PeerId &) override {}
        void PeerUpdate(Speaker &, const PeerId &, const uint8_t *, size_t) override {}
        void PeerDown(Speaker &sp, const PeerId &, bool, const std::string &strWhy) override
        {
            vecWhy.push_back(strWhy);
            if (vecWhy.size() == 2u) {
                sp.Stop(0.0);
            }
        }
        void Signal(Speaker &, int) override {}
        std::vector<std::string> vecWhy;
    } handler;
    SpeakerOptions st;
    st.stSession = Config();
    st.dRetry = 0.2;
    st.vecConnect.resize(1u);
    std::string strError;
    ASSERT_TRUE(ParsePeerSpec("127.0.0.1:1", true, st.vecConnect[0], strError));
    Speaker sp(st, handler);
    ASSERT_TRUE(sp.Open(strError)) << strError;
    auto OpenFds = [] {
        std::filesystem::directory_iterator it("/proc/self/fd");
        return std::distance(it, std::filesystem::directory_iterator());
    };
    auto lFds = OpenFds();
    double dStart = Speaker::Now();
    sp.Run();
    EXPECT_EQ(handler.vecWhy, std::vector<std::string>(2u, "connect: Connection refused"));
    EXPECT_GE(Speaker::Now() - dStart, 0.2);
    EXPECT_EQ(OpenFds(), lFds); /* each refused socket closed */
}

/* Peers and endpoints named on the command line: with a port (iMode 1) or
 * without (0) and the peer's settings; a bind endpoint (2, default port 11019). */
TEST(Speaker, PeerAndEndpointText)
{
    struct Row {
        const char *pcText;
        int iMode;
        const char *pcExpect; /* "addr port AS md5", or the part of the error after "!" */
    };
    const Row aRows[] = {
        {"127.0.0.2", 1, "127.0.0.2 179 0 "},
        {"127.0.0.2:1790", 1, "127.0.0.2 1790 0 "},
        {"[::1]:1790", 1, "::1 1790 0 "},
        {"[::1]", 1, "::1 179 0 "},
        {"::1", 1, "::1 179 0 "},
        {"127.0.0.2:1790,as=65001,md5=a=b", 1, "127.0.0.2 1790 65001 a=b"},
        {"127.0.0.2,md5=pw,as=4200000000", 0, "127.0.0.2 179 4200000000 pw"},
        {"127.0.0.2:65536", 1, "!not a port: 65536"},
        {"127.0.0.2:", 1, "127.0.0.2 179 0 "},
        {"127.0.0.2:x", 1, "!not a port"},
        {"[::1]x", 1, "!expected ':'"},
        {"[::1", 1, "!missing ']'"},
        {"router1", 1, "!not a numeric address"},
        {"127.0.0.2:1790", 0, "!not a numeric address"},
        {"127.0.0.2,as=0", 0, "!not an AS number"},
        {"127.0.0.2,as=4294967296", 0, "!not an AS number"},
        {"127.0.0.2,hold=3", 0, "!unknown peer setting 'hold=3'"},
        {"127.0.0.1", 2, "127.0.0.1 11019"},
        {"[::1]:5000", 2, "::1 5000"},
        {"[::1]", 2, "::1 11019"},
        {"127.0.0.1:65535", 2, "127.0.0.1 65535"},
        {"127.0.0.1:65536", 2, "!"},
        {"[::1]5000", 2, "!"},
        {"router:11019", 2, "!"},
    };
    for (const Row &row : aRows) {
        SCOPED_TRACE(row.pcText);
        PeerSpec st;
        std::string strError;
        std::string strGot;
        bool bOk = row.iMode == 2 ? ParseEndpoint(row.pcText, 11019u, st.strAddr, st.usPort, strError)
                                  : ParsePeerSpec(row.pcText, row.iMode == 1, st, strError);
        if (bOk) {
            strGot = st.strAddr + " " + std::to_string(st.usPort) +
                     (row.iMode == 2 ? "" : " " + std::to_string(st.ulAs) + " " + st.strMd5);
        }
        std::string strExpect = row.pcExpect;
        ASSERT_EQ(bOk, strExpect[0] != '!') << strError;
        if (bOk) {
            EXPECT_EQ(strGot, strExpect);
        } else {
            EXPECT_NE(strError.find(strExpect.substr(1)), std::string::npos) << strError;
        }
    }
}

}  // namespace
}  // namespace srp
