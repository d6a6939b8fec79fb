/* The srpolicy tool's hold on the plug-in: construction and the entry points. */
#include "plugin/plugin_host.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "bol_platform.h"

namespace srp {

namespace {

/* The memory module the tool names for every plug-in allocation. */
const uint32_t kMemModule = 0x5250u;
const char kHostModule[] = "srpolicy";

/* Room offered to the text dispatcher per call: more than the longest single
 * sub-TLV line (a 255-character name) plus the line break and the 12
 * characters the walk holds back. */
const uint32_t kTextChunk = 512u;
/* Freed plug-in blocks each thread keeps for reuse. */
const uint32_t kCachedBlocks = 64u;
/* Largest buffer tried for a text whose lines were cut. */
const uint32_t kMaxTextChunk = 65536u;
/* Upper bound on calls for one text, against a text that never completes. */
const uint32_t kMaxTextCalls = 4096u;
/* Room for an encoded NLRI or a conditional-route attribute message. */
const uint32_t kMsgRoom = 65536u;

/* A non-null context for the packet parser, which only checks it. */
uint32_t g_ulHostCtx = 0;

/* Assertion reports of the plug-in calls on this thread, taken by the
 * describer to the problem they explain. */
thread_local std::vector<std::string> t_vecReports;

void CollectReport(void *pvCtx, const char *pcModule, uint32_t ulLine, const char *pcText)
{
    (void)pvCtx;
    t_vecReports.push_back(std::string(pcModule) + ":" + std::to_string(ulLine) + " " + pcText);
}

}  // namespace

std::string ResultName(uint32_t ulCode)
{
    static const struct {
        uint32_t ulCode;
        const char *pcName;
    } astNames[] = {
        {BOL_OK, "BOL_OK"},
        {BOL_SRPOLICY_ERR, "BOL_SRPOLICY_ERR"},
        {BOL_SRPOLICY_ERR_PARA, "BOL_SRPOLICY_ERR_PARA"},
        {BOL_SRPOLICY_ERR_NOMEM, "BOL_SRPOLICY_ERR_NOMEM"},
        {BOL_SRPOLICY_ERR_BUF_SHORT, "BOL_SRPOLICY_ERR_BUF_SHORT"},
        {BOL_SRPOLICY_ERR_SEG_ABSENT, "BOL_SRPOLICY_ERR_SEG_ABSENT"},
        {BOL_ERR_TLV_LEN, "BOL_ERR_TLV_LEN"},
        {BOL_ERR_SUBTLV_INVALID, "BOL_ERR_SUBTLV_INVALID"},
        {BOL_ERR_SUBTLV_MALFORMED, "BOL_ERR_SUBTLV_MALFORMED"},
        {BOL_ERR_MALLOC, "BOL_ERR_MALLOC"},
        {BOL_ERR_PARAM, "BOL_ERR_PARAM"},
        {BOL_ERR_NLRI_LEN, "BOL_ERR_NLRI_LEN"},
        {BOL_ERR_NO_HANDLER, "BOL_ERR_NO_HANDLER"},
        {BOL_ERR_HA_TLV_SHORT, "BOL_ERR_HA_TLV_SHORT"},
        {BOL_ERR_HA_NLRI_LEN, "BOL_ERR_HA_NLRI_LEN"},
        {BOL_ERR_NO_DATA, "BOL_ERR_NO_DATA"},
        {BOL_ERR_CFG_TYPE, "BOL_ERR_CFG_TYPE"},
        {BOL_ERR_NO_STR_HANDLER, "BOL_ERR_NO_STR_HANDLER"},
    };
    for (const auto &st : astNames) {
        if (st.ulCode == ulCode) {
            return st.pcName;
        }
    }
    char ac[16];
    snprintf(ac, sizeof(ac), "0x%x", ulCode);
    return ac;
}

PluginHost::PluginHost()
{
    memset(&m_stTbl, 0, sizeof(m_stTbl));
    BOL_PlatformSetReportHook(CollectReport, nullptr);
    /* The plug-in allocates and frees the same few small blocks for every
     * message it decodes or renders: they are kept for reuse. */
    BOL_PlatformSetBlockCache(kCachedBlocks);
    m_pstInst = BOL_SRPOLICY_Construct(&m_stTbl, kMemModule);
}

std::vector<std::string> PluginHost::TakeReports()
{
    std::vector<std::string> vec;
    vec.swap(t_vecReports);
    return vec;
}

PluginHost::~PluginHost()
{
    if (m_pstInst != nullptr) {
        BOL_SRPOLICY_Destruct(m_pstInst);
    }
}

uint32_t PluginHost::LiveBlocks() const
{
    uint32_t ulBlocks = 0;
    uint32_t ulBytes = 0;
    ZUN_GetModuleUsage(kMemModule, &ulBlocks, &ulBytes);
    return ulBlocks;
}

BOL_RT_DATA_S PluginHost::Route(const BOL_SRPOLICY_NLRI_S *pstKey, Bytes *pvecAttr) const
{
    BOL_RT_DATA_S stRt;
    memset(&stRt, 0, sizeof(stRt));
    if (pstKey != nullptr) {
        stRt.ulKeyLen = BOL_SRPOLICY_NLRI_KEY_LEN;
        stRt.pstKey = const_cast<BOL_SRPOLICY_NLRI_S *>(pstKey);
    }
    if (pvecAttr != nullptr && !pvecAttr->empty()) {
        stRt.ulAttrLen = static_cast<uint32_t>(pvecAttr->size());
        stRt.pucAttr = pvecAttr->data();
    }
    return stRt;
}

uint32_t PluginHost::TakeOutput(void *pvOut, BOL_SRPOLICY_NLRI_S *pstKey, Bytes *pvecAttr)
{
    if (pvOut == nullptr) {
        return BOL_ERR_NO_DATA;
    }
    BOL_PARSE_OUTPUT_S stHdr;
    memcpy(&stHdr, pvOut, sizeof(stHdr));
    const uint8_t *pucBlock = static_cast<const uint8_t *>(pvOut);
    uint32_t ulRc = BOL_OK;
    if (pstKey != nullptr) {
        if ((stHdr.ulOutFlags & BOL_OUTPUT_FLAG_KEY) != 0u && stHdr.usKeyLen == sizeof(*pstKey)) {
            memcpy(pstKey, pucBlock + stHdr.usKeyOffset, sizeof(*pstKey));
        } else {
            ulRc = BOL_ERR_NO_DATA;
        }
    }
    if (pvecAttr != nullptr) {
        if ((stHdr.ulOutFlags & BOL_OUTPUT_FLAG_ATTR) != 0u) {
            pvecAttr->assign(pucBlock + stHdr.usAttrOffset, pucBlock + stHdr.usAttrOffset + stHdr.usAttrLen);
        } else {
            ulRc = BOL_ERR_NO_DATA;
        }
    }
    (void)ZUN_Free_F(pvOut, kHostModule, __LINE__);
    return ulRc;
}

uint32_t PluginHost::ParseNlri(uint32_t ulType, uint8_t **ppucCur, uint32_t ulLen, BOL_SRPOLICY_NLRI_S &stKey,
                               uint32_t &ulMore)
{
    void *pvOut = nullptr;
    ulMore = 0;
    uint32_t ulRc = m_stTbl.pfnParsePkt(ppucCur, ulLen, &g_ulHostCtx, ulType, &pvOut, &ulMore, m_pstInst);
    if (ulRc != BOL_OK) {
        if (pvOut != nullptr) {
            (void)ZUN_Free_F(pvOut, kHostModule, __LINE__);
        }
        return ulRc;
    }
    return TakeOutput(pvOut, &stKey, nullptr);
}

uint32_t PluginHost::ParseTunnelEncap(Bytes &vecValue, Bytes &vecNormalised)
{
    void *pvOut = nullptr;
    uint32_t ulMore = 0;
    uint8_t *pucCur = vecValue.data();
    uint32_t ulRc = m_stTbl.pfnParsePkt(&pucCur, static_cast<uint32_t>(vecValue.size()), &g_ulHostCtx,
                                        BOL_SRPOLICY_PATTR_TNL_ENCAP, &pvOut, &ulMore, m_pstInst);
    if (ulRc != BOL_OK) {
        if (pvOut != nullptr) {
            (void)ZUN_Free_F(pvOut, kHostModule, __LINE__);
        }
        return ulRc;
    }
    return TakeOutput(pvOut, nullptr, &vecNormalised);
}

uint32_t PluginHost::KeyText(const BOL_SRPOLICY_NLRI_S &stKey, std::string &strText)
{
    char acBuf[kTextChunk] = {0};
    uint32_t ulOffset = 0;
    uint32_t ulMore = 0;
    BOL_RT_DATA_S stRt = Route(&stKey, nullptr);
    uint32_t ulRc = m_stTbl.pfnData2Str(&stRt, BOL_SRPOLICY_STR_KEY, acBuf, sizeof(acBuf), &ulOffset, &ulMore,
                                        m_pstInst);
    acBuf[sizeof(acBuf) - 1u] = '\0';
    strText = acBuf;
    return ulRc;
}

uint32_t PluginHost::AttrTextChunks(const BOL_SRPOLICY_NLRI_S &stKey, const Bytes &vecAttr, uint32_t ulChunk,
                                    std::string &strText, bool &bCut)
{
    m_vecAttrCopy.assign(vecAttr.begin(), vecAttr.end());
    BOL_RT_DATA_S stRt = Route(&stKey, &m_vecAttrCopy);
    std::vector<char> &vecBuf = m_vecTextBuf;
    vecBuf.assign(ulChunk, '\0');
    uint32_t ulOffset = 0;
    strText.clear();
    bCut = false;
    for (uint32_t i = 0; i < kMaxTextCalls; i++) {
        if (i > 0u) {
            std::fill(vecBuf.begin(), vecBuf.end(), '\0');
        }
        uint32_t ulMore = 0;
        uint32_t ulBefore = ulOffset;
        uint32_t ulRc = m_stTbl.pfnData2Str(&stRt, BOL_SRPOLICY_STR_ATTR, vecBuf.data(), ulChunk, &ulOffset, &ulMore,
                                            m_pstInst);
        if (ulRc != BOL_OK) {
            return ulRc;
        }
        vecBuf.back() = '\0';
        /* Every call starts its piece with a line break. */
        const char *pc = vecBuf.data();
        if (strncmp(pc, "\r\n", 2) == 0) {
            pc += 2;
        }
        size_t ulPiece = strlen(pc);
        /* Every piece ends with a whole line; one that does not was cut at
         * the end of the buffer by a printer that appends what fits. */
        if (ulPiece > 0u && pc[ulPiece - 1u] != '\n') {
            bCut = true;
        }
        strText.append(pc, ulPiece);
        if (ulMore == 0u) {
            return BOL_OK;
        }
        if (ulOffset <= ulBefore && i > 0u) {
            return BOL_SRPOLICY_ERR_BUF_SHORT; /* a piece that never fits */
        }
    }
    return BOL_SRPOLICY_ERR_BUF_SHORT;
}

uint32_t PluginHost::AttrText(const BOL_SRPOLICY_NLRI_S &stKey, const Bytes &vecAttr, std::string &strText)
{
    /* A modest buffer first; a text cut by it is rendered again in a larger one. */
    for (uint32_t ulChunk = kTextChunk; ulChunk <= kMaxTextChunk; ulChunk *= 2u) {
        bool bCut = false;
        uint32_t ulRc = AttrTextChunks(stKey, vecAttr, ulChunk, strText, bCut);
        if (ulRc != BOL_OK || !bCut) {
            return ulRc;
        }
    }
    return BOL_SRPOLICY_ERR_BUF_SHORT;
}

uint32_t PluginHost::CheckEndpoint(const BOL_SRPOLICY_NLRI_S &stKey, bool &bValid)
{
    BOL_RT_DATA_S stRt = Route(&stKey, nullptr);
    uint32_t ulValid = 0;
    uint32_t ulRc = m_stTbl.pfnCheckRoute(&stRt, BOL_SRPOLICY_CHECK_ENDPOINT, &ulValid);
    bValid = ulValid == 1u;
    return ulRc;
}

uint32_t PluginHost::CondRtAttrMessage(const BOL_SRPOLICY_NLRI_S &stKey, const Bytes &vecAttr, Bytes &vecMsg)
{
    /* The formatter decodes the stored bytes again and normalises them in
     * place: it gets a copy. Route flag 0x80 asks for the private slice id
     * when that is the only one carried. */
    Bytes &vecCopy = m_vecAttrCopy;
    uint32_t ulRc = BOL_OK;
    /* A room a few times the attribute first (the message repeats its parts
     * with 8-byte TLV headers); the largest room only when that was short. */
    uint32_t ulFirst = static_cast<uint32_t>(4u * vecAttr.size() + 1024u);
    for (uint32_t ulRoom : {ulFirst < kMsgRoom ? ulFirst : kMsgRoom, kMsgRoom}) {
        vecCopy = vecAttr;
        BOL_RT_DATA_S stRt = Route(&stKey, &vecCopy);
        stRt.ulRtFlags = BOL_SRPOLICY_RT_FLAG_PRIV_SLICE_ID;
        vecMsg.assign(ulRoom, 0u);
        uint8_t *pucCur = vecMsg.data();
        ulRc = m_stTbl.pfnFormatMsg(&stRt, BOL_SRPOLICY_MSG_CONDRT_ATTR, &pucCur, ulRoom, m_pstInst);
        if (ulRc == BOL_OK) {
            vecMsg.resize(static_cast<size_t>(pucCur - vecMsg.data()));
            return BOL_OK;
        }
    }
    vecMsg.clear();
    return ulRc;
}

uint32_t PluginHost::ParseConfig(const void *pvCfg, uint32_t ulLen, uint32_t ulType, BOL_SRPOLICY_NLRI_S *pstKey,
                                 Bytes *pvecAttr)
{
    void *pvOut = nullptr;
    uint32_t ulRc = m_stTbl.pfnParseCfg(pvCfg, ulLen, ulType, &pvOut, m_pstInst);
    if (ulRc != BOL_OK) {
        return ulRc;
    }
    return TakeOutput(pvOut, pstKey, pvecAttr);
}

uint32_t PluginHost::ConfiguredPrefix(const BOL_SRPOLICY_CFG_PREFIX_S &stCfg, BOL_SRPOLICY_NLRI_S &stKey)
{
    /* Records are handed with their size in this build: the target's sizes
     * (89 and 72 bytes) where pointers are 32 bits wide. */
    return ParseConfig(&stCfg, sizeof(stCfg), BOL_SRPOLICY_CFG_PREFIX, &stKey, nullptr);
}

uint32_t PluginHost::ConfiguredTunnel(const BOL_SRPOLICY_CFG_TNLENCAP_S &stCfg, Bytes &vecAttr)
{
    return ParseConfig(&stCfg, sizeof(stCfg), BOL_SRPOLICY_CFG_TNL_ENCAP, nullptr, &vecAttr);
}

uint32_t PluginHost::FormatPacket(uint32_t ulType, const BOL_SRPOLICY_NLRI_S &stKey, const Bytes &vecAttr,
                                  Bytes &vecOut)
{
    Bytes vecCopy = vecAttr;
    BOL_RT_DATA_S stRt = Route(&stKey, &vecCopy);
    Bytes vecBuf(kMsgRoom, 0u);
    uint8_t *pucCur = vecBuf.data();
    uint32_t ulRc = m_stTbl.pfnFormatPkt(&stRt, ulType, &pucCur, kMsgRoom, m_pstInst);
    if (ulRc == BOL_OK) {
        vecOut.insert(vecOut.end(), vecBuf.data(), pucCur);
    }
    return ulRc;
}

}  // namespace srp
