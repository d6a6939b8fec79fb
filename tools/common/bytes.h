/*
 * Bounds-checked reading of big-endian fields from untrusted bytes, and the
 * writers that build wire data. Every reader checks the room first; a short
 * input is an answer (false), never a read past the end.
 */
#ifndef SRPOLICY_TOOL_BYTES_H
#define SRPOLICY_TOOL_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace srp {

using Bytes = std::vector<uint8_t>;

/* A read cursor over [p, p + n). */
class Reader {
public:
    Reader(const uint8_t *p, size_t n) : m_p(p), m_n(n) {}

    size_t Left() const { return m_n - m_pos; }
    size_t Pos() const { return m_pos; }
    const uint8_t *Here() const { return m_p + m_pos; }

    bool Skip(size_t k)
    {
        if (k > Left()) {
            return false;
        }
        m_pos += k;
        return true;
    }
    bool U8(uint8_t &v)
    {
        if (Left() < 1u) {
            return false;
        }
        v = m_p[m_pos++];
        return true;
    }
    bool U16(uint16_t &v)
    {
        if (Left() < 2u) {
            return false;
        }
        v = static_cast<uint16_t>((m_p[m_pos] << 8) | m_p[m_pos + 1]);
        m_pos += 2u;
        return true;
    }
    bool U32(uint32_t &v)
    {
        if (Left() < 4u) {
            return false;
        }
        v = (static_cast<uint32_t>(m_p[m_pos]) << 24) | (static_cast<uint32_t>(m_p[m_pos + 1]) << 16) |
            (static_cast<uint32_t>(m_p[m_pos + 2]) << 8) | m_p[m_pos + 3];
        m_pos += 4u;
        return true;
    }
    /* Hands out the next k bytes as a sub-range. */
    bool Take(size_t k, const uint8_t *&pOut)
    {
        if (k > Left()) {
            return false;
        }
        pOut = m_p + m_pos;
        m_pos += k;
        return true;
    }

private:
    const uint8_t *m_p;
    size_t m_n;
    size_t m_pos = 0;
};

inline uint16_t Be16(const uint8_t *p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t Be32(const uint8_t *p)
{
    return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
           (static_cast<uint32_t>(p[2]) << 8) | p[3];
}

inline void Put8(Bytes &v, uint32_t x) { v.push_back(static_cast<uint8_t>(x)); }
inline void Put16(Bytes &v, uint32_t x)
{
    v.push_back(static_cast<uint8_t>(x >> 8));
    v.push_back(static_cast<uint8_t>(x));
}
inline void Put32(Bytes &v, uint32_t x)
{
    Put16(v, x >> 16);
    Put16(v, x);
}
inline void PutBytes(Bytes &v, const uint8_t *p, size_t n) { v.insert(v.end(), p, p + n); }
inline void SetBe16(uint8_t *p, uint32_t x)
{
    p[0] = static_cast<uint8_t>(x >> 8);
    p[1] = static_cast<uint8_t>(x);
}

/* Lower-case hex without separators. */
/* Lower-case hex of n bytes written at pc (2n characters, no terminator);
 * returns the end. */
char *PutHex(char *pc, const uint8_t *p, size_t n);
std::string ToHex(const uint8_t *p, size_t n);
inline std::string ToHex(const Bytes &v) { return ToHex(v.data(), v.size()); }

/* Hex text read line by line: whitespace, "0x" prefixes, ':' '-' '.' ','
 * separators and '#' comments (to the end of the line) are ignored; a byte's
 * two digits may stand on two lines. Errors name the line and column. */
class HexText {
public:
    /* One line (without its line end); its bytes are appended to vecOut. */
    bool Line(const char *p, size_t n, Bytes &vecOut, std::string &strError);
    /* The end of the text: false when a digit was left without its partner. */
    bool Finish(std::string &strError) const;
    size_t Lines() const { return m_ulLine; }

private:
    size_t m_ulLine = 0;
    int m_iHigh = -1; /* a first digit waiting for its partner */
    size_t m_ulHighLine = 0;
    size_t m_ulHighColumn = 0;
};

/* Calls fn(p, n) for each line of the text, line end left out, until fn
 * returns false; returns false then. */
template <class Fn>
bool ForEachLine(const std::string &strText, Fn fn)
{
    size_t ulStart = 0;
    while (ulStart <= strText.size()) {
        size_t ulEnd = strText.find('\n', ulStart);
        if (ulEnd == std::string::npos) {
            ulEnd = strText.size();
        }
        if (!fn(strText.data() + ulStart, ulEnd - ulStart)) {
            return false;
        }
        ulStart = ulEnd + 1u;
    }
    return true;
}

/* Hex text to bytes: whitespace, "0x" prefixes, ':' '-' '.' separators and
 * '#' comments (to the end of the line) are ignored. On failure returns false
 * and names the first offending character in strError. */
bool ParseHex(const std::string &strText, Bytes &vecOut, std::string &strError);

/* Splits hex text into one value per non-empty line (comments and blank lines
 * dropped); used for bare attribute values and NLRI. */
bool ParseHexLines(const std::string &strText, std::vector<Bytes> &vecOut, std::string &strError);

/* True when the data is text of hex digits, separators and comments, with at
 * least one digit and few stray characters: the test that tells hex input
 * from binary and from other text. */
bool LooksLikeHex(const uint8_t *p, size_t n);

/* IPv4 text of a host-order address, and IPv6 text of 16 network-order bytes. */
std::string Ipv4Text(uint32_t ulAddr);
std::string Ipv6Text(const uint8_t *puc16);
/* Address text to bytes: 4 bytes for IPv4, 16 for IPv6; false if neither. */
bool ParseAddress(const std::string &strText, Bytes &vecOut);
/* ADDR[:PORT], IPv6 as [ADDR]:PORT or bare, into the numeric address text and
 * the port (usDefaultPort when none is given); false with strError if not. */
bool ParseEndpoint(const std::string &strText, uint16_t usDefaultPort, std::string &strAddr, uint16_t &usPort,
                   std::string &strError);

}  // namespace srp

#endif
