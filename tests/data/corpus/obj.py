"""The .obj files."""

from . import images
from .shapes import BLUE, RED, helix, pillar, totem
from .table import GZIP_OF_NOTHING, cut

BOTH = ("red", "blue")


def numbers(values):
    return " ".join(f"{v:.6g}" for v in values)


def vertices(mesh, normals=True, uvs=False, colours=None):
    lines = []
    for i, p in enumerate(mesh.positions):
        lines.append("v " + numbers(p) + (" " + numbers(colours[i]) if colours else ""))
    if uvs:
        lines += ["vt " + numbers(uv) for uv in mesh.uvs]
    if normals:
        lines += ["vn " + numbers(n) for n in mesh.normals]
    return lines


def faces(mesh, first=1, normals=True, uvs=False, quads=False):
    def corner(i):
        i += first
        return f"{i}/{i if uvs else ''}/{i}" if normals else f"{i}/{i}" if uvs else f"{i}"

    sides = [tuple(range(i, i + 4)) for i in range(0, len(mesh.positions), 4)] if quads else mesh.triangles
    return ["f " + " ".join(corner(i) for i in side) for side in sides]


def library(**more):
    text = ""
    for name, colour in (("upper", RED), ("lower", BLUE)):
        text += f"newmtl {name}\nKa 0 0 0\nKd {numbers(colour)}\nillum 1\n" + more.get(name, "") + "\n"
    return text


def two_materials(mtllib="materials.mtl", **options):
    upper, lower = totem()
    normals = options.get("normals", True)
    lines = [f"mtllib {mtllib}"] + vertices(upper, normals) + vertices(lower, normals)
    lines += ["usemtl upper"] + faces(upper, 1, **options) + ["usemtl lower"]
    lines += faces(lower, 1 + len(upper.positions), **options)
    return "\n".join(lines) + "\n"


def textured(mtllib):
    lines = [f"mtllib {mtllib}"] + vertices(pillar(), uvs=True) + ["usemtl flag"] + faces(pillar(), uvs=True)
    return "\n".join(lines) + "\n"


def texture_library(name):
    return f"newmtl flag\nKa 0 0 0\nKd 1 1 1\nillum 1\nmap_Kd {name}\n"


def add_good(table):
    table.format = "obj"
    table.side("obj/materials.mtl", library())
    table.good("materials.obj", two_materials(), see=BOTH)
    table.good("CAPITALS.OBJ", two_materials(), see=BOTH)
    table.good("no-normals.obj", two_materials(normals=False), see=BOTH)
    table.good("quads.obj", two_materials(quads=True), see=BOTH)
    table.good("carriage-returns.obj", two_materials().replace("\n", "\r\n"), see=BOTH)
    table.good("no-last-line-end.obj", two_materials().rstrip("\n"), see=BOTH)
    table.good("utf8-mark.obj", b"\xef\xbb\xbf" + ("# red over blue\n" + two_materials()).encode(), see=BOTH)
    table.good(
        "smoothing-and-groups.obj", two_materials().replace("usemtl", "s 1\ng some group\no part\nusemtl"), see=BOTH
    )
    table.good("blanks-and-tabs.obj", two_materials().replace("f ", "f  ").replace("vn ", "vn   "), see=BOTH)
    table.good("continued-lines.obj", continued(), see=BOTH)
    table.good("counted-from-the-end.obj", negative(), see=BOTH)
    table.good("scientific-numbers.obj", scientific(), see=BOTH)
    upper, lower = totem()
    colours = [RED] * len(upper.positions) + [BLUE] * len(lower.positions)
    whole = upper.joined(lower)
    table.good("vertex-colours.obj", "\n".join(vertices(whole, colours=colours) + faces(whole)), see=BOTH)
    table.good("no-library.obj", "\n".join(vertices(pillar()) + faces(pillar())))
    table.good("points.obj", cloud(), see=("red",), least=0.0005)
    table.good("vertices-alone.obj", "\n".join("v " + numbers(p) for p in helix(300)), least=0.0005)
    table.good("lines.obj", polyline(), see=("blue",), least=0.0005)
    table.good("concave-polygon.obj", concave())
    table.good(
        "freeform-left-out.obj",
        two_materials() + "cstype bspline\ndeg 2\ncurv 0 1 1 2 3\nparm u 0 0 1 1\nend\n",
        notes="curves and surfaces are not shown",
        see=BOTH,
    )
    add_libraries(table)
    add_textures(table)


def continued():
    return two_materials().replace("f 1//1 2//2 3//3", "f 1//1 \\\n2//2 \\\n3//3")


def negative():
    lines = ["mtllib materials.mtl"]
    for name, mesh in zip(("upper", "lower"), totem()):
        lines += vertices(mesh) + [f"usemtl {name}"]
        lines += faces(mesh, first=-len(mesh.positions))
    return "\n".join(lines) + "\n"


def scientific():
    lines = ["mtllib materials.mtl"]
    first = 1
    for name, mesh in zip(("upper", "lower"), totem()):
        lines += ["v " + " ".join(f"{c:+.4E}" for c in p) for p in mesh.positions] + [f"usemtl {name}"]
        lines += faces(mesh, first, normals=False)
        first += len(mesh.positions)
    return "\n".join(lines) + "\n"


def cloud():
    spots = helix(300)
    lines = ["mtllib materials.mtl", "usemtl upper"] + ["v " + numbers(p) for p in spots]
    return "\n".join(lines + ["p " + str(i + 1) for i in range(len(spots))]) + "\n"


def polyline():
    spots = helix(100)
    lines = ["mtllib materials.mtl", "usemtl lower"] + ["v " + numbers(p) for p in spots]
    return "\n".join(lines + ["l " + " ".join(str(i + 1) for i in range(len(spots)))]) + "\n"


def concave():
    outline = [(0, 0), (3, 0), (3, 3), (2, 3), (2, 1), (1, 1), (1, 3), (0, 3)]
    lines = [f"v {x} {y} 0" for x, y in outline] + ["f " + " ".join(str(i + 1) for i in range(len(outline)))]
    return "\n".join(lines) + "\n"


def add_libraries(table):
    table.side("obj/sub folder/two words.mtl", library())
    table.good("library-with-blanks.obj", two_materials("sub folder/two words.mtl"), see=BOTH)
    table.good("library-with-backslashes.obj", two_materials("sub folder\\two words.mtl"), see=BOTH)
    table.good("library-at-absolute-path.obj", two_materials("/somewhere/else/materials.mtl"), see=BOTH)
    table.good("library-with-dot.obj", two_materials("./materials.mtl"), see=BOTH)
    table.good("library-missing.obj", two_materials("gone.mtl"), words="gone.mtl")
    table.side("obj/materials-crlf.mtl", library().replace("\n", "\r\n"))
    table.good("library-with-carriage-returns.obj", two_materials("materials-crlf.mtl"), see=BOTH)
    table.side("obj/upper.mtl", "newmtl upper\nKd 0.85 0.08 0.06\n")
    table.side("obj/lower.mtl", "newmtl lower\nKd 0.06 0.10 0.85\n")
    both = two_materials("upper.mtl").replace("usemtl lower", "mtllib lower.mtl\nusemtl lower")
    table.good("several-libraries.obj", both, see=BOTH)
    table.good("several-libraries-on-a-line.obj", two_materials("upper.mtl lower.mtl"), see=BOTH)
    repeated = two_materials().replace("usemtl lower", "mtllib materials.mtl\nusemtl lower")
    table.good("library-repeated.obj", repeated, see=BOTH)
    table.side("obj/glass.mtl", library(upper="d 0.5\n"))
    table.good("see-through.obj", two_materials("glass.mtl"), see=BOTH)


def add_textures(table):
    def with_texture(name, written, place, data, **more):
        if place:
            table.side(f"obj/{name}/{place}", data)
        table.side(f"obj/{name}/{name}.mtl", texture_library(written))
        table.good(f"{name}/{name}.obj", textured(f"{name}.mtl"), **({"see": BOTH} | more))

    png = images.flag_png()
    with_texture("texture-in-sub-folder", "textures/flag.png", "textures/flag.png", png)
    with_texture("texture-with-backslashes", "textures\\flag.png", "textures/flag.png", png)
    with_texture("texture-with-blanks", "red and blue.png", "red and blue.png", png)
    with_texture("texture-with-percent-sign", "100%.png", "100%.png", png)
    with_texture("texture-with-options", "-s 1 1 1 -o 0 0 0 -clamp on flag.png", "flag.png", png)
    with_texture("texture-at-absolute-path", "D:\\work\\textures\\flag.png", "flag.png", png)
    with_texture("texture-climbing-out", "../../../flag.png", "flag.png", png)
    with_texture("texture-bmp", "flag.bmp", "flag.bmp", images.flag_bmp())
    with_texture("texture-tga", "flag.tga", "flag.tga", images.flag_tga())
    with_texture("texture-jpeg", "flag.jpg", "flag.jpg", images.flag_jpeg())
    with_texture("texture-missing", "gone.png", None, None, words="gone.png", see=())


def add_broken(table):
    table.format = "obj"
    whole = two_materials()
    nothing = "none of its first 30 lines holds a vertex or a face"
    table.refused("empty.obj", b"", nothing)
    table.refused("comments-alone.obj", "# words\n" * 50, nothing)
    table.refused("every-line-commented.obj", "v 0 0 0 # corner\n" * 3, nothing)
    table.refused("capital-letters.obj", "V 0 0 0\nV 1 0 0\nV 0 1 0\nF 1 2 3\n", nothing)
    table.refused("first-vertex-on-line-31.obj", "g part\n" * 30 + whole, nothing)
    for encoding in ("utf-16-le", "utf-16-be", "utf-16", "utf-32"):
        table.refused(f"{encoding}.obj", whole.encode(encoding), nothing)
    table.refused("is-a-png.obj", images.flag_png(), nothing)
    table.refused("is-a-gltf.obj", '{"asset":{"version":"2.0"}}', nothing)
    table.refused("is-an-stl.obj", "solid a\nfacet normal 0 0 1\nouter loop\nendloop\nendfacet\nendsolid\n", nothing)
    table.refused("is-gzip.obj", GZIP_OF_NOTHING, nothing)
    table.refused("zeros.obj", bytes(5000), nothing)
    table.refused("mixed.Obj", whole, 'the suffix "Obj"')
    table.refused("obj", whole, "no suffix")
    add_broken_geometry(table)
    add_broken_libraries(table)


TRIANGLE = "v 0 0 0\nv 1 0 0\nv 0 1 0\n"


def add_broken_geometry(table):
    whole = two_materials()
    table.card("faces-alone.obj", "f 1 2 3\nf 2 3 4\n", "has a part that reaches beyond its end")
    table.card("normals-alone.obj", "vn 0 0 1\nvn 0 1 0\n", "holds nothing that can be drawn")
    table.card("face-of-corner-0.obj", TRIANGLE + "f 0 1 2\n", "a face names a corner that cannot exist")
    table.card("face-of-corner-9.obj", TRIANGLE + "f 1 2 9\n", "has a part that reaches beyond its end")
    table.card(
        "face-of-corner-4-thousand-million.obj",
        TRIANGLE + "f 1 2 4294967297\n",
        "has a part that reaches beyond its end",
    )
    table.card("face-of-corner-minus-9.obj", TRIANGLE + "f -1 -2 -9\n", "has a part that reaches beyond its end")
    table.card("face-of-words.obj", TRIANGLE + "f one two three\n", "a face names a corner that cannot exist")
    table.repaired("face-of-nothing.obj", TRIANGLE + "f\nf \nf / / /\n", notes="3 faces without corners left out")
    table.card("all-nan.obj", "v nan nan nan\n" * 3 + "f 1 2 3\n", "holds nothing that can be drawn")
    table.card("all-infinity.obj", "v inf -inf inf\n" * 3 + "f 1 2 3\n", "holds nothing that can be drawn")
    table.card(
        "numbers-beyond-floats.obj",
        "v 1e300 0 0\nv 0 1e300 0\nv 0 0 1e300\nf 1 2 3\n",
        "holds nothing that can be drawn",
    )
    table.card("two-numbers-a-vertex.obj", "v 0 0\nv 1 0\nv 0 1\nf 1 2 3\n", "has a part that reaches beyond its end")
    table.card(
        "words-for-numbers.obj", "v a b c\nv d e f\nv g h i\nf 1 2 3\n", "has a part that reaches beyond its end"
    )
    table.repaired(
        "some-nan.obj", whole + "v nan nan nan\nv nan 1 1\nv 1 1 nan\nf 49 50 51\n", notes="left out", see=BOTH
    )
    table.repaired("utf16-behind-the-first-lines.obj", whole.encode() + whole.encode("utf-16-le"), see=BOTH)
    count = 100_000
    round_ = [(i % 400, i // 400) for i in range(count)]
    polygon = "".join(f"v {x} {y} 0\n" for x, y in round_) + "f " + " ".join(str(i + 1) for i in range(count)) + "\n"
    table.card("polygon-of-100000-corners.obj", polygon, "with too many corners left out")
    table.card("cut-behind-the-vertices.obj", "v 0 0 0\nf 1 ", "ends in the middle of its data")
    for percent in (40, 70, 95):
        table.repaired(f"cut-at-{percent}-percent.obj", cut(two_materials(normals=False), percent / 100))
    table.repaired("line-of-5-megabytes.obj", whole + "g " + "x" * 5_000_000 + "\n", see=BOTH)
    table.repaired("groups-without-end.obj", whole + "g a\no b\ns off\n" * 100_000, see=BOTH)
    table.repaired("zeros-at-the-end.obj", whole.encode() + bytes(100_000), see=BOTH)
    table.repaired("unknown-words.obj", whole + "shadow_obj x\ncall y.obj\n\x01\x02\x03\n", see=BOTH)


def add_broken_libraries(table):
    def with_library(name, written, words):
        table.repaired(f"{name}.obj", two_materials(written), words=words)

    with_library("library-climbing-out", "../../../../../../../../etc/passwd", "passwd")
    with_library("library-absolute", "/etc/passwd", "passwd")
    with_library("library-with-long-name", "a" * 5000 + ".mtl", "aaaa")
    table.repaired("library-a-folder.obj", two_materials("sub folder"), words="sub folder")
    table.repaired("library-the-model-itself.obj", two_materials("library-the-model-itself.obj"))
    table.side("obj/words.mtl", "newmtl upper\nKd red red red\n")
    table.card("library-with-words-for-numbers.obj", two_materials("words.mtl"), "something else where a number")
    table.side("obj/nonsense.mtl", "newmtl upper\nmap_Kd\nnewmtl\n\x00\x01\x02\nwhat ever\n")
    table.repaired("library-of-nonsense.obj", two_materials("nonsense.mtl"))
    table.side("obj/bomb.png", images.png_bomb())
    table.side("obj/cut.png", cut(images.flag_png(), 0.5))
    for name in ("bomb", "cut"):
        table.side(f"obj/{name}.mtl", texture_library(f"{name}.png"))
        table.repaired(f"texture-{name}.obj", textured(f"{name}.mtl"), notes="texture")
    table.side("obj/passwd.mtl", texture_library("../../../../../../../../etc/passwd"))
    table.repaired("texture-climbing-out.obj", textured("passwd.mtl"), words="passwd")
