#include "planted/Shape.h"

namespace Brennic::Planted {

Shape::~Shape() = default;

#if defined(PLANT_SIGNATURE)
void Shape::scale(float factor)
#else
void Shape::scale(double factor)
#endif
{
    m_scale *= static_cast<double>(factor);
}

#if defined(PLANT_RETURNED_TYPE)
long Shape::corners() const
#else
int Shape::corners() const
#endif
{
    return m_scale > 0 ? 4 : 0;
}

EColour Shape::colour() const
{
    return m_colour;
}

double area(const Shape& shape)
{
    return shape.width() * shape.height();
}

} // namespace Brennic::Planted
