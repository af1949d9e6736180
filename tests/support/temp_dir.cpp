#include "temp_dir.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>

namespace ZolTest {

namespace {

int Remove(const char* path, const struct stat*, int, struct FTW*)
{
    return remove(path);
}

} // namespace

TempDir::TempDir()
    : m_path(QFile::encodeName(QDir::tempPath()) + "/zoldebug-test-XXXXXX")
{
    if (!mkdtemp(m_path.data()))
        qFatal("no temporary folder %s", m_path.constData());
}

TempDir::~TempDir()
{
    nftw(m_path.constData(), Remove, 16, FTW_DEPTH | FTW_PHYS);
}

QString TempDir::Path(const char* name) const
{
    return QFile::decodeName(m_path + '/' + name);
}

} // namespace ZolTest
