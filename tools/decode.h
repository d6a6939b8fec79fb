/* `srpolicy decode`: reads inputs, walks their UPDATEs through the plug-in
 * and prints every SR Policy route. */
#ifndef SRPOLICY_TOOL_DECODE_H
#define SRPOLICY_TOOL_DECODE_H

#include <string>
#include <vector>

#include "input/readers.h"

namespace srp {

enum class DecodeMode { Messages, Attributes, Nlri };

struct DecodeOptions {
    Format eFormat = Format::Auto;
    DecodeMode eMode = DecodeMode::Messages;
    bool bJson = false;
    std::vector<std::string> vecInputs; /* files, "-" for stdin; empty = stdin */
};

/* Exit status: 0 nothing failed, 1 something failed, 2 unreadable input or
 * a plug-in that cannot be constructed. */
int RunDecode(const DecodeOptions &stOptions);

}  // namespace srp

#endif
