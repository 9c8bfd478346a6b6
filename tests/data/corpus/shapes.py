"""The few shapes that the corpus needs, y up."""

import math

RED = (0.85, 0.08, 0.06)
BLUE = (0.06, 0.10, 0.85)


class Mesh:
    """Indexed triangles; `quads` and `polygons` are made by those who want them."""

    def __init__(self):
        self.positions = []
        self.normals = []
        self.uvs = []  # v upwards
        self.indices = []

    @property
    def triangles(self):
        return [tuple(self.indices[i : i + 3]) for i in range(0, len(self.indices), 3)]

    def joined(self, other):
        both = Mesh()
        both.positions = self.positions + other.positions
        both.normals = self.normals + other.normals
        both.uvs = self.uvs + other.uvs
        both.indices = self.indices + [i + len(self.positions) for i in other.indices]
        return both

    def moved(self, x, y, z):
        copy = Mesh()
        copy.positions = [(p[0] + x, p[1] + y, p[2] + z) for p in self.positions]
        copy.normals, copy.uvs, copy.indices = self.normals, self.uvs, self.indices
        return copy

    def z_up(self):
        """The same shape for formats whose z points up."""
        copy = Mesh()
        copy.positions = [(p[0], -p[2], p[1]) for p in self.positions]
        copy.normals = [(n[0], -n[2], n[1]) for n in self.normals]
        copy.uvs, copy.indices = self.uvs, self.indices
        return copy


def box(width=1.0, height=1.0, depth=1.0):
    """A box around the origin, its sides apart; on each side the texture stands upright."""
    mesh = Mesh()
    sides = [
        # normal, the side's right, the side's up
        ((0, 0, 1), (1, 0, 0), (0, 1, 0)),
        ((0, 0, -1), (-1, 0, 0), (0, 1, 0)),
        ((1, 0, 0), (0, 0, -1), (0, 1, 0)),
        ((-1, 0, 0), (0, 0, 1), (0, 1, 0)),
        ((0, 1, 0), (1, 0, 0), (0, 0, -1)),
        ((0, -1, 0), (1, 0, 0), (0, 0, 1)),
    ]
    half = (width / 2, height / 2, depth / 2)
    for normal, right, up in sides:
        first = len(mesh.positions)
        for u, v in ((0, 0), (1, 0), (1, 1), (0, 1)):
            point = [normal[k] + right[k] * (2 * u - 1) + up[k] * (2 * v - 1) for k in range(3)]
            mesh.positions.append(tuple(point[k] * half[k] for k in range(3)))
            mesh.normals.append(normal)
            # The top takes the texture's upper edge and the bottom its lower one, so that their colours are known.
            mesh.uvs.append((u, 0.95 if normal[1] > 0 else 0.05 if normal[1] < 0 else v))
        mesh.indices += [first, first + 1, first + 2, first, first + 2, first + 3]
    return mesh


def totem():
    """Two boxes on each other: (upper, lower)."""
    return box().moved(0, 0.5, 0), box().moved(0, -0.5, 0)


def pillar():
    """One box as high as the totem."""
    return box(1, 2, 1)


def helix(count):
    """Points on a screw around the y axis."""
    points = []
    for i in range(count):
        angle = i * 0.35
        points.append((math.cos(angle) * 0.6, -1 + 2 * i / count, math.sin(angle) * 0.6))
    return points
