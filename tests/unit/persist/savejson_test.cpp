#include "src/persist/documentjson.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextCodec>

#include <optional>

#include <sys/fsuid.h>

namespace {

const QString kKey = QStringLiteral("3D_OBJECT_KEY");
const QByteArray kWithoutBuffers(R"({"asset":{"version":"2.0"}})");

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Takes the right to write anywhere from an administrator's process, as long as it lives. This thread only.
class OrdinaryUser
{
public:
    OrdinaryUser()
        : m_previous(::setfsuid(kNobody))
    {
    }
    ~OrdinaryUser() { ::setfsuid(static_cast<uid_t>(m_previous)); }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    static constexpr uid_t kNobody = 65534;
    const int m_previous;
};

/// An OBJ file whose lines are numbered comments but for one.
QByteArray objWithLine(int number, const QByteArray& text)
{
    QByteArray content;
    for (int line = 1; line <= 12; ++line)
        content += (line == number ? text : "# " + QByteArray::number(line)) + '\n';
    return content;
}

} // namespace

class SaveJsonTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); }

    void init()
    {
        TestBase::init();
        m_fixture.emplace();
        m_item = m_fixture->createItem();
    }

    void cleanup()
    {
        m_fixture.reset();
        TestBase::cleanup();
    }

    // The order of the stored files, by format

    void eachFormatStoresItsFilesInOrder_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("stored"); // before the three files of every save
        QTest::addColumn<QString>("dirName");
        const QByteArray obj("mtllib a.mtl\nv 0 0 0\n");
        const QByteArray gltf(R"({"buffers":[{"uri":"m.bin"},{"uri":"second.bin"}]})");
        const QStringList objFiles{"a.mtl", "tex/one.png", "two.png"};
        const QStringList fbxFiles{"tex/one.png", "gone/two.png"};
        const QStringList gltfFiles{"m.bin", "tex/one.png", "two.png"};
        QTest::newRow("obj") << "x/m.obj" << obj << (QStringList{"m.obj"} + objFiles) << "m";
        QTest::newRow("OBJ") << "x/m.OBJ" << obj << (QStringList{"m.OBJ"} + objFiles) << "m";
        QTest::newRow("fbx, without looking whether side files exist")
            << "x/m.fbx" << QByteArray() << (QStringList{"m.fbx"} + fbxFiles) << "m";
        QTest::newRow("FBX") << "x/m.FBX" << QByteArray() << (QStringList{"m.FBX"} + fbxFiles) << "m";
        QTest::newRow("gltf, named after its folder")
            << "x/m.gltf" << gltf << (QStringList{"m.gltf"} + gltfFiles) << "x";
        QTest::newRow("stl, the model alone") << "x/m.stl" << QByteArray() << QStringList{"m.stl"} << "m";
        QTest::newRow("STL") << "x/m.STL" << QByteArray() << QStringList{"m.STL"} << "m";
        QTest::newRow("glb, the model alone") << "x/m.glb" << QByteArray() << QStringList{"m.glb"} << "m";
        QTest::newRow("GLB is not stored") << "x/m.GLB" << QByteArray() << QStringList() << "";
        QTest::newRow("GLTF is not stored") << "x/m.GLTF" << gltf << QStringList() << "";
        QTest::newRow("3mf is not stored") << "x/m.3mf" << QByteArray() << QStringList() << "";
        QTest::newRow("3MF is not stored") << "x/m.3MF" << QByteArray() << QStringList() << "";
        QTest::newRow("mixed case is not stored") << "x/m.Obj" << obj << QStringList() << "";
        QTest::newRow("Stl is not stored") << "x/m.Stl" << QByteArray() << QStringList() << "";
        QTest::newRow("the name ends at the first full stop, the suffix begins at the last")
            << "x/chair.v2.stl" << QByteArray() << QStringList{"chair.v2.stl"} << "chair";
    }

    void eachFormatStoresItsFilesInOrder()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(QStringList, stored);
        QFETCH(QString, dirName);
        m_item->m_modelPath = m_fixture->writeFile(name, content);
        m_fixture->writeFile(QStringLiteral("x/tex/one.png"));
        m_item->m_textureFiles = {QStringLiteral("one.png"), QStringLiteral("two.png")};
        m_item->m_textureDirs = {QStringLiteral("tex/"), QStringLiteral("gone/")};

        QJsonObject object;
        QVERIFY(m_item->saveJson(object));

        for (const char* ending : {"_3dpreview.png", "_view.json", ".opt"})
            stored << dirName + QLatin1String(ending);
        QStringList paths;
        for (const QString& file : qAsConst(stored))
            paths << m_fixture->folder() + QStringLiteral("x/") + file;
        QCOMPARE(m_fixture->document.storedPaths(), paths);
        QCOMPARE(m_item->m_dirName, dirName);
        for (const DocumentStub::Transfer& transfer : qAsConst(m_fixture->document.transfers)) {
            QVERIFY(transfer.store);
            QCOMPARE(transfer.key, kKey);
            QCOMPARE(transfer.dirName, dirName);
        }
        QCOMPARE(entriesOf(object, 0), paths);
        QCOMPARE(logOfSave(), QStringList{QStringLiteral("[obj save dir is] %1\n").arg(dirName)});
    }

    void relativeModelPathIsStoredAsItStandsAndItsSideFilesAbsolutely()
    {
        m_fixture->writeFile(QStringLiteral("m.obj"), "mtllib a.mtl\n");
        m_item->m_modelPath = QStringLiteral("m.obj");
        QJsonObject object;
        m_item->saveJson(object);
        const QStringList stored = m_fixture->document.storedPaths();
        QCOMPARE(stored.value(0), QStringLiteral("m.obj"));
        QCOMPARE(stored.value(1), m_fixture->folder() + QStringLiteral("a.mtl"));
    }

    void namesWithOtherLettersAreKept()
    {
        const QString stem = QString::fromUtf8("ü 100% 模型");
        m_item->m_modelPath = m_fixture->writeFile(stem + QStringLiteral(".stl"));
        QJsonObject object;
        m_item->saveJson(object);
        QCOMPARE(m_item->m_dirName, stem);
        QVERIFY(QFile::exists(m_fixture->folder() + stem + QStringLiteral("_view.json")));
        QCOMPARE(QFileInfo(m_fixture->folder() + stem + QStringLiteral(".opt")).size(), 384);
        QCOMPARE(logOfSave(), QStringList{QStringLiteral("[obj save dir is] %1\n").arg(stem)});
    }

    // OBJ: the material library

    void materialLibraryIsNamedByTheFirstTenLines_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("stored"); // empty: none
        QTest::newRow("none") << QByteArray("v 0 0 0\n") << "";
        QTest::newRow("an empty file") << QByteArray() << "";
        QTest::newRow("the first line") << objWithLine(1, "mtllib a.mtl") << "a.mtl";
        QTest::newRow("the tenth line") << objWithLine(10, "mtllib a.mtl") << "a.mtl";
        QTest::newRow("the eleventh line") << objWithLine(11, "mtllib a.mtl") << "";
        QTest::newRow("empty lines count") << QByteArray("\n\n\n\n\n\n\n\n\n\nmtllib a.mtl\n") << "";
        QTest::newRow("any seven characters are skipped") << objWithLine(2, "usemtl x.mtl") << "x.mtl";
        QTest::newRow("seven characters, not words") << objWithLine(2, "mtllib  two.mtl") << " two.mtl";
        QTest::newRow("also when they belong to the name") << objWithLine(2, "abcdefghi.mtl") << "hi.mtl";
        QTest::newRow("a line of seven characters") << objWithLine(2, "abc.mtl") << "";
        QTest::newRow("a line of four characters ends the search") << QByteArray(".mtl\nmtllib a.mtl\n") << "";
        QTest::newRow("the first of two") << QByteArray("mtllib a.mtl\nmtllib b.mtl\n") << "a.mtl";
        QTest::newRow("what follows the name is taken along") << QByteArray("mtllib a.mtl b.mtl\n") << "a.mtl b.mtl";
        QTest::newRow("upper case is not looked for") << QByteArray("mtllib a.MTL\nmtllib b.mtl\n") << "b.mtl";
        QTest::newRow("carriage returns fall away") << QByteArray("# x\r\nmtllib a.mtl\r\nv 0 0 0\r\n") << "a.mtl";
        QTest::newRow("without a line end") << QByteArray("mtllib a.mtl") << "a.mtl";
        QTest::newRow("other letters") << QByteArray("mtllib \xc3\xbc.mtl\n") << QString::fromUtf8("ü.mtl");
    }

    void materialLibraryIsNamedByTheFirstTenLines()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, stored);
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.obj"), content);
        QJsonObject object;
        m_item->saveJson(object);
        QStringList expected{m_item->m_modelPath};
        if (!stored.isEmpty())
            expected << m_fixture->folder() + stored;
        QCOMPARE(modelFiles(), expected);
    }

    void unreadableObjEndsTheSave()
    {
        m_item->m_modelPath = m_fixture->folder() + QStringLiteral("gone.obj");
        m_item->m_textureFiles = {QStringLiteral("one.png")};
        m_item->m_textureDirs = {QString()};
        const QJsonArray earlier{QJsonArray{1}};
        QJsonObject object{{kKey, earlier}};
        QVERIFY(m_item->saveJson(object));
        QCOMPARE(m_fixture->document.storedPaths(), QStringList{m_item->m_modelPath});
        QCOMPARE(m_item->m_dirName, QStringLiteral("gone"));
        QCOMPARE(object.value(kKey).toArray(), earlier);
        QCOMPARE(logOfSave(), QStringList());
        QCOMPARE(QDir(m_fixture->folder()).entryList({QStringLiteral("gone*")}), QStringList());
        QVERIFY(m_item->m_viewMutex.tryLock());
        m_item->m_viewMutex.unlock();
    }

    void unreadableModelsOfOtherFormatsAreStored()
    {
        m_item->m_modelPath = m_fixture->folder() + QStringLiteral("gone.fbx");
        QJsonObject object;
        QVERIFY(m_item->saveJson(object));
        QCOMPARE(modelFiles(), QStringList{m_item->m_modelPath});
        QCOMPARE(entriesOf(object, 0).size(), 4);
    }

    // Side files

    void sideFileThatIsMissingIsTakenFromTheModelsFolder_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QString>("stored");
        QTest::newRow("where the model names it") << QStringList{"tex/a.png"} << "tex/a.png";
        QTest::newRow("in both places") << QStringList{"tex/a.png", "a.png"} << "tex/a.png";
        QTest::newRow("in the folder alone") << QStringList{"a.png"} << "a.png";
        QTest::newRow("nowhere") << QStringList() << "a.png";
    }

    void sideFileThatIsMissingIsTakenFromTheModelsFolder()
    {
        QFETCH(QStringList, present);
        QFETCH(QString, stored);
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.obj"));
        for (const QString& name : present)
            m_fixture->writeFile(name);
        m_item->m_textureFiles = {QStringLiteral("a.png")};
        m_item->m_textureDirs = {QStringLiteral("tex/")};
        QJsonObject object;
        m_item->saveJson(object);
        QCOMPARE(modelFiles(), (QStringList{m_item->m_modelPath, m_fixture->folder() + stored}));
    }

    void sideFilesOfALoadAreStored()
    {
        ScriptedViewer::Script script;
        script.fileList = "tex/one.png@two.png";
        m_fixture->viewer.setScript(script);
        const QString path = m_fixture->writeFile(QStringLiteral("m.obj"), "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
        m_fixture->writeFile(QStringLiteral("tex/one.png"));
        QVERIFY(m_item->loadFromFile(path));
        QJsonObject object;
        m_item->saveJson(object);
        const QString folder = m_fixture->folder();
        QCOMPARE(modelFiles(),
                 (QStringList{path, folder + QStringLiteral("tex/one.png"), folder + QStringLiteral("two.png")}));
        QVERIFY(!QImage(folder + QStringLiteral("m_3dpreview.png")).isNull());
    }

    void gltfStoresItsBufferEvenWithoutAName()
    {
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("x/m.gltf"), kWithoutBuffers);
        QJsonObject object;
        m_item->saveJson(object);
        QCOMPARE(modelFiles(), (QStringList{m_item->m_modelPath, m_fixture->folder() + QStringLiteral("x/")}));
    }

    void unreadableGltfIsSavedAllTheSame()
    {
        m_item->m_modelPath = m_fixture->folder() + QStringLiteral("x/m.gltf");
        QDir().mkpath(m_fixture->folder() + QStringLiteral("x"));
        expectMessage(QStringLiteral("Unable to open the GLTF file: \"%1\"").arg(m_item->m_modelPath));
        QJsonObject object;
        QVERIFY(m_item->saveJson(object));
        QCOMPARE(modelFiles(), (QStringList{m_item->m_modelPath, m_fixture->folder() + QStringLiteral("x/")}));
        QCOMPARE(entriesOf(object, 0).size(), 5);
    }

    // The directory name

    void storedDirectoryNameWins()
    {
        m_item->m_dirName = QStringLiteral("kept");
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        QJsonObject object;
        m_item->saveJson(object);
        QCOMPARE(m_item->m_dirName, QStringLiteral("kept"));
        QVERIFY(QFile::exists(m_fixture->folder() + QStringLiteral("kept.opt")));
        QVERIFY(g_dir_map.isEmpty());
    }

    void unhandledSuffixKeepsAnEarlierDirectoryName()
    {
        m_item->m_dirName = QStringLiteral("kept");
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.3mf"));
        QJsonObject object;
        m_item->saveJson(object);
        QCOMPARE(m_fixture->document.storedPaths(),
                 (QStringList{m_fixture->folder() + QStringLiteral("kept_3dpreview.png"),
                              m_fixture->folder() + QStringLiteral("kept_view.json"),
                              m_fixture->folder() + QStringLiteral("kept.opt")}));
    }

    void twoItemsWithModelsOfOneNameGetTwoDirectoryNames()
    {
        COv3DObject* second = m_fixture->createItem();
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("a/m.stl"));
        second->m_modelPath = m_fixture->writeFile(QStringLiteral("b/m.stl"));
        QJsonObject object;
        m_item->saveJson(object);
        second->saveJson(object);
        QCOMPARE(m_item->m_dirName, QStringLiteral("m"));
        QCOMPARE(second->m_dirName, QStringLiteral("m0"));
        QVERIFY(QFile::exists(m_fixture->folder() + QStringLiteral("b/m0_view.json")));
    }

    // The files of every save

    void previewIsTheItemsFrameAsPng()
    {
        QImage frame(3, 2, QImage::Format_ARGB32);
        frame.fill(qRgba(10, 20, 30, 40));
        frame.setPixel(2, 1, qRgba(200, 100, 50, 255));
        m_item->m_image = frame;
        saveModel(QStringLiteral("m.stl"));
        const QString path = m_fixture->folder() + QStringLiteral("m_3dpreview.png");
        QCOMPARE(QImageReader(path).format(), QByteArray("png"));
        QCOMPARE(QImage(path).convertToFormat(QImage::Format_ARGB32), frame);
    }

    void itemWithoutFrameStoresAPreviewAllTheSame()
    {
        saveModel(QStringLiteral("m.stl"));
        const QString path = m_fixture->folder() + QStringLiteral("m_3dpreview.png");
        QVERIFY(!QFile::exists(path));
        QVERIFY(m_fixture->document.storedPaths().contains(path));
    }

    void settingsFileIsTheCommandTextUnchanged()
    {
        m_item->m_viewSettings.view_type = 3;
        m_item->m_lightingSettings.ibl_intensity = 1234567.0;
        saveModel(QStringLiteral("m.stl"));
        const QByteArray written = contentOf(m_fixture->folder() + QStringLiteral("m_view.json"));
        QCOMPARE(written, m_item->buildViewCommand().toUtf8());
        QVERIFY(!written.endsWith('\n') && written.startsWith("{ "));
    }

    void longerSettingsFileIsTruncated()
    {
        m_fixture->writeFile(QStringLiteral("m_view.json"), QByteArray(5000, 'x'));
        saveModel(QStringLiteral("m.stl"));
        QCOMPARE(contentOf(m_fixture->folder() + QStringLiteral("m_view.json")), m_item->buildViewCommand().toUtf8());
    }

    void settingsFileFollowsTheLiveHdrMap()
    {
        ItemFixture::makeReady(m_item);
        m_item->m_context.lighting_settings->hdr_map = false;
        saveModel(QStringLiteral("m.stl"));
        QVERIFY(contentOf(m_fixture->folder() + QStringLiteral("m_view.json")).contains("\"hdr_map\":0,"));
    }

    void filesThatCannotBeWrittenAreStoredAllTheSame()
    {
        m_item->m_image = QImage(2, 2, QImage::Format_ARGB32);
        m_item->m_image.fill(Qt::red);
        QVERIFY(QDir(m_fixture->folder()).mkdir(QStringLiteral("m_3dpreview.png")));
        QVERIFY(QDir(m_fixture->folder()).mkdir(QStringLiteral("m_view.json")));
        const QJsonObject object = saveModel(QStringLiteral("m.stl"));
        const QString stem = m_fixture->folder() + QStringLiteral("m");
        QCOMPARE(entriesOf(object, 0),
                 (QStringList{stem + QStringLiteral(".stl"), stem + QStringLiteral("_3dpreview.png"),
                              stem + QStringLiteral("_view.json"), stem + QStringLiteral(".opt")}));
        // The log alone speaks, about its own folder.
        QCOMPARE(messages().filter(QStringLiteral("Directory")), messages());
    }

    void itemWithoutModelAimsAtTheRootFolder()
    {
        QJsonObject object;
        bool saved = false;
        {
            const OrdinaryUser user;
            saved = m_item->saveJson(object);
        }
        QVERIFY(saved);
        QCOMPARE(m_fixture->document.storedPaths(),
                 (QStringList{QStringLiteral("/_3dpreview.png"), QStringLiteral("/_view.json")}));
        // Such a user cannot create the third file there.
        QVERIFY(!object.contains(kKey));
        QVERIFY(messages().contains(QStringLiteral("Failed to open file for writing")));
    }

    // The caller's object

    void hostsBaseWritesItsOwnKeys()
    {
        m_item->setObjRect(QRectF(1, 2, 3, 4));
        QJsonObject object{{QStringLiteral("foreign"), 7}};
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        m_item->saveJson(object);
        QCOMPARE(object.value(QStringLiteral("obj_rect")).toArray(), (QJsonArray{1, 2, 3, 4}));
        QCOMPARE(object.value(QStringLiteral("foreign")).toInt(), 7);
    }

    void secondSaveAppendsASecondArray()
    {
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        QJsonObject object;
        m_item->saveJson(object);
        const QJsonValue first = object.value(kKey).toArray().at(0);
        m_item->saveJson(object);
        const QJsonArray saves = object.value(kKey).toArray();
        QCOMPARE(saves.size(), 2);
        QCOMPARE(saves.at(0), first);
        QCOMPARE(saves.at(1), first);
        QCOMPARE(saves.at(1).toArray().size(), 4);
    }

    void entriesFormAnArrayInsideAnArray()
    {
        const QJsonArray saves = saveModel(QStringLiteral("m.stl")).value(kKey).toArray();
        QCOMPARE(saves.size(), 1);
        QVERIFY(saves.first().isArray());
        QCOMPARE(saves.first().toArray().size(), 4);
    }

    void keyOfAnotherTypeIsReplaced()
    {
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        QJsonObject object{{kKey, QStringLiteral("text")}};
        m_item->saveJson(object);
        QCOMPARE(object.value(kKey).toArray().size(), 1);
    }

    void itemWithoutDocumentWritesItsFilesAndStoresNothing()
    {
        m_fixture->framework.currentDocument = nullptr;
        const QJsonObject object = saveModel(QStringLiteral("m.stl"));
        QVERIFY(m_fixture->document.transfers.isEmpty());
        QCOMPARE(object.value(kKey).toArray(), QJsonArray{QJsonValue(QJsonArray())});
        QVERIFY(QFile::exists(m_fixture->folder() + QStringLiteral("m_view.json")));
        QVERIFY(QFile::exists(m_fixture->folder() + QStringLiteral("m.opt")));
    }

    void pagesDocumentGetsTheFiles()
    {
        DocumentStub other;
        PageStub page;
        page.document = &other;
        m_item->setPage(&page);
        saveModel(QStringLiteral("m.stl"));
        QCOMPARE(other.storedPaths().size(), 4);
        QVERIFY(m_fixture->document.transfers.isEmpty());
    }

    void objectTextIsIndentedUtf8()
    {
        QJsonObject object{{QStringLiteral("a"), QJsonArray{1, QString::fromUtf8("ü模")}},
                           {QStringLiteral("b"), QJsonObject()}};
        QCOMPARE(json2qstring(object), QString::fromUtf8("{\n    \"a\": [\n        1,\n        \"ü模\"\n    ],\n"
                                                         "    \"b\": {\n    }\n}\n"));
        QJsonObject empty;
        QCOMPARE(json2qstring(empty), QStringLiteral("{\n}\n"));
    }

private:
    QJsonObject saveModel(const QString& name)
    {
        m_item->m_modelPath = m_fixture->writeFile(name);
        QJsonObject object;
        m_item->saveJson(object);
        return object;
    }

    /// What was stored before the preview.
    [[nodiscard]] QStringList modelFiles() const
    {
        QStringList paths = m_fixture->document.storedPaths();
        return paths.mid(0, paths.size() - 3);
    }

    static QStringList entriesOf(const QJsonObject& object, int save)
    {
        QStringList paths;
        const QJsonArray entries = object.value(kKey).toArray().at(save).toArray();
        for (const QJsonValue& entry : entries)
            paths << entry.toObject().value(QStringLiteral("path")).toString();
        return paths;
    }

    [[nodiscard]] QStringList logOfSave() const
    {
        return m_fixture->logEntries().filter(QStringLiteral("[obj save dir is]"));
    }

    std::optional<ItemFixture> m_fixture;
    COv3DObject* m_item = nullptr;
};

OV3D_TEST_MAIN(SaveJsonTest)
#include "savejson_test.moc"
