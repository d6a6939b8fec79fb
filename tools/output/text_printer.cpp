/* Text form of described UPDATEs, and the error line of a problem. */
#include <cstdio>

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

class TextPrinter : public Printer {
public:
    explicit TextPrinter(OutBuffer &out) : m_out(out) {}

    void Update(const EventContext &stCtx, const DescribedUpdate &stUpdate) override
    {
        if (stUpdate.bBareAttribute) {
            if (stUpdate.stAttr.bPresent) {
                m_out << "attribute (";
                ContextText(stCtx, m_out);
                m_out << ")\n  Normalised value: " << stUpdate.stAttr.strHex << '\n';
                Attribute(stUpdate.stAttr);
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
        if (stUpdate.stAttr.ulError != 0u) {
            m_out << "  Tunnel Encapsulation attribute refused: " << ResultName(stUpdate.stAttr.ulError) << '\n';
        }
        if (stUpdate.stAttr.bPresent) {
            Attribute(stUpdate.stAttr);
        }
    }

    /* The plug-in's text, indented one step under the route. */
    void Attribute(const DescribedAttribute &stAttr)
    {
        for (const std::string &strLine : stAttr.vecTextLines) {
            m_out << "  " << strLine << '\n';
        }
    }

    OutBuffer &m_out;
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
