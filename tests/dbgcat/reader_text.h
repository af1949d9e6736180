#ifndef ZOLDEBUG_TESTS_READER_TEXT_H
#define ZOLDEBUG_TESTS_READER_TEXT_H

#include "log_reader.h"

#include <QtCore/QByteArray>

namespace ZolTest {

/**
 * What a reader finds in @p log, one item a line, if it is given so many bytes at a time; pieces of
 * one line of rubbish are put together.
 */
QByteArray ReaderText(const QByteArray& log, int portion, DbgCat::Damage* damage = 0);

} // namespace ZolTest

#endif
