// A part of a host that is loaded and closed again. All its texts are constants of its own, which
// are gone with it.

#include "component.h"

#include "debug.h"

namespace {

// A string whose characters stay where they are, as those of QStringLiteral do.
template <size_t Size>
QString Constant(const ushort (&text)[Size])
{
    return QString::fromRawData(reinterpret_cast<const QChar*>(text), static_cast<int>(Size));
}

// Even an empty text of a literal refers to the component.
QString EmptyConstant()
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    return QString(QLatin1String(""));
#else
    return QStringLiteral("");
#endif
}

const ushort module_name[] = {'p', 'a', 'r', 't'};
const ushort text[] = {'t', 'e', 'x', 't'};
const ushort output[] = {'p', 'r', 'o', 'b', 'e', ':', 'w'};
const ushort file[] = {'p', 'a', 'r', 't', '.', 'c'};

Zol::DebugModule module(Constant(module_name));

} // namespace

extern "C" Q_DECL_EXPORT void UseZolDebug()
{
    ZOL_ERROR(module) << Constant(text);
    Zol::DBG_OBJ(Constant(module_name), __FILE__, __LINE__, Q_FUNC_INFO, Zol::DBG_ERROR).Dbg()
        << Constant(text);
    Zol::DbgCollector::CollectMsg(QDateTime::currentDateTime(), Constant(module_name), __FILE__,
                                  __LINE__, Q_FUNC_INFO, Zol::DBG_ERROR, EmptyConstant(),
                                  Constant(text));
    Zol::DbgCollector::CollectCfgMsg(Constant(output), Constant(module_name), Zol::DBG_ERROR);
    Zol::DbgCollector::CollectMetric(Constant(file), __LINE__);
    const Zol::DbgFuncTrace trace(module, __FILE__, __LINE__, Q_FUNC_INFO, true);
}
