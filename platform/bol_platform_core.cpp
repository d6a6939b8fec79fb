/*
 * Platform services that hold no state: the doubly linked list, address
 * text, byte comparison and the bounds-checked memory and formatting
 * functions. Shared by the default platform and the test platform.
 */
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/types.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "bol_platform.h"

namespace {

bool Overlaps(const void *pvA, const void *pvB, size_t count)
{
    uintptr_t a = reinterpret_cast<uintptr_t>(pvA);
    uintptr_t b = reinterpret_cast<uintptr_t>(pvB);
    return (a < b) ? (b - a < count) : (a - b < count);
}

/* Formatted text goes into a room of ulRoom bytes: characters beyond the
 * room are counted but not stored, so the full length is known as with
 * vsnprintf, and the stored part is always terminated. */
struct RoomWriter {
    char *pc;
    size_t ulRoom; /* > 0, terminator included */
    size_t ulLen;

    void Put(char c)
    {
        if (ulLen + 1u < ulRoom) {
            pc[ulLen] = c;
        }
        ulLen++;
    }
    void Fill(char c, size_t n)
    {
        for (size_t i = 0; i < n; i++) {
            Put(c);
        }
    }
    void Append(const char *pcText, size_t n)
    {
        if (ulLen + 1u < ulRoom) {
            size_t ulFits = ulRoom - 1u - ulLen;
            memcpy(pc + ulLen, pcText, n < ulFits ? n : ulFits);
        }
        ulLen += n;
    }
    void Terminate() { pc[ulLen < ulRoom ? ulLen : ulRoom - 1u] = '\0'; }
};

/* One conversion's flags, width and length modifier. */
struct Conversion {
    bool bLeft = false;
    bool bZero = false;
    size_t ulWidth = 0;
    int iLength = 0; /* -2 hh, -1 h, 0 none, 1 l, 2 ll, 3 z */
};

/* Text of value in base 10 or 16, written backwards ending at pcEnd;
 * returns its first character. */
char *Digits(unsigned long long ullValue, unsigned uBase, bool bUpper, char *pcEnd)
{
    const char *pcSet = bUpper ? "0123456789ABCDEF" : "0123456789abcdef";
    char *pc = pcEnd;
    do {
        *--pc = pcSet[ullValue % uBase];
        ullValue /= uBase;
    } while (ullValue != 0u);
    return pc;
}

/* A field: sign, then the body, padded to the width. */
void PutField(RoomWriter &w, const Conversion &cv, const char *pcSign, const char *pcBody, size_t ulBody)
{
    size_t ulSign = (pcSign != nullptr) ? 1u : 0u;
    size_t ulPad = (cv.ulWidth > ulBody + ulSign) ? cv.ulWidth - ulBody - ulSign : 0u;
    if (!cv.bLeft && !cv.bZero) {
        w.Fill(' ', ulPad);
    }
    if (pcSign != nullptr) {
        w.Put(*pcSign);
    }
    if (!cv.bLeft && cv.bZero) {
        w.Fill('0', ulPad);
    }
    w.Append(pcBody, ulBody);
    if (cv.bLeft) {
        w.Fill(' ', ulPad);
    }
}

/* The conversions the plug-in's texts use (flags - and 0, a width, the
 * length modifiers hh h l ll z; d i u x X c s %) formatted here; returns
 * false on anything else, which the caller leaves to vsnprintf. */
/* The caller hands over a started copy of its arguments; the analyzer cannot
 * see that through the parameter. */
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized)
bool FormatFast(RoomWriter &w, const char *format, va_list args)
{
    const char *pf = format;
    while (*pf != '\0') {
        const char *pcLit = pf;
        pf = strchrnul(pf, '%');
        w.Append(pcLit, static_cast<size_t>(pf - pcLit));
        if (*pf == '\0') {
            break;
        }
        pf++; /* the '%' */
        Conversion cv;
        for (;; pf++) {
            if (*pf == '-') {
                cv.bLeft = true;
            } else if (*pf == '0') {
                cv.bZero = true;
            } else {
                break;
            }
        }
        /* cppcheck takes *pf for the flag loop's last value here */
        // cppcheck-suppress knownConditionTrueFalse
        while (*pf >= '0' && *pf <= '9') {
            cv.ulWidth = cv.ulWidth * 10u + static_cast<size_t>(*pf - '0');
            if (cv.ulWidth > 4096u) {
                return false;
            }
            pf++;
        }
        if (*pf == 'h') {
            pf++;
            cv.iLength = (*pf == 'h') ? (pf++, -2) : -1;
        } else if (*pf == 'l') {
            pf++;
            cv.iLength = (*pf == 'l') ? (pf++, 2) : 1;
        } else if (*pf == 'z') {
            pf++;
            cv.iLength = 3;
        }
        char acNum[24];
        char *pcEnd = acNum + sizeof(acNum);
        char cConv = *pf++;
        switch (cConv) {
            case '%':
                if (cv.bLeft || cv.bZero || cv.ulWidth != 0u || cv.iLength != 0) {
                    return false;
                }
                w.Put('%');
                break;
            case 'd':
            case 'i': {
                long long llValue;
                switch (cv.iLength) {
                    case -2: {
                        /* %hhd: the low byte as a two's complement value */
                        unsigned uByte = static_cast<unsigned>(va_arg(args, int)) & 0xFFu;
                        llValue = static_cast<long long>(uByte) - ((uByte & 0x80u) != 0u ? 256 : 0);
                        break;
                    }
                    case -1: llValue = static_cast<short>(va_arg(args, int)); break;
                    case 1: llValue = va_arg(args, long); break;
                    case 2: llValue = va_arg(args, long long); break;
                    case 3: llValue = static_cast<long long>(va_arg(args, ssize_t)); break;
                    default: llValue = va_arg(args, int); break;
                }
                unsigned long long ullMagnitude = (llValue < 0) ? 0ull - static_cast<unsigned long long>(llValue)
                                                                : static_cast<unsigned long long>(llValue);
                char *pcBody = Digits(ullMagnitude, 10u, false, pcEnd);
                PutField(w, cv, (llValue < 0) ? "-" : nullptr, pcBody, static_cast<size_t>(pcEnd - pcBody));
                break;
            }
            case 'u':
            case 'x':
            case 'X': {
                unsigned long long ullValue;
                switch (cv.iLength) {
                    case -2: ullValue = static_cast<unsigned char>(va_arg(args, unsigned)); break;
                    case -1: ullValue = static_cast<unsigned short>(va_arg(args, unsigned)); break;
                    case 1: ullValue = va_arg(args, unsigned long); break;
                    case 2: ullValue = va_arg(args, unsigned long long); break;
                    case 3: ullValue = va_arg(args, size_t); break;  // NOLINT(bugprone-branch-clone): size_t is unsigned on 32-bit targets
                    default: ullValue = va_arg(args, unsigned); break;
                }
                char *pcBody = Digits(ullValue, (cConv == 'u') ? 10u : 16u, cConv == 'X', pcEnd);
                PutField(w, cv, nullptr, pcBody, static_cast<size_t>(pcEnd - pcBody));
                break;
            }
            case 'c': {
                if (cv.bZero || cv.iLength != 0) {
                    return false;
                }
                char c = static_cast<char>(va_arg(args, int));
                PutField(w, cv, nullptr, &c, 1u);
                break;
            }
            case 's': {
                const char *pcText = va_arg(args, const char *);
                if (pcText == nullptr || cv.bZero || cv.iLength != 0) {
                    return false;
                }
                PutField(w, cv, nullptr, pcText, strlen(pcText));
                break;
            }
            default:
                return false;
        }
    }
    return w.ulLen <= static_cast<size_t>(INT32_MAX);
}
// NOLINTEND(clang-analyzer-valist.Uninitialized)

/* What every formatting function does first: refuses a missing buffer or
 * format, and a room (the bytes written at most, terminator included) of 0 or
 * beyond the buffer; then formats into the room. Returns the length the whole
 * text has, or -1 with the buffer emptied where there is one. */
int FormatChecked(char *dest, size_t destMax, size_t ulRoom, const char *format, va_list args)
{
    if (dest == nullptr || destMax == 0u) {
        return -1;
    }
    if (format == nullptr || ulRoom == 0u || ulRoom > destMax) {
        dest[0] = '\0';
        return -1;
    }
    va_list argsFast;
    va_copy(argsFast, args);
    RoomWriter w{dest, ulRoom, 0u};
    bool bDone = FormatFast(w, format, argsFast);
    va_end(argsFast);
    if (bDone) {
        w.Terminate();
        return static_cast<int>(w.ulLen);
    }
    /* Every caller has started args with va_start. */
    int iLen = vsnprintf(dest, ulRoom, format, args);  // NOLINT(clang-analyzer-valist.Uninitialized)
    if (iLen < 0) {
        dest[0] = '\0';
    }
    return iLen;
}

/* Decimal text of a byte; returns the end. */
char *PutByte(char *pc, unsigned uByte)
{
    if (uByte >= 100u) {
        *pc++ = static_cast<char>('0' + uByte / 100u);
    }
    if (uByte >= 10u) {
        *pc++ = static_cast<char>('0' + uByte / 10u % 10u);
    }
    *pc++ = static_cast<char>('0' + uByte % 10u);
    return pc;
}

/* Dotted-decimal text of an IPv4 address in host order, unterminated;
 * returns the end. */
char *PutDotted(char *pc, uint32_t ulAddr)
{
    for (unsigned uShift = 24u;; uShift -= 8u) {
        pc = PutByte(pc, (ulAddr >> uShift) & 0xFFu);
        if (uShift == 0u) {
            return pc;
        }
        *pc++ = '.';
    }
}

/* Lower-case hex of a 16-bit group without leading zeros; returns the end. */
char *PutHexGroup(char *pc, unsigned uGroup)
{
    static const char acDigits[] = "0123456789abcdef";
    bool bStarted = false;
    for (int iShift = 12; iShift >= 0; iShift -= 4) {
        unsigned uNibble = (uGroup >> iShift) & 0xFu;
        if (uNibble != 0u || bStarted || iShift == 0) {
            *pc++ = acDigits[uNibble];
            bStarted = true;
        }
    }
    return pc;
}

/* Copies count bytes between buffers that do not overlap. A copy of 16 bytes
 * or fewer (a name, a label, an address) is made here, up from 8 bytes as a
 * load of the first and of the last 8 bytes and their stores (overlapping in
 * the middle): the call into the C library and its dispatch on the size cost
 * more than such a copy. Longer copies are the library's. */
inline void CopyBytes(uint8_t *pucDst, const uint8_t *pucSrc, size_t count)
{
    if (count > 16u) {
        memcpy(pucDst, pucSrc, count);
    } else if (count >= 8u) {
        uint64_t ullHead = 0u;
        uint64_t ullTail = 0u;
        memcpy(&ullHead, pucSrc, sizeof(ullHead));
        memcpy(&ullTail, pucSrc + count - sizeof(ullTail), sizeof(ullTail));
        memcpy(pucDst, &ullHead, sizeof(ullHead));
        memcpy(pucDst + count - sizeof(ullTail), &ullTail, sizeof(ullTail));
    } else {
        for (size_t i = 0; i < count; i++) {
            pucDst[i] = pucSrc[i];
        }
    }
}

} /* namespace */

extern "C" {

/* ---- Doubly linked list ------------------------------------------------ */

void DLL_Insert_In_Middle(BOL_SRPOLICY_LIST_HEAD_S *pstList, BOL_SRPOLICY_LIST_NODE_S *pstPrev,
                          BOL_SRPOLICY_LIST_NODE_S *pstNew, BOL_SRPOLICY_LIST_NODE_S *pstNext)
{
    pstNew->pstPrev = pstPrev;
    pstNew->pstNext = pstNext;
    pstPrev->pstNext = pstNew;
    pstNext->pstPrev = pstNew;
    pstList->ulCount++;
}

void DLL_Delete(BOL_SRPOLICY_LIST_HEAD_S *pstList, BOL_SRPOLICY_LIST_NODE_S *pstNode)
{
    pstNode->pstPrev->pstNext = pstNode->pstNext;
    pstNode->pstNext->pstPrev = pstNode->pstPrev;
    pstNode->pstNext = nullptr;
    pstNode->pstPrev = nullptr;
    pstList->ulCount--;
}

/* ---- Address text and byte comparison ---------------------------------- */

char *KEO_IpAddrToStr(uint32_t ulAddr, char *pcBuf)
{
    if (pcBuf == nullptr) {
        return nullptr;
    }
    *PutDotted(pcBuf, ulAddr) = '\0';
    return pcBuf;
}

/* RFC 5952: lower-case hex without leading zeros; the longest run of two or
 * more zero groups (the first of equal runs) becomes "::"; IPv4-mapped
 * addresses end in dotted decimal. */
uint32_t KEO_Inet_ntoa_b_ipv6(KEO_IN6ADDR_S stAddr, char *pcBuf)
{
    if (pcBuf == nullptr) {
        return 1u;
    }
    const uint16_t *ausG = stAddr.ausGroup;
    bool bMapped = ausG[0] == 0 && ausG[1] == 0 && ausG[2] == 0 && ausG[3] == 0 && ausG[4] == 0 && ausG[5] == 0xFFFFu;
    int iGroups = bMapped ? 6 : 8;

    int iBestStart = -1;
    int iBestLen = 0;
    for (int i = 0; i < iGroups;) {
        if (ausG[i] != 0) {
            i++;
            continue;
        }
        int j = i;
        while (j < iGroups && ausG[j] == 0) {
            j++;
        }
        if (j - i > iBestLen) {
            iBestStart = i;
            iBestLen = j - i;
        }
        i = j;
    }
    if (iBestLen < 2) {
        iBestStart = -1;
    }

    char *pc = pcBuf;
    for (int i = 0; i < iGroups; i++) {
        if (i == iBestStart) {
            *pc++ = ':';
            *pc++ = ':';
            i += iBestLen - 1;
            continue;
        }
        if (i != 0 && pc[-1] != ':') {
            *pc++ = ':';
        }
        pc = PutHexGroup(pc, ausG[i]);
    }
    if (bMapped) {
        if (pc[-1] != ':') {
            *pc++ = ':';
        }
        pc = PutDotted(pc, (static_cast<uint32_t>(ausG[6]) << 16) | ausG[7]);
    }
    *pc = '\0';
    return 0u;
}

int32_t KEO_MemCmp(const void *pvA, const void *pvB, uint32_t ulLen)
{
    if (ulLen == 0u) {
        return 0;
    }
    int iRet = memcmp(pvA, pvB, ulLen);
    return (iRet < 0) ? -1 : ((iRet > 0) ? 1 : 0);
}

/* ---- Bounds-checked memory and formatting ------------------------------ */

int memset_s(void *dest, size_t destMax, int c, size_t count)
{
    if (dest == nullptr) {
        return BOL_SEC_EINVAL;
    }
    if (count > destMax) {
        memset(dest, c, destMax);
        return BOL_SEC_ERANGE;
    }
    memset(dest, c, count);
    return 0;
}

int memcpy_s(void *dest, size_t destMax, const void *src, size_t count)
{
    if (dest == nullptr) {
        return BOL_SEC_EINVAL;
    }
    int iRet = 0;
    if (src == nullptr) {
        iRet = BOL_SEC_EINVAL;
    } else if (count > destMax) {
        iRet = BOL_SEC_ERANGE;
    } else if (count != 0u && Overlaps(dest, src, count)) {
        iRet = BOL_SEC_EOVERLAP;
    }
    if (iRet != 0) {
        memset(dest, 0, destMax);
        return iRet;
    }
    CopyBytes(static_cast<uint8_t *>(dest), static_cast<const uint8_t *>(src), count);
    return 0;
}

int sprintf_s(char *dest, size_t destMax, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int iLen = FormatChecked(dest, destMax, destMax, format, args);
    va_end(args);
    if (iLen >= 0 && static_cast<size_t>(iLen) >= destMax) {
        dest[0] = '\0';
        return -1;
    }
    return iLen;
}

/* Writes at most count characters; a longer text is cut there and -1
 * returned. count must be below destMax. */
int snprintf_s(char *dest, size_t destMax, size_t count, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int iLen = FormatChecked(dest, destMax, count < destMax ? count + 1u : 0u, format, args);
    va_end(args);
    if (iLen >= 0 && static_cast<size_t>(iLen) > count) {
        return -1;
    }
    return iLen;
}

int snprintf_truncated_s(char *dest, size_t destMax, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int iLen = FormatChecked(dest, destMax, destMax, format, args);
    va_end(args);
    if (iLen < 0) {
        return -1;
    }
    return (static_cast<size_t>(iLen) >= destMax) ? static_cast<int>(destMax - 1u) : iLen;
}

/* ---- Report texts ------------------------------------------------------ */

/* A report value is a text when it is the address of readable memory that
 * holds printable characters and a zero within 128 bytes. The bytes are
 * fetched through a pipe so that an address that is only a number can never
 * fault: the kernel refuses what is not mapped. */
uint32_t BOL_PlatformProbeReportText(uintptr_t uvValue, char *pcText)
{
    const uintptr_t uvLowestAddress = 0x10000u;
    const size_t ulTextMax = 128u;
    if (pcText == nullptr || uvValue < uvLowestAddress) {
        return 0u;
    }
    int aiPipe[2];
    if (pipe(aiPipe) != 0) {
        return 0u;
    }
    /* The raw system call: the bytes are only probed, so a memory checker's
     * view of object bounds does not apply to them. */
    const void *pvText = reinterpret_cast<const void *>(uvValue);  // NOLINT(performance-no-int-to-ptr)
    ssize_t lPut = static_cast<ssize_t>(syscall(SYS_write, aiPipe[1], pvText, ulTextMax));
    ssize_t lGot = 0;
    char acRaw[128];
    if (lPut > 0) {
        lGot = read(aiPipe[0], acRaw, static_cast<size_t>(lPut));
    }
    (void)close(aiPipe[0]);
    (void)close(aiPipe[1]);

    for (ssize_t i = 0; i < lGot; i++) {
        if (acRaw[i] == '\0') {
            if (i == 0) {
                return 0u;
            }
            memcpy(pcText, acRaw, static_cast<size_t>(i) + 1u);
            return 1u;
        }
        unsigned char uc = static_cast<unsigned char>(acRaw[i]);
        if (uc < 0x20u || uc > 0x7Eu) {
            return 0u;
        }
    }
    return 0u;
}

} /* extern "C" */
