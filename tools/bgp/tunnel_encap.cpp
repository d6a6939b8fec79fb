/* Tunnel TLVs and sub-TLVs of a Tunnel Encapsulation attribute value. */
#include "bgp/tunnel_encap.h"

namespace srp {

void ScanTunnelEncap(const uint8_t *p, size_t n, TunnelEncapView &stView)
{
    stView.vecTunnels.clear(); /* the buffers stay for the next scan */
    stView.vecSubTlvs.clear();
    Reader rd(p, n);
    while (rd.Left() > 0u) {
        TunnelTlv stTunnel;
        const uint8_t *pBody = nullptr;
        if (!rd.U16(stTunnel.usType) || !rd.U16(stTunnel.usLen) || !rd.Take(stTunnel.usLen, pBody)) {
            return; /* a TLV that runs past the value ends the scan */
        }
        stView.vecTunnels.push_back(stTunnel);
        if (stView.vecTunnels.size() > 1u) {
            continue;
        }
        Reader rdSub(pBody, stTunnel.usLen);
        while (rdSub.Left() > 0u) {
            SubTlv stSub;
            uint8_t ucLen = 0;
            bool bOk = rdSub.U8(stSub.ucType);
            if (bOk && stSub.ucType >= 128u) {
                bOk = rdSub.U16(stSub.usLen);
            } else if (bOk) {
                bOk = rdSub.U8(ucLen);
                stSub.usLen = ucLen;
            }
            if (!bOk || !rdSub.Take(stSub.usLen, stSub.pValue)) {
                break;
            }
            stView.vecSubTlvs.push_back(stSub);
        }
    }
}

bool IsDecodedSubTlv(uint8_t ucType)
{
    static const uint8_t aucDecoded[] = {12u, 13u, 128u, 127u, 126u, 20u, 129u, 130u, 123u};
    for (uint8_t uc : aucDecoded) {
        if (uc == ucType) {
            return true;
        }
    }
    return false;
}

void NoteWireValue(const uint8_t *p, size_t n, WireNotes &stNotes)
{
    thread_local TunnelEncapView stView;
    ScanTunnelEncap(p, n, stView);
    stNotes.Clear();
    std::vector<std::string> &vec = stNotes.vecWarnings;
    for (const SubTlv &st : stView.vecSubTlvs) {
        if ((st.ucType == kSubTlvCandidatePathName || st.ucType == kSubTlvPolicyName) && st.usLen > 0u) {
            stNotes.vecNames.push_back(WireName{st.ucType, static_cast<uint16_t>(st.usLen - 1u)});
        }
    }
    if (!stView.vecTunnels.empty() && stView.vecTunnels[0].usType != kTunnelSrPolicy) {
        vec.push_back("the first tunnel is of type " + std::to_string(stView.vecTunnels[0].usType) +
                      ", not SR Policy (15): the plug-in decodes SR Policy tunnels only");
    }
    if (stView.vecTunnels.size() > 1u) {
        std::string strTypes;
        for (size_t i = 1; i < stView.vecTunnels.size(); i++) {
            strTypes += (i == 1u ? "" : ", ") + std::to_string(stView.vecTunnels[i].usType);
        }
        vec.push_back(std::to_string(stView.vecTunnels.size() - 1u) + " more tunnel TLV(s) after the first (type " +
                      strTypes + ") not decoded: the plug-in decodes the first tunnel only");
    }
}

}  // namespace srp
