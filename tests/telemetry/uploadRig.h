#ifndef UPLOADRIG_H
#define UPLOADRIG_H

#include "lib/communications/netActionInfo.h"
#include "tests/support/fakeHost.h"
#include "tests/support/fakePrograms.h"
#include "tests/support/logSink.h"

#include <QDir>
#include <QFile>
#include <QtTest>

/// A machine with a /tmp of its own and stand-ins for curl and ip that do as they are told by files:
/// "exit" is curl's exit code, "hold" makes it wait until it is taken away, "routes" is ip's answer.
struct uploadRig {
    fakePrograms programs;
    fakeHost host;
    logSink log;

    uploadRig()
    {
        host.write("/tmp/.keep", "");
        say("exit", "0");
        programs.write(QStringLiteral("curl"),
            "cd " + folder()
                + "\nfile=${2#@}; name=$(basename $file)\n"
                  "{ for a in \"$@\"; do echo \"$a\"; done; echo; } >> args\n"
                  "cat $file > body.$name; stat -c %a $file > mode.$name\n"
                  "echo $name >> started; echo out; echo err >&2\n"
                  "while [ -e hold ]; do sleep 0.02; done\n"
                  "echo $name >> ended; exit $(cat exit)");
        programs.write(
            QStringLiteral("ip"), "cat " + folder() + "/routes; exit $(cat " + folder() + "/ipexit)");
    }

    QByteArray folder() const { return QFile::encodeName(programs.path()); }
    QString file(unsigned int index) const
    {
        return host.path(QStringLiteral("/tmp/data%1.json").arg(index));
    }
    void say(const QString &name, const QByteArray &text)
    {
        QFile told(programs.path() + '/' + name);
        if (!told.open(QIODevice::WriteOnly) || told.write(text) != text.size())
            qFatal("cannot write %s", qPrintable(told.fileName()));
    }
    void forget(const QString &name) { QFile::remove(programs.path() + '/' + name); }
    QByteArray told(const QString &name) const
    {
        QFile left(programs.path() + '/' + name);
        return left.open(QIODevice::ReadOnly) ? left.readAll() : QByteArray();
    }
    QByteArrayList lines(const QString &name) const { return told(name).trimmed().split('\n'); }
    int count(const QString &name) const { return told(name).count('\n'); }

    static netActionInfo post(
        const QByteArray &body, const QString &uri = QStringLiteral("http://127.0.0.1:9/x"))
    {
        netActionInfo info;
        info.requestType = QStringLiteral("post");
        info.URI = uri;
        info.msgData = body;
        return info;
    }
};

#endif
