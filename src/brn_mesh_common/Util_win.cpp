#include <brn_mesh_common/Util.h>

#include <algorithm>
#include <string_view>

#include <brn_mesh_common/ModulePath_win.h>

namespace Brennic::Objects::Util {

std::wstring GetCurrentProcessName()
{
    constexpr std::wstring_view extension = L".exe";
    std::wstring name = modulePath(nullptr);
    name.erase(0, name.find_last_of(L"\\/") + 1);
    const std::size_t stem = name.size() - std::min(name.size(), extension.size());
    if (CompareStringOrdinal(name.c_str() + stem, -1, extension.data(), -1, TRUE) == CSTR_EQUAL)
        name.resize(stem);
    return name.empty() ? L"process" : name;
}

} // namespace Brennic::Objects::Util
