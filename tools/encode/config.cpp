/* Reading the JSON configuration of `srpolicy encode`. */
#include <nlohmann/json.hpp>

#include <algorithm>

#include "encode/encode.h"

namespace srp {

namespace {

using nlohmann::json;

const uint32_t kMaxLabel = 0xFFFFFu;
const size_t kMaxSegments = 16u;
const size_t kMaxSegmentLists = 64u;

/* A configuration error with the path of the field. */
struct ConfigError {
    std::string strWhat;
};

[[noreturn]] void Bad(const std::string &strPath, const std::string &strWhat)
{
    throw ConfigError{strPath + ": " + strWhat};
}

void OnlyKeys(const json &j, const std::string &strPath, std::initializer_list<const char *> lstKeys)
{
    if (!j.is_object()) {
        Bad(strPath, "must be an object");
    }
    for (const auto &it : j.items()) {
        bool bKnown = false;
        for (const char *pc : lstKeys) {
            bKnown = bKnown || it.key() == pc;
        }
        if (!bKnown) {
            Bad(strPath + "." + it.key(), "unknown field");
        }
    }
}

uint32_t Number(const json &j, const std::string &strPath, uint64_t ullMax = 0xFFFFFFFFu)
{
    if (!j.is_number_unsigned() || j.get<uint64_t>() > ullMax) {
        Bad(strPath, "must be a whole number from 0 to " + std::to_string(ullMax));
    }
    return static_cast<uint32_t>(j.get<uint64_t>());
}

std::optional<uint32_t> OptNumber(const json &j, const char *pcKey, const std::string &strPath,
                                  uint64_t ullMax = 0xFFFFFFFFu)
{
    if (!j.contains(pcKey)) {
        return std::nullopt;
    }
    return Number(j.at(pcKey), strPath + "." + pcKey, ullMax);
}

bool Flag(const json &j, const char *pcKey, const std::string &strPath)
{
    if (!j.contains(pcKey)) {
        return false;
    }
    if (!j.at(pcKey).is_boolean()) {
        Bad(strPath + "." + pcKey, "must be true or false");
    }
    return j.at(pcKey).get<bool>();
}

Bytes Address(const json &j, const std::string &strPath)
{
    Bytes vec;
    if (!j.is_string() || !ParseAddress(j.get<std::string>(), vec)) {
        Bad(strPath, "must be an IPv4 or IPv6 address");
    }
    return vec;
}

Sid SidOf(const json &j, const std::string &strPath)
{
    Bytes vec = Address(j, strPath);
    if (vec.size() != 16u) {
        Bad(strPath, "must be an IPv6 address (SRv6 SID)");
    }
    Sid a{};
    std::copy(vec.begin(), vec.end(), a.begin());
    bool bZero = std::all_of(a.begin(), a.end(), [](uint8_t uc) { return uc == 0u; });
    if (bZero) {
        Bad(strPath, "must not be ::");
    }
    return a;
}

/* bPast128: lengths adding up past 128 bits are taken as configured (the
 * encoder warns about them) instead of refused. */
SidStructure StructureOf(const json &j, const std::string &strPath, bool bPast128 = false)
{
    OnlyKeys(j, strPath, {"lb", "ln", "func", "arg"});
    SidStructure st;
    const char *apcKeys[] = {"lb", "ln", "func", "arg"};
    unsigned uSum = 0;
    for (size_t i = 0; i < 4u; i++) {
        st.aucLen[i] = static_cast<uint8_t>(OptNumber(j, apcKeys[i], strPath, 128u).value_or(0u));
        uSum += st.aucLen[i];
    }
    if (uSum > 128u && !bPast128) {
        Bad(strPath, "lengths add up to more than 128");
    }
    return st;
}

CfgBindingSid BindingSidOf(const json &j, const std::string &strPath)
{
    OnlyKeys(j, strPath, {"label", "sid", "s_flag", "i_flag"});
    CfgBindingSid st;
    st.oLabel = OptNumber(j, "label", strPath, kMaxLabel);
    if (st.oLabel && *st.oLabel == 0u) {
        Bad(strPath + ".label", "label 0 cannot be encoded (it means no label)");
    }
    if (j.contains("sid")) {
        st.oSid = SidOf(j.at("sid"), strPath + ".sid");
    }
    if (st.oLabel && st.oSid) {
        Bad(strPath, "give a label or a sid, not both");
    }
    st.bSFlag = Flag(j, "s_flag", strPath);
    st.bIFlag = Flag(j, "i_flag", strPath);
    return st;
}

CfgSrv6BindingSid Srv6BindingSidOf(const json &j, const std::string &strPath)
{
    OnlyKeys(j, strPath, {"sid", "s_flag", "i_flag", "endpoint_behavior", "structure"});
    if (!j.contains("sid")) {
        Bad(strPath + ".sid", "missing");
    }
    CfgSrv6BindingSid st;
    st.aSid = SidOf(j.at("sid"), strPath + ".sid");
    st.ucFlags = static_cast<uint8_t>((Flag(j, "s_flag", strPath) ? 0x80u : 0u) |
                                      (Flag(j, "i_flag", strPath) ? 0x40u : 0u));
    if (j.contains("endpoint_behavior") || j.contains("structure")) {
        st.ucFlags |= 0x20u;
        st.usBehavior = static_cast<uint16_t>(OptNumber(j, "endpoint_behavior", strPath, 0xFFFFu).value_or(0u));
        if (j.contains("structure")) {
            st.stStructure = StructureOf(j.at("structure"), strPath + ".structure", true);
        }
    }
    return st;
}

CfgSegListBsid SegListBsidOf(const json &j, const std::string &strPath)
{
    OnlyKeys(j, strPath, {"sid", "reverse_sid", "endpoint_behavior", "structure", "reverse_endpoint_behavior",
                          "reverse_structure"});
    if (!j.contains("sid")) {
        Bad(strPath + ".sid", "missing");
    }
    CfgSegListBsid st;
    st.aSid = SidOf(j.at("sid"), strPath + ".sid");
    if (j.contains("reverse_sid")) {
        st.oReverse = SidOf(j.at("reverse_sid"), strPath + ".reverse_sid");
    }
    st.bWithBehavior = j.contains("endpoint_behavior") || j.contains("structure") ||
                       j.contains("reverse_endpoint_behavior") || j.contains("reverse_structure");
    st.usBehavior = static_cast<uint16_t>(OptNumber(j, "endpoint_behavior", strPath, 0xFFFFu).value_or(0u));
    st.usReverseBehavior =
        static_cast<uint16_t>(OptNumber(j, "reverse_endpoint_behavior", strPath, 0xFFFFu).value_or(0u));
    if (j.contains("structure")) {
        st.stStructure = StructureOf(j.at("structure"), strPath + ".structure");
    }
    if (j.contains("reverse_structure")) {
        st.stReverseStructure = StructureOf(j.at("reverse_structure"), strPath + ".reverse_structure");
    }
    return st;
}

CfgSegmentList SegmentListOf(const json &j, const std::string &strPath)
{
    OnlyKeys(j, strPath, {"weight", "path_mtu", "binding_sid", "segments"});
    CfgSegmentList st;
    st.oWeight = OptNumber(j, "weight", strPath);
    st.oPathMtu = OptNumber(j, "path_mtu", strPath);
    if (j.contains("binding_sid")) {
        st.oBindingSid = SegListBsidOf(j.at("binding_sid"), strPath + ".binding_sid");
    }
    const json jSegs = j.value("segments", json::array());
    if (!jSegs.is_array() || jSegs.size() > kMaxSegments) {
        Bad(strPath + ".segments", "must be a list of at most 16 segments");
    }
    for (size_t i = 0; i < jSegs.size(); i++) {
        std::string strSeg = strPath + ".segments[" + std::to_string(i) + "]";
        OnlyKeys(jSegs[i], strSeg, {"label", "sid"});
        if (jSegs[i].contains("label") == jSegs[i].contains("sid")) {
            Bad(strSeg, "give exactly one of label and sid");
        }
        if (jSegs[i].contains("label")) {
            st.vecLabels.push_back(Number(jSegs[i].at("label"), strSeg + ".label", kMaxLabel));
        } else {
            st.vecSids.push_back(SidOf(jSegs[i].at("sid"), strSeg + ".sid"));
        }
    }
    if (!st.vecLabels.empty() && !st.vecSids.empty()) {
        Bad(strPath + ".segments", "one segment list holds labels or SIDs, not both");
    }
    return st;
}

uint8_t OriginOf(const json &j, const std::string &strPath)
{
    static const char *apcNames[] = {"igp", "egp", "incomplete"};
    for (uint8_t i = 0; i < 3u; i++) {
        if (j.is_string() && j.get<std::string>() == apcNames[i]) {
            return i;
        }
    }
    Bad(strPath, "must be \"igp\", \"egp\" or \"incomplete\"");
}

std::vector<uint32_t> AsPathOf(const json &j, const std::string &strPath)
{
    if (!j.is_array() || j.size() > 255u) {
        Bad(strPath, "must be a list of at most 255 AS numbers");
    }
    std::vector<uint32_t> vec;
    for (size_t i = 0; i < j.size(); i++) {
        vec.push_back(Number(j[i], strPath + "[" + std::to_string(i) + "]"));
    }
    return vec;
}

CfgRoute RouteOf(const json &j, const json &jDefaults, const std::string &strPath)
{
    OnlyKeys(j, strPath, {"endpoint", "color", "distinguisher", "next_hop", "origin", "as_path", "preference",
                          "binding_sid", "srv6_binding_sids", "segment_lists", "template_id", "slice_id"});
    CfgRoute st;
    if (!j.contains("endpoint")) {
        Bad(strPath + ".endpoint", "missing");
    }
    st.vecEndpoint = Address(j.at("endpoint"), strPath + ".endpoint");
    st.ulColor = OptNumber(j, "color", strPath).value_or(0u);
    st.ulDistinguisher = OptNumber(j, "distinguisher", strPath).value_or(0u);
    /* Session attributes: the route's own, else the defaults. */
    auto pick = [&](const char *pcKey) -> std::pair<const json *, std::string> {
        if (j.contains(pcKey)) {
            return {&j.at(pcKey), strPath + "." + pcKey};
        }
        if (jDefaults.contains(pcKey)) {
            return {&jDefaults.at(pcKey), std::string("defaults.") + pcKey};
        }
        return {nullptr, ""};
    };
    auto pNh = pick("next_hop");
    st.vecNextHop = pNh.first != nullptr ? Address(*pNh.first, pNh.second) : Bytes{192, 0, 2, 1};
    auto pOrigin = pick("origin");
    st.ucOrigin = pOrigin.first != nullptr ? OriginOf(*pOrigin.first, pOrigin.second) : 0u;
    auto pAsPath = pick("as_path");
    if (pAsPath.first != nullptr) {
        st.vecAsPath = AsPathOf(*pAsPath.first, pAsPath.second);
    }
    st.oPreference = OptNumber(j, "preference", strPath);
    if (j.contains("binding_sid")) {
        st.oBindingSid = BindingSidOf(j.at("binding_sid"), strPath + ".binding_sid");
    }
    const json jSrv6 = j.value("srv6_binding_sids", json::array());
    if (!jSrv6.is_array()) {
        Bad(strPath + ".srv6_binding_sids", "must be a list");
    }
    for (size_t i = 0; i < jSrv6.size(); i++) {
        st.vecSrv6BindingSids.push_back(
            Srv6BindingSidOf(jSrv6[i], strPath + ".srv6_binding_sids[" + std::to_string(i) + "]"));
    }
    const json jLists = j.value("segment_lists", json::array());
    if (!jLists.is_array() || jLists.size() > kMaxSegmentLists) {
        Bad(strPath + ".segment_lists", "must be a list of at most 64 segment lists");
    }
    for (size_t i = 0; i < jLists.size(); i++) {
        st.vecSegmentLists.push_back(SegmentListOf(jLists[i], strPath + ".segment_lists[" + std::to_string(i) + "]"));
    }
    st.oTemplateId = OptNumber(j, "template_id", strPath);
    st.oSliceId = OptNumber(j, "slice_id", strPath);
    return st;
}

}  // namespace

namespace {

template <class Input>
bool LoadFrom(Input &&in, std::vector<CfgRoute> &vecRoutes, std::string &strError)
{
    /* Each route is turned into its record as soon as the parser has read
     * it, and dropped from the document, so that a large configuration is
     * never held as a whole document. Routes that come before the defaults
     * stay in the document until the end, since they need them. */
    json jDefaults = json::object();
    bool bDefaultsRead = false;
    bool bRoutesKept = false;
    std::string strTopKey;
    size_t ulRoute = 0;
    json::parser_callback_t fnEvent = [&](int iDepth, json::parse_event_t eEvent, json &jParsed) {
        if (iDepth == 1 && eEvent == json::parse_event_t::key) {
            strTopKey = jParsed.get<std::string>();
        } else if (iDepth == 1 && eEvent == json::parse_event_t::object_end && strTopKey == "defaults") {
            jDefaults = jParsed;
            OnlyKeys(jDefaults, "defaults", {"next_hop", "origin", "as_path"});
            bDefaultsRead = true;
        } else if (iDepth == 2 && eEvent == json::parse_event_t::object_end && strTopKey == "routes") {
            if (!bDefaultsRead) {
                bRoutesKept = true;
                return true;
            }
            vecRoutes.push_back(RouteOf(jParsed, jDefaults, "routes[" + std::to_string(ulRoute++) + "]"));
            return false;
        }
        return true;
    };
    try {
        json j = json::parse(std::forward<Input>(in), fnEvent);
        OnlyKeys(j, "config", {"defaults", "routes"});
        if (!j.contains("routes") || !j.at("routes").is_array() || (j.at("routes").empty() && ulRoute == 0u)) {
            Bad("routes", "must be a non-empty list");
        }
        if (bRoutesKept) {
            const json &jRoutes = j.at("routes");
            for (size_t i = 0; i < jRoutes.size(); i++) {
                vecRoutes.push_back(RouteOf(jRoutes[i], jDefaults, "routes[" + std::to_string(i) + "]"));
            }
        }
    } catch (const ConfigError &e) {
        strError = e.strWhat;
        return false;
    } catch (const json::exception &e) {
        strError = e.what();
        return false;
    }
    return true;
}

}  // namespace

bool LoadConfig(const std::string &strText, std::vector<CfgRoute> &vecRoutes, std::string &strError)
{
    return LoadFrom(strText, vecRoutes, strError);
}

bool LoadConfig(std::FILE *pFile, std::vector<CfgRoute> &vecRoutes, std::string &strError)
{
    return LoadFrom(pFile, vecRoutes, strError);
}

}  // namespace srp
