"""Builds glTF 2.0 documents piece by piece."""

import base64
import json
import struct

FLOAT, USHORT, UINT, UBYTE = 5126, 5123, 5125, 5121
_CODES = {FLOAT: "f", USHORT: "H", UINT: "I", UBYTE: "B"}
_WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}


class Document:
    """`json` is the document; `blob` the bytes of its one buffer, which the finishing functions put somewhere."""

    def __init__(self):
        self.json = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": []}], "nodes": [], "meshes": []}
        self.blob = bytearray()

    def add(self, kind, thing):
        self.json.setdefault(kind, []).append(thing)
        return len(self.json[kind]) - 1

    def view(self, data, **more):
        while len(self.blob) % 4:
            self.blob.append(0)
        start = len(self.blob)
        self.blob += data
        return self.add("bufferViews", {"buffer": 0, "byteOffset": start, "byteLength": len(data)} | more)

    def accessor(self, values, component=FLOAT, kind="VEC3", **more):
        flat = []
        for value in values:
            flat.extend(value if isinstance(value, (tuple, list)) else (value,))
        data = struct.pack(f"<{len(flat)}{_CODES[component]}", *flat)
        head = {"bufferView": self.view(data), "componentType": component, "count": len(values), "type": kind}
        if kind == "VEC3" and component == FLOAT and values:
            head["min"] = [min(v[k] for v in values) for k in range(3)]
            head["max"] = [max(v[k] for v in values) for k in range(3)]
        return self.add("accessors", head | more)

    def material(self, colour, **more):
        # Factors are light intensities, and the colours of shapes are as displayed.
        linear = [c**2.2 for c in colour]
        return self.add(
            "materials",
            {"pbrMetallicRoughness": {"baseColorFactor": linear + [1], "metallicFactor": 0, "roughnessFactor": 1}}
            | more,
        )

    def textured(self, image, sampler=None, **more):
        """A material with a base colour texture. `image` is the JSON of the image."""
        texture = {"source": self.add("images", image)}
        if sampler is not None:
            texture["sampler"] = self.add("samplers", sampler)
        look = {"baseColorTexture": {"index": self.add("textures", texture)}, "metallicFactor": 0}
        return self.add("materials", {"pbrMetallicRoughness": look} | more)

    def primitive(self, mesh, material=None, normals=True, uvs=False, index_type=USHORT, **attributes):
        """The JSON of a primitive; `attributes` are accessors made elsewhere."""
        named = {"POSITION": self.accessor(mesh.positions)}
        if normals:
            named["NORMAL"] = self.accessor(mesh.normals)
        if uvs:
            named["TEXCOORD_0"] = self.accessor([(u, 1 - v) for u, v in mesh.uvs], kind="VEC2")
        found = {"attributes": named | attributes}
        if index_type is not None:
            found["indices"] = self.accessor(mesh.indices, index_type, "SCALAR")
        if material is not None:
            found["material"] = material
        return found

    def mesh(self, *primitives, **more):
        return self.add("meshes", {"primitives": list(primitives)} | more)

    def node(self, root=True, **more):
        index = self.add("nodes", more)
        if root:
            self.json["scenes"][0]["nodes"].append(index)
        return index

    def shown(self, *primitives, **more):
        """A mesh of these primitives on a node of the scene."""
        return self.node(mesh=self.mesh(*primitives), **more)

    # ---- finishing ----

    def text(self, uri=None, buffers=None):
        """The JSON; the buffer lies at `uri`, or inside as a data URI."""
        whole = dict(self.json)
        if uri is None:
            uri = "data:application/octet-stream;base64," + base64.b64encode(bytes(self.blob)).decode()
        whole["buffers"] = buffers or [{"uri": uri, "byteLength": len(self.blob)}]
        if not self.blob and not buffers:
            del whole["buffers"]
        return json.dumps(whole, ensure_ascii=False)

    def glb(self, text=None):
        whole = dict(self.json)
        if self.blob:
            whole["buffers"] = [{"byteLength": len(self.blob)}]
        return pack_glb(text if text is not None else json.dumps(whole), bytes(self.blob))


def pack_glb(text, blob=b"", version=2, length=None):
    """`length` is what the header claims."""
    data = text.encode() if isinstance(text, str) else text
    data += b" " * (-len(data) % 4)
    chunks = struct.pack("<II", len(data), 0x4E4F534A) + data
    if blob:
        blob += b"\0" * (-len(blob) % 4)
        chunks += struct.pack("<II", len(blob), 0x004E4942) + blob
    return b"glTF" + struct.pack("<II", version, length if length is not None else 12 + len(chunks)) + chunks
