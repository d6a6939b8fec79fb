/*
 * The plug-in's view of one walked UPDATE: the key text and route check of
 * each route, and the Tunnel Encapsulation attribute rendered (display text)
 * and laid out (conditional-route attribute message) once for all the routes
 * the UPDATE announces. Printers read only what is described here; nothing
 * below calls back into the plug-in.
 */
#ifndef SRPOLICY_TOOL_DESCRIBER_H
#define SRPOLICY_TOOL_DESCRIBER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bgp/update_walker.h"
#include "common/bytes.h"
#include "plugin/condrt.h"
#include "plugin/plugin_host.h"

namespace srp {

/* Something that failed while an UPDATE was walked or described. */
struct Problem {
    Problem() = default;
    Problem(std::string strWhatIn, uint32_t ulCodeIn = 0u, size_t ulPosIn = 0u, int iRouteIn = -1)
        : strWhat(std::move(strWhatIn)), ulCode(ulCodeIn), ulPos(ulPosIn), iRoute(iRouteIn)
    {
    }
    std::string strWhat;
    uint32_t ulCode = 0; /* plug-in result; 0 for a problem the tool found */
    size_t ulPos = 0;    /* byte position inside the message; 0 when not known */
    int iRoute = -1;     /* index of the route it concerns; -1 for the message */
    std::vector<std::string> vecReports; /* the plug-in's assertion reports that came with it */
};

/* A sub-TLV the normalised attribute keeps without a field of the plug-in's
 * own: Explicit NULL Label Policy (14), Priority (15) and unknown types. */
struct KeptSubTlv {
    uint8_t ucType = 0;
    Bytes vecValue;
};

/* A candidate path (129) or policy (130) name as kept, with the name's
 * length on the wire: longer than the kept bytes when the plug-in cut it. */
struct NameView {
    uint8_t ucType = 0;
    Bytes vecName;
    uint32_t ulWireLen = 0;
    bool Cut() const { return ulWireLen > vecName.size(); }
};

/* Where one line of a rendered text lies in it. */
struct TextLineSpan {
    size_t ulStart = 0;
    size_t ulLen = 0;
};

/* The attribute an UPDATE carries, shared by every route it announces. */
struct DescribedAttribute {
    bool bPresent = false;    /* the attribute was decoded */
    uint32_t ulError = 0;     /* the attribute parser's refusal, if any */
    Bytes vecNormalised;      /* the normalised value */
    std::string strHex;       /* its hex, for a bare attribute value (printers of routes write vecNormalised) */
    std::string strText;      /* the plug-in's display text as rendered */
    std::vector<TextLineSpan> vecTextLines; /* its non-empty lines, line ends dropped */
    bool bHasFields = false;  /* stFields holds the laid-out fields */
    AttrFields stFields;
    std::vector<std::string> vecWarnings; /* what the decoded form leaves out of the wire value */
    std::vector<KeptSubTlv> vecKept;      /* in wire order */
    std::vector<NameView> vecNames;       /* in wire order */

    std::string_view TextLine(const TextLineSpan &st) const
    {
        return std::string_view(strText).substr(st.ulStart, st.ulLen);
    }
};

struct DescribedRoute {
    BOL_SRPOLICY_NLRI_S stKey{};
    uint16_t usAfi = 0;
    bool bWithdrawn = false;
    std::string strKeyText;
    bool bChecked = false; /* the route check answered */
    bool bValid = false;
};

struct DescribedUpdate {
    std::vector<DescribedRoute> vecRoutes;
    std::string strNextHop;       /* next hop of the announced routes */
    DescribedAttribute stAttr;    /* applies to announced routes only */
    bool bBareAttribute = false;  /* an attribute value without routes */
    std::vector<Problem> vecProblems;
    std::vector<std::string> vecNotes; /* plug-in reports of calls that succeeded */
    uint32_t ulSkipped = 0;       /* attributes and families passed over */

    /* Empties every part, keeping the buffers for the next UPDATE. */
    void Clear();
    /* Problems counted as failures: each message-level problem once, each
     * route with problems once. */
    uint64_t Failures() const;
};

/* UPDATEs and what the describer made of them, for a summary line. */
struct RouteCounts {
    uint64_t ullUpdates = 0;
    uint64_t ullRoutes = 0;
    uint64_t ullWithdrawals = 0;
    uint64_t ullSkipped = 0;
    uint64_t ullFailed = 0; /* malformed messages and routes the plug-in refused */

    /* The routes, withdrawals, skipped parts and failures of one described
     * UPDATE (the caller counts the UPDATE itself). */
    void Add(const DescribedUpdate &st);
    RouteCounts &operator+=(const RouteCounts &st);
};

struct DescribeOptions {
    bool bAttrText = true; /* the plug-in's display text of the attribute */
    bool bFields = true;   /* the laid-out fields of the attribute */
};

/* Endpoint of a key as text. */
std::string EndpointText(const BOL_SRPOLICY_NLRI_S &stKey);

class Describer {
public:
    Describer(PluginHost &host, const DescribeOptions &stOptions) : m_host(host), m_stOptions(stOptions) {}

    /* An UPDATE (or MRT RIB entry, or bare NLRI) the walker went over; the
     * walker's failures become problems. */
    void Describe(WalkedUpdate &stWalk, DescribedUpdate &stOut);
    /* A bare attribute value: normalised, then described without routes. */
    void DescribeAttribute(const uint8_t *p, size_t n, DescribedUpdate &stOut);

private:
    void Attribute(DescribedUpdate &stOut, const WireNotes &stNotes);
    /* A failed plug-in call, with the reports it made. */
    static void Fail(DescribedUpdate &stOut, const std::string &strWhat, uint32_t ulCode, int iRoute);
    void Route(DescribedUpdate &stOut, size_t ulIndex);

    PluginHost &m_host;
    DescribeOptions m_stOptions;
    Bytes m_vecScratch;
};

}  // namespace srp

#endif
