#ifndef ZOLDEBUG_TESTS_TEMP_DIR_H
#define ZOLDEBUG_TESTS_TEMP_DIR_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace ZolTest {

/** A new folder that is removed with all it holds at the end of the scope. */
class TempDir
{
public:
    TempDir();
    ~TempDir();

    /** The path of a file of this name in the folder. */
    QString Path(const char* name) const;

private:
    Q_DISABLE_COPY(TempDir)

    QByteArray m_path;
};

} // namespace ZolTest

#endif
