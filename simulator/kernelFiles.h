#ifndef KERNELFILES_H
#define KERNELFILES_H

#include <QMap>
#include <QObject>
#include <QString>
#include <QTimer>

#include <optional>

/// The kernel's files that the controller only reads, as plain files under one folder: one-wire sensors,
/// thermal zone 0, load average. Each is replaced by rename, so that nobody ever reads half of one.
class kernelFiles : public QObject
{
    Q_OBJECT

public:
    /// What is wrong with a file.
    enum condition {
        good,
        badChecksum, // the one-wire driver's verdict is NO
        cut,         // ends after its first line
        garbled,     // question marks in the place of digits
        empty,
        absent,
        slow // the reader waits, as during a conversion
    };

    explicit kernelFiles(const QString &root);
    ~kernelFiles() override;

    static std::optional<condition> findCondition(const QString &name);
    /// \a name is a sensor's id ("28-..."), "loadavg" or "temp"; false when there is no such file.
    bool setCondition(const QString &name, condition c, int delayMs);
    void allGood();

    void setSensor(const QString &id, double degrees);
    void setLoad(double load);
    void setProcessorTemperature(double degrees);

private:
    struct file {
        QString path;
        QByteArray text; // when all is well
        condition state = good;
        int delayMs = 0;
        int answering = -1; // descriptor of a slow file's writing end while its reader waits
    };

    void update(const QString &name, const QString &path, const QByteArray &text);
    static void show(const file &f);
    void serveSlow();
    void serve(file &f);
    static void finish(file &f);
    static void releaseReaders(file &f);

    QString m_root;
    QMap<QString, file> m_files;
    QTimer m_slowTimer; // looks for readers of slow files
};

#endif
