/* What the fragments of code in the documentation may take for granted. */

#include "concrete_debug_interface_factory.h"
#include "dbg_server_interface.h"
#include "debug.h"
#include "debug_interface_factory_store.h"
#include "file_dbg_interface.h"
#include "metric_table.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QThread>

extern Zol::DebugModule net;
extern Zol::DebugModule storage;
