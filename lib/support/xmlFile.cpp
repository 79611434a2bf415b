#include "lib/support/xmlFile.h"

#include "lib/communications/debugComponent.h"

#include <QFile>
#include <QXmlDefaultHandler>
#include <QXmlInputSource>
#include <QXmlSimpleReader>

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

QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED // QDomDocument stands on this parser; only it reads every file as that does

    /// Stops the parser where a text nests deeper than a recursive reader of the document could follow.
    class depthGuard : public QXmlDefaultHandler
{
public:
    void setDocumentLocator(QXmlLocator *locator) override { m_locator = locator; }
    bool startElement(const QString &, const QString &, const QString &, const QXmlAttributes &) override
    {
        if (++m_depth <= maximumDepth)
            return true;
        found = {QStringLiteral("elements are nested too deeply"), m_locator->lineNumber(),
            m_locator->columnNumber()};
        return false;
    }
    bool endElement(const QString &, const QString &, const QString &) override
    {
        --m_depth;
        return true;
    }

    parseError found;

private:
    QXmlLocator *m_locator = nullptr;
    int m_depth = 0;
};

/// The first place where \a text nests too deeply. Other errors are left to the document's own parser.
parseError findExcessiveDepth(const QByteArray &text)
{
    QXmlInputSource source;
    source.setData(text);
    const QString decoded = source.data();
    // The parser recurses into the brackets of a content model.
    if (decoded.contains(QLatin1String("<!ELEMENT")) && decoded.count(QLatin1Char('(')) > maximumDepth)
        return {QStringLiteral("declarations are nested too deeply"), 1, 1};
    depthGuard guard;
    QXmlSimpleReader reader;
    reader.setContentHandler(&guard);
    reader.parse(source);
    return guard.found;
}
QT_WARNING_POP
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
