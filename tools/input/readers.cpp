/* Format detection and the hex, raw-stream and MRT readers. */
#include "input/readers.h"

#include <cstring>

#include "bgp/message_stream.h"
#include "common/bgp_codes.h"

namespace srp {

namespace {

/* MRT record types (RFC 6396). */
const uint16_t kMrtTableDumpV2 = 13u;
const uint16_t kMrtBgp4mp = 16u;
const uint16_t kMrtBgp4mpEt = 17u;
const size_t kMrtHeaderLen = 12u;

/* TABLE_DUMP_V2 subtype of the AFI/SAFI-generic RIB. */
const uint16_t kRibGeneric = 6u;

bool IsMrtType(uint16_t usType)
{
    switch (usType) {
        case 11: case 12: case 13: case 16: case 17: case 32: case 33: case 48: case 49:
            return true;
        default:
            return false;
    }
}

/* Block size of streamed reads. */
const size_t kBlock = 1u << 20;

/* The message splitter of one input, reporting to the sink. */
BgpStreamSplitter StreamSplitter(InputFile &in, const std::string &strSource, InputSink &sink)
{
    return BgpStreamSplitter(
        [&in, &strSource, &sink](const uint8_t *pMsg, size_t ulLen, uint64_t ullOffset) {
            sink.Message(pMsg, ulLen, Origin{strSource, ullOffset});
            sink.Progress(in.Consumed(), in.Size());
        },
        [&strSource, &sink](const std::string &strWhat, uint64_t ullOffset) {
            sink.FramingError(strWhat, Origin{strSource, ullOffset});
        });
}

bool ReadError(const InputFile &in, const std::string &strSource, std::string &strError)
{
    if (in.Error().empty()) {
        return true;
    }
    strError = "cannot read " + strSource + ": " + in.Error();
    return false;
}

/* Exactly n bytes into vecOut (replacing it), grown as they arrive so that a
 * lying length costs no more memory than the input holds. */
size_t ReadExact(InputFile &in, size_t n, Bytes &vecOut)
{
    vecOut.clear();
    while (vecOut.size() < n) {
        size_t ulHave = vecOut.size();
        size_t ulStep = n - ulHave < kBlock ? n - ulHave : kBlock;
        vecOut.resize(ulHave + ulStep);
        size_t ulGot = in.Read(vecOut.data() + ulHave, ulStep);
        vecOut.resize(ulHave + ulGot);
        if (ulGot == 0u) {
            break;
        }
    }
    return vecOut.size();
}

/* BGP4MP and BGP4MP_ET message records: peer header, then one BGP message. */
void MrtBgp4mp(uint16_t usSubtype, Reader &rd, const Origin &stOrigin, InputSink &sink)
{
    size_t ulAsLen;
    switch (usSubtype) {
        case 1: case 6: ulAsLen = 2u; break;  /* MESSAGE, MESSAGE_LOCAL */
        case 4: case 7: ulAsLen = 4u; break;  /* MESSAGE_AS4, MESSAGE_AS4_LOCAL */
        case 0: case 5: return;               /* state changes carry no message */
        default: sink.Skipped(); return;      /* ADD-PATH forms and unknown subtypes */
    }
    uint16_t usAfi = 0;
    if (!rd.Skip(2u * ulAsLen + 2u) || !rd.U16(usAfi)) {
        sink.FramingError("MRT BGP4MP record shorter than its peer header", stOrigin);
        return;
    }
    size_t ulAddrLen = usAfi == 1u ? 4u : (usAfi == 2u ? 16u : 0u);
    if (ulAddrLen == 0u) {
        sink.FramingError("MRT BGP4MP record with address family " + std::to_string(usAfi), stOrigin);
        return;
    }
    if (!rd.Skip(2u * ulAddrLen)) {
        sink.FramingError("MRT BGP4MP record shorter than its peer addresses", stOrigin);
        return;
    }
    const uint8_t *pMsg = rd.Here();
    size_t ulLen = rd.Left();
    if (ulLen < kBgpHeaderLen || !IsPlausibleBgpHeader(pMsg) || Be16(pMsg + 16) != ulLen) {
        sink.FramingError("MRT BGP4MP record does not hold one whole BGP message", stOrigin);
        return;
    }
    /* Reports name the message's own offset in the file. */
    sink.Message(pMsg, ulLen, Origin{stOrigin.strSource, stOrigin.ullOffset + kMrtHeaderLen + rd.Pos()});
}

/* TABLE_DUMP_V2 RIB_GENERIC: AFI, SAFI, one NLRI, then RIB entries. */
void MrtRibGeneric(Reader &rd, const Origin &stOrigin, InputSink &sink)
{
    uint16_t usAfi = 0;
    uint8_t ucSafi = 0;
    uint8_t ucBits = 0;
    if (!rd.Skip(4u) || !rd.U16(usAfi) || !rd.U8(ucSafi) || !rd.U8(ucBits)) {
        sink.FramingError("MRT RIB_GENERIC record shorter than its header", stOrigin);
        return;
    }
    if (!IsSrPolicyFamily(usAfi, ucSafi)) {
        sink.Skipped();
        return;
    }
    /* The NLRI with its length byte, as it stands in MP_REACH_NLRI. */
    const uint8_t *pNlri = rd.Here() - 1;
    size_t ulBody = (static_cast<size_t>(ucBits) + 7u) / 8u;
    uint16_t usCount = 0;
    if (!rd.Skip(ulBody) || !rd.U16(usCount)) {
        sink.FramingError("MRT RIB_GENERIC NLRI longer than its record", stOrigin);
        return;
    }
    for (uint16_t i = 0; i < usCount; i++) {
        uint16_t usAttrLen = 0;
        const uint8_t *pAttrs = nullptr;
        if (!rd.Skip(6u) || !rd.U16(usAttrLen) || !rd.Take(usAttrLen, pAttrs)) {
            sink.FramingError("MRT RIB entry " + std::to_string(i + 1u) + " longer than its record", stOrigin);
            return;
        }
        sink.RibEntry(usAfi, ucSafi, pNlri, ulBody + 1u, pAttrs, usAttrLen, stOrigin);
    }
}

}  // namespace

bool FormatFromName(const std::string &strName, Format &eFormat)
{
    static const struct {
        const char *pcName;
        Format eFormat;
    } astNames[] = {{"auto", Format::Auto}, {"hex", Format::Hex}, {"raw", Format::Raw}, {"pcap", Format::Pcap},
                    {"mrt", Format::Mrt}, {"bmp", Format::Bmp}};
    for (const auto &st : astNames) {
        if (strName == st.pcName) {
            eFormat = st.eFormat;
            return true;
        }
    }
    return false;
}

const char *FormatName(Format eFormat)
{
    switch (eFormat) {
        case Format::Hex: return "hex";
        case Format::Raw: return "raw";
        case Format::Pcap: return "pcap";
        case Format::Mrt: return "mrt";
        case Format::Bmp: return "bmp";
        default: return "auto";
    }
}

bool DetectFormat(const uint8_t *p, size_t n, Format &eFormat)
{
    if (n >= 4u) {
        uint32_t ulMagic = Be32(p);
        if (ulMagic == 0xA1B2C3D4u || ulMagic == 0xD4C3B2A1u || ulMagic == 0xA1B23C4Du || ulMagic == 0x4D3CB2A1u ||
            ulMagic == 0x0A0D0D0Au) {
            eFormat = Format::Pcap;
            return true;
        }
    }
    if (n >= 16u && Be32(p) == 0xFFFFFFFFu && Be32(p + 4) == 0xFFFFFFFFu && Be32(p + 8) == 0xFFFFFFFFu &&
        Be32(p + 12) == 0xFFFFFFFFu) {
        eFormat = Format::Raw;
        return true;
    }
    if (LooksLikeHex(p, n)) {
        eFormat = Format::Hex;
        return true;
    }
    if (bmp::LooksLikeBmp(p, n)) {
        eFormat = Format::Bmp;
        return true;
    }
    if (n >= kMrtHeaderLen && IsMrtType(Be16(p + 4)) && Be32(p + 8) <= n - kMrtHeaderLen) {
        eFormat = Format::Mrt;
        return true;
    }
    return false;
}

bool ReadHexMessages(InputFile &in, const std::string &strSource, InputSink &sink, std::string &strError)
{
    BgpStreamSplitter splitter = StreamSplitter(in, strSource, sink);
    HexText hex;
    Bytes vecBlock(kBlock);
    std::string strLine;
    Bytes vecBytes;
    bool bEnd = false;
    while (!bEnd) {
        size_t n = in.Read(vecBlock.data(), vecBlock.size());
        bEnd = n == 0u;
        const char *p = reinterpret_cast<const char *>(vecBlock.data());
        const char *pEnd = p + n;
        /* Whole lines of the block; a line cut by the block's end waits. */
        while (p < pEnd || (bEnd && !strLine.empty())) {
            const char *pNl = static_cast<const char *>(std::memchr(p, '\n', static_cast<size_t>(pEnd - p)));
            if (pNl == nullptr && !bEnd) {
                strLine.append(p, pEnd);
                break;
            }
            const char *pStop = pNl != nullptr ? pNl : pEnd;
            const char *pLine = p;
            size_t ulLine = static_cast<size_t>(pStop - p);
            if (!strLine.empty()) {
                strLine.append(p, pStop);
                pLine = strLine.data();
                ulLine = strLine.size();
            }
            vecBytes.clear();
            if (!hex.Line(pLine, ulLine, vecBytes, strError)) {
                return false; /* the message in progress is not reported as cut */
            }
            strLine.clear();
            splitter.Feed(vecBytes.data(), vecBytes.size());
            p = pNl != nullptr ? pNl + 1 : pEnd;
        }
    }
    if (!ReadError(in, strSource, strError)) {
        return false;
    }
    if (!hex.Finish(strError)) {
        return false;
    }
    splitter.Finish();
    return true;
}

bool ReadRawMessages(InputFile &in, const std::string &strSource, InputSink &sink, std::string &strError)
{
    BgpStreamSplitter splitter = StreamSplitter(in, strSource, sink);
    Bytes vecBlock(kBlock);
    size_t n;
    while ((n = in.Read(vecBlock.data(), vecBlock.size())) > 0u) {
        splitter.Feed(vecBlock.data(), n);
    }
    splitter.Finish();
    return ReadError(in, strSource, strError);
}

void BmpStreamReader::Feed(const uint8_t *p, size_t n)
{
    if (m_bFailed) {
        return;
    }
    m_framer.Feed(p, n);
    for (;;) {
        const uint8_t *pMsg = nullptr;
        size_t ulLen = 0;
        uint64_t ullOffset = m_framer.Offset();
        std::string strError;
        bmp::Framer::Result eResult = m_framer.Next(pMsg, ulLen, strError);
        if (eResult == bmp::Framer::Result::NeedMore) {
            return;
        }
        if (eResult == bmp::Framer::Result::Error) {
            Fail(strError);
            return;
        }
        m_sink.BmpMessage(pMsg, ulLen, Origin{m_strSource, ullOffset});
    }
}

void BmpStreamReader::Gap(uint64_t ullLost)
{
    if (!m_bFailed) {
        Fail(std::to_string(ullLost) + " bytes of the BMP stream lost; the rest of it is passed over");
    }
}

void BmpStreamReader::Finish()
{
    if (!m_bFailed && m_framer.Pending() != 0u) {
        Fail("cut BMP message: the stream ended " + std::to_string(m_framer.Pending()) + " bytes into it");
    }
}

void BmpStreamReader::Fail(const std::string &strWhat)
{
    m_bFailed = true;
    m_sink.FramingError(strWhat, Origin{m_strSource, m_framer.Offset()});
}

bool ReadBmp(InputFile &in, const std::string &strSource, InputSink &sink, std::string &strError)
{
    BmpStreamReader reader(strSource, sink);
    Bytes vecBlock(kBlock);
    size_t n;
    while ((n = in.Read(vecBlock.data(), vecBlock.size())) > 0u) {
        reader.Feed(vecBlock.data(), n);
        sink.Progress(in.Consumed(), in.Size());
    }
    reader.Finish();
    return ReadError(in, strSource, strError);
}

bool ReadMrt(InputFile &in, const std::string &strSource, InputSink &sink, std::string &strError)
{
    Bytes vecHeader;
    Bytes vecBody;
    for (;;) {
        Origin stOrigin{strSource, in.Consumed()};
        size_t ulGot = ReadExact(in, kMrtHeaderLen, vecHeader);
        if (ulGot == 0u) {
            break;
        }
        if (ulGot < kMrtHeaderLen) {
            sink.FramingError("truncated MRT record header", stOrigin);
            break;
        }
        uint16_t usType = Be16(vecHeader.data() + 4);
        uint16_t usSubtype = Be16(vecHeader.data() + 6);
        uint32_t ulLen = Be32(vecHeader.data() + 8);
        if (ReadExact(in, ulLen, vecBody) < ulLen) {
            sink.FramingError("MRT record of " + std::to_string(ulLen) + " bytes cut short at " +
                                  std::to_string(vecBody.size()),
                              stOrigin);
            break;
        }
        Reader rd(vecBody.data(), vecBody.size());
        if (usType == kMrtBgp4mpEt && !rd.Skip(4u)) { /* microsecond timestamp */
            sink.FramingError("MRT BGP4MP_ET record without its microseconds", stOrigin);
        } else if (usType == kMrtBgp4mp || usType == kMrtBgp4mpEt) {
            MrtBgp4mp(usSubtype, rd, stOrigin, sink);
        } else if (usType == kMrtTableDumpV2 && usSubtype == kRibGeneric) {
            MrtRibGeneric(rd, stOrigin, sink);
        } else if (usType == kMrtTableDumpV2 && usSubtype == 1u) {
            /* PEER_INDEX_TABLE: peers are not shown */
        } else {
            sink.Skipped();
        }
        sink.Progress(in.Consumed(), in.Size());
    }
    return ReadError(in, strSource, strError);
}

bool ReadHexMessages(const Bytes &vecData, const std::string &strSource, InputSink &sink, std::string &strError)
{
    InputFile in;
    in.OpenMemory(vecData.data(), vecData.size());
    return ReadHexMessages(in, strSource, sink, strError);
}

void ReadRawMessages(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink)
{
    InputFile in;
    in.OpenMemory(p, n);
    std::string strError;
    ReadRawMessages(in, strSource, sink, strError);
}

void ReadMrt(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink)
{
    InputFile in;
    in.OpenMemory(p, n);
    std::string strError;
    ReadMrt(in, strSource, sink, strError);
}

}  // namespace srp
