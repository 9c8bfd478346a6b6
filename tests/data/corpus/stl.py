"""The .stl files: no colours, z up."""

import struct

from . import images
from .shapes import Mesh, box, pillar
from .table import GZIP_OF_NOTHING, cut


def facets(mesh):
    for corners in mesh.z_up().triangles:
        points = [mesh.z_up().positions[i] for i in corners]
        yield mesh.z_up().normals[corners[0]], points


def binary(mesh, header=b"binary STL", count=None, attribute=0):
    listed = list(facets(mesh))
    data = header.ljust(80, b"\0") + struct.pack("<I", len(listed) if count is None else count)
    for normal, points in listed:
        data += struct.pack("<12fH", *normal, *(c for p in points for c in p), attribute)
    return data


def text(mesh, name="pillar", number="{:.6g}", end="\n"):
    def line(word, values):
        return word + " " + " ".join(number.format(v) for v in values)

    lines = [f"solid {name}"]
    for normal, points in facets(mesh):
        lines += [line("facet normal", normal), "  outer loop"]
        lines += [line("    vertex", p) for p in points] + ["  endloop", "endfacet"]
    return end.join(lines + [f"endsolid {name}", ""])


def spoilt(mesh, value, corners):
    copy = Mesh()
    copy.positions = [(value, p[1], p[2]) if i in corners else p for i, p in enumerate(mesh.positions)]
    copy.normals, copy.uvs, copy.indices = mesh.normals, mesh.uvs, mesh.indices
    return copy


def scaled(mesh, factor):
    copy = Mesh()
    copy.positions = [tuple(c * factor for c in p) for p in mesh.positions]
    copy.normals, copy.uvs, copy.indices = mesh.normals, mesh.uvs, mesh.indices
    return copy


def add_good(table):
    table.format = "stl"
    table.good("binary.stl", binary(pillar()))
    table.good("text.stl", text(pillar()))
    table.good("CAPITALS.STL", binary(pillar()))
    table.good("binary-that-begins-with-solid.stl", binary(pillar(), header=b"solid made by a program"))
    table.good("bytes-behind-the-facets.stl", binary(pillar()) + b"more" * 99)
    table.good("carriage-returns.stl", text(pillar(), end="\r\n"))
    table.good("scientific-numbers.stl", text(pillar(), number="{:+.5E}"))
    table.good("no-name.stl", text(pillar(), name="").replace("solid ", "solid"))
    table.good("two-solids.stl", text(box(), "a") + text(box().moved(0, 1, 0), "b"))
    table.good("empty-solid-first.stl", "solid nothing\nendsolid nothing\n" + text(pillar()))
    normals = text(pillar())
    for line in set(l for l in normals.split("\n") if l.startswith("facet")):
        normals = normals.replace(line, "facet normal 0 0 0")
    table.good("no-normals.stl", normals)
    table.good("attribute-bytes.stl", binary(pillar(), attribute=0xFC00))
    table.good("far-from-the-origin.stl", binary(pillar().moved(100_000, 100_000, 100_000)))
    table.good("very-small.stl", binary(scaled(pillar(), 1e-6)))
    table.good("very-large.stl", binary(scaled(pillar(), 1e12)))


def add_broken(table):
    table.format = "stl"
    whole, words = binary(pillar()), text(pillar())
    table.card("empty.stl", b"", "is empty")
    table.card("one-byte.stl", b"s", "ends in the middle")
    table.card("header-alone.stl", whole[:80], "ends in the middle")
    table.card("no-facets.stl", whole[:80] + bytes(4), "holds nothing")
    for percent in (50, 90, 99):
        table.card(
            f"binary-cut-at-{percent}-percent.stl", cut(whole, percent / 100), "ends in the middle of its data (at byte"
        )
    table.card(
        "count-of-4-thousand-million.stl", binary(pillar(), count=0xFFFFFFFF), "ends in the middle of its data (at byte"
    )
    table.card("count-one-too-many.stl", binary(pillar(), count=13), "ends in the middle of its data (at byte")
    table.card("is-a-png.stl", images.flag_png(), "ends in the middle of its data (at byte")
    table.card("is-an-obj.stl", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n" * 20, "ends in the middle of its data (at byte")
    table.card("is-a-glb.stl", b"glTF" + bytes(200), "holds nothing that can be drawn")
    table.card("is-gzip.stl", GZIP_OF_NOTHING * 10, "ends in the middle of its data (at byte")
    table.card("utf16.stl", words.encode("utf-16"), "ends in the middle of its data (at byte")
    table.card("solid-alone.stl", "solid", "ends in the middle of its data")
    table.card("solid-without-facets.stl", "solid a\nendsolid a\n", "holds nothing")
    table.card("text-cut-in-first-facet.stl", words[:60], "ends in the middle of its data")
    table.card("text-cut-in-a-number.stl", cut(words, 0.3), "ends in the middle of its data")
    table.repaired("text-cut-behind-a-facet.stl", words[: words.index("facet normal 0 0 -1")])
    table.card("words-for-numbers.stl", words.replace("0.5", "half").replace("1", "one"), "where a number belongs")
    table.card(
        "facets-without-corners.stl",
        "solid a\n" + "facet normal 0 0 1\nouter loop\nendloop\nendfacet\n" * 3 + "endsolid a\n",
        "is damaged: a facet does not have three corners",
    )
    table.card(
        "two-numbers-a-corner.stl",
        "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0\nvertex 1 0\nvertex 1 1\nendloop\nendfacet\nendsolid a\n",
        "holds something else where a number belongs",
    )
    for name, value in (("nan", float("nan")), ("infinity", float("inf"))):
        everywhere = spoilt(pillar(), value, range(24))
        somewhere = spoilt(pillar(), value, range(4))
        table.card(f"binary-all-{name}.stl", binary(everywhere), "holds nothing that can be drawn")
        table.card(f"text-all-{name}.stl", text(everywhere), "holds nothing that can be drawn")
        table.repaired(f"binary-some-{name}.stl", binary(somewhere), notes="left out")
        table.repaired(f"text-some-{name}.stl", text(somewhere), notes="left out")
    table.blank("one-point.stl", binary(scaled(pillar(), 0)))
    table.repaired("as-large-as-floats-go.stl", binary(scaled(pillar(), 3e38)))
    table.repaired("four-corners-a-facet.stl", words.replace("  endloop", "    vertex 0 0 0\n  endloop"))
    table.repaired("nested-solids.stl", "solid a\n" * 20_000 + words)
    table.card("zeros.stl", bytes(100_000), "holds nothing")
    table.card("name-of-5-megabytes.stl", text(pillar(), name="x" * 5_000_000), "has a name that is too long")
    table.refused("mixed.Stl", whole, 'the suffix "Stl"')
