#ifndef ZOLDEBUG_TESTS_PLUGIN_H
#define ZOLDEBUG_TESTS_PLUGIN_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#ifdef PLUGIN_BUILD
#define PLUGIN_EXPORT Q_DECL_EXPORT
#else
#define PLUGIN_EXPORT Q_DECL_IMPORT
#endif

namespace Plugin {

/** What the outputs of the protocol "plugin" were created with and had to write, line by line. */
PLUGIN_EXPORT QStringList Lines();

/** Logs for a static module of the plugin. */
PLUGIN_EXPORT void LogForPlugin();

} // namespace Plugin

#endif
