#pragma once
/// \file
/// A text file with regions that a program fills, between `<!-- begin: NAME -->` and `<!-- end: NAME -->`.

#include <optional>

#include <QString>
#include <QStringList>

class MarkedDocument
{
public:
    /// Reads a file; nothing if that fails or if a region has no end. Says on standard error why.
    static std::optional<MarkedDocument> read(const QString& path);

    QStringList regions() const;

    /// Replaces what is between the marks; `false`, with nothing changed, if there is no such region.
    bool fill(const QString& region, const QString& text);

    /// Writes the file; `false` if that fails, after saying why. The file is whole in either case.
    bool save() const;

private:
    QString m_path;
    QString m_text;
};
