// Geometry value types shared by the host libraries.
#pragma once

#include <array>

namespace vyrcore::geom {

template <typename T>
struct PointT {
    T x{};
    T y{};
    friend bool operator==(const PointT&, const PointT&) = default;
};

// Stored in the order left, top, width, height.
template <typename T>
struct RectT {
    T left{};
    T top{};
    T width{};
    T height{};

    T Right() const { return left + width; }
    T Bottom() const { return top + height; }
    bool Contains(PointT<T> p) const
    {
        return p.x >= left && p.y >= top && p.x < left + width && p.y < top + height;
    }
    bool IsEmpty() const { return !(width > T{}) || !(height > T{}); }
    friend bool operator==(const RectT&, const RectT&) = default;
};

// A 3 by 3 matrix in row-major storage order. As a 2D transform it maps
// (x, y, 1) as a row vector: x' = x*m[0] + y*m[3] + m[6], y' = x*m[1] + y*m[4] + m[7].
template <typename T>
struct MatrixT {
    std::array<T, 9> m{1, 0, 0, 0, 1, 0, 0, 0, 1};
    friend bool operator==(const MatrixT&, const MatrixT&) = default;
};

using PointF = PointT<float>;
using PointI = PointT<int>;
using RectF = RectT<float>;
using RectI = RectT<int>;
using MatrixF = MatrixT<float>;

} // namespace vyrcore::geom
