#ifndef PRINTED_H
#define PRINTED_H

#include <QByteArray>

#include <cstdio>
#include <functional>

#include <unistd.h>

/// What \a work prints to one of the standard streams.
inline QByteArray printed(const std::function<void()> &work, FILE *stream = stdout)
{
    std::fflush(stream);
    FILE *const file = std::tmpfile();
    const int kept = dup(fileno(stream));
    dup2(fileno(file), fileno(stream));
    work();
    std::fflush(stream);
    dup2(kept, fileno(stream));
    close(kept);
    QByteArray text(int(std::ftell(file)), '\0');
    std::rewind(file);
    text.truncate(int(std::fread(text.data(), 1, size_t(text.size()), file)));
    std::fclose(file);
    return text;
}

#endif
