/*
 * Printers of described UPDATEs: the text form (a block per route) and the
 * JSON form (one object per route and line, schema in tools/README.md). A
 * printer gets each UPDATE once with the context it was met in, and writes
 * every route of it into a buffered output. File readers, live sessions and
 * stations all print through this interface.
 */
#ifndef SRPOLICY_TOOL_OUTPUT_PRINTER_H
#define SRPOLICY_TOOL_OUTPUT_PRINTER_H

#include <memory>
#include <string>

#include "common/event.h"
#include "output/out_buffer.h"
#include "plugin/describer.h"

namespace srp {

class Printer {
public:
    virtual ~Printer() = default;
    /* Every route of one described UPDATE (or the bare attribute). */
    virtual void Update(const EventContext &stCtx, const DescribedUpdate &stUpdate) = 0;
};

enum class PrintForm { Text, Json };

/* A printer of the form writing into out (which must outlive it). */
std::unique_ptr<Printer> MakePrinter(PrintForm eForm, OutBuffer &out);

/* The error line of a problem: "srpolicy: error: SOURCE: message N at offset
 * O (+POS): WHAT: RESULT_NAME (0xCODE) [plug-in report: MODULE:LINE VALUE]",
 * with the peer and time when the context has them. No line end. */
std::string ProblemLine(const EventContext &stCtx, const Problem &stProblem);

}  // namespace srp

#endif
