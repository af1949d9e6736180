#include "output.h"

#include <errno.h>
#include <unistd.h>

namespace DbgCat {

namespace {

const int large = 1 << 16;

} // namespace

Output::Output()
    : m_failed(false)
{
    m_buffer.reserve(2 * large);
}

bool Output::FlushIfLarge()
{
    return m_buffer.size() < large || Flush();
}

bool Output::Flush()
{
    const char* at = m_buffer.constData();
    const char* const end = at + m_buffer.size();
    while (at != end && !m_failed) {
        const ssize_t size = write(STDOUT_FILENO, at, static_cast<size_t>(end - at));
        if (size >= 0)
            at += size;
        else
            m_failed = errno != EINTR;
    }
    const bool was_huge = m_buffer.capacity() > 8 * large;
    m_buffer.resize(0);
    if (was_huge) {
        m_buffer = QByteArray();
        m_buffer.reserve(2 * large);
    }
    return !m_failed;
}

} // namespace DbgCat
