"""The .3mf files: z up."""

from . import images
from .shapes import box, pillar, totem
from .table import GZIP_OF_NOTHING, cut
from .threemfpackage import (
    MODEL_PATH,
    MODEL_TYPE,
    bomb,
    item_xml,
    mesh_xml,
    model_xml,
    object_xml,
    pack,
    relationships,
)

BOTH = ("red", "blue")
BASE_MATERIALS = (
    '<basematerials id="1"><base name="upper" displaycolor="#D9140F"/>'
    '<base name="lower" displaycolor="#0F1AD9FF"/></basematerials>'
)


def base_materials(items=None, extra=""):
    """Two objects, each of one material."""
    upper, lower = totem()
    resources = BASE_MATERIALS
    resources += object_xml(2, mesh_xml(upper), ' pid="1" pindex="0"') + object_xml(
        3, mesh_xml(lower), ' pid="1" pindex="1"'
    )
    return model_xml(resources + extra, items or item_xml(2) + item_xml(3))


def whole_totem():
    return totem()[0].joined(totem()[1])


def materials_of_triangles():
    mesh = mesh_xml(whole_totem(), 1, properties=[0] * 12 + [1] * 12)
    return model_xml(BASE_MATERIALS + object_xml(2, mesh, ' pid="1" pindex="0"'), item_xml(2))


def colour_group():
    colours = '<m:colorgroup id="1"><m:color color="#D9140F"/><m:color color="#0F1AD9"/></m:colorgroup>'
    mesh = mesh_xml(whole_totem(), 1, corner_properties=[0] * 24 + [1] * 24)
    return model_xml(colours + object_xml(2, mesh, ' pid="1" pindex="0"'), item_xml(2))


def texture_model(path="/3D/Textures/flag.png"):
    mesh = pillar()
    spots = "".join('<m:tex2coord u="%.6g" v="%.6g"/>' % uv for uv in mesh.uvs)
    resources = f'<m:texture2d id="5" path="{path}" contenttype="image/png"/>'
    resources += f'<m:texture2dgroup id="1" texid="5">{spots}</m:texture2dgroup>'
    resources += object_xml(2, mesh_xml(mesh, 1, corner_properties=list(range(24))), ' pid="1" pindex="0"')
    return model_xml(resources, item_xml(2))


def textured(data):
    return pack(texture_model(), textures=[("3D/Textures/flag.png", data)])


def multi_properties():
    colours = '<m:colorgroup id="4"><m:color color="#D9140F"/><m:color color="#0F1AD9"/></m:colorgroup>'
    many = '<m:multiproperties id="6" pids="1 4"><m:multi pindices="0 0"/><m:multi pindices="1 1"/></m:multiproperties>'
    mesh = mesh_xml(whole_totem(), 6, corner_properties=[0] * 24 + [1] * 24)
    return model_xml(BASE_MATERIALS + colours + many + object_xml(2, mesh, ' pid="6" pindex="0"'), item_xml(2))


def components():
    """The upper box is the lower one once more, turned round and moved up, in a component of a component."""
    lower = object_xml(2, mesh_xml(box()), ' pid="1" pindex="1"')
    upper = object_xml(3, mesh_xml(box()), ' pid="1" pindex="0"')
    inner = object_xml(4, '<components><component objectid="3" transform="1 0 0 0 -1 0 0 0 -1 0 0 0.5"/></components>')
    outer = object_xml(
        5,
        '<components><component objectid="2"/><component objectid="4" transform="1 0 0 0 1 0 0 0 1 0 0 0.5"/></components>',
    )
    return model_xml(BASE_MATERIALS + lower + upper + inner + outer, item_xml(5))


def several_items():
    lower = object_xml(2, mesh_xml(box()), ' pid="1" pindex="1"')
    upper = object_xml(3, mesh_xml(box()), ' pid="1" pindex="0"')
    items = item_xml(2) + item_xml(3, ' transform="1 0 0 0 1 0 0 0 1 0 0 1"')
    return model_xml(BASE_MATERIALS + lower + upper, items)


def production():
    """The boxes lie in a model part of their own."""
    upper, lower = totem()
    identity = ' p:UUID="{}-0000-4000-8000-000000000000"'.format
    inner = BASE_MATERIALS + object_xml(2, mesh_xml(upper), ' pid="1" pindex="0"' + identity("11111111"))
    inner += object_xml(3, mesh_xml(lower), ' pid="1" pindex="1"' + identity("22222222"))
    needs = ' requiredextensions="p"'
    other = model_xml(inner, "", needs)
    path = ' p:path="/3D/parts.model"'
    parts = (
        f'<component objectid="2"{path}{identity("33333333")}/><component objectid="3"{path}{identity("44444444")}/>'
    )
    outer = object_xml(8, f"<components>{parts}</components>", identity("55555555"))
    build = item_xml(8, identity("66666666"))
    model = model_xml(outer, build, needs).replace("<build>", f"<build{identity('77777777')}>")
    return pack(model, other_models=[("3D/parts.model", other)])


def beams():
    lattice = '<b:beamlattice radius="0.05" minlength="0.001"><b:beams>'
    lattice += "".join(f'<b:beam v1="{i}" v2="{i + 1}"/>' for i in range(6)) + "</b:beams></b:beamlattice>"
    mesh = mesh_xml(pillar(), extra=lattice)
    return model_xml(BASE_MATERIALS + object_xml(2, mesh, ' pid="1" pindex="0"'), item_xml(2))


def add_good(table):
    table.format = "3mf"
    plain = base_materials()
    table.good("base-materials.3mf", pack(plain), see=BOTH)
    table.good("CAPITALS.3MF", pack(plain), see=BOTH)
    table.good("stored.3mf", pack(plain, packed=False), see=BOTH)
    table.good("materials-of-triangles.3mf", pack(materials_of_triangles()), see=BOTH)
    table.good("colour-group.3mf", pack(colour_group()), see=BOTH)
    table.good("layered-materials.3mf", pack(multi_properties()), notes="multiproperties")
    table.good("components.3mf", pack(components()), see=BOTH)
    table.good("several-items.3mf", pack(several_items()), see=BOTH)
    table.good("production-extension.3mf", production(), see=BOTH)
    table.good("no-material.3mf", pack(model_xml(object_xml(1, mesh_xml(pillar())), item_xml(1))))
    table.good("texture.3mf", textured(images.flag_png()), see=BOTH)
    table.good("thumbnail.3mf", pack(plain, thumbnail=images.flag_png()), see=BOTH)
    table.good("other-pictures.3mf", pack(plain, parts=[("Metadata/plate_1.png", images.flag_png())]), see=BOTH)
    about = (
        '<metadata name="Title">Red over blue &amp; umlauts: ä</metadata><metadata name="Designer">nobody</metadata>'
    )
    table.good("metadata.3mf", pack(plain.replace("<resources>", about + "<resources>")), see=BOTH)
    table.good("in-inches.3mf", pack(plain.replace("millimeter", "inch")), see=BOTH)
    table.good("model-at-another-place.3mf", pack(plain, model_path="3D/elsewhere.model"), see=BOTH)
    table.good("beams-left-out.3mf", pack(beams()), see=("red",), notes="beam lattices")


def add_broken(table):
    table.format = "3mf"
    add_broken_archives(table)
    add_broken_xml(table)
    add_broken_models(table)
    add_broken_textures(table)


def add_broken_archives(table):
    whole = pack(base_materials())
    table.card("empty.3mf", b"", "is empty")
    for percent in (1, 30, 70, 98):
        table.card(f"cut-at-{percent}-percent.3mf", cut(whole, percent / 100), "ends in the middle of its data")
    table.card("signature-alone.3mf", b"PK\3\4", "ends in the middle of its data")
    table.card("is-a-png.3mf", images.flag_png(), "is no 3MF package")
    table.card("is-an-stl.3mf", "solid a\nendsolid a\n", "is no 3MF package")
    table.card("is-gzip.3mf", GZIP_OF_NOTHING, "is no 3MF package")
    table.card("is-bare-xml.3mf", base_materials(), "is no 3MF package")
    table.card("zeros.3mf", bytes(100_000), "is no 3MF package")
    spoilt = bytearray(whole)
    middle = whole.index(b"3D/3dmodel.model") + 60
    spoilt[middle : middle + 40] = b"\xff" * 40
    table.card("packed-data-spoilt.3mf", bytes(spoilt), "is damaged: its part 3D/3dmodel.model cannot be unpacked")
    table.card("bytes-before-the-archive.3mf", b"#!" * 50 + whole, "is no 3MF package")
    table.card("no-parts.3mf", b"PK\5\6" + bytes(18), "is no 3MF package")
    table.card("another-package.3mf", other_package(), "is no 3MF package: it names no model")
    encrypted = bytearray(whole)
    for mark, offset in ((b"PK\3\4", 6), (b"PK\1\2", 8)):
        start = 0
        while (start := encrypted.find(mark, start)) >= 0:
            encrypted[start + offset] |= 1
            start += 4
    table.card("encrypted.3mf", bytes(encrypted), "is encrypted")
    climbing = pack(base_materials(), parts=[("../../../../../../tmp/climbed.txt", b"out"), ("/etc/passwd", b"out")])
    table.repaired("names-that-climb-out.3mf", climbing, see=BOTH)
    head, tail = base_materials().split("<build>")
    # 512 megabytes of blanks between two elements.
    blanks = b" " * (1 << 20)
    table.card(
        "bomb-of-512-megabytes.3mf",
        bomb(head.encode(), blanks, b"<build>" + tail.encode(), 512),
        "unpacks to more data than allowed",
    )
    triangles = head.index("</triangles>")
    one = b'<triangle v1="0" v2="1" v3="2"/>' * 32768
    table.card(
        "bomb-of-17-million-triangles.3mf",
        bomb(head[:triangles].encode(), one, (head[triangles:] + "<build>" + tail).encode(), 512),
        "unpacks to more data than allowed",
    )


def other_package():
    """A ZIP container of another kind, with nothing of a model in it."""
    from .threemfpackage import zipfile, io

    stream = io.BytesIO()
    with zipfile.ZipFile(stream, "w") as archive:
        archive.writestr(zipfile.ZipInfo("mimetype", (2020, 1, 1, 0, 0, 0)), "application/epub+zip")
    return stream.getvalue()


def add_broken_xml(table):
    whole = base_materials()

    def model(name, xml, words=""):
        table.card(f"{name}.3mf", pack(xml), words)

    model("model-empty", "its part 3D/3dmodel.model is not valid XML")
    model("model-no-xml", "solid a\nendsolid a\n", words="its part 3D/3dmodel.model is not valid XML")
    for percent in (20, 60, 99):
        words = "its part 3D/3dmodel.model ends in the middle of its data"
        model(f"model-cut-at-{percent}-percent", cut(whole, percent / 100), words)
    model(
        "model-of-another-name",
        whole.replace("<model ", "<pattern ").replace("</model>", "</pattern>"),
        words="is no 3MF package: its model part holds no model",
    )
    model("model-of-another-namespace", whole.replace("2015/02", "1999/99"), words="its model part holds no objects")
    model("tags-crossed", whole.replace("</vertices>", "</triangles>", 1), words="is damaged")
    entities = "".join(
        f'<!ENTITY e{i} "{("&e%d;" % (i - 1)) * 10}">' if i else '<!ENTITY e0 "words words words">' for i in range(12)
    )
    bombed = whole.replace("<model ", f"<!DOCTYPE model [{entities}]><model ")
    model(
        "entities-that-multiply",
        bombed.replace("<resources>", '<metadata name="Title">&e11;</metadata><resources>'),
        words="its part 3D/3dmodel.model declares a document type or entities",
    )
    outside = '<!DOCTYPE model [<!ENTITY out SYSTEM "file:///etc/passwd">]><model '
    model(
        "entity-outside",
        whole.replace("<model ", outside).replace("<resources>", '<metadata name="Title">&out;</metadata><resources>'),
        words="its part 3D/3dmodel.model declares a document type or entities",
    )
    model(
        "nested-200000-deep",
        whole.replace("<resources>", "<a>" * 200_000 + "</a>" * 200_000 + "<resources>"),
        words="its part 3D/3dmodel.model is nested too deeply",
    )
    model(
        "attributes-without-end",
        whole.replace("<build>", "<build " + " ".join(f'a{i}="1"' for i in range(200_000)) + ">"),
        words="its part 3D/3dmodel.model has a tag that is too long",
    )


def add_broken_models(table):
    whole = base_materials()

    def model(name, xml, words=""):
        table.card(f"{name}.3mf", pack(xml), words)

    def meshed(vertices, triangles):
        mesh = f"<mesh><vertices>{vertices}</vertices><triangles>{triangles}</triangles></mesh>"
        return model_xml(object_xml(1, mesh), item_xml(1))

    corners = '<vertex x="0" y="0" z="0"/><vertex x="1" y="0" z="0"/><vertex x="0" y="1" z="0"/>'
    side = '<triangle v1="0" v2="1" v3="2"/>'
    model("no-build-items", model_xml(object_xml(1, mesh_xml(pillar())), ""), words="holds nothing that can be drawn")
    nowhere = model_xml(object_xml(1, mesh_xml(pillar())), item_xml(77))
    model("item-of-nothing", nowhere, words="places an object that does not exist")
    model("no-resources", model_xml("", ""), words="holds nothing that can be drawn")
    model("no-vertices", meshed("", side), words="names a corner that does not exist")
    model("no-triangles", meshed(corners, ""), words="holds nothing that can be drawn")
    for name, corner in (("out-of-range", "9"), ("negative", "-1"), ("of-4-thousand-million", "4294967295")):
        broken = meshed(corners, f'<triangle v1="0" v2="1" v3="{corner}"/>')
        model(f"corner-{name}", broken, words="a corner that does not exist")
    model("corner-a-word", meshed(corners, '<triangle v1="0" v2="1" v3="two"/>'), words="where a number belongs")
    for value in ("nan", "inf", "1e300"):
        model(f"vertex-of-{value}", meshed(corners.replace('x="1"', f'x="{value}"'), side), "a coordinate is no number")
    for name, value in (("word", "word"), ("nothing", ""), ("number-with-comma", "0,5")):
        spoilt = meshed(corners.replace('x="1"', f'x="{value}"'), side)
        model(f"vertex-of-{name}", spoilt, "holds something else where a number belongs")
    model("vertex-without-x", meshed(corners.replace('x="1" ', ""), side), "where a number belongs")
    model(
        "component-of-itself",
        model_xml(object_xml(1, '<components><component objectid="1"/></components>'), item_xml(1)),
        words="contains an object that contains itself",
    )
    first = object_xml(1, '<components><component objectid="2"/></components>')
    second = object_xml(2, '<components><component objectid="1"/></components>')
    model(
        "components-in-a-circle",
        model_xml(first + second, item_xml(1)),
        words="contains an object that contains itself",
    )
    model(
        "component-of-nothing",
        model_xml(object_xml(1, '<components><component objectid="5"/></components>'), item_xml(1)),
        words="an object contains one that does not exist",
    )
    many = object_xml(1, mesh_xml(pillar()))
    for i in range(2, 12):
        many += object_xml(i, "<components>" + f'<component objectid="{i - 1}"/>' * 10 + "</components>")
    model("components-that-multiply", model_xml(many, item_xml(11)), words="repeats its objects too often")
    chain = object_xml(1, mesh_xml(pillar()))
    for i in range(2, 50_000):
        chain += object_xml(i, f'<components><component objectid="{i - 1}"/></components>')
    model("chain-of-50000-components", model_xml(chain, item_xml(49_999)), "nests its components too deeply")
    items = whole.replace("<item ", '<item transform="1e300 0 0 0 1e300 0 0 0 1e300 0 0 0" ')
    table.repaired("moved-beyond-floats.3mf", pack(items), notes="is not followed", see=BOTH)
    model("transform-of-words", whole.replace("<item ", '<item transform="a b c" '), words="where a number belongs")
    twice = object_xml(1, mesh_xml(pillar())) * 2
    model("same-number-twice", model_xml(twice, item_xml(1)), words="two objects have the same number")
    needs = whole.replace("<model ", '<model xmlns:q="http://nobody.example/never-heard-of" requiredextensions="q" ')
    unread = "the extension http://nobody.example/never-heard-of is not read"
    table.repaired("requires-unknown-extension.3mf", pack(needs), notes=unread, see=BOTH)
    table.card("model-part-missing.3mf", without_model(), "names a model part that it does not hold")
    table.refused("mixed.3Mf", pack(whole), 'the suffix "3Mf"')


def without_model():
    from .threemfpackage import TYPES, io, zipfile

    stream = io.BytesIO()
    with zipfile.ZipFile(stream, "w") as archive:
        for path, data in (("[Content_Types].xml", TYPES), ("_rels/.rels", relationships((MODEL_PATH, MODEL_TYPE)))):
            archive.writestr(zipfile.ZipInfo(path, (2020, 1, 1, 0, 0, 0)), data)
    return stream.getvalue()


def add_broken_textures(table):
    table.repaired("texture-cut.3mf", textured(cut(images.flag_png(), 0.5)), notes="texture")
    table.repaired("texture-no-picture.3mf", textured(b"words" * 30), notes="texture")
    table.card("texture-bomb.3mf", textured(images.png_bomb()), "unpacks to more data than allowed")
    table.repaired("texture-part-missing.3mf", pack(texture_model()), words="flag.png")
    table.repaired("texture-outside.3mf", pack(texture_model("/../../../../../../etc/passwd")), words="passwd")
