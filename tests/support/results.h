#ifndef RESULTS_H
#define RESULTS_H

#include <QStringList>
#include <QVariant>

#include <utility>

/// What an object publishes by its signal resultAvailable(), noted on the thread that publishes.
class results
{
public:
    template <class Source>
    explicit results(Source &source)
    {
        const auto note = [this](const QString &key, const QVariant &value) {
            const bool isReal = value.userType() == QMetaType::Double;
            m_seen.append(
                key + '=' + (isReal ? QString::number(value.toDouble(), 'g', 4) : value.toString()));
        };
        QObject::connect(&source, &Source::resultAvailable, &source, note, Qt::DirectConnection);
    }
    /// "key=value key=value" since the last call; real numbers with four digits.
    QString take() { return std::exchange(m_seen, {}).join(' '); }

private:
    QStringList m_seen;
};

#endif
