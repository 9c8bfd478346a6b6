"""The .gltf files."""

import base64
import json

from . import gltfmodels as models
from . import images
from .gltfdocument import UINT, Document
from .shapes import BLUE, RED, Mesh, pillar, totem
from .table import GZIP_OF_NOTHING, cut

BOTH = ("red", "blue")

# What several cards say.
BEYOND_END = "has a part that reaches beyond its end"
BROKEN_VIEW = "is damaged: a view of its data is not valid"
WITHIN_ITSELF = "is damaged: a node contains itself"
WRONG_KIND = "is damaged: a list of numbers is of no valid kind"


def beside(table, name, made, **more):
    """A good file with its buffer in a file beside it."""
    table.side(f"gltf/{name}.bin", bytes(made.blob))
    table.good(f"{name}.gltf", made.text(f"{name}.bin"), **more)


def add_good(table):
    table.format = "gltf"
    beside(table, "materials", models.two_materials(), see=BOTH)
    table.good("data-uri.gltf", models.two_materials().text(), see=BOTH)
    table.good("CAPITALS.GLTF", models.two_materials().text(), see=BOTH)
    beside(table, "vertex-colours", models.vertex_colours(), see=BOTH)
    table.good("vertex-colours-bytes.gltf", models.vertex_colours_in_bytes().text(), see=BOTH)
    table.good("no-normals.gltf", models.two_materials(normals=False).text(), see=BOTH)
    table.good("long-indices.gltf", models.two_materials(index_type=UINT).text(), see=BOTH)
    table.good("points.gltf", models.points().text(), see=("red",), least=0.0005)
    table.good("lines.gltf", models.lines().text(), see=("blue",), least=0.0005)
    table.good("strips-and-fans.gltf", models.strips_and_fans().text(), see=BOTH)
    table.good("hierarchy.gltf", models.hierarchy().text(), see=BOTH)
    table.good("skinned.gltf", models.skinned().text(), see=BOTH)
    table.good("morphed.gltf", models.morphed().text(), see=BOTH)
    table.good("animated.gltf", models.animated().text(), see=BOTH)
    table.good("interleaved.gltf", models.interleaved().text(), see=BOTH)
    table.good("sparse.gltf", models.sparse().text(), see=BOTH)
    table.good("see-through.gltf", models.see_through().text(), see=BOTH)
    table.good("unlit.gltf", models.unlit().text(), see=BOTH)
    table.good("utf8-mark.gltf", b"\xef\xbb\xbf" + models.two_materials().text().encode(), see=BOTH)
    table.good("nested-as-deep-as-allowed.gltf", nested_extras(90), see=BOTH)
    add_several_buffers(table)
    add_textures(table)


def nested_extras(levels):
    made = models.two_materials()
    made.json["extras"] = json.loads("[" * levels + "]" * levels)
    return made.text()


def add_several_buffers(table):
    made = models.two_materials()
    half = made.json["bufferViews"][3]["byteOffset"]
    for view in made.json["bufferViews"][3:]:
        view["buffer"] = 1
        view["byteOffset"] -= half
    table.side("gltf/buffers/upper.bin", bytes(made.blob[:half]))
    table.side("gltf/buffers/lower one.bin", bytes(made.blob[half:]))
    parts = [
        {"uri": "buffers/upper.bin", "byteLength": half},
        {"uri": "buffers/lower%20one.bin", "byteLength": len(made.blob) - half},
    ]
    table.good("several-buffers.gltf", made.text(buffers=parts), see=BOTH)


def data_uri(picture):
    return "data:image/png;base64," + base64.b64encode(picture).decode()


def add_textures(table):
    def with_texture(name, uri, place, data=None, **more):
        if place:
            table.side(f"gltf/{name}/{place}", data or images.flag_png())
        table.good(f"{name}/{name}.gltf", models.textured({"uri": uri}).text(), **({"see": BOTH} | more))

    with_texture("texture-in-sub-folder", "textures/flag.png", "textures/flag.png")
    with_texture("texture-with-backslashes", "textures\\flag.png", "textures/flag.png")
    with_texture("texture-with-percent-escapes", "red%20%26%20blue%20100%25.png", "red & blue 100%.png")
    with_texture("texture-with-blanks", "red and blue.png", "red and blue.png")
    with_texture("texture-with-umlauts", "Flügel.png", "Flügel.png")
    with_texture("texture-in-other-case", "Flag.PNG", "flag.png")
    with_texture("texture-at-absolute-path", "/home/somebody/pictures/flag.png", "flag.png")
    with_texture("texture-at-drive", "C:\\Users\\somebody\\flag.png", "pictures/flag.png")
    with_texture("texture-climbing-out", "../../elsewhere/flag.png", "flag.png")
    with_texture("texture-jpeg", "flag.jpg", "flag.jpg", images.flag_jpeg())
    with_texture("texture-named-wrongly", "flag.jpg", "flag.jpg", images.flag_png())

    table.good("texture-data-uri.gltf", models.textured({"uri": data_uri(images.flag_png())}).text(), see=BOTH)
    inside = Document()
    view = inside.view(images.flag_png())
    look = inside.textured({"bufferView": view, "mimeType": "image/png"}, {"wrapS": 33071, "wrapT": 33648})
    inside.shown(inside.primitive(pillar(), look, uvs=True))
    table.good("texture-in-buffer.gltf", inside.text(), see=BOTH)
    for mode in ("MASK", "BLEND"):
        made = models.textured({"uri": data_uri(images.window_png())}, alphaMode=mode, doubleSided=True)
        table.good(f"texture-alpha-{mode.lower()}.gltf", made.text(), see=("red",))

    two = Document()
    first, second = (two.textured({"uri": f"{name}.png"}) for name in ("flag", "gone"))
    upper, lower = totem()
    two.shown(two.primitive(upper, first, uvs=True), two.primitive(lower, second, uvs=True))
    table.side("gltf/texture-missing/flag.png", images.flag_png())
    table.good("texture-missing/texture-missing.gltf", two.text(), words="gone.png", see=BOTH)


def add_broken(table):
    table.format = "gltf"
    add_refused(table)
    add_broken_buffers(table)
    add_broken_structure(table)
    add_broken_numbers(table)
    add_broken_textures(table)


def add_refused(table):
    whole = models.two_materials().text()
    table.refused("empty.gltf", b"", "is not valid JSON")
    for percent in (1, 30, 60, 99):
        table.refused(f"cut-at-{percent}-percent.gltf", cut(whole, percent / 100), "is not valid JSON")
    table.refused("nested-200000-deep.gltf", models.deep_json(200_000), "is not valid JSON: too deeply nested")
    table.refused("is-a-glb.gltf", models.two_materials().glb(), "is not valid JSON")
    table.refused("is-a-png.gltf", images.flag_png(), "is not valid JSON")
    table.refused("is-an-obj.gltf", "v 0 0 0\n", "is not valid JSON")
    table.refused("is-gzip.gltf", GZIP_OF_NOTHING, "is not valid JSON")
    table.refused("utf16.gltf", whole.encode("utf-16"), "is not valid JSON")
    table.refused("an-array.gltf", "[]", "its asset version does not begin with 2.0")
    table.refused("version-1.gltf", whole.replace('"2.0"', '"1.0"'), "its asset version does not begin with 2.0")
    table.refused("version-number.gltf", whole.replace('"2.0"', "2"), "its asset version does not begin with 2.0")
    table.refused("Mixed.Gltf", whole, 'the suffix "Gltf"')
    table.refused("mixed.glTF", whole, 'the suffix "glTF"')


def add_broken_buffers(table):
    made = models.two_materials()
    blob = bytes(made.blob)

    def buffer(name, uri, words, data=None, **more):
        if data is not None:
            table.side(f"gltf/{name}.bin", data)
        table.card(f"{name}.gltf", made.text(buffers=[{"uri": uri, "byteLength": len(blob)} | more]), words)

    buffer("buffer-missing", "gone.bin", "gone.bin")
    buffer("buffer-empty", "buffer-empty.bin", "needs the file buffer-empty.bin, which is empty", data=b"")
    for percent in (10, 50, 99):
        file = f"buffer-cut-{percent}.bin"
        words = f"needs the file {file}, which ends in the middle of its data (at byte"
        buffer(f"buffer-cut-{percent}", file, words, data=cut(blob, percent / 100))
    buffer("buffer-climbing-out", "../../../../../../../../etc/passwd", "passwd")
    buffer("buffer-climbing-escaped", "..%2f..%2f..%2f..%2f..%2f..%2f..%2fetc%2fpasswd", "passwd")
    buffer("buffer-absolute", "/etc/passwd", "passwd")
    buffer("buffer-file-url", "file:///etc/passwd", "passwd")
    buffer("buffer-web-address", "http://localhost/model.bin", "model.bin")
    buffer("buffer-is-folder", ".", "needs the file ., which is missing")
    buffer("buffer-claims-4-gigabytes", "materials.bin", "(at byte 1,296 of 4,294,967,295)", byteLength=0xFFFFFFFF)
    buffer("buffer-of-negative-length", "materials.bin", "gives a wrong size for a buffer", byteLength=-1)
    buffer("buffer-base64-cut", "data:application/octet-stream;base64,AAAA", BEYOND_END)
    buffer("buffer-base64-nonsense", "data:application/octet-stream;base64,\x01\x02~~~~", BEYOND_END)
    broken(table, "view-beyond-buffer", "bufferViews", 0, BEYOND_END, byteOffset=1 << 30)
    broken(table, "view-longer-than-buffer", "bufferViews", 5, BEYOND_END, byteLength=1 << 31)
    broken(table, "view-of-no-buffer", "bufferViews", 0, BROKEN_VIEW, buffer=7)


def broken(table, name, kind, index, words, **values):
    """A model that is good but for these values in one of its objects, and so a card."""
    table.card(f"{name}.gltf", models.changed(models.two_materials(), kind, index, **values).text(), words)


def add_broken_structure(table):
    broken(table, "count-of-4-thousand-million", "accessors", 0, "claims more elements than allowed", count=0xFFFFFFFF)
    broken(table, "count-of-indices-beyond-view", "accessors", 2, BEYOND_END, count=1_000_000)
    broken(table, "count-negative", "accessors", 0, WRONG_KIND, count=-5)
    broken(table, "accessor-beyond-view", "accessors", 0, BEYOND_END, byteOffset=100_000)
    no_view = "is damaged: a list of numbers names a view that does not exist"
    broken(table, "accessor-of-no-view", "accessors", 0, no_view, bufferView=99)
    broken(table, "component-type-unknown", "accessors", 0, WRONG_KIND, componentType=9999)
    broken(table, "accessor-type-unknown", "accessors", 0, WRONG_KIND, type="VEC9")
    no_numbers = "is damaged: a mesh names numbers that do not exist"
    only_positions = [{"attributes": {"POSITION": 77}}]
    broken(table, "primitive-without-accessor", "meshes", 0, no_numbers, primitives=only_positions)
    broken(table, "primitive-without-positions", "meshes", 0, "holds nothing", primitives=[{"attributes": {}}])
    broken(table, "primitives-a-number", "meshes", 0, 'its member "primitives" is of the wrong kind', primitives=5)
    broken(table, "node-of-no-mesh", "nodes", 0, "is damaged: a node names a mesh that does not exist", mesh=42)
    no_child = "is damaged: a node names one that does not exist"
    broken(table, "node-with-child-of-nothing", "nodes", 0, no_child, children=[1000])
    broken(table, "node-its-own-child", "nodes", 0, WITHIN_ITSELF, children=[0])
    table.card("cycle-of-2-nodes.gltf", models.cycle(2).text(), WITHIN_ITSELF)
    table.card("cycle-of-1000-nodes.gltf", models.cycle(1000).text(), WITHIN_ITSELF)
    table.card("chain-of-50000-nodes.gltf", models.chain(50_000).text(), "nests its nodes too deeply")
    table.card("no-meshes.gltf", '{"asset":{"version":"2.0"}}', "holds nothing")
    table.card(
        "meshes-an-object.gltf",
        '{"asset":{"version":"2.0"},"meshes":{"0":{}}}',
        'its member "meshes" is of the wrong kind',
    )
    table.card("scene-of-no-nodes.gltf", Document().text(), "holds nothing")
    table.card("empty-mesh.gltf", one_mesh(Mesh()), BROKEN_VIEW)

    made = models.two_materials()
    made.json["extensionsRequired"] = made.json["extensionsUsed"] = ["EXT_never_heard_of"]
    unread = "the extension EXT_never_heard_of is not read"
    table.repaired("requires-unknown-extension.gltf", made.text(), notes=unread, see=BOTH)
    made = Document()
    name = "KHR_draco_mesh_compression"
    part = made.primitive(pillar(), made.material(RED))
    part["extensions"] = {name: {"bufferView": made.view(b"DRACO\2\2" + b"\xff" * 90), "attributes": {"POSITION": 0}}}
    made.json["extensionsRequired"] = made.json["extensionsUsed"] = [name]
    made.shown(part)
    table.card("draco-nonsense.gltf", made.text(), "is damaged: its Draco data cannot be unpacked")


def one_mesh(mesh):
    made = Document()
    made.shown(made.primitive(mesh, made.material(BLUE)))
    return made.text()


def add_broken_numbers(table):
    nan, infinite = float("nan"), float("inf")
    for name, value in (("nan", nan), ("infinity", infinite)):
        table.card(f"all-{name}.gltf", models.with_numbers("all", value).text(), "holds nothing that can be drawn")
        table.repaired(f"some-{name}.gltf", models.with_numbers("some", value).text(), notes="left out", see=BOTH)
    made = models.two_materials()
    for view, mesh in ((2, 0), (5, 1)):
        start = made.json["bufferViews"][view]["byteOffset"]
        made.blob[start : start + 72] = b"\xf0\xff" * 36
    table.card("all-indices-out-of-range.gltf", made.text(), "holds nothing that can be drawn")
    made = models.two_materials()
    start = made.json["bufferViews"][2]["byteOffset"]
    made.blob[start : start + 2] = b"\xf0\xff"
    table.repaired("one-index-out-of-range.gltf", made.text(), notes="left out", see=BOTH)
    huge = models.two_materials().text().replace('"scenes": [{"nodes": [0]}]', '"scenes": [{"nodes": [1e999]}]')
    table.refused("number-beyond-doubles.gltf", huge, "is not valid JSON")
    # Only the size of the whole changes, and every size is shown.
    scaled = models.changed(models.two_materials(), "nodes", 0, scale=[1e300, 1e300, 1e300])
    table.repaired("scaled-by-an-absurd-number.gltf", scaled.text(), see=BOTH)
    flat = models.changed(models.two_materials(), "nodes", 0, scale=[0, 0, 0])
    table.blank("scaled-to-nothing.gltf", flat.text())


def add_broken_textures(table):
    def picture(name, data, words=None, notes="texture"):
        table.repaired(f"{name}.gltf", models.textured({"uri": data_uri(data)}).text(), words=words, notes=notes)

    picture("texture-empty", b"", notes=None)
    picture("texture-cut", cut(images.flag_png(), 0.6))
    picture("texture-no-picture", b"words" * 50)
    picture("texture-lies-about-its-size", images.png(images.flag_pixels(), 32, 32, claimed=(100_000, 100_000)))
    picture("texture-bomb", images.png_bomb())
    table.repaired(
        "texture-passwd.gltf", models.textured({"uri": "../../../../../../etc/passwd"}).text(), words="passwd"
    )
    made = models.textured({"bufferView": 999, "mimeType": "image/png"})
    table.card("texture-of-no-view.gltf", made.text(), "is damaged: it names a view that does not exist")
    made = models.changed(models.textured({"uri": "materials.bin"}), "textures", 0, source=5)
    table.card("texture-of-no-image.gltf", made.text(), BEYOND_END)
