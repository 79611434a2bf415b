#include "tests/support/fakePrograms.h"

#include <QFile>

fakePrograms::fakePrograms()
{
    qputenv("PATH", QFile::encodeName(m_folder.path()) + ':' + m_formerPath);
}

fakePrograms::~fakePrograms()
{
    qputenv("PATH", m_formerPath);
}

void fakePrograms::write(const QString &name, const QByteArray &script)
{
    QFile file(m_folder.filePath(name));
    const QByteArray text = "#!/bin/sh\n" + script + '\n';
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()
        || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        qFatal("cannot write %s", qPrintable(file.fileName()));
}
