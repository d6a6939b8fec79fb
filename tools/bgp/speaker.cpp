/* Sockets, timers and signals around the BGP sessions. */
#include "bgp/speaker.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <iostream>

namespace srp {

namespace {

bool SetNonBlocking(int iFd)
{
    int iFlags = fcntl(iFd, F_GETFL);
    return iFlags >= 0 && fcntl(iFd, F_SETFL, iFlags | O_NONBLOCK) == 0 && fcntl(iFd, F_SETFD, FD_CLOEXEC) == 0;
}

/* Numeric address and port to a socket address; false if not an address. */
bool MakeAddr(const std::string &strAddr, uint16_t usPort, sockaddr_storage &stOut, socklen_t &ulLen)
{
    std::memset(&stOut, 0, sizeof(stOut));
    auto *p4 = reinterpret_cast<sockaddr_in *>(&stOut);
    auto *p6 = reinterpret_cast<sockaddr_in6 *>(&stOut);
    if (inet_pton(AF_INET, strAddr.c_str(), &p4->sin_addr) == 1) {
        p4->sin_family = AF_INET;
        p4->sin_port = htons(usPort);
        ulLen = sizeof(sockaddr_in);
        return true;
    }
    if (inet_pton(AF_INET6, strAddr.c_str(), &p6->sin6_addr) == 1) {
        p6->sin6_family = AF_INET6;
        p6->sin6_port = htons(usPort);
        ulLen = sizeof(sockaddr_in6);
        return true;
    }
    return false;
}

/* Address text of a peer; IPv4-mapped IPv6 addresses as IPv4. */
std::string AddrText(const sockaddr_storage &st, uint16_t &usPort)
{
    char ac[INET6_ADDRSTRLEN] = "";
    if (st.ss_family == AF_INET) {
        const auto *p = reinterpret_cast<const sockaddr_in *>(&st);
        inet_ntop(AF_INET, &p->sin_addr, ac, sizeof(ac));
        usPort = ntohs(p->sin_port);
        return ac;
    }
    const auto *p = reinterpret_cast<const sockaddr_in6 *>(&st);
    usPort = ntohs(p->sin6_port);
    if (IN6_IS_ADDR_V4MAPPED(&p->sin6_addr)) {
        inet_ntop(AF_INET, &p->sin6_addr.s6_addr[12], ac, sizeof(ac));
    } else {
        inet_ntop(AF_INET6, &p->sin6_addr, ac, sizeof(ac));
    }
    return ac;
}

/* The same address, whatever its spelling. */
bool SameAddr(const std::string &a, const std::string &b)
{
    sockaddr_storage stA;
    sockaddr_storage stB;
    socklen_t ulA = 0;
    socklen_t ulB = 0;
    uint16_t usPort = 0;
    return MakeAddr(a, 0, stA, ulA) && MakeAddr(b, 0, stB, ulB) && AddrText(stA, usPort) == AddrText(stB, usPort);
}

/* The TCP MD5 key for segments to and from one peer address. */
bool SetMd5(int iFd, const std::string &strPeer, const std::string &strPassword, std::string &strError)
{
    tcp_md5sig st;
    std::memset(&st, 0, sizeof(st));
    socklen_t ulLen = 0;
    if (!MakeAddr(strPeer, 0, st.tcpm_addr, ulLen)) {
        strError = "not an address: " + strPeer;
        return false;
    }
    if (strPassword.size() > TCP_MD5SIG_MAXKEYLEN) {
        strError = "MD5 password longer than " + std::to_string(TCP_MD5SIG_MAXKEYLEN) + " bytes";
        return false;
    }
    st.tcpm_keylen = static_cast<uint16_t>(strPassword.size());
    std::memcpy(st.tcpm_key, strPassword.data(), strPassword.size());
    if (setsockopt(iFd, IPPROTO_TCP, TCP_MD5SIG, &st, sizeof(st)) != 0) {
        strError = std::string("TCP MD5 signatures refused by the kernel: ") + std::strerror(errno);
        return false;
    }
    return true;
}

bool ParseNumber(const std::string &strText, uint32_t &ulOut)
{
    if (strText.empty() || strText.size() > 10u ||
        !std::all_of(strText.begin(), strText.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return false;
    }
    uint64_t ull = std::stoull(strText);
    if (ull > 0xffffffffull) {
        return false;
    }
    ulOut = static_cast<uint32_t>(ull);
    return true;
}

}  // namespace

bool ParsePeerSpec(const std::string &strText, bool bPort, PeerSpec &stOut, std::string &strError)
{
    stOut = PeerSpec();
    size_t ulComma = strText.find(',');
    std::string strHead = strText.substr(0u, ulComma);
    if (bPort) {
        if (!ParseEndpoint(strHead, kBgpPort, stOut.strAddr, stOut.usPort, strError)) {
            return false;
        }
    } else {
        sockaddr_storage st;
        socklen_t ulLen = 0;
        if (!MakeAddr(strHead, 0, st, ulLen)) {
            strError = "not a numeric address: " + strHead;
            return false;
        }
        stOut.strAddr = strHead;
    }
    while (ulComma != std::string::npos) {
        size_t ulNext = strText.find(',', ulComma + 1u);
        std::string strItem = strText.substr(ulComma + 1u, ulNext == std::string::npos ? ulNext : ulNext - ulComma - 1u);
        ulComma = ulNext;
        if (strItem.rfind("as=", 0) == 0) {
            if (!ParseNumber(strItem.substr(3u), stOut.ulAs) || stOut.ulAs == 0u) {
                strError = "not an AS number: " + strItem.substr(3u);
                return false;
            }
        } else if (strItem.rfind("md5=", 0) == 0) {
            stOut.strMd5 = strItem.substr(4u);
        } else {
            strError = "unknown peer setting '" + strItem + "' (as=N, md5=PASSWORD)";
            return false;
        }
    }
    return true;
}

struct Speaker::Listener {
    int iFd = -1;
    std::string strName;
};

/* One TCP connection and, once it is up, its session. */
struct Speaker::Conn : SessionEvents {
    Conn(Speaker &sp) : speaker(sp) {}
    ~Conn() override
    {
        if (iFd >= 0) {
            close(iFd);
        }
    }
    void Established() override
    {
        bWasUp = true;
        speaker.m_handler.PeerUp(speaker, stPeer);
    }
    void Update(const uint8_t *p, size_t n) override { speaker.m_handler.PeerUpdate(speaker, stPeer, p, n); }
    void RouteRefresh(const Family &st) override { speaker.m_handler.RouteRefresh(speaker, stPeer, st); }
    bool OpenReceived() override { return speaker.KeepsOpened(*this); }

    Speaker &speaker;
    int iFd = -1;
    PeerId stPeer;
    uint32_t ulPeerAs = 0;
    int iConnectIndex = -1; /* the --connect peer it serves, -1 for an accepted one */
    bool bConnecting = false;
    bool bWasUp = false;
    bool bDead = false;
    std::unique_ptr<BgpSession> pSession;
    size_t ulWritten = 0; /* bytes of the session's output already sent */
    double dReadAt = 0.0; /* while the peer keeps sending: when to read next, instead of waiting in poll */
    double dGather = 0.005; /* how long to let a sending peer's segments gather before reading them */
};

Speaker::Speaker(const SpeakerOptions &stOptions, SpeakerHandler &handler)
    : m_stOptions(stOptions), m_handler(handler), m_vecRetryAt(stOptions.vecConnect.size(), 0.0)
{
}

Speaker::~Speaker()
{
    m_vecConns.clear();
    for (auto &p : m_vecListeners) {
        close(p->iFd);
    }
}

double Speaker::Now()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

bool Speaker::Open(std::string &strError)
{
    if (!m_signals.Open({SIGINT, SIGTERM, SIGHUP, SIGUSR1}, strError)) {
        return false;
    }

    for (const PeerSpec &stBind : m_stOptions.vecBind) {
        sockaddr_storage st;
        socklen_t ulLen = 0;
        MakeAddr(stBind.strAddr, stBind.usPort, st, ulLen);
        auto pListener = std::make_unique<Listener>();
        pListener->strName = stBind.strAddr + " port " + std::to_string(stBind.usPort);
        pListener->iFd = socket(st.ss_family, SOCK_STREAM, 0);
        int iOne = 1;
        if (pListener->iFd < 0 || !SetNonBlocking(pListener->iFd) ||
            setsockopt(pListener->iFd, SOL_SOCKET, SO_REUSEADDR, &iOne, sizeof(iOne)) != 0) {
            strError = std::string("socket: ") + std::strerror(errno);
            return false;
        }
        m_vecListeners.push_back(std::move(pListener));
        int iFd = m_vecListeners.back()->iFd;
        for (const PeerSpec &stPeer : m_stOptions.vecPeers) {
            if (!stPeer.strMd5.empty() && !SetMd5(iFd, stPeer.strAddr, stPeer.strMd5, strError)) {
                return false;
            }
        }
        if (bind(iFd, reinterpret_cast<sockaddr *>(&st), ulLen) != 0 || listen(iFd, 16) != 0) {
            strError = "cannot listen on " + m_vecListeners.back()->strName + ": " + std::strerror(errno);
            return false;
        }
    }
    return true;
}

void Speaker::NewSession(Conn &stConn)
{
    SessionConfig st = m_stOptions.stSession;
    if (stConn.ulPeerAs != 0u) {
        st.ulPeerAs = stConn.ulPeerAs;
    }
    stConn.pSession = std::make_unique<BgpSession>(st, stConn);
    stConn.pSession->Start(Now());
}

void Speaker::Accept(Listener &stListener)
{
    sockaddr_storage st;
    socklen_t ulLen = sizeof(st);
    int iFd = accept(stListener.iFd, reinterpret_cast<sockaddr *>(&st), &ulLen);
    if (iFd < 0) {
        return;
    }
    auto pConn = std::make_unique<Conn>(*this);
    pConn->iFd = iFd;
    pConn->stPeer.iId = m_iNextId++;
    pConn->stPeer.strAddr = AddrText(st, pConn->stPeer.usPort);
    const PeerSpec *pRule = nullptr;
    for (const PeerSpec &stPeer : m_stOptions.vecPeers) {
        if (SameAddr(stPeer.strAddr, pConn->stPeer.strAddr)) {
            pRule = &stPeer;
        }
    }
    if (!m_stOptions.vecPeers.empty() && pRule == nullptr) {
        std::cerr << "srpolicy: refused a connection from " << pConn->stPeer.strAddr << ": not a configured peer\n";
        return;
    }
    if (!SetNonBlocking(iFd)) {
        return;
    }
    pConn->ulPeerAs = pRule != nullptr ? pRule->ulAs : 0u;
    NewSession(*pConn);
    m_vecConns.push_back(std::move(pConn));
}

const Speaker::Conn *Speaker::SessionWith(const std::string &strAddr, SessionState eAtLeast, const Conn *pBut) const
{
    for (const auto &p : m_vecConns) {
        if (p.get() != pBut && !p->bDead && p->pSession != nullptr && p->pSession->State() != SessionState::Closed &&
            p->pSession->State() >= eAtLeast && SameAddr(p->stPeer.strAddr, strAddr)) {
            return p.get();
        }
    }
    return nullptr;
}

/* One session per peer (RFC 4271 section 6.8), judged when a peer's OPEN
 * arrives. An Established session always stays. Against one in OpenConfirm,
 * whose OPEN came so both identifiers are known, the connection opened by
 * the side with the higher BGP identifier stays (the larger AS when they are
 * equal, RFC 6286); of two opened the same way, the older. One still in
 * OpenSent is judged when its own OPEN comes. The loser gets a Cease. */
bool Speaker::KeepsOpened(Conn &stNew)
{
    const SessionConfig &stLocal = m_stOptions.stSession;
    const BgpSession &stPeer = *stNew.pSession;
    bool bLocalHigher = stLocal.ulRouterId != stPeer.PeerId() ? stLocal.ulRouterId > stPeer.PeerId()
                                                              : stLocal.ulLocalAs > stPeer.PeerAs();
    bool bNewOurs = stNew.iConnectIndex >= 0;
    const Conn *pOther = SessionWith(stNew.stPeer.strAddr, SessionState::OpenConfirm, &stNew);
    if (pOther == nullptr) {
        return true;
    }
    if (pOther->pSession->State() == SessionState::Established || bNewOurs == (pOther->iConnectIndex >= 0) ||
        bNewOurs != bLocalHigher) {
        return false;
    }
    pOther->pSession->Close(kErrCease, kSubCeaseCollision);
    return true;
}

void Speaker::StartConnect(size_t ulIndex)
{
    const PeerSpec &stSpec = m_stOptions.vecConnect[ulIndex];
    m_vecRetryAt[ulIndex] = 0.0;
    sockaddr_storage st;
    socklen_t ulLen = 0;
    MakeAddr(stSpec.strAddr, stSpec.usPort, st, ulLen);
    auto pConn = std::make_unique<Conn>(*this);
    pConn->stPeer.iId = m_iNextId++;
    pConn->stPeer.strAddr = stSpec.strAddr;
    pConn->stPeer.usPort = stSpec.usPort;
    pConn->ulPeerAs = stSpec.ulAs;
    pConn->iConnectIndex = static_cast<int>(ulIndex);
    pConn->iFd = socket(st.ss_family, SOCK_STREAM, 0);
    std::string strError;
    bool bOk = pConn->iFd >= 0 && SetNonBlocking(pConn->iFd);
    if (bOk && !stSpec.strMd5.empty() && !SetMd5(pConn->iFd, stSpec.strAddr, stSpec.strMd5, strError)) {
        std::cerr << "srpolicy: peer " << stSpec.strAddr << ": " << strError << "\n";
        bOk = false;
    }
    if (bOk && !m_stOptions.strSource.empty()) {
        sockaddr_storage stSource;
        socklen_t ulSource = 0;
        MakeAddr(m_stOptions.strSource, 0, stSource, ulSource);
        bOk = bind(pConn->iFd, reinterpret_cast<sockaddr *>(&stSource), ulSource) == 0;
    }
    int iRc = bOk ? connect(pConn->iFd, reinterpret_cast<sockaddr *>(&st), ulLen) : -1;
    if (iRc != 0 && (!bOk || errno != EINPROGRESS)) {
        std::cerr << "srpolicy: cannot connect to " << stSpec.strAddr << " port " << stSpec.usPort << ": "
                  << (strError.empty() ? std::strerror(errno) : strError) << "\n";
        m_vecRetryAt[ulIndex] = Now() + m_stOptions.dRetry;
        return;
    }
    pConn->bConnecting = iRc != 0;
    if (!pConn->bConnecting) {
        NewSession(*pConn);
    }
    m_vecConns.push_back(std::move(pConn));
}

void Speaker::ConnectDone(Conn &stConn)
{
    int iError = 0;
    socklen_t ulLen = sizeof(iError);
    getsockopt(stConn.iFd, SOL_SOCKET, SO_ERROR, &iError, &ulLen);
    if (iError != 0) {
        Retire(stConn, std::string("connect: ") + std::strerror(iError));
        return;
    }
    stConn.bConnecting = false;
    NewSession(stConn);
}

/* Everything the socket holds is read at one wakeup, straight into the
 * session's input, and every complete message in it is handled before the
 * next poll; a bound on the reads keeps the other sessions and the timers
 * served while one peer sends a long burst. A peer that is sending (the last
 * read found data) is read again a moment later rather than on the next
 * poll wakeup: a router's burst arrives in many small segments, and taking
 * them many at a time costs one wakeup, one receive and one acknowledgement
 * for many UPDATEs instead of for each. The moment adapts to the sender's
 * pace: while a wakeup finds the receive buffer less than an eighth full, the
 * wait doubles (up to 50 ms); once it finds it more than a quarter full, it
 * halves (down to 2 ms), so a fast sender never waits on a full window.
 * Once a read finds nothing, poll waits for the peer again. */
void Speaker::ReadFrom(Conn &stConn)
{
    const size_t kReadSize = 65536u;
    const int kReadsPerWakeup = 16;
    const double kGatherMin = 0.002;
    const double kGatherMax = 0.05;
    stConn.dReadAt = 0.0;
    size_t ulTaken = 0;
    for (int i = 0; i < kReadsPerWakeup; i++) {
        BgpSession &session = *stConn.pSession;
        uint8_t *pucRoom = session.InputRoom(kReadSize);
        ssize_t lRc = recv(stConn.iFd, pucRoom, kReadSize, 0);
        int iErrno = errno;
        session.Received(lRc > 0 ? static_cast<size_t>(lRc) : 0u, Now());
        if (lRc < 0 && (iErrno == EAGAIN || iErrno == EWOULDBLOCK || iErrno == EINTR)) {
            break;
        }
        if (lRc <= 0) {
            session.Lost(lRc == 0 ? "peer closed the connection" : std::string("recv: ") + std::strerror(iErrno));
            Retire(stConn, session.CloseReason());
            return;
        }
        ulTaken += static_cast<size_t>(lRc);
        if (static_cast<size_t>(lRc) < kReadSize || session.State() == SessionState::Closed ||
            m_handler.Congested()) {
            break; /* drained, ended, or the owner's output is full */
        }
    }
    if (ulTaken == 0u) {
        return;
    }
    /* Asked at every wakeup, not once: the kernel grows the buffer while the
     * connection runs. */
    int iBuffer = 0;
    socklen_t ulLen = sizeof(iBuffer);
    size_t ulBuffer = getsockopt(stConn.iFd, SOL_SOCKET, SO_RCVBUF, &iBuffer, &ulLen) == 0 && iBuffer > 0
                          ? static_cast<size_t>(iBuffer)
                          : 0u;
    if (ulTaken * 8u < ulBuffer) {
        stConn.dGather = std::min(kGatherMax, stConn.dGather * 2.0);
    } else if (ulTaken * 4u > ulBuffer) {
        stConn.dGather = std::max(kGatherMin, stConn.dGather / 2.0);
    }
    stConn.dReadAt = Now() + stConn.dGather;
}

bool Speaker::WriteTo(Conn &stConn)
{
    Bytes &vecOut = stConn.pSession->Output();
    while (stConn.ulWritten < vecOut.size()) {
        ssize_t lRc = send(stConn.iFd, vecOut.data() + stConn.ulWritten, vecOut.size() - stConn.ulWritten, MSG_NOSIGNAL);
        if (lRc < 0 && errno == EINTR) {
            continue;
        }
        if (lRc < 0 && errno == EAGAIN) {
            break;
        }
        if (lRc <= 0) {
            stConn.pSession->Lost(std::string("send: ") + std::strerror(errno));
            Retire(stConn, stConn.pSession->CloseReason());
            return false;
        }
        stConn.ulWritten += static_cast<size_t>(lRc);
    }
    if (stConn.ulWritten == vecOut.size()) {
        vecOut.clear();
        stConn.ulWritten = 0u;
    } else if (stConn.ulWritten > (1u << 20)) {
        vecOut.erase(vecOut.begin(), vecOut.begin() + static_cast<std::ptrdiff_t>(stConn.ulWritten));
        stConn.ulWritten = 0u;
    }
    return true;
}

void Speaker::Retire(Conn &stConn, const std::string &strWhy)
{
    if (stConn.bDead) {
        return;
    }
    stConn.bDead = true;
    close(stConn.iFd);
    stConn.iFd = -1;
    m_handler.PeerDown(*this, stConn.stPeer, stConn.bWasUp, strWhy);
    if (stConn.iConnectIndex >= 0 && !m_bStopping) {
        m_vecRetryAt[static_cast<size_t>(stConn.iConnectIndex)] = Now() + m_stOptions.dRetry;
    }
}

void Speaker::Stop(double dLinger)
{
    if (m_bStopping) {
        return;
    }
    m_bStopping = true;
    m_dStopBy = Now() + dLinger;
    for (auto &pConn : m_vecConns) {
        if (pConn->pSession != nullptr) {
            pConn->pSession->Close(kErrCease, kSubCeaseShutdown);
        } else {
            Retire(*pConn, "shutting down");
        }
    }
}

void Speaker::ServeSignals()
{
    for (int iSignal : m_signals.Take()) {
        m_handler.Signal(*this, iSignal);
        if (iSignal == SIGINT || iSignal == SIGTERM) {
            Stop();
        }
    }
}

Speaker::Conn *Speaker::Find(int iId) const
{
    for (const auto &p : m_vecConns) {
        if (p->stPeer.iId == iId && !p->bDead) {
            return p.get();
        }
    }
    return nullptr;
}

bool Speaker::Send(int iId, const Bytes &vecMsg)
{
    Conn *p = Find(iId);
    if (p == nullptr || p->pSession == nullptr || p->pSession->State() != SessionState::Established) {
        return false;
    }
    p->pSession->Send(vecMsg);
    return true;
}

size_t Speaker::Queued(int iId) const
{
    Conn *p = Find(iId);
    return p == nullptr || p->pSession == nullptr ? 0u : p->pSession->Output().size() - p->ulWritten;
}

const BgpSession *Speaker::Session(int iId) const
{
    Conn *p = Find(iId);
    return p == nullptr ? nullptr : p->pSession.get();
}

int Speaker::Run()
{
    for (size_t i = 0; i < m_stOptions.vecConnect.size(); i++) {
        StartConnect(i);
    }
    std::vector<pollfd> vecFds;
    std::vector<Conn *> vecPolled;
    while (true) {
        double dNow = Now();
        m_vecConns.erase(std::remove_if(m_vecConns.begin(), m_vecConns.end(), [](const auto &p) { return p->bDead; }),
                         m_vecConns.end());
        if (m_bStopping && (m_vecConns.empty() || dNow >= m_dStopBy)) {
            for (auto &p : m_vecConns) {
                Retire(*p, "shutting down");
            }
            break;
        }
        for (size_t i = 0; i < m_vecRetryAt.size() && !m_bStopping; i++) {
            if (m_vecRetryAt[i] == 0.0 || dNow < m_vecRetryAt[i]) {
                continue;
            }
            /* The peer may have connected to us meanwhile: while that
             * session is up, no second one is opened. */
            if (SessionWith(m_stOptions.vecConnect[i].strAddr, SessionState::Established, nullptr) != nullptr) {
                m_vecRetryAt[i] = dNow + m_stOptions.dRetry;
            } else {
                StartConnect(i);
            }
        }
        bool bCongested = m_handler.Congested();
        double dWake = std::min(dNow + (bCongested ? 0.05 : 1.0), m_handler.WakeBy(dNow));
        vecFds.clear();
        vecPolled.clear();
        vecFds.push_back({m_signals.Fd(), POLLIN, 0});
        for (auto &p : m_vecListeners) {
            vecFds.push_back({p->iFd, static_cast<short>(m_bStopping ? 0 : POLLIN), 0});
        }
        for (auto &p : m_vecConns) {
            short sEvents = 0;
            if (p->bConnecting) {
                sEvents = POLLOUT;
            } else if (p->pSession != nullptr) {
                if (bCongested) {
                    p->pSession->HoldPaused(dNow);
                }
                p->pSession->Tick(dNow);
                dWake = std::min(dWake, p->pSession->NextDeadline());
                bool bClosed = p->pSession->State() == SessionState::Closed;
                if (bClosed && p->pSession->Output().size() == p->ulWritten) {
                    Retire(*p, p->pSession->CloseReason());
                    continue;
                }
                bool bGathering = p->dReadAt != 0.0 && !bClosed;
                if (bGathering && !bCongested) {
                    dWake = std::min(dWake, p->dReadAt);
                }
                sEvents = static_cast<short>((bCongested || bClosed || bGathering ? 0 : POLLIN) |
                                             (p->pSession->Output().size() > p->ulWritten ? POLLOUT : 0));
            }
            vecFds.push_back({p->iFd, sEvents, 0});
            vecPolled.push_back(p.get());
        }
        for (double d : m_vecRetryAt) {
            if (d != 0.0) {
                dWake = std::min(dWake, d);
            }
        }
        int iTimeout = static_cast<int>(std::max(0.0, dWake - dNow) * 1000.0) + 1;
        int iRc = poll(vecFds.data(), vecFds.size(), iTimeout);
        if (iRc < 0 && errno != EINTR) {
            std::cerr << "srpolicy: poll: " << std::strerror(errno) << "\n";
            return 1;
        }
        if (iRc > 0) {
            if ((vecFds[0].revents & POLLIN) != 0) {
                ServeSignals();
            }
            for (size_t i = 0; i < m_vecListeners.size(); i++) {
                if ((vecFds[1u + i].revents & POLLIN) != 0) {
                    Accept(*m_vecListeners[i]);
                }
            }
            size_t ulBase = 1u + m_vecListeners.size();
            for (size_t i = 0; i < vecPolled.size(); i++) {
                Conn &stConn = *vecPolled[i];
                short sRevents = vecFds[ulBase + i].revents;
                if (stConn.bDead || sRevents == 0) {
                    continue;
                }
                if (stConn.bConnecting) {
                    ConnectDone(stConn);
                    continue;
                }
                bool bReading = (vecFds[ulBase + i].events & POLLIN) != 0 || (stConn.dReadAt != 0.0 && !bCongested);
                if ((sRevents & (POLLIN | POLLHUP | POLLERR)) != 0 && bReading) {
                    ReadFrom(stConn); /* a hang-up while gathering: what came before it is read first */
                } else if ((sRevents & (POLLHUP | POLLERR)) != 0) {
                    stConn.pSession->Lost("connection lost");
                    Retire(stConn, stConn.pSession->CloseReason());
                }
            }
        }
        /* Peers that were sending are read once their moment has come. */
        if (!bCongested) {
            double dAfter = Now();
            for (Conn *p : vecPolled) {
                if (!p->bDead && p->dReadAt != 0.0 && dAfter >= p->dReadAt && p->pSession != nullptr) {
                    ReadFrom(*p);
                }
            }
        }
        /* Whatever the sessions queued (answers, keepalives, the owner's
         * UPDATEs) goes out at once, as far as the socket takes it. */
        m_handler.Turn(*this);
        for (auto &p : m_vecConns) {
            if (!p->bDead && !p->bConnecting && p->pSession != nullptr) {
                WriteTo(*p);
            }
        }
    }
    return m_iFailed;
}

}  // namespace srp
