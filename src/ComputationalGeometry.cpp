// Vector geometry: centres, lengths, angles, dihedrals, placing atoms, rigid rotation. The order of
// the operations is fixed: printed digits depend on it.
#include "ComputationalGeometry.h"

#include <cmath>

namespace orvane {

namespace {

constexpr double kNearlyOne = 0.999999;

// Result of CalcAngle for opposite arms: the arc cosine of -0.999999, not pi.
constexpr double kOppositeArmsAngle = 3.1401784399095485;
constexpr double kPi = 3.141592653589793;

Vec3D DividedBy(const Vec3D& a, double divisor) {
  return {a.x / divisor, a.y / divisor, a.z / divisor};
}

// The dihedral angle around an axis of length one, from the normals (of any length) of the planes
// through its first and its second three atoms.
double AngleAround(const Vec3D& axis, const Vec3D& first_normal, const Vec3D& second_normal) {
  const Vec3D n1 = Unit(first_normal);
  const Vec3D n2 = Unit(second_normal);
  return std::atan2(Dot(n1, Unit(Cross(n2, axis))), Dot(n1, n2));
}

}  // namespace

Vec3D ComputationalGeometry::CalcCenter(int n, const Vec3D* coords, const double* weights) {
  Vec3D sum;
  for (int i = 0; i < n; ++i) sum = sum + (weights ? coords[i] * weights[i] : coords[i]);
  return sum * (1.0 / n);
}

double ComputationalGeometry::CalcLength(const Vec3D& a, const Vec3D& b) {
  return Length(a - b);
}

double ComputationalGeometry::CalcLengthD1(const Vec3D& a, const Vec3D& b, Vec3D* grad) {
  const Vec3D r = a - b;
  const double length = Length(r);
  grad[0] = DividedBy(r, length);
  grad[1] = Vec3D() - grad[0];
  return length;
}

double ComputationalGeometry::CalcAngle(const Vec3D& a, const Vec3D& b, const Vec3D& c) {
  const double t = Dot(Unit(a - b), Unit(c - b));
  if (t >= kNearlyOne) return 0.0;
  if (t <= -1.0) return kOppositeArmsAngle;
  return std::acos(t);
}

double ComputationalGeometry::CalcAngleD1(const Vec3D& a, const Vec3D& b, const Vec3D& c,
                                          Vec3D* grad) {
  const double r1 = Length(a - b);
  const double r2 = Length(c - b);
  const Vec3D u = DividedBy(a - b, r1);
  const Vec3D v = DividedBy(c - b, r2);
  const double t = Dot(u, v);
  if (t >= kNearlyOne || t <= -kNearlyOne) {
    grad[0] = grad[1] = grad[2] = Vec3D();
    return t >= kNearlyOne ? 0.0 : kPi;
  }
  const Vec3D n = Unit(Cross(u, v));
  grad[0] = DividedBy(Cross(u, n), r1);
  grad[2] = DividedBy(Cross(n, v), r2);
  grad[1] = (Vec3D() - grad[0]) - grad[2];
  return std::acos(t);
}

double ComputationalGeometry::CalcDihedral(const Vec3D& a, const Vec3D& b, const Vec3D& c,
                                           const Vec3D& d) {
  const Vec3D b1 = Unit(b - a);
  const Vec3D b2 = Unit(c - b);
  const Vec3D b3 = Unit(d - c);
  return AngleAround(b2, Cross(b1, b2), Cross(b2, b3));
}

double ComputationalGeometry::CalcDihedralD1(const Vec3D& a, const Vec3D& b, const Vec3D& c,
                                             const Vec3D& d, Vec3D* grad) {
  const double r1 = Length(b - a);
  const double r2 = Length(c - b);
  const double r3 = Length(d - c);
  const Vec3D b1 = Unit(b - a);
  const Vec3D b2 = Unit(c - b);
  const Vec3D b3 = Unit(d - c);
  const Vec3D p = Cross(b1, b2);
  const Vec3D q = Cross(b2, b3);
  const double cb = Dot(b1, b2);
  const double cc = Dot(b2, b3);
  grad[0] = DividedBy(p, (1 - cb * cb) * (-r1));
  grad[3] = DividedBy(q, (1 - cc * cc) * r3);
  grad[1] = (grad[3] * (r3 * cc) - grad[0] * (r1 * cb)) * (1.0 / r2) - grad[0];
  grad[2] = ((Vec3D() - grad[0]) - grad[1]) - grad[3];

  return AngleAround(b2, p, q);
}

void ComputationalGeometry::CalcCoord(const Vec3D& a, const Vec3D& b, const Vec3D& c, double length,
                                      double angle, double dihedral, Vec3D& out) {
  const Vec3D e = Unit(c - b);
  const Vec3D n = Unit(Cross(b - a, e));
  const Vec3D m = Cross(n, e);
  out = c - e * (length * std::cos(angle)) + m * (length * std::sin(angle) * std::cos(dihedral)) +
        n * (length * std::sin(angle) * std::sin(dihedral));
}

void ComputationalGeometry::CalcCoord(const Vec3D& a, const Vec3D& b, double length, double angle,
                                      Vec3D& out) {
  constexpr double kLargeEnough = 0.01;
  const Vec3D u = Unit(a - b);
  Vec3D w;
  if (std::fabs(u.x) > kLargeEnough) {
    w = {Dot(DividedBy(u, u.x), {0.0, -0.4, -0.6}), 0.4, 0.6};
  } else if (std::fabs(u.y) > kLargeEnough) {
    w = {0.4, Dot(DividedBy(u, u.y), {-0.4, 0.0, -0.6}), 0.6};
  } else {
    w = {0.4, 0.6, Dot(DividedBy(u, u.z), {-0.4, -0.6, 0.0})};
  }
  const Vec3D m = Unit(w);
  out = (b + u * (length * std::cos(angle))) + m * (length * std::sin(angle));
}

void ComputationalGeometry::Rotate(double angle1, double angle2, double angle3, const Vec3D& center,
                                   int n, Vec3D* coords) {
  const double c1 = std::cos(angle1), s1 = std::sin(angle1);
  const double c2 = std::cos(angle2), s2 = std::sin(angle2);
  const double c3 = std::cos(angle3), s3 = std::sin(angle3);
  const Vec3D row1(c1 * c2 * c3 - s1 * s3, s1 * c2 * c3 + c1 * s3, s2 * c3);
  const Vec3D row2(-s1 * c3 - c1 * c2 * s3, c1 * c3 - s1 * c2 * s3, -s2 * s3);
  const Vec3D row3(-c1 * s2, -s1 * s2, c2);
  const Vec3D g = CalcCenter(n, coords, nullptr);
  for (int i = 0; i < n; ++i) {
    const Vec3D p = coords[i] - g;
    coords[i] = Vec3D(Dot(row1, p), Dot(row2, p), Dot(row3, p)) + center;
  }
}

}  // namespace orvane
