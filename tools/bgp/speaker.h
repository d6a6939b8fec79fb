/*
 * A BGP speaker: the sockets around BgpSession. Listens for peers (passive)
 * and connects to them (active, retried), several at once in one poll loop;
 * only known peers get in when peers are named, and each may carry a TCP MD5
 * password (RFC 2385) set on the listening and on the connecting socket.
 * Signals arrive in the loop through a pipe: SIGINT and SIGTERM end every
 * session with a Cease, the others go to the owner.
 */
#ifndef SRPOLICY_TOOL_BGP_SPEAKER_H
#define SRPOLICY_TOOL_BGP_SPEAKER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bgp/session.h"
#include "common/signal_pipe.h"

namespace srp {

const uint16_t kBgpPort = 179u;

/* A peer named on the command line: ADDR[:PORT][,as=N][,md5=PASSWORD]. */
struct PeerSpec {
    std::string strAddr; /* numeric IPv4 or IPv6 */
    uint16_t usPort = kBgpPort;
    uint32_t ulAs = 0; /* 0: any */
    std::string strMd5;
};

/* Parses a peer; with bPort the address may carry a port (IPv6 in brackets). */
bool ParsePeerSpec(const std::string &strText, bool bPort, PeerSpec &stOut, std::string &strError);

struct SpeakerOptions {
    SessionConfig stSession;
    std::vector<PeerSpec> vecBind;    /* addresses to listen on (address and port used) */
    std::vector<PeerSpec> vecConnect; /* peers to connect to */
    std::vector<PeerSpec> vecPeers;   /* who may connect; empty: anyone */
    std::string strSource;            /* local address of outgoing connections */
    double dRetry = 5.0;              /* seconds between connection attempts */
};

class Speaker;

/* A session's peer as events name it. */
struct PeerId {
    int iId = 0;          /* unique per connection */
    std::string strAddr;  /* peer address */
    uint16_t usPort = 0;
};

class SpeakerHandler {
public:
    virtual ~SpeakerHandler() = default;
    virtual void PeerUp(Speaker &sp, const PeerId &stPeer) = 0;
    virtual void PeerUpdate(Speaker &sp, const PeerId &stPeer, const uint8_t *p, size_t n) = 0;
    virtual void PeerDown(Speaker &sp, const PeerId &stPeer, bool bWasUp, const std::string &strWhy) = 0;
    virtual void RouteRefresh(Speaker &sp, const PeerId &stPeer, const Family &stFamily)
    {
        (void)sp, (void)stPeer, (void)stFamily;
    }
    /* SIGHUP, SIGUSR1; and SIGINT/SIGTERM before the sessions are ceased. */
    virtual void Signal(Speaker &sp, int iSignal) = 0;
    /* True while the owner cannot take more: the speaker stops reading. */
    virtual bool Congested() { return false; }
    /* Once per loop turn, after the sockets were served. */
    virtual void Turn(Speaker &sp) { (void)sp; }
    /* The time by which the owner wants a turn even if no socket is ready. */
    virtual double WakeBy(double dNow) { return dNow + 3600.0; }
};

class Speaker {
public:
    Speaker(const SpeakerOptions &stOptions, SpeakerHandler &handler);
    ~Speaker();
    Speaker(const Speaker &) = delete;
    Speaker &operator=(const Speaker &) = delete;

    /* Listening sockets, MD5 keys and signal handlers; false with the reason. */
    bool Open(std::string &strError);
    /* Serves the sessions until shut down (a signal, or Stop). Returns 0, or
     * 1 when a socket operation failed for good. */
    int Run();
    /* Ceases every session, writes what is queued (at most dLinger seconds)
     * and ends Run. */
    void Stop(double dLinger = 10.0);

    /* An UPDATE to a peer's session; false when it is not Established. */
    bool Send(int iId, const Bytes &vecMsg);
    /* Bytes queued for a peer and not yet written. */
    size_t Queued(int iId) const;
    const BgpSession *Session(int iId) const;
    static double Now();

private:
    struct Conn;
    struct Listener;
    void Accept(Listener &stListener);
    void StartConnect(size_t ulIndex);
    void ConnectDone(Conn &stConn);
    void ReadFrom(Conn &stConn);
    bool WriteTo(Conn &stConn);
    void Retire(Conn &stConn, const std::string &strWhy);
    void NewSession(Conn &stConn);
    /* A live connection to the address whose session is at least in eAtLeast. */
    const Conn *SessionWith(const std::string &strAddr, SessionState eAtLeast, const Conn *pBut) const;
    bool KeepsOpened(Conn &stNew);
    void ServeSignals();
    Conn *Find(int iId) const;

    SpeakerOptions m_stOptions;
    SpeakerHandler &m_handler;
    SignalPipe m_signals;
    std::vector<std::unique_ptr<Listener>> m_vecListeners;
    std::vector<std::unique_ptr<Conn>> m_vecConns;
    std::vector<double> m_vecRetryAt; /* per connect peer: next attempt, 0 while connected */
    int m_iNextId = 1;
    bool m_bStopping = false;
    double m_dStopBy = 0.0;
    int m_iFailed = 0;
};

}  // namespace srp

#endif
