/* The smallest functions that log, to see what they compile to. */

#include "debug.h"

void LogNumber(const Zol::DebugModule& module, int number);
void LogHit(const Zol::DebugModule& module);

void LogNumber(const Zol::DebugModule& module, int number)
{
    ZOL_INFO(module) << "number " << number;
}

void LogHit(const Zol::DebugModule& module)
{
    ZOL_METRIC(module, Zol::DBG_INFO);
}
