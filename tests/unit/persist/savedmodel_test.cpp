#include "tests/support/testmain.h"
#include "tests/unit/persist/savejsontestbase.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>

namespace {

/// An OBJ file whose lines are numbered comments but for one.
QByteArray objWithLine(int number, const QByteArray& text)
{
    QByteArray content;
    for (int line = 1; line <= 12; ++line)
        content += (line == number ? text : "# " + QByteArray::number(line)) + '\n';
    return content;
}

} // namespace

/// Which files of a model a save stores, and in which order.
class SavedModelTest : public SaveJsonTestBase
{
    Q_OBJECT

private Q_SLOTS:
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
            QCOMPARE(transfer.key, key());
            QCOMPARE(transfer.dirName, dirName);
        }
        QCOMPARE(entriesOf(object, 0), paths);
        QCOMPARE(logOfSave(), QStringList{QStringLiteral("[obj save dir is] %1\n").arg(dirName)});
    }

    void relativeModelPathIsStoredAsItStandsAndItsSideFilesAbsolutely()
    {
        m_fixture->writeFile(QStringLiteral("m.obj"), "mtllib a.mtl\n");
        m_item->m_modelPath = QStringLiteral("m.obj");
        save();
        const QStringList stored = m_fixture->document.storedPaths();
        QCOMPARE(stored.value(0), QStringLiteral("m.obj"));
        QCOMPARE(stored.value(1), m_fixture->folder() + QStringLiteral("a.mtl"));
    }

    void namesWithOtherLettersAreKept()
    {
        const QString stem = QString::fromUtf8("ü 100% 模型");
        m_item->m_modelPath = m_fixture->writeFile(stem + QStringLiteral(".stl"));
        save();
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
        save();
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
        QJsonObject object{{key(), earlier}};
        QVERIFY(m_item->saveJson(object));
        QCOMPARE(m_fixture->document.storedPaths(), QStringList{m_item->m_modelPath});
        QCOMPARE(m_item->m_dirName, QStringLiteral("gone"));
        QCOMPARE(object.value(key()).toArray(), earlier);
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
        save();
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
        save();
        const QString folder = m_fixture->folder();
        QCOMPARE(modelFiles(),
                 (QStringList{path, folder + QStringLiteral("tex/one.png"), folder + QStringLiteral("two.png")}));
        QVERIFY(!QImage(folder + QStringLiteral("m_3dpreview.png")).isNull());
    }

    void gltfStoresItsBufferEvenWithoutAName()
    {
        m_item->m_modelPath =
            m_fixture->writeFile(QStringLiteral("x/m.gltf"), QByteArray(R"({"asset":{"version":"2.0"}})"));
        save();
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
};

OV3D_TEST_MAIN(SavedModelTest)
#include "savedmodel_test.moc"
