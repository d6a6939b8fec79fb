/* Escaping of wire strings for text and JSON. */
#include "output/escape.h"

#include <cstdio>

namespace srp {

namespace {

/* Length of the valid UTF-8 sequence at p (at most n bytes), 0 if none:
 * no overlong forms, no surrogates, nothing above U+10FFFF. */
size_t Utf8Len(const uint8_t *p, size_t n)
{
    uint8_t uc = p[0];
    size_t ulLen;
    uint32_t ulMin;
    uint32_t ulCp;
    if (uc < 0x80u) {
        return 1u;
    } else if ((uc & 0xE0u) == 0xC0u) {
        ulLen = 2u;
        ulMin = 0x80u;
        ulCp = uc & 0x1Fu;
    } else if ((uc & 0xF0u) == 0xE0u) {
        ulLen = 3u;
        ulMin = 0x800u;
        ulCp = uc & 0x0Fu;
    } else if ((uc & 0xF8u) == 0xF0u) {
        ulLen = 4u;
        ulMin = 0x10000u;
        ulCp = uc & 0x07u;
    } else {
        return 0u;
    }
    if (ulLen > n) {
        return 0u;
    }
    for (size_t i = 1; i < ulLen; i++) {
        if ((p[i] & 0xC0u) != 0x80u) {
            return 0u;
        }
        ulCp = (ulCp << 6) | (p[i] & 0x3Fu);
    }
    if (ulCp < ulMin || ulCp > 0x10FFFFu || (ulCp >= 0xD800u && ulCp <= 0xDFFFu)) {
        return 0u;
    }
    return ulLen;
}

void AppendFormat(std::string &s, const char *pcFormat, unsigned int uValue)
{
    char ac[8];
    std::snprintf(ac, sizeof(ac), pcFormat, uValue);
    s += ac;
}

}  // namespace

bool IsPlainText(const uint8_t *p, size_t n)
{
    for (size_t i = 0; i < n; i++) {
        if (p[i] < 0x20u || p[i] >= 0x7Fu) {
            return false;
        }
    }
    return true;
}

std::string EscapeText(const uint8_t *p, size_t n)
{
    std::string s;
    size_t i = 0;
    while (i < n) {
        size_t ulLen = Utf8Len(p + i, n - i);
        if (p[i] == '\\') {
            s += "\\\\";
        } else if (ulLen > 1u || (ulLen == 1u && p[i] >= 0x20u && p[i] < 0x7Fu)) {
            s.append(reinterpret_cast<const char *>(p + i), ulLen);
            i += ulLen;
            continue;
        } else {
            AppendFormat(s, "\\x%02x", p[i]);
        }
        i++;
    }
    return s;
}

std::string JsonStringLiteral(const uint8_t *p, size_t n)
{
    std::string s = "\"";
    size_t i = 0;
    while (i < n) {
        size_t ulLen = Utf8Len(p + i, n - i);
        if (p[i] == '"' || p[i] == '\\') {
            s += '\\';
            s += static_cast<char>(p[i]);
        } else if (ulLen > 1u || (ulLen == 1u && p[i] >= 0x20u)) {
            s.append(reinterpret_cast<const char *>(p + i), ulLen);
            i += ulLen;
            continue;
        } else if (p[i] == '\n') {
            s += "\\n";
        } else if (p[i] == '\t') {
            s += "\\t";
        } else {
            AppendFormat(s, "\\u%04x", p[i]);
        }
        i++;
    }
    s += '"';
    return s;
}

}  // namespace srp
