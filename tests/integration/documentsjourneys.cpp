#include "tests/integration/documentsjourney.h"
#include "tests/integration/documentsmodels.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtEndian>

#include <functional>

/// A document is saved, carried elsewhere and opened: the page looks the same to the pixel, with our samples and with
/// real models of every format, textures in sub-folders included.
class DocumentsJourneys : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void pageLooksTheSameElsewhere_data() { addRows(); }
    void pageLooksTheSameElsewhere();
    void turnAndSettingsShowInThePicture_data() { addRows(); }
    void turnAndSettingsShowInThePicture();
    void settingsArriveExactly_data() { addRows(); }
    void settingsArriveExactly();
    void texturesKeepTheirFolders_data() { addRows(); }
    void texturesKeepTheirFolders();

private:
    /// Puts the model's files into a folder. @return false when that fails
    using Packing = std::function<bool(const QString& folder)>;

    void add(const char* row, const char* model, const QStringList& changes, const QStringList& textures,
             const Packing& pack);
    void addSamples();
    void addRealModels();
    void addRows() const;
    [[nodiscard]] const Journey& current() const;

    QTemporaryDir m_folder;
    QStringList m_rows;
    std::vector<Journey> m_journeys;
};

namespace {

constexpr double kItemShare = 1280.0 * 960.0 / (1920.0 * 1080.0);
constexpr double kLeastOfAnItem = 0.02;

/// Changes for a model with colours of its own, and for one that takes the colour of its material.
QStringList withOwnColours()
{
    return {QStringLiteral("orbit=35,15"), QStringLiteral("light_profile=2"), QStringLiteral("point_size=9"),
            QStringLiteral("material_color=#0a4dfe"), QStringLiteral("sun_color=#ffe0c1")};
}
QStringList inPlastic()
{
    return withOwnColours() + QStringList{QStringLiteral("material_type_b=2")};
}

QString realModel(const char* name)
{
    return QStringLiteral(OV3D_REAL_MODELS "/") + QString::fromLatin1(name);
}

bool copyTo(const QString& from, const QString& to)
{
    return QDir().mkpath(QFileInfo(to).path()) && QFile::copy(from, to);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Copies a text, one word replaced by another. @return false when the word is not there
bool copyWith(const QString& from, const QString& to, const QByteArray& word, const QByteArray& other)
{
    const QByteArray content = contentOf(from);
    return content.contains(word) && writeFile(to, QByteArray(content).replace(word, other));
}

QStringList spiderTextures()
{
    return {QStringLiteral("textures/SpiderTex.jpg"), QStringLiteral("textures/drkwood2.jpg"),
            QStringLiteral("textures/engineflare1.jpg"), QStringLiteral("textures/wal67ar_small.jpg")};
}

bool copySpiderTextures(const QString& folder, const QStringList& textures)
{
    for (const QString& texture : textures) {
        if (!copyTo(realModel("OBJ/") + QFileInfo(texture).fileName(), folder + QLatin1Char('/') + texture))
            return false;
    }
    return true;
}

/// Copies a binary glTF whose only picture lies inside it, and moves that picture into a file of its own.
bool copyWithPictureOutside(const QString& from, const QString& to, const QString& picture)
{
    constexpr int kHeaderBytes = 12;
    constexpr int kChunkHeaderBytes = 8;
    const QByteArray glb = contentOf(from);
    if (glb.size() < kHeaderBytes + kChunkHeaderBytes)
        return false;
    const auto jsonBytes = static_cast<int>(qFromLittleEndian<quint32>(glb.constData() + kHeaderBytes));
    QJsonObject root = QJsonDocument::fromJson(glb.mid(kHeaderBytes + kChunkHeaderBytes, jsonBytes)).object();
    const QByteArray binaryChunk = glb.mid(kHeaderBytes + kChunkHeaderBytes + jsonBytes);

    const QJsonObject image = root[QLatin1String("images")].toArray()[0].toObject();
    const QJsonObject view =
        root[QLatin1String("bufferViews")].toArray()[image[QLatin1String("bufferView")].toInt()].toObject();
    const QByteArray pixels = binaryChunk.mid(kChunkHeaderBytes + view[QLatin1String("byteOffset")].toInt(),
                                              view[QLatin1String("byteLength")].toInt());
    root.insert(QStringLiteral("images"), QJsonArray{QJsonObject{{QStringLiteral("uri"), picture}}});
    QByteArray json = QJsonDocument(root).toJson(QJsonDocument::Compact);
    json.append(QByteArray((4 - json.size() % 4) % 4, ' '));

    QByteArray header(kHeaderBytes + kChunkHeaderBytes, 0);
    header.replace(0, 8, glb.left(8));
    qToLittleEndian<quint32>(static_cast<quint32>(header.size() + json.size() + binaryChunk.size()), header.data() + 8);
    qToLittleEndian<quint32>(static_cast<quint32>(json.size()), header.data() + kHeaderBytes);
    header.replace(kHeaderBytes + 4, 4, "JSON");
    return !pixels.isEmpty() && writeFile(to, header + json + binaryChunk) &&
           writeFile(QFileInfo(to).path() + QLatin1Char('/') + picture, pixels);
}

QByteArray gridOfPoints()
{
    QByteArray text;
    for (int i = 0; i < 30; ++i)
        text += QStringLiteral("v %1 %2 %3\n").arg(i % 6).arg(i / 6).arg(i % 4).toUtf8();
    return text;
}

} // namespace

void DocumentsJourneys::add(const char* row, const char* model, const QStringList& changes, const QStringList& textures,
                            const Packing& pack)
{
    const QString folder = m_folder.filePath(QStringLiteral("%1/originals").arg(m_journeys.size()));
    QVERIFY2(QDir().mkpath(folder) && pack(folder), row);
    Journey journey;
    journey.model = QString::fromLatin1(model);
    journey.changes = changes;
    journey.textures = textures;
    m_journeys.push_back(journey);
    m_rows << QString::fromLatin1(row);
}

void DocumentsJourneys::addSamples()
{
    const auto copySamples = [](const QString& folder) { return copyFolder(QStringLiteral(OV3D_SAMPLES), folder); };
    add("our GLB", "textured.glb", withOwnColours(), {}, copySamples);
    add("our glTF", "textured.gltf", withOwnColours(), {QStringLiteral("textured_files/quarters.png")}, copySamples);
    add("our OBJ", "textured.obj", withOwnColours(), {QStringLiteral("textures/quarters.png")}, copySamples);
    add("our FBX", "cube.fbx", inPlastic(), {}, copySamples);
    add("our STL", "cube.stl", inPlastic(), {}, copySamples);
    add("our 3MF", "part.3mf", inPlastic(), {},
        [](const QString& folder) { return write3mf(folder + QStringLiteral("/part.3mf"), 12); });
    add("our OBJ of points alone", "points.obj",
        {QStringLiteral("orbit=35,15"), QStringLiteral("light_profile=2"), QStringLiteral("point_size=61"),
         QStringLiteral("sun_color=#ffe0c1"), QStringLiteral("material_color=#0a4dfe")},
        {}, [](const QString& folder) { return writeFile(folder + QStringLiteral("/points.obj"), gridOfPoints()); });
}

/// The textures of these models lie beside them; here they are put into a sub-folder, and the model says so where it is
/// text. The FBX names them by paths of another machine: they are found below its folder by their names.
void DocumentsJourneys::addRealModels()
{
    const auto copyAs = [](const char* from, const char* to) {
        return [from, to](const QString& folder) {
            return copyTo(realModel(from), folder + QLatin1Char('/') + QString::fromLatin1(to));
        };
    };
    add("real GLB", "engine.glb", withOwnColours(), {},
        copyAs("glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", "engine.glb"));
    add("real GLB with its texture outside", "box.glb", withOwnColours(), {QStringLiteral("pictures/logo.png")},
        [](const QString& folder) {
            return copyWithPictureOutside(realModel("glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"),
                                          folder + QStringLiteral("/box.glb"), QStringLiteral("pictures/logo.png"));
        });
    add("real glTF", "box.gltf", withOwnColours(), {QStringLiteral("pictures/CesiumLogoFlat.png")},
        [](const QString& folder) {
            const QString from = realModel("glTF2/BoxTextured-glTF/");
            return copyWith(from + QStringLiteral("BoxTextured.gltf"), folder + QStringLiteral("/box.gltf"),
                            "\"CesiumLogoFlat.png\"", "\"pictures/CesiumLogoFlat.png\"") &&
                   copyTo(from + QStringLiteral("CesiumLogoFlat.png"),
                          folder + QStringLiteral("/pictures/CesiumLogoFlat.png")) &&
                   copyTo(from + QStringLiteral("BoxTextured0.bin"), folder + QStringLiteral("/BoxTextured0.bin"));
        });
    add("real OBJ", "spider.obj", withOwnColours(), spiderTextures(), [](const QString& folder) {
        return copyTo(realModel("OBJ/spider.obj"), folder + QStringLiteral("/spider.obj")) &&
               copyWith(realModel("OBJ/spider.mtl"), folder + QStringLiteral("/spider.mtl"), "map_Kd .\\",
                        "map_Kd textures\\") &&
               copySpiderTextures(folder, spiderTextures());
    });
    add("real FBX", "spider.fbx", withOwnColours(), spiderTextures(), [](const QString& folder) {
        return copyTo(realModel("FBX/spider.fbx"), folder + QStringLiteral("/spider.fbx")) &&
               copySpiderTextures(folder, spiderTextures());
    });
    add("real STL", "spider.stl", inPlastic(), {}, copyAs("STL/Spider_binary.stl", "spider.stl"));
    add("real 3MF", "box.3mf", inPlastic(), {}, copyAs("3MF/box.3mf", "box.3mf"));
}

void DocumentsJourneys::initTestCase()
{
    QVERIFY2(QDir(QStringLiteral(OV3D_REAL_MODELS)).exists(), "is the package assimp-testmodels installed?");
    addSamples();
    addRealModels();
    if (!QTest::currentTestFailed())
        travelAll(m_journeys, m_folder.path());
}

void DocumentsJourneys::addRows() const
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < m_rows.size(); ++i)
        QTest::newRow(qPrintable(m_rows[i])) << i;
}

const Journey& DocumentsJourneys::current() const
{
    QFETCH(int, index);
    return m_journeys[static_cast<std::size_t>(index)];
}

void DocumentsJourneys::pageLooksTheSameElsewhere()
{
    const Journey& journey = current();
    QVERIFY2(journey.made.exitCode == 0, journey.made.errors.constData());
    QVERIFY(journey.isDeleted);
    QVERIFY2(journey.drawn.exitCode == 0, journey.drawn.errors.constData());
    QCOMPARE(journey.drawn.errors, QByteArray()); // nothing is missing
    QVERIFY(opaqueShare(journey.arrived) / kItemShare > kLeastOfAnItem);
    // One of them has been through a PNG file alone, the other through the document.
    QCOMPARE(journey.arrived, journey.after);
}

void DocumentsJourneys::turnAndSettingsShowInThePicture()
{
    const Journey& journey = current();
    QVERIFY(opaqueShare(journey.before) > 0);
    QCOMPARE(journey.after.size(), journey.before.size());
    QVERIFY(journey.after != journey.before);
}

void DocumentsJourneys::settingsArriveExactly()
{
    const Journey& journey = current();
    const QJsonObject settings = journey.item()[QLatin1String("settings")].toObject();
    const auto component = [&settings](const char* key, int index) {
        return static_cast<float>(settings[QLatin1String(key)].toArray()[index].toDouble());
    };
    const int points =
        journey.changes.filter(QStringLiteral("point_size=")).value(0).section(QLatin1Char('='), 1).toInt();
    QCOMPARE(settings[QLatin1String("light_profile")].toInt(), 2);
    QCOMPARE(settings[QLatin1String("point_size")].toInt(), points);
    QCOMPARE(component("material_color", 1), 77.0F / 255.0F);
    QCOMPARE(component("sun_color", 1), 224.0F / 255.0F);
    QCOMPARE(component("sun_color", 2), 193.0F / 255.0F);
}

void DocumentsJourneys::texturesKeepTheirFolders()
{
    const Journey& journey = current();
    const QJsonObject item = journey.item();
    const QStringList files = item[QLatin1String("files")].toVariant().toStringList();
    const QString model = files.filter(QLatin1Char('/') + journey.model).value(0);
    QVERIFY2(!model.isEmpty(), qPrintable(files.join(QLatin1Char(' '))));
    for (const QString& texture : journey.textures)
        QVERIFY2(files.contains(QFileInfo(model).path() + QLatin1Char('/') + texture), qPrintable(texture));
    QVERIFY(item[QLatin1String("missing")].toArray().isEmpty());
}

OV3D_TEST_MAIN(DocumentsJourneys)
#include "documentsjourneys.moc"
