#include <brn_mesh_kernel/diagnostics/WaypointReport.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <locale>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string_view>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <brn_mesh_common/Util.h>
#include <brn_mesh_kernel/diagnostics/ReportFile.h>

namespace Brennic::Core {

namespace {

namespace Util = Objects::Util;
using boost::property_tree::ptree;

boost::property_tree::xml_writer_settings<std::string> writerSettings()
{
    return {' ', 2, "utf-8"};
}

void addVersions(ptree& report)
{
    Util::VersionInfo info;
    if (Util::QueryVersionInfo(info) != Success)
        return;
    report.put("Profiler.ProductVersion.<xmlattr>.description", Util::ConvertToChar(info.productDescription));
    report.put("Profiler.ProductVersion.<xmlattr>.version", Util::ConvertToChar(info.productVersion));
    report.put("Profiler.FileVersion.<xmlattr>.description", Util::ConvertToChar(info.fileDescription));
    report.put("Profiler.FileVersion.<xmlattr>.version", Util::ConvertToChar(info.fileVersion));
}

// Writes numbers as the global locale does, through one stream. A property tree's own translator would make a
// stream for each number, and write 0.1 as 0.10000000000000001.
class NumberText : private std::streambuf
{
public:
    NumberText() { m_stream.precision(precision); }

    /// The text of the integer, valid until the next call.
    std::string_view operator()(std::int32_t number)
    {
        if (!m_isClassic) // a locale of the host may group digits, or have another decimal point
            return print(number);
        char* const first = m_characters.data();
        const std::to_chars_result end = std::to_chars(first, first + m_characters.size(), number);
        return {first, static_cast<std::size_t>(end.ptr - first)};
    }

    /// The text of the number, valid until the next call.
    std::string_view operator()(double number)
    {
        if (!m_isClassic)
            return print(number);
        char* const first = m_characters.data();
        const std::to_chars_result end =
            std::to_chars(first, first + m_characters.size(), number, std::chars_format::general, precision);
        return {first, static_cast<std::size_t>(end.ptr - first)};
    }

private:
    static constexpr int precision = 16;

    template <typename Number>
    std::string_view print(Number number)
    {
        setp(m_characters.data(), m_characters.data() + m_characters.size());
        m_stream << number;
        return {pbase(), static_cast<std::size_t>(pptr() - pbase())};
    }

    std::array<char, 128> m_characters{}; // 20 digits, each followed by a separator, and room to spare
    const bool m_isClassic = std::locale() == std::locale::classic();
    std::ostream m_stream{this};
};

std::int32_t low32Bits(std::int64_t value)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

// Appends the text as Boost's writer escapes it in an attribute.
void appendEscaped(std::string_view text, std::string& out)
{
    if (!text.empty() && text.find_first_not_of(' ') == std::string_view::npos) {
        out += "&#32;"; // a value of blanks alone would be read as none
        text.remove_prefix(1);
    }
    for (const char character : text) {
        switch (character) {
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '&':
            out += "&amp;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&apos;";
            break;
        default:
            out += character;
        }
    }
}

// Appends one waypoint's line, byte for byte as Boost's writer would. A report may have millions of them, and
// a tree of all took seven times as long as writing it (docs/performance.md).
class WaypointLines
{
public:
    void append(const Waypoint& waypoint, std::string& out)
    {
        out += "    <Waypoint name=\"";
        appendEscaped(Util::ConvertToChar(waypoint.name), out);
        out += "\" frames=\"";
        appendEscaped(m_text(low32Bits(waypoint.frames)), out);
        out += "\" elapsed=\"";
        appendEscaped(m_text(static_cast<double>(waypoint.elapsed) / 1000.0), out);
        out += "\" memory=\"";
        appendEscaped(m_text(low32Bits(waypoint.memory)), out);
        out += "\"/>\n";
    }

private:
    NumberText m_text;
};

// The document as Boost's writer makes it, with one empty element in place of the waypoints.
std::string documentFrame(bool hasWaypoints)
{
    ptree report;
    addVersions(report);
    if (hasWaypoints)
        report.add_child("Profiler.Waypoints.Waypoint", {});
    std::ostringstream text;
    write_xml(text, report, writerSettings());
    return text.str();
}

bool flush(std::string& text, ReportFile& file)
{
    const bool isWritten = file.write(text.data(), text.size());
    text.clear();
    return isWritten;
}

bool writeDocument(const std::vector<Waypoint>& waypoints, ReportFile& file)
{
    constexpr std::string_view placeholder = "    <Waypoint/>\n";
    constexpr std::size_t piece = 65536;
    const std::string frame = documentFrame(!waypoints.empty());
    const std::size_t place = std::min(frame.find(placeholder), frame.size());
    std::string text = frame.substr(0, place);
    WaypointLines lines;
    for (const Waypoint& waypoint : waypoints) {
        lines.append(waypoint, text);
        if (text.size() >= piece && !flush(text, file))
            return false;
    }
    if (!waypoints.empty())
        text += std::string_view(frame).substr(place + placeholder.size());
    return flush(text, file);
}

[[noreturn]] void throwError(const char* message, const std::wstring& path)
{
    throw boost::property_tree::xml_parser_error(message, Util::ConvertToChar(path), 0);
}

} // namespace

EKvsStatus WriteWaypointReport(const std::vector<Waypoint>& waypoints, const std::wstring& path)
{
    ReportFile file;
    if (!file.open(path))
        throwError("cannot open file", path);
    if (!writeDocument(waypoints, file) || !file.publish())
        throwError("write error", path);
    return Success;
}

} // namespace Brennic::Core
