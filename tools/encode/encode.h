/*
 * `srpolicy encode`: configured SR Policy routes (JSON, schema in
 * tools/README.md) to BGP UPDATE messages. The routes become the plug-in's
 * configuration records; the plug-in turns them into a key and an attribute
 * and writes the NLRI and the attribute value; the tool frames the UPDATE.
 */
#ifndef SRPOLICY_TOOL_ENCODE_H
#define SRPOLICY_TOOL_ENCODE_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <pcap/pcap.h>

#include "common/bytes.h"
#include "plugin/plugin_host.h"

namespace srp {

using Sid = std::array<uint8_t, 16>;

/* SID structure: locator block, locator node, function, argument lengths. */
struct SidStructure {
    uint8_t aucLen[4] = {0, 0, 0, 0};
    uint32_t Word() const
    {
        return (static_cast<uint32_t>(aucLen[0]) << 24) | (static_cast<uint32_t>(aucLen[1]) << 16) |
               (static_cast<uint32_t>(aucLen[2]) << 8) | aucLen[3];
    }
};

struct CfgBindingSid {
    std::optional<uint32_t> oLabel;
    std::optional<Sid> oSid;
    bool bSFlag = false;
    bool bIFlag = false;
};

struct CfgSrv6BindingSid {
    Sid aSid{};
    uint8_t ucFlags = 0; /* S 0x80, I 0x40, B 0x20 (behavior and structure follow) */
    uint16_t usBehavior = 0;
    SidStructure stStructure;
};

/* Binding SID of a segment list: an SRv6 SID, optionally with a reverse one;
 * behavior and structure are carried when bWithBehavior. */
struct CfgSegListBsid {
    Sid aSid{};
    std::optional<Sid> oReverse;
    bool bWithBehavior = false;
    uint16_t usBehavior = 0;
    SidStructure stStructure;
    uint16_t usReverseBehavior = 0;
    SidStructure stReverseStructure;
};

struct CfgSegmentList {
    std::optional<uint32_t> oWeight;
    std::optional<uint32_t> oPathMtu;
    std::optional<CfgSegListBsid> oBindingSid;
    std::vector<uint32_t> vecLabels; /* MPLS label segments, or */
    std::vector<Sid> vecSids;        /* SRv6 SID segments */
};

struct CfgRoute {
    Bytes vecEndpoint; /* 4 or 16 bytes */
    uint32_t ulColor = 0;
    uint32_t ulDistinguisher = 0;
    Bytes vecNextHop; /* 4 or 16 bytes */
    uint8_t ucOrigin = 0;
    std::vector<uint32_t> vecAsPath;
    std::optional<uint32_t> oPreference;
    std::optional<CfgBindingSid> oBindingSid;
    std::vector<CfgSrv6BindingSid> vecSrv6BindingSids;
    std::vector<CfgSegmentList> vecSegmentLists;
    std::optional<uint32_t> oTemplateId;
    std::optional<uint32_t> oSliceId;
};

/* Parses and checks a configuration; the error names the offending field. */
bool LoadConfig(const std::string &strText, std::vector<CfgRoute> &vecRoutes, std::string &strError);
/* The same, read from a stream as the parser goes. */
bool LoadConfig(std::FILE *pFile, std::vector<CfgRoute> &vecRoutes, std::string &strError);

/* One UPDATE per run of routes that share their attributes (at most 4096
 * bytes each); with bWithdraw, MP_UNREACH_NLRI only. Messages are handed on
 * as they are complete; fnWarning (may be empty) hears, per route index, the
 * code points RFC 9830 receivers read differently. */
using MessageFn = std::function<void(const Bytes &vecMsg)>;
using WarningFn = std::function<void(size_t ulRoute, const std::string &strWarning)>;
bool BuildUpdates(PluginHost &host, const std::vector<CfgRoute> &vecRoutes, bool bWithdraw, const MessageFn &fnMessage,
                  const WarningFn &fnWarning, std::string &strError);
/* The same, collected. */
bool BuildUpdates(PluginHost &host, const std::vector<CfgRoute> &vecRoutes, bool bWithdraw, std::vector<Bytes> &vecMsgs,
                  std::string &strError);

/* The frames of one BGP session (Ethernet, IPv4, TCP port 179) carrying a
 * stream of messages: the handshake first, then data in segments of at most
 * 1460 bytes, each acknowledged. */
class SessionFramer {
public:
    using FrameFn = std::function<void(const Bytes &vecFrame)>;
    explicit SessionFramer(FrameFn fnFrame);
    void Message(const Bytes &vecMsg);
    /* The last, shorter segment. */
    void Finish();

private:
    void Segment(const uint8_t *p, size_t n);

    FrameFn m_fnFrame;
    Bytes m_vecPending;
    uint16_t m_usId = 1u;
    uint32_t m_ulSpeakerSeq = 0;
};

/* That session written to a capture file ("-": stdout) as messages come. */
class SessionCapture {
public:
    SessionCapture() = default;
    ~SessionCapture();
    SessionCapture(const SessionCapture &) = delete;
    SessionCapture &operator=(const SessionCapture &) = delete;
    bool Open(const std::string &strPath, std::string &strError);
    void Message(const Bytes &vecMsg);
    bool Close(std::string &strError);

private:
    std::string m_strPath;
    pcap_t *m_pPcap = nullptr;
    pcap_dumper_t *m_pDump = nullptr;
    std::unique_ptr<SessionFramer> m_pFramer;
    uint64_t m_ullFrames = 0;
};

/* The frames of a capture of one BGP session (Ethernet, IPv4, TCP port 179)
 * carrying the messages, for tests: each with its bytes. */
std::vector<Bytes> SessionFrames(const std::vector<Bytes> &vecMsgs);

enum class EncodeOutput { Hex, Raw };

struct EncodeOptions {
    std::string strConfig;
    bool bWithdraw = false;
    EncodeOutput eOutput = EncodeOutput::Hex;
    std::string strPcap; /* non-empty: write a capture there instead */
};

int RunEncode(const EncodeOptions &stOptions);

}  // namespace srp

#endif
