#include "unix/window/WindowManager.h"

#include <cstdlib>

bool Rect::isZero() const
{
    return equalTo(Rect());
}

bool Rect::pointInRect(const Point& point) const
{
    return m_left <= point.getx() && point.getx() <= right() && m_top <= point.gety() &&
           point.gety() <= bottom();
}

bool Rect::equalTo(const Rect& other) const
{
    return m_top == other.m_top && m_left == other.m_left && m_height == other.m_height &&
           m_width == other.m_width;
}

bool Rect::fuzzyEqualTo(const Rect& other, int tolerance) const
{
    const auto near = [&](int64_t a, int64_t b) { return std::abs(a - b) <= tolerance; };
    return near(m_top, other.m_top) && near(m_left, other.m_left) && near(bottom(), other.bottom()) &&
           near(right(), other.right());
}

bool Rect::contains(const Rect& other) const
{
    return other.m_left >= m_left && other.m_top >= m_top && other.bottom() <= bottom() &&
           other.right() <= right();
}
