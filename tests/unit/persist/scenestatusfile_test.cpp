#include "src/plugin/ov3dobject.h"
#include "tests/support/filecontent.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/mutexprobe.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/loadprobe.h"
#include "tests/unit/persist/propertystream.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <cstddef>
#include <cstring>

namespace {

const QString kKey = QStringLiteral("3D_OBJECT_KEY");
const QString kRefusal = QStringLiteral("Failed to open file for writing");
constexpr std::size_t kBegin = offsetof(ViewContext, scene_status);
constexpr std::size_t kFileBytes = 384;
constexpr int kRestoredBytes = 378; ///< the rest of a record is padding, which is not taken back

QByteArray bytesOf(const ViewContext& context, std::size_t begin, std::size_t end)
{
    return QByteArray(reinterpret_cast<const char*>(&context) + begin, static_cast<int>(end - begin));
}

/// A record whose bytes count upwards from `first`, skipping no value.
QByteArray recordFrom(int first)
{
    QByteArray record;
    for (int i = 0; i < int(kFileBytes); ++i)
        record.append(static_cast<char>((first + i) & 0xff));
    return record;
}

} // namespace

class SceneStatusFileTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ItemTestBase::init();
        m_item = m_fixture->adopt(new LoadProbe);
    }

    // Writing

    void fileIsTheContextFromTheSceneStatusToTheFileList()
    {
        std::memcpy(reinterpret_cast<char*>(&m_item->m_context) + kBegin, recordFrom(7).constData(), kFileBytes);
        m_item->m_context.status_saved = 0;
        save();
        QByteArray expected = recordFrom(7);
        expected[377] = 1;
        QCOMPARE(statusFile(), expected);
        QCOMPARE(bytesOf(m_item->m_context, kBegin, kBegin + kFileBytes), expected);
    }

    void savingMarksTheStatusAsSaved()
    {
        m_item->m_context.status_saved = 0;
        save();
        QCOMPARE(int(m_item->m_context.status_saved), 1);
        QCOMPARE(int(statusFile().at(377)), 1);
    }

    void savingTouchesNoByteOutsideTheMark()
    {
        m_item->m_context.status_saved = 0;
        std::memset(m_item->m_context.pad770, 0x5a, sizeof m_item->m_context.pad770);
        std::memset(m_item->m_context.file_list, 0x5b, sizeof m_item->m_context.file_list);
        ViewContext expected;
        std::memcpy(&expected, &m_item->m_context, sizeof expected);
        expected.status_saved = 1;
        save();
        QCOMPARE(bytesOf(m_item->m_context, 0, sizeof expected), bytesOf(expected, 0, sizeof expected));
    }

    void longerFileIsReplaced()
    {
        m_fixture->writeFile(QStringLiteral("m.opt"), QByteArray(5000, 'x'));
        save();
        QCOMPARE(statusFile().size(), int(kFileBytes));
    }

    void theViewMutexIsFreeAfterASave()
    {
        save();
        QVERIFY(isFree(m_item->m_viewMutex));
    }

    void theViewMutexIsFreeWhileFilesAreStored()
    {
        struct Watcher : DocumentStub
        {
            void transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store,
                                      QString& dirName) override
            {
                wasFree = wasFree && isFree(*mutex);
                DocumentStub::transferResourceFile(entries, path, key, store, dirName);
            }
            QMutex* mutex = nullptr;
            bool wasFree = true;
        } watcher;
        watcher.mutex = &m_item->m_viewMutex;
        m_fixture->framework.currentDocument = &watcher;
        save();
        QCOMPARE(watcher.transfers.size(), 4);
        QVERIFY(watcher.wasFree);
        m_fixture->framework.currentDocument = &m_fixture->document;
    }

    // A file that cannot be created

    void saveThatCannotCreateTheFileLeavesTheObjectAlone()
    {
        blockStatusFile();
        QJsonObject object{{kKey, QJsonArray{QJsonValue(QJsonArray{1})}}};
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        m_item->m_context.status_saved = 0;
        QVERIFY(m_item->saveJson(object));
        QCOMPARE(object.value(kKey).toArray(), QJsonArray{QJsonValue(QJsonArray{1})});
        QCOMPARE(refusals(), 1);
        QCOMPARE(int(m_item->m_context.status_saved), 0);
        const QString stem = m_fixture->folder() + QStringLiteral("m");
        QCOMPARE(m_fixture->document.storedPaths(),
                 (QStringList{stem + QStringLiteral(".stl"), stem + QStringLiteral("_3dpreview.png"),
                              stem + QStringLiteral("_view.json")}));
        QVERIFY(QFile::exists(stem + QStringLiteral("_view.json")));
    }

    void saveThatCannotCreateTheFileAddsNoKey()
    {
        blockStatusFile();
        QVERIFY(!save().contains(kKey));
    }

    void aMissingFolderIsReportedToo()
    {
        m_item->m_modelPath = m_fixture->folder() + QStringLiteral("gone/m.stl");
        QJsonObject object;
        QVERIFY(m_item->saveJson(object));
        QCOMPARE(refusals(), 1);
        QVERIFY(!object.contains(kKey));
        QVERIFY(!isFree(m_item->m_viewMutex));
    }

    void failedSaveLeavesTheViewMutexLocked()
    {
        blockStatusFile();
        save();
        QVERIFY(!isFree(m_item->m_viewMutex));
        save();
        QVERIFY(!isFree(m_item->m_viewMutex));
        QCOMPARE(refusals(), 2);
    }

    void laterSaveGoesOnAndGivesTheMutexBack()
    {
        blockStatusFile();
        save();
        unblockStatusFile();
        const QJsonObject object = save();
        QCOMPARE(object.value(kKey).toArray().size(), 1);
        QCOMPARE(statusFile().size(), int(kFileBytes));
        QVERIFY(isFree(m_item->m_viewMutex));
    }

    void failureAfterASuccessLocksAgain()
    {
        save();
        QVERIFY(QFile::remove(m_fixture->folder() + QStringLiteral("m.opt")));
        blockStatusFile();
        save();
        QVERIFY(!isFree(m_item->m_viewMutex));
        unblockStatusFile();
        save();
        QVERIFY(isFree(m_item->m_viewMutex));
    }

    void updatesAndPropertiesGoOnAfterAFailedSave()
    {
        blockStatusFile();
        save();
        ItemFixture::makeReady(m_item);
        m_item->m_context.op = kOperationInput;
        m_item->update_view(&m_item->m_context);
        QCOMPARE(m_fixture->viewer.callCount(), 1);

        QDataStream in(streamOfText(CEffectLayerParams::toJson(CEL3DObjectParams())));
        QVERIFY(m_item->SetSpecialProperty(101, in, false));
        QCOMPARE(m_fixture->viewer.callCount(), 2);
        QVERIFY(!isFree(m_item->m_viewMutex));
    }

    void restoringGoesOnAfterAFailedSave()
    {
        blockStatusFile();
        save();
        unblockStatusFile();
        restore(recordFrom(3));
        QCOMPARE(bytesOf(m_item->m_context, kBegin, kBegin + kRestoredBytes), recordFrom(3).left(kRestoredBytes));
    }

    void loadingGoesOnAfterAFailedSave()
    {
        blockStatusFile();
        COv3DObject* item = m_fixture->createItem();
        item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        QJsonObject object;
        item->saveJson(object);
        QVERIFY(!isFree(item->m_viewMutex));
        QVERIFY(m_fixture->load(item));
        QVERIFY(waitFor([&] { return !m_fixture->viewer.callsWithOp(kOperationRedraw).empty(); }));
        QVERIFY(!isFree(item->m_viewMutex));
    }

    void itemEndsAfterAFailedSave()
    {
        blockStatusFile();
        save();
        ItemFixture::makeReady(m_item);
        m_fixture->release(m_item);
        QCOMPARE(m_fixture->viewer.callsWithOp(kOperationStop).size(), std::size_t(1));
    }

    // Reading

    void theLastCompleteRecordIsRestored_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("first"); // of the restored record, -1: nothing is restored
        const QByteArray one = recordFrom(1);
        const QByteArray two = recordFrom(100);
        const QByteArray three = recordFrom(200);
        QTest::newRow("an empty file") << QByteArray() << -1;
        QTest::newRow("100 bytes") << one.left(100) << -1;
        QTest::newRow("383 bytes") << one.left(383) << -1;
        QTest::newRow("384 bytes") << one << 1;
        QTest::newRow("385 bytes") << one + 'x' << 1;
        QTest::newRow("500 bytes") << one + two.left(116) << 1;
        QTest::newRow("767 bytes") << one + two.left(383) << 1;
        QTest::newRow("768 bytes") << one + two << 100;
        QTest::newRow("1152 bytes") << one + two + three << 200;
        QTest::newRow("1200 bytes") << one + two + three + QByteArray(48, 'x') << 200;
    }

    void theLastCompleteRecordIsRestored()
    {
        QFETCH(QByteArray, file);
        QFETCH(int, first);
        const QByteArray before = bytesOf(m_item->m_context, 0, sizeof(ViewContext));
        restore(file);
        QByteArray expected = before;
        if (first >= 0)
            expected.replace(int(kBegin), kRestoredBytes, recordFrom(first).left(kRestoredBytes));
        QCOMPARE(bytesOf(m_item->m_context, 0, sizeof(ViewContext)), expected);
    }

    void twoFlagBytesAreRestoredAndThePaddingIsNot()
    {
        m_item->m_context.reserved768 = 0x11;
        m_item->m_context.status_saved = 0x12;
        std::memset(m_item->m_context.pad770, 0x13, sizeof m_item->m_context.pad770);
        m_item->m_context.file_list[0] = 0x14;
        restore(QByteArray(int(kFileBytes), '\x77'));
        QCOMPARE(int(m_item->m_context.reserved768), 0x77);
        QCOMPARE(int(m_item->m_context.status_saved), 0x77);
        for (const std::uint8_t byte : m_item->m_context.pad770)
            QCOMPARE(int(byte), 0x13);
        QCOMPARE(int(m_item->m_context.file_list[0]), 0x14);
    }

    void savedStatusComesBackByteForByte()
    {
        for (int i = 0; i < 16; ++i)
            m_item->m_context.scene_status.camera_to_world[i] = 1.0 / (i + 3);
        m_item->m_context.scene_status.sun_direction[2] = -0.0;
        save();
        const OV3DOBJECT::SceneStatus saved = m_item->m_context.scene_status;
        m_item->m_context.scene_status = {};
        m_item->m_context.status_saved = 0;
        const QByteArray file = statusFile();
        restore(file);
        QVERIFY(std::memcmp(&m_item->m_context.scene_status, &saved, sizeof saved) == 0);
        QCOMPARE(int(m_item->m_context.status_saved), 1);
    }

    void fileThatCannotBeReadRestoresNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << "gone.opt";
        QTest::newRow("a folder") << "folder.opt";
    }

    void fileThatCannotBeReadRestoresNothing()
    {
        QFETCH(QString, name);
        QVERIFY(QDir(m_fixture->folder()).mkdir(QStringLiteral("folder.opt")));
        const QByteArray before = bytesOf(m_item->m_context, 0, sizeof(ViewContext));
        restoreFile(m_fixture->folder() + name);
        QCOMPARE(bytesOf(m_item->m_context, 0, sizeof(ViewContext)), before);
    }

    void pathIsPassedOnAsUtf8()
    {
        const QString path = m_fixture->writeFile(QString::fromUtf8("ü 模型.opt"), recordFrom(9));
        restoreFile(path);
        QCOMPARE(bytesOf(m_item->m_context, kBegin, kBegin + kRestoredBytes), recordFrom(9).left(kRestoredBytes));
    }

    void readingTakesNoLock()
    {
        m_item->m_viewMutex.lock();
        restore(recordFrom(5));
        m_item->m_viewMutex.unlock();
        QCOMPARE(bytesOf(m_item->m_context, kBegin, kBegin + kRestoredBytes), recordFrom(5).left(kRestoredBytes));
    }

    void statusIsRestoredBeforeTheModelIsLoaded()
    {
        QByteArray atLoad;
        m_item->onLoad = [&] { atLoad = bytesOf(m_item->m_context, kBegin, kBegin + kRestoredBytes); };
        restore(recordFrom(6));
        QCOMPARE(atLoad, recordFrom(6).left(kRestoredBytes));
    }

private:
    QJsonObject save()
    {
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        QJsonObject object;
        m_item->saveJson(object);
        return object;
    }

    void restore(const QByteArray& content) { restoreFile(m_fixture->writeFile(QStringLiteral("saved.opt"), content)); }

    void restoreFile(const QString& path)
    {
        QJsonObject object{{kKey, QJsonArray{QJsonValue(QJsonArray{DocumentStub::entryFor(path)})}}};
        m_item->loadJson(object);
    }

    static int refusals() { return messages().count(kRefusal); }

    [[nodiscard]] QByteArray statusFile() const { return contentOf(m_fixture->folder() + QStringLiteral("m.opt")); }

    /// A folder stands where the file would be: not even an administrator can write it.
    void blockStatusFile() { QVERIFY(QDir(m_fixture->folder()).mkdir(QStringLiteral("m.opt"))); }
    void unblockStatusFile() { QVERIFY(QDir(m_fixture->folder()).rmdir(QStringLiteral("m.opt"))); }

    LoadProbe* m_item = nullptr;
};

OV3D_TEST_MAIN(SceneStatusFileTest)
#include "scenestatusfile_test.moc"
