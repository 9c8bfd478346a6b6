#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"
#include "tests/support/zerobytes.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <atomic>
#include <cstring>
#include <thread>

namespace {

const QByteArray kFbx("Kaydara FBX Binary \x20\x20\x1a\x20");
const QByteArray kObj("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
const QByteArray kGltf(R"({"asset":{"version":"2.0"}})");
const QByteArray kTextFbx("; FBX 7.4.0 project file\nFBXHeaderExtension:  {\n}\n");

const QString kRefused = QStringLiteral("not a valid file \n");

} // namespace

class ModelLoadingTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void listedSuffixesAreAcceptedAndChooseTheFormat_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("format");
        QTest::newRow("fbx") << "model.fbx" << kFbx << 0;
        QTest::newRow("FBX") << "model.FBX" << kFbx << 0;
        QTest::newRow("obj") << "model.obj" << kObj << 1;
        QTest::newRow("OBJ") << "model.OBJ" << kObj << 1;
        QTest::newRow("gltf") << "model.gltf" << kGltf << 2;
        QTest::newRow("GLTF") << "model.GLTF" << kGltf << 2;
        QTest::newRow("stl is not read") << "model.stl" << QByteArray("anything") << 3;
        QTest::newRow("STL is not read") << "model.STL" << QByteArray("anything") << 3;
        QTest::newRow("glb is not read") << "model.glb" << QByteArray("anything") << 4;
        QTest::newRow("GLB is not read") << "model.GLB" << QByteArray("anything") << 4;
        QTest::newRow("3mf is not read") << "model.3mf" << QByteArray("anything") << 5;
        QTest::newRow("3MF is not read") << "model.3MF" << QByteArray("anything") << 5;
        QTest::newRow("the suffix is what follows the last full stop") << "model.obj.v2.stl" << QByteArray("x") << 3;
    }

    void listedSuffixesAreAcceptedAndChooseTheFormat()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        COv3DObject* item = m_fixture->createItem();
        const QString path = m_fixture->writeFile(name, content);
        QVERIFY(item->loadFromFile(path));
        QTEST(int(item->m_context.model_format), "format");
        QCOMPARE(item->m_modelPath, path);
        QCOMPARE(QByteArray(m_fixture->viewer.starts().front().context.model_path), path.toLocal8Bit());
    }

    void modelsWithoutAContentCheckNeedNoFile()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(item->loadFromFile(QStringLiteral("/no/such/folder/model.glb")));
        QCOMPARE(item->m_context.model_format, 4);
    }

    void otherSuffixesAreRefusedAndKeepTheFormat_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"model.Stl", "model.Obj", "model.Fbx", "model.glTF", "model.Glb", "model.3Mf", "model",
                                 "model.", "model.stl.txt", "stl", "model.stl ", "folder.stl/model", "model.dae"})
            QTest::newRow(name) << name;
    }

    void otherSuffixesAreRefusedAndKeepTheFormat()
    {
        QFETCH(QString, name);
        COv3DObject* item = m_fixture->createItem();
        item->m_context.model_format = 4;
        const QString path = m_fixture->writeFile(name, kObj);
        g_progress = 12;
        QVERIFY(!item->loadFromFile(path));
        QCOMPARE(item->m_context.model_format, 4);
        QCOMPARE(g_progress, 100);
        QCOMPARE(m_fixture->logEntries(), QStringList{kRefused});
        expectUntouched(*item, QString());
    }

    void emptyPathIsRefused()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(!item->loadFromFile(QString()));
        QCOMPARE(m_fixture->logEntries(), QStringList{kRefused});
        expectUntouched(*item, QString());
    }

    void failedContentCheckRefusesTheFileButSetsTheFormat_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("format");
        QTest::newRow("text FBX") << "model.fbx" << kTextFbx << 0;
        QTest::newRow("OBJ without statements") << "model.obj" << QByteArray("o name\n") << 1;
        QTest::newRow("glTF 1.0") << "model.gltf" << QByteArray(R"({"asset":{"version":"1.0"}})") << 2;
        QTest::newRow("empty FBX") << "model.FBX" << QByteArray() << 0;
        QTest::newRow("empty OBJ") << "model.OBJ" << QByteArray() << 1;
        QTest::newRow("empty glTF") << "model.GLTF" << QByteArray() << 2;
    }

    void failedContentCheckRefusesTheFileButSetsTheFormat()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        COv3DObject* item = m_fixture->createItem();
        item->m_modelPath = QStringLiteral("/earlier.stl");
        QVERIFY(!item->loadFromFile(m_fixture->writeFile(name, content)));
        QTEST(int(item->m_context.model_format), "format");
        QCOMPARE(g_progress, 100);
        expectUntouched(*item, QStringLiteral("/earlier.stl"));
    }

    void missingCheckedFilesAreRefused_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"missing.fbx", "missing.obj", "missing.gltf"})
            QTest::newRow(name) << name;
    }

    void missingCheckedFilesAreRefused()
    {
        QFETCH(QString, name);
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(!item->loadFromFile(m_fixture->folder() + name));
        expectUntouched(*item, QString());
    }

    void refusalNamesTheEarlierModelAndNotTheNewOne()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_modelPath = QString::fromUtf8("/früher/模型.stl");
        QVERIFY(!item->loadFromFile(m_fixture->writeFile(QStringLiteral("model.fbx"), kTextFbx)));
        QCOMPARE(m_fixture->logEntries(), QStringList{item->m_modelPath + kRefused});
    }

    void refusedReloadNamesTheItemsOwnModel()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_modelPath = m_fixture->writeFile(QStringLiteral("model.obj"), "o name\n");
        QVERIFY(!item->loadFromFile(item->m_modelPath));
        QCOMPARE(m_fixture->logEntries(), QStringList{m_fixture->folder() + QStringLiteral("model.obj") + kRefused});
    }

    void refusalLeavesAShownModelAlone()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        QVERIFY(!item->loadFromFile(m_fixture->writeFile(QStringLiteral("model.fbx"), kTextFbx)));
        QVERIFY(item->m_isLoaded);
        QVERIFY(item->m_loadTimer.isValid());
        QCOMPARE(item->m_modelPath, m_fixture->folder() + QStringLiteral("model.stl"));
        QCOMPARE(item->m_context.model_format, 0);
        QVERIFY(item->m_drawThread->isRunning());
        QCOMPARE(m_fixture->viewer.runningCount(), 1);
    }

    void missingResourceDirectoryRefusesEveryFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("a good model") << "model.stl";
        QTest::newRow("a model that its check would refuse") << "model.fbx";
        QTest::newRow("an unknown suffix") << "model.txt";
    }

    void missingResourceDirectoryRefusesEveryFile()
    {
        QFETCH(QString, name);
        COv3DObject* item = m_fixture->createItem();
        item->m_modelPath = QStringLiteral("/earlier.stl");
        QVERIFY(QDir().rmdir(QStringLiteral("resources")));
        QVERIFY(!item->loadFromFile(m_fixture->writeFile(name)));
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("resource dir missing !\n")});
        QCOMPARE(g_progress, 100);
        QCOMPARE(item->m_context.model_format, -1);
        expectUntouched(*item, QStringLiteral("/earlier.stl"));
    }

    void fileNamedResourcesIsNoResourceDirectory()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(QDir().rmdir(QStringLiteral("resources")));
        m_fixture->writeFile(QStringLiteral("resources"));
        QVERIFY(!item->loadFromFile(m_fixture->writeFile(QStringLiteral("model.stl"))));
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("resource dir missing !\n")});
    }

    void resourceDirectoryIsLookedForInTheWorkingDirectory()
    {
        COv3DObject* item = m_fixture->createItem();
        const QString path = m_fixture->writeFile(QStringLiteral("elsewhere/model.stl"));
        QVERIFY(QDir::setCurrent(m_fixture->folder() + QStringLiteral("elsewhere")));
        const bool loaded = item->loadFromFile(path);
        QVERIFY(QDir::setCurrent(m_fixture->folder()));
        QVERIFY(!loaded);
    }

    void successfulLoadLeavesTheItemLoaded()
    {
        COv3DObject* item = m_fixture->createItem();
        const QString path = m_fixture->writeFile(QStringLiteral("model.stl"));
        g_progress = 1;
        QVERIFY(item->loadFromFile(path));
        QVERIFY(item->m_isLoaded);
        QVERIFY(item->m_loadTimer.isValid());
        QVERIFY(item->m_loadTimer.elapsed() < 60000);
        QVERIFY(item->m_drawThread->m_firstFrame);
        QVERIFY(item->m_drawThread->isRunning());
        QCOMPARE(item->m_drawThread->m_modelPath, path);
        QCOMPARE(g_progress, 100);
        QVERIFY(!item->m_image.isNull());
        QVERIFY(!item->m_drawThread->m_resultImage.isNull());
    }

    void loadWritesItsLogEntriesInOrder()
    {
        COv3DObject* item = m_fixture->createItem();
        const QString path = m_fixture->writeFile(QString::fromUtf8("Größe 模型.stl"));
        QVERIFY(item->loadFromFile(path));
        QStringList entries = m_fixture->logEntries();

        const QString perPass = QStringLiteral("loop for first_draw sucess \n");
        QVERIFY(entries.count(perPass) >= 1);
        const int firstPass = entries.indexOf(perPass);
        entries.removeAll(perPass);
        QCOMPARE(firstPass, 8);

        QCOMPARE(entries.size(), 10);
        QCOMPARE(entries.at(0), path + QStringLiteral(" begin load file \n"));
        QCOMPARE(entries.at(1), QStringLiteral("path copy to open3d  %1\n").arg(m_fixture->folder()));
        QCOMPARE(entries.at(2), QStringLiteral("[ovobject context size] 3352\n"));
        QVERIFY(QRegularExpression(QStringLiteral("\\Aov3dobject  currentThread:\\d+\n\\z"))
                    .match(entries.at(3))
                    .hasMatch());
        QCOMPARE(entries.at(4), QStringLiteral("1  begin param init\n"));
        QCOMPARE(entries.at(5), QStringLiteral("1param init end\n"));
        QCOMPARE(entries.at(6), QStringLiteral("1 RunViewer detached \n"));
        QVERIFY(entries.at(7).startsWith(QStringLiteral("[camera_matrix]  0.000000,")));
        QCOMPARE(entries.at(8), QStringLiteral("1 first_draw sucess \n"));
        QCOMPARE(entries.at(9), QStringLiteral("load file  sucess\n"));
    }

    void firstLoadLearnsTheApplicationPathFromItsOwnLogEntry()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(g_app_path.isEmpty());
        QVERIFY(m_fixture->load(item));
        QCOMPARE(QByteArray(item->m_context.app_path), m_fixture->folder().toLocal8Bit());
    }

    void applicationPathSetByTheHostIsHandedOnAlthoughNothingIsLogged()
    {
        COv3DObject* item = m_fixture->createItem();
        g_app_path = QStringLiteral("/opt/app/");
        QVERIFY(m_fixture->load(item));
        QCOMPARE(QByteArray(item->m_context.app_path), QByteArray("/opt/app/"));
        QVERIFY(m_fixture->logEntries().isEmpty());
    }

    void emptyApplicationPathLeavesTheFieldAlone()
    {
        COv3DObject* item = m_fixture->createItem();
        m_fixture->framework.setPath(QString());
        std::memset(item->m_context.app_path, 0x41, sizeof item->m_context.app_path);
        QVERIFY(m_fixture->load(item));
        QCOMPARE(QByteArray(item->m_context.app_path, 512), QByteArray(512, 'A'));
        QVERIFY(m_fixture->logEntries().filter(QStringLiteral("path copy")).isEmpty());
    }

    void applicationPathIsCopiedByItsCharacterCount_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("copied");
        QTest::newRow("ASCII") << "/opt/app/" << 9;
        QTest::newRow("511 characters") << QString(511, QLatin1Char('a')) << 511;
        QTest::newRow("512 characters") << QString(512, QLatin1Char('a')) << 512;
        QTest::newRow("513 characters") << QString(513, QLatin1Char('a')) << 512;
        QTest::newRow("600 characters") << QString(600, QLatin1Char('a')) << 512;
        QTest::newRow("ten characters of which three need two bytes") << QString::fromUtf8("/öäü/abcde") << 10;
        QTest::newRow("three bytes a character") << QString::fromUtf8("/模型/") << 4;
        QTest::newRow("a surrogate pair counts as two") << QString::fromUtf8("/😀/") << 4;
        QTest::newRow("300 characters that encode to more than 512 bytes") << QString(300, QChar(0xe4)) << 512;
        QTest::newRow("256 characters that encode to 512 bytes") << QString(256, QChar(0xe4)) << 256;
    }

    void applicationPathIsCopiedByItsCharacterCount()
    {
        QFETCH(QString, path);
        QFETCH(int, copied);
        COv3DObject* item = m_fixture->createItem();
        g_app_path = path;
        std::memset(item->m_context.app_path, 0x7f, sizeof item->m_context.app_path);
        item->m_context.model_format = -1;
        QVERIFY(m_fixture->load(item));
        const ViewContext& context = item->m_context;
        QCOMPARE(QByteArray(context.app_path, copied), path.toLocal8Bit().left(copied));
        QVERIFY(isZero(context.app_path + copied, sizeof context.app_path - std::size_t(copied)));
        QCOMPARE(context.model_format, 3); // the next field
    }

    void logNamesTheWholeApplicationPathEvenWhenItIsCut()
    {
        COv3DObject* item = m_fixture->createItem();
        const QString path = m_fixture->folder() + QString::fromUtf8("öäü");
        m_fixture->framework.setPath(path);
        QVERIFY(m_fixture->load(item));
        QFile log(path + QStringLiteral("ov3dlog.txt"));
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("path copy to open3d  " + path.toLocal8Bit() + "\n"));
        QCOMPARE(QByteArray(item->m_context.app_path), path.toLocal8Bit().left(path.size()));
    }

    void threadIsToldTheTruncatedSizeWithoutTheRuleOfFour()
    {
        COv3DObject* item = m_fixture->createItem();
        item->setObjRect(QRectF(0.0, 0.0, 401.9, 301.9));
        QVERIFY(m_fixture->load(item));
        QCOMPARE(item->m_drawThread->m_width, 401);
        QCOMPARE(item->m_drawThread->m_height, 301);
        QVERIFY(item->m_drawThread->m_drawing);
    }

    void loadDoesNotReturnBeforeTheFirstFrame()
    {
        ScriptedViewer::Script script;
        script.setsFirstDraw = false;
        m_fixture->viewer.setScript(script);
        COv3DObject* item = m_fixture->createItem();

        std::atomic<bool> returned = false;
        std::atomic<bool> wasWaiting = false;
        std::thread watcher([&] {
            while (m_fixture->viewer.starts().empty())
                QThread::msleep(2);
            QThread::msleep(300); // ten of the load's looks at the flag
            wasWaiting = !returned && loadAcquire(g_progress) != 100 && !loadAcquire(item->m_isLoaded);
            m_fixture->viewer.allowFirstDraw();
        });
        const bool loaded = m_fixture->load(item);
        returned = true;
        watcher.join();
        QVERIFY(loaded);
        QVERIFY(wasWaiting);
        QVERIFY(item->m_isLoaded);
    }

    void secondLoadStartsNoSecondRun()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        m_fixture->clearLog();
        const QString second = m_fixture->writeFile(QStringLiteral("second.glb"));
        QVERIFY(item->loadFromFile(second));
        QCOMPARE(item->m_modelPath, second);
        QCOMPARE(item->m_drawThread->m_modelPath, second);
        QCOMPARE(item->m_context.model_format, 4);
        QCOMPARE(m_fixture->viewer.starts().size(), std::size_t{1});
        QCOMPARE(m_fixture->logEntries(),
                 (QStringList{second + QStringLiteral(" begin load file \n"),
                              QStringLiteral("path copy to open3d  %1\n").arg(m_fixture->folder()),
                              QStringLiteral("load file  sucess\n")}));
    }

    void acceptedFilePausesForAHundredMilliseconds()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(m_fixture->load(item)); // the first frame is there, so nothing else waits
        QVERIFY(timer.elapsed() >= 100);
    }

    void loadIsReachedThroughTheHostsRootObject()
    {
        COVRootObject* item = m_fixture->createItem();
        QVERIFY(!item->loadFromFile(QStringLiteral("model.txt")));
        QVERIFY(item->loadFromFile(QStringLiteral("model.stl")));
    }

private:
    /// What a refusal must leave as it was.
    void expectUntouched(const COv3DObject& item, const QString& modelPath)
    {
        QCOMPARE(item.m_modelPath, modelPath);
        QVERIFY(!item.m_isLoaded);
        QVERIFY(!item.m_loadTimer.isValid());
        QVERIFY(isZero(item.m_context.app_path, sizeof item.m_context.app_path));
        QVERIFY(item.m_drawThread->m_modelPath.isEmpty());
        QVERIFY(!item.m_drawThread->m_running);
        QVERIFY(!item.m_drawThread->m_drawing);
        QVERIFY(!item.m_drawThread->isRunning());
        QVERIFY(m_fixture->viewer.starts().empty());
    }
};

OV3D_TEST_MAIN(ModelLoadingTest)
#include "modelloading_test.moc"
