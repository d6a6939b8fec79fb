/* Hex and address text for the srpolicy tool. */
#include "common/bytes.h"

#include <arpa/inet.h>

#include <algorithm>

#include <cctype>
#include <cstdio>
#include <cstring>

namespace srp {

namespace {

/* Dotted-decimal text of a host-order IPv4 address; returns its end. */
char *PutIpv4(char *pc, uint32_t ulAddr)
{
    for (int iShift = 24; iShift >= 0; iShift -= 8) {
        unsigned uByte = (ulAddr >> iShift) & 0xFFu;
        if (uByte >= 100u) {
            *pc++ = static_cast<char>('0' + uByte / 100u);
        }
        if (uByte >= 10u) {
            *pc++ = static_cast<char>('0' + uByte / 10u % 10u);
        }
        *pc++ = static_cast<char>('0' + uByte % 10u);
        if (iShift != 0) {
            *pc++ = '.';
        }
    }
    return pc;
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

bool IsSeparator(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0 || c == ':' || c == '-' || c == '.' || c == ','; }

}  // namespace

namespace {

/* The two hex digits of every byte value, side by side. */
struct HexPairs {
    char ac[512];
    HexPairs()
    {
        static const char acDigits[] = "0123456789abcdef";
        for (size_t i = 0; i < 256u; i++) {
            ac[2u * i] = acDigits[i >> 4];
            ac[2u * i + 1u] = acDigits[i & 0xFu];
        }
    }
};

const HexPairs g_stHexPairs;

}  // namespace

char *PutHex(char *pc, const uint8_t *p, size_t n)
{
    for (size_t i = 0; i < n; i++) {
        memcpy(pc, &g_stHexPairs.ac[2u * p[i]], 2u);
        pc += 2;
    }
    return pc;
}

std::string ToHex(const uint8_t *p, size_t n)
{
    std::string s(2u * n, '\0');
    PutHex(&s[0], p, n);
    return s;
}

std::string CharText(char c)
{
    unsigned char uc = static_cast<unsigned char>(c);
    if (uc >= 0x20u && uc < 0x7Fu) {
        return std::string("'") + c + "'";
    }
    char ac[16];
    std::snprintf(ac, sizeof(ac), "byte 0x%02x", uc);
    return ac;
}

bool HexText::Line(const char *p, size_t n, Bytes &vecOut, std::string &strError)
{
    m_ulLine++;
    size_t i = 0;
    while (i < n) {
        char c = p[i];
        if (c == '#') {
            break;
        }
        if (c == '0' && i + 1u < n && (p[i + 1u] == 'x' || p[i + 1u] == 'X') && m_iHigh < 0) {
            i += 2u;
            continue;
        }
        if (IsSeparator(c)) {
            i++;
            continue;
        }
        int d = HexDigit(c);
        if (d < 0) {
            strError = "line " + std::to_string(m_ulLine) + ", column " + std::to_string(i + 1u) + ": " +
                       CharText(c) + " is not a hex digit";
            return false;
        }
        if (m_iHigh < 0) {
            m_iHigh = d;
            m_ulHighLine = m_ulLine;
            m_ulHighColumn = i + 1u;
        } else {
            vecOut.push_back(static_cast<uint8_t>((m_iHigh << 4) | d));
            m_iHigh = -1;
        }
        i++;
    }
    return true;
}

bool HexText::Finish(std::string &strError) const
{
    if (m_iHigh >= 0) {
        strError = "odd number of hex digits: the digit at line " + std::to_string(m_ulHighLine) + ", column " +
                   std::to_string(m_ulHighColumn) + " has no partner";
        return false;
    }
    return true;
}

bool ParseHex(const std::string &strText, Bytes &vecOut, std::string &strError)
{
    HexText hex;
    return ForEachLine(strText, [&](const char *p, size_t n) { return hex.Line(p, n, vecOut, strError); }) &&
           hex.Finish(strError);
}

bool ParseHexLines(const std::string &strText, std::vector<Bytes> &vecOut, std::string &strError)
{
    HexText hex;
    return ForEachLine(strText, [&](const char *p, size_t n) {
        Bytes vec;
        if (!hex.Line(p, n, vec, strError) || !hex.Finish(strError)) {
            return false;
        }
        if (!vec.empty()) {
            vecOut.push_back(std::move(vec));
        }
        return true;
    });
}

bool LooksLikeHex(const uint8_t *p, size_t n)
{
    /* Text whose content (comments, separators and "0x" left out) is hex
     * digits with at most one stray character in twenty: a typo is then
     * reported by the hex reader with its line and column. */
    size_t ulDigits = 0;
    size_t ulOther = 0;
    bool bComment = false;
    for (size_t i = 0; i < n; i++) {
        char c = static_cast<char>(p[i]);
        if (p[i] == 0u || p[i] >= 0x80u || (p[i] < 0x20u && !std::isspace(p[i]))) {
            return false;
        }
        if (bComment || c == '#') {
            bComment = c != '\n';
            continue;
        }
        if (c == '0' && i + 1u < n && (p[i + 1u] == 'x' || p[i + 1u] == 'X')) {
            i++;
            continue;
        }
        if (IsSeparator(c)) {
            continue;
        }
        if (HexDigit(c) >= 0) {
            ulDigits++;
        } else {
            ulOther++;
        }
    }
    return ulDigits > 0u && ulOther * 20u <= ulDigits;
}

std::string Ipv4Text(uint32_t ulAddr)
{
    char ac[16];
    return std::string(ac, PutIpv4(ac, ulAddr));
}

/* The text inet_ntop writes (RFC 5952: lower-case hex, the first longest
 * run of two or more zero groups as "::", IPv4-mapped and IPv4-compatible
 * addresses ending in dotted decimal), written here without the C library's
 * formatted printing, which costs more than the rest of a route's key. */
std::string Ipv6Text(const uint8_t *puc16)
{
    static const char acDigits[] = "0123456789abcdef";
    unsigned auGroup[8];
    for (size_t i = 0; i < 8u; i++) {
        auGroup[i] = (static_cast<unsigned>(puc16[2u * i]) << 8) | puc16[2u * i + 1u];
    }
    int iBest = -1;
    int iBestLen = 0;
    for (int i = 0; i < 8;) {
        int j = i;
        while (j < 8 && auGroup[j] == 0u) {
            j++;
        }
        if (j - i > iBestLen) {
            iBest = i;
            iBestLen = j - i;
        }
        i = (j == i) ? i + 1 : j;
    }
    if (iBestLen < 2) {
        iBest = -1;
    }
    char ac[48];
    char *pc = ac;
    for (int i = 0; i < 8; i++) {
        if (iBest >= 0 && i >= iBest && i < iBest + iBestLen) {
            if (i == iBest) {
                *pc++ = ':';
            }
            continue;
        }
        if (i != 0) {
            *pc++ = ':';
        }
        if (i == 6 && iBest == 0 && (iBestLen == 6 || (iBestLen == 5 && auGroup[5] == 0xFFFFu))) {
            pc = PutIpv4(pc, (static_cast<uint32_t>(auGroup[6]) << 16) | auGroup[7]);
            break;
        }
        bool bStarted = false;
        for (int iShift = 12; iShift >= 0; iShift -= 4) {
            unsigned uNibble = (auGroup[i] >> iShift) & 0xFu;
            if (uNibble != 0u || bStarted || iShift == 0) {
                *pc++ = acDigits[uNibble];
                bStarted = true;
            }
        }
    }
    if (iBest >= 0 && iBest + iBestLen == 8) {
        *pc++ = ':';
    }
    return std::string(ac, pc);
}

bool ParseAddress(const std::string &strText, Bytes &vecOut)
{
    uint8_t auc[16];
    if (inet_pton(AF_INET, strText.c_str(), auc) == 1) {
        vecOut.assign(auc, auc + 4);
        return true;
    }
    if (inet_pton(AF_INET6, strText.c_str(), auc) == 1) {
        vecOut.assign(auc, auc + 16);
        return true;
    }
    return false;
}

bool ParseEndpoint(const std::string &strText, uint16_t usDefaultPort, std::string &strAddr, uint16_t &usPort,
                   std::string &strError)
{
    std::string strPort;
    if (!strText.empty() && strText[0] == '[') {
        size_t ulClose = strText.find(']');
        if (ulClose == std::string::npos) {
            strError = "missing ']' in " + strText;
            return false;
        }
        strAddr = strText.substr(1u, ulClose - 1u);
        if (ulClose + 1u < strText.size()) {
            if (strText[ulClose + 1u] != ':') {
                strError = "expected ':' after ']' in " + strText;
                return false;
            }
            strPort = strText.substr(ulClose + 2u);
        }
    } else if (std::count(strText.begin(), strText.end(), ':') == 1) {
        size_t ulColon = strText.find(':');
        strAddr = strText.substr(0u, ulColon);
        strPort = strText.substr(ulColon + 1u);
    } else {
        strAddr = strText; /* IPv4, or IPv6 without a port */
    }
    Bytes vecAddr;
    if (!ParseAddress(strAddr, vecAddr)) {
        strError = "not a numeric address: " + strAddr;
        return false;
    }
    usPort = usDefaultPort;
    if (strPort.empty()) {
        return true;
    }
    if (strPort.size() > 5u || strPort.find_first_not_of("0123456789") != std::string::npos ||
        std::stoul(strPort) > 65535u) {
        strError = "not a port: " + strPort;
        return false;
    }
    usPort = static_cast<uint16_t>(std::stoul(strPort));
    return true;
}

}  // namespace srp
