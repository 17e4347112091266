#include "WindowManager.h"

#include <cstdlib>

bool Rect::isZero() const
{
    return equalTo(Rect());
}

bool Rect::pointInRect(const Point& point) const
{
    return left <= point.getx() && point.getx() <= right() && top <= point.gety() && point.gety() <= bottom();
}

bool Rect::equalTo(const Rect& other) const
{
    return top == other.top && left == other.left && height == other.height && width == other.width;
}

bool Rect::fuzzyEqualTo(const Rect& other, int tolerance) const
{
    const auto near = [&](int64_t a, int64_t b) { return std::abs(a - b) <= tolerance; };
    return near(top, other.top) && near(left, other.left) && near(bottom(), other.bottom()) &&
           near(right(), other.right());
}

bool Rect::contains(const Rect& other) const
{
    return other.left >= left && other.top >= top && other.bottom() <= bottom() && other.right() <= right();
}
