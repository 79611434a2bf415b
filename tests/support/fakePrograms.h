#ifndef FAKEPROGRAMS_H
#define FAKEPROGRAMS_H

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// Scripts that stand in for installed programs: a temporary folder that is first in PATH while this lives.
class fakePrograms
{
public:
    fakePrograms();
    ~fakePrograms();
    fakePrograms(const fakePrograms &) = delete;
    fakePrograms &operator=(const fakePrograms &) = delete;

    /// \a script is the body of a shell script.
    void write(const QString &name, const QByteArray &script);
    /// Where the scripts lie, and may leave files.
    QString path() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    const QByteArray m_formerPath = qgetenv("PATH");
};

#endif
