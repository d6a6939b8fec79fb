/* JSON form of a decoded route: one object per line (schema in tools/README.md). */
#include <nlohmann/json.hpp>

#include "output/printer.h"
#include "plugin/plugin_host.h"

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

class JsonPrinter : public Printer {
public:
    explicit JsonPrinter(OutBuffer &out) : m_out(out) {}

    void Update(const EventContext &stCtx, const DescribedUpdate &stUpdate) override
    {
        if (stUpdate.bBareAttribute && stUpdate.stAttr.bPresent) {
            json j = Context(stCtx);
            j["attribute"] = Attribute(stUpdate.stAttr);
            m_out << j.dump() << '\n';
        }
        for (const DescribedRoute &stRoute : stUpdate.vecRoutes) {
            json j = Context(stCtx);
            j["afi"] = stRoute.usAfi;
            j["safi"] = kSafiSrPolicy;
            j["withdrawn"] = stRoute.bWithdrawn;
            j["nlri"] = json{{"length", stRoute.stKey.ucNlriLen},
                             {"distinguisher", stRoute.stKey.ulDistinguisher},
                             {"color", stRoute.stKey.ulPolicyColor},
                             {"endpoint", EndpointText(stRoute.stKey)}};
            j["key_text"] = stRoute.strKeyText;
            j["valid"] = stRoute.bChecked ? json(stRoute.bValid) : json(nullptr);
            if (!stRoute.bWithdrawn && !stUpdate.strNextHop.empty()) {
                j["next_hop"] = stUpdate.strNextHop;
            }
            j["attribute"] = !stRoute.bWithdrawn && stUpdate.stAttr.bPresent ? Attribute(stUpdate.stAttr) : json(nullptr);
            if (!stRoute.bWithdrawn && stUpdate.stAttr.ulError != 0u) {
                j["attribute_error"] = ResultName(stUpdate.stAttr.ulError);
            }
            m_out << j.dump() << '\n';
        }
        if (m_out.Interactive()) {
            m_out.Flush();
        }
    }

private:
    static json Context(const EventContext &stCtx)
    {
        json j{{"message", stCtx.ullMessage}, {"source", stCtx.strSource}};
        if (stCtx.bHasOffset) {
            j["offset"] = stCtx.ullOffset;
        }
        if (stCtx.bHasTime) {
            j["time"] = EventTimeText(stCtx.llTimeUs);
        }
        if (!stCtx.strRouter.empty()) {
            j["router"] = stCtx.strRouter;
        }
        if (!stCtx.strPeer.empty()) {
            j["peer"] = stCtx.strPeer;
        }
        if (!stCtx.strView.empty()) {
            j["view"] = stCtx.strView;
        }
        return j;
    }

    static json Attribute(const DescribedAttribute &stAttr)
    {
        json jAttr = stAttr.bHasFields ? Fields(stAttr.stFields) : json::object();
        jAttr["hex"] = stAttr.strHex;
        return jAttr;
    }

    OutBuffer &m_out;
};

}  // namespace

std::unique_ptr<Printer> MakeJsonPrinter(OutBuffer &out) { return std::make_unique<JsonPrinter>(out); }

}  // namespace srp
