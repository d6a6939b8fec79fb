#include "fuzz_host.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "bol_platform.h"

namespace fz {

namespace {
const size_t kGuardLen = 32u;
}  // namespace

void Fail(const char *pcFile, int iLine, const char *pcCond)
{
    fprintf(stderr, "property violated at %s:%d: %s\n", pcFile, iLine, pcCond);
    abort();
}

namespace {
Host *g_pstHost = nullptr;
}  // namespace

Host &Begin()
{
    if (g_pstHost == nullptr) {
        static Host s_stHost;
        memset(&s_stHost.stTbl, kGuard, sizeof(s_stHost.stTbl));
        s_stHost.pstInst = BOL_SRPOLICY_Construct(&s_stHost.stTbl, kModule);
        FZ_CHECK(s_stHost.pstInst != nullptr);
        g_pstHost = &s_stHost;
    }
    tp::Reset();
    return *g_pstHost;
}

void End()
{
    if (g_pstHost != nullptr) {
        BOL_SRPOLICY_Destruct(g_pstHost->pstInst);
        g_pstHost = nullptr;
    }
}

void CheckNoLeak()
{
    FZ_CHECK(tp::LiveBlocksAll() == 1u);
    FZ_CHECK(tp::BadFrees() == 0u);
    FZ_CHECK(tp::SizeMismatchReports() == 0u);
}

Output TakeOutput(void *pvOut)
{
    FZ_CHECK(pvOut != nullptr);
    Output o;
    memcpy(&o.stHdr, pvOut, sizeof(o.stHdr));
    const uint8_t *pucBlock = static_cast<const uint8_t *>(pvOut);
    FZ_CHECK((o.stHdr.ulOutFlags & ~(BOL_OUTPUT_FLAG_KEY | BOL_OUTPUT_FLAG_ATTR)) == 0u);
    size_t ulEnd = BOL_PARSE_OUTPUT_HDR_LEN;
    if ((o.stHdr.ulOutFlags & BOL_OUTPUT_FLAG_KEY) != 0u) {
        FZ_CHECK(o.stHdr.usKeyOffset == ulEnd && o.stHdr.usKeyLen == BOL_SRPOLICY_NLRI_KEY_LEN);
        o.vecKey.assign(pucBlock + o.stHdr.usKeyOffset, pucBlock + o.stHdr.usKeyOffset + o.stHdr.usKeyLen);
        ulEnd += o.stHdr.usKeyLen;
    }
    if ((o.stHdr.ulOutFlags & BOL_OUTPUT_FLAG_ATTR) != 0u) {
        FZ_CHECK(o.stHdr.usAttrOffset == ulEnd && o.stHdr.ucAttrFlag == 0u);
        o.vecAttr.assign(pucBlock + o.stHdr.usAttrOffset, pucBlock + o.stHdr.usAttrOffset + o.stHdr.usAttrLen);
        ulEnd += o.stHdr.usAttrLen;
    }
    /* The block is exactly as long as its sections (besides it only the
     * instance is live), and the header's reserved bytes are zero. */
    FZ_CHECK(tp::LiveBytes(kModule) == sizeof(BOL_SRPOLICY_INSTANCE_S) + ulEnd);
    static const uint8_t kZero[8] = {};
    FZ_CHECK(memcmp(o.stHdr.aucReserved0, kZero, 6) == 0 && memcmp(o.stHdr.aucReserved1, kZero, 8) == 0 &&
             memcmp(o.stHdr.aucReserved2, kZero, 4) == 0);
    o.vecBlock.assign(pucBlock, pucBlock + ulEnd);
    FZ_CHECK(ZUN_Free_F(pvOut, "host", 0u) == 0u);
    return o;
}

void CheckHandOver(uint32_t ulRet, const void *pvOut, bool bAllocFailed)
{
    FZ_CHECK((ulRet == BOL_OK) == (pvOut != nullptr));
    if (bAllocFailed) {
        FZ_CHECK(ulRet == BOL_SRPOLICY_ERR_NOMEM || ulRet == BOL_ERR_MALLOC);
    }
}

std::unique_ptr<uint8_t[]> HeapCopy(const Bytes &vecIn)
{
    std::unique_ptr<uint8_t[]> pucCopy(new uint8_t[vecIn.size()]);
    if (!vecIn.empty()) {
        memcpy(pucCopy.get(), vecIn.data(), vecIn.size());
    }
    return pucCopy;
}

Decode DecodeAttr(const Host &h, const Bytes &vecAttr)
{
    static int s_iHostCtx;
    Decode d;
    const std::unique_ptr<uint8_t[]> pucBuf = HeapCopy(vecAttr);
    uint8_t *pucCur = pucBuf.get();
    void *pvOut = nullptr;
    uint32_t ulMore = 77u;
    const uint32_t ulLen = static_cast<uint32_t>(vecAttr.size());
    const size_t ulReportsBefore = tp::Reports().size();
    d.ulRet = h.stTbl.pfnParsePkt(&pucCur, ulLen, &s_iHostCtx, BOL_SRPOLICY_PATTR_TNL_ENCAP, &pvOut, &ulMore,
                                  h.pstInst);
    /* Reports are for faults: a decode that succeeds makes none. */
    FZ_CHECK(d.ulRet != BOL_OK || tp::Reports().size() == ulReportsBefore);
    if (ulLen != 0u) {
        FZ_CHECK(pucCur == pucBuf.get() + ulLen && ulMore == 0u);
    }
    FZ_CHECK((d.ulRet == BOL_OK) == (pvOut != nullptr));
    if (pvOut != nullptr) {
        Output o = TakeOutput(pvOut);
        FZ_CHECK(o.stHdr.ulOutFlags == BOL_OUTPUT_FLAG_ATTR && o.stHdr.ucAttrType == 23u);
        d.vecCopy = o.vecAttr;
    }
    d.vecInAfter.assign(pucBuf.get(), pucBuf.get() + vecAttr.size());
    return d;
}

uint32_t SetAttr(const Host &h, const Bytes &vecHeld, uint32_t ulFlags, Bytes &vecOut)
{
    Route rt;
    rt.SetAttr(vecHeld);
    void *pvOut = nullptr;
    uint32_t ulRet = h.stTbl.pfnSetAttr(&rt.stRt, BOL_SRPOLICY_PATTR_TNL_ENCAP, ulFlags, &pvOut, h.pstInst);
    FZ_CHECK((ulRet == BOL_OK) == (pvOut != nullptr));
    vecOut.clear();
    if (pvOut != nullptr) {
        Output o = TakeOutput(pvOut);
        FZ_CHECK(o.stHdr.ulOutFlags == BOL_OUTPUT_FLAG_ATTR && o.stHdr.ucAttrType == 23u);
        vecOut = o.vecAttr;
    }
    return ulRet;
}

Written Write(const Host &h, Writer pfnWrite, const Route &rt, uint32_t ulType, uint32_t ulRoom)
{
    Written w = {0u, Bytes(ulRoom + kGuardLen, kGuard), 0u};
    uint8_t *pucCur = w.vecBuf.data();
    w.ulRet = pfnWrite(&rt.stRt, ulType, &pucCur, ulRoom, h.pstInst);
    FZ_CHECK(pucCur >= w.vecBuf.data() && pucCur <= w.vecBuf.data() + ulRoom);
    w.ulMoved = static_cast<size_t>(pucCur - w.vecBuf.data());
    for (size_t i = ulRoom; i < w.vecBuf.size(); i++) {
        FZ_CHECK(w.vecBuf[i] == kGuard);
    }
    return w;
}

TextCall Render(const Host &h, const Route &rt, uint32_t ulType, uint32_t ulSize, uint32_t ulOffset)
{
    /* Small buffers are exact heap blocks, so that AddressSanitizer sees a
     * write past the guard too; large ones share one block, which would
     * otherwise be mapped and unmapped for every call. */
    static std::vector<char> s_vecLarge;
    std::vector<char> vecSmall;
    std::vector<char> &vecBuf = ulSize < 4096u ? vecSmall : s_vecLarge;
    vecBuf.assign(ulSize + kGuardLen, static_cast<char>(kGuard));
    TextCall c = {0u, std::string(), ulOffset, 77u};
    c.ulRet = h.stTbl.pfnData2Str(&rt.stRt, ulType, vecBuf.data(), ulSize, &c.ulOffset, &c.ulMore, h.pstInst);
    for (size_t i = ulSize; i < vecBuf.size(); i++) {
        FZ_CHECK(vecBuf[i] == static_cast<char>(kGuard));
    }
    if (c.ulRet == BOL_OK) {
        size_t ulLen = strnlen(vecBuf.data(), ulSize);
        FZ_CHECK(ulLen < ulSize);
        c.strText.assign(vecBuf.data(), ulLen);
    }
    return c;
}

bool RenderAll(const Host &h, const Route &rt, uint32_t ulSize, std::string &strJoined)
{
    strJoined.clear();
    uint32_t ulOffset = 0u;
    for (;;) {
        TextCall c = Render(h, rt, BOL_SRPOLICY_STR_ATTR, ulSize, ulOffset);
        if (c.ulRet != BOL_OK) {
            /* Only a buffer too small for "\r\n" is refused. */
            FZ_CHECK(c.ulRet == BOL_SRPOLICY_ERR_BUF_SHORT && ulSize < 3u);
            return false;
        }
        FZ_CHECK(c.strText.compare(0, 2, "\r\n") == 0);
        strJoined += c.strText.substr(2);
        if (c.ulMore == 0u) {
            FZ_CHECK(c.ulOffset == ulOffset);
            return true;
        }
        if (c.ulMore == 77u) {
            /* The header did not fit: nothing moves. */
            FZ_CHECK(c.ulOffset == ulOffset);
            return false;
        }
        FZ_CHECK(c.ulMore == 1u);
        if (c.ulOffset <= ulOffset) {
            return false;
        }
        ulOffset = c.ulOffset;
    }
}

}  // namespace fz
