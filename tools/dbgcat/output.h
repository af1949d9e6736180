#ifndef DBGCAT_OUTPUT_H
#define DBGCAT_OUTPUT_H

#include <QtCore/QByteArray>

namespace DbgCat {

/** Standard output, written in large pieces. */
class Output
{
public:
    Output();

    /** Where to append what is to be written. */
    QByteArray& Buffer() { return m_buffer; }

    /** Writes the buffer if it is large; false if standard output takes no more. */
    bool FlushIfLarge();
    bool Flush();

    bool HasFailed() const { return m_failed; }

private:
    Q_DISABLE_COPY(Output)

    QByteArray m_buffer;
    bool m_failed;
};

} // namespace DbgCat

#endif
