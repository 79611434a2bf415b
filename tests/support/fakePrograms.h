#ifndef FAKEPROGRAMS_H
#define FAKEPROGRAMS_H

#include <QFile>
#include <QTemporaryDir>

/// Scripts that stand in for installed programs: a temporary folder that is first in PATH while this lives.
class fakePrograms
{
public:
    fakePrograms() { qputenv("PATH", QFile::encodeName(m_folder.path()) + ':' + m_formerPath); }
    ~fakePrograms() { qputenv("PATH", m_formerPath); }
    fakePrograms(const fakePrograms &) = delete;
    fakePrograms &operator=(const fakePrograms &) = delete;

    /// \a script is the body of a shell script.
    void write(const QString &name, const QByteArray &script)
    {
        QFile file(m_folder.filePath(name));
        const QByteArray text = "#!/bin/sh\n" + script + '\n';
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()
            || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }

private:
    QTemporaryDir m_folder;
    const QByteArray m_formerPath = qgetenv("PATH");
};

#endif
