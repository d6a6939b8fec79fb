/* Text form of described UPDATEs, and the error line of a problem. */
#include <cstdio>
#include <string_view>

#include "bgp/tunnel_encap.h"
#include "output/escape.h"
#include "output/printer.h"

namespace srp {

namespace {

/* "message N, [TIME, ][peer P, ]SOURCE[ offset O]" */
void ContextText(const EventContext &stCtx, OutBuffer &out)
{
    out << "message " << stCtx.ullMessage << ", ";
    if (stCtx.bHasTime) {
        out << EventTimeText(stCtx.llTimeUs) << ", ";
    }
    if (!stCtx.strRouter.empty()) {
        out << "router " << stCtx.strRouter << ", ";
    }
    if (!stCtx.strPeer.empty()) {
        out << "peer " << stCtx.strPeer << ", ";
    }
    if (!stCtx.strView.empty()) {
        out << stCtx.strView << ", ";
    }
    out << stCtx.strSource;
    if (stCtx.bHasOffset) {
        out << " offset " << stCtx.ullOffset;
    }
}

/* Appends text to a string with the output buffer's operators. */
struct StrOut {
    std::string &s;
    StrOut &operator<<(std::string_view sv)
    {
        s.append(sv);
        return *this;
    }
    StrOut &operator<<(char c)
    {
        s.push_back(c);
        return *this;
    }
    StrOut &operator<<(uint64_t ull)
    {
        s += std::to_string(ull);
        return *this;
    }
};

/* RFC 9830's values of the Explicit NULL Label Policy. */
const char *EnlpMeaning(uint8_t ucEnlp)
{
    switch (ucEnlp) {
        case 1: return "push an IPv4 Explicit NULL label on unlabeled IPv4 packets";
        case 2: return "push an IPv6 Explicit NULL label on unlabeled IPv6 packets";
        case 3: return "push IPv4 and IPv6 Explicit NULL labels";
        case 4: return "do not push an Explicit NULL label";
        default: return "reserved value";
    }
}

std::string Hex2(unsigned u)
{
    char ac[8];
    std::snprintf(ac, sizeof(ac), "0x%02x", u);
    return ac;
}

/* A kept sub-TLV: 14 and 15 with their fields when of the length RFC 9830
 * gives, anything else as type, length and hex. */
void KeptLine(const KeptSubTlv &st, StrOut &out)
{
    const Bytes &v = st.vecValue;
    if (st.ucType == kSubTlvEnlp && v.size() == 3u) {
        out << "    Explicit NULL Label Policy: " << static_cast<uint64_t>(v[2]) << " (" << EnlpMeaning(v[2])
            << "), Flags:" << Hex2(v[0]) << '\n';
    } else if (st.ucType == kSubTlvPriority && v.size() == 2u) {
        out << "    Priority: " << static_cast<uint64_t>(v[0]) << '\n';
    } else {
        const char *pcName = st.ucType == kSubTlvEnlp ? "Explicit NULL Label Policy (length 3 expected)"
                             : st.ucType == kSubTlvPriority ? "Priority (length 2 expected)"
                                                            : "Unknown";
        out << "    Sub-TLV type:" << static_cast<uint64_t>(st.ucType) << " " << pcName
            << ", length:" << static_cast<uint64_t>(v.size()) << ", value: " << ToHex(v) << '\n';
    }
}

/* Names the plug-in's text leaves out (bytes that are not printable ASCII)
 * are shown escaped; a name cut to 255 bytes says so. */
void NameLines(const NameView &st, StrOut &out)
{
    const char *pcName = st.ucType == kSubTlvPolicyName ? "Policy Name" : "Candidate Path Name";
    if (!IsPlainText(st.vecName.data(), st.vecName.size())) {
        out << "    " << pcName << ": " << EscapeText(st.vecName.data(), st.vecName.size()) << '\n';
    }
    if (st.Cut()) {
        out << "    " << pcName << " cut to " << static_cast<uint64_t>(st.vecName.size()) << " bytes ("
            << static_cast<uint64_t>(st.ulWireLen) << " on the wire)\n";
    }
}

/* Endpoint behaviors of the type-13 segments that carry a structure, in
 * the order the plug-in prints those segments (read from the normalised
 * value, so that the text needs no laid-out fields). */
std::vector<uint16_t> StructuredSegmentBehaviors(const DescribedAttribute &stAttr)
{
    std::vector<uint16_t> vec;
    thread_local TunnelEncapView stView;
    ScanTunnelEncap(stAttr.vecNormalised.data(), stAttr.vecNormalised.size(), stView);
    for (const SubTlv &st : stView.vecSubTlvs) {
        if (st.ucType != kSubTlvSegmentList) {
            continue;
        }
        for (const SegmentField &s : ParseSegmentList(st.pValue, st.usLen).vecSegments) {
            if (s.ucType == 13u && s.vecValue.size() == 26u) {
                vec.push_back(Be16(s.vecValue.data() + 18));
            }
        }
    }
    return vec;
}

class TextPrinter : public Printer {
public:
    explicit TextPrinter(OutBuffer &out) : m_out(out) {}

    void Update(const EventContext &stCtx, const DescribedUpdate &stUpdate) override
    {
        /* The attribute's block is the same for every route of the UPDATE:
         * laid out once, copied under each route. */
        m_strAttr.clear();
        if (stUpdate.stAttr.bPresent) {
            Attribute(stUpdate.stAttr);
        }
        if (stUpdate.bBareAttribute) {
            if (stUpdate.stAttr.bPresent) {
                m_out << "attribute (";
                ContextText(stCtx, m_out);
                m_out << ")\n  Normalised value: " << stUpdate.stAttr.strHex << '\n';
                Warnings(stUpdate.stAttr);
                m_out << m_strAttr;
            }
        }
        for (const DescribedRoute &stRoute : stUpdate.vecRoutes) {
            Route(stCtx, stUpdate, stRoute);
        }
        if (m_out.Interactive()) {
            m_out.Flush();
        }
    }

private:
    void Route(const EventContext &stCtx, const DescribedUpdate &stUpdate, const DescribedRoute &stRoute)
    {
        m_out << (stRoute.bWithdrawn ? "withdraw (" : "announce (");
        ContextText(stCtx, m_out);
        m_out << ", AFI " << static_cast<uint64_t>(stRoute.usAfi) << " SAFI 73)\n  " << stRoute.strKeyText << '\n';
        if (!stRoute.bWithdrawn && !stUpdate.strNextHop.empty()) {
            m_out << "  Next hop: " << stUpdate.strNextHop << '\n';
        }
        if (stRoute.bChecked) {
            m_out << (stRoute.bValid ? "  Route check: valid\n" : "  Route check: invalid endpoint\n");
        }
        if (stRoute.bWithdrawn) {
            return;
        }
        Warnings(stUpdate.stAttr);
        if (stUpdate.stAttr.ulError != 0u) {
            m_out << "  Tunnel Encapsulation attribute refused: " << ResultName(stUpdate.stAttr.ulError) << '\n';
        }
        m_out << m_strAttr;
    }

    void Warnings(const DescribedAttribute &stAttr)
    {
        for (const std::string &strWarning : stAttr.vecWarnings) {
            m_out << "  Warning: " << strWarning << '\n';
        }
    }

    /* The plug-in's text, indented one step under the route, with what it
     * does not show: the endpoint behavior under a type-13 segment's
     * structure, kept sub-TLVs, escaped and cut names. */
    void Attribute(const DescribedAttribute &stAttr)
    {
        StrOut out{m_strAttr};
        std::vector<uint16_t> vecBehaviors;
        bool bBehaviorsRead = false;
        size_t ulBehavior = 0;
        bool bAfterType13 = false;
        for (const TextLineSpan &stLine : stAttr.vecTextLines) {
            std::string_view strLine = stAttr.TextLine(stLine);
            out << "  " << strLine << '\n';
            bool bStructure = strLine.find("SID Structure: LB") != std::string::npos;
            if (bAfterType13 && bStructure && !bBehaviorsRead) {
                vecBehaviors = StructuredSegmentBehaviors(stAttr);
                bBehaviorsRead = true;
            }
            if (bAfterType13 && bStructure && ulBehavior < vecBehaviors.size()) {
                out << "      Endpoint Behavior: " << Hex2(vecBehaviors[ulBehavior++]) << '\n';
            }
            bAfterType13 = strLine.find("Segment: type:13,") != std::string::npos;
        }
        for (const KeptSubTlv &st : stAttr.vecKept) {
            KeptLine(st, out);
        }
        for (const NameView &st : stAttr.vecNames) {
            NameLines(st, out);
        }
    }

    OutBuffer &m_out;
    std::string m_strAttr; /* the attribute's block of the current UPDATE */
};

}  // namespace

std::unique_ptr<Printer> MakeJsonPrinter(OutBuffer &out);

std::unique_ptr<Printer> MakePrinter(PrintForm eForm, OutBuffer &out)
{
    if (eForm == PrintForm::Json) {
        return MakeJsonPrinter(out);
    }
    return std::make_unique<TextPrinter>(out);
}

std::string ProblemLine(const EventContext &stCtx, const Problem &stProblem)
{
    std::string s = "srpolicy: error: ";
    if (stCtx.bHasTime) {
        s += EventTimeText(stCtx.llTimeUs) + ": ";
    }
    if (!stCtx.strRouter.empty()) {
        s += "router " + stCtx.strRouter + ": ";
    }
    if (!stCtx.strPeer.empty()) {
        s += "peer " + stCtx.strPeer + ": ";
    }
    s += stCtx.strSource + ": message " + std::to_string(stCtx.ullMessage);
    if (stCtx.bHasOffset) {
        s += " at offset " + std::to_string(stCtx.ullOffset);
    }
    if (stProblem.ulPos != 0u) {
        s += " (+" + std::to_string(stProblem.ulPos) + ")";
    }
    s += ": " + stProblem.strWhat;
    if (stProblem.ulCode != 0u) {
        char ac[16];
        std::snprintf(ac, sizeof(ac), "0x%x", stProblem.ulCode);
        s += ": " + ResultName(stProblem.ulCode) + " (" + ac + ")";
    }
    for (size_t i = 0; i < stProblem.vecReports.size(); i++) {
        s += (i == 0u ? " [plug-in report: " : "; ") + stProblem.vecReports[i];
    }
    if (!stProblem.vecReports.empty()) {
        s += "]";
    }
    return s;
}

}  // namespace srp
