#ifndef ZOLDEBUG_EXPORT_H
#define ZOLDEBUG_EXPORT_H

/**
 * @file
 * What makes a type or a function part of the shared library's interface.
 */

#include <QtCore/qglobal.h>

/** Marks what the shared library offers; everything else in it stays hidden. */
#if defined(ZOLDEBUG_BUILD)
#define ZOLDEBUG_EXPORT Q_DECL_EXPORT
#else
#define ZOLDEBUG_EXPORT Q_DECL_IMPORT
#endif

#endif
