#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/loadprobe.h"
#include "tests/unit/persist/rectrecorder.h"
#include "tests/unit/persist/settingsblocks.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>

namespace {

const QString kKey = QStringLiteral("3D_OBJECT_KEY");

QJsonObject savesOf(const QVector<QStringList>& saves)
{
    QJsonArray outer;
    for (const QStringList& paths : saves) {
        QJsonArray inner;
        for (const QString& path : paths)
            inner.append(DocumentStub::entryFor(path));
        outer.append(inner);
    }
    return {{kKey, outer}};
}

/// Records what each unpacking call is handed, and unpacks entries as told.
struct UnpackingDocument : IOvDocument
{
    void transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store, QString& dirName) override
    {
        pathsBefore << path;
        sizesBefore << entries.size();
        keys << key;
        stored = stored || store;
        dirNames << dirName;
        dirName = QStringLiteral("scribbled");
        const QString restored = entries.first().toObject().value(QStringLiteral("path")).toString();
        if (!restored.isEmpty())
            path = restored;
        if (emptiesEntries)
            entries = QJsonArray();
    }

    QStringList pathsBefore;
    QVector<int> sizesBefore;
    QStringList keys;
    QStringList dirNames;
    bool stored = false;
    bool emptiesEntries = false;
};

} // namespace

class LoadJsonTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ItemTestBase::init();
        m_item = m_fixture->adopt(new LoadProbe);
        ItemFixture::deliverPosted();
    }

    // Whatever was saved

    void everyLoadEndsWithTheModel_data()
    {
        QTest::addColumn<QJsonObject>("object");
        QTest::newRow("no key") << QJsonObject();
        QTest::newRow("a key of another type") << QJsonObject{{kKey, 5}};
        QTest::newRow("null") << QJsonObject{{kKey, QJsonValue()}};
        QTest::newRow("an object") << QJsonObject{{kKey, QJsonObject()}};
        QTest::newRow("no save") << QJsonObject{{kKey, QJsonArray()}};
        QTest::newRow("a save without entries") << QJsonObject{{kKey, QJsonArray{QJsonValue(QJsonArray())}}};
        QTest::newRow("a save that is no array") << QJsonObject{{kKey, QJsonArray{7}}};
    }

    void everyLoadEndsWithTheModel()
    {
        QFETCH(QJsonObject, object);
        const QJsonObject before = object;
        m_item->m_modelPath = QStringLiteral("/kept/m.stl");
        const RectRecorder recorder(m_item);
        QVERIFY(m_item->loadJson(object));
        ItemFixture::deliverPosted();
        QCOMPARE(m_item->loads, QStringList{QStringLiteral("/kept/m.stl")});
        QVERIFY(m_item->wasMarkedLoaded);
        QVERIFY(m_item->isLoadedFlag());
        QCOMPARE(recorder.rects.size(), 1);
        QVERIFY(m_fixture->document.transfers.isEmpty());
        QVERIFY(!m_item->m_viewSettingsLoaded);
        QCOMPARE(object, before);
    }

    void freshItemWithoutKeyLoadsTheEmptyPath()
    {
        QJsonObject object;
        QVERIFY(m_item->loadJson(object));
        QCOMPARE(m_item->loads, QStringList{QString()});
    }

    void rectangleIsAnnouncedBeforeTheModelIsLoaded()
    {
        const QRectF announced(11, 12, 13, 14);
        const RectRecorder recorder(m_item);
        int timesAtLoad = 0;
        m_item->onLoad = [&] {
            ItemFixture::deliverPosted();
            timesAtLoad = recorder.rects.count(announced);
        };
        QJsonObject object{{QStringLiteral("obj_rect"), QJsonArray{11, 12, 13, 14}}};
        m_item->loadJson(object);
        ItemFixture::deliverPosted();
        QCOMPARE(timesAtLoad, 1);
        QCOMPARE(recorder.rects.count(announced), 1);
    }

    void failedLoadIsStillASuccess()
    {
        COv3DObject* item = m_fixture->createItem();
        QJsonObject object;
        QVERIFY(item->loadJson(object));
        QVERIFY(item->isLoadedFlag());
        QVERIFY(!item->m_isLoaded);
        QVERIFY(m_fixture->logEntries().contains(QStringLiteral("not a valid file \n")));
    }

    void callersObjectIsNotChanged()
    {
        QJsonObject object = savesOf({{m_fixture->writeFile(QStringLiteral("m.stl"))}, {QStringLiteral("/b.stl")}});
        const QJsonObject before = object;
        m_item->loadJson(object);
        QCOMPARE(object, before);
    }

    // The entries

    void entriesAreUnpackedInOrderOneACall()
    {
        UnpackingDocument document;
        m_fixture->framework.currentDocument = &document;
        m_item->m_dirName = QStringLiteral("own");
        QJsonObject object = savesOf({{QStringLiteral("/a.bin"), QStringLiteral("/b.bin"), QStringLiteral("/c.bin")}});
        m_item->loadJson(object);
        m_fixture->framework.currentDocument = nullptr;
        QCOMPARE(document.sizesBefore, (QVector<int>{3, 2, 1}));
        QCOMPARE(document.pathsBefore, (QStringList{QString(), QStringLiteral("/a.bin"), QStringLiteral("/b.bin")}));
        QCOMPARE(document.keys, (QStringList{kKey, kKey, kKey}));
        QVERIFY(!document.stored);
        QCOMPARE(m_item->m_dirName, QStringLiteral("own"));
        m_item->m_belongDoc = nullptr;
    }

    void entryThatTheHostDoesNotUnpackKeepsThePathBefore()
    {
        UnpackingDocument document;
        m_fixture->framework.currentDocument = &document;
        QJsonObject object = savesOf({{QStringLiteral("/a.stl"), QString(), QStringLiteral("/c.bin")}});
        m_item->loadJson(object);
        m_fixture->framework.currentDocument = nullptr;
        QCOMPARE(document.pathsBefore, (QStringList{QString(), QStringLiteral("/a.stl"), QStringLiteral("/a.stl")}));
        QCOMPARE(m_item->m_modelPath, QStringLiteral("/a.stl"));
        m_item->m_belongDoc = nullptr;
    }

    void hostThatEmptiesTheEntriesEndsTheLoad()
    {
        UnpackingDocument document;
        document.emptiesEntries = true;
        m_fixture->framework.currentDocument = &document;
        QJsonObject object = savesOf({{QStringLiteral("/a.stl"), QStringLiteral("/b.stl")}});
        QVERIFY(m_item->loadJson(object));
        m_fixture->framework.currentDocument = nullptr;
        QCOMPARE(document.sizesBefore, QVector<int>{2});
        QCOMPARE(m_item->loads, QStringList{QStringLiteral("/a.stl")});
        m_item->m_belongDoc = nullptr;
    }

    void onlyTheFirstSaveIsRead()
    {
        QJsonObject object = savesOf({{QStringLiteral("/first.stl")}, {QStringLiteral("/second.stl")}});
        m_item->loadJson(object);
        QCOMPARE(m_fixture->document.transfers.size(), 1);
        QCOMPARE(m_item->loads, QStringList{QStringLiteral("/first.stl")});
    }

    void withoutDocumentTheLoadEnds()
    {
        m_fixture->framework.currentDocument = nullptr;
        m_item->m_modelPath = QStringLiteral("/kept/m.stl");
        QJsonObject object = savesOf({{QStringLiteral("/a.stl"), QStringLiteral("/b.stl")}});
        QVERIFY(m_item->loadJson(object));
        QCOMPARE(m_item->loads, QStringList{QStringLiteral("/kept/m.stl")});
    }

    void pagesDocumentIsAsked()
    {
        DocumentStub other;
        PageStub page;
        page.document = &other;
        m_item->setPage(&page);
        QJsonObject object = savesOf({{QStringLiteral("/a.stl")}});
        m_item->loadJson(object);
        QCOMPARE(other.transfers.size(), 1);
        QVERIFY(m_fixture->document.transfers.isEmpty());
        m_item->setPage(nullptr);
        m_item->m_belongDoc = nullptr;
    }

    // The model

    void modelIsRecognisedByItsSuffix_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<bool>("isModel");
        for (const char* suffix : {"obj", "fbx", "OBJ", "FBX", "gltf", "stl", "STL", "glb", "GLB", "3MF", "3mf"})
            QTest::newRow(suffix) << suffix << true;
        for (const char* suffix : {"GLTF", "Obj", "Stl", "3Mf", "mtl", "bin", "png", ""})
            QTest::newRow(qPrintable(QStringLiteral("not \"%1\"").arg(QLatin1String(suffix)))) << suffix << false;
    }

    void modelIsRecognisedByItsSuffix()
    {
        QFETCH(QString, suffix);
        QFETCH(bool, isModel);
        m_item->m_modelPath = QStringLiteral("/kept");
        const QString path = QStringLiteral("/x/m.v1.") + suffix;
        QJsonObject object = savesOf({{path}});
        m_item->loadJson(object);
        QCOMPARE(m_item->m_modelPath, isModel ? path : QStringLiteral("/kept"));
        QCOMPARE(m_item->loads, QStringList{m_item->m_modelPath});
    }

    void lastModelWins()
    {
        QJsonObject object = savesOf({{QStringLiteral("/a.obj"), QStringLiteral("/b.glb"), QStringLiteral("/c.mtl")}});
        m_item->loadJson(object);
        QCOMPARE(m_item->loads, QStringList{QStringLiteral("/b.glb")});
    }

    // The preview

    void previewNamedAfterItsFolderBecomesTheFrame_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isTaken");
        QTest::newRow("named after its folder") << "m/m_3dpreview.png" << true;
        QTest::newRow("named otherwise") << "m/n_3dpreview.png" << false;
        QTest::newRow("without the folder's name") << "m/_3dpreview.png" << false;
        QTest::newRow("a texture of the model") << "m/m.png" << false;
        QTest::newRow("in upper case") << "m/m_3DPREVIEW.png" << false;
        QTest::newRow("more in front") << "m/xm_3dpreview.png" << false;
        QTest::newRow("other letters and full stops") << QString::fromUtf8("ü.v2/ü.v2_3dpreview.png") << true;
    }

    void previewNamedAfterItsFolderBecomesTheFrame()
    {
        QFETCH(QString, name);
        QFETCH(bool, isTaken);
        m_item->m_image = QImage(1, 1, QImage::Format_ARGB32);
        const QString path = m_fixture->writeFile(name);
        QVERIFY(picture().save(path, "PNG"));
        QJsonObject object = savesOf({{path}});
        m_item->loadJson(object);
        if (isTaken)
            QCOMPARE(m_item->m_image.convertToFormat(QImage::Format_ARGB32), picture());
        else
            QCOMPARE(m_item->m_image.size(), QSize(1, 1));
        QCOMPARE(m_item->loads, QStringList{QString()});
    }

    void previewsFormatIsFoundInItsContent()
    {
        const QString path = m_fixture->writeFile(QStringLiteral("m/m_3dpreview.png"));
        QVERIFY(picture().save(path, "BMP"));
        QJsonObject object = savesOf({{path}});
        m_item->loadJson(object);
        QCOMPARE(m_item->m_image.size(), picture().size());
    }

    void brokenOrMissingPreviewLeavesANullFrame_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::newRow("broken") << true;
        QTest::newRow("missing") << false;
    }

    void brokenOrMissingPreviewLeavesANullFrame()
    {
        QFETCH(bool, exists);
        m_item->m_image = picture();
        const QString path = m_fixture->folder() + QStringLiteral("m/m_3dpreview.png");
        if (exists)
            m_fixture->writeFile(QStringLiteral("m/m_3dpreview.png"), "no picture");
        QJsonObject object = savesOf({{path}});
        m_item->loadJson(object);
        QVERIFY(m_item->m_image.isNull());
    }

    // The settings

    void settingsComeBackBeforeTheModelIsLoaded()
    {
        bool wasSet = false;
        m_item->onLoad = [&] { wasSet = m_item->m_viewSettingsLoaded && m_item->m_viewSettings.view_type == 4; };
        loadSettings(QStringLiteral("x_view.json"), "{\"view_type\":4,\"point_size\":5}");
        QVERIFY(wasSet);
        QCOMPARE(m_item->m_materialSettings.point_size, 5);
    }

    void anyFileWithTheSuffixIsRead()
    {
        loadSettings(QStringLiteral("other.json"), "{\"view_type\":4}");
        QCOMPARE(m_item->m_viewSettings.view_type, 4);
        QVERIFY(m_item->m_viewSettingsLoaded);
    }

    void suffixInUpperCaseIsNotRead()
    {
        loadSettings(QStringLiteral("x_view.JSON"), "{\"view_type\":4}");
        QCOMPARE(m_item->m_viewSettings.view_type, 0);
        QVERIFY(!m_item->m_viewSettingsLoaded);
    }

    void missingSettingsFileChangesNothing()
    {
        const QStringList before = SettingsBlocks::ofItem(*m_item).lines();
        QJsonObject object = savesOf({{m_fixture->folder() + QStringLiteral("gone_view.json")}});
        m_item->loadJson(object);
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), before);
        QVERIFY(!m_item->m_viewSettingsLoaded);
    }

    void settingsGoIntoTheItemsOwnBlocksAlone()
    {
        ItemFixture::makeReady(m_item);
        const QStringList before = SettingsBlocks::ofContext(*m_item).lines();
        loadSettings(QStringLiteral("x_view.json"), "{\"view_type\":4,\"hdr_map\":0,\"camera_position\":[1,2,3]}");
        QCOMPARE(SettingsBlocks::ofContext(*m_item).lines(), before);
        QCOMPARE(m_item->m_viewSettings.view_type, 4);
        QVERIFY(!m_item->m_lightingSettings.hdr_map);
        QCOMPARE(m_item->m_cameraSettings.camera_position[2], 3.0);
        QCOMPARE(m_fixture->viewer.callCount(), 0);
    }

    // The whole way

    void savedItemComesBack()
    {
        COv3DObject* saved = m_fixture->createItem();
        const SettingsBlocks unusual = unusualSettings();
        unusual.putInto(*saved);
        saved->m_image = picture();
        saved->m_context.scene_status.focal_point[1] = 0.1;
        saved->m_modelPath = m_fixture->writeFile(QStringLiteral("m/m.stl"));
        saved->setObjRect(QRectF(5, 6, 7, 8));
        QJsonObject object;
        QVERIFY(saved->saveJson(object));
        QVERIFY(saved->saveJson(object));

        QVERIFY(m_item->loadJson(object));
        QCOMPARE(m_item->loads, QStringList{saved->m_modelPath});
        QCOMPARE(m_item->getObjRect(), QRectF(5, 6, 7, 8));
        QCOMPARE(m_item->m_image.convertToFormat(QImage::Format_ARGB32), picture());
        QCOMPARE(m_item->m_context.scene_status.focal_point[1], 0.1);
        // These five never stand in the text.
        SettingsBlocks expected = unusual;
        expected.display.light_profile = 0;
        expected.material.point_size = 0;
        expected.lighting.hdr_path.clear();
        expected.camera.camera_id = CameraSettings().camera_id;
        for (int i = 0; i < 4; ++i)
            expected.camera.camera_values[i] = CameraSettings().camera_values[i];
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), expected.lines());
    }

    void loadStartsTheModelAndItsThreadTakesTheSettingsOver()
    {
        COv3DObject* item = m_fixture->createItem();
        const QString settings =
            m_fixture->writeFile(QStringLiteral("x_view.json"), "{\"view_type\":4,\"camera_position\":[1,2,3]}");
        const QString model = m_fixture->writeFile(QStringLiteral("m.stl"));
        QJsonObject object = savesOf({{model, settings}});
        QVERIFY(item->loadJson(object));
        QVERIFY(item->m_isLoaded);
        QVERIFY(!item->m_viewSettingsLoaded);
        const std::vector<ScriptedViewer::Call> starts = m_fixture->viewer.starts();
        QCOMPARE(starts.size(), std::size_t(1));
        QCOMPARE(starts.front().view.view_type, 4);
        QCOMPARE(starts.front().camera.camera_position[2], 3.0);
        QCOMPARE(QString::fromLocal8Bit(starts.front().context.model_path), model);
    }

private:
    /// Loads a save of one file, with this name and text.
    void loadSettings(const QString& name, const QByteArray& text)
    {
        QJsonObject object = savesOf({{m_fixture->writeFile(name, text)}});
        m_item->loadJson(object);
    }

    static QImage picture()
    {
        QImage image(4, 3, QImage::Format_ARGB32);
        image.fill(qRgba(1, 2, 3, 255));
        image.setPixel(3, 2, qRgba(250, 100, 50, 255));
        return image;
    }

    LoadProbe* m_item = nullptr;
};

OV3D_TEST_MAIN(LoadJsonTest)
#include "loadjson_test.moc"
