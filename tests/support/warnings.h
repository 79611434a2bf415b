#ifndef WARNINGS_H
#define WARNINGS_H

#include <QtGlobal>

#include <atomic>

/// Counts Qt's warnings while it lives; they are then not printed.
class warnings
{
public:
    warnings()
    {
        seen() = 0;
        m_before = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &) {
            seen() += type != QtDebugMsg;
        });
    }
    ~warnings() { qInstallMessageHandler(m_before); }
    warnings(const warnings &) = delete;
    warnings &operator=(const warnings &) = delete;

    int count() const { return seen(); }

private:
    static std::atomic<int> &seen()
    {
        static std::atomic<int> number{0};
        return number;
    }

    QtMessageHandler m_before;
};

#endif
