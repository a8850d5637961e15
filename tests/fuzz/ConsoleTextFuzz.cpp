// What is shown on a terminal: the live line of a progress with any description, and messages with visible control characters.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include <QString>
#include <boost/nowide/convert.hpp>

#include <brn_console/DisplayWidth.h>
#include <brn_mesh_kernel/logging/VisibleControls.h>
#include <brn_mesh_kernel/progress/ProgressLine.h>

#include "PlantedFault.h"

using namespace Brennic;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t headSize = 4;
    if (size < headSize)
        return 0;
    Core::RunState state;
    state.stage.assign(reinterpret_cast<const char*>(data) + headSize, size - headSize);
    state.fraction = data[0] / 200.0 - 0.1;
    state.elapsed = std::chrono::duration<double>(data[1] * data[2] * 10.0);
    const std::size_t width = data[3];
    const QString line = QString::fromStdString(Core::progressLine(state, width));
    Fuzz::require(Core::displayWidth(line) <= static_cast<int>(width),
                  "the line is no wider than the terminal");
    for (const QChar character : line)
        Fuzz::require(character.category() != QChar::Other_Control, "no control character is in the line");
    const std::wstring shown = Core::withVisibleControls(boost::nowide::widen(state.stage));
    for (const wchar_t character : shown)
        Fuzz::require(character == L'\t' || (character > L'\x1f' && character != L'\x7f'),
                      "no control character is left");
    Fuzz::plantFault(line.contains(QLatin1String("77 %")) && Core::displayWidth(line) > line.size());
    return 0;
}
