/* The decode command: inputs to routes, routes to text or JSON. */
#include "decode.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "plugin_host.h"
#include "route_output.h"
#include "update_walker.h"

namespace srp {

namespace {

/* Inputs larger than this show a progress line when stderr is a terminal. */
const uint64_t kProgressMin = 4u << 20;

struct Counters {
    uint64_t ullMessages = 0;
    uint64_t ullUpdates = 0;
    uint64_t ullRoutes = 0;
    uint64_t ullWithdrawals = 0;
    uint64_t ullSkipped = 0;
    uint64_t ullFailed = 0;
};

class Decoder : public InputSink {
public:
    Decoder(PluginHost &host, const DecodeOptions &stOptions) : m_host(host), m_stOptions(stOptions) {}

    void Message(const uint8_t *p, size_t n, const Origin &stOrigin) override
    {
        uint64_t ullIndex = ++m_stCount.ullMessages;
        if (n < 19u || p[18] != 2u) {
            return; /* OPEN, KEEPALIVE, NOTIFICATION, ROUTE-REFRESH */
        }
        m_stCount.ullUpdates++;
        Bytes vecMsg(p, p + n);
        WalkedUpdate stWalk;
        WalkUpdate(m_host, vecMsg, stWalk);
        Emit(stWalk, stOrigin, ullIndex);
    }

    void RibEntry(uint16_t usAfi, uint8_t ucSafi, const uint8_t *pNlri, size_t ulNlri, const uint8_t *pAttrs,
                  size_t ulAttrs, const Origin &stOrigin) override
    {
        (void)ucSafi;
        uint64_t ullIndex = ++m_stCount.ullMessages;
        Bytes vecNlri(pNlri, pNlri + ulNlri);
        Bytes vecAttrs(pAttrs, pAttrs + ulAttrs);
        WalkedUpdate stWalk;
        WalkRibEntry(m_host, usAfi, vecNlri, vecAttrs, stWalk);
        Emit(stWalk, stOrigin, ullIndex);
    }

    void FramingError(const std::string &strWhat, const Origin &stOrigin) override
    {
        uint64_t ullIndex = ++m_stCount.ullMessages;
        Report(stOrigin, ullIndex, strWhat);
    }

    void Skipped() override { m_stCount.ullSkipped++; }

    void Progress(uint64_t ullDone, uint64_t ullTotal) override
    {
        if (!m_bProgress || ullTotal < kProgressMin) {
            return;
        }
        uint64_t ullPercent = ullDone * 100u / ullTotal;
        if (ullPercent != m_ullLastPercent) {
            m_ullLastPercent = ullPercent;
            std::fprintf(stderr, "\rdecoding: %3llu%% (%llu messages)", static_cast<unsigned long long>(ullPercent),
                         static_cast<unsigned long long>(m_stCount.ullMessages));
            m_bProgressShown = true;
        }
    }

    /* One bare attribute value (--attr). */
    void Attribute(const Bytes &vecValue, const Origin &stOrigin)
    {
        uint64_t ullIndex = ++m_stCount.ullMessages;
        Bytes vecCopy = vecValue;
        RouteReport stRoute;
        stRoute.ullMessage = ullIndex;
        stRoute.strSource = stOrigin.strSource;
        stRoute.ullOffset = stOrigin.ullOffset;
        uint32_t ulRc = m_host.ParseTunnelEncap(vecCopy, stRoute.vecAttr);
        if (ulRc != BOL_OK) {
            Report(stOrigin, ullIndex, "Tunnel Encapsulation attribute", ulRc);
            return;
        }
        stRoute.bHasAttr = true;
        if (!Describe(stRoute, stOrigin)) {
            m_stCount.ullFailed++;
        }
        Print(stRoute);
    }

    /* Bare NLRI (--nlri). */
    void Nlri(const Bytes &vecValue, const Origin &stOrigin)
    {
        uint64_t ullIndex = ++m_stCount.ullMessages;
        Bytes vecCopy = vecValue;
        WalkedUpdate stWalk;
        WalkNlri(m_host, vecCopy, stWalk);
        Emit(stWalk, stOrigin, ullIndex);
    }

    void StartInput() { m_ullLastPercent = 101u; }

    void EndInput()
    {
        if (m_bProgressShown) {
            std::fprintf(stderr, "\r%40s\r", "");
            m_bProgressShown = false;
        }
    }

    const Counters &Count() const { return m_stCount; }

private:
    /* A failure: reported and counted. */
    void Report(const Origin &stOrigin, uint64_t ullIndex, const std::string &strWhat, uint32_t ulCode = 0u,
                size_t ulPos = 0u)
    {
        m_stCount.ullFailed++;
        Say(stOrigin, ullIndex, strWhat, ulCode, ulPos);
    }

    void Say(const Origin &stOrigin, uint64_t ullIndex, const std::string &strWhat, uint32_t ulCode, size_t ulPos)
    {
        EndInput();
        std::ostringstream os;
        os << "srpolicy: error: " << stOrigin.strSource << ": message " << ullIndex << " at offset "
           << stOrigin.ullOffset;
        if (ulPos != 0u) {
            os << " (+" << ulPos << ")";
        }
        os << ": " << strWhat;
        if (ulCode != 0u) {
            char ac[16];
            std::snprintf(ac, sizeof(ac), "0x%x", ulCode);
            os << ": " << ResultName(ulCode) << " (" << ac << ")";
        }
        std::cerr << os.str() << "\n";
    }

    /* Text, check and fields of one route through the plug-in; false when a
     * part failed (already reported). */
    bool Describe(RouteReport &stRoute, const Origin &stOrigin)
    {
        bool bOk = true;
        uint32_t ulRc;
        if (stRoute.bHasKey) {
            ulRc = m_host.KeyText(stRoute.stKey, stRoute.strKeyText);
            if (ulRc != BOL_OK) {
                ReportRoute(stOrigin, stRoute, "route key text", ulRc);
                bOk = false;
                stRoute.strKeyText = "SR Policy NLRI: distinguisher " + std::to_string(stRoute.stKey.ulDistinguisher) +
                                     ", color " + std::to_string(stRoute.stKey.ulPolicyColor) + ", endpoint " +
                                     EndpointText(stRoute.stKey);
            }
            ulRc = m_host.CheckEndpoint(stRoute.stKey, stRoute.bValid);
            stRoute.bChecked = ulRc == BOL_OK;
            if (ulRc != BOL_OK) {
                ReportRoute(stOrigin, stRoute, "route check", ulRc);
                bOk = false;
            }
        }
        if (stRoute.bHasAttr) {
            ulRc = m_host.AttrText(stRoute.stKey, stRoute.vecAttr, stRoute.strAttrText);
            if (ulRc != BOL_OK) {
                ReportRoute(stOrigin, stRoute, "attribute text", ulRc);
                bOk = false;
            }
            if (m_stOptions.bJson) {
                Bytes vecMsg;
                std::string strError;
                ulRc = m_host.CondRtAttrMessage(stRoute.stKey, stRoute.vecAttr, vecMsg);
                if (ulRc != BOL_OK) {
                    ReportRoute(stOrigin, stRoute, "attribute message", ulRc);
                    bOk = false;
                } else if (!ParseCondRtAttr(vecMsg, stRoute.stFields, strError)) {
                    ReportRoute(stOrigin, stRoute, strError, 0u);
                    bOk = false;
                } else {
                    stRoute.bHasFields = true;
                }
            }
        }
        return bOk;
    }

    /* A failed part of a route: the route is counted once by the caller. */
    void ReportRoute(const Origin &stOrigin, const RouteReport &stRoute, const std::string &strWhat, uint32_t ulCode)
    {
        Say(stOrigin, stRoute.ullMessage, strWhat, ulCode, 0u);
    }

    void Emit(WalkedUpdate &stWalk, const Origin &stOrigin, uint64_t ullIndex)
    {
        m_stCount.ullSkipped += stWalk.ulSkipped;
        for (const WalkFailure &st : stWalk.vecFailures) {
            Report(stOrigin, ullIndex, st.strWhat, st.ulCode, st.ulPos);
        }
        for (const WalkedRoute &stWalked : stWalk.vecRoutes) {
            RouteReport stRoute;
            stRoute.ullMessage = ullIndex;
            stRoute.strSource = stOrigin.strSource;
            stRoute.ullOffset = stOrigin.ullOffset;
            stRoute.bHasKey = true;
            stRoute.stKey = stWalked.stKey;
            stRoute.usAfi = stWalked.usAfi != 0u ? stWalked.usAfi
                                                  : (stWalked.stKey.ucNlriLen == BOL_SRPOLICY_NLRI_LEN_IPV4 ? 1u : 2u);
            stRoute.bWithdrawn = stWalked.bWithdrawn;
            if (!stWalked.bWithdrawn) {
                stRoute.strNextHop = stWalk.strNextHop;
                stRoute.bHasAttr = stWalk.bHasAttr;
                stRoute.ulAttrError = stWalk.ulAttrError;
                stRoute.vecAttr = stWalk.vecAttr;
            }
            m_stCount.ullRoutes++;
            if (stWalked.bWithdrawn) {
                m_stCount.ullWithdrawals++;
            }
            if (!Describe(stRoute, stOrigin)) {
                m_stCount.ullFailed++;
            }
            Print(stRoute);
        }
    }

    void Print(const RouteReport &stRoute)
    {
        EndInput();
        std::cout << (m_stOptions.bJson ? RouteJson(stRoute) + "\n" : RouteText(stRoute));
    }

    PluginHost &m_host;
    const DecodeOptions &m_stOptions;
    Counters m_stCount;
    bool m_bProgress = isatty(STDERR_FILENO) == 1;
    bool m_bProgressShown = false;
    uint64_t m_ullLastPercent = 101u;
};

bool ReadAll(const std::string &strPath, Bytes &vecOut)
{
    if (strPath == "-") {
        vecOut.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        return !std::cin.bad();
    }
    std::ifstream is(strPath, std::ios::binary);
    if (!is) {
        return false;
    }
    vecOut.assign(std::istreambuf_iterator<char>(is), std::istreambuf_iterator<char>());
    return !is.bad();
}

/* Bare values, one hex value per line. */
bool ReadValues(Decoder &dec, DecodeMode eMode, const Bytes &vecData, const std::string &strSource,
                std::string &strError)
{
    std::vector<Bytes> vecValues;
    if (!ParseHexLines(std::string(vecData.begin(), vecData.end()), vecValues, strError)) {
        return false;
    }
    for (size_t i = 0; i < vecValues.size(); i++) {
        Origin stOrigin{strSource + " value " + std::to_string(i + 1u), 0u};
        if (eMode == DecodeMode::Attributes) {
            dec.Attribute(vecValues[i], stOrigin);
        } else {
            dec.Nlri(vecValues[i], stOrigin);
        }
    }
    return true;
}

bool ReadInput(Decoder &dec, const DecodeOptions &stOptions, const Bytes &vecData, const std::string &strSource,
               std::string &strError)
{
    if (stOptions.eMode != DecodeMode::Messages) {
        return ReadValues(dec, stOptions.eMode, vecData, strSource, strError);
    }
    Format eFormat = stOptions.eFormat;
    if (eFormat == Format::Auto && !DetectFormat(vecData.data(), vecData.size(), eFormat)) {
        strError = vecData.empty() ? "empty input" : "unknown input format (use --in)";
        return false;
    }
    switch (eFormat) {
        case Format::Hex: return ReadHexMessages(vecData, strSource, dec, strError);
        case Format::Pcap: return ReadPcap(vecData.data(), vecData.size(), strSource, dec, strError);
        case Format::Mrt: ReadMrt(vecData.data(), vecData.size(), strSource, dec); return true;
        default: ReadRawMessages(vecData.data(), vecData.size(), strSource, dec); return true;
    }
}

}  // namespace

int RunDecode(const DecodeOptions &stOptions)
{
    PluginHost host;
    if (!host.Ok()) {
        std::cerr << "srpolicy: the plug-in could not be constructed\n";
        return 2;
    }
    Decoder dec(host, stOptions);
    std::vector<std::string> vecInputs = stOptions.vecInputs;
    if (vecInputs.empty()) {
        vecInputs.push_back("-");
    }
    bool bUnreadable = false;
    for (const std::string &strPath : vecInputs) {
        Bytes vecData;
        std::string strSource = strPath == "-" ? "stdin" : strPath;
        std::string strError;
        if (!ReadAll(strPath, vecData)) {
            std::cerr << "srpolicy: cannot read " << strSource << "\n";
            bUnreadable = true;
            continue;
        }
        dec.StartInput();
        if (!ReadInput(dec, stOptions, vecData, strSource, strError)) {
            std::cerr << "srpolicy: " << strSource << ": " << strError << "\n";
            bUnreadable = true;
        }
        dec.EndInput();
    }
    std::cout.flush();
    const Counters &st = dec.Count();
    std::cerr << "summary: messages " << st.ullMessages << ", updates " << st.ullUpdates << ", routes "
              << st.ullRoutes << ", withdrawals " << st.ullWithdrawals << ", skipped " << st.ullSkipped
              << ", failed " << st.ullFailed << "\n";
    if (bUnreadable) {
        return 2;
    }
    return st.ullFailed == 0u ? 0 : 1;
}

}  // namespace srp
