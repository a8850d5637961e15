#pragma once
/// \file
/// Internal, not installed. A list with room for a fixed number of elements, for code that must not allocate.
/// What does not fit is dropped. Lies zeroed in static storage, without a constructor that runs.

#include <array>
#include <cstddef>

namespace Brennic::Minidump {

template <typename T, std::size_t Capacity>
class FixedList
{
public:
    /// \return the new element, or null if the list is full.
    T* add(const T& element)
    {
        if (m_size == Capacity)
            return nullptr;
        m_elements[m_size] = element;
        return &m_elements[m_size++];
    }
    void clear() { m_size = 0; }
    void truncate(std::size_t size) { m_size = size < m_size ? size : m_size; }

    std::size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }
    T* data() { return m_elements.data(); }
    T* begin() { return m_elements.data(); }
    T* end() { return m_elements.data() + m_size; }
    const T* begin() const { return m_elements.data(); }
    const T* end() const { return m_elements.data() + m_size; }
    T& operator[](std::size_t index) { return m_elements[index]; }
    const T& operator[](std::size_t index) const { return m_elements[index]; }

private:
    std::size_t m_size = 0;
    std::array<T, Capacity> m_elements{};
};

} // namespace Brennic::Minidump
