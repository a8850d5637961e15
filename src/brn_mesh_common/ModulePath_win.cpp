#include <brn_mesh_common/ModulePath_win.h>

namespace Brennic::Objects::Util {

std::wstring modulePath(HMODULE module)
{
    constexpr std::size_t longestPath = 32768;
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size() || path.size() >= longestPath) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

} // namespace Brennic::Objects::Util
