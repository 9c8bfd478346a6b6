#include "tests/integration/documentsmodels.h"

#include <KZip>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr const char* kContentTypes = R"(<?xml version="1.0" encoding="UTF-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
<Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>
)";

constexpr const char* kRelations = R"(<?xml version="1.0" encoding="UTF-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Target="/3D/3dmodel.model" Id="rel0" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/>
</Relationships>
)";

QByteArray pyramid(double height)
{
    return QByteArray(R"(<?xml version="1.0" encoding="UTF-8"?>
<model unit="millimeter" xml:lang="en-US" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02">
<resources><object id="1" type="model"><mesh><vertices>
<vertex x="0" y="0" z="0"/><vertex x="10" y="0" z="0"/><vertex x="10" y="10" z="0"/><vertex x="0" y="10" z="0"/>
<vertex x="5" y="5" z=")") +
           QByteArray::number(height) + R"("/></vertices><triangles>
<triangle v1="0" v2="2" v3="1"/><triangle v1="0" v2="3" v3="2"/><triangle v1="0" v2="1" v3="4"/>
<triangle v1="1" v2="2" v3="4"/><triangle v1="2" v2="3" v3="4"/><triangle v1="3" v2="0" v3="4"/>
</triangles></mesh></object></resources><build><item objectid="1"/></build></model>
)";
}

} // namespace

bool copyFolder(const QString& from, const QString& to)
{
    QDir().mkpath(to);
    const QDir source(from);
    for (const QFileInfo& entry : source.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
        const QString target = to + QLatin1Char('/') + entry.fileName();
        if (entry.isDir() ? !copyFolder(entry.filePath(), target) : !QFile::copy(entry.filePath(), target))
            return false;
    }
    return true;
}

bool writeFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

bool write3mf(const QString& path, double height)
{
    QDir().mkpath(QFileInfo(path).path());
    KZip zip(path);
    return zip.open(QIODevice::WriteOnly) && zip.writeFile(QStringLiteral("[Content_Types].xml"), kContentTypes) &&
           zip.writeFile(QStringLiteral("_rels/.rels"), kRelations) &&
           zip.writeFile(QStringLiteral("3D/3dmodel.model"), pyramid(height)) && zip.close();
}

bool writeBox(const QString& path, const QColor& colour)
{
    const QFileInfo file(path);
    const QString stem = file.completeBaseName();
    const QByteArray material = QStringLiteral("newmtl paint\nKd %1 %2 %3\n")
                                    .arg(colour.redF())
                                    .arg(colour.greenF())
                                    .arg(colour.blueF())
                                    .toUtf8();
    const QByteArray box =
        "mtllib " + stem.toUtf8() +
        ".mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\nusemtl paint\n"
        "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 4 8 7 3\nf 1 5 8 4\nf 2 3 7 6\n";
    return writeFile(path, box) && writeFile(QStringLiteral("%1/%2.mtl").arg(file.path(), stem), material);
}
