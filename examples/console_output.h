#ifndef DEMO_CONSOLE_OUTPUT_H
#define DEMO_CONSOLE_OUTPUT_H

#include <zoldebug/dbg_server_interface.h>

/**
 * An output of the host's own: it writes records to standard output or to standard error.
 *
 * Its address is "console:stdout" or "console:stderr". A console needs no disk, so it goes on
 * writing while the library's log files are suspended.
 */
class ConsoleOutput : public Zol::DbgServerInterface
{
public:
    ConsoleOutput(const QString& server, const QString& option);
};

#endif
