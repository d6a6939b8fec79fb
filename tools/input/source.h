/*
 * An input opened for streaming: a regular file, standard input, or bytes
 * already in memory. Readers pull blocks from it, so memory does not grow
 * with the input. The first bytes can be looked at (to tell the format)
 * and are still handed out by the reads that follow.
 */
#ifndef SRPOLICY_TOOL_INPUT_SOURCE_H
#define SRPOLICY_TOOL_INPUT_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "common/bytes.h"

namespace srp {

class InputFile {
public:
    InputFile() = default;
    ~InputFile();
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    /* Opens a path ("-": standard input). Refuses, with a reason naming the
     * path, what is missing or unreadable and what is not a regular file
     * (a directory, a FIFO, a device). */
    bool Open(const std::string &strPath, std::string &strError);
    /* Reads from bytes the caller keeps alive. */
    void OpenMemory(const uint8_t *p, size_t n);

    /* Up to n bytes; 0 at the end of the input or after a read error. */
    size_t Read(uint8_t *p, size_t n);
    /* Up to n of the next bytes without consuming them. */
    const Bytes &Peek(size_t n);
    /* A stdio stream over the rest of the input (peeked bytes first), for
     * libraries that read a FILE; the caller closes it, before this input. */
    FILE *OpenStream();

    /* Size in bytes when known (regular files, memory), else 0. */
    uint64_t Size() const { return m_ullSize; }
    /* Bytes handed out so far. */
    uint64_t Consumed() const { return m_ullConsumed; }
    /* The reason of a read error, empty when there was none. */
    const std::string &Error() const { return m_strError; }
    /* Standard input on a terminal: nothing to read but what someone types. */
    bool IsTerminal() const;

private:
    size_t ReadBelow(uint8_t *p, size_t n);

    int m_iFd = -1;
    bool m_bOwnFd = false;
    const uint8_t *m_pMem = nullptr;
    size_t m_ulMemLen = 0;
    size_t m_ulMemPos = 0;
    Bytes m_vecPeek;
    size_t m_ulPeekPos = 0;
    uint64_t m_ullSize = 0;
    uint64_t m_ullConsumed = 0;
    std::string m_strPath;
    std::string m_strError;
};

}  // namespace srp

#endif
