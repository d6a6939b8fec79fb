/* Opening inputs with clear refusals, and block reads from them. */
#include "input/source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace srp {

InputFile::~InputFile()
{
    if (m_bOwnFd && m_iFd >= 0) {
        close(m_iFd);
    }
}

bool InputFile::Open(const std::string &strPath, std::string &strError)
{
    m_strPath = strPath;
    if (strPath == "-") {
        m_iFd = STDIN_FILENO;
        struct stat st;
        if (fstat(m_iFd, &st) == 0 && S_ISREG(st.st_mode)) {
            m_ullSize = static_cast<uint64_t>(st.st_size);
        }
        return true;
    }
    struct stat st;
    if (stat(strPath.c_str(), &st) != 0) {
        strError = "cannot read " + strPath + ": " + std::strerror(errno);
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        strError = "cannot read " + strPath + ": it is a directory; give the files in it";
        return false;
    }
    if (S_ISFIFO(st.st_mode)) {
        strError = "cannot read " + strPath + ": it is a FIFO; give its data on standard input (< " + strPath + ")";
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        strError = "cannot read " + strPath + ": not a regular file";
        return false;
    }
    m_iFd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (m_iFd < 0) {
        strError = "cannot read " + strPath + ": " + std::strerror(errno);
        return false;
    }
    m_bOwnFd = true;
    m_ullSize = static_cast<uint64_t>(st.st_size);
    return true;
}

void InputFile::OpenMemory(const uint8_t *p, size_t n)
{
    m_pMem = p;
    m_ulMemLen = n;
    m_ullSize = n;
}

bool InputFile::IsTerminal() const { return m_iFd >= 0 && isatty(m_iFd) == 1; }

size_t InputFile::ReadBelow(uint8_t *p, size_t n)
{
    if (m_pMem != nullptr || m_iFd < 0) {
        size_t ulTake = m_ulMemLen - m_ulMemPos < n ? m_ulMemLen - m_ulMemPos : n;
        if (ulTake > 0u) {
            std::memcpy(p, m_pMem + m_ulMemPos, ulTake);
        }
        m_ulMemPos += ulTake;
        return ulTake;
    }
    for (;;) {
        ssize_t lRc = read(m_iFd, p, n);
        if (lRc >= 0) {
            return static_cast<size_t>(lRc);
        }
        if (errno != EINTR) {
            m_strError = "read error: " + std::string(std::strerror(errno));
            return 0u;
        }
    }
}

size_t InputFile::Read(uint8_t *p, size_t n)
{
    size_t ulDone = 0;
    if (m_ulPeekPos < m_vecPeek.size()) {
        ulDone = m_vecPeek.size() - m_ulPeekPos < n ? m_vecPeek.size() - m_ulPeekPos : n;
        std::memcpy(p, m_vecPeek.data() + m_ulPeekPos, ulDone);
        m_ulPeekPos += ulDone;
        if (m_ulPeekPos == m_vecPeek.size()) {
            m_vecPeek.clear();
            m_ulPeekPos = 0;
        }
    } else {
        ulDone = ReadBelow(p, n);
    }
    m_ullConsumed += ulDone;
    return ulDone;
}

const Bytes &InputFile::Peek(size_t n)
{
    if (m_ulPeekPos > 0u) {
        m_vecPeek.erase(m_vecPeek.begin(), m_vecPeek.begin() + static_cast<std::ptrdiff_t>(m_ulPeekPos));
        m_ulPeekPos = 0;
    }
    while (m_vecPeek.size() < n) {
        size_t ulHave = m_vecPeek.size();
        m_vecPeek.resize(n);
        size_t ulGot = ReadBelow(m_vecPeek.data() + ulHave, n - ulHave);
        m_vecPeek.resize(ulHave + ulGot);
        if (ulGot == 0u) {
            break;
        }
    }
    return m_vecPeek;
}

namespace {

ssize_t StreamRead(void *pvCookie, char *pc, size_t n)
{
    return static_cast<ssize_t>(static_cast<InputFile *>(pvCookie)->Read(reinterpret_cast<uint8_t *>(pc), n));
}

}  // namespace

FILE *InputFile::OpenStream()
{
    cookie_io_functions_t stFns;
    std::memset(&stFns, 0, sizeof(stFns));
    stFns.read = StreamRead;
    return fopencookie(this, "rb", stFns);
}

}  // namespace srp
