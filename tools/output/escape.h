/*
 * Bytes from the wire shown as text: names and other strings a peer sent,
 * which may hold control bytes or invalid UTF-8.
 */
#ifndef SRPOLICY_TOOL_ESCAPE_H
#define SRPOLICY_TOOL_ESCAPE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace srp {

/* Printable ASCII only: the bytes can be shown as they are. */
bool IsPlainText(const uint8_t *p, size_t n);

/* Text form: valid UTF-8 and printable ASCII as they are, a backslash as
 * "\\", every other byte as "\xNN". */
std::string EscapeText(const uint8_t *p, size_t n);

/* A JSON string literal, quotes included: valid UTF-8 as it is, the JSON
 * escapes for quote, backslash and control bytes, and "\u00NN" for each byte
 * that is not part of valid UTF-8. */
std::string JsonStringLiteral(const uint8_t *p, size_t n);

}  // namespace srp

#endif
