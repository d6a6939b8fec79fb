/* Helpers of the tool's unit tests and benchmarks: a sink that records what
 * readers find, the sample's messages, and builders of BGP messages and
 * capture files. */
#ifndef SRPOLICY_TOOL_TEST_SUPPORT_H
#define SRPOLICY_TOOL_TEST_SUPPORT_H

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/bytes.h"
#include "input/readers.h"

namespace srp_test {

using srp::Bytes;

/* What a reader handed out: "msg", "rib" (NLRI then attributes) or "error"
 * (its text), with the offset and source it named. */
struct Seen {
    std::string strKind;
    uint64_t ullOffset;
    Bytes vecData;
    std::string strSource;
};

class RecordingSink : public srp::InputSink {
public:
    void Message(const uint8_t *p, size_t n, const srp::Origin &o) override
    {
        Add("msg", o, Bytes(p, p + n));
    }
    void RibEntry(uint16_t, uint8_t, const uint8_t *pNlri, size_t ulNlri, const uint8_t *pAttrs, size_t ulAttrs,
                  const srp::Origin &o) override
    {
        Bytes v(pNlri, pNlri + ulNlri);
        v.insert(v.end(), pAttrs, pAttrs + ulAttrs);
        Add("rib", o, v);
    }
    void FramingError(const std::string &s, const srp::Origin &o) override
    {
        Add("error", o, Bytes(s.begin(), s.end()));
    }
    void Skipped() override { ulSkipped++; }

    std::string Kinds() const
    {
        std::string s;
        for (const Seen &st : vecSeen) {
            s += (s.empty() ? "" : " ") + st.strKind;
        }
        return s;
    }
    std::vector<Seen> vecSeen;
    size_t ulSkipped = 0;

private:
    void Add(const char *pcKind, const srp::Origin &o, const Bytes &v)
    {
        vecSeen.push_back({pcKind, o.ullOffset, v, o.strSource});
    }
};

inline Bytes Text(const std::string &s) { return Bytes(s.begin(), s.end()); }

/* Bytes of hex text (fields may be spaced); bad text throws, which fails
 * the test. */
inline Bytes Hex(const std::string &str)
{
    Bytes v;
    std::string strError;
    if (!srp::ParseHex(str, v, strError)) {
        throw std::invalid_argument(str + ": " + strError);
    }
    return v;
}

inline Bytes Concat(const std::vector<Bytes> &vec)
{
    Bytes v;
    for (const Bytes &b : vec) {
        v.insert(v.end(), b.begin(), b.end());
    }
    return v;
}

/* The bytes with the one at ulAt changed to ucValue. */
inline Bytes With(Bytes v, size_t ulAt, uint8_t ucValue)
{
    v.at(ulAt) = ucValue;
    return v;
}

/* A BGP message: marker, length, type and the body (n bytes of fill). */
inline Bytes Bgp(uint8_t ucType, const Bytes &vecBody)
{
    Bytes v(16u, 0xFFu);
    srp::Put16(v, static_cast<uint32_t>(19u + vecBody.size()));
    v.push_back(ucType);
    return Concat({v, vecBody});
}
inline Bytes BgpMessage(uint8_t ucType, size_t n, uint8_t ucFill) { return Bgp(ucType, Bytes(n, ucFill)); }

/* OPEN capabilities (code, length, value): any, Multiprotocol, 4-octet AS. */
inline Bytes Cap(uint8_t ucCode, const Bytes &vecValue)
{
    return Concat({{ucCode, static_cast<uint8_t>(vecValue.size())}, vecValue});
}
inline Bytes CapMp(uint16_t usAfi, uint8_t ucSafi)
{
    return Cap(1u, {static_cast<uint8_t>(usAfi >> 8), static_cast<uint8_t>(usAfi), 0u, ucSafi});
}
inline Bytes CapAs4(uint32_t ulAs)
{
    Bytes v;
    srp::Put32(v, ulAs);
    return Cap(65u, v);
}

/* An OPEN with its capabilities in one optional parameter. */
struct OpenSpec {
    uint8_t ucVersion = 4;
    uint16_t usAs = 65001;
    uint16_t usHold = 90;
    uint32_t ulId = 0x7F000002u;
    std::vector<Bytes> vecCaps{CapMp(1u, 73u)};
};
inline Bytes BgpOpen(const OpenSpec &st)
{
    Bytes vecCaps = Concat(st.vecCaps);
    Bytes v{st.ucVersion};
    srp::Put16(v, st.usAs);
    srp::Put16(v, st.usHold);
    srp::Put32(v, st.ulId);
    v.insert(v.end(), {static_cast<uint8_t>(vecCaps.size() + 2u), 2u, static_cast<uint8_t>(vecCaps.size())});
    return Bgp(1u, Concat({v, vecCaps}));
}

/* The messages of the hand-checked sample, back to back. */
inline Bytes SampleStream()
{
    std::ifstream is(SRPOLICY_SAMPLES_DIR "/all_subtlvs.hex");
    return Hex(std::string((std::istreambuf_iterator<char>(is)), std::istreambuf_iterator<char>()));
}

/* Capture files are little-endian. */
inline void Le32(Bytes &v, size_t x)
{
    for (int i = 0; i < 4; i++) {
        v.push_back(static_cast<uint8_t>(x >> (8 * i)));
    }
}

/* A classic pcap file (microsecond; Ethernet unless told) holding the frames. */
inline Bytes PcapFile(const std::vector<Bytes> &vecFrames, uint32_t ulLinkType = 1u)
{
    Bytes v{0xD4, 0xC3, 0xB2, 0xA1, 2, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0};
    Le32(v, ulLinkType);
    for (size_t i = 0; i < vecFrames.size(); i++) {
        for (size_t x : {1000u + i, size_t{0}, vecFrames[i].size(), vecFrames[i].size()}) {
            Le32(v, x);
        }
        v.insert(v.end(), vecFrames[i].begin(), vecFrames[i].end());
    }
    return v;
}

}  // namespace srp_test

#endif
