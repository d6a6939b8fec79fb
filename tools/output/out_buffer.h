/*
 * Buffered output to a file descriptor: printers append, the buffer writes
 * in large blocks. Not shared between threads without a lock around it.
 */
#ifndef SRPOLICY_TOOL_OUT_BUFFER_H
#define SRPOLICY_TOOL_OUT_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace srp {

class OutBuffer {
public:
    explicit OutBuffer(int iFd, size_t ulCapacity = 1u << 16);
    /* Blocks go to a function instead of a descriptor (a queue another
     * thread writes out); it returns false when it can take no more. */
    using Sink = std::function<bool(std::string &strBlock)>;
    explicit OutBuffer(Sink fnSink, size_t ulCapacity = 1u << 16);
    ~OutBuffer();
    OutBuffer(const OutBuffer &) = delete;
    OutBuffer &operator=(const OutBuffer &) = delete;

    void Write(const char *p, size_t n);
    void Put(char c)
    {
        if (m_strBuf.size() >= m_ulCapacity) {
            Flush();
        }
        m_strBuf.push_back(c);
    }
    OutBuffer &operator<<(std::string_view sv)
    {
        Write(sv.data(), sv.size());
        return *this;
    }
    OutBuffer &operator<<(char c)
    {
        Put(c);
        return *this;
    }
    OutBuffer &operator<<(uint64_t ull);
    /* Writes out what is buffered; false once a write has failed. */
    bool Flush();
    bool Failed() const { return m_bFailed; }
    /* True when the descriptor is a terminal: callers flush per event. */
    bool Interactive() const { return m_bInteractive; }

private:
    int m_iFd;
    Sink m_fnSink;
    size_t m_ulCapacity;
    std::string m_strBuf;
    bool m_bFailed = false;
    bool m_bInteractive = false;
};

}  // namespace srp

#endif
