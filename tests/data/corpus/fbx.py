"""The .fbx files."""

import struct
import zlib

from . import images
from .bombs import zlib_zeros
from .fbxdocument import HEADER, Array, Coded, Long, Node, Scene, layer_element, pack, setting, settings
from .shapes import BLUE, RED, Mesh, box, pillar, totem
from .table import GZIP_OF_NOTHING, cut

BOTH = ("red", "blue")
NO_SIGNATURE = "does not begin with the signature of a binary FBX file"


def two_materials(up="y", packed=False, **options):
    scene = Scene(up, packed)
    for mesh, colour in zip(totem(), (RED, BLUE)):
        model = scene.model()
        scene.geometry(mesh.z_up() if up == "z" else mesh, model, **options)
        scene.material(colour, model)
    return scene


def textured(path, relative, content=None):
    scene = Scene()
    model = scene.model()
    scene.geometry(pillar(), model, uvs=True)
    scene.texture(scene.material((1, 1, 1), model), path, relative, content)
    return scene


def vertex_colours():
    scene = Scene()
    whole = totem()[0].joined(totem()[1])
    model = scene.model()
    scene.geometry(whole, model, colours=[RED] * 24 + [BLUE] * 24)
    scene.material((1, 1, 1), model)
    return scene


def moved_parts():
    """The parts stand one upon the other only when translation, turn and scale are followed."""
    scene = Scene()
    group = scene.model("group", "Null", Scaling=(2, 2, 2))
    upper = scene.model("upper", parent=group, Translation=(0, 0.5, 0), Rotation=(0, 0, 180))
    scene.geometry(box(), upper)
    scene.material(RED, upper)
    lower = scene.model("lower", parent=group, Translation=(0, -0.5, 0), Scaling=(1, -1, 1))
    scene.geometry(box(), lower)
    scene.material(BLUE, lower)
    return scene


def polygons():
    scene = Scene()
    for mesh, colour in zip(totem(), (RED, BLUE)):
        model = scene.model()
        sides = [tuple(range(i, i + 4)) for i in range(0, len(mesh.positions), 4)]
        scene.geometry(mesh, model, normals=False, polygons=sides)
        scene.material(colour, model)
    return scene


def skinned():
    scene = Scene()
    bone = scene.model("bone", "LimbNode")
    for mesh, colour in zip(totem(), (RED, BLUE)):
        model = scene.model()
        geometry = scene.geometry(mesh, model)
        scene.material(colour, model)
        skin = scene.add("Deformer", "skin", "Skin", Node("Version", 101), parent=geometry)
        identity = [1.0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
        cluster = scene.add(
            "Deformer", "cluster", "Cluster", Node("Version", 100), Node("Indexes", Array("i", list(range(24)))),
            Node("Weights", Array("d", [1.0] * 24)), Node("Transform", Array("d", identity)),
            Node("TransformLink", Array("d", identity)), parent=skin, prefix="SubDeformer",
        )  # fmt: skip
        scene.connect(bone, cluster)
    return scene


def animated():
    scene = two_materials()
    model = next(o.values[0] for o in scene.objects if o.name == "Model")
    stack = scene.add("AnimationStack", "take", "", prefix="AnimStack")
    layer = scene.add("AnimationLayer", "layer", "", parent=stack, prefix="AnimLayer")
    curves = scene.add(
        "AnimationCurveNode", "T", "", settings(setting("d|Y", "Number", "", 0.0)), parent=layer, prefix="AnimCurveNode"
    )
    scene.connect(curves, model, "Lcl Translation")
    curve = scene.add(
        "AnimationCurve", "", "", Node("KeyTime", Array("q", [0, 46186158000])),
        Node("KeyValueFloat", Array("f", [0.0, 5.0])), prefix="AnimCurve",
    )  # fmt: skip
    scene.connect(curve, curves, "d|Y")
    return scene


def add_good(table):
    table.format = "fbx"
    table.good("materials.fbx", two_materials().bytes(), see=BOTH)
    table.good("CAPITALS.FBX", two_materials().bytes(), see=BOTH)
    table.good("version-7500.fbx", two_materials().bytes(7500), see=BOTH)
    table.good("version-7700.fbx", two_materials().bytes(7700), see=BOTH)
    table.good("version-7100.fbx", two_materials().bytes(7100), see=BOTH)
    table.good("packed-arrays.fbx", two_materials(packed=True).bytes(), see=BOTH)
    table.good("no-normals.fbx", two_materials(normals=False).bytes(), see=BOTH)
    table.good("z-up.fbx", two_materials("z").bytes(), see=BOTH)
    table.good("quads.fbx", polygons().bytes(), see=BOTH)
    table.good("vertex-colours.fbx", vertex_colours().bytes(), see=BOTH)
    table.good("moved-parts.fbx", moved_parts().bytes(), see=BOTH)
    table.good("skinned.fbx", skinned().bytes(), see=BOTH)
    table.good("animated.fbx", animated().bytes(), see=BOTH)
    bare = Scene()
    bare.geometry(pillar(), bare.model())
    table.good("no-material.fbx", bare.bytes())
    inside = textured("C:\\work\\flag.png", "flag-inside.png", images.flag_png())
    table.good("texture-inside.fbx", inside.bytes(), see=BOTH)

    def with_texture(name, path, relative, place, **more):
        if place:
            table.side(f"fbx/{name}/{place}", images.flag_png())
        table.good(f"{name}/{name}.fbx", textured(path, relative).bytes(), **({"see": BOTH} | more))

    with_texture("texture-beside", "flag.png", "flag.png", "flag.png")
    with_texture("texture-with-backslashes", "C:\\work\\textures\\flag.png", "textures\\flag.png", "textures/flag.png")
    with_texture("texture-climbing-out", "/home/somebody/flag.png", "..\\..\\maps\\flag.png", "flag.png")
    with_texture("texture-with-blanks", "red and blue.png", "red and blue.png", "red and blue.png")
    with_texture("texture-missing", "C:\\work\\gone.png", "textures\\gone.png", None, words="gone.png", see=())


def ascii_fbx():
    return (
        "; FBX 7.4.0 project file\nFBXHeaderExtension:  {\n\tFBXHeaderVersion: 1003\n\tFBXVersion: 7400\n}\n"
        'Objects:  {\n\tGeometry: 1001, "Geometry::", "Mesh" {\n\t\tVertices: *9 {\n\t\t\ta: 0,0,0,1,0,0,0,1,0\n\t\t}\n'
        "\t\tPolygonVertexIndex: *3 {\n\t\t\ta: 0,1,-3\n\t\t}\n\t}\n}\nConnections:  {\n}\n"
    )


def add_broken(table):
    table.format = "fbx"
    add_refused(table)
    add_broken_records(table)
    add_broken_arrays(table)
    add_broken_scenes(table)


def add_refused(table):
    whole = two_materials().bytes()
    table.refused("empty.fbx", b"", NO_SIGNATURE)
    table.refused("signature-cut.fbx", HEADER[:22], NO_SIGNATURE)
    table.refused("text.fbx", ascii_fbx(), NO_SIGNATURE)
    table.refused("is-a-png.fbx", images.flag_png(), NO_SIGNATURE)
    table.refused("is-an-obj.fbx", "v 0 0 0\n" * 9, NO_SIGNATURE)
    table.refused("is-gzip.fbx", GZIP_OF_NOTHING + bytes(20), NO_SIGNATURE)
    table.refused("signature-in-small-letters.fbx", HEADER.lower() + whole[23:], NO_SIGNATURE)
    table.refused("mixed.Fbx", whole, 'the suffix "Fbx"')


def add_broken_records(table):
    whole = two_materials().bytes()
    table.card("signature-alone.fbx", HEADER, "ends in the middle of its header")
    table.card("header-alone.fbx", HEADER + struct.pack("<I", 7400), "ends in the middle of its data")
    for percent in (5, 25, 50, 75, 95):
        table.card(
            f"cut-at-{percent}-percent.fbx", cut(whole, percent / 100), "ends in the middle of its data (at byte"
        )
    table.card("wide-cut-in-half.fbx", cut(two_materials().bytes(7500), 0.5), "ends in the middle of its data (at byte")
    table.card(
        "zeros-behind-the-header.fbx", HEADER + struct.pack("<I", 7400) + bytes(5000), "ends in the middle of its data"
    )
    table.card(
        "nonsense-behind-the-header.fbx",
        HEADER + struct.pack("<I", 7400) + bytes(range(1, 256)) * 20,
        "ends in the middle of its data (at byte",
    )
    table.repaired("version-0.fbx", HEADER + bytes(4) + whole[27:], see=BOTH)
    table.card(
        "wide-records-under-a-narrow-version.fbx",
        HEADER + struct.pack("<I", 7400) + two_materials().bytes(7500)[27:],
        "has a part that reaches beyond its end",
    )
    table.card(
        "narrow-records-under-a-wide-version.fbx",
        HEADER + struct.pack("<I", 7500) + whole[27:],
        "is damaged: the sizes of its records do not fit",
    )

    def record(name, words="", **lies):
        scene = two_materials()
        nodes = scene.nodes()
        node = scene.objects[1].child("Vertices")
        for key, value in lies.items():
            setattr(node, key, value)
        table.card(f"{name}.fbx", pack(nodes), words)

    record("record-ends-beyond-file", claimed_end=0xFFFFFFF0, words="ends in the middle of its data (at byte")
    record("record-ends-before-itself", claimed_end=30, words="is damaged: the sizes of its records do not fit")
    record(
        "record-with-4-thousand-million-values",
        claimed_count=0xFFFFFFFF,
        words="is damaged: the sizes of its records do not fit",
    )
    record(
        "record-with-wrong-length-of-values",
        claimed_bytes=0xFFFFFF00,
        words="is damaged: the sizes of its records do not fit",
    )
    record("value-of-unknown-type", values=[Coded(b"?\1\2\3\4")], words="is damaged: a property is of an unknown kind")
    record(
        "text-of-4-gigabytes",
        values=[Coded(b"S\xff\xff\xff\xffabc")],
        words="is damaged: the sizes of its records do not fit",
    )
    # Offsets count from the file's start; each record holds one record and the mark behind the last one.
    levels = 50_000
    end = 27 + levels * 14 + levels * 13
    head = b""
    for level in range(levels):
        head += struct.pack("<III", end - level * 13, 0, 0) + b"\x01a"
    data = HEADER + struct.pack("<I", 7400) + head + bytes(13 * (levels + 1))
    table.card("records-nested-50000-deep.fbx", data, "too deeply")


def with_vertices(array):
    scene = two_materials()
    for made in scene.objects:
        if made.name == "Geometry":
            made.child("Vertices").values = [array]
    return scene.bytes()


def add_broken_arrays(table):
    flat = [c for p in box().positions for c in p]
    table.card(
        "array-of-4-thousand-million.fbx",
        with_vertices(Array("d", flat, claimed=0xFFFFFFFF)),
        "is damaged: the sizes of its records do not fit",
    )
    table.card(
        "array-longer-than-file.fbx",
        with_vertices(Array("d", flat, claimed_bytes=0x7FFFFFFF)),
        "is damaged: the sizes of its records do not fit",
    )
    table.card(
        "array-with-fewer-bytes.fbx",
        with_vertices(Array("d", flat, claimed=len(flat) * 2)),
        "is damaged: the sizes of its records do not fit",
    )
    table.card(
        "packed-array-cut.fbx",
        with_vertices(Array("d", flat, packed=True, raw=zlib.compress(bytes(576))[:9])),
        "holds nothing that can be drawn",
    )
    table.card(
        "packed-array-of-nonsense.fbx",
        with_vertices(Array("d", flat, packed=True, raw=b"\xff" * 200)),
        "holds nothing that can be drawn",
    )
    bomb = zlib_zeros(512 << 20)
    table.card(
        "packed-array-bomb.fbx",
        with_vertices(Array("d", flat, packed=True, raw=bomb)),
        "holds nothing that can be drawn",
    )
    table.card(
        "packed-array-bomb-that-says-so.fbx",
        with_vertices(Array("d", [], packed=True, raw=bomb, claimed=1 << 26)),
        "holds nothing that can be drawn",
    )
    table.card(
        "packed-array-claims-32-gigabytes.fbx",
        with_vertices(Array("d", flat, packed=True, claimed=0xFFFFFFFF)),
        "is damaged: an array claims more than its data can hold",
    )
    table.card("array-of-2-numbers.fbx", with_vertices(Array("d", [1.0, 2.0])), "holds nothing that can be drawn")
    table.card("array-empty.fbx", with_vertices(Array("d", [])), "holds nothing that can be drawn")
    for name, value in (("nan", float("nan")), ("infinity", float("inf"))):
        table.card(f"all-{name}.fbx", with_vertices(Array("d", [value] * len(flat))), "holds nothing that can be drawn")
        scene = two_materials()
        scene.objects[1].child("Vertices").values[0].values[0:3] = [value] * 3
        table.repaired(f"some-{name}.fbx", scene.bytes(), notes="left out", see=BOTH)
    table.card(
        "numbers-beyond-floats.fbx",
        with_vertices(Array("d", [v * 1e300 for v in flat])),
        "holds nothing that can be drawn",
    )


def add_broken_scenes(table):
    def indices(values):
        scene = two_materials()
        for made in scene.objects:
            if made.name == "Geometry":
                made.child("PolygonVertexIndex").values = [Array("i", values)]
        return scene.bytes()

    table.card("corners-out-of-range.fbx", indices([100, 200, ~300] * 12), "holds nothing that can be drawn")
    table.card("corners-never-end.fbx", indices([0, 1, 2] * 12), "holds nothing that can be drawn")
    table.card("corners-of-nothing.fbx", indices([]), "holds nothing that can be drawn")
    table.card("corner-of-smallest-number.fbx", indices([0, 1, -0x80000000] * 12), "holds nothing that can be drawn")
    scene = Scene()
    many = Mesh()
    many.positions = [(float(i % 400), float(i // 400), 0.0) for i in range(100_000)]
    model = scene.model()
    scene.geometry(many, model, normals=False, polygons=[tuple(range(100_000))])
    table.card("polygon-of-100000-corners.fbx", scene.bytes(), "with too many corners left out")
    nodes = two_materials().nodes()
    table.card("no-objects.fbx", pack([n for n in nodes if n.name != "Objects"]), "is damaged: it holds no objects")
    unconnected = pack([n for n in nodes if n.name != "Connections"])
    table.card("no-connections.fbx", unconnected, "does not say which of its objects belong together")
    table.card("no-geometry.fbx", no_geometry(), "holds nothing that can be drawn")
    table.card("connected-to-nothing.fbx", reconnected(99_999), "holds nothing that can be drawn")
    loop = Scene()
    first, second = loop.model("first", parent=None), loop.model("second", parent=None)
    loop.connect(first, second)
    loop.connect(second, first)
    loop.connect(first, 0)
    loop.geometry(box(), first)
    table.card("cycle-of-2-models.fbx", loop.bytes(), "contains itself")
    alone = Scene()
    own = alone.model()
    alone.connect(own, own)
    alone.geometry(box(), own)
    table.card("model-its-own-parent.fbx", alone.bytes(), "contains itself")
    table.good("chain-of-1000-models.fbx", chain(1000))
    table.card("chain-of-50000-models.fbx", chain(50_000), "nests its models too deeply")
    table.card("models-that-multiply.fbx", doubled(40), "repeats its models too often")
    wrong = two_materials()
    wrong.objects[1].children.append(
        layer_element(
            "LayerElementColor",
            "ByPolygonVertex",
            "IndexToDirect",
            Node("Colors", Array("d", [1.0] * 4)),
            Node("ColorIndex", Array("i", [9999] * 36)),
        )
    )
    table.repaired("colours-out-of-range.fbx", wrong.bytes(), see=BOTH)
    twice = two_materials()
    twice.objects += twice.objects
    table.repaired("every-object-twice.fbx", twice.bytes(), see=BOTH)
    cut_picture = textured("flag-cut.png", "flag-cut.png", cut(images.flag_png(), 0.5))
    table.repaired("texture-cut.fbx", cut_picture.bytes(), notes="texture")
    bomb = textured("bomb.png", "bomb.png", images.png_bomb())
    table.repaired("texture-bomb.fbx", bomb.bytes(), notes="texture")
    out = textured("/etc/passwd", "..\\..\\..\\..\\..\\..\\..\\etc\\passwd")
    table.repaired("texture-climbing-out-of-the-folder.fbx", out.bytes(), words="passwd")


def no_geometry():
    scene = Scene()
    scene.model()
    return scene.bytes()


def reconnected(identifier):
    scene = two_materials()
    for connection in scene.connections:
        connection.values[2] = Long(identifier)
    return scene.bytes()


def doubled(levels):
    """Each model stands in both models of the level above it."""
    scene = Scene()
    above = [scene.model(), scene.model()]
    for _ in range(levels):
        level = [scene.model(parent=above[0]), scene.model(parent=above[0])]
        for model in level:
            scene.connect(model, above[1])
        above = level
    scene.geometry(box(), above[0])
    return scene.bytes()


def chain(length):
    scene = Scene()
    parent = 0
    for _ in range(length):
        parent = scene.model(parent=parent)
    scene.geometry(box(), parent)
    return scene.bytes()
