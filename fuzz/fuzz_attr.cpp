/*
 * The Tunnel Encapsulation attribute end to end, as a host sees it: decode
 * through the packet-parse entry (type 23), then on the normalised copy
 * decode again, set with and without the private slice-id rewrite, encode,
 * render as text through buffers of several sizes, write message 122 into
 * rooms of several sizes, and compare.
 *
 * Input: one control byte (low 4 bits: the allocation that fails in a second
 * decode and in a set; 0 = none), then the attribute value.
 */
#include <algorithm>

#include "fuzz_host.h"

namespace {

bool WellFormedTunnel(const fz::Bytes &v)
{
    return v.size() >= 4u && ((static_cast<size_t>(v[2]) << 8) | v[3]) == v.size() - 4u;
}

/* Calls fnSub(type, value offset, value length) for each top-level sub-TLV
 * of a tunnel, as far as its header bytes go. */
template <typename Fn>
void ForEachSubTlv(const fz::Bytes &v, Fn fnSub)
{
    for (size_t i = 4u; i < v.size();) {
        const uint8_t ucT = v[i];
        const size_t ulHdr = ucT >= 128u ? 3u : 2u;
        if (i + ulHdr > v.size()) {
            return;
        }
        const size_t ulLen = ucT >= 128u ? ((static_cast<size_t>(v[i + 1]) << 8) | v[i + 2]) : v[i + 1];
        fnSub(ucT, i + ulHdr, ulLen);
        i += ulHdr + ulLen;
    }
}

size_t CountSubTlvs(const fz::Bytes &v, uint8_t ucType)
{
    size_t n = 0u;
    ForEachSubTlv(v, [&](uint8_t ucT, size_t, size_t) { n += (ucT == ucType) ? 1u : 0u; });
    return n;
}

/* Binding SID pieces are cut at the end of the buffer rather than moved to
 * the next call: the trailing pieces of an SRv6 Binding SID line (sub-TLV
 * 20) and the lines of a segment list's binding SIDs (segment 33). */
bool HasCutPieces(const fz::Bytes &v)
{
    bool bCut = false;
    ForEachSubTlv(v, [&](uint8_t ucT, size_t ulAt, size_t ulLen) {
        bCut = bCut || ucT == 20u;
        for (size_t j = ulAt + 1u; ucT == 128u && j + 2u <= ulAt + ulLen && j + 2u <= v.size(); j += 2u + v[j + 1]) {
            bCut = bCut || v[j] == 33u;
        }
    });
    return bCut;
}

bool IsAllocFailure(uint32_t ulRet) { return ulRet == BOL_ERR_MALLOC || ulRet == BOL_SRPOLICY_ERR_NOMEM; }

/* Message 122 from a route holding the copy, into rooms of several sizes,
 * each followed by a guard area: a room that holds the whole message gives
 * it and moves the cursor past it; a smaller one gives 4, keeps the items
 * that fitted (a prefix of the message) and writes nothing past the room. */
void CheckCondRtAttrMessage(const fz::Host &h, const fz::Bytes &vecCopy)
{
    fz::Route rt;
    rt.SetAttr(vecCopy);
    const fz::Written wFull = fz::Write(h, h.stTbl.pfnFormatMsg, rt, BOL_SRPOLICY_MSG_CONDRT_ATTR, 1u << 18);
    FZ_CHECK(wFull.ulRet == BOL_OK);
    FZ_CHECK(rt.vecAttr == vecCopy);  // the stored copy is already normalised
    const fz::Bytes vecFull = wFull.Out();
    const uint32_t ulLen = static_cast<uint32_t>(vecFull.size());
    const uint32_t ulShort = ulLen - (ulLen != 0u ? 1u : 0u);
    for (uint32_t ulRoom : {0u, 8u, 15u, 16u, 27u, 28u, ulLen / 2u, ulShort, ulLen, ulLen + 9u}) {
        const fz::Written w = fz::Write(h, h.stTbl.pfnFormatMsg, rt, BOL_SRPOLICY_MSG_CONDRT_ATTR, ulRoom);
        FZ_CHECK(rt.vecAttr == vecCopy);
        const fz::Bytes vecMsg = w.Out();
        if (ulRoom >= ulLen) {
            FZ_CHECK(w.ulRet == BOL_OK && vecMsg == vecFull);
        } else {
            FZ_CHECK(w.ulRet == BOL_SRPOLICY_ERR_BUF_SHORT);
            FZ_CHECK(vecMsg.size() < ulLen && std::equal(vecMsg.begin(), vecMsg.end(), vecFull.begin()));
        }
    }
    fz::CheckNoLeak();
}

void CheckNormalised(const fz::Host &h, const fz::Bytes &vecIn, const fz::Bytes &vecCopy)
{
    FZ_CHECK(WellFormedTunnel(vecCopy));
    FZ_CHECK(vecCopy.size() <= vecIn.size());

    /* Decoding the copy gives the copy again and clears nothing in it. */
    fz::Decode d2 = fz::DecodeAttr(h, vecCopy);
    FZ_CHECK(d2.ulRet == BOL_OK);
    FZ_CHECK(d2.vecCopy == vecCopy);
    FZ_CHECK(d2.vecInAfter == vecCopy);

    /* Without the rewrite the setter hands over the held copy itself; with
     * it, a well-formed tunnel that decodes to itself. */
    fz::Bytes vecSet;
    FZ_CHECK(fz::SetAttr(h, vecCopy, 0u, vecSet) == BOL_OK);
    FZ_CHECK(vecSet == vecCopy);
    FZ_CHECK(fz::SetAttr(h, vecCopy, BOL_SRPOLICY_SET_PRIV_SLICE_ID, vecSet) == BOL_OK);
    FZ_CHECK(WellFormedTunnel(vecSet));
    /* At most one private slice-id sub-TLV is taken out (its 8 bytes when
     * its length is 6, its own size otherwise). */
    FZ_CHECK(vecSet.size() <= vecCopy.size() && vecCopy.size() - vecSet.size() <= 3u + 0xFFu);
    if (vecSet.size() > 4u) {
        fz::Decode d3 = fz::DecodeAttr(h, vecSet);
        if (d3.ulRet != BOL_OK) {
            /* Only the last private slice id is taken out when a standard one
             * becomes private: an earlier private one is then a second one. */
            FZ_CHECK(d3.ulRet == BOL_ERR_SUBTLV_INVALID);
            FZ_CHECK(CountSubTlvs(vecCopy, 123) != 0u && CountSubTlvs(vecCopy, 126) >= 2u);
        } else {
            FZ_CHECK(d3.vecCopy == vecSet);
        }
    }

    /* Encoding writes the held value unchanged, and needs all of its room. */
    fz::Route rt;
    rt.SetAttr(vecCopy);
    const uint32_t ulLen = static_cast<uint32_t>(vecCopy.size());
    const fz::Written wShort = fz::Write(h, h.stTbl.pfnFormatPkt, rt, 23u, ulLen - 1u);
    FZ_CHECK(wShort.ulRet == BOL_SRPOLICY_ERR_BUF_SHORT && wShort.ulMoved == 0u);
    const fz::Written w = fz::Write(h, h.stTbl.pfnFormatPkt, rt, 23u, ulLen);
    FZ_CHECK(w.ulRet == BOL_OK && w.Out() == vecCopy);

    /* Text: one large buffer holds it all; buffers that hold the longest
     * single piece join into the same text, unless a piece was cut to the
     * room left (smaller buffers: the raw text target). */
    fz::TextCall stFull = fz::Render(h, rt, BOL_SRPOLICY_STR_ATTR, 1u << 18, 0u);
    FZ_CHECK(stFull.ulRet == BOL_OK && stFull.ulMore == 0u && stFull.ulOffset == 0u);
    FZ_CHECK(stFull.strText.compare(0, 2, "\r\n") == 0);
    const std::string strFull = stFull.strText.substr(2);
    std::string strJoined;
    for (uint32_t ulSize : {320u, 1000u}) {
        FZ_CHECK(fz::RenderAll(h, rt, ulSize, strJoined));
        FZ_CHECK(strJoined == strFull || HasCutPieces(vecCopy));
    }

    CheckCondRtAttrMessage(h, vecCopy);

    /* Comparison: equal to itself, antisymmetric against the raw bytes. */
    FZ_CHECK(h.stTbl.pfnCmpData(vecCopy.data(), ulLen, vecCopy.data(), ulLen, BOL_SRPOLICY_CMP_ATTR) == 0);
    const uint32_t ulInLen = static_cast<uint32_t>(vecIn.size());
    int32_t lAB = h.stTbl.pfnCmpData(vecCopy.data(), ulLen, vecIn.data(), ulInLen, BOL_SRPOLICY_CMP_ATTR);
    int32_t lBA = h.stTbl.pfnCmpData(vecIn.data(), ulInLen, vecCopy.data(), ulLen, BOL_SRPOLICY_CMP_ATTR);
    FZ_CHECK(lAB >= -1 && lAB <= 1 && lAB == -lBA);
    FZ_CHECK((lAB == 0) == (vecCopy == vecIn));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pucData, size_t ulSize)
{
    if (ulSize < 1u || ulSize > 8192u) {
        return 0;
    }
    fz::Host &h = fz::Begin();
    const uint32_t ulFailNth = pucData[0] & 0x0Fu;
    const fz::Bytes vecIn(pucData + 1, pucData + ulSize);

    fz::Decode d = fz::DecodeAttr(h, vecIn);
    const uint32_t ulAllocs = tp::AllocCalls();
    fz::CheckNoLeak();
    if (d.ulRet == BOL_OK) {
        CheckNormalised(h, vecIn, d.vecCopy);
    }
    /* The setter decodes the held bytes itself: it succeeds exactly when the
     * decoder does and then hands over the same normalised copy. */
    fz::Bytes vecSet;
    uint32_t ulSetRet = fz::SetAttr(h, vecIn, 0u, vecSet);
    if (vecIn.empty()) {
        FZ_CHECK(ulSetRet == BOL_ERR_NO_DATA);
    } else if (d.ulRet == BOL_OK) {
        FZ_CHECK(ulSetRet == BOL_OK && vecSet == d.vecCopy);
    } else {
        FZ_CHECK(ulSetRet == BOL_ERR_NO_DATA);
    }
    fz::CheckNoLeak();

    if (ulFailNth != 0u) {
        /* A failed allocation gives its code, hands nothing over and leaks
         * nothing; later allocations are not attempted. */
        tp::Reset();
        tp::FailNthAlloc(ulFailNth);
        fz::Decode df = fz::DecodeAttr(h, vecIn);
        if (ulFailNth > ulAllocs) {
            FZ_CHECK(df.ulRet == d.ulRet && df.vecCopy == d.vecCopy);
        } else if (tp::FailedAllocs() != 0u) {
            FZ_CHECK(IsAllocFailure(df.ulRet) && df.vecCopy.empty());
            FZ_CHECK(tp::AllocCalls() == ulFailNth);
        }
        tp::FailNthAlloc(0u);
        fz::CheckNoLeak();
        if (d.ulRet == BOL_OK) {
            tp::Reset();
            tp::FailNthAlloc(ulFailNth);
            uint32_t ulRet = fz::SetAttr(h, d.vecCopy, BOL_SRPOLICY_SET_PRIV_SLICE_ID, vecSet);
            if (tp::FailedAllocs() != 0u) {
                /* A decode that fails inside the setter is "no data". */
                FZ_CHECK(ulRet == BOL_ERR_NO_DATA || IsAllocFailure(ulRet));
            } else {
                FZ_CHECK(ulRet == BOL_OK);
            }
            tp::FailNthAlloc(0u);
            fz::CheckNoLeak();
        }
    }
    return 0;
}
