/*
 * Display text of bytes that never went through the decoder: the attribute
 * text walk (type 128) on a raw value, and the key line (type 1) on a raw key
 * record, through the text dispatcher.
 *
 * Input: one control byte (bits 0-3 pick a small buffer size; bit 4: render
 * the key line instead; bits 5-7: the key length the route claims), then the
 * attribute value or the key bytes.
 *
 * Properties: no write past the buffer (guard area), every successful call
 * leaves a terminated text inside it, a resumed rendering either makes
 * progress on every call or stops, a complete text keeps the resume offset,
 * the scratch buffer is given back, and nothing is allocated or leaked.
 */
#include <string.h>

#include "fuzz_host.h"

namespace {

const uint32_t kSmallSizes[16] = {1u, 2u, 3u, 4u, 12u, 16u, 40u, 63u, 64u, 90u, 128u, 150u, 200u, 256u, 320u, 1000u};

void AttrText(const fz::Host &h, const fz::Bytes &vecIn, uint32_t ulSmall)
{
    fz::Route rt;
    /* The value on the heap at its exact size, so that a read past the
     * attribute length is caught. */
    const std::unique_ptr<uint8_t[]> pucAttr = fz::HeapCopy(vecIn);
    rt.stRt.pucAttr = pucAttr.get();
    rt.stRt.ulAttrLen = static_cast<uint32_t>(vecIn.size());

    fz::TextCall stFull = fz::Render(h, rt, BOL_SRPOLICY_STR_ATTR, 1u << 18, 0u);
    /* A sub-TLV that no printer can show (a Binding SID of an odd length)
     * stops the text even in a large buffer. */
    FZ_CHECK(stFull.ulRet == BOL_OK && (stFull.ulMore == 1u || stFull.ulOffset == 0u));
    FZ_CHECK(stFull.strText.compare(0, 2, "\r\n") == 0);

    std::string strJoined;
    (void)fz::RenderAll(h, rt, ulSmall, strJoined);
    (void)fz::RenderAll(h, rt, 320u, strJoined);
    FZ_CHECK(vecIn.empty() || memcmp(pucAttr.get(), vecIn.data(), vecIn.size()) == 0);  // the text only reads
}

void KeyText(const fz::Host &h, const fz::Bytes &vecIn, uint32_t ulSmall, uint32_t ulKeyLen)
{
    fz::Route rt;
    BOL_SRPOLICY_NLRI_S stKey;
    memset(&stKey, 0, sizeof(stKey));
    if (!vecIn.empty()) {
        memcpy(&stKey, vecIn.data(), vecIn.size() < sizeof(stKey) ? vecIn.size() : sizeof(stKey));
    }
    rt.SetKey(stKey);
    rt.stRt.ulKeyLen = ulKeyLen;
    for (uint32_t ulSize : {ulSmall, 256u}) {
        fz::TextCall c = fz::Render(h, rt, BOL_SRPOLICY_STR_KEY, ulSize, 9u);
        if (ulKeyLen != sizeof(stKey)) {
            FZ_CHECK(c.ulRet == BOL_ERR_NO_DATA);
        } else {
            FZ_CHECK(c.ulRet == BOL_OK && c.ulMore == 0u);
            FZ_CHECK(ulSize < 256u || !c.strText.empty());
        }
        FZ_CHECK(h.pstInst->ulScratchInUse == 0u);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pucData, size_t ulSize)
{
    if (ulSize < 1u || ulSize > 8192u) {
        return 0;
    }
    fz::Host &h = fz::Begin();
    const uint8_t ucCtl = pucData[0];
    const fz::Bytes vecIn(pucData + 1, pucData + ulSize);
    const uint32_t ulSmall = kSmallSizes[ucCtl & 0x0Fu];
    if ((ucCtl & 0x10u) == 0u) {
        AttrText(h, vecIn, ulSmall);
    } else {
        static const uint32_t kKeyLens[8] = {28u, 28u, 28u, 28u, 0u, 27u, 29u, 0xFFFFFFFFu};
        KeyText(h, vecIn, ulSmall, kKeyLens[(ucCtl >> 5) & 7u]);
    }
    FZ_CHECK(tp::AllocCalls() == 0u);
    fz::CheckNoLeak();
    return 0;
}
