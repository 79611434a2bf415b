#ifndef XMLFILE_H
#define XMLFILE_H

#include <QDomDocument>
#include <QString>

#include <optional>

class debugComponent;

/// Reads and parses (with namespace processing) the XML file \a fileName.
///
/// What fails is logged through \a log at its default level: "Could not open file." or
/// "Parse error at line %1, column %2: %3"; the result is then empty. Elements nested deeper than any
/// sensible file (256 levels) count as a parse error too, because the parser recurses.
std::optional<QDomDocument> loadXmlFile(const QString &fileName, debugComponent &log);

#endif
