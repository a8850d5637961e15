#include <brn_mesh_common/Util.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Objects::Util {

std::string ConvertToChar(const std::wstring& text)
{
    return boost::nowide::narrow(text);
}

} // namespace Brennic::Objects::Util
