/*
 * Bounded access to wire bytes. Every read and write of a big-endian field
 * goes through these helpers: a Reader walks a byte range with a remaining
 * count, a View gives checked random access to a range (decoders clear bytes
 * in place through it), and a Writer appends to a buffer with a room count.
 * Length arithmetic happens here and nowhere else.
 */
#ifndef BOL_SRPOLICY_WIRE_H
#define BOL_SRPOLICY_WIRE_H

#include <stdint.h>
#include <string.h>

#include "bol_platform.h"

namespace bol {

inline uint16_t LoadBe16(const uint8_t *puc)
{
    return static_cast<uint16_t>((static_cast<uint32_t>(puc[0]) << 8) | puc[1]);
}

inline uint32_t LoadBe32(const uint8_t *puc)
{
    return (static_cast<uint32_t>(puc[0]) << 24) | (static_cast<uint32_t>(puc[1]) << 16) |
           (static_cast<uint32_t>(puc[2]) << 8) | static_cast<uint32_t>(puc[3]);
}

inline void StoreBe16(uint8_t *puc, uint16_t usVal)
{
    puc[0] = static_cast<uint8_t>(usVal >> 8);
    puc[1] = static_cast<uint8_t>(usVal);
}

inline void StoreBe32(uint8_t *puc, uint32_t ulVal)
{
    puc[0] = static_cast<uint8_t>(ulVal >> 24);
    puc[1] = static_cast<uint8_t>(ulVal >> 16);
    puc[2] = static_cast<uint8_t>(ulVal >> 8);
    puc[3] = static_cast<uint8_t>(ulVal);
}

/* ---- View: a fixed byte range with checked random access ---------------- */

struct View {
    uint8_t *puc;
    uint32_t ulLen;
};

inline View MakeView(uint8_t *puc, uint32_t ulLen)
{
    View stView = {puc, (puc == nullptr) ? 0u : ulLen};
    return stView;
}

/* True when [ulOff, ulOff + ulCount) lies inside the view. */
inline bool ViewHas(const View &stView, uint32_t ulOff, uint32_t ulCount)
{
    return ulOff <= stView.ulLen && ulCount <= stView.ulLen - ulOff;
}

/* Reads outside the view give 0; callers check lengths first, this keeps a
 * missed check from ever touching a byte outside the range. */
inline uint8_t GetU8(const View &stView, uint32_t ulOff)
{
    return ViewHas(stView, ulOff, 1) ? stView.puc[ulOff] : 0u;
}

inline uint16_t GetU16(const View &stView, uint32_t ulOff)
{
    return ViewHas(stView, ulOff, 2) ? LoadBe16(stView.puc + ulOff) : 0u;
}

inline uint32_t GetU32(const View &stView, uint32_t ulOff)
{
    return ViewHas(stView, ulOff, 4) ? LoadBe32(stView.puc + ulOff) : 0u;
}

/* Writes outside the view are dropped. */
inline void SetU8(const View &stView, uint32_t ulOff, uint8_t ucVal)
{
    if (ViewHas(stView, ulOff, 1)) {
        stView.puc[ulOff] = ucVal;
    }
}

inline void SetU16(const View &stView, uint32_t ulOff, uint16_t usVal)
{
    if (ViewHas(stView, ulOff, 2)) {
        StoreBe16(stView.puc + ulOff, usVal);
    }
}

inline void SetU32(const View &stView, uint32_t ulOff, uint32_t ulVal)
{
    if (ViewHas(stView, ulOff, 4)) {
        StoreBe32(stView.puc + ulOff, ulVal);
    }
}

/* The sub-range [ulOff, ulOff + ulCount); empty when it does not fit. */
inline View SubView(const View &stView, uint32_t ulOff, uint32_t ulCount)
{
    if (!ViewHas(stView, ulOff, ulCount)) {
        return View{nullptr, 0u};
    }
    return View{stView.puc + ulOff, ulCount};
}

/* Four big-endian words at ulOff (an IPv6 address or SRv6 SID). */
inline void GetWords4(const View &stView, uint32_t ulOff, uint32_t aulOut[4])
{
    for (uint32_t i = 0; i < 4u; i++) {
        aulOut[i] = GetU32(stView, ulOff + 4u * i);
    }
}

/* True when every byte of the view lies in [ucLo, ucHi], where
 * ucLo <= ucHi < 0x80. Four bytes at a time: in a word w, some byte is below
 * ucLo when (w - ucLo x 0x01010101) & ~w has a top bit set, and some byte is
 * above ucHi when (w + (0x7F - ucHi) x 0x01010101) | w has one (a borrow or
 * carry between bytes only comes from a byte that is itself out of range).
 * The last bytes one by one. */
inline bool AllBytesIn(const View &stView, uint8_t ucLo, uint8_t ucHi)
{
    const uint32_t kOnes = 0x01010101u;
    const uint32_t kTops = 0x80808080u;
    const uint32_t ulBelow = kOnes * ucLo;
    const uint32_t ulAbove = kOnes * static_cast<uint32_t>(0x7Fu - ucHi);
    uint32_t i = 0;
    for (; stView.ulLen - i >= 4u; i += 4u) {
        uint32_t ulWord = LoadBe32(stView.puc + i);
        if (((((ulWord - ulBelow) & ~ulWord) | (ulWord + ulAbove) | ulWord) & kTops) != 0u) {
            return false;
        }
    }
    for (; i < stView.ulLen; i++) {
        if (stView.puc[i] < ucLo || stView.puc[i] > ucHi) {
            return false;
        }
    }
    return true;
}

/* ---- Reader: sequential reads with a remaining count -------------------- */

struct Reader {
    uint8_t *puc;
    uint32_t ulLeft;
};

inline Reader MakeReader(uint8_t *puc, uint32_t ulLen)
{
    Reader stRd = {puc, (puc == nullptr) ? 0u : ulLen};
    return stRd;
}

inline Reader MakeReader(const View &stView)
{
    return MakeReader(stView.puc, stView.ulLen);
}

inline bool ReadU8(Reader &stRd, uint8_t &ucOut)
{
    if (stRd.ulLeft < 1u) {
        return false;
    }
    ucOut = stRd.puc[0];
    stRd.puc += 1;
    stRd.ulLeft -= 1u;
    return true;
}

inline bool ReadU16(Reader &stRd, uint16_t &usOut)
{
    if (stRd.ulLeft < 2u) {
        return false;
    }
    usOut = LoadBe16(stRd.puc);
    stRd.puc += 2;
    stRd.ulLeft -= 2u;
    return true;
}

inline bool ReadU32(Reader &stRd, uint32_t &ulOut)
{
    if (stRd.ulLeft < 4u) {
        return false;
    }
    ulOut = LoadBe32(stRd.puc);
    stRd.puc += 4;
    stRd.ulLeft -= 4u;
    return true;
}

inline bool Skip(Reader &stRd, uint32_t ulCount)
{
    if (stRd.ulLeft < ulCount) {
        return false;
    }
    stRd.puc += ulCount;
    stRd.ulLeft -= ulCount;
    return true;
}

/* Takes the next ulCount bytes as a view and steps past them. */
inline bool ReadView(Reader &stRd, uint32_t ulCount, View &stOut)
{
    if (stRd.ulLeft < ulCount) {
        return false;
    }
    stOut = View{stRd.puc, ulCount};
    stRd.puc += ulCount;
    stRd.ulLeft -= ulCount;
    return true;
}

/* The next TLV with a 1-byte type and a 1-byte length (segment sub-TLVs):
 * its type and its value as a view, stepping past both. False, and nothing
 * consumed, when the header or the value does not fit. */
inline bool ReadTlv8(Reader &stRd, uint8_t &ucType, View &stValue)
{
    if (stRd.ulLeft < 2u || stRd.puc[1] > stRd.ulLeft - 2u) {
        return false;
    }
    uint32_t ulLen = stRd.puc[1];
    ucType = stRd.puc[0];
    stValue = View{stRd.puc + 2, ulLen};
    stRd.puc += 2u + ulLen;
    stRd.ulLeft -= 2u + ulLen;
    return true;
}

/* ---- Writer: appends with a room count ----------------------------------- */

struct Writer {
    uint8_t *puc;
    uint32_t ulRoom;
};

inline Writer MakeWriter(uint8_t *puc, uint32_t ulRoom)
{
    Writer stWr = {puc, (puc == nullptr) ? 0u : ulRoom};
    return stWr;
}

inline bool Fits(const Writer &stWr, uint32_t ulCount)
{
    return ulCount <= stWr.ulRoom;
}

inline bool PutU8(Writer &stWr, uint8_t ucVal)
{
    if (!Fits(stWr, 1u)) {
        return false;
    }
    stWr.puc[0] = ucVal;
    stWr.puc += 1;
    stWr.ulRoom -= 1u;
    return true;
}

inline bool PutU16(Writer &stWr, uint16_t usVal)
{
    if (!Fits(stWr, 2u)) {
        return false;
    }
    StoreBe16(stWr.puc, usVal);
    stWr.puc += 2;
    stWr.ulRoom -= 2u;
    return true;
}

inline bool PutU32(Writer &stWr, uint32_t ulVal)
{
    if (!Fits(stWr, 4u)) {
        return false;
    }
    StoreBe32(stWr.puc, ulVal);
    stWr.puc += 4;
    stWr.ulRoom -= 4u;
    return true;
}

/* Four words big-endian, first word first. */
inline bool PutWords4(Writer &stWr, const uint32_t aulWords[4])
{
    if (!Fits(stWr, 16u)) {
        return false;
    }
    for (uint32_t i = 0; i < 4u; i++) {
        (void)PutU32(stWr, aulWords[i]);
    }
    return true;
}

/* True when any of four words is not 0 (an SID or address that is set). */
inline bool AnyWord(const uint32_t aulWords[4])
{
    return (aulWords[0] | aulWords[1] | aulWords[2] | aulWords[3]) != 0u;
}

inline bool PutZeros(Writer &stWr, uint32_t ulCount)
{
    if (!Fits(stWr, ulCount)) {
        return false;
    }
    memset(stWr.puc, 0, ulCount);
    stWr.puc += ulCount;
    stWr.ulRoom -= ulCount;
    return true;
}

/* Steps over bytes that the encoder leaves as the caller's buffer held them. */
inline bool PutSkip(Writer &stWr, uint32_t ulCount)
{
    if (!Fits(stWr, ulCount)) {
        return false;
    }
    stWr.puc += ulCount;
    stWr.ulRoom -= ulCount;
    return true;
}

/* The writer's position as a view of ulCount bytes, stepping past them: for
 * fields that are filled or patched after the fact (a length written later). */
inline bool PutView(Writer &stWr, uint32_t ulCount, View &stOut)
{
    if (!Fits(stWr, ulCount)) {
        return false;
    }
    stOut = View{stWr.puc, ulCount};
    stWr.puc += ulCount;
    stWr.ulRoom -= ulCount;
    return true;
}

/* A writer whose room ends at pucEnd (the first byte past the usable
 * buffer); no room when pucEnd lies before puc. */
inline Writer MakeWriterTo(uint8_t *puc, const uint8_t *pucEnd)
{
    if (puc == nullptr || pucEnd == nullptr || pucEnd < puc) {
        return Writer{puc, 0u};
    }
    return MakeWriter(puc, static_cast<uint32_t>(pucEnd - puc));
}

/* ---- Read-only access and sub-TLV framing -------------------------------- */

/* A view of bytes that are only read (stored attributes handed to the text
 * renderers, for instance). View is shared with the decoders, which clear
 * bytes in place, so constness is dropped here, in one place; nothing writes
 * through a view made by this function. */
inline View MakeReadView(const uint8_t *puc, uint32_t ulLen)
{
    return MakeView(const_cast<uint8_t *>(puc), ulLen);
}

/* Header of a Tunnel Encapsulation sub-TLV: a type byte, then the value
 * length in 2 bytes when the type is 128 or more (bit 7 set), else 1 byte.
 * False when the header does not fit in what is left. */
inline bool ReadSubTlvHeader(Reader &stRd, uint8_t &ucType, uint16_t &usLen)
{
    if (!ReadU8(stRd, ucType)) {
        return false;
    }
    if ((ucType & 0x80u) != 0u) {
        return ReadU16(stRd, usLen);
    }
    uint8_t ucLen = 0u;
    if (!ReadU8(stRd, ucLen)) {
        return false;
    }
    usLen = ucLen;
    return true;
}

/* Copies ulCount bytes to the writer's position with memcpy_s and steps past
 * them when they fit the room, whether or not the copy succeeded: callers
 * report a non-zero result and carry on as if the bytes had been written. */
inline int PutBytes(Writer &stWr, const uint8_t *pucSrc, uint32_t ulCount)
{
    int iRet = memcpy_s(stWr.puc, stWr.ulRoom, pucSrc, ulCount);
    (void)PutSkip(stWr, ulCount);
    return iRet;
}

} /* namespace bol */

#endif /* BOL_SRPOLICY_WIRE_H */
