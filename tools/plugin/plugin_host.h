/*
 * The plug-in as a BGP process holds it: constructed once with a procedure
 * table on the default platform, and reached only through the table's entry
 * points and type codes. Output blocks handed over by the plug-in are copied
 * into host-side values and released at once.
 */
#ifndef SRPOLICY_TOOL_PLUGIN_HOST_H
#define SRPOLICY_TOOL_PLUGIN_HOST_H

#include <cstdint>
#include <string>
#include <vector>

#include "bol_srpolicy.h"
#include "common/bytes.h"

namespace srp {

/* Name of a result code ("BOL_ERR_NLRI_LEN"), or "0x..." for an unknown one. */
std::string ResultName(uint32_t ulCode);

class PluginHost {
public:
    PluginHost();
    ~PluginHost();
    PluginHost(const PluginHost &) = delete;
    PluginHost &operator=(const PluginHost &) = delete;

    bool Ok() const { return m_pstInst != nullptr; }

    /* One NLRI of MP_REACH (type 14) or MP_UNREACH (15) at *ppucCur with ulLen
     * bytes left; advances the cursor and tells whether more follow. */
    uint32_t ParseNlri(uint32_t ulType, uint8_t **ppucCur, uint32_t ulLen, BOL_SRPOLICY_NLRI_S &stKey,
                       uint32_t &ulMore);
    /* A Tunnel Encapsulation attribute value (changed in place) to its
     * normalised form. */
    uint32_t ParseTunnelEncap(Bytes &vecValue, Bytes &vecNormalised);

    /* Display text of a key, and of an attribute (several calls joined). */
    uint32_t KeyText(const BOL_SRPOLICY_NLRI_S &stKey, std::string &strText);
    uint32_t AttrText(const BOL_SRPOLICY_NLRI_S &stKey, const Bytes &vecAttr, std::string &strText);
    /* The attribute text in calls of ulChunk bytes; bCut tells whether a line
     * was cut at the end of a call's buffer. */
    uint32_t AttrTextChunks(const BOL_SRPOLICY_NLRI_S &stKey, const Bytes &vecAttr, uint32_t ulChunk,
                            std::string &strText, bool &bCut);
    /* Route check of the endpoint (kind 2). */
    uint32_t CheckEndpoint(const BOL_SRPOLICY_NLRI_S &stKey, bool &bValid);
    /* Conditional-route attribute message (122) of a stored attribute. */
    uint32_t CondRtAttrMessage(const BOL_SRPOLICY_NLRI_S &stKey, const Bytes &vecAttr, Bytes &vecMsg);

    /* Configuration records to a key (type 2) and to an attribute (type 32). */
    uint32_t ConfiguredPrefix(const BOL_SRPOLICY_CFG_PREFIX_S &stCfg, BOL_SRPOLICY_NLRI_S &stKey);
    uint32_t ConfiguredTunnel(const BOL_SRPOLICY_CFG_TNLENCAP_S &stCfg, Bytes &vecAttr);
    /* Wire bytes of a route for an outgoing UPDATE: NLRI (14, 15) or the
     * attribute value (23), appended to vecOut. */
    uint32_t FormatPacket(uint32_t ulType, const BOL_SRPOLICY_NLRI_S &stKey, const Bytes &vecAttr, Bytes &vecOut);

    /* The plug-in's assertion reports ("module:line value") made on this
     * thread since the last call, oldest first; the list is emptied. */
    static std::vector<std::string> TakeReports();

    /* Blocks the memory module still holds (0 once every output was released). */
    uint32_t LiveBlocks() const;

private:
    /* A configuration record through the configuration-parse dispatcher. */
    uint32_t ParseConfig(const void *pvCfg, uint32_t ulLen, uint32_t ulType, BOL_SRPOLICY_NLRI_S *pstKey,
                         Bytes *pvecAttr);
    /* Copies the key and attribute of an output block and releases it. */
    uint32_t TakeOutput(void *pvOut, BOL_SRPOLICY_NLRI_S *pstKey, Bytes *pvecAttr);
    BOL_RT_DATA_S Route(const BOL_SRPOLICY_NLRI_S *pstKey, Bytes *pvecAttr) const;

    BOL_PROC_TBL_S m_stTbl;
    BOL_SRPOLICY_INSTANCE_S *m_pstInst = nullptr;
    /* Kept between calls so that rendering allocates nothing per route. */
    Bytes m_vecAttrCopy;        /* the attribute copy a dispatcher may rewrite */
    std::vector<char> m_vecTextBuf;
};

}  // namespace srp

#endif
