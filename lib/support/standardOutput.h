#ifndef STANDARDOUTPUT_H
#define STANDARDOUTPUT_H

#include <QByteArray>

/// Prints \a line, which ends with a line feed, to standard output at once and as one piece.
///
/// Waits no longer than 5 ms for whoever reads the output; while he takes nothing (a journal on a dying card,
/// a terminal that is stopped or whose connection hangs) lines are lost without any wait, and later one line
/// says how many. Any thread.
void printLine(const QByteArray &line);

#endif
