#include "record_model.h"

namespace ZolTest {

namespace {

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

} // namespace

QString ModelEscape(QString text)
{
    text.replace(Text("&"), Text("&amp;"));
    text.replace(Text("<"), Text("&lt;"));
    text.replace(Text(">"), Text("&gt;"));
    text.replace(Text("'"), Text("&apos;"));
    text.replace(Text("\""), Text("&quot;"));
    return text;
}

QString ModelHeader(const QDateTime& now, const QString& module, const QString& file,
                    unsigned int line_no, const QString& func, const QString& level,
                    const QString& thread)
{
    const QString time = now.toString(Text("yyyy/MM/dd (MMM) (ddd) hh:mm:ss.zzz"));
    return Text("<h><d t=\"%1\" m=\"%2\" f=\"%3\" l=\"%4\" fnc=\"%5\" lvl=\"%6\" thrd=\"%7\"/></h>")
        .arg(time, module, file)
        .arg(line_no)
        .arg(ModelEscape(func), level, thread);
}

QString ModelRecord(const QString& header, const QString& message)
{
    return Text("<dbg>%1<b>%2</b></dbg>").arg(header, ModelEscape(message));
}

} // namespace ZolTest
