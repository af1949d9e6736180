#ifndef DBGCAT_LEVEL_NAMES_H
#define DBGCAT_LEVEL_NAMES_H

#include "byte_span.h"
#include "dbg_utils.h"

namespace DbgCat {

/** How many levels there are. */
const int level_count = 16;

/** The place of a level's name among all, from DBG_TRACE on; level_count if it is none. */
int LevelIndex(const ByteSpan& name);

/** The level at a place. */
Zol::DebugLevel LevelAt(int index);

/** The short form of the name at a place: "WARN" for DBG_WARN, "(none)" behind the last. */
const QByteArray& ShortLevelName(int index);

} // namespace DbgCat

#endif
