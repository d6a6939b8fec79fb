/*
 * srpolicy: a command-line BGP host for the SR Policy plug-in.
 *   srpolicy decode [FILE...]   UPDATEs (hex, raw, pcap/pcapng, MRT) to routes
 *   srpolicy encode CONFIG.json configured routes to UPDATEs
 */
#include <CLI/CLI.hpp>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "bol_srpolicy.h"
#include "decode.h"
#include "encode.h"

#ifndef SRPOLICY_SAMPLE
#define SRPOLICY_SAMPLE "samples/all_subtlvs.hex"
#endif

/* The bundled sample: $SRPOLICY_SAMPLE, else the installed copy (its path
 * relative to the program's folder), else the source tree's. */
static std::string SamplePath()
{
    const char *pcSample = getenv("SRPOLICY_SAMPLE");
    if (pcSample != nullptr) {
        return pcSample;
    }
#ifdef SRPOLICY_INSTALLED_SAMPLE
    std::error_code ec;
    const std::filesystem::path pathExe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (!ec) {
        const std::filesystem::path pathSample = pathExe.parent_path() / SRPOLICY_INSTALLED_SAMPLE;
        if (std::filesystem::is_regular_file(pathSample, ec)) {
            return pathSample.lexically_normal().string();
        }
    }
#endif
    return SRPOLICY_SAMPLE;
}

int main(int argc, char **argv)
{
    CLI::App app{"srpolicy: decode and encode BGP SR Policy routes through the SR Policy plug-in"};
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("srpolicy ") + BOL_SRPOLICY_VERSION_STRING);

    srp::DecodeOptions stDecode;
    std::string strIn = "auto";
    bool bSample = false;
    bool bAttr = false;
    bool bNlri = false;
    CLI::App *pDecode = app.add_subcommand("decode", "decode BGP messages and print their SR Policy routes");
    pDecode->add_option("FILE", stDecode.vecInputs, "inputs ('-' or none: standard input)");
    pDecode->add_option("--in", strIn, "input format")
        ->check(CLI::IsMember({"auto", "hex", "raw", "pcap", "mrt"}))
        ->capture_default_str();
    pDecode->add_flag("--json", stDecode.bJson, "one JSON object per route");
    pDecode->add_flag("--sample", bSample, "decode the bundled sample");
    CLI::Option *pAttr = pDecode->add_flag("--attr", bAttr, "inputs hold Tunnel Encapsulation attribute values in hex, one per line");
    CLI::Option *pNlri = pDecode->add_flag("--nlri", bNlri, "inputs hold SR Policy NLRI in hex, one value per line");
    pAttr->excludes(pNlri);

    srp::EncodeOptions stEncode;
    std::string strOut = "hex";
    CLI::App *pEncode = app.add_subcommand("encode", "encode configured SR Policy routes as BGP UPDATE messages");
    pEncode->add_option("CONFIG", stEncode.strConfig, "configuration (JSON)")->required();
    pEncode->add_flag("--withdraw", stEncode.bWithdraw, "withdraw the routes (MP_UNREACH_NLRI)");
    pEncode->add_option("--out", strOut, "output form")->check(CLI::IsMember({"hex", "raw"}))->capture_default_str();
    pEncode->add_option("--out-pcap", stEncode.strPcap, "write a pcap capture of the session to this file");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &e) {
        int iRc = app.exit(e);
        return iRc == 0 ? 0 : 2;
    }

    if (pDecode->parsed()) {
        srp::FormatFromName(strIn, stDecode.eFormat);
        stDecode.eMode = bAttr ? srp::DecodeMode::Attributes
                               : (bNlri ? srp::DecodeMode::Nlri : srp::DecodeMode::Messages);
        if (bSample) {
            stDecode.vecInputs.push_back(SamplePath());
        }
        return srp::RunDecode(stDecode);
    }
    stEncode.eOutput = strOut == "raw" ? srp::EncodeOutput::Raw : srp::EncodeOutput::Hex;
    return srp::RunEncode(stEncode);
}
