#include "PlyBody.h"

#include "BinaryNumber.h"
#include "RawMesh.h"

namespace {

double toSigned(std::uint64_t bits, std::size_t size)
{
    const std::uint64_t range = std::uint64_t{1} << (8 * size);
    return static_cast<double>(bits) - (bits >= range / 2 ? static_cast<double>(range) : 0);
}

double toNumber(std::string_view bytes, const PlyType& type, bool isBigEndian)
{
    if (type.kind == PlyType::Real)
        return type.size == 4 ? binaryFloat(bytes, isBigEndian) : binaryDouble(bytes, isBigEndian);
    const std::uint64_t bits = binaryUint(bytes, type.size, isBigEndian);
    return type.kind == PlyType::Signed ? toSigned(bits, type.size) : static_cast<double>(bits);
}

} // namespace

void PlyTextBody::beginItem()
{
    m_words = &m_lines.require(1);
    m_next = 0;
}

double PlyTextBody::next(const PlyType& type)
{
    skip(type, 1);
    return m_lines.number((*m_words)[m_next - 1]);
}

void PlyTextBody::skip(const PlyType& /*type*/, std::size_t count)
{
    if (m_words->size() - m_next < count)
        m_lines.fail("is incomplete");
    m_next += count;
}

double PlyBinaryBody::next(const PlyType& type)
{
    const std::string_view bytes = m_rest;
    skip(type, 1);
    return toNumber(bytes, type, m_isBigEndian);
}

void PlyBinaryBody::skip(const PlyType& type, std::size_t count)
{
    if (m_rest.size() / type.size < count)
        throw MeshFileDefect(cutShort);
    m_rest.remove_prefix(count * type.size);
}

std::unique_ptr<PlyBody> makePlyBody(const PlyHeader& header)
{
    if (header.format == PlyFormat::Text)
        return std::make_unique<PlyTextBody>(header.body);
    return std::make_unique<PlyBinaryBody>(header.body, header.format == PlyFormat::BigEndian);
}
