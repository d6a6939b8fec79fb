/*
 * pcap and pcapng captures, read through libpcap: every TCP flow with port
 * 179 on either side is reassembled per direction and cut into BGP messages.
 */
#include <pcap/pcap.h>

#include <cstdio>
#include <map>
#include <memory>
#include <tuple>

#include "bgp/message_stream.h"
#include "input/readers.h"
#include "input/tcp_reassembly.h"

namespace srp {

namespace {

/* Link types read (values from the pcap link-type registry). */
const int kLinkNull = 0;
const int kLinkEthernet = 1;
const int kLinkRaw = 101;
const int kLinkRawAlt1 = 12;
const int kLinkRawAlt2 = 14;
const int kLinkLoop = 108;
const int kLinkSll = 113;
const int kLinkIpv4 = 228;
const int kLinkIpv6 = 229;
const int kLinkSll2 = 276;

struct FlowKey {
    Bytes vecSrc;
    Bytes vecDst;
    uint16_t usSrcPort = 0;
    uint16_t usDstPort = 0;
    bool operator<(const FlowKey &o) const
    {
        return std::tie(vecSrc, vecDst, usSrcPort, usDstPort) < std::tie(o.vecSrc, o.vecDst, o.usSrcPort, o.usDstPort);
    }
};

std::string AddrText(const Bytes &vec)
{
    return vec.size() == 4u ? Ipv4Text(Be32(vec.data())) : "[" + Ipv6Text(vec.data()) + "]";
}

/* One direction of a BGP session: reassembly feeding the message splitter. */
/* One direction of a BGP or BMP session: reassembly feeding the message
 * splitter of the protocol its first bytes show (a BMP common header, or
 * anything else: BGP). */
struct Flow {
    std::string strLabel;
    std::unique_ptr<BgpStreamSplitter> pSplitter;
    std::unique_ptr<BmpStreamReader> pBmp;
    std::unique_ptr<TcpStream> pStream;
    bool bDecided = false;
    Bytes vecHead; /* the first bytes, until there are enough to decide */

    void Data(const uint8_t *p, size_t n)
    {
        if (!bDecided) {
            vecHead.insert(vecHead.end(), p, p + n);
            if (vecHead.size() < bmp::kCommonHeaderLen) {
                return;
            }
            Decide();
            return;
        }
        if (pBmp) {
            pBmp->Feed(p, n);
        } else {
            pSplitter->Feed(p, n);
        }
    }
    void Decide()
    {
        bDecided = true;
        if (bmp::LooksLikeBmp(vecHead.data(), vecHead.size())) {
            pBmp = std::make_unique<BmpStreamReader>(strLabel, *pSink);
        }
        Bytes vecFirst;
        vecFirst.swap(vecHead);
        Data(vecFirst.data(), vecFirst.size());
    }
    void Finish()
    {
        pStream->Finish();
        if (!bDecided && !vecHead.empty()) {
            Decide();
        }
        if (pBmp) {
            pBmp->Finish();
        } else {
            pSplitter->Finish();
        }
    }
    InputSink *pSink = nullptr;
};

/* A decoded TCP segment of interest. */
struct Segment {
    FlowKey stKey;
    uint32_t ulSeq = 0;
    bool bSyn = false;
    const uint8_t *pData = nullptr;
    size_t ulLen = 0;
};

/* Network-layer protocol of a link-layer frame: 4 or 6, and its start. */
bool LinkToIp(int iLink, Reader &rd, int &iVersion)
{
    uint16_t usProto = 0;
    switch (iLink) {
        case kLinkEthernet:
            if (!rd.Skip(12u) || !rd.U16(usProto)) {
                return false;
            }
            /* VLAN tags, single or stacked */
            while (usProto == 0x8100u || usProto == 0x88A8u || usProto == 0x9100u) {
                if (!rd.Skip(2u) || !rd.U16(usProto)) {
                    return false;
                }
            }
            break;
        case kLinkSll:
            if (!rd.Skip(14u) || !rd.U16(usProto)) {
                return false;
            }
            break;
        case kLinkSll2:
            if (!rd.U16(usProto) || !rd.Skip(18u)) {
                return false;
            }
            break;
        case kLinkNull:
        case kLinkLoop: {
            uint8_t auc[4];
            for (uint8_t &uc : auc) {
                if (!rd.U8(uc)) {
                    return false;
                }
            }
            /* The family word is in network order for LOOP and in the
             * capturing host's order for NULL; families fit in one byte. */
            uint32_t ulBe = Be32(auc);
            uint32_t ulLe = static_cast<uint32_t>(auc[0]) | (static_cast<uint32_t>(auc[1]) << 8) |
                            (static_cast<uint32_t>(auc[2]) << 16) | (static_cast<uint32_t>(auc[3]) << 24);
            uint32_t ulFamily = (iLink == kLinkLoop || ulBe < 256u) ? ulBe : ulLe;
            usProto = ulFamily == 2u ? 0x0800u : ((ulFamily == 24u || ulFamily == 28u || ulFamily == 30u) ? 0x86DDu : 0u);
            break;
        }
        case kLinkRaw:
        case kLinkRawAlt1:
        case kLinkRawAlt2:
        case kLinkIpv4:
        case kLinkIpv6:
            if (rd.Left() < 1u) {
                return false;
            }
            usProto = (rd.Here()[0] >> 4) == 6u ? 0x86DDu : 0x0800u;
            break;
        default:
            return false;
    }
    if (usProto == 0x0800u) {
        iVersion = 4;
    } else if (usProto == 0x86DDu) {
        iVersion = 6;
    } else {
        return false;
    }
    return true;
}

/* IP and TCP headers: fills the segment when it is TCP. */
bool IpToTcp(int iVersion, Reader &rd, Segment &stSeg)
{
    size_t ulIpPayload = 0;
    uint8_t ucProto = 0;
    const uint8_t *pIp = rd.Here();
    if (iVersion == 4) {
        uint8_t ucVerIhl = 0;
        if (!rd.U8(ucVerIhl) || (ucVerIhl >> 4) != 4u || rd.Left() < 19u) {
            return false;
        }
        size_t ulIhl = (ucVerIhl & 0xFu) * 4u;
        uint16_t usTotal = Be16(pIp + 2);
        uint16_t usFrag = Be16(pIp + 6);
        ucProto = pIp[9];
        if (ulIhl < 20u || usTotal < ulIhl || (usFrag & 0x3FFFu) != 0u) {
            return false; /* bad header, or a fragment */
        }
        stSeg.stKey.vecSrc.assign(pIp + 12, pIp + 16);
        stSeg.stKey.vecDst.assign(pIp + 16, pIp + 20);
        if (!rd.Skip(ulIhl - 1u)) {
            return false;
        }
        ulIpPayload = usTotal - ulIhl;
    } else {
        if (rd.Left() < 40u || (pIp[0] >> 4) != 6u) {
            return false;
        }
        ulIpPayload = Be16(pIp + 4);
        ucProto = pIp[6];
        stSeg.stKey.vecSrc.assign(pIp + 8, pIp + 24);
        stSeg.stKey.vecDst.assign(pIp + 24, pIp + 40);
        rd.Skip(40u);
        /* Hop-by-hop, routing and destination options headers */
        while (ucProto == 0u || ucProto == 43u || ucProto == 60u) {
            if (rd.Left() < 2u) {
                return false;
            }
            size_t ulExt = (static_cast<size_t>(rd.Here()[1]) + 1u) * 8u;
            ucProto = rd.Here()[0];
            if (!rd.Skip(ulExt) || ulIpPayload < ulExt) {
                return false;
            }
            ulIpPayload -= ulExt;
        }
    }
    if (ucProto != 6u) {
        return false;
    }
    const uint8_t *pTcp = rd.Here();
    if (rd.Left() < 20u) {
        return false;
    }
    stSeg.stKey.usSrcPort = Be16(pTcp);
    stSeg.stKey.usDstPort = Be16(pTcp + 2);
    size_t ulTcpHdr = static_cast<size_t>(pTcp[12] >> 4) * 4u;
    if (ulTcpHdr < 20u || ulTcpHdr > ulIpPayload || !rd.Skip(ulTcpHdr)) {
        return false;
    }
    stSeg.ulSeq = Be32(pTcp + 4);
    stSeg.bSyn = (pTcp[13] & 0x02u) != 0u;
    /* Payload per the IP length: Ethernet padding beyond it is not payload,
     * and bytes the capture did not keep (snap length) leave a hole that the
     * reassembly reports as a gap. */
    size_t ulPayload = ulIpPayload - ulTcpHdr;
    stSeg.pData = rd.Here();
    stSeg.ulLen = rd.Left() < ulPayload ? rd.Left() : ulPayload;
    return true;
}

bool IsKnownLink(int iLink)
{
    static const int aiKnown[] = {kLinkNull, kLinkEthernet, kLinkRaw, kLinkRawAlt1, kLinkRawAlt2,
                                  kLinkLoop, kLinkSll,      kLinkIpv4, kLinkIpv6,   kLinkSll2};
    for (int i : aiKnown) {
        if (i == iLink) {
            return true;
        }
    }
    return false;
}

class PcapReader {
public:
    PcapReader(const std::string &strSource, const ReadOptions &stOptions, InputSink &sink, ReadStats &stStats)
        : m_strSource(strSource), m_stOptions(stOptions), m_sink(sink), m_stStats(stStats)
    {
    }

    void Packet(int iLink, const uint8_t *p, size_t ulCap)
    {
        Reader rd(p, ulCap);
        int iVersion = 0;
        Segment stSeg;
        m_stStats.ullPackets++;
        if (!LinkToIp(iLink, rd, iVersion) || !IpToTcp(iVersion, rd, stSeg)) {
            return;
        }
        m_stStats.ullTcpPackets++;
        if (!IsFollowedPort(stSeg.stKey.usSrcPort) && !IsFollowedPort(stSeg.stKey.usDstPort)) {
            uint16_t usLow = stSeg.stKey.usSrcPort < stSeg.stKey.usDstPort ? stSeg.stKey.usSrcPort : stSeg.stKey.usDstPort;
            if (m_stStats.mapOtherPorts.size() < 64u || m_stStats.mapOtherPorts.count(usLow) != 0u) {
                m_stStats.mapOtherPorts[usLow]++;
            }
            return;
        }
        Flow &stFlow = FlowOf(stSeg.stKey);
        stFlow.pStream->Segment(stSeg.ulSeq, stSeg.bSyn, stSeg.pData, stSeg.ulLen);
    }

    void Finish()
    {
        for (auto &it : m_mapFlows) {
            it.second.Finish();
        }
    }

private:
    bool IsFollowedPort(uint16_t usPort) const
    {
        for (const std::vector<uint16_t> *pvec : {&m_stOptions.vecPorts, &m_stOptions.vecBmpPorts}) {
            for (uint16_t us : *pvec) {
                if (us == usPort) {
                    return true;
                }
            }
        }
        return false;
    }

    Flow &FlowOf(const FlowKey &stKey)
    {
        auto it = m_mapFlows.find(stKey);
        if (it != m_mapFlows.end()) {
            return it->second;
        }
        Flow &stFlow = m_mapFlows[stKey];
        stFlow.strLabel = m_strSource + " " + AddrText(stKey.vecSrc) + ":" + std::to_string(stKey.usSrcPort) + ">" +
                          AddrText(stKey.vecDst) + ":" + std::to_string(stKey.usDstPort);
        Flow *pFlow = &stFlow;
        stFlow.pSink = &m_sink;
        stFlow.pSplitter = std::make_unique<BgpStreamSplitter>(
            [this, pFlow](const uint8_t *pMsg, size_t n, uint64_t ullOffset) {
                m_sink.Message(pMsg, n, Origin{pFlow->strLabel, ullOffset});
            },
            [this, pFlow](const std::string &strWhat, uint64_t ullOffset) {
                m_sink.FramingError(strWhat, Origin{pFlow->strLabel, ullOffset});
            });
        stFlow.pStream = std::make_unique<TcpStream>(
            [pFlow](const uint8_t *pData, size_t n) { pFlow->Data(pData, n); },
            [pFlow](uint64_t ullLost, bool bMidStream) {
                if (pFlow->pBmp) {
                    pFlow->pBmp->Gap(ullLost);
                } else if (bMidStream) {
                    pFlow->pSplitter->StartResync();
                } else {
                    pFlow->pSplitter->Gap(ullLost, true);
                }
            });
        return stFlow;
    }

    std::string m_strSource;
    const ReadOptions &m_stOptions;
    InputSink &m_sink;
    ReadStats &m_stStats;
    std::map<FlowKey, Flow> m_mapFlows;
};

}  // namespace

bool ReadPcap(InputFile &in, const std::string &strSource, const ReadOptions &stOptions, InputSink &sink,
              ReadStats &stStats, std::string &strError)
{
    /* libpcap reads from a FILE; it gets one over the streamed input. */
    FILE *pFile = in.OpenStream();
    if (pFile == nullptr) {
        strError = "cannot open a stream over " + strSource;
        return false;
    }
    char acErr[PCAP_ERRBUF_SIZE] = {0};
    pcap_t *pPcap = pcap_fopen_offline(pFile, acErr);
    if (pPcap == nullptr) {
        fclose(pFile);
        strError = std::string("not a capture libpcap can read: ") + acErr;
        return false;
    }
    int iLink = pcap_datalink(pPcap);
    stStats.iLinkType = iLink;
    stStats.bLinkKnown = IsKnownLink(iLink);
    PcapReader reader(strSource, stOptions, sink, stStats);
    uint64_t ullPacket = 0;
    for (;;) {
        struct pcap_pkthdr *pstHdr = nullptr;
        const u_char *pData = nullptr;
        int iRc = pcap_next_ex(pPcap, &pstHdr, &pData);
        if (iRc == PCAP_ERROR_BREAK) {
            break;
        }
        if (iRc != 1) {
            sink.FramingError(std::string("capture cut short after packet ") + std::to_string(ullPacket) + ": " +
                                  pcap_geterr(pPcap),
                              Origin{strSource, in.Consumed()});
            break;
        }
        ullPacket++;
        reader.Packet(iLink, pData, pstHdr->caplen);
        sink.Progress(in.Consumed(), in.Size());
    }
    reader.Finish();
    pcap_close(pPcap);
    if (!in.Error().empty()) {
        strError = "cannot read " + strSource + ": " + in.Error();
        return false;
    }
    return true;
}

bool ReadPcap(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink, std::string &strError)
{
    InputFile in;
    in.OpenMemory(p, n);
    ReadStats stStats;
    return ReadPcap(in, strSource, ReadOptions(), sink, stStats, strError);
}

}  // namespace srp
