/* Format detection and the hex, raw-stream and MRT readers. */
#include "input/readers.h"

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

/* Splits a stream held in memory and reports each message to the sink. */
void SplitStream(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink)
{
    BgpStreamSplitter splitter(
        [&](const uint8_t *pMsg, size_t ulLen, uint64_t ullOffset) {
            sink.Message(pMsg, ulLen, Origin{strSource, ullOffset});
            sink.Progress(ullOffset + ulLen, n);
        },
        [&](const std::string &strWhat, uint64_t ullOffset) {
            sink.FramingError(strWhat, Origin{strSource, ullOffset});
        });
    splitter.Feed(p, n);
    splitter.Finish();
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
                    {"mrt", Format::Mrt}};
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
    if (n >= kMrtHeaderLen && IsMrtType(Be16(p + 4)) && Be32(p + 8) <= n - kMrtHeaderLen) {
        eFormat = Format::Mrt;
        return true;
    }
    return false;
}

bool ReadHexMessages(const Bytes &vecData, const std::string &strSource, InputSink &sink, std::string &strError)
{
    Bytes vecBytes;
    if (!ParseHex(std::string(vecData.begin(), vecData.end()), vecBytes, strError)) {
        return false;
    }
    SplitStream(vecBytes.data(), vecBytes.size(), strSource, sink);
    return true;
}

void ReadRawMessages(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink)
{
    SplitStream(p, n, strSource, sink);
}

void ReadMrt(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink)
{
    Reader rdFile(p, n);
    while (rdFile.Left() > 0u) {
        Origin stOrigin{strSource, rdFile.Pos()};
        uint16_t usType = 0;
        uint16_t usSubtype = 0;
        uint32_t ulLen = 0;
        const uint8_t *pBody = nullptr;
        if (!rdFile.Skip(4u) || !rdFile.U16(usType) || !rdFile.U16(usSubtype) || !rdFile.U32(ulLen)) {
            sink.FramingError("truncated MRT record header", stOrigin);
            return;
        }
        if (!rdFile.Take(ulLen, pBody)) {
            sink.FramingError("MRT record of " + std::to_string(ulLen) + " bytes cut short at " +
                                  std::to_string(rdFile.Left()),
                              stOrigin);
            return;
        }
        Reader rd(pBody, ulLen);
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
        sink.Progress(rdFile.Pos(), n);
    }
}

}  // namespace srp
