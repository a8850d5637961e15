#include "PlyReader.h"

#include <cmath>

#include "PlyBody.h"
#include "PlyHeader.h"

namespace {

std::size_t readListLength(PlyBody& body, const PlyType& type)
{
    const double length = body.next(type);
    if (!(length >= 0 && length <= 0xFFFFFFFFU && std::floor(length) == length))
        throw MeshFileDefect("it has a list of impossible length");
    return static_cast<std::size_t>(length);
}

void skip(PlyBody& body, const PlyProperty& property)
{
    const std::size_t count = property.countType == nullptr ? 1 : readListLength(body, *property.countType);
    body.skip(*property.type, count);
}

void readVertex(RawMesh& mesh, PlyBody& body, const PlyElement& element)
{
    std::array<double, 3> position = {};
    for (const PlyProperty& property : element.properties) {
        const std::size_t axis = std::string_view("xyz").find(property.name);
        if (property.name.size() == 1 && axis < 3 && property.countType == nullptr)
            position[axis] = body.next(*property.type);
        else
            skip(body, property);
    }
    mesh.addPosition(position);
}

void readCorners(RawMesh& mesh, PlyBody& body, const PlyProperty& property)
{
    mesh.requireTriangle(readListLength(body, *property.countType));
    std::array<double, 3> corners = {};
    for (double& corner : corners)
        corner = body.next(*property.type);
    mesh.addTriangle(corners);
}

void readFace(RawMesh& mesh, PlyBody& body, const PlyElement& element)
{
    for (const PlyProperty& property : element.properties)
        if (property.isCornerList())
            readCorners(mesh, body, property);
        else
            skip(body, property);
}

void readItem(RawMesh& mesh, PlyBody& body, const PlyElement& element)
{
    body.beginItem();
    if (element.name == "vertex")
        return readVertex(mesh, body, element);
    if (element.name == "face")
        return readFace(mesh, body, element);
    for (const PlyProperty& property : element.properties)
        skip(body, property);
}

void readElement(RawMesh& mesh, PlyBody& body, const PlyElement& element)
{
    if (element.properties.empty())
        return; // nothing to read, however often
    for (std::size_t i = 0; i < element.count; ++i)
        readItem(mesh, body, element);
}

} // namespace

RawMesh readPly(std::string_view bytes)
{
    const PlyHeader header = readPlyHeader(bytes);
    const std::unique_ptr<PlyBody> body = makePlyBody(header);
    RawMesh mesh;
    for (const PlyElement& element : header.elements)
        readElement(mesh, *body, element);
    mesh.requireCornersExist();
    mesh.isLastLineOpen = header.format == PlyFormat::Text && bytes.back() != '\n';
    return mesh;
}
