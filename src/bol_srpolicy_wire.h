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

/* The helpers are a few instructions each and sit in the decoders' inner
 * loops: always inlined, so that a large caller does not turn them into
 * calls. */
#define BOL_WIRE_INLINE __attribute__((always_inline)) inline

namespace bol {

BOL_WIRE_INLINE uint16_t LoadBe16(const uint8_t *puc)
{
    return static_cast<uint16_t>((static_cast<uint32_t>(puc[0]) << 8) | puc[1]);
}

BOL_WIRE_INLINE uint32_t LoadBe32(const uint8_t *puc)
{
    return (static_cast<uint32_t>(puc[0]) << 24) | (static_cast<uint32_t>(puc[1]) << 16) |
           (static_cast<uint32_t>(puc[2]) << 8) | static_cast<uint32_t>(puc[3]);
}

BOL_WIRE_INLINE void StoreBe16(uint8_t *puc, uint16_t usVal)
{
    puc[0] = static_cast<uint8_t>(usVal >> 8);
    puc[1] = static_cast<uint8_t>(usVal);
}

BOL_WIRE_INLINE void StoreBe32(uint8_t *puc, uint32_t ulVal)
{
    puc[0] = static_cast<uint8_t>(ulVal >> 24);
    puc[1] = static_cast<uint8_t>(ulVal >> 16);
    puc[2] = static_cast<uint8_t>(ulVal >> 8);
    puc[3] = static_cast<uint8_t>(ulVal);
}

/* A 16-bit field of a host record, in host byte order and at any alignment;
 * plain byte copies, which cannot fail. */
BOL_WIRE_INLINE uint16_t LoadHost16(const uint8_t *puc)
{
    uint16_t usVal = 0u;
    memcpy(&usVal, puc, sizeof(usVal));
    return usVal;
}

BOL_WIRE_INLINE void StoreHost16(uint8_t *puc, uint16_t usVal)
{
    memcpy(puc, &usVal, sizeof(usVal));
}

/* ---- View: a fixed byte range with checked random access ---------------- */

struct View {
    uint8_t *puc;
    uint32_t ulLen;
};

BOL_WIRE_INLINE View MakeView(uint8_t *puc, uint32_t ulLen)
{
    View stView = {puc, (puc == nullptr) ? 0u : ulLen};
    return stView;
}

/* True when [ulOff, ulOff + ulCount) lies inside the view. */
BOL_WIRE_INLINE bool ViewHas(const View &stView, uint32_t ulOff, uint32_t ulCount)
{
    return ulOff <= stView.ulLen && ulCount <= stView.ulLen - ulOff;
}

/* Reads outside the view give 0; callers check lengths first, this keeps a
 * missed check from ever touching a byte outside the range. */
BOL_WIRE_INLINE uint8_t GetU8(const View &stView, uint32_t ulOff)
{
    return ViewHas(stView, ulOff, 1) ? stView.puc[ulOff] : 0u;
}

BOL_WIRE_INLINE uint16_t GetU16(const View &stView, uint32_t ulOff)
{
    return ViewHas(stView, ulOff, 2) ? LoadBe16(stView.puc + ulOff) : 0u;
}

BOL_WIRE_INLINE uint32_t GetU32(const View &stView, uint32_t ulOff)
{
    return ViewHas(stView, ulOff, 4) ? LoadBe32(stView.puc + ulOff) : 0u;
}

/* Writes outside the view are dropped. */
BOL_WIRE_INLINE void SetU8(const View &stView, uint32_t ulOff, uint8_t ucVal)
{
    if (ViewHas(stView, ulOff, 1)) {
        stView.puc[ulOff] = ucVal;
    }
}

BOL_WIRE_INLINE void SetU16(const View &stView, uint32_t ulOff, uint16_t usVal)
{
    if (ViewHas(stView, ulOff, 2)) {
        StoreBe16(stView.puc + ulOff, usVal);
    }
}

BOL_WIRE_INLINE void SetU32(const View &stView, uint32_t ulOff, uint32_t ulVal)
{
    if (ViewHas(stView, ulOff, 4)) {
        StoreBe32(stView.puc + ulOff, ulVal);
    }
}

/* The sub-range [ulOff, ulOff + ulCount); empty when it does not fit. */
BOL_WIRE_INLINE View SubView(const View &stView, uint32_t ulOff, uint32_t ulCount)
{
    if (!ViewHas(stView, ulOff, ulCount)) {
        return View{nullptr, 0u};
    }
    return View{stView.puc + ulOff, ulCount};
}

/* Four big-endian words at ulOff (an IPv6 address or SRv6 SID). */
BOL_WIRE_INLINE void GetWords4(const View &stView, uint32_t ulOff, uint32_t aulOut[4])
{
    for (uint32_t i = 0; i < 4u; i++) {
        aulOut[i] = GetU32(stView, ulOff + 4u * i);
    }
}

/* True when every byte of the word lies in [ucLo, ucHi], where
 * ucLo <= ucHi < 0x80: some byte is below ucLo when
 * (w - ucLo x 0x01..01) & ~w has a top bit set, and some byte is above ucHi
 * when (w + (0x7F - ucHi) x 0x01..01) | w has one (a borrow or carry between
 * bytes only comes from a byte that is itself out of range). */
BOL_WIRE_INLINE bool WordBytesIn(uint64_t ullWord, uint8_t ucLo, uint8_t ucHi)
{
    const uint64_t kOnes = 0x0101010101010101u;
    const uint64_t ullBelow = kOnes * ucLo;
    const uint64_t ullAbove = kOnes * static_cast<uint64_t>(0x7Fu - ucHi);
    return ((((ullWord - ullBelow) & ~ullWord) | (ullWord + ullAbove) | ullWord) & 0x8080808080808080u) == 0u;
}

/* Eight bytes at any alignment as one word, in host byte order: for checks
 * that treat every byte alike. */
BOL_WIRE_INLINE uint64_t LoadHost64(const uint8_t *puc)
{
    uint64_t ullVal = 0u;
    memcpy(&ullVal, puc, sizeof(ullVal));
    return ullVal;
}

/* True when every byte of the view lies in [ucLo, ucHi], where
 * ucLo <= ucHi < 0x80. Eight bytes at a time; a view of eight bytes or more
 * ends with its last eight bytes, which may overlap bytes already checked. A
 * view of four to seven bytes is checked as its first and its last four
 * bytes in one word, a shorter one byte by byte. */
BOL_WIRE_INLINE bool AllBytesIn(const View &stView, uint8_t ucLo, uint8_t ucHi)
{
    const uint32_t ulLen = stView.ulLen;
    if (ulLen < 4u) {
        for (uint32_t i = 0; i < ulLen; i++) {
            if (stView.puc[i] < ucLo || stView.puc[i] > ucHi) {
                return false;
            }
        }
        return true;
    }
    if (ulLen < 8u) {
        uint64_t ullBoth = (static_cast<uint64_t>(LoadBe32(stView.puc)) << 32) | LoadBe32(stView.puc + ulLen - 4u);
        return WordBytesIn(ullBoth, ucLo, ucHi);
    }
    for (uint32_t i = 0; ulLen - i > 8u; i += 8u) {
        if (!WordBytesIn(LoadHost64(stView.puc + i), ucLo, ucHi)) {
            return false;
        }
    }
    return WordBytesIn(LoadHost64(stView.puc + ulLen - 8u), ucLo, ucHi);
}

/* ---- Reader: sequential reads with a remaining count -------------------- */

struct Reader {
    uint8_t *puc;
    uint32_t ulLeft;
};

BOL_WIRE_INLINE Reader MakeReader(uint8_t *puc, uint32_t ulLen)
{
    Reader stRd = {puc, (puc == nullptr) ? 0u : ulLen};
    return stRd;
}

BOL_WIRE_INLINE Reader MakeReader(const View &stView)
{
    return MakeReader(stView.puc, stView.ulLen);
}

BOL_WIRE_INLINE bool ReadU8(Reader &stRd, uint8_t &ucOut)
{
    if (stRd.ulLeft < 1u) {
        return false;
    }
    ucOut = stRd.puc[0];
    stRd.puc += 1;
    stRd.ulLeft -= 1u;
    return true;
}

BOL_WIRE_INLINE bool ReadU16(Reader &stRd, uint16_t &usOut)
{
    if (stRd.ulLeft < 2u) {
        return false;
    }
    usOut = LoadBe16(stRd.puc);
    stRd.puc += 2;
    stRd.ulLeft -= 2u;
    return true;
}

BOL_WIRE_INLINE bool Skip(Reader &stRd, uint32_t ulCount)
{
    if (stRd.ulLeft < ulCount) {
        return false;
    }
    stRd.puc += ulCount;
    stRd.ulLeft -= ulCount;
    return true;
}

/* Takes the next ulCount bytes as a view and steps past them. */
BOL_WIRE_INLINE bool ReadView(Reader &stRd, uint32_t ulCount, View &stOut)
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
BOL_WIRE_INLINE bool ReadTlv8(Reader &stRd, uint8_t &ucType, View &stValue)
{
    if (stRd.ulLeft < 2u) {
        return false;
    }
    uint32_t ulTake = 2u + stRd.puc[1]; /* header and value */
    if (ulTake > stRd.ulLeft) {
        return false;
    }
    ucType = stRd.puc[0];
    stValue = View{stRd.puc + 2, ulTake - 2u};
    stRd.puc += ulTake;
    stRd.ulLeft -= ulTake;
    return true;
}

/* The next TLV with a 1-byte type and length when it has exactly this type
 * and value length: its value as a view, stepping past it. False, and
 * nothing consumed, otherwise (also when it does not fit). The step is a
 * constant, so that a walk over a run of such TLVs need not wait for each
 * length byte before it reads the next. */
BOL_WIRE_INLINE bool ReadTlv8Of(Reader &stRd, uint8_t ucType, uint8_t ucLen, View &stValue)
{
    const uint32_t ulTake = 2u + ucLen;
    if (stRd.ulLeft < ulTake || LoadBe16(stRd.puc) != ((uint32_t{ucType} << 8) | ucLen)) {
        return false;
    }
    stValue = View{stRd.puc + 2, ucLen};
    stRd.puc += ulTake;
    stRd.ulLeft -= ulTake;
    return true;
}

/* ---- Writer: appends with a room count ----------------------------------- */

/* A write that does not fit writes nothing and is remembered in ulShort (the
 * bytes that were refused); the writer takes no further bytes after it. An
 * encoder that sized its writes beforehand checks the writer once at its end
 * (BOL_WRITER_DONE in the private header), so that a size computation that
 * disagrees with the encoder is reported instead of leaving bytes unwritten. */
struct Writer {
    uint8_t *puc;
    uint32_t ulRoom;
    uint32_t ulShort;
};

BOL_WIRE_INLINE Writer MakeWriter(uint8_t *puc, uint32_t ulRoom)
{
    Writer stWr = {puc, (puc == nullptr) ? 0u : ulRoom, 0u};
    return stWr;
}

BOL_WIRE_INLINE bool Fits(const Writer &stWr, uint32_t ulCount)
{
    return stWr.ulShort == 0u && ulCount <= stWr.ulRoom;
}

/* Reserves ulCount bytes at the position and steps past them: their start,
 * or null (and the write remembered as short) when they do not fit. */
BOL_WIRE_INLINE uint8_t *Take(Writer &stWr, uint32_t ulCount)
{
    if (!Fits(stWr, ulCount)) {
        stWr.ulShort = (ulCount > UINT32_MAX - stWr.ulShort) ? UINT32_MAX : stWr.ulShort + ulCount;
        return nullptr;
    }
    uint8_t *puc = stWr.puc;
    stWr.puc += ulCount;
    stWr.ulRoom -= ulCount;
    return puc;
}

BOL_WIRE_INLINE void PutU8(Writer &stWr, uint8_t ucVal)
{
    uint8_t *puc = Take(stWr, 1u);
    if (puc != nullptr) {
        puc[0] = ucVal;
    }
}

BOL_WIRE_INLINE void PutU16(Writer &stWr, uint16_t usVal)
{
    uint8_t *puc = Take(stWr, 2u);
    if (puc != nullptr) {
        StoreBe16(puc, usVal);
    }
}

BOL_WIRE_INLINE void PutU32(Writer &stWr, uint32_t ulVal)
{
    uint8_t *puc = Take(stWr, 4u);
    if (puc != nullptr) {
        StoreBe32(puc, ulVal);
    }
}

/* The first ulWords (at most 4) of four words big-endian, first word first. */
BOL_WIRE_INLINE void PutWords(Writer &stWr, const uint32_t aulWords[4], uint32_t ulWords)
{
    if (ulWords > 4u) {
        ulWords = 4u;
    }
    uint8_t *puc = Take(stWr, 4u * ulWords);
    for (uint32_t i = 0; puc != nullptr && i < ulWords; i++, puc += 4) {
        StoreBe32(puc, aulWords[i]);
    }
}

/* Four words big-endian, first word first. */
BOL_WIRE_INLINE void PutWords4(Writer &stWr, const uint32_t aulWords[4])
{
    PutWords(stWr, aulWords, 4u);
}

/* True when any of four words is not 0 (an SID or address that is set). */
BOL_WIRE_INLINE bool AnyWord(const uint32_t aulWords[4])
{
    return (aulWords[0] | aulWords[1] | aulWords[2] | aulWords[3]) != 0u;
}

BOL_WIRE_INLINE void PutZeros(Writer &stWr, uint32_t ulCount)
{
    uint8_t *puc = Take(stWr, ulCount);
    if (puc != nullptr) {
        memset(puc, 0, ulCount);
    }
}

/* Steps over bytes that the encoder leaves as the caller's buffer held them. */
BOL_WIRE_INLINE void PutSkip(Writer &stWr, uint32_t ulCount)
{
    (void)Take(stWr, ulCount);
}

/* The writer's position as a view of ulCount bytes, stepping past them: for
 * fields that are filled or patched after the fact (a length written later).
 * An empty view when they do not fit. */
BOL_WIRE_INLINE View PutView(Writer &stWr, uint32_t ulCount)
{
    uint8_t *puc = Take(stWr, ulCount);
    return (puc != nullptr) ? View{puc, ulCount} : View{nullptr, 0u};
}

/* A writer whose room ends at pucEnd (the first byte past the usable
 * buffer); no room when pucEnd lies before puc. */
BOL_WIRE_INLINE Writer MakeWriterTo(uint8_t *puc, const uint8_t *pucEnd)
{
    if (puc == nullptr || pucEnd == nullptr || pucEnd < puc) {
        return Writer{puc, 0u, 0u};
    }
    return MakeWriter(puc, static_cast<uint32_t>(pucEnd - puc));
}

/* Copies ulCount bytes to the position with memcpy_s and steps past them.
 * The copy is given ulDstSize as its destination size (the item itself, or
 * the room where a caller's contract names the room), so a failing copy
 * clears no more than that. Bytes that do not fit are not copied (a short
 * write). The copy's result is returned: callers report a non-zero one and
 * carry on as if the bytes had been written. */
BOL_WIRE_INLINE int PutBytesIn(Writer &stWr, const uint8_t *pucSrc, uint32_t ulCount, uint32_t ulDstSize)
{
    uint8_t *puc = Take(stWr, ulCount);
    if (puc == nullptr) {
        return 0;
    }
    return memcpy_s(puc, ulDstSize, pucSrc, ulCount);
}

/* PutBytesIn with the item's own size as the destination size. */
BOL_WIRE_INLINE int PutBytes(Writer &stWr, const uint8_t *pucSrc, uint32_t ulCount)
{
    return PutBytesIn(stWr, pucSrc, ulCount, ulCount);
}

/* PutBytesIn with the whole room left before the copy as the destination size. */
BOL_WIRE_INLINE int PutBytesInRoom(Writer &stWr, const uint8_t *pucSrc, uint32_t ulCount)
{
    uint32_t ulRoom = stWr.ulRoom;
    return PutBytesIn(stWr, pucSrc, ulCount, ulRoom);
}

/* ---- Read-only access and sub-TLV framing -------------------------------- */

/* A view of bytes that are only read (stored attributes handed to the text
 * renderers, for instance). View is shared with the decoders, which clear
 * bytes in place, so constness is dropped here, in one place; nothing writes
 * through a view made by this function. */
BOL_WIRE_INLINE View MakeReadView(const uint8_t *puc, uint32_t ulLen)
{
    return MakeView(const_cast<uint8_t *>(puc), ulLen);
}

/* Width of a Tunnel Encapsulation sub-TLV's length field: 2 bytes when the
 * type is 128 or more (bit 7 set), else 1 byte. */
BOL_WIRE_INLINE uint32_t SubTlvLenWidth(uint8_t ucType)
{
    return ((ucType & 0x80u) != 0u) ? 2u : 1u;
}

/* Header of a Tunnel Encapsulation sub-TLV: a type byte, then the value
 * length in the width the type gives. False when the header does not fit in
 * what is left. */
BOL_WIRE_INLINE bool ReadSubTlvHeader(Reader &stRd, uint8_t &ucType, uint16_t &usLen)
{
    if (!ReadU8(stRd, ucType)) {
        return false;
    }
    if (SubTlvLenWidth(ucType) == 2u) {
        return ReadU16(stRd, usLen);
    }
    uint8_t ucLen = 0u;
    if (!ReadU8(stRd, ucLen)) {
        return false;
    }
    usLen = ucLen;
    return true;
}

} /* namespace bol */

#endif /* BOL_SRPOLICY_WIRE_H */
