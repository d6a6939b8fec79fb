/*
 * Input side of `srpolicy decode`: the formats it reads and the sink that
 * receives what the readers find. Readers never interpret UPDATE contents;
 * they frame messages (or MRT RIB entries) and report framing trouble.
 */
#ifndef SRPOLICY_TOOL_INPUT_READERS_H
#define SRPOLICY_TOOL_INPUT_READERS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include <map>
#include <vector>

#include "bmp/bmp_message.h"
#include "common/bytes.h"
#include "input/source.h"

namespace srp {

/* Where a message came from: the input (and TCP flow) and its byte offset. */
struct Origin {
    std::string strSource;
    uint64_t ullOffset = 0;
};

class InputSink {
public:
    virtual ~InputSink() = default;
    /* A whole BGP message, header included. */
    virtual void Message(const uint8_t *p, size_t n, const Origin &stOrigin) = 0;
    /* One MRT RIB entry of an SR Policy family: the NLRI and the entry's
     * attributes (whose MP_REACH_NLRI holds only the next hop). */
    virtual void RibEntry(uint16_t usAfi, uint8_t ucSafi, const uint8_t *pNlri, size_t ulNlri, const uint8_t *pAttrs,
                          size_t ulAttrs, const Origin &stOrigin) = 0;
    /* A message that could not be framed (bad marker, impossible length,
     * truncated record, capture cut short). */
    virtual void FramingError(const std::string &strWhat, const Origin &stOrigin) = 0;
    /* Something passed over on purpose (another record type, a non-BGP flow). */
    virtual void Skipped() = 0;
    /* A whole BMP message (common header included) of a BMP stream. */
    virtual void BmpMessage(const uint8_t *p, size_t n, const Origin &stOrigin)
    {
        (void)p;
        (void)n;
        (void)stOrigin;
        Skipped();
    }
    /* Bytes of the current input done so far. */
    virtual void Progress(uint64_t ullDone, uint64_t ullTotal)
    {
        (void)ullDone;
        (void)ullTotal;
    }
};

enum class Format { Auto, Hex, Raw, Pcap, Mrt, Bmp };

/* Format from its option name ("auto", "hex", "raw", "pcap", "mrt", "bmp"). */
bool FormatFromName(const std::string &strName, Format &eFormat);
const char *FormatName(Format eFormat);
/* Guesses the format of the data: capture magic, a BGP marker, hex text, a
 * BMP common header, or an MRT record header. Returns false when none fits. */
bool DetectFormat(const uint8_t *p, size_t n, Format &eFormat);

/* What readers are told: the TCP ports a capture's BGP sessions use. */
struct ReadOptions {
    std::vector<uint16_t> vecPorts{179u};
    /* Flows on these ports (and on vecPorts) whose first bytes are a BMP
     * header are read as BMP streams. */
    std::vector<uint16_t> vecBmpPorts{bmp::kDefaultPort};
};

/* A BMP byte stream cut into messages for the sink. BMP has no marker to
 * find the next message by: after a framing error or lost bytes the rest of
 * the stream is passed over. */
class BmpStreamReader {
public:
    BmpStreamReader(std::string strSource, InputSink &sink) : m_strSource(std::move(strSource)), m_sink(sink) {}
    void Feed(const uint8_t *p, size_t n);
    /* Bytes were lost before the next Feed. */
    void Gap(uint64_t ullLost);
    /* The stream has ended: a cut message left over is reported. */
    void Finish();

private:
    void Fail(const std::string &strWhat);

    std::string m_strSource;
    InputSink &m_sink;
    bmp::Framer m_framer;
    bool m_bFailed = false;
};

/* What a reader saw besides messages, to explain an input in which no BGP
 * message was found. */
struct ReadStats {
    uint64_t ullPackets = 0;      /* capture packets */
    uint64_t ullTcpPackets = 0;   /* of them TCP over IPv4/IPv6 */
    int iLinkType = -1;           /* capture link type; -1 not a capture */
    bool bLinkKnown = true;       /* the link type is one the reader decodes */
    std::map<uint16_t, uint64_t> mapOtherPorts; /* TCP packets by lower port, not a BGP port */
};

/* Readers, streaming from the input. strSource names the input in reports.
 * Each returns false when the input as a whole cannot be read (a capture
 * libpcap refuses, hex with a stray character, a read error); problems
 * inside the data go to the sink. */
bool ReadHexMessages(InputFile &in, const std::string &strSource, InputSink &sink, std::string &strError);
bool ReadRawMessages(InputFile &in, const std::string &strSource, InputSink &sink, std::string &strError);
bool ReadMrt(InputFile &in, const std::string &strSource, InputSink &sink, std::string &strError);
bool ReadBmp(InputFile &in, const std::string &strSource, InputSink &sink, std::string &strError);
bool ReadPcap(InputFile &in, const std::string &strSource, const ReadOptions &stOptions, InputSink &sink,
              ReadStats &stStats, std::string &strError);

/* The same over bytes in memory. */
bool ReadHexMessages(const Bytes &vecData, const std::string &strSource, InputSink &sink, std::string &strError);
void ReadRawMessages(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink);
void ReadMrt(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink);
bool ReadPcap(const uint8_t *p, size_t n, const std::string &strSource, InputSink &sink, std::string &strError);

}  // namespace srp

#endif
