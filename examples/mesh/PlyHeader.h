#pragma once
/// \file
/// The header of PLY files: which elements there are, and what each consists of.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

enum class PlyFormat
{
    Text,
    LittleEndian,
    BigEndian
};

struct PlyType
{
    enum Kind
    {
        Signed,
        Unsigned,
        Real
    };

    std::string_view name;
    std::size_t size;
    Kind kind;
};

struct PlyProperty
{
    std::string name;
    const PlyType* type = nullptr;
    const PlyType* countType = nullptr; ///< of a list; null if the property is a single number

    bool isCornerList() const;
};

struct PlyElement
{
    std::string name;
    std::size_t count = 0;
    std::vector<PlyProperty> properties;
};

struct PlyHeader
{
    PlyFormat format = PlyFormat::Text;
    std::vector<PlyElement> elements;
    std::string_view body; ///< what follows the header
};

/// Throws `MeshFileDefect` if the header is incomplete, holds anything unknown or promises no mesh.
PlyHeader readPlyHeader(std::string_view bytes);
