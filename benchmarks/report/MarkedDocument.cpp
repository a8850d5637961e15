#include "report/MarkedDocument.h"

#include <cstdio>

#include <QFile>
#include <QRegularExpression>
#include <QSaveFile>

namespace {

QString beginMark(const QString& region)
{
    return "<!-- begin: " + region + " -->\n";
}

QString endMark(const QString& region)
{
    return "<!-- end: " + region + " -->";
}

} // namespace

std::optional<MarkedDocument> MarkedDocument::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(file.errorString()));
        return {};
    }
    MarkedDocument document;
    document.m_path = path;
    document.m_text = QString::fromUtf8(file.readAll());
    for (const QString& region : document.regions())
        if (document.m_text.indexOf(endMark(region)) < document.m_text.indexOf(beginMark(region))) {
            std::fprintf(stderr, "%s: the region \"%s\" has no end\n", qPrintable(path), qPrintable(region));
            return {};
        }
    return document;
}

QStringList MarkedDocument::regions() const
{
    static const QRegularExpression mark("^<!-- begin: (.*) -->$", QRegularExpression::MultilineOption);
    QStringList names;
    for (auto match = mark.globalMatch(m_text); match.hasNext();)
        names << match.next().captured(1);
    return names;
}

bool MarkedDocument::fill(const QString& region, const QString& text)
{
    const QString begin = beginMark(region);
    const auto start = m_text.indexOf(begin);
    if (start < 0)
        return false;
    const auto from = start + begin.size();
    m_text.replace(from, m_text.indexOf(endMark(region), from) - from, text);
    return true;
}

bool MarkedDocument::save() const
{
    QSaveFile file(m_path);
    if (file.open(QIODevice::WriteOnly) && file.write(m_text.toUtf8()) >= 0 && file.commit())
        return true;
    std::fprintf(stderr, "%s: %s\n", qPrintable(m_path), qPrintable(file.errorString()));
    return false;
}
