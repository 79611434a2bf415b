#ifndef WIRINGCHECK_H
#define WIRINGCHECK_H

#include <QDomElement>
#include <QStringList>

/// Mistakes of a configuration whose blocks are right one by one, but do not fit together: a pump's demand
/// that no switch board reads, two that drive one relay, two switch boards of one prefix or on one bus, a
/// supply that its instrument does not switch. Without a word they would show by a wrong relay only.
///
/// One line each, with the number of the line in the file. A pump, or a contact of the valve, that the plant
/// does not have is named, too. \a root is the element around the blocks.
QStringList wiringMistakes(const QDomElement &root);

#endif
