#pragma once
/// \file
/// The numbers that follow a PLY header, read alike from text and from bytes.

#include <memory>
#include <string_view>

#include "MeshLines.h"
#include "PlyHeader.h"

class PlyBody
{
public:
    virtual ~PlyBody() = default;

    /// Begins the next vertex, face or whatever the element is. Throws `MeshFileDefect` if there is none.
    virtual void beginItem() = 0;

    /// The next number of the item. Throws `MeshFileDefect` if there is none.
    virtual double next(const PlyType& type) = 0;

    /// Passes over numbers of the item. Throws `MeshFileDefect` if there are fewer.
    virtual void skip(const PlyType& type, std::size_t count) = 0;
};

/// A line for each item.
class PlyTextBody : public PlyBody
{
public:
    explicit PlyTextBody(std::string_view text) : m_lines(text) {}

    void beginItem() override;
    double next(const PlyType& type) override;
    void skip(const PlyType& type, std::size_t count) override;

private:
    MeshLines m_lines;
    const Words* m_words = nullptr;
    std::size_t m_next = 0;
};

class PlyBinaryBody : public PlyBody
{
public:
    PlyBinaryBody(std::string_view bytes, bool isBigEndian) : m_rest(bytes), m_isBigEndian(isBigEndian) {}

    void beginItem() override {}
    double next(const PlyType& type) override;
    void skip(const PlyType& type, std::size_t count) override;

private:
    std::string_view m_rest;
    bool m_isBigEndian;
};

std::unique_ptr<PlyBody> makePlyBody(const PlyHeader& header);
