// A triple of doubles: a point, a displacement or a direction in space.
#ifndef RAVELO_VEC3D_H
#define RAVELO_VEC3D_H

#include <cmath>
#include <type_traits>

namespace orvane {

/// Three doubles that lie next to each other, so that an array of `Vec3D` is a flat run of doubles.
/// Coordinates are in Angstrom.
struct Vec3D {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  Vec3D() = default;
  Vec3D(double x_value, double y_value, double z_value) : x(x_value), y(y_value), z(z_value) {}
};

static_assert(std::is_standard_layout_v<Vec3D> && sizeof(Vec3D) == 3 * sizeof(double));

inline Vec3D operator+(const Vec3D& a, const Vec3D& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Vec3D operator-(const Vec3D& a, const Vec3D& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Vec3D operator*(const Vec3D& a, double factor) {
  return {a.x * factor, a.y * factor, a.z * factor};
}

/// Scalar product.
inline double Dot(const Vec3D& a, const Vec3D& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Vector product.
inline Vec3D Cross(const Vec3D& a, const Vec3D& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Euclidean length.
inline double Length(const Vec3D& a) {
  return std::sqrt(Dot(a, a));
}

/// Whether no component is infinite or not a number.
inline bool IsFinite(const Vec3D& a) {
  return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

/// The vector of length 1 in the direction of `a`; not a number where the length of `a` is zero.
inline Vec3D Unit(const Vec3D& a) {
  return a * (1.0 / Length(a));
}

}  // namespace orvane

#endif
