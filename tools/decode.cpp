/* The decode command: inputs to routes, routes to text or JSON. */
#include "decode.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "bgp/message_stream.h"
#include "bgp/update_walker.h"
#include "output/printer.h"
#include "plugin/describer.h"
#include "plugin/plugin_host.h"

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

/* Receives what the readers frame and takes it down the road: walker,
 * describer, printer; problems go to standard error, counts to the summary. */
class Decoder : public InputSink {
public:
    Decoder(PluginHost &host, const DecodeOptions &stOptions, OutBuffer &out)
        : m_host(host),
          m_describer(host, DescribeOptions{!stOptions.bJson, true}),
          m_out(out),
          m_pPrinter(MakePrinter(stOptions.bJson ? PrintForm::Json : PrintForm::Text, out))
    {
    }

    void Message(const uint8_t *p, size_t n, const Origin &stOrigin) override
    {
        Start(stOrigin);
        if (n < kBgpHeaderLen || p[18] != kBgpUpdate) {
            return; /* OPEN, KEEPALIVE, NOTIFICATION, ROUTE-REFRESH */
        }
        m_stCount.ullUpdates++;
        m_vecMsg.assign(p, p + n);
        m_stWalk.Clear();
        WalkUpdate(m_host, m_vecMsg, m_stWalk);
        Finish();
    }

    void RibEntry(uint16_t usAfi, uint8_t ucSafi, const uint8_t *pNlri, size_t ulNlri, const uint8_t *pAttrs,
                  size_t ulAttrs, const Origin &stOrigin) override
    {
        (void)ucSafi;
        Start(stOrigin);
        Bytes vecNlri(pNlri, pNlri + ulNlri);
        Bytes vecAttrs(pAttrs, pAttrs + ulAttrs);
        m_stWalk.Clear();
        WalkRibEntry(m_host, usAfi, vecNlri, vecAttrs, m_stWalk);
        Finish();
    }

    void FramingError(const std::string &strWhat, const Origin &stOrigin) override
    {
        Start(stOrigin);
        m_stCount.ullFailed++;
        Say(Problem{strWhat, 0u, 0u, -1});
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
        Start(stOrigin);
        m_describer.DescribeAttribute(vecValue.data(), vecValue.size(), m_stUpdate);
        Print();
    }

    /* Bare NLRI (--nlri). */
    void Nlri(const Bytes &vecValue, const Origin &stOrigin)
    {
        Start(stOrigin);
        Bytes vecCopy = vecValue;
        m_stWalk.Clear();
        WalkNlri(m_host, vecCopy, m_stWalk);
        Finish();
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
    void Start(const Origin &stOrigin)
    {
        m_stCtx.ullMessage = ++m_stCount.ullMessages;
        m_stCtx.strSource = stOrigin.strSource;
        m_stCtx.ullOffset = stOrigin.ullOffset;
    }

    /* The walked message through the describer to the printer. */
    void Finish()
    {
        m_describer.Describe(m_stWalk, m_stUpdate);
        m_stCount.ullRoutes += m_stUpdate.vecRoutes.size();
        for (const DescribedRoute &st : m_stUpdate.vecRoutes) {
            m_stCount.ullWithdrawals += st.bWithdrawn ? 1u : 0u;
        }
        Print();
    }

    void Print()
    {
        m_stCount.ullSkipped += m_stUpdate.ulSkipped;
        m_stCount.ullFailed += m_stUpdate.Failures();
        for (const Problem &st : m_stUpdate.vecProblems) {
            Say(st);
        }
        EndInput();
        m_pPrinter->Update(m_stCtx, m_stUpdate);
    }

    void Say(const Problem &stProblem)
    {
        EndInput();
        if (m_out.Interactive()) { /* keep the error next to the routes on a terminal */
            m_out.Flush();
        }
        std::string strLine = ProblemLine(m_stCtx, stProblem);
        strLine.push_back('\n');
        std::fwrite(strLine.data(), 1u, strLine.size(), stderr);
    }

    PluginHost &m_host;
    Describer m_describer;
    OutBuffer &m_out;
    std::unique_ptr<Printer> m_pPrinter;
    EventContext m_stCtx;
    Bytes m_vecMsg;
    WalkedUpdate m_stWalk;
    DescribedUpdate m_stUpdate;
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
    OutBuffer out(STDOUT_FILENO);
    Decoder dec(host, stOptions, out);
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
    out.Flush();
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
