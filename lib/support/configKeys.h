#ifndef CONFIGKEYS_H
#define CONFIGKEYS_H

#include <QDomElement>
#include <QString>

#include <functional>
#include <vector>

class debugComponent;

/// One row of a configuration table: a child element's tag in lower case and what to do with the element.
struct configKey {
    const char *tag;
    std::function<void(const QDomElement &)> apply;
};

/// Walks the child elements of \a block once, in document order, and applies every row whose tag equals the
/// element's lower-cased tag. Unknown elements are passed over; a key given twice is applied twice. A null
/// block has no children.
void readKeys(const QDomElement &block, const std::vector<configKey> &keys);

/// Stores the element's text as it stands. The target must outlive the table.
std::function<void(const QDomElement &)> into(QString &target);
/// Stores the element's text as a decimal integer; text that is no number, or too large for one, reads as 0.
std::function<void(const QDomElement &)> into(int &target);
/// The same for unsigned numbers; a negative number reads as 0.
std::function<void(const QDomElement &)> into(quint32 &target);
/// The same for a period or delay in milliseconds: a negative one reads as 0, which no timer refuses.
std::function<void(const QDomElement &)> intoMs(int &target);
/// The same, but text that is no number, or a number below \a least, leaves \a target, with a line in \a log:
/// a mistyped delay must not leave the boiler without its pump, nor a mistyped period of 0 drown the display
/// thread in results.
std::function<void(const QDomElement &)> intoMs(int &target, int least, debugComponent &log);

#endif
