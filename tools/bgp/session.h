/*
 * One BGP session over an established transport (RFC 4271 from OpenSent on):
 * framing of the byte stream, the OPEN exchange with its capabilities
 * (Multiprotocol for AFI 1 and 2 with SAFI 73, 4-octet AS numbers, Route
 * Refresh, Extended Messages), KEEPALIVE and hold timers, and a NOTIFICATION
 * with the code and subcode of every error found. It owns no socket: bytes
 * come in through Receive, go out through Output, and time is handed in, so
 * the state machine runs the same under a poll loop and in a test.
 */
#ifndef SRPOLICY_TOOL_BGP_SESSION_H
#define SRPOLICY_TOOL_BGP_SESSION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bgp/message_stream.h"
#include "common/bgp_codes.h"
#include "common/bytes.h"

namespace srp {

/* NOTIFICATION codes and the subcodes the session sends. */
enum : uint8_t {
    kErrHeader = 1,
    kErrOpen = 2,
    kErrUpdate = 3,
    kErrHoldTimer = 4,
    kErrFsm = 5,
    kErrCease = 6,
};
enum : uint8_t { kSubNotSynchronized = 1, kSubBadLength = 2, kSubBadType = 3 };
enum : uint8_t {
    kSubBadVersion = 1,
    kSubBadPeerAs = 2,
    kSubBadBgpId = 3,
    kSubBadOptParam = 4,
    kSubBadHoldTime = 6,
    kSubBadCapability = 7,
};
enum : uint8_t { kSubFsmOpenSent = 1, kSubFsmOpenConfirm = 2, kSubFsmEstablished = 3 };
enum : uint8_t { kSubCeaseShutdown = 2, kSubCeaseRejected = 5, kSubCeaseCollision = 7 };

const size_t kBgpMaxStdLen = 4096u;
const uint16_t kAsTrans = 23456u;

enum class SessionState { OpenSent, OpenConfirm, Established, Closed };
const char *SessionStateName(SessionState e);

struct SessionConfig {
    uint32_t ulLocalAs = 0;
    uint32_t ulRouterId = 0; /* host order */
    uint16_t usHoldTime = 90;
    uint32_t ulPeerAs = 0; /* 0: any */
};

/* A family both sides agreed on. */
struct Family {
    uint16_t usAfi;
    uint8_t ucSafi;
    bool operator==(const Family &o) const { return usAfi == o.usAfi && ucSafi == o.ucSafi; }
};

/* What the session reports to its owner. */
class SessionEvents {
public:
    virtual ~SessionEvents() = default;
    virtual void Established() {}
    /* The peer's OPEN was good (its AS and identifier are known): false when
     * this connection loses a collision with another one to the same peer,
     * and the session then ends with a Cease. */
    virtual bool OpenReceived() { return true; }
    /* A whole UPDATE, header included. */
    virtual void Update(const uint8_t *p, size_t n) = 0;
    virtual void RouteRefresh(const Family &stFamily) { (void)stFamily; }
};

/* Why a session ended, in words for the log. */
std::string NotificationText(uint8_t ucCode, uint8_t ucSubcode);

class BgpSession {
public:
    BgpSession(const SessionConfig &stConfig, SessionEvents &events);

    /* The transport is up: send OPEN and wait for the peer's. */
    void Start(double dNow);
    /* Bytes from the peer, in any pieces. */
    void Receive(const uint8_t *p, size_t n, double dNow);
    /* Room for up to n bytes at the end of the input, for a transport to
     * read into directly; Received then takes the ulGot bytes it wrote there
     * (0 gives the room back). */
    uint8_t *InputRoom(size_t n);
    void Received(size_t ulGot, double dNow);
    /* Timers: keepalives out, hold timer expiry. */
    void Tick(double dNow);
    /* The owner cannot read for a while (its output is full): the hold timer
     * is not held against the peer meanwhile. */
    void HoldPaused(double dNow) { m_dLastHeard = dNow; }
    /* Ends the session with a NOTIFICATION (Cease on shutdown). */
    void Close(uint8_t ucCode, uint8_t ucSubcode, const Bytes &vecData = Bytes());
    /* The peer went away (transport closed or reset). */
    void Lost(const std::string &strWhy);
    /* An UPDATE to send (Established only; dropped otherwise). */
    void Send(const Bytes &vecMsg);

    /* Bytes to write to the peer; the owner erases what it wrote. */
    Bytes &Output() { return m_vecOut; }
    SessionState State() const { return m_eState; }
    /* The earliest time Tick has something to do. */
    double NextDeadline() const;
    /* Why the session closed. */
    const std::string &CloseReason() const { return m_strReason; }

    uint32_t PeerAs() const { return m_ulPeerAs; }
    uint32_t PeerId() const { return m_ulPeerId; }
    uint16_t HoldTime() const { return m_usHold; }
    bool ExtendedMessages() const { return m_bExtended; }
    bool PeerRouteRefresh() const { return m_bPeerRefresh; }
    const std::vector<Family> &Families() const { return m_vecFamilies; }
    /* The largest message either side may send. */
    size_t MaxLength() const { return m_bExtended ? 65535u : kBgpMaxStdLen; }

private:
    void Frame();
    bool CheckHeader(const uint8_t *p, size_t &ulLen);
    void Dispatch(const uint8_t *p, size_t n);
    void OnOpen(const uint8_t *p, size_t n);
    bool ReadCapabilities(Reader &rd, uint32_t &ulAs4, std::vector<Family> &vecFamilies);
    void OnNotification(const uint8_t *p, size_t n);

    SessionConfig m_stConfig;
    SessionEvents &m_events;
    SessionState m_eState = SessionState::OpenSent;
    Bytes m_vecIn;
    size_t m_ulInRead = 0;
    size_t m_ulInRoom = SIZE_MAX; /* where the room InputRoom gave starts */
    Bytes m_vecOut;
    double m_dNow = 0.0;
    double m_dLastHeard = 0.0;
    double m_dLastSent = 0.0;
    uint16_t m_usHold = 240; /* until the OPENs agree: the large value RFC 4271 suggests */
    uint32_t m_ulPeerAs = 0;
    uint32_t m_ulPeerId = 0;
    bool m_bExtended = false;
    bool m_bPeerRefresh = false;
    std::vector<Family> m_vecFamilies;
    std::string m_strReason;
};

/* Messages the session and the speakers build. */
Bytes BuildMessage(uint8_t ucType, const Bytes &vecBody);
Bytes BuildOpen(const SessionConfig &stConfig);
Bytes BuildNotification(uint8_t ucCode, uint8_t ucSubcode, const Bytes &vecData);
/* End-of-RIB of a family: an empty UPDATE for IPv4 unicast, otherwise an
 * UPDATE with only an empty MP_UNREACH_NLRI of the family (RFC 4724). */
Bytes BuildEndOfRib(const Family &stFamily);
/* True when the UPDATE is an End-of-RIB marker; names its family. */
bool IsEndOfRib(const uint8_t *p, size_t n, Family &stFamily);

}  // namespace srp

#endif
