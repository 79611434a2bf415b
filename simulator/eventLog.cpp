#include "simulator/eventLog.h"

bool eventLog::open(const QString &path)
{
    m_file.setFileName(path);
    return m_file.open(QIODevice::WriteOnly | QIODevice::Append);
}

void eventLog::add(const QByteArray &text, bool isTransfer)
{
    const QByteArray line = QByteArray::number(seconds(), 'f', 6) + ' ' + text + '\n';
    if (m_file.isOpen()) {
        m_file.write(line);
        m_file.flush();
    }
    emit added(line, isTransfer);
}
