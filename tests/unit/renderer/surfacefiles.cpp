#include "tests/unit/renderer/surfacefiles.h"

namespace surfacefiles {

QString writeSquare(ModelFolder& folder, const QByteArray& material, const QList<QImage>& textures,
                    const QByteArray& extensions)
{
    folder.write("square.bin", modelfiles::squareBuffer());
    QByteArrayList images;
    QByteArrayList sources;
    for (int i = 0; i < textures.size(); ++i) {
        const QByteArray name = "image" + QByteArray::number(i) + ".png";
        if (!textures[i].save(folder.path(QString::fromLatin1(name))))
            qFatal("cannot write a test image");
        images << "{\"uri\":\"" + name + "\"}";
        sources << "{\"source\":" + QByteArray::number(i) + "}";
    }
    const QByteArray pictures = textures.isEmpty()
                                    ? QByteArray()
                                    : "\"textures\":[" + sources.join(',') + "],\"images\":[" + images.join(',') + "],";
    const QByteArray used = extensions.isEmpty() ? QByteArray() : "\"extensionsUsed\":[\"" + extensions + "\"],";
    return folder.write(
        "square.gltf",
        "{\"asset\":{\"version\":\"2.0\"},\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"mesh\":0}]," + used +
            "\"meshes\":[{\"primitives\":[{\"attributes\":{\"POSITION\":0,\"TEXCOORD_0\":1},\"indices\":2,"
            "\"material\":0}]}],\"materials\":[" +
            material + "]," + pictures +
            "\"buffers\":[{\"uri\":\"square.bin\",\"byteLength\":92}],\"bufferViews\":["
            "{\"buffer\":0,\"byteOffset\":0,\"byteLength\":48},{\"buffer\":0,\"byteOffset\":48,\"byteLength\":32},"
            "{\"buffer\":0,\"byteOffset\":80,\"byteLength\":12}],\"accessors\":["
            "{\"bufferView\":0,\"componentType\":5126,\"count\":4,\"type\":\"VEC3\",\"min\":[-1,-1,0],\"max\":[1,1,0]},"
            "{\"bufferView\":1,\"componentType\":5126,\"count\":4,\"type\":\"VEC2\"},"
            "{\"bufferView\":2,\"componentType\":5123,\"count\":6,\"type\":\"SCALAR\"}]}");
}

QImage plain(const QColor& colour)
{
    QImage image(8, 8, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

QImage halves(const QColor& left, const QColor& right)
{
    QImage image(64, 64, QImage::Format_ARGB32);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            image.setPixelColor(x, y, x < 32 ? left : right);
    return image;
}

QString writeObjSquare(ModelFolder& folder, const QByteArray& properties)
{
    folder.write("square.mtl", "newmtl surface\n" + properties + "\n");
    return folder.write("square.obj", "mtllib square.mtl\nusemtl surface\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\n"
                                      "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nf 1/1 2/2 3/3 4/4\n");
}

} // namespace surfacefiles
