"""glTF documents that .gltf and .glb files share."""

import struct

from .gltfdocument import FLOAT, UBYTE, UINT, USHORT, Document
from .shapes import BLUE, RED, Mesh, helix, pillar, totem


def two_materials(**options):
    made = Document()
    upper, lower = totem()
    made.shown(
        made.primitive(upper, made.material(RED), **options), made.primitive(lower, made.material(BLUE), **options)
    )
    return made


def textured(image, **more):
    made = Document()
    made.shown(made.primitive(pillar(), made.textured(image, **more), uvs=True))
    return made


def joined_totem():
    """Both boxes as one mesh, and the number of corners of each."""
    upper, lower = totem()
    return upper.joined(lower), len(upper.positions)


def linear_colours(half):
    """A colour a corner, as light intensities."""
    return [tuple(c**2.2 for c in RED)] * half + [tuple(c**2.2 for c in BLUE)] * half


def vertex_colours():
    made = Document()
    whole, half = joined_totem()
    made.shown(made.primitive(whole, COLOR_0=made.accessor(linear_colours(half))))
    return made


def vertex_colours_in_bytes():
    made = Document()
    whole, half = joined_totem()
    colours = [(255, 0, 0, 255)] * half + [(0, 0, 255, 255)] * half
    made.shown(made.primitive(whole, COLOR_0=made.accessor(colours, UBYTE, "VEC4", normalized=True)))
    return made


def screw(count, colour, mode):
    """A helix of positions alone; `mode` is how they are drawn."""
    made = Document()
    turn = Mesh()
    turn.positions = helix(count)
    made.shown(made.primitive(turn, made.material(colour), normals=False, index_type=None) | {"mode": mode})
    return made


def points():
    return screw(400, RED, mode=0)


def lines():
    return screw(120, BLUE, mode=3)


def strips_and_fans():
    made = Document()
    strip, fan = Mesh(), Mesh()
    strip.positions = [(x, y, 0) for x in (-0.5, -0.2, 0.1, 0.5) for y in (0, 1)]
    fan.positions = [(0, -0.5, 0), (-0.5, -1, 0), (0.5, -1, 0), (0.5, 0, 0), (-0.5, 0, 0), (-0.5, -1, 0)]
    look = {"doubleSided": True}
    made.shown(
        made.primitive(strip, made.material(RED, **look), normals=False, index_type=None) | {"mode": 5},
        made.primitive(fan, made.material(BLUE, **look), normals=False, index_type=None) | {"mode": 6},
    )
    return made


def hierarchy():
    """The parts stand one upon the other only when every kind of transformation is followed."""
    made = Document()
    upper, lower = totem()
    upper_mesh = made.mesh(made.primitive(upper.moved(0, -0.5, 0), made.material(RED)))
    lower_mesh = made.mesh(made.primitive(lower.moved(0, 0.5, 0), made.material(BLUE)))
    leaf = made.node(root=False, mesh=upper_mesh, translation=[0, 1, 0])
    turned = made.node(root=False, children=[leaf], rotation=[0, 0, 1, 0])  # half a turn around z
    placed = made.node(root=False, mesh=lower_mesh, matrix=[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0.5, 0, 1])
    made.node(children=[turned, placed], scale=[2, -2, 2])
    return made


def skinned():
    """The upper half hangs on a joint that carries it a whole unit upwards."""
    made = Document()
    whole, half = joined_totem()
    joints = made.accessor([(1, 0, 0, 0)] * half + [(0, 0, 0, 0)] * half, USHORT, "VEC4")
    weights = made.accessor([(1.0, 0, 0, 0)] * 2 * half, FLOAT, "VEC4")
    colours = made.accessor(linear_colours(half))
    mesh = made.mesh(made.primitive(whole, JOINTS_0=joints, WEIGHTS_0=weights, COLOR_0=colours))
    tip = made.node(root=False, translation=[0, 1, 0])
    base = made.node(children=[tip])
    identity = [1.0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
    inverse = made.accessor([identity, identity], FLOAT, "MAT4")
    skin = made.add("skins", {"joints": [base, tip], "skeleton": base, "inverseBindMatrices": inverse})
    made.node(mesh=mesh, skin=skin)
    return made


def morphed():
    made = two_materials()
    moves = made.accessor([(0.0, 3.0, 0.0)] * 24)
    made.json["meshes"][0]["primitives"][0]["targets"] = [{"POSITION": moves}]
    made.json["meshes"][0]["primitives"][1]["targets"] = [{"POSITION": moves}]
    made.json["meshes"][0]["weights"] = [0.0]
    return made


def animated():
    made = two_materials()
    times = made.accessor([0.0, 1.0], FLOAT, "SCALAR", min=[0], max=[1])
    ways = made.accessor([(0.0, 0.0, 0.0), (0.0, 5.0, 0.0)])
    made.add(
        "animations",
        {
            "channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}],
            "samplers": [{"input": times, "output": ways}],
        },
    )
    return made


def interleaved():
    """Positions and normals take turns in one view, and the indices are long."""
    made = Document()
    for mesh, colour in zip(totem(), (RED, BLUE)):
        rows = b"".join(struct.pack("<6f", *p, *n) for p, n in zip(mesh.positions, mesh.normals))
        view = made.view(rows, byteStride=24)
        place, direction = (
            made.add(
                "accessors",
                {"bufferView": view, "byteOffset": offset, "componentType": FLOAT, "type": "VEC3"}
                | {"count": len(mesh.positions), "min": [-9, -9, -9], "max": [9, 9, 9]},
            )
            for offset in (0, 12)
        )
        made.shown(
            {
                "attributes": {"POSITION": place, "NORMAL": direction},
                "indices": made.accessor(mesh.indices, UINT, "SCALAR"),
                "material": made.material(colour),
            }
        )
    return made


def sparse():
    """The upper box lies flat until the sparse values lift its top."""
    made = two_materials()
    upper = totem()[0]
    lifted = [i for i, p in enumerate(upper.positions) if p[1] > 0.5]
    where = made.view(struct.pack(f"<{len(lifted)}H", *lifted))
    what = made.view(b"".join(struct.pack("<3f", p[0], 1.0, p[2]) for p in (upper.positions[i] for i in lifted)))
    made.json["accessors"][0]["sparse"] = {
        "count": len(lifted),
        "indices": {"bufferView": where, "componentType": USHORT},
        "values": {"bufferView": what},
    }
    return made


def see_through():
    made = Document()
    upper, lower = totem()
    glass = made.material(RED, alphaMode="BLEND", doubleSided=True)
    made.json["materials"][glass]["pbrMetallicRoughness"]["baseColorFactor"][3] = 0.5
    made.shown(made.primitive(upper, glass), made.primitive(lower, made.material(BLUE)))
    return made


def unlit():
    made = Document()
    made.json["extensionsUsed"] = ["KHR_materials_unlit", "EXT_never_heard_of"]
    look = {"extensions": {"KHR_materials_unlit": {}}}
    upper, lower = totem()
    made.shown(
        made.primitive(upper, made.material(RED, **look)),
        made.primitive(lower, made.material(BLUE, **look)),
        extensions={"EXT_never_heard_of": {"depth": [[[1]]]}},
    )
    return made


def with_numbers(spoilt, value):
    """Two boxes of which some corners are no numbers. `spoilt`: all, or the corners of one face of each."""
    made = Document()
    for mesh, colour in zip(totem(), (RED, BLUE)):
        bad = range(len(mesh.positions)) if spoilt == "all" else range(4)
        mesh.positions = [(value, p[1], p[2]) if i in bad else p for i, p in enumerate(mesh.positions)]
        part = made.primitive(mesh, made.material(colour))
        made.shown(part)
        accessor = made.json["accessors"][part["attributes"]["POSITION"]]
        accessor["min"], accessor["max"] = [-1, -1, -1], [1, 1, 1]
    return made


def chain(length):
    """One box at the end of a chain of nodes."""
    made = two_materials()
    made.json["nodes"] = [{"children": [i + 1]} for i in range(length)] + [{"mesh": 0}]
    made.json["scenes"] = [{"nodes": [0]}]
    return made


def cycle(length):
    made = two_materials()
    made.json["nodes"] += [{"children": [1 + (i + 1) % length]} for i in range(length)]
    made.json["scenes"] = [{"nodes": [0, 1]}]
    return made


def deep_json(levels):
    return '{"asset":{"version":"2.0"},"extras":' + "[" * levels + "]" * levels + "}"


def changed(made, kind, index, **values):
    """The document with other values in one of its objects; None removes a key."""
    thing = made.json[kind][index]
    for key, value in values.items():
        if value is None:
            thing.pop(key, None)
        else:
            thing[key] = value
    return made
