/* The decode command: inputs to routes, routes to text or JSON. */
#include "decode.h"

#include <unistd.h>

#include <cstdio>
#include <algorithm>
#include <iostream>

#include "bgp/message_stream.h"
#include "bmp/monitor.h"
#include "input/source.h"
#include "bgp/update_walker.h"
#include "output/printer.h"
#include "output/rib_printer.h"
#include "plugin/describer.h"
#include "plugin/plugin_host.h"
#include "rib/rib.h"

namespace srp {

namespace {

/* Inputs larger than this show a progress line when stderr is a terminal. */
const uint64_t kProgressMin = 4u << 20;

struct Counters : RouteCounts {
    uint64_t ullMessages = 0;
};

/* Receives what the readers frame and takes it down the road: walker,
 * describer, printer; problems go to standard error, counts to the summary. */
class Decoder : public InputSink {
public:
    Decoder(PluginHost &host, const DecodeOptions &stOptions, OutBuffer &out)
        : m_host(host),
          m_stDescribe{!stOptions.bJson, stOptions.bJson},
          m_describer(host, m_stDescribe),
          m_out(out),
          m_bVerbose(stOptions.bVerbose),
          m_pPrinter(MakePrinter(stOptions.bJson ? PrintForm::Json : PrintForm::Text, out)),
          m_bRib(stOptions.bRib),
          m_monitor(host, m_rib, out, bmp::MonitorOptions{stOptions.bJson, stOptions.bVerbose, false})
    {
    }

    /* A BMP message: the monitor shows it, and decodes the UPDATEs it
     * carries; a malformed one is reported and the stream goes on. */
    void BmpMessage(const uint8_t *p, size_t n, const Origin &stOrigin) override
    {
        Start(stOrigin);
        m_ullFound++;
        std::string strError;
        if (!m_monitor.Handle(stOrigin.strSource, stOrigin.strSource, p, n, stOrigin.ullOffset, m_stCtx.ullMessage,
                              strError)) {
            Say(Problem(strError));
        }
    }

    void Message(const uint8_t *p, size_t n, const Origin &stOrigin) override
    {
        Start(stOrigin);
        m_ullFound++;
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
        m_ullFound++;
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
        Say(Problem(strWhat));
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

    void StartInput(const std::string &strSource)
    {
        m_strInput = strSource;
        m_ullLastPercent = 101u;
        m_ullFound = 0;
    }

    /* BGP messages and RIB entries the current input held. */
    uint64_t FoundInInput() const { return m_ullFound; }

    void EndInput()
    {
        if (m_bProgressShown) {
            std::fprintf(stderr, "\r%40s\r", "");
            m_bProgressShown = false;
        }
    }

    /* The counts, those of BMP streams included. */
    Counters Count() const
    {
        Counters st = m_stCount;
        st += m_monitor.Count();
        return st;
    }
    /* The table the inputs left (--rib). */
    void PrintTable() { PrintRib(m_rib, m_host, *m_pPrinter, m_stDescribe); }

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
        if (m_bRib) {
            /* A capture tells its senders apart by their TCP flow; a stream of
             * messages has one sender, whichever file holds its part. */
            RibSource stSource;
            const std::string &strFrom = m_stCtx.strSource;
            if (strFrom.size() > m_strInput.size() && strFrom.compare(0, m_strInput.size(), m_strInput) == 0 &&
                strFrom[m_strInput.size()] == ' ') {
                stSource.strPeer = strFrom.substr(m_strInput.size() + 1u);
            }
            ApplyUpdate(m_rib, stSource, m_stUpdate, 0.0);
        }
        Print();
    }

    void Print()
    {
        m_stCount.Add(m_stUpdate);
        for (const Problem &st : m_stUpdate.vecProblems) {
            Say(st);
        }
        if (m_bVerbose) {
            for (const std::string &strNote : m_stUpdate.vecNotes) {
                Say(Problem("plug-in report " + strNote), "note");
            }
        }
        EndInput();
        if (!m_bRib) {
            m_pPrinter->Update(m_stCtx, m_stUpdate);
        }
    }

    void Say(const Problem &stProblem, const char *pcKind = "error")
    {
        EndInput();
        if (m_out.Interactive()) { /* keep the error next to the routes on a terminal */
            m_out.Flush();
        }
        std::string strLine = ProblemLine(m_stCtx, stProblem);
        if (pcKind[0] != 'e') {
            strLine.replace(strLine.find("error"), 5u, pcKind);
        }
        strLine.push_back('\n');
        std::fwrite(strLine.data(), 1u, strLine.size(), stderr);
    }

    PluginHost &m_host;
    DescribeOptions m_stDescribe; /* what the printer's form needs */
    Describer m_describer;
    OutBuffer &m_out;
    bool m_bVerbose;
    std::unique_ptr<Printer> m_pPrinter;
    EventContext m_stCtx;
    Bytes m_vecMsg;
    WalkedUpdate m_stWalk;
    DescribedUpdate m_stUpdate;
    Counters m_stCount;
    bool m_bRib;
    Rib m_rib;
    std::string m_strInput; /* name of the input being read */
    bool m_bProgress = isatty(STDERR_FILENO) == 1;
    bool m_bProgressShown = false;
    uint64_t m_ullLastPercent = 101u;
    uint64_t m_ullFound = 0;
    bmp::Monitor m_monitor; /* BMP streams, into the same table */
};

/* How much of an input is looked at to tell its format. */
const size_t kDetectLen = 65536u;

/* Bare values, one hex value per line, streamed line by line. */
bool ReadValues(Decoder &dec, DecodeMode eMode, InputFile &in, const std::string &strSource, std::string &strError)
{
    HexText hex;
    std::string strLine;
    Bytes vecValue;
    uint64_t ullValue = 0;
    uint8_t auc[65536];
    bool bEnd = false;
    while (!bEnd) {
        size_t n = in.Read(auc, sizeof(auc));
        bEnd = n == 0u;
        for (size_t i = 0; i < n || (bEnd && !strLine.empty()); i++) {
            if (i < n && auc[i] != '\n') {
                strLine.push_back(static_cast<char>(auc[i]));
                continue;
            }
            vecValue.clear();
            if (!hex.Line(strLine.data(), strLine.size(), vecValue, strError) || !hex.Finish(strError)) {
                return false;
            }
            strLine.clear();
            if (vecValue.empty()) {
                continue;
            }
            Origin stOrigin{strSource + " value " + std::to_string(++ullValue), 0u};
            if (eMode == DecodeMode::Attributes) {
                dec.Attribute(vecValue, stOrigin);
            } else {
                dec.Nlri(vecValue, stOrigin);
            }
        }
    }
    if (!in.Error().empty()) {
        strError = "cannot read " + strSource + ": " + in.Error();
        return false;
    }
    return true;
}

/* What the first hex line of an input looks like when it is not a BGP
 * message: a bare attribute value or bare NLRI. */
std::string HexHint(const Bytes &vecPeek)
{
    std::string strText(vecPeek.begin(), vecPeek.end());
    HexText hex;
    Bytes vecFirst;
    std::string strError;
    ForEachLine(strText, [&](const char *p, size_t n) { return hex.Line(p, n, vecFirst, strError) && vecFirst.empty(); });
    const std::string strMarker = "BGP messages start with 16 bytes of ff";
    if (vecFirst.size() >= 4u && Be16(vecFirst.data()) == 15u) {
        return strMarker + "; the first line looks like a Tunnel Encapsulation attribute value (tunnel type 15): "
                           "try --attr";
    }
    if ((vecFirst.size() == 13u && vecFirst[0] == 96u) || (vecFirst.size() == 25u && vecFirst[0] == 192u)) {
        return strMarker + "; the first line looks like an SR Policy NLRI: try --nlri";
    }
    return strMarker;
}

/* Why a capture held no BGP message, from what its reader saw. */
std::string CaptureHint(const ReadStats &st, const ReadOptions &stRead)
{
    if (!st.bLinkKnown) {
        return "its link type " + std::to_string(st.iLinkType) +
               " is not one srpolicy reads (Ethernet, Linux cooked, raw IPv4/IPv6, loopback)";
    }
    if (st.ullTcpPackets == 0u) {
        return "none of its " + std::to_string(st.ullPackets) + " packets is TCP over IPv4 or IPv6";
    }
    std::string strPorts;
    for (uint16_t us : stRead.vecPorts) {
        strPorts += (strPorts.empty() ? "" : ", ") + std::to_string(us);
    }
    if (st.mapOtherPorts.empty()) {
        return "its TCP data on port " + strPorts + " is not BGP";
    }
    std::vector<std::pair<uint64_t, uint16_t>> vecBusy;
    for (const auto &it : st.mapOtherPorts) {
        vecBusy.emplace_back(it.second, it.first);
    }
    std::sort(vecBusy.rbegin(), vecBusy.rend());
    std::string strOther;
    for (size_t i = 0; i < vecBusy.size() && i < 3u; i++) {
        strOther += (i == 0u ? "" : ", ") + std::to_string(vecBusy[i].second) + " (" +
                    std::to_string(vecBusy[i].first) + " packets)";
    }
    return "no TCP on port " + strPorts + "; TCP seen on ports " + strOther + ": give --port N to follow BGP there";
}

/* One input through its reader. False (with strError) when it cannot be
 * read at all; strHint explains an input in which no message turns up. */
bool ReadInput(Decoder &dec, const DecodeOptions &stOptions, InputFile &in, const std::string &strSource,
               std::string &strHint, std::string &strError)
{
    if (stOptions.eMode != DecodeMode::Messages) {
        return ReadValues(dec, stOptions.eMode, in, strSource, strError);
    }
    const Bytes &vecPeek = in.Peek(kDetectLen);
    Format eFormat = stOptions.eFormat;
    if (eFormat == Format::Auto && !DetectFormat(vecPeek.data(), vecPeek.size(), eFormat)) {
        strError = vecPeek.empty() ? "empty input" : "unknown input format (use --in)";
        return false;
    }
    ReadOptions stRead;
    if (!stOptions.vecPorts.empty()) {
        stRead.vecPorts = stOptions.vecPorts;
    }
    ReadStats stStats;
    bool bOk;
    switch (eFormat) {
        case Format::Hex:
            strHint = HexHint(vecPeek);
            return ReadHexMessages(in, strSource, dec, strError);
        case Format::Pcap:
            bOk = ReadPcap(in, strSource, stRead, dec, stStats, strError);
            strHint = CaptureHint(stStats, stRead);
            return bOk;
        case Format::Bmp:
            strHint = "no whole BMP message in it";
            return ReadBmp(in, strSource, dec, strError);
        case Format::Mrt:
            strHint = "its MRT records hold no BGP message and no SR Policy RIB entry";
            return ReadMrt(in, strSource, dec, strError);
        default:
            strHint = "BGP messages start with 16 bytes of ff";
            return ReadRawMessages(in, strSource, dec, strError);
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
    bool bNothingFound = false;
    for (const std::string &strPath : vecInputs) {
        std::string strSource = strPath == "-" ? "stdin" : strPath;
        std::string strError;
        std::string strHint;
        InputFile in;
        if (!in.Open(strPath, strError)) {
            std::cerr << "srpolicy: " << strError << "\n";
            bUnreadable = true;
            continue;
        }
        dec.StartInput(strSource);
        if (!ReadInput(dec, stOptions, in, strSource, strHint, strError)) {
            dec.EndInput();
            out.Flush();
            std::cerr << "srpolicy: " << strSource << ": " << strError << "\n";
            bUnreadable = true;
            continue;
        }
        dec.EndInput();
        if (stOptions.eMode == DecodeMode::Messages && dec.FoundInInput() == 0u) {
            out.Flush();
            std::cerr << "srpolicy: " << strSource << ": no BGP message found: " << strHint << "\n";
            bNothingFound = true;
        }
    }
    if (stOptions.bRib) {
        dec.PrintTable();
    }
    out.Flush();
    Counters st = dec.Count();
    std::cerr << "summary: messages " << st.ullMessages << ", updates " << st.ullUpdates << ", routes "
              << st.ullRoutes << ", withdrawals " << st.ullWithdrawals << ", skipped " << st.ullSkipped
              << ", failed " << st.ullFailed << "\n";
    if (bUnreadable) {
        return 2;
    }
    return st.ullFailed == 0u && !bNothingFound ? 0 : 1;
}

}  // namespace srp
