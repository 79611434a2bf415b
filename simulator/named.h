#ifndef NAMED_H
#define NAMED_H

#include <QString>

#include <cstddef>
#include <optional>

/// A row of a table that says what a word of the commands means.
template <typename T>
struct named {
    const char *word;
    T what;
};

template <typename T, std::size_t size>
std::optional<T> findNamed(const named<T> (&table)[size], const QString &word)
{
    for (const named<T> &row : table) {
        if (word == QLatin1String(row.word))
            return row.what;
    }
    return std::nullopt;
}

#endif
