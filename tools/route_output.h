/*
 * What `srpolicy decode` shows of one route, and its two forms: the text
 * block and the JSON object (one per line). The JSON code lives apart so that
 * only its translation unit includes the JSON library.
 */
#ifndef SRPOLICY_TOOL_ROUTE_OUTPUT_H
#define SRPOLICY_TOOL_ROUTE_OUTPUT_H

#include <cstdint>
#include <string>

#include "bol_srpolicy.h"
#include "bytes.h"
#include "condrt.h"

namespace srp {

struct RouteReport {
    uint64_t ullMessage = 0; /* index of the message (1-based) */
    std::string strSource;
    uint64_t ullOffset = 0; /* byte offset of the message */
    bool bHasKey = false;
    BOL_SRPOLICY_NLRI_S stKey{};
    uint16_t usAfi = 0;
    bool bWithdrawn = false;
    std::string strKeyText;
    bool bChecked = false; /* the route check answered */
    bool bValid = false;
    std::string strNextHop;
    bool bHasAttr = false;
    uint32_t ulAttrError = 0; /* the attribute parser's refusal, if any */
    Bytes vecAttr;            /* normalised attribute value */
    std::string strAttrText;
    bool bHasFields = false;
    AttrFields stFields;
};

std::string RouteText(const RouteReport &stRoute);
std::string RouteJson(const RouteReport &stRoute);

/* Endpoint of a key as text. */
std::string EndpointText(const BOL_SRPOLICY_NLRI_S &stKey);

}  // namespace srp

#endif
