#ifndef ZOLDEBUG_TESTS_RACE_H
#define ZOLDEBUG_TESTS_RACE_H

#include "debug.h"
#include "test_point.h"

#include <QtCore/QByteArray>
#include <QtCore/QSemaphore>

/** Configures a new log file that takes every level. */
void LogToFile();

/** What the log file holds. */
QByteArray Log();

/** Waits until the log file holds @p text; false if that takes too long. */
bool AwaitLog(const char* text);

/** Removes the log file. */
void RemoveLog();

/** Ends the program as a failed test, with a message, unless @p condition holds. */
void Require(bool condition, const char* message);

/** Whether a test point of this name was reached. */
bool Is(const char* name, const char* expected);

#endif
