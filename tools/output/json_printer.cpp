/* JSON form of described UPDATEs: one object per route and line (schema in
 * tools/README.md), written by a streaming writer straight into the output
 * buffer, with no document built in between. */
#include <cassert>
#include <cstdint>
#include <cstring>

/* Strings are scanned for characters to escape sixteen bytes at a time. */
#if defined(__SSE2__) && !defined(RAPIDJSON_SSE2)
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/internal/itoa.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "output/escape.h"
#include "output/printer.h"
#include "plugin/plugin_host.h"

namespace srp {

namespace {

/* JSON text of a value whose shape is fixed (an object of numbers, hex and
 * address texts), written at a cursor into room reserved beforehand: one
 * block for the writer instead of a call per key and value. */
class Frag {
public:
    explicit Frag(char *pc) : m_pc(pc) {}
    char *End() const { return m_pc; }

    template <size_t N>
    Frag &Lit(const char (&ac)[N])
    {
        memcpy(m_pc, ac, N - 1u);
        m_pc += N - 1u;
        return *this;
    }
    Frag &Uint(uint32_t ul)
    {
        m_pc = rapidjson::internal::u32toa(ul, m_pc);
        return *this;
    }
    Frag &Uint64(uint64_t ull)
    {
        m_pc = rapidjson::internal::u64toa(ull, m_pc);
        return *this;
    }
    Frag &Bool(bool b) { return b ? Lit("true") : Lit("false"); }
    /* A string already in JSON form, quotes included. */
    Frag &Literal(const std::string &s)
    {
        memcpy(m_pc, s.data(), s.size());
        m_pc += s.size();
        return *this;
    }
    Frag &Hex(const uint8_t *p, size_t n)
    {
        *m_pc++ = '"';
        m_pc = PutHex(m_pc, p, n);
        *m_pc++ = '"';
        return *this;
    }
    /* A text with nothing to escape (an address). */
    Frag &Plain(const std::string &s)
    {
        *m_pc++ = '"';
        memcpy(m_pc, s.data(), s.size());
        m_pc += s.size();
        *m_pc++ = '"';
        return *this;
    }

private:
    char *m_pc;
};

/* Room for the longest number, literal or punctuation a fragment writes
 * between its variable parts. */
const size_t kFieldRoom = 24u;

/* Each object is written into a reused string buffer, then handed to the
 * buffered output in one piece. */
class Writer : public rapidjson::Writer<rapidjson::StringBuffer> {
public:
    using rapidjson::Writer<rapidjson::StringBuffer>::Writer;

    /* Room for n bytes of a value or key the caller writes itself, after
     * the separator the writer puts in front of it (an empty raw value
     * writes just that). */
    char *Raw(size_t n, rapidjson::Type eType)
    {
        RawValue("", 0u, eType);
        return os_->Push(n);
    }
    /* A value or key already in JSON form, copied in one block. */
    void RawBlock(const char *p, size_t n, rapidjson::Type eType) { memcpy(Raw(n, eType), p, n); }
    /* A fixed-shape value written by fn into at most nMax bytes. */
    template <class Fn>
    void RawFrag(size_t nMax, rapidjson::Type eType, Fn fn)
    {
        char *pc = Raw(nMax, eType);
        Frag f(pc);
        fn(f);
        assert(f.End() <= pc + nMax);
        os_->Pop(static_cast<size_t>(pc + nMax - f.End()));
    }
    /* Whole members ("key":value,...) of the object being written, of a
     * fixed shape, written by fn into at most nMax bytes. The writer counts
     * them as one key and its value, and goes on as after any member. */
    template <class Fn>
    void Members(size_t nMax, Fn fn)
    {
        Level *pLevel = level_stack_.template Top<Level>();
        assert(!pLevel->inArray && pLevel->valueCount % 2u == 0u);
        char *pc = os_->Push(nMax + 1u);
        Frag f(pc);
        if (pLevel->valueCount > 0u) {
            f.Lit(",");
        }
        fn(f);
        assert(f.End() <= pc + nMax + 1u);
        os_->Pop(static_cast<size_t>(pc + nMax + 1u - f.End()));
        pLevel->valueCount += 2u;
    }
};

/* A key known when compiling: written quoted as it stands, without the
 * writer's per-character escaping (a raw string in a key's place is a key). */
template <size_t N>
void Key(Writer &w, const char (&acKey)[N])
{
    char *pc = w.Raw(N + 1u, rapidjson::kStringType);
    pc[0] = '"';
    memcpy(pc + 1, acKey, N - 1u);
    pc[N] = '"';
}

/* A key chosen at run time. */
void KeyText(Writer &w, const char *pcKey) { w.Key(pcKey); }

void Str(Writer &w, const std::string &s) { w.String(s.data(), static_cast<rapidjson::SizeType>(s.size())); }

/* A number that the attribute may or may not carry. */
template <size_t N>
void OptionalUint(Writer &w, const char (&pcKey)[N], const std::optional<uint32_t> &oValue)
{
    if (oValue) {
        Key(w, pcKey);
        w.Uint(*oValue);
    }
}

void HexValue(Writer &w, const uint8_t *p, size_t n)
{
    char *pc = w.Raw(2u * n + 2u, rapidjson::kStringType);
    *pc = '"';
    *PutHex(pc + 1, p, n) = '"';
}

/* LB, LN, Func, Args of an SRv6 SID structure. */
void Structure(Frag &f, const uint8_t *puc)
{
    f.Lit("{\"lb\":").Uint(puc[0]).Lit(",\"ln\":").Uint(puc[1]).Lit(",\"func\":").Uint(puc[2]);
    f.Lit(",\"arg\":").Uint(puc[3]).Lit("}");
}
const size_t kStructureRoom = 64u;

/* Room of a segment's object: its numbers and the structure, its hex and
 * its address texts. */
size_t SegmentRoom(const SegmentField &st)
{
    size_t n = 6u * kFieldRoom + kStructureRoom + 2u * st.vecValue.size() + st.strSid.size();
    for (const std::string &s : st.vecBindingSids) {
        n += s.size() + 3u;
    }
    return n;
}

void Segment(Frag &f, const SegmentField &st)
{
    f.Lit("{\"type\":").Uint(st.ucType).Lit(",\"flags\":").Uint(st.ucFlags).Lit(",\"hex\":");
    f.Hex(st.vecValue.data(), st.vecValue.size());
    if (st.oLabel) {
        f.Lit(",\"label\":").Uint(*st.oLabel);
    }
    if (!st.strSid.empty()) {
        f.Lit(",\"sid\":").Plain(st.strSid);
        if (st.vecValue.size() == 26u) { /* SID, endpoint behavior, reserved, structure */
            f.Lit(",\"endpoint_behavior\":").Uint(Be16(st.vecValue.data() + 18)).Lit(",\"structure\":");
            Structure(f, st.vecValue.data() + 22);
        }
    }
    if (!st.vecBindingSids.empty()) {
        f.Lit(",\"binding_sids\":[");
        for (size_t i = 0; i < st.vecBindingSids.size(); i++) {
            if (i > 0u) {
                f.Lit(",");
            }
            f.Plain(st.vecBindingSids[i]);
        }
        f.Lit("]");
    }
    f.Lit("}");
}

void BindingSidObject(Writer &w, const BindingSid &b)
{
    w.RawFrag(5u * kFieldRoom + b.strSid.size(), rapidjson::kObjectType, [&b](Frag &f) {
        f.Lit("{\"s_flag\":").Bool((b.ucFlags & 0x80u) != 0u).Lit(",\"i_flag\":").Bool((b.ucFlags & 0x40u) != 0u);
        if (b.ucType == 1u) {
            f.Lit(",\"label\":").Uint(b.ulLabel);
        } else if (b.ucType == 2u) {
            f.Lit(",\"sid\":").Plain(b.strSid);
        }
        f.Lit("}");
    });
}

void Srv6BindingSidObject(Writer &w, const Srv6BindingSid &s)
{
    w.RawFrag(5u * kFieldRoom + kStructureRoom + s.strSid.size(), rapidjson::kObjectType, [&s](Frag &f) {
        f.Lit("{\"sid\":").Plain(s.strSid).Lit(",\"flags\":").Uint(s.ucFlags);
        if ((s.ucFlags & 0x20u) != 0u) {
            f.Lit(",\"endpoint_behavior\":").Uint(s.usBehavior).Lit(",\"structure\":");
            Structure(f, s.aucStructure);
        }
        f.Lit("}");
    });
}

/* Each list is one fixed-shape object: its hex, weight, path MTU and
 * segments. */
void SegmentLists(Writer &w, const std::vector<SegmentListField> &vecLists)
{
    w.StartArray();
    for (const SegmentListField &l : vecLists) {
        size_t ulRoom = 4u * kFieldRoom + 2u * l.vecRaw.size();
        for (const SegmentField &s : l.vecSegments) {
            ulRoom += SegmentRoom(s) + 1u;
        }
        w.RawFrag(ulRoom, rapidjson::kObjectType, [&l](Frag &f) {
            f.Lit("{\"hex\":").Hex(l.vecRaw.data(), l.vecRaw.size());
            if (l.oWeight) {
                f.Lit(",\"weight\":").Uint(*l.oWeight);
            }
            if (l.oPathMtu) {
                f.Lit(",\"path_mtu\":").Uint(*l.oPathMtu);
            }
            f.Lit(",\"segments\":[");
            for (size_t i = 0; i < l.vecSegments.size(); i++) {
                if (i > 0u) {
                    f.Lit(",");
                }
                Segment(f, l.vecSegments[i]);
            }
            f.Lit("]}");
        });
    }
    w.EndArray();
}

/* Sub-TLVs 14 and 15 with their fields when their length is the one RFC
 * 9830 gives (3 and 2), every kept sub-TLV with its type, length and hex. */
void KeptSubTlvs(Writer &w, const std::vector<KeptSubTlv> &vecKept)
{
    bool bUnknown = false;
    for (const KeptSubTlv &st : vecKept) {
        const Bytes &v = st.vecValue;
        if (st.ucType == kSubTlvEnlp) {
            Key(w, "explicit_null_label_policy");
            w.StartObject();
            if (v.size() == 3u) {
                Key(w, "flags");
                w.Uint(v[0]);
                Key(w, "enlp");
                w.Uint(v[2]);
            }
            Key(w, "hex");
            HexValue(w, v.data(), v.size());
            w.EndObject();
        } else if (st.ucType == kSubTlvPriority) {
            Key(w, "priority");
            w.StartObject();
            if (v.size() == 2u) {
                Key(w, "priority");
                w.Uint(v[0]);
            }
            Key(w, "hex");
            HexValue(w, v.data(), v.size());
            w.EndObject();
        } else {
            bUnknown = true;
        }
    }
    if (!bUnknown) {
        return;
    }
    Key(w, "unknown_sub_tlvs");
    w.StartArray();
    for (const KeptSubTlv &st : vecKept) {
        if (st.ucType != kSubTlvEnlp && st.ucType != kSubTlvPriority) {
            w.StartObject();
            Key(w, "type");
            w.Uint(st.ucType);
            Key(w, "length");
            w.Uint(static_cast<unsigned>(st.vecValue.size()));
            Key(w, "hex");
            HexValue(w, st.vecValue.data(), st.vecValue.size());
            w.EndObject();
        }
    }
    w.EndArray();
}

void Names(Writer &w, const std::vector<NameView> &vecNames)
{
    for (const NameView &st : vecNames) {
        bool bPolicy = st.ucType == kSubTlvPolicyName;
        KeyText(w, bPolicy ? "policy_name" : "candidate_path_name");
        std::string strLiteral = JsonStringLiteral(st.vecName.data(), st.vecName.size());
        w.RawBlock(strLiteral.data(), strLiteral.size(), rapidjson::kStringType);
        if (st.Cut()) {
            KeyText(w, bPolicy ? "policy_name_cut" : "candidate_path_name_cut");
            w.StartObject();
            Key(w, "kept");
            w.Uint(static_cast<unsigned>(st.vecName.size()));
            Key(w, "wire_length");
            w.Uint(st.ulWireLen);
            w.EndObject();
        }
    }
}

void Attribute(Writer &w, const DescribedAttribute &stAttr)
{
    w.StartObject();
    if (stAttr.bHasFields) {
        const AttrFields &st = stAttr.stFields;
        OptionalUint(w, "preference", st.oPreference);
        if (st.oBindingSid) {
            Key(w, "binding_sid");
            BindingSidObject(w, *st.oBindingSid);
        }
        Key(w, "srv6_binding_sids");
        w.StartArray();
        for (const Srv6BindingSid &s : st.vecSrv6BindingSids) {
            Srv6BindingSidObject(w, s);
        }
        w.EndArray();
        Key(w, "segment_lists");
        SegmentLists(w, st.vecSegmentLists);
        Names(w, stAttr.vecNames);
        OptionalUint(w, "template_id", st.oTemplateId);
        OptionalUint(w, "slice_id", st.oSliceId);
        KeptSubTlvs(w, stAttr.vecKept);
    }
    Key(w, "hex");
    HexValue(w, stAttr.vecNormalised.data(), stAttr.vecNormalised.size());
    w.EndObject();
}

/* The context's texts as JSON string literals, made once for all the routes
 * of an UPDATE. */
struct ContextLiterals {
    struct Cached {
        std::string strText;
        std::string strLiteral;
    };
    Cached stSource;
    Cached stRouter;
    Cached stPeer;
    Cached stView;
    std::string strTime;
};

/* Room of the context's members. */
size_t ContextRoom(const ContextLiterals &stLit)
{
    return 8u * kFieldRoom + stLit.stSource.strLiteral.size() + stLit.strTime.size() +
           stLit.stRouter.strLiteral.size() + stLit.stPeer.strLiteral.size() + stLit.stView.strLiteral.size();
}

void Context(Frag &f, const EventContext &stCtx, const ContextLiterals &stLit)
{
    f.Lit("\"message\":").Uint64(stCtx.ullMessage).Lit(",\"source\":").Literal(stLit.stSource.strLiteral);
    if (stCtx.bHasOffset) {
        f.Lit(",\"offset\":").Uint64(stCtx.ullOffset);
    }
    if (stCtx.bHasTime) {
        f.Lit(",\"time\":").Literal(stLit.strTime);
    }
    if (!stCtx.strRouter.empty()) {
        f.Lit(",\"router\":").Literal(stLit.stRouter.strLiteral);
    }
    if (!stCtx.strPeer.empty()) {
        f.Lit(",\"peer\":").Literal(stLit.stPeer.strLiteral);
    }
    if (!stCtx.strView.empty()) {
        f.Lit(",\"view\":").Literal(stLit.stView.strLiteral);
    }
}

void Warnings(Writer &w, const std::vector<std::string> &vecWarnings)
{
    if (vecWarnings.empty()) {
        return;
    }
    Key(w, "warnings");
    w.StartArray();
    for (const std::string &s : vecWarnings) {
        Str(w, s);
    }
    w.EndArray();
}

class JsonPrinter : public Printer {
public:
    explicit JsonPrinter(OutBuffer &out) : m_out(out) {}

    void Update(const EventContext &stCtx, const DescribedUpdate &stUpdate) override
    {
        const DescribedAttribute &stAttr = stUpdate.stAttr;
        /* The attribute object is the same for every route of the UPDATE:
         * written once, copied into each route's object. */
        Literals(stCtx);
        m_sbAttr.Clear();
        if (stAttr.bPresent) {
            Writer &wAttr = m_wAttr;
            wAttr.Reset(m_sbAttr);
            Attribute(wAttr, stAttr);
        }
        if (stUpdate.bBareAttribute && stAttr.bPresent) {
            m_sb.Clear();
            Writer &w = m_w;
            w.Reset(m_sb);
            w.StartObject();
            w.Members(ContextRoom(m_stLit), [&](Frag &f) { Context(f, stCtx, m_stLit); });
            Key(w, "attribute");
            w.RawBlock(m_sbAttr.GetString(), m_sbAttr.GetSize(), rapidjson::kObjectType);
            Warnings(w, stAttr.vecWarnings);
            w.EndObject();
            Emit();
        }
        for (const DescribedRoute &stRoute : stUpdate.vecRoutes) {
            m_sb.Clear();
            Writer &w = m_w;
            w.Reset(m_sb);
            w.StartObject();
            /* The context, the family and the key: one block. */
            const BOL_SRPOLICY_NLRI_S &stKey = stRoute.stKey;
            const std::string strEndpoint = EndpointText(stKey);
            size_t ulRoom = ContextRoom(m_stLit) + 8u * kFieldRoom + strEndpoint.size();
            w.Members(ulRoom, [&](Frag &f) {
                Context(f, stCtx, m_stLit);
                f.Lit(",\"afi\":").Uint(stRoute.usAfi).Lit(",\"safi\":").Uint(kSafiSrPolicy);
                f.Lit(",\"withdrawn\":").Bool(stRoute.bWithdrawn);
                f.Lit(",\"nlri\":{\"length\":").Uint(stKey.ucNlriLen).Lit(",\"distinguisher\":").Uint(stKey.ulDistinguisher);
                f.Lit(",\"color\":").Uint(stKey.ulPolicyColor).Lit(",\"endpoint\":").Plain(strEndpoint).Lit("}");
            });
            Key(w, "key_text");
            Str(w, stRoute.strKeyText);
            Key(w, "valid");
            if (stRoute.bChecked) {
                w.Bool(stRoute.bValid);
            } else {
                w.Null();
            }
            bool bAnnounced = !stRoute.bWithdrawn;
            if (bAnnounced && !stUpdate.strNextHop.empty()) {
                Key(w, "next_hop");
                Str(w, stUpdate.strNextHop);
            }
            Key(w, "attribute");
            size_t ulSplice = SIZE_MAX;
            if (bAnnounced && stAttr.bPresent) {
                /* A one-byte stand-in, replaced by the attribute object when
                 * the route is written out. */
                w.RawValue("0", 1u, rapidjson::kObjectType);
                ulSplice = m_sb.GetSize() - 1u;
            } else {
                w.Null();
            }
            if (bAnnounced && stAttr.ulError != 0u) {
                Key(w, "attribute_error");
                Str(w, ResultName(stAttr.ulError));
            }
            if (bAnnounced) {
                Warnings(w, stAttr.vecWarnings);
            }
            w.EndObject();
            Emit(ulSplice);
        }
        if (m_out.Interactive()) {
            m_out.Flush();
        }
    }

private:
    /* A literal is made again only when its text changed (a file's
     * messages share their source, a session's their peer). */
    void Literal(const std::string &s, ContextLiterals::Cached &stOut)
    {
        if (s == stOut.strText && !stOut.strLiteral.empty()) {
            return;
        }
        stOut.strText = s;
        m_sbLit.Clear();
        m_wLit.Reset(m_sbLit);
        Str(m_wLit, s);
        stOut.strLiteral.assign(m_sbLit.GetString(), m_sbLit.GetSize());
    }
    void Literals(const EventContext &stCtx)
    {
        Literal(stCtx.strSource, m_stLit.stSource);
        if (stCtx.bHasTime) {
            char ac[64];
            size_t n = EventTimeText(stCtx.llTimeUs, ac + 1);
            ac[0] = '"';
            ac[n + 1u] = '"';
            m_stLit.strTime.assign(ac, n + 2u);
        }
        Literal(stCtx.strRouter, m_stLit.stRouter);
        Literal(stCtx.strPeer, m_stLit.stPeer);
        Literal(stCtx.strView, m_stLit.stView);
    }

    /* The object in the buffer and a line end; with ulSplice, the
     * attribute object in place of the byte there. */
    void Emit(size_t ulSplice = SIZE_MAX)
    {
        m_sb.Put('\n');
        const char *pc = m_sb.GetString();
        if (ulSplice == SIZE_MAX) {
            m_out.Write(pc, m_sb.GetSize());
            return;
        }
        m_out.Write(pc, ulSplice);
        m_out.Write(m_sbAttr.GetString(), m_sbAttr.GetSize());
        m_out.Write(pc + ulSplice + 1u, m_sb.GetSize() - ulSplice - 1u);
    }

    OutBuffer &m_out;
    rapidjson::StringBuffer m_sb;
    rapidjson::StringBuffer m_sbAttr;
    /* Writers kept from object to object: each keeps its nesting stack. */
    Writer m_w{m_sb};
    Writer m_wAttr{m_sbAttr};
    rapidjson::StringBuffer m_sbLit;
    Writer m_wLit{m_sbLit};
    ContextLiterals m_stLit;
};

}  // namespace

std::unique_ptr<Printer> MakeJsonPrinter(OutBuffer &out) { return std::make_unique<JsonPrinter>(out); }

}  // namespace srp
