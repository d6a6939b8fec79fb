/* Hex and address text for the srpolicy tool. */
#include "common/bytes.h"

#include <arpa/inet.h>

#include <cctype>
#include <cstring>

namespace srp {

namespace {

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

std::string ToHex(const uint8_t *p, size_t n)
{
    static const char acDigits[] = "0123456789abcdef";
    std::string s;
    s.reserve(n * 2u);
    for (size_t i = 0; i < n; i++) {
        s.push_back(acDigits[p[i] >> 4]);
        s.push_back(acDigits[p[i] & 0xFu]);
    }
    return s;
}

bool ParseHex(const std::string &strText, Bytes &vecOut, std::string &strError)
{
    int iHigh = -1;
    size_t i = 0;
    while (i < strText.size()) {
        char c = strText[i];
        if (c == '#') {
            while (i < strText.size() && strText[i] != '\n') {
                i++;
            }
            continue;
        }
        if (c == '0' && i + 1 < strText.size() && (strText[i + 1] == 'x' || strText[i + 1] == 'X') && iHigh < 0) {
            i += 2u;
            continue;
        }
        if (IsSeparator(c)) {
            i++;
            continue;
        }
        int d = HexDigit(c);
        if (d < 0) {
            strError = "not a hex digit at character " + std::to_string(i);
            return false;
        }
        if (iHigh < 0) {
            iHigh = d;
        } else {
            vecOut.push_back(static_cast<uint8_t>((iHigh << 4) | d));
            iHigh = -1;
        }
        i++;
    }
    if (iHigh >= 0) {
        strError = "odd number of hex digits";
        return false;
    }
    return true;
}

bool ParseHexLines(const std::string &strText, std::vector<Bytes> &vecOut, std::string &strError)
{
    size_t ulStart = 0;
    size_t ulLine = 1;
    while (ulStart <= strText.size()) {
        size_t ulEnd = strText.find('\n', ulStart);
        if (ulEnd == std::string::npos) {
            ulEnd = strText.size();
        }
        Bytes vec;
        std::string strLineError;
        if (!ParseHex(strText.substr(ulStart, ulEnd - ulStart), vec, strLineError)) {
            strError = "line " + std::to_string(ulLine) + ": " + strLineError;
            return false;
        }
        if (!vec.empty()) {
            vecOut.push_back(std::move(vec));
        }
        ulStart = ulEnd + 1u;
        ulLine++;
    }
    return true;
}

bool LooksLikeHex(const uint8_t *p, size_t n)
{
    std::string s(reinterpret_cast<const char *>(p), n);
    for (char c : s) {
        unsigned char uc = static_cast<unsigned char>(c);
        if (uc == 0u || uc >= 0x80u) {
            return false;
        }
    }
    Bytes vec;
    std::string strError;
    return ParseHex(s, vec, strError) && !vec.empty();
}

std::string Ipv4Text(uint32_t ulAddr)
{
    return std::to_string(ulAddr >> 24) + "." + std::to_string((ulAddr >> 16) & 0xFFu) + "." +
           std::to_string((ulAddr >> 8) & 0xFFu) + "." + std::to_string(ulAddr & 0xFFu);
}

std::string Ipv6Text(const uint8_t *puc16)
{
    char ac[INET6_ADDRSTRLEN] = {0};
    if (inet_ntop(AF_INET6, puc16, ac, sizeof(ac)) == nullptr) {
        return "?";
    }
    return ac;
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

}  // namespace srp
