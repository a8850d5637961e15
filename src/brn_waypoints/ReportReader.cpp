#include <brn_waypoints/ReportReader.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <limits>
#include <stdexcept>

#include <QByteArray>
#include <QXmlStreamReader>

#include <brn_waypoints/LocaleNumbers.h>

namespace Brennic::Waypoints {

namespace {

constexpr int maxReportSize = 1 << 30; // of 15 million waypoints

struct NumberText
{
    const char* attribute;
    QString text;
};

// A waypoint whose numbers have not been parsed: that needs the separators of all of them.
struct WrittenWaypoint
{
    QString name;
    NumberText frames;
    NumberText elapsed;
    NumberText memory;
    qint64 line;
};

[[noreturn]] void fail(const QString& where, const QString& what)
{
    throw std::runtime_error((where + QLatin1String(": ") + what).toStdString());
}

QString quoted(const QString& text)
{
    constexpr int longest = 40;
    const bool isLong = text.size() > longest;
    return QLatin1Char('"') + (isLong ? text.left(longest) + QChar(0x2026) : text) + QLatin1Char('"');
}

bool isBlank(QChar character)
{
    return character == QLatin1Char('\t') || character == QLatin1Char('\n') || character == QLatin1Char('\r');
}

// The library writes names as they are, so a report may have characters that XML forbids and that a terminal
// would obey. Control characters are replaced by their visible symbols, and invalid ones by the replacement
// character.
QChar asAllowed(QChar character)
{
    constexpr char16_t pictures = 0x2400;
    constexpr char16_t pictureOfDelete = 0x2421;
    constexpr char16_t firstNoCharacter = 0xFFFE;
    const char16_t code = character.unicode();
    if (code < u' ')
        return isBlank(character) ? character : QChar(static_cast<char16_t>(pictures + code));
    if (code == 0x7F)
        return QChar(pictureOfDelete);
    const bool isControl = character.category() == QChar::Other_Control;
    return isControl || code >= firstNoCharacter ? QChar(QChar::ReplacementCharacter) : character;
}

// Also replaces line breaks that were written as character references.
QString oneLine(QString text)
{
    for (QChar& character : text)
        character = isBlank(character) ? QLatin1Char(' ') : asAllowed(character);
    return text;
}

// A locale's separator of digits may be a byte that is not UTF-8; it becomes the replacement character.
QString decoded(const QByteArray& bytes)
{
    QString text = QString::fromUtf8(bytes);
    for (QChar& character : text)
        character = asAllowed(character);
    return text;
}

class Parser
{
public:
    Parser(const QString& text, const QString& title) : m_text(text), m_reader(text)
    {
        m_report.title = title;
    }

    Report parse()
    {
        if (m_reader.readNextStartElement())
            readRoot();
        while (!m_reader.atEnd())
            m_reader.readNext();
        if (m_reader.hasError() && !isDeclarationAlone())
            failHere(QLatin1String("it is not XML: ") + m_reader.errorString());
        takeWaypoints();
        return std::move(m_report);
    }

private:
    [[noreturn]] void failAt(qint64 line, const QString& what) const
    {
        fail(m_report.title + QLatin1Char(':') + QString::number(line), what);
    }
    [[noreturn]] void failHere(const QString& what) const { failAt(m_reader.lineNumber(), what); }

    // A kernel without waypoints and versions writes the declaration alone.
    bool isDeclarationAlone() const
    {
        const QString text = m_text.trimmed();
        return text.startsWith(QLatin1String("<?xml ")) &&
               text.indexOf(QLatin1String("?>")) == text.size() - 2;
    }

    void readRoot()
    {
        if (m_reader.name() != QLatin1String("Profiler"))
            failHere(QLatin1String("it is no waypoint report: its root is ") +
                     quoted(oneLine(m_reader.name().toString())));
        while (m_reader.readNextStartElement()) {
            if (m_reader.name() == QLatin1String("Waypoints")) {
                readWaypoints();
                continue;
            }
            if (m_reader.name() == QLatin1String("ProductVersion"))
                readProduct();
            m_reader.skipCurrentElement();
        }
    }

    void readProduct()
    {
        const QXmlStreamAttributes attributes = m_reader.attributes();
        m_report.product = oneLine(attributes.value(QLatin1String("description")).toString() +
                                   QLatin1Char(' ') + attributes.value(QLatin1String("version")).toString())
                               .trimmed();
    }

    void readWaypoints()
    {
        while (m_reader.readNextStartElement()) {
            if (m_reader.name() == QLatin1String("Waypoint"))
                readWaypoint();
            m_reader.skipCurrentElement();
        }
    }

    void readWaypoint()
    {
        WrittenWaypoint waypoint{oneLine(attribute("name")),
                                 {"frames", attribute("frames")},
                                 {"elapsed", attribute("elapsed")},
                                 {"memory", attribute("memory")},
                                 m_reader.lineNumber()};
        m_numbers.learnInteger(waypoint.frames.text);
        m_numbers.learnSeconds(waypoint.elapsed.text);
        m_numbers.learnInteger(waypoint.memory.text);
        m_written.push_back(std::move(waypoint));
    }

    QString attribute(const char* name) const
    {
        const QXmlStreamAttributes attributes = m_reader.attributes();
        if (!attributes.hasAttribute(QLatin1String(name)))
            failHere(QLatin1String("a waypoint has no ") + QLatin1String(name));
        return attributes.value(QLatin1String(name)).toString();
    }

    void takeWaypoints()
    {
        m_report.waypoints.reserve(m_written.size());
        for (const WrittenWaypoint& written : m_written)
            m_report.waypoints.push_back({written.name, seconds(written), integer(written, written.frames),
                                          integer(written, written.memory)});
    }

    // The library writes the low 32 bits.
    std::int64_t integer(const WrittenWaypoint& waypoint, const NumberText& number) const
    {
        using Limits = std::numeric_limits<std::int32_t>;
        const double value = checked(waypoint, number, m_numbers.integer(number.text));
        if (value < Limits::min() || value > Limits::max())
            failNumber(waypoint, number, "is out of range");
        return static_cast<std::int64_t>(value);
    }

    // The library counts milliseconds in 64 bits.
    double seconds(const WrittenWaypoint& waypoint) const
    {
        constexpr double longest = 9223372036854776.0;
        const double value = checked(waypoint, waypoint.elapsed, m_numbers.seconds(waypoint.elapsed.text));
        if (std::abs(value) > longest)
            failNumber(waypoint, waypoint.elapsed, "is out of range");
        return value;
    }

    double checked(const WrittenWaypoint& waypoint, const NumberText& number,
                   const std::optional<double>& value) const
    {
        if (!value)
            failNumber(waypoint, number, "is not a number");
        return *value;
    }

    [[noreturn]] void failNumber(const WrittenWaypoint& waypoint, const NumberText& number,
                                 const char* what) const
    {
        failAt(waypoint.line, QLatin1String(number.attribute) + QLatin1Char(' ') +
                                  quoted(oneLine(number.text)) + QLatin1Char(' ') + QLatin1String(what));
    }

    const QString m_text;
    QXmlStreamReader m_reader;
    LocaleNumbers m_numbers;
    std::vector<WrittenWaypoint> m_written;
    Report m_report;
};

// Fails as soon as the beginning is not XML, without reading the rest: a device may never end.
void requireXml(const QByteArray& beginning, const QString& title)
{
    const QByteArray text = beginning.startsWith("\xEF\xBB\xBF") ? beginning.mid(3) : beginning;
    for (const char character : text)
        if (character == '<')
            return;
        else if (character != ' ' && character != '\t' && character != '\n' && character != '\r')
            fail(title, QLatin1String("it is not XML"));
}

QByteArray readAll(std::istream& stream, const QString& title)
{
    std::array<char, 65536> block{};
    QByteArray bytes;
    while (stream.read(block.data(), block.size()), stream.gcount() > 0) {
        bytes.append(block.data(), static_cast<int>(stream.gcount()));
        if (bytes.size() <= static_cast<int>(block.size()))
            requireXml(bytes, title);
        if (bytes.size() > maxReportSize)
            fail(title, QLatin1String("it is larger than 1 GiB"));
    }
    if (stream.bad())
        fail(title, QLatin1String("it cannot be read"));
    return bytes;
}

QByteArray readFile(const std::filesystem::path& file, const QString& title)
{
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        fail(title, QLatin1String("it is a directory"));
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        fail(title, QLatin1String(std::filesystem::exists(file, error) ? "it cannot be opened"
                                                                       : "there is no such file"));
    return readAll(stream, title);
}

} // namespace

Report parseReport(const QByteArray& bytes, const QString& title)
{
    if (bytes.trimmed().isEmpty())
        fail(title, QLatin1String("it is empty"));
    return Parser(decoded(bytes), title).parse();
}

Report readReport(const std::filesystem::path& file)
{
    if (file == "-") {
        const QString title = QStringLiteral("standard input");
        return parseReport(readAll(std::cin, title), title);
    }
    const QString title = oneLine(QString::fromStdString(file.u8string()));
    return parseReport(readFile(file, title), title);
}

} // namespace Brennic::Waypoints
