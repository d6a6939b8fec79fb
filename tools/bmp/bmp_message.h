/*
 * BMP (RFC 7854, with the Loc-RIB peer type of RFC 9069): framing of a BMP
 * byte stream and the reading of one message into its parts. Everything is
 * read through the bounded Reader; a message that does not hold what its
 * header promises is refused with a sentence saying what is wrong, and the
 * stream it came from cannot be trusted after that.
 */
#ifndef SRPOLICY_TOOL_BMP_MESSAGE_H
#define SRPOLICY_TOOL_BMP_MESSAGE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/bytes.h"

namespace srp {
namespace bmp {

const uint8_t kVersion = 3u;
const size_t kCommonHeaderLen = 6u;
const size_t kPeerHeaderLen = 42u;
/* Longest message accepted: a Peer Up with two extended OPENs and its TLVs
 * stays far below; a longer length is taken for a lie, not waited for. */
const uint32_t kMaxMessageLen = 1u << 20;
const uint16_t kDefaultPort = 11019u;

enum MsgType : uint8_t {
    kRouteMonitoring = 0u,
    kStatisticsReport = 1u,
    kPeerDown = 2u,
    kPeerUp = 3u,
    kInitiation = 4u,
    kTermination = 5u,
    kRouteMirroring = 6u,
};
const char *MsgTypeName(uint8_t ucType);

enum PeerType : uint8_t { kGlobalInstance = 0u, kRdInstance = 1u, kLocalInstance = 2u, kLocRib = 3u };
const char *PeerTypeName(uint8_t ucType);

/* Per-peer header flags. */
const uint8_t kFlagIpv6 = 0x80u;      /* V: the peer address is IPv6 */
const uint8_t kFlagPostPolicy = 0x40u; /* L: post-policy Adj-RIB-In */
const uint8_t kFlagAs2 = 0x20u;        /* A: AS_PATH in the legacy 2-octet form */
const uint8_t kFlagAdjRibOut = 0x10u;  /* O: Adj-RIB-Out (RFC 8671) */
const uint8_t kFlagLocRibFiltered = 0x80u; /* F of a Loc-RIB peer */

struct PeerHeader {
    uint8_t ucType = 0;
    uint8_t ucFlags = 0;
    uint64_t ullDistinguisher = 0;
    std::array<uint8_t, 16> aucAddress{};
    uint32_t ulAs = 0;
    uint32_t ulBgpId = 0;
    uint32_t ulSeconds = 0;
    uint32_t ulMicros = 0;

    /* The V, L and O flags mean nothing for a Loc-RIB peer. */
    bool Ipv6() const { return ucType != kLocRib && (ucFlags & kFlagIpv6) != 0u; }
    bool PostPolicy() const { return ucType != kLocRib && (ucFlags & kFlagPostPolicy) != 0u; }
    bool AdjRibOut() const { return ucType != kLocRib && (ucFlags & kFlagAdjRibOut) != 0u; }
    /* "loc-rib", "pre-policy", "post-policy", with "adj-rib-out " in front
     * when the O flag is set. */
    std::string RibName() const;
    std::string AddressText() const;
    /* "address AS n" naming the monitored peer, unique per router. */
    std::string Name() const;
};

/* An information TLV (Initiation, Termination, Peer Up, Peer Down). */
struct InfoTlv {
    uint16_t usType = 0;
    Bytes vecValue;
};

/* What one side's OPEN says. */
struct OpenInfo {
    uint8_t ucVersion = 0;
    uint32_t ulAs = 0; /* the 4-octet AS when the capability is there, else My AS */
    uint16_t usHoldTime = 0;
    uint32_t ulBgpId = 0;
    bool bAs4 = false;
    std::vector<std::pair<uint16_t, uint8_t>> vecFamilies; /* Multiprotocol capabilities */
};

struct PeerUp {
    std::array<uint8_t, 16> aucLocalAddress{};
    uint16_t usLocalPort = 0;
    uint16_t usRemotePort = 0;
    OpenInfo stSent;
    OpenInfo stReceived;
    std::vector<InfoTlv> vecTlvs;
    /* Both OPENs carry the 4-octet AS capability. */
    bool As4() const { return stSent.bAs4 && stReceived.bAs4; }
    /* Families both sides announced. */
    std::vector<std::pair<uint16_t, uint8_t>> Families() const;
};

enum PeerDownReason : uint8_t {
    kDownLocalNotification = 1u,
    kDownLocalNoNotification = 2u,
    kDownRemoteNotification = 3u,
    kDownRemoteNoData = 4u,
    kDownDeconfigured = 5u,
    kDownLocalSystemClosed = 6u,
};

struct PeerDown {
    uint8_t ucReason = 0;
    bool bNotification = false; /* reasons 1 and 3 */
    uint8_t ucCode = 0;         /* of the NOTIFICATION */
    uint8_t ucSubcode = 0;
    uint16_t usFsmEvent = 0; /* reason 2 */
    std::vector<InfoTlv> vecTlvs; /* reason 6 */
    std::string Text() const;
};

struct Statistic {
    uint16_t usType = 0;
    uint64_t ullValue = 0; /* counters (4 bytes) and gauges (8 bytes) */
    Bytes vecValue;        /* the value as it stands (per-family gauges) */
};

struct Message {
    uint8_t ucType = 0;
    uint32_t ulLength = 0;
    bool bHasPeer = false;
    PeerHeader stPeer;
    /* Route Monitoring: one UPDATE; Route Mirroring: its BGP messages. */
    std::vector<Bytes> vecBgp;
    std::vector<uint16_t> vecMirrorInfo; /* Route Mirroring information codes */
    std::vector<InfoTlv> vecTlvs;        /* Initiation, Termination */
    PeerUp stPeerUp;
    PeerDown stPeerDown;
    std::vector<Statistic> vecStats;
};

/* Reads one whole message (common header included). False with the reason
 * in strError when it is malformed. */
bool ParseMessage(const uint8_t *p, size_t n, Message &stOut, std::string &strError);

/* Reads a BGP OPEN (header included). */
bool ParseOpen(const uint8_t *p, size_t n, OpenInfo &stOut, std::string &strError);

/* Text of an information TLV: the string types as text (control
 * characters escaped), Termination reasons by name, others in hex. */
std::string InfoTlvText(uint8_t ucMsgType, const InfoTlv &stTlv);
/* Name of an information TLV type of a message type. */
std::string InfoTlvName(uint8_t ucMsgType, uint16_t usType);
/* Name of a statistics type. */
std::string StatName(uint16_t usType);

/* Cuts a BMP byte stream into messages. The first problem (a version other
 * than 3, a length shorter than the header or past kMaxMessageLen) is final:
 * BMP has no marker to find the next message by. */
class Framer {
public:
    enum class Result { NeedMore, Message, Error };

    void Feed(const uint8_t *p, size_t n);
    /* The next whole message: p and n point into the framer's buffer until
     * the next call. */
    Result Next(const uint8_t *&p, size_t &n, std::string &strError);
    /* Bytes taken so far but not yet handed out (a cut message at the end). */
    size_t Pending() const { return m_vecBuf.size() - m_ulRead; }
    /* Stream offset of the next message. */
    uint64_t Offset() const { return m_ullOffset; }

private:
    Bytes m_vecBuf;
    size_t m_ulRead = 0;
    uint64_t m_ullOffset = 0;
    bool m_bFailed = false;
};

/* True when the bytes start like a BMP message (version 3, a plausible
 * length, a known type): how decode tells a BMP stream from others. */
bool LooksLikeBmp(const uint8_t *p, size_t n);

}  // namespace bmp
}  // namespace srp

#endif
