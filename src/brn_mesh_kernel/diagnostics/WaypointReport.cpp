#include <brn_mesh_kernel/diagnostics/WaypointReport.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <locale>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string_view>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <brn_mesh_common/Util.h>

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

// Writes numbers as the global locale does. A property tree's own translator would make a stream for each, and
// shows 0.1 as 0.10000000000000001.
class NumberText : private std::streambuf
{
public:
    NumberText() { m_stream.precision(16); }

    /// The text of the integer, valid until the next call.
    std::string_view operator()(std::int32_t number)
    {
        if (!m_isClassic)
            return print(number);
        char* const first = m_characters.data();
        const std::to_chars_result end = std::to_chars(first, first + m_characters.size(), number);
        return {first, static_cast<std::size_t>(end.ptr - first)};
    }

    /// The text of the number, valid until the next call.
    std::string_view operator()(double number) { return print(number); }

private:
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

// The element of one waypoint, made once and filled anew for each: a report of many waypoints would spend most
// of its time on building and freeing its tree.
class WaypointElement
{
public:
    void write(const Waypoint& waypoint, std::ostream& out)
    {
        m_name.data() = Util::ConvertToChar(waypoint.name);
        m_frames.data() = m_text(low32Bits(waypoint.frames));
        m_elapsed.data() = m_text(static_cast<double>(waypoint.elapsed) / 1000.0);
        m_memory.data() = m_text(low32Bits(waypoint.memory));
        write_xml_element(out, std::string("Waypoint"), m_element, 2, writerSettings());
    }

private:
    ptree m_element;
    ptree& m_name = m_element.add("<xmlattr>.name", "");
    ptree& m_frames = m_element.add("<xmlattr>.frames", "");
    ptree& m_elapsed = m_element.add("<xmlattr>.elapsed", "");
    ptree& m_memory = m_element.add("<xmlattr>.memory", "");
    NumberText m_text;
};

// All of the document but the waypoints, in whose place it has one empty element.
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

void writeDocument(const std::vector<Waypoint>& waypoints, std::ostream& out)
{
    constexpr std::string_view placeholder = "    <Waypoint/>\n";
    const std::string frame = documentFrame(!waypoints.empty());
    const std::size_t place = std::min(frame.find(placeholder), frame.size());
    out << std::string_view(frame).substr(0, place);
    WaypointElement element;
    for (const Waypoint& waypoint : waypoints)
        element.write(waypoint, out);
    if (!waypoints.empty())
        out << std::string_view(frame).substr(place + placeholder.size());
}

[[noreturn]] void throwError(const char* message, const std::string& file)
{
    throw boost::property_tree::xml_parser_error(message, file, 0);
}

} // namespace

EKvsStatus WriteWaypointReport(const std::vector<Waypoint>& waypoints, const std::wstring& path)
{
    const std::string name = Util::ConvertToChar(path);
    std::array<char, 65536> buffer; // NOLINT(*-member-init): the file's own
    std::ofstream file;
    file.rdbuf()->pubsetbuf(buffer.data(), buffer.size());
    file.open(std::filesystem::u8path(name));
    if (!file)
        throwError("cannot open file", name);
    writeDocument(waypoints, file);
    file.flush();
    if (!file)
        throwError("write error", name);
    return Success;
}

} // namespace Brennic::Core
