#include "src/persist/documentjson.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/filecontent.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/savejsontestbase.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>

#include <sys/fsuid.h>

namespace {

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

} // namespace

/// The directory name of a save, the three files that every save writes, and what it leaves in the host's object.
class SaveJsonTest : public SaveJsonTestBase
{
    Q_OBJECT

private Q_SLOTS:
    // The directory name

    void storedDirectoryNameWins()
    {
        m_item->m_dirName = QStringLiteral("kept");
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        save();
        QCOMPARE(m_item->m_dirName, QStringLiteral("kept"));
        QVERIFY(QFile::exists(m_fixture->folder() + QStringLiteral("kept.opt")));
        QVERIFY(g_dir_map.isEmpty());
    }

    void unhandledSuffixKeepsAnEarlierDirectoryName()
    {
        m_item->m_dirName = QStringLiteral("kept");
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.3mf"));
        save();
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
        QJsonObject object = save();
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
        QVERIFY(!object.contains(key()));
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
        QJsonObject object = save();
        const QJsonValue first = object.value(key()).toArray().at(0);
        m_item->saveJson(object);
        const QJsonArray saves = object.value(key()).toArray();
        QCOMPARE(saves.size(), 2);
        QCOMPARE(saves.at(0), first);
        QCOMPARE(saves.at(1), first);
        QCOMPARE(saves.at(1).toArray().size(), 4);
    }

    void entriesFormAnArrayInsideAnArray()
    {
        const QJsonArray saves = saveModel(QStringLiteral("m.stl")).value(key()).toArray();
        QCOMPARE(saves.size(), 1);
        QVERIFY(saves.first().isArray());
        QCOMPARE(saves.first().toArray().size(), 4);
    }

    void keyOfAnotherTypeIsReplaced()
    {
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        QJsonObject object{{key(), QStringLiteral("text")}};
        m_item->saveJson(object);
        QCOMPARE(object.value(key()).toArray().size(), 1);
    }

    void itemWithoutDocumentWritesItsFilesAndStoresNothing()
    {
        m_fixture->framework.currentDocument = nullptr;
        const QJsonObject object = saveModel(QStringLiteral("m.stl"));
        QVERIFY(m_fixture->document.transfers.isEmpty());
        QCOMPARE(object.value(key()).toArray(), QJsonArray{QJsonValue(QJsonArray())});
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
};

OV3D_TEST_MAIN(SaveJsonTest)
#include "savejson_test.moc"
