#ifndef DBGCAT_RECORD_HEADER_H
#define DBGCAT_RECORD_HEADER_H

#include "log_item.h"

namespace DbgCat {

/**
 * Takes the attributes of a record apart: what stands between the quotation mark that opens the
 * first and the one that closes the last. False if it is no header.
 */
bool ParseHeader(const char* from, const char* to, LogItem& item);

} // namespace DbgCat

#endif
