#ifndef CHILDPROCESS_H
#define CHILDPROCESS_H

#include <QProcess>

/// A program that the controller starts; never start one by a plain QProcess.
///
/// Qt 5.15 takes a plain QProcess that the kernel refuses to make (no memory, tasks or descriptors left for a
/// moment) for one that runs with the number -1: it never ends, and to kill it kills everything that this
/// user may kill. For a derived class Qt uses fork() and reports FailedToStart.
class childProcess final : public QProcess
{
public:
    using QProcess::QProcess;
};

#endif
