"""Builds 3MF packages: a ZIP container of XML parts."""

import io
import struct
import zipfile
import zlib

from .bombs import deflated

CORE = "http://schemas.microsoft.com/3dmanufacturing/core/2015/02"
MATERIAL = "http://schemas.microsoft.com/3dmanufacturing/material/2015/02"
PRODUCTION = "http://schemas.microsoft.com/3dmanufacturing/production/2015/06"
BEAMS = "http://schemas.microsoft.com/3dmanufacturing/beamlattice/2017/02"
MODEL_PATH = "3D/3dmodel.model"

TYPES = (
    '<?xml version="1.0" encoding="UTF-8"?>\n'
    '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
    '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
    '<Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/>'
    '<Default Extension="png" ContentType="image/png"/><Default Extension="jpg" ContentType="image/jpeg"/></Types>'
)
MODEL_TYPE = "http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"
TEXTURE_TYPE = "http://schemas.microsoft.com/3dmanufacturing/2013/01/3dtexture"
THUMBNAIL_TYPE = "http://schemas.openxmlformats.org/package/2006/relationships/metadata/thumbnail"


def relationships(*targets):
    """targets: (path in the package, type)"""
    rows = "".join(
        f'<Relationship Target="/{path}" Id="rel{i}" Type="{kind}"/>' for i, (path, kind) in enumerate(targets)
    )
    return (
        '<?xml version="1.0" encoding="UTF-8"?>\n'
        f'<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">{rows}</Relationships>'
    )


def mesh_xml(mesh, property_id=None, properties=None, corner_properties=None, extra=""):
    """`properties` gives a property a triangle, `corner_properties` three of them."""
    mesh = mesh.z_up()
    corners = "".join('<vertex x="%.6g" y="%.6g" z="%.6g"/>' % p for p in mesh.positions)
    sides = ""
    for i, (a, b, c) in enumerate(mesh.triangles):
        more = ""
        if properties:
            more = f' pid="{property_id}" p1="{properties[i]}"'
        elif corner_properties:
            p1, p2, p3 = (corner_properties[k] for k in (a, b, c))
            more = f' pid="{property_id}" p1="{p1}" p2="{p2}" p3="{p3}"'
        sides += f'<triangle v1="{a}" v2="{b}" v3="{c}"{more}/>'
    return f"<mesh><vertices>{corners}</vertices><triangles>{sides}</triangles>{extra}</mesh>"


def object_xml(identifier, content, more=""):
    return f'<object id="{identifier}" type="model"{more}>{content}</object>'


def model_xml(resources, items, more="", metadata="", unit="millimeter"):
    """`items`: the rows of the build, as XML."""
    return (
        f'<?xml version="1.0" encoding="UTF-8"?>\n<model unit="{unit}" xml:lang="en-US" xmlns="{CORE}" '
        f'xmlns:m="{MATERIAL}" xmlns:p="{PRODUCTION}" xmlns:b="{BEAMS}"{more}>'
        f"{metadata}<resources>{resources}</resources><build>{items}</build></model>"
    )


def item_xml(identifier, more=""):
    return f'<item objectid="{identifier}"{more}/>'


def pack(
    model, parts=(), packed=True, model_path=MODEL_PATH, textures=(), thumbnail=None, other_models=(), types=TYPES
):
    """`parts`: more (path, data); `textures`: (path, data); `other_models`: (path, XML) that the model refers to."""
    stream = io.BytesIO()
    method = zipfile.ZIP_DEFLATED if packed else zipfile.ZIP_STORED
    with zipfile.ZipFile(stream, "w", method) as archive:

        def put(path, data):
            # A fixed time, so that the same package has the same bytes.
            entry = zipfile.ZipInfo(path, (2020, 1, 1, 0, 0, 0))
            entry.compress_type = method
            archive.writestr(entry, data)

        roots = [(model_path, MODEL_TYPE)]
        if thumbnail is not None:
            roots.append(("Metadata/thumbnail.png", THUMBNAIL_TYPE))
            put("Metadata/thumbnail.png", thumbnail)
        put("[Content_Types].xml", types)
        put("_rels/.rels", relationships(*roots))
        links = [(path, TEXTURE_TYPE) for path, _ in textures] + [(path, MODEL_TYPE) for path, _ in other_models]
        if links:
            folder, _, name = model_path.rpartition("/")
            put(f"{folder}/_rels/{name}.rels", relationships(*links))
        put(model_path, model)
        for path, data in (*textures, *other_models, *parts):
            put(path, data)
    return stream.getvalue()


def bomb(head, filler, tail, times, path=MODEL_PATH):
    """A package whose model is head + filler * times + tail."""
    data = deflated(head, filler, times, tail)
    check, size = zlib.crc32(head), len(head) + len(filler) * times + len(tail)
    for _ in range(times):
        check = zlib.crc32(filler, check)
    check = zlib.crc32(tail, check)
    entries = [
        (b"[Content_Types].xml", zlib.crc32(TYPES.encode()), TYPES.encode(), len(TYPES.encode()), 0),
        (path.encode(), check, data, size, 8),
    ]
    rels = relationships((path, MODEL_TYPE)).encode()
    entries.insert(1, (b"_rels/.rels", zlib.crc32(rels), rels, len(rels), 0))
    whole, directory = b"", b""
    for name, crc, stored, length, method in entries:
        fields = struct.pack("<HHHHHIIIHH", 20, 0, method, 0, 0x21, crc, len(stored), length, len(name), 0)
        directory += b"PK\1\2" + struct.pack("<H", 20) + fields + struct.pack("<HHHII", 0, 0, 0, 0, len(whole)) + name
        whole += b"PK\3\4" + fields + name + stored
    end = struct.pack("<HHHHIIH", 0, 0, len(entries), len(entries), len(directory), len(whole), 0)
    return whole + directory + b"PK\5\6" + end
