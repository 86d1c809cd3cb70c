// Vector geometry: centres, lengths, angles, dihedrals, placing atoms, rigid rotation.
#ifndef RAVELO_COMPUTATIONALGEOMETRY_H
#define RAVELO_COMPUTATIONALGEOMETRY_H

#include "Vec3D.h"

namespace orvane {

/// Pi as angles of topology and parameter files are converted with: ten decimals, on which the
/// output depends.
inline constexpr double kFilePi = 3.1415926535;

/// Functions over points in Angstrom; angles are in radians. Nothing is checked: zero lengths and
/// collinear points run through to infinity or NaN, except where stated.
class ComputationalGeometry {
 public:
  ComputationalGeometry() {}
  ~ComputationalGeometry() {}

  /// Mean of `n` points, each multiplied by its weight where `weights` is not null. The sum is
  /// divided by `n` also with weights, so a centre of mass needs weights scaled to a mean of 1.
  static Vec3D CalcCenter(int n, const Vec3D* coords, const double* weights);

  /// Distance of two points; `CalcLengthD1` also gives its derivatives with respect to `a` and `b`
  /// in `grad[0]` and `grad[1]`.
  static double CalcLength(const Vec3D& a, const Vec3D& b);
  static double CalcLengthD1(const Vec3D& a, const Vec3D& b, Vec3D* grad);

  /// Angle at `b`. Nearly parallel arms give exactly 0; exactly opposite ones 3.1401784399095485.
  static double CalcAngle(const Vec3D& a, const Vec3D& b, const Vec3D& c);

  /// The same with its derivatives in `grad[0..2]`; nearly opposite arms give pi, and there, as for
  /// nearly parallel ones, the derivatives are zero.
  static double CalcAngleD1(const Vec3D& a, const Vec3D& b, const Vec3D& c, Vec3D* grad);

  /// Dihedral angle around the axis `b`-`c`, from -pi to pi. Looking from `b` to `c` it is positive
  /// where `a`-`b` in front must turn clockwise to cover `c`-`d` behind.
  static double CalcDihedral(const Vec3D& a, const Vec3D& b, const Vec3D& c, const Vec3D& d);

  /// The same with its derivatives in `grad[0..3]`.
  static double CalcDihedralD1(const Vec3D& a, const Vec3D& b, const Vec3D& c, const Vec3D& d,
                               Vec3D* grad);

  /// Places a point D behind `a`, `b`, `c`: distance `c`-D, angle `b`-`c`-D, dihedral
  /// `a`-`b`-`c`-D.
  static void CalcCoord(const Vec3D& a, const Vec3D& b, const Vec3D& c, double length, double angle,
                        double dihedral, Vec3D& out);

  /// Places a point D behind `a`, `b`: distance `b`-D, angle `a`-`b`-D. The plane is arbitrary, and
  /// the same for the same points.
  static void CalcCoord(const Vec3D& a, const Vec3D& b, double length, double angle, Vec3D& out);

  /// Turns `n` points about their mean, by -`angle1` about z, then by `angle2` about y, then by
  /// -`angle3` about z (fixed axes, right-handed), and puts their mean at `center`.
  static void Rotate(double angle1, double angle2, double angle3, const Vec3D& center, int n,
                     Vec3D* coords);
};

}  // namespace orvane

#endif
