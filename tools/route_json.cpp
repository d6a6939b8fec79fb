/* JSON form of a decoded route: one object per line (schema in tools/README.md). */
#include <nlohmann/json.hpp>

#include "plugin_host.h"
#include "route_output.h"

namespace srp {

namespace {

/* Fields keep the order they are written in. */
using json = nlohmann::ordered_json;

json Structure(const uint8_t *puc)
{
    return json{{"lb", puc[0]}, {"ln", puc[1]}, {"func", puc[2]}, {"arg", puc[3]}};
}

json Segment(const SegmentField &stSeg)
{
    json j{{"type", stSeg.ucType}, {"flags", stSeg.ucFlags}, {"hex", ToHex(stSeg.vecValue)}};
    if (stSeg.oLabel) {
        j["label"] = *stSeg.oLabel;
    }
    if (!stSeg.strSid.empty()) {
        j["sid"] = stSeg.strSid;
        if (stSeg.vecValue.size() == 26u) {
            j["structure"] = Structure(stSeg.vecValue.data() + 22);
        }
    }
    if (!stSeg.vecBindingSids.empty()) {
        j["binding_sids"] = stSeg.vecBindingSids;
    }
    return j;
}

json Fields(const AttrFields &st)
{
    json j = json::object();
    if (st.oPreference) {
        j["preference"] = *st.oPreference;
    }
    if (st.oBindingSid) {
        const BindingSid &b = *st.oBindingSid;
        json jb{{"s_flag", (b.ucFlags & 0x80u) != 0u}, {"i_flag", (b.ucFlags & 0x40u) != 0u}};
        if (b.ucType == 1u) {
            jb["label"] = b.ulLabel;
        } else if (b.ucType == 2u) {
            jb["sid"] = b.strSid;
        }
        j["binding_sid"] = jb;
    }
    json jSrv6 = json::array();
    for (const Srv6BindingSid &s : st.vecSrv6BindingSids) {
        json js{{"sid", s.strSid}, {"flags", s.ucFlags}};
        if ((s.ucFlags & 0x20u) != 0u) {
            js["endpoint_behavior"] = s.usBehavior;
            js["structure"] = Structure(s.aucStructure);
        }
        jSrv6.push_back(js);
    }
    j["srv6_binding_sids"] = jSrv6;
    json jLists = json::array();
    for (const SegmentListField &l : st.vecSegmentLists) {
        json jl{{"hex", ToHex(l.vecRaw)}};
        if (l.oWeight) {
            jl["weight"] = *l.oWeight;
        }
        if (l.oPathMtu) {
            jl["path_mtu"] = *l.oPathMtu;
        }
        json jSegs = json::array();
        for (const SegmentField &s : l.vecSegments) {
            jSegs.push_back(Segment(s));
        }
        jl["segments"] = jSegs;
        jLists.push_back(jl);
    }
    j["segment_lists"] = jLists;
    if (st.oCandidatePathName) {
        j["candidate_path_name"] = *st.oCandidatePathName;
    }
    if (st.oPolicyName) {
        j["policy_name"] = *st.oPolicyName;
    }
    if (st.oTemplateId) {
        j["template_id"] = *st.oTemplateId;
    }
    if (st.oSliceId) {
        j["slice_id"] = *st.oSliceId;
    }
    return j;
}

}  // namespace

std::string RouteJson(const RouteReport &stRoute)
{
    json j{{"message", stRoute.ullMessage}, {"source", stRoute.strSource}, {"offset", stRoute.ullOffset}};
    if (stRoute.bHasKey) {
        j["afi"] = stRoute.usAfi;
        j["safi"] = 73;
        j["withdrawn"] = stRoute.bWithdrawn;
        j["nlri"] = json{{"length", stRoute.stKey.ucNlriLen},
                         {"distinguisher", stRoute.stKey.ulDistinguisher},
                         {"color", stRoute.stKey.ulPolicyColor},
                         {"endpoint", EndpointText(stRoute.stKey)}};
        j["key_text"] = stRoute.strKeyText;
        j["valid"] = stRoute.bChecked ? json(stRoute.bValid) : json(nullptr);
        if (!stRoute.strNextHop.empty()) {
            j["next_hop"] = stRoute.strNextHop;
        }
    }
    if (stRoute.bHasAttr) {
        json jAttr = stRoute.bHasFields ? Fields(stRoute.stFields) : json::object();
        jAttr["hex"] = ToHex(stRoute.vecAttr);
        j["attribute"] = jAttr;
    } else {
        j["attribute"] = nullptr;
    }
    if (stRoute.ulAttrError != 0u) {
        j["attribute_error"] = ResultName(stRoute.ulAttrError);
    }
    return j.dump();
}

}  // namespace srp
