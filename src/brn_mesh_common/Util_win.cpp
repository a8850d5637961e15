#include <brn_mesh_common/Util.h>

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include <windows.h>

#include <brn_mesh_common/VersionResources.h>

namespace Brennic::Objects::Util {

namespace {

// The full path of a loaded module, of the executable for null.
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

// The version resource of a file, and the first of its translations.
class VersionResource
{
public:
    explicit VersionResource(const std::wstring& path)
    {
        DWORD ignored = 0;
        const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
        m_data.resize(size);
        if (size == 0 || GetFileVersionInfoW(path.c_str(), 0, size, m_data.data()) == 0)
            m_data.clear();
        else
            findTranslation();
    }

    bool exists() const { return !m_data.empty(); }

    std::wstring text(const wchar_t* name) const
    {
        void* text = nullptr;
        UINT length = 0;
        const std::wstring key = L"\\StringFileInfo\\" + m_translation + L'\\' + name;
        if (VerQueryValueW(m_data.data(), key.c_str(), &text, &length) == 0)
            return {};
        const std::wstring_view value(static_cast<const wchar_t*>(text), length);
        return std::wstring(value.substr(0, value.find(L'\0')));
    }

private:
    void findTranslation()
    {
        void* found = nullptr;
        UINT size = 0;
        if (VerQueryValueW(m_data.data(), L"\\VarFileInfo\\Translation", &found, &size) == 0 ||
            size < 2 * sizeof(WORD))
            return;
        const auto* const codes = static_cast<const WORD*>(found);
        m_translation = hexadecimal(codes[0]) + hexadecimal(codes[1]);
    }

    static std::wstring hexadecimal(WORD code)
    {
        constexpr std::wstring_view digits = L"0123456789abcdef";
        std::wstring text;
        for (int shift = 12; shift >= 0; shift -= 4)
            text += digits[(static_cast<unsigned>(code) >> static_cast<unsigned>(shift)) & 0xFU];
        return text;
    }

    std::vector<std::byte> m_data;
    std::wstring m_translation = L"040904b0"; // English, Unicode: what most resources have
};

} // namespace

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

bool readVersionResources(VersionInfo& versionInfo)
{
    const VersionResource product(modulePath(nullptr));
    const VersionResource file(modulePath(GetModuleHandleW(L"brn_mesh_kernel.dll")));
    if (!product.exists() || !file.exists())
        return false;
    versionInfo = {product.text(L"CompanyName"), file.text(L"FileDescription"), file.text(L"FileVersion"),
                   product.text(L"ProductName"), product.text(L"ProductVersion")};
    return true;
}

} // namespace Brennic::Objects::Util
