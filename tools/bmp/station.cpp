/* The BMP station's socket loop: one thread, poll over the listening socket,
 * the routers' sessions and a self-pipe that carries the signals. */
#include "bmp/station.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <list>

#include "bmp/bmp_message.h"
#include "bmp/monitor.h"
#include "common/signal_pipe.h"
#include "output/live_output.h"
#include "output/out_buffer.h"
#include "plugin/plugin_host.h"
#include "rib/rib.h"

namespace srp {
namespace bmp {

namespace {

/* One router's BMP session. */
struct Session {
    int iFd = -1;
    std::string strRouter; /* "ADDR:PORT" of the router's end */
    Framer framer;
};

/* The peer address of an accepted socket as bytes (IPv4-mapped IPv6 as
 * IPv4) and as "ADDR:PORT" text. */
void PeerOf(const sockaddr_storage &stAddr, Bytes &vecAddr, std::string &strName)
{
    if (stAddr.ss_family == AF_INET) {
        const sockaddr_in &st4 = reinterpret_cast<const sockaddr_in &>(stAddr);
        const uint8_t *p = reinterpret_cast<const uint8_t *>(&st4.sin_addr);
        vecAddr.assign(p, p + 4);
        strName = Ipv4Text(Be32(p)) + ":" + std::to_string(ntohs(st4.sin_port));
        return;
    }
    const sockaddr_in6 &st6 = reinterpret_cast<const sockaddr_in6 &>(stAddr);
    const uint8_t *p = reinterpret_cast<const uint8_t *>(&st6.sin6_addr);
    static const uint8_t aucMapped[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
    if (std::memcmp(p, aucMapped, 12u) == 0) {
        vecAddr.assign(p + 12, p + 16);
        strName = Ipv4Text(Be32(p + 12)) + ":" + std::to_string(ntohs(st6.sin6_port));
    } else {
        vecAddr.assign(p, p + 16);
        strName = "[" + Ipv6Text(p) + "]:" + std::to_string(ntohs(st6.sin6_port));
    }
}

int Listen(const std::string &strAddr, uint16_t usPort, uint16_t &usBound, std::string &strError)
{
    Bytes vecAddr;
    if (!ParseAddress(strAddr, vecAddr)) {
        strError = "not an address: " + strAddr;
        return -1;
    }
    sockaddr_storage stAddr{};
    socklen_t ulLen;
    if (vecAddr.size() == 4u) {
        sockaddr_in &st4 = reinterpret_cast<sockaddr_in &>(stAddr);
        st4.sin_family = AF_INET;
        st4.sin_port = htons(usPort);
        std::memcpy(&st4.sin_addr, vecAddr.data(), 4u);
        ulLen = sizeof(sockaddr_in);
    } else {
        sockaddr_in6 &st6 = reinterpret_cast<sockaddr_in6 &>(stAddr);
        st6.sin6_family = AF_INET6;
        st6.sin6_port = htons(usPort);
        std::memcpy(&st6.sin6_addr, vecAddr.data(), 16u);
        ulLen = sizeof(sockaddr_in6);
    }
    int iFd = socket(stAddr.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    int iOne = 1;
    if (iFd < 0 || setsockopt(iFd, SOL_SOCKET, SO_REUSEADDR, &iOne, sizeof(iOne)) != 0 ||
        bind(iFd, reinterpret_cast<sockaddr *>(&stAddr), ulLen) != 0 || listen(iFd, 64) != 0 ||
        getsockname(iFd, reinterpret_cast<sockaddr *>(&stAddr), &ulLen) != 0) {
        strError = std::string("cannot listen on ") + strAddr + ":" + std::to_string(usPort) + ": " +
                   std::strerror(errno);
        if (iFd >= 0) {
            close(iFd);
        }
        return -1;
    }
    usBound = ntohs(stAddr.ss_family == AF_INET ? reinterpret_cast<sockaddr_in &>(stAddr).sin_port
                                                : reinterpret_cast<sockaddr_in6 &>(stAddr).sin6_port);
    return iFd;
}

class Station {
public:
    Station(PluginHost &host, const StationOptions &stOptions, const std::vector<Prefix> &vecAllow,
            SignalPipe &signals)
        : m_stOptions(stOptions),
          m_signals(signals),
          m_vecAllow(vecAllow),
          m_live(STDOUT_FILENO, stOptions.ulOutLimit),
          m_out([this](std::string &strBlock) { return m_live.Push(strBlock); }),
          m_monitor(host, m_rib, m_out, MonitorOptions{stOptions.bJson, stOptions.bVerbose, true})
    {
    }

    int Run(int iListen)
    {
        bool bRunning = true;
        std::vector<pollfd> vecPoll;
        while (bRunning) {
            m_out.Flush();
            Backpressure();
            vecPoll.clear();
            vecPoll.push_back(pollfd{m_signals.Fd(), POLLIN, 0});
            vecPoll.push_back(pollfd{iListen, POLLIN, 0});
            for (const Session &st : m_lstSessions) {
                vecPoll.push_back(pollfd{st.iFd, static_cast<short>(m_bPaused ? 0 : POLLIN), 0});
            }
            if (poll(vecPoll.data(), vecPoll.size(), m_bPaused ? 100 : -1) < 0) {
                if (errno == EINTR) {
                    continue;
                }
                std::perror("srpolicy: bmp: poll");
                break;
            }
            if ((vecPoll[0].revents & POLLIN) != 0) {
                bRunning = Signals();
            }
            if ((vecPoll[1].revents & POLLIN) != 0) {
                Accept(iListen);
            }
            /* Sessions accepted just now are not in vecPoll and wait for the next round. */
            size_t i = 2u;
            for (auto it = m_lstSessions.begin(); it != m_lstSessions.end() && i < vecPoll.size(); i++) {
                if (!m_bPaused && vecPoll[i].revents != 0 && !Read(*it)) {
                    End(*it);
                    it = m_lstSessions.erase(it);
                } else {
                    ++it;
                }
            }
        }
        Dump();
        for (Session &st : m_lstSessions) {
            close(st.iFd);
        }
        m_out.Flush();
        m_live.Drain();
        const MonitorCounts &c = m_monitor.Count();
        std::cerr << "summary: sessions " << m_ullSessions << ", messages " << c.ullMessages << ", updates "
                  << c.ullUpdates << ", routes " << c.ullRoutes << ", withdrawals " << c.ullWithdrawals
                  << ", statistics " << c.ullStatistics << ", skipped " << c.ullSkipped << ", failed " << c.ullFailed
                  << "\n";
        return 0;
    }

private:
    /* While standard output is slow the output queue fills up: reading from
     * the routers pauses (TCP holds them back) until half of it is written. */
    void Backpressure()
    {
        if (!m_bPaused && m_live.Full()) {
            m_bPaused = true;
            std::cerr << "srpolicy: bmp: standard output is slow: " << m_live.Pending()
                      << " bytes waiting; reading from the routers paused\n";
        } else if (m_bPaused && m_live.Pending() < m_live.Limit() / 2u) {
            m_bPaused = false;
            std::cerr << "srpolicy: bmp: output caught up (" << m_live.Pending()
                      << " bytes waiting); reading from the routers again\n";
        }
    }

    /* The signals that arrived; false once asked to stop. */
    bool Signals()
    {
        bool bRun = true;
        for (int iSignal : m_signals.Take()) {
            if (iSignal == SIGUSR1) {
                Dump();
            } else {
                bRun = false;
            }
        }
        return bRun;
    }

    void Accept(int iListen)
    {
        sockaddr_storage stAddr{};
        socklen_t ulLen = sizeof(stAddr);
        int iFd = accept4(iListen, reinterpret_cast<sockaddr *>(&stAddr), &ulLen, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (iFd < 0) {
            return;
        }
        Bytes vecAddr;
        std::string strName;
        PeerOf(stAddr, vecAddr, strName);
        bool bAllowed = m_vecAllow.empty();
        for (const Prefix &st : m_vecAllow) {
            bAllowed = bAllowed || PrefixContains(st, vecAddr);
        }
        if (!bAllowed) {
            std::cerr << "srpolicy: bmp: refused router " << strName << ": not in an allowed prefix\n";
            close(iFd);
            return;
        }
        m_ullSessions++;
        std::cerr << "srpolicy: bmp: router " << strName << " connected\n";
        Session st;
        st.iFd = iFd;
        st.strRouter = strName;
        m_lstSessions.push_back(std::move(st));
    }

    /* Reads what the router sent and hands on each whole message; false
     * when the session ends (closed by the router or broken). */
    bool Read(Session &st)
    {
        uint8_t auc[65536];
        ssize_t r = recv(st.iFd, auc, sizeof(auc), 0);
        if (r < 0) {
            if (errno == EAGAIN || errno == EINTR) {
                return true;
            }
            std::cerr << "srpolicy: bmp: router " << st.strRouter << ": " << std::strerror(errno) << "\n";
            return false;
        }
        if (r == 0) {
            if (st.framer.Pending() != 0u) {
                m_monitor.CountBrokenStream();
                Fail(st, st.framer.Offset(), "cut BMP message: the session ended " + std::to_string(st.framer.Pending()) +
                             " bytes into it");
            }
            return false;
        }
        st.framer.Feed(auc, static_cast<size_t>(r));
        for (;;) {
            const uint8_t *p = nullptr;
            size_t n = 0;
            uint64_t ullOffset = st.framer.Offset();
            std::string strError;
            Framer::Result eResult = st.framer.Next(p, n, strError);
            if (eResult == Framer::Result::NeedMore) {
                return true;
            }
            if (eResult == Framer::Result::Error) {
                m_monitor.CountBrokenStream();
            }
            if (eResult == Framer::Result::Error ||
                !m_monitor.Handle(st.strRouter, "bmp", p, n, ullOffset, m_monitor.Count().ullMessages + 1u, strError)) {
                Fail(st, ullOffset, strError);
                return false;
            }
        }
    }

    void Fail(const Session &st, uint64_t ullOffset, const std::string &strWhat)
    {
        m_out.Flush();
        std::cerr << "srpolicy: error: router " << st.strRouter << ": bmp offset " << ullOffset << ": "
                  << strWhat << "; session closed\n";
    }

    void End(Session &st)
    {
        close(st.iFd);
        size_t ulRemoved = m_monitor.RouterGone(st.strRouter);
        m_out.Flush();
        std::cerr << "srpolicy: bmp: router " << st.strRouter << " disconnected, " << ulRemoved
                  << " routes removed\n";
    }

    /* The table to standard output, and as JSON lines to --rib-out (written
     * whole under another name, then renamed). */
    void Dump()
    {
        m_monitor.Dump(m_out, m_stOptions.bJson);
        if (m_stOptions.strRibOut.empty()) {
            return;
        }
        std::string strTemp = m_stOptions.strRibOut + ".tmp";
        int iFd = open(strTemp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (iFd < 0) {
            std::cerr << "srpolicy: bmp: cannot write " << strTemp << ": " << std::strerror(errno) << "\n";
            return;
        }
        {
            OutBuffer out(iFd);
            m_monitor.Dump(out, true);
        }
        close(iFd);
        if (rename(strTemp.c_str(), m_stOptions.strRibOut.c_str()) != 0) {
            std::cerr << "srpolicy: bmp: cannot write " << m_stOptions.strRibOut << ": " << std::strerror(errno)
                      << "\n";
        }
    }

    const StationOptions &m_stOptions;
    SignalPipe &m_signals;
    std::vector<Prefix> m_vecAllow;
    LiveOutput m_live;
    OutBuffer m_out;
    bool m_bPaused = false;
    Rib m_rib;
    Monitor m_monitor;
    std::list<Session> m_lstSessions;
    uint64_t m_ullSessions = 0;
};

}  // namespace

bool ParsePrefix(const std::string &strText, Prefix &stOut)
{
    size_t ulSlash = strText.find('/');
    if (!ParseAddress(strText.substr(0u, ulSlash), stOut.vecAddr)) {
        return false;
    }
    unsigned uMax = static_cast<unsigned>(stOut.vecAddr.size() * 8u);
    stOut.uLen = uMax;
    if (ulSlash == std::string::npos) {
        return true;
    }
    std::string strLen = strText.substr(ulSlash + 1u);
    if (strLen.empty() || strLen.size() > 3u || strLen.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    stOut.uLen = static_cast<unsigned>(std::stoul(strLen));
    return stOut.uLen <= uMax;
}

bool PrefixContains(const Prefix &stPrefix, const Bytes &vecAddr)
{
    if (vecAddr.size() != stPrefix.vecAddr.size()) {
        return false;
    }
    for (unsigned uBit = 0; uBit < stPrefix.uLen; uBit++) {
        uint8_t ucMask = static_cast<uint8_t>(0x80u >> (uBit % 8u));
        if ((vecAddr[uBit / 8u] & ucMask) != (stPrefix.vecAddr[uBit / 8u] & ucMask)) {
            return false;
        }
    }
    return true;
}

int RunStation(const StationOptions &stOptions)
{
    std::vector<Prefix> vecAllow;
    for (const std::string &strAllow : stOptions.vecAllow) {
        Prefix st;
        if (!ParsePrefix(strAllow, st)) {
            std::cerr << "srpolicy: bmp: not a prefix: " << strAllow << "\n";
            return 2;
        }
        vecAllow.push_back(st);
    }
    std::string strAddr;
    uint16_t usPort = 0;
    std::string strError;
    if (!ParseEndpoint(stOptions.strBind, kDefaultPort, strAddr, usPort, strError)) {
        std::cerr << "srpolicy: bmp: --bind " << stOptions.strBind << ": " << strError << "\n";
        return 2;
    }
    PluginHost host;
    if (!host.Ok()) {
        std::cerr << "srpolicy: the plug-in could not be constructed\n";
        return 2;
    }
    uint16_t usBound = 0;
    int iListen = Listen(strAddr, usPort, usBound, strError);
    if (iListen < 0) {
        std::cerr << "srpolicy: bmp: " << strError << "\n";
        return 2;
    }
    SignalPipe signals;
    if (!signals.Open({SIGINT, SIGTERM, SIGUSR1}, strError)) {
        std::cerr << "srpolicy: bmp: " << strError << "\n";
        close(iListen);
        return 2;
    }
    std::cerr << "srpolicy: bmp: listening on " << (strAddr.find(':') != std::string::npos ? "[" + strAddr + "]" : strAddr)
              << ":" << usBound << "\n";
    if (!stOptions.strPortFile.empty()) {
        std::ofstream os(stOptions.strPortFile + ".tmp");
        os << usBound << "\n";
        os.close();
        std::rename((stOptions.strPortFile + ".tmp").c_str(), stOptions.strPortFile.c_str());
    }
    int iRc;
    {
        Station station(host, stOptions, vecAllow, signals);
        iRc = station.Run(iListen);
    }
    close(iListen);
    return iRc;
}

}  // namespace bmp
}  // namespace srp
