/* `srpolicy decode`: reads inputs, walks their UPDATEs through the plug-in
 * and prints every SR Policy route. */
#ifndef SRPOLICY_TOOL_DECODE_H
#define SRPOLICY_TOOL_DECODE_H

#include <cstdint>
#include <string>
#include <vector>

#include "input/readers.h"

namespace srp {

enum class DecodeMode { Messages, Attributes, Nlri };

struct DecodeOptions {
    Format eFormat = Format::Auto;
    DecodeMode eMode = DecodeMode::Messages;
    bool bJson = false;
    bool bRib = false; /* print the table left at the end instead of every route */
    bool bVerbose = false; /* also the plug-in's reports of calls that succeeded */
    std::vector<uint16_t> vecPorts;     /* TCP ports of BGP in captures; empty: 179 */
    std::vector<std::string> vecInputs; /* files, "-" for stdin; empty = stdin */
};

/* Exit status: 0 nothing failed, 1 something failed, 2 unreadable input or
 * a plug-in that cannot be constructed. */
int RunDecode(const DecodeOptions &stOptions);

}  // namespace srp

#endif
