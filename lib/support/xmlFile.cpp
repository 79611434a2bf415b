#include "lib/support/xmlFile.h"

#include "lib/communications/debugComponent.h"

#include <QFile>
#include <QXmlStreamReader>

namespace {
constexpr int maximumDepth = 256; // nested elements; ours need 6

struct parseError {
    QString text; // empty: none
    int line = 0;
    int column = 0;

    QString message() const
    {
        return QStringLiteral("Parse error at line %1, column %2: %3").arg(line).arg(column).arg(text);
    }
};

/// The first place where \a text nests too deeply for a recursive parser. Other errors are left to that
/// parser.
parseError findExcessiveDepth(const QByteArray &text)
{
    QXmlStreamReader reader(text);
    reader.setNamespaceProcessing(false); // as that parser: an unknown prefix is no error, and no end
    int depth = 0;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::EndElement)
            --depth;
        else if (token == QXmlStreamReader::StartElement && ++depth > maximumDepth)
            return {QStringLiteral("elements are nested too deeply"), int(reader.lineNumber()),
                int(reader.columnNumber())};
    }
    return {};
}
}

std::optional<QDomDocument> loadXmlFile(const QString &fileName, debugComponent &log)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        log.log(QStringLiteral("Could not open file."), -1);
        return std::nullopt;
    }
    const QByteArray text = file.readAll();
    QDomDocument document;
    parseError error = findExcessiveDepth(text);
    if (error.text.isEmpty() && !document.setContent(text, true, &error.text, &error.line, &error.column)
        && error.text.isEmpty())
        error.text = QStringLiteral("not an XML document");
    if (!error.text.isEmpty()) {
        log.log(error.message(), -1);
        return std::nullopt;
    }
    return document;
}
