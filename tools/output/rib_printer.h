/*
 * The table of current routes in the printers' forms: every route described
 * again from its stored attribute and printed with its source as the peer
 * and the time it arrived.
 */
#ifndef SRPOLICY_TOOL_RIB_PRINTER_H
#define SRPOLICY_TOOL_RIB_PRINTER_H

#include "output/printer.h"
#include "plugin/describer.h"
#include "rib/rib.h"

namespace srp {

/* Returns the number of routes printed. */
size_t PrintRib(const Rib &rib, PluginHost &host, Printer &printer);

}  // namespace srp

#endif
