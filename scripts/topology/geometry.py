"""Placing an atom from a length, an angle and a dihedral, and measuring the three (degrees)."""

from math import acos, atan2, cos, degrees, radians, sin, sqrt


def minus(a, b):
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def norm(a):
    return sqrt(dot(a, a))


def unit(a):
    size = norm(a)
    return (a[0] / size, a[1] / size, a[2] / size)


def distance(a, b):
    return norm(minus(a, b))


def angle(a, b, c):
    cosine = dot(unit(minus(a, b)), unit(minus(c, b)))
    return degrees(acos(max(-1.0, min(1.0, cosine))))


def dihedral(a, b, c, d):
    axis = unit(minus(c, b))
    front, back = cross(minus(b, a), axis), cross(axis, minus(d, c))
    return degrees(atan2(dot(cross(front, back), axis), dot(front, back)))


def third_side(a, b, bend):
    """Length of a triangle's third side from two sides and the angle between them."""
    return sqrt(a * a + b * b - 2.0 * a * b * cos(radians(bend)))


def place(a, b, c, length, bend, torsion):
    """The point at `length` from c, with the angle b-c-point and the dihedral a-b-c-point."""
    along = unit(minus(c, b))
    normal = unit(cross(minus(b, a), along))
    across = cross(normal, along)
    bend, torsion = radians(bend), radians(torsion)
    u = -length * cos(bend)
    v = length * sin(bend) * cos(torsion)
    w = length * sin(bend) * sin(torsion)
    return tuple(c[i] + along[i] * u + across[i] * v + normal[i] * w for i in range(3))


def place_in_any_plane(a, b, length, bend):
    """A point at `length` from b with the angle a-b-point, in a plane fixed by constants.

    This is the program's fallback when the first reference atom of a term is missing.
    """
    u = unit(minus(a, b))
    for axis, seed in ((0, (0.0, 0.4, 0.6)), (1, (0.4, 0.0, 0.6)), (2, (0.4, 0.6, 0.0))):
        if axis == 2 or abs(u[axis]) > 0.01:
            w = list(seed)
            w[axis] = -sum(u[i] / u[axis] * seed[i] for i in range(3) if i != axis)
            break
    m = unit(tuple(w))
    bend = radians(bend)
    return tuple(b[i] + u[i] * length * cos(bend) + m[i] * length * sin(bend) for i in range(3))
