#pragma once
/// \file
/// The interface of a small library that is built once as it is meant, and once with each of the changes that hosts do not
/// survive. The comparison with the record has to find every one.

#if defined(PLANT_REMOVED_EXPORT)
#define PLANTED_AREA_EXPORT
#else
#define PLANTED_AREA_EXPORT PLANTED_EXPORT
#endif

namespace Brennic::Planted {

enum EColour
{
    eRed,
#if defined(PLANT_ENUMERATOR)
    eOrange,
#endif
    eGreen,
};

class PLANTED_EXPORT Shape
{
public:
    virtual ~Shape();
#if defined(PLANT_REORDERED_VIRTUAL)
    virtual double height() const = 0;
    virtual double width() const = 0;
#else
    virtual double width() const = 0;
    virtual double height() const = 0;
#endif
#if defined(PLANT_SIGNATURE)
    void scale(float factor);
#else
    void scale(double factor);
#endif
#if defined(PLANT_RETURNED_TYPE)
    long corners() const;
#else
    int corners() const;
#endif
    EColour colour() const;

private:
#if defined(PLANT_MEMBER)
    double m_weight = 0;
#endif
    double m_scale = 1;
    EColour m_colour = eRed;
};

PLANTED_AREA_EXPORT double area(const Shape& shape);

} // namespace Brennic::Planted
