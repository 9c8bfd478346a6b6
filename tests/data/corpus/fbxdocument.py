"""Builds binary FBX files node by node, and breaks them on demand."""

import struct
import zlib

HEADER = b"Kaydara FBX Binary  \x00\x1a\x00"


class Array:
    """An array property. `claimed` and `claimed_bytes` are what its head lies about."""

    def __init__(self, kind, values, packed=False, claimed=None, claimed_bytes=None, raw=None):
        self.kind, self.values, self.packed = kind, values, packed
        self.claimed, self.claimed_bytes, self.raw = claimed, claimed_bytes, raw

    def bytes(self):
        data = struct.pack(f"<{len(self.values)}{self.kind}", *self.values)
        if self.packed:
            data = zlib.compress(data)
        if self.raw is not None:
            data = self.raw
        count = len(self.values) if self.claimed is None else self.claimed
        size = len(data) if self.claimed_bytes is None else self.claimed_bytes
        letter = {"q": b"l"}.get(self.kind, self.kind.encode())
        return letter + struct.pack("<III", count, int(self.packed), size) + data


class Raw(bytes):
    """A property of raw bytes, or one whose whole coding is given."""


class Coded(bytes):
    """A property as it stands in the file, type letter and all."""


class Long(int):
    """An integer of eight bytes."""


def _property(value):
    if isinstance(value, Array):
        return value.bytes()
    if isinstance(value, Coded):
        return bytes(value)
    if isinstance(value, Raw):
        return b"R" + struct.pack("<I", len(value)) + value
    if isinstance(value, (bytes, str)):
        data = value if isinstance(value, bytes) else value.encode()
        return b"S" + struct.pack("<I", len(data)) + data
    if isinstance(value, bool):
        return b"C" + bytes((value,))
    if isinstance(value, Long):
        return b"L" + struct.pack("<q", value)
    if isinstance(value, int):
        return b"I" + struct.pack("<i", value)
    return b"D" + struct.pack("<d", value)


class Node:
    def __init__(self, name, *values, children=(), claimed_count=None, claimed_bytes=None, claimed_end=None):
        self.name, self.values, self.children = name, list(values), list(children)
        self.claimed_count, self.claimed_bytes, self.claimed_end = claimed_count, claimed_bytes, claimed_end

    def child(self, name):
        return next(c for c in self.children if c.name == name)

    def bytes(self, start, wide):
        """`start` is where the node will stand in the file."""
        head_format, null = ("<QQQ", 25) if wide else ("<III", 13)
        head = struct.calcsize(head_format) + 1 + len(self.name)
        values = b"".join(_property(v) for v in self.values)
        body = values
        for child in self.children:
            body += child.bytes(start + head + len(body), wide)
        if self.children:
            body += bytes(null)
        end = start + head + len(body) if self.claimed_end is None else self.claimed_end
        count = len(self.values) if self.claimed_count is None else self.claimed_count
        size = len(values) if self.claimed_bytes is None else self.claimed_bytes
        return struct.pack(head_format, end, count, size) + bytes((len(self.name),)) + self.name.encode() + body


def pack(nodes, version=7400):
    wide = version >= 7500
    data = HEADER + struct.pack("<I", version)
    for node in nodes:
        data += node.bytes(len(data), wide)
    return data + bytes(25 if wide else 13)


def name(text, kind):
    return text.encode() + b"\x00\x01" + kind.encode()


def setting(key, kind, label, *values):
    return Node("P", key, kind, label, "A", *values)


def settings(*rows):
    return Node("Properties70", children=rows)


def layer_element(kind, mapping, reference, *data):
    head = [Node("Version", 101), Node("Name", ""), Node("MappingInformationType", mapping)]
    return Node(kind, 0, children=head + [Node("ReferenceInformationType", reference), *data])


class Scene:
    """Objects and their connections."""

    def __init__(self, up="y", packed=False):
        self.objects, self.connections = [], []
        self.packed = packed
        self.last = 1000
        axis = {"y": (1, 2, 1), "z": (2, 1, -1)}[up]
        self.globals = [
            setting("UpAxis", "int", "Integer", axis[0]), setting("UpAxisSign", "int", "Integer", 1),
            setting("FrontAxis", "int", "Integer", axis[1]), setting("FrontAxisSign", "int", "Integer", axis[2]),
            setting("CoordAxis", "int", "Integer", 0), setting("CoordAxisSign", "int", "Integer", 1),
            setting("UnitScaleFactor", "double", "Number", 1.0),
        ]  # fmt: skip

    def new_id(self):
        self.last += 1
        return Long(self.last)

    def add(self, kind, text, word, *children, parent=None, prefix=None):
        identifier = self.new_id()
        self.objects.append(Node(kind, identifier, name(text, prefix or kind), word, children=children))
        if parent is not None:
            self.connect(identifier, parent)
        return identifier

    def connect(self, child, parent, slot=None):
        words = ("OP", Long(child), Long(parent), slot) if slot else ("OO", Long(child), Long(parent))
        self.connections.append(Node("C", *words))

    def model(self, text="model", word="Mesh", parent=0, **moves):
        rows = [setting(f"Lcl {key}", f"Lcl {key}", "", *(float(v) for v in value)) for key, value in moves.items()]
        return self.add("Model", text, word, Node("Version", 232), settings(*rows), parent=parent)

    def geometry(self, mesh, model, normals=True, uvs=False, colours=None, polygons=None):
        corners = []
        for polygon in polygons or mesh.triangles:
            # The last corner of a polygon is stored as its complement.
            corners += [*polygon[:-1], ~polygon[-1]]
        flat = [c for p in mesh.positions for c in p]
        parts = [
            Node("GeometryVersion", 124),
            Node("Vertices", Array("d", flat, self.packed)),
            Node("PolygonVertexIndex", Array("i", corners, self.packed)),
        ]
        kinds = ["LayerElementMaterial"]
        if normals:
            values = [c for i in mesh.indices for c in mesh.normals[i]]
            parts.append(
                layer_element(
                    "LayerElementNormal", "ByPolygonVertex", "Direct", Node("Normals", Array("d", values, self.packed))
                )
            )
            kinds.append("LayerElementNormal")
        if uvs:
            values = [float(c) for uv in mesh.uvs for c in uv]
            parts.append(
                layer_element(
                    "LayerElementUV",
                    "ByPolygonVertex",
                    "IndexToDirect",
                    Node("UV", Array("d", values)),
                    Node("UVIndex", Array("i", mesh.indices)),
                )
            )
            kinds.append("LayerElementUV")
        if colours:
            values = [c for i in mesh.indices for c in (*colours[i], 1.0)]
            parts.append(
                layer_element("LayerElementColor", "ByPolygonVertex", "Direct", Node("Colors", Array("d", values)))
            )
            kinds.append("LayerElementColor")
        parts.append(
            layer_element("LayerElementMaterial", "AllSame", "IndexToDirect", Node("Materials", Array("i", [0])))
        )
        elements = [Node("LayerElement", children=[Node("Type", k), Node("TypedIndex", 0)]) for k in kinds]
        parts.append(Node("Layer", 0, children=[Node("Version", 100), *elements]))
        return self.add("Geometry", "mesh", "Mesh", *parts, parent=model)

    def material(self, colour, model, **more):
        rows = [setting("DiffuseColor", "Color", "", *(float(c) for c in colour))]
        rows += [setting(key, "Number", "", float(value)) for key, value in more.items()]
        return self.add(
            "Material", "look", "", Node("Version", 102), Node("ShadingModel", "lambert"), settings(*rows), parent=model
        )

    def texture(self, material, path, relative, content=None):
        texture = self.add(
            "Texture", "flag", "", Node("Type", "TextureVideoClip"), Node("Version", 202),
            Node("FileName", path), Node("RelativeFilename", relative),
        )  # fmt: skip
        self.connect(texture, material, "DiffuseColor")
        parts = [
            Node("Type", "Clip"),
            settings(),
            Node("UseMipMap", 0),
            Node("Filename", path),
            Node("RelativeFilename", relative),
        ]
        if content is not None:
            parts.append(Node("Content", Raw(content)))
        self.add("Video", "flag", "Clip", *parts, parent=texture)
        return texture

    def nodes(self):
        return [
            Node(
                "FBXHeaderExtension",
                children=[Node("FBXHeaderVersion", 1003), Node("FBXVersion", 7400), Node("Creator", "makecorpus")],
            ),
            Node("GlobalSettings", children=[Node("Version", 1000), settings(*self.globals)]),
            Node("Documents", children=[Node("Count", 1)]),
            Node("Definitions", children=[Node("Version", 100), Node("Count", 0)]),
            Node("Objects", children=self.objects),
            Node("Connections", children=self.connections),
        ]

    def bytes(self, version=7400):
        return pack(self.nodes(), version)
