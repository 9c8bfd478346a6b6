"""The .glb files."""

import struct

from . import gltfmodels as models
from . import images
from .gltfdocument import Document, pack_glb
from .shapes import pillar
from .table import GZIP_OF_NOTHING, cut

BOTH = ("red", "blue")


def textured():
    made = Document()
    look = made.textured({"bufferView": made.view(images.flag_png()), "mimeType": "image/png"})
    made.shown(made.primitive(pillar(), look, uvs=True))
    return made


def add_good(table):
    table.format = "glb"
    kinds = {
        "materials": models.two_materials,
        "vertex-colours": models.vertex_colours,
        "strips-and-fans": models.strips_and_fans,
        "hierarchy": models.hierarchy,
        "skinned": models.skinned,
        "morphed": models.morphed,
        "animated": models.animated,
        "interleaved": models.interleaved,
        "sparse": models.sparse,
        "see-through": models.see_through,
        "texture-inside": textured,
    }
    for name, make in kinds.items():
        table.good(f"{name}.glb", make().glb(), see=BOTH)
    table.good("no-normals.glb", models.two_materials(normals=False).glb(), see=BOTH)
    table.good("points.glb", models.points().glb(), see=("red",), least=0.0005)
    table.good("lines.glb", models.lines().glb(), see=("blue",), least=0.0005)
    table.good("CAPITALS.GLB", models.two_materials().glb(), see=BOTH)
    table.side("glb/textures/flag.png", images.flag_png())
    table.good("texture-beside.glb", models.textured({"uri": "textures/flag.png"}).glb(), see=BOTH)
    table.good("texture-missing.glb", models.textured({"uri": "gone.png"}).glb(), words="gone.png")
    table.good("data-uri-for-a-chunk.glb", pack_glb(models.two_materials().text()), see=BOTH)
    table.side("glb/beside.bin", bytes(models.two_materials().blob))
    table.good("file-for-a-chunk.glb", pack_glb(models.two_materials().text("beside.bin")), see=BOTH)
    jpeg = Document()
    look = jpeg.textured({"bufferView": jpeg.view(images.flag_jpeg()), "mimeType": "image/jpeg"})
    jpeg.shown(jpeg.primitive(pillar(), look, uvs=True))
    table.good("texture-jpeg-inside.glb", jpeg.glb(), see=BOTH)
    table.good("bytes-behind-the-end.glb", models.two_materials().glb() + b"more" * 100, see=BOTH)
    whole = models.two_materials().glb()
    unknown = whole + struct.pack("<II", 8, 0x58585858) + b"whatever"
    table.good("unknown-chunk.glb", unknown[:8] + struct.pack("<I", len(unknown)) + unknown[12:], see=BOTH)


def add_broken(table):
    table.format = "glb"
    whole = textured().glb()
    table.card("empty.glb", b"", "is empty")
    table.card("magic-alone.glb", b"glTF", "ends in the middle")
    for size in (11, 12, 19, 20):
        table.card(f"cut-at-byte-{size}.glb", whole[:size], "ends in the middle")
    for percent in (10, 50, 90, 99):
        table.card(
            f"cut-at-{percent}-percent.glb", cut(whole, percent / 100), "ends in the middle of its data (at byte"
        )
    table.card("header-alone.glb", b"glTF" + struct.pack("<II", 2, 12), "is empty behind its header")
    table.card("is-a-gltf.glb", models.two_materials().text(), "is no GLB file")
    table.card("is-an-obj.glb", b"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "is no GLB file")
    table.card("is-a-png.glb", images.flag_png(), "is no GLB file")
    table.card("is-gzip.glb", GZIP_OF_NOTHING, "is no GLB file")
    table.card("zeros.glb", bytes(100_000), "is no GLB file")
    table.card("version-3.glb", pack_glb("{}", version=3), "version 3")
    table.card(
        "length-of-4-gigabytes.glb", pack_glb("{}", length=0xFFFFFFFF), "ends in the middle of its data (at byte"
    )
    table.card("length-of-5.glb", pack_glb("{}", length=5), "wrong length")
    table.card("chunk-of-4-gigabytes.glb", whole[:12] + struct.pack("<I", 0xFFFFFFF0) + whole[16:], "beyond its end")
    first = struct.unpack("<I", whole[12:16])[0]
    second = 20 + first
    claimed = whole[:second] + struct.pack("<I", 0xFFFFFF00) + whole[second + 4 :]
    table.card("binary-chunk-of-4-gigabytes.glb", claimed, "beyond its end")
    swapped = whole[:12] + whole[second:] + whole[12:second]
    table.card("chunks-in-wrong-order.glb", swapped, "does not begin with")
    table.card("no-json.glb", pack_glb("this is no JSON"), "is not valid")
    table.card("json-cut.glb", pack_glb(models.two_materials().text()[:300]), "is not valid")
    table.card("json-utf16.glb", pack_glb(models.two_materials().text().encode("utf-16")), "is not valid JSON")
    table.card("json-empty-object.glb", pack_glb("{}"), "is not valid glTF: it gives no version")
    table.card("nested-200000-deep.glb", pack_glb(models.deep_json(200_000)), "nested too deeply")
    table.card("chain-of-50000-nodes.glb", models.chain(50_000).glb(), "nests its nodes too deeply")
    table.card("cycle-of-3-nodes.glb", models.cycle(3).glb(), "is damaged: a node contains itself")
    table.card(
        "binary-chunk-missing.glb",
        pack_glb(models.two_materials().text(buffers=[{"byteLength": 1520}])),
        "has a part that reaches beyond its end",
    )
    table.card("buffer-passwd.glb", pack_glb(models.two_materials().text("../../../../../../etc/passwd")), "passwd")
    for name, value in (("nan", float("nan")), ("infinity", float("-inf"))):
        table.card(f"all-{name}.glb", models.with_numbers("all", value).glb(), "holds nothing that can be drawn")
        table.repaired(f"some-{name}.glb", models.with_numbers("some", value).glb(), notes="left out", see=BOTH)
    beyond = models.changed(models.two_materials(), "bufferViews", 0, byteLength=1 << 31)
    table.card("view-beyond-chunk.glb", beyond.glb(), "has a part that reaches beyond its end")
    many = models.changed(models.two_materials(), "accessors", 0, count=0x7FFFFFFF)
    table.card("count-of-2-thousand-million.glb", many.glb(), "claims more elements than allowed")
    table.card(
        "version-1-of-nonsense.glb",
        b"glTF" + struct.pack("<III", 1, 2000, 1500) + bytes(1988),
        "is of GLB version 1, which cannot be read",
    )
    table.refused("mixed.Glb", whole, 'the suffix "Glb"')
