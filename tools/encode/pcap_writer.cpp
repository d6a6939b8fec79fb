/*
 * A capture of the encoded messages as one BGP session: Ethernet, IPv4 and
 * TCP with a three-way handshake, the speaker (192.0.2.1, port 179) sending
 * the messages in segments of at most 1460 bytes and the peer acknowledging
 * each. Checksums are real, so dissectors find nothing to complain about.
 */
#include <pcap/pcap.h>

#include "bgp/message_stream.h"
#include "encode/encode.h"

namespace srp {

namespace {

const uint32_t kSpeakerAddr = 0xC0000201u; /* 192.0.2.1 */
const uint32_t kPeerAddr = 0xC0000202u;    /* 192.0.2.2 */
const uint16_t kPeerPort = 50179u;
const uint32_t kSpeakerIsn = 1000u;
const uint32_t kPeerIsn = 5000u;
const size_t kMss = 1460u;
const uint8_t kTcpSyn = 0x02u;
const uint8_t kTcpAck = 0x10u;
const uint8_t kTcpPsh = 0x08u;
/* 2026-01-01 00:00:00 UTC: captures are the same on every run. */
const long kBaseTime = 1767225600L;

uint16_t Checksum(const Bytes &v, size_t ulStart, size_t ulLen, uint32_t ulSum)
{
    for (size_t i = 0; i + 1u < ulLen; i += 2u) {
        ulSum += Be16(v.data() + ulStart + i);
    }
    if ((ulLen & 1u) != 0u) {
        ulSum += static_cast<uint32_t>(v[ulStart + ulLen - 1u]) << 8;
    }
    while ((ulSum >> 16) != 0u) {
        ulSum = (ulSum & 0xFFFFu) + (ulSum >> 16);
    }
    return static_cast<uint16_t>(~ulSum);
}

struct Endpoint {
    uint32_t ulAddr;
    uint16_t usPort;
    uint8_t ucMac;
};

Bytes Frame(const Endpoint &stFrom, const Endpoint &stTo, uint32_t ulSeq, uint32_t ulAck, uint8_t ucFlags,
            const uint8_t *pData, size_t n, uint16_t usIpId)
{
    Bytes v;
    /* Ethernet: locally administered addresses, IPv4 */
    PutBytes(v, Bytes{0x02, 0, 0, 0, 0, stTo.ucMac}.data(), 6u);
    PutBytes(v, Bytes{0x02, 0, 0, 0, 0, stFrom.ucMac}.data(), 6u);
    Put16(v, 0x0800u);
    size_t ulIp = v.size();
    Put8(v, 0x45u);
    Put8(v, 0u);
    Put16(v, static_cast<uint32_t>(20u + 20u + n));
    Put16(v, usIpId);
    Put16(v, 0x4000u); /* don't fragment */
    Put8(v, 64u);
    Put8(v, 6u);
    Put16(v, 0u);
    Put32(v, stFrom.ulAddr);
    Put32(v, stTo.ulAddr);
    SetBe16(v.data() + ulIp + 10u, Checksum(v, ulIp, 20u, 0u));
    size_t ulTcp = v.size();
    Put16(v, stFrom.usPort);
    Put16(v, stTo.usPort);
    Put32(v, ulSeq);
    Put32(v, ulAck);
    Put8(v, 0x50u);
    Put8(v, ucFlags);
    Put16(v, 65535u);
    Put16(v, 0u);
    Put16(v, 0u);
    PutBytes(v, pData, n);
    /* TCP checksum over the pseudo header and the segment */
    uint32_t ulPseudo = (stFrom.ulAddr >> 16) + (stFrom.ulAddr & 0xFFFFu) + (stTo.ulAddr >> 16) +
                        (stTo.ulAddr & 0xFFFFu) + 6u + static_cast<uint32_t>(20u + n);
    SetBe16(v.data() + ulTcp + 16u, Checksum(v, ulTcp, 20u + n, ulPseudo));
    return v;
}

}  // namespace

SessionFramer::SessionFramer(FrameFn fnFrame) : m_fnFrame(std::move(fnFrame)), m_ulSpeakerSeq(kSpeakerIsn + 1u)
{
    const Endpoint stSpeaker{kSpeakerAddr, 179u, 1u};
    const Endpoint stPeer{kPeerAddr, kPeerPort, 2u};
    m_fnFrame(Frame(stPeer, stSpeaker, kPeerIsn, 0u, kTcpSyn, nullptr, 0u, m_usId++));
    m_fnFrame(Frame(stSpeaker, stPeer, kSpeakerIsn, kPeerIsn + 1u, kTcpSyn | kTcpAck, nullptr, 0u, m_usId++));
    m_fnFrame(Frame(stPeer, stSpeaker, kPeerIsn + 1u, m_ulSpeakerSeq, kTcpAck, nullptr, 0u, m_usId++));
}

void SessionFramer::Message(const Bytes &vecMsg)
{
    PutBytes(m_vecPending, vecMsg.data(), vecMsg.size());
    size_t ulOff = 0;
    while (m_vecPending.size() - ulOff >= kMss) {
        Segment(m_vecPending.data() + ulOff, kMss);
        ulOff += kMss;
    }
    m_vecPending.erase(m_vecPending.begin(), m_vecPending.begin() + static_cast<std::ptrdiff_t>(ulOff));
}

void SessionFramer::Finish()
{
    if (!m_vecPending.empty()) {
        Segment(m_vecPending.data(), m_vecPending.size());
        m_vecPending.clear();
    }
}

/* One data segment of the speaker and the peer's acknowledgement. */
void SessionFramer::Segment(const uint8_t *p, size_t n)
{
    const Endpoint stSpeaker{kSpeakerAddr, 179u, 1u};
    const Endpoint stPeer{kPeerAddr, kPeerPort, 2u};
    const uint32_t ulPeerSeq = kPeerIsn + 1u;
    m_fnFrame(Frame(stSpeaker, stPeer, m_ulSpeakerSeq, ulPeerSeq, kTcpPsh | kTcpAck, p, n, m_usId++));
    m_ulSpeakerSeq += static_cast<uint32_t>(n);
    m_fnFrame(Frame(stPeer, stSpeaker, ulPeerSeq, m_ulSpeakerSeq, kTcpAck, nullptr, 0u, m_usId++));
}

std::vector<Bytes> SessionFrames(const std::vector<Bytes> &vecMsgs)
{
    std::vector<Bytes> vecFrames;
    SessionFramer framer([&vecFrames](const Bytes &v) { vecFrames.push_back(v); });
    for (const Bytes &v : vecMsgs) {
        framer.Message(v);
    }
    framer.Finish();
    return vecFrames;
}

SessionCapture::~SessionCapture()
{
    std::string strError;
    Close(strError);
}

bool SessionCapture::Open(const std::string &strPath, std::string &strError)
{
    m_strPath = strPath;
    m_pPcap = pcap_open_dead(DLT_EN10MB, 65535);
    if (m_pPcap == nullptr) {
        strError = "cannot start a capture";
        return false;
    }
    m_pDump = pcap_dump_open(m_pPcap, strPath.c_str());
    if (m_pDump == nullptr) {
        strError = "cannot write " + strPath + ": " + pcap_geterr(m_pPcap);
        pcap_close(m_pPcap);
        m_pPcap = nullptr;
        return false;
    }
    m_pFramer = std::make_unique<SessionFramer>([this](const Bytes &vecFrame) {
        struct pcap_pkthdr stHdr = {};
        stHdr.ts.tv_sec = kBaseTime + static_cast<long>(m_ullFrames / 1000u);
        stHdr.ts.tv_usec = static_cast<long>((m_ullFrames % 1000u) * 1000u);
        stHdr.caplen = static_cast<bpf_u_int32>(vecFrame.size());
        stHdr.len = stHdr.caplen;
        pcap_dump(reinterpret_cast<u_char *>(m_pDump), &stHdr, vecFrame.data());
        m_ullFrames++;
    });
    return true;
}

void SessionCapture::Message(const Bytes &vecMsg) { m_pFramer->Message(vecMsg); }

bool SessionCapture::Close(std::string &strError)
{
    if (m_pDump == nullptr) {
        return true;
    }
    m_pFramer->Finish();
    bool bOk = pcap_dump_flush(m_pDump) == 0;
    pcap_dump_close(m_pDump);
    pcap_close(m_pPcap);
    m_pDump = nullptr;
    m_pPcap = nullptr;
    if (!bOk) {
        strError = "cannot write " + m_strPath;
    }
    return bOk;
}

}  // namespace srp
