#ifndef ELEMENTTEXT_H
#define ELEMENTTEXT_H

#include <QString>
#include <QVariant>

/// A value as people read it: numbers with all their digits, control characters shown as dots, "-" for a
/// value that does not travel.
QString valueText(const QVariant &value);
/// Its type: bool, int, uint, float, double, text, or "-".
QString typeText(const QVariant &value);
/// A field of a CSV line, in quotes where it needs them (RFC 4180).
QString csvField(const QString &text);
/// Text from outside, safe for a terminal: control characters are shown as dots.
QString printable(const QString &text);

#endif
