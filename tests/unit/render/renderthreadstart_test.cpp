#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"
#include "src/render/progress.h"
#include "tests/support/itemfixture.h"
#include "tests/support/noticerecorder.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QRegularExpression>

#include <algorithm>
#include <cstring>

namespace {

void start(COv3DObject* item, const QString& modelPath)
{
    item->m_drawThread->m_modelPath = modelPath;
    item->m_drawThread->startRunning();
    item->m_drawThread->startDraw(1280, 960);
}

OV3DOBJECT::SceneStatus countingStatus()
{
    OV3DOBJECT::SceneStatus status{};
    for (int i = 0; i < 16; ++i)
        status.camera_to_world[i] = i - 0.5;
    return status;
}

} // namespace

class RenderThreadStartTest : public TestBase
{
    Q_OBJECT

private:
    /// Starts a run and waits until the viewer has been called. @return that call.
    static ScriptedViewer::Call startedCall(ItemFixture& fixture, COv3DObject* item, const QString& modelPath)
    {
        start(item, modelPath);
        if (!waitFor([&] { return !fixture.viewer.starts().empty(); }))
            return {};
        return fixture.viewer.starts().front();
    }

private Q_SLOTS:
    void successfulLoadLogsItsStepsInOrder();
    void viewerRunsOnAThreadOfItsOwnWithOneArgument();
    void startRecordIsComplete();
    void cameraPositionAloneIsCopiedIntoTheCameraBlock();
    void settingsAreCopiedExceptLightProfileAndHdrPath();
    void loadedSettingsFlagAndMaterialUpdateAreCleared();
    void displayFlagsAreCopiedIntoTheItem();
    void everyRunHasASerialOfItsOwn();
    void modelPathFillsItsFieldWithoutTerminator_data();
    void modelPathFillsItsFieldWithoutTerminator();
    void frameBufferHoldsEightBytesAPixel();
    void threadIsNotStartedByConstruction();
    void startDrawStoresTheSizeAndSwitchesDrawingOn();

    void viewerIsReadyThreeHundredMillisecondsAfterItsFirstDraw();
    void withoutFirstDrawTheViewerNeverBecomesReady();
    void sideFilesAreReadAfterTheFirstDrawAndBeforeReady();
    void unterminatedSideFileListIsReadToItsEnd();
    void cameraMatrixIsLoggedWithSixDecimalsAndTrailingCommas();
    void replacedViewerFunctionServesRunningItems();
};

void RenderThreadStartTest::successfulLoadLogsItsStepsInOrder()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.progress = {10, 100};
    script.sceneStatus = countingStatus();
    fixture.viewer.setScript(script);
    QVERIFY(fixture.load(item));

    QStringList entries = fixture.logEntries();
    // The viewer reports whenever it likes, and the loop runs until the first frame has been taken.
    QCOMPARE(entries.removeAll(QStringLiteral("ov3dobject update process 10\n")), 1);
    QCOMPARE(entries.removeAll(QStringLiteral("ov3dobject update process 95\n")), 1);
    const QString loop = QStringLiteral("loop for first_draw sucess \n");
    QVERIFY(entries.count(loop) >= 1);
    while (entries.count(loop) > 1)
        entries.removeOne(loop);
    const int threadEntry = entries.indexOf(QRegularExpression(QStringLiteral("^ov3dobject  currentThread:\\d+\n$")));
    QCOMPARE(threadEntry, 3);
    entries.removeAt(threadEntry);

    const QStringList expected{
        fixture.folder() + QStringLiteral("model.stl begin load file \n"),
        QStringLiteral("path copy to open3d  ") + fixture.folder() + QLatin1Char('\n'),
        QStringLiteral("[ovobject context size] 3352\n"),
        QStringLiteral("1  begin param init\n"),
        QStringLiteral("1param init end\n"),
        QStringLiteral("1 RunViewer detached \n"),
        QStringLiteral("[camera_matrix]  -0.500000,0.500000,1.500000,2.500000,3.500000,4.500000,5.500000,6.500000,"
                       "7.500000,8.500000,9.500000,10.500000,11.500000,12.500000,13.500000,14.500000,\n"),
        loop,
        QStringLiteral("1 first_draw sucess \n"),
        QStringLiteral("load file  sucess\n"),
    };
    QCOMPARE(entries, expected);
}

void RenderThreadStartTest::viewerRunsOnAThreadOfItsOwnWithOneArgument()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    const NoticeRecorder recorder;
    QVERIFY(fixture.load(item));
    const auto starts = fixture.viewer.starts();
    QCOMPARE(starts.size(), std::size_t{1});
    QCOMPARE(starts[0].argc, 1);
    QCOMPARE(starts[0].firstArgument, QByteArray("./"));
    QCOMPARE(starts[0].contextAddress, static_cast<void*>(&item->m_context));
    QVERIFY(starts[0].thread != reinterpret_cast<quintptr>(QThread::currentThreadId()));
    QVERIFY(waitFor([&] { return !recorder.fromOtherThreads().isEmpty(); }));
    QVERIFY(starts[0].thread != recorder.fromOtherThreads().first().thread);
}

void RenderThreadStartTest::startRecordIsComplete()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_context.frame_width = 5;
    item->m_context.first_draw = 1;
    std::memset(item->m_context.model_path, 'q', sizeof item->m_context.model_path);
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    fixture.viewer.setScript(script);
    const ScriptedViewer::Call call = startedCall(fixture, item, QStringLiteral("/models/chair.obj"));
    const ViewContext& context = call.context;
    QCOMPARE(context.op, std::int32_t{kOperationStart});
    QCOMPARE(context.object_id, 1);
    QCOMPARE(context.width, 1280);
    QCOMPARE(context.height, 960);
    QCOMPARE(context.frame_width, std::int32_t{kNoFrame});
    QCOMPARE(int{context.first_draw}, 0);
    QByteArray path("/models/chair.obj");
    path.append(QByteArray(static_cast<int>(sizeof context.model_path) - path.size(), '\0'));
    QCOMPARE(QByteArray(context.model_path, sizeof context.model_path), path);
    QVERIFY(context.frame_buffer);
    const CDrawByOpenGL& thread = *item->m_drawThread;
    QVERIFY(context.view_settings == &thread.m_viewSettings);
    QVERIFY(context.display_settings == &thread.m_displaySettings);
    QVERIFY(context.material_settings == &thread.m_materialSettings);
    QVERIFY(context.lighting_settings == &thread.m_lightingSettings);
    QCOMPARE(reinterpret_cast<char*>(context.camera_settings) - reinterpret_cast<char*>(&item->m_params),
             std::ptrdiff_t{264});
    QVERIFY(reinterpret_cast<void*>(context.progress_callback) == reinterpret_cast<void*>(&::updateProcess));
}

void RenderThreadStartTest::cameraPositionAloneIsCopiedIntoTheCameraBlock()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_cameraSettings = CameraSettings{9, {1, 2, 3, 4}, {1.5, -2.5, 3.5}};
    const ScriptedViewer::Call call = startedCall(fixture, item, QStringLiteral("x.stl"));
    QVERIFY(call.hasBlocks);
    QCOMPARE(call.camera.camera_position[0], 1.5);
    QCOMPARE(call.camera.camera_position[1], -2.5);
    QCOMPARE(call.camera.camera_position[2], 3.5);
    const CameraSettings defaults;
    QCOMPARE(call.camera.camera_id, defaults.camera_id);
    for (int i = 0; i < 4; ++i)
        QCOMPARE(call.camera.camera_values[i], defaults.camera_values[i]);
}

void RenderThreadStartTest::settingsAreCopiedExceptLightProfileAndHdrPath()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_viewSettings = ViewSettings{true, 3};
    item->m_displaySettings = DisplaySettings{true, true, true, {0.1f, 0.2f, 0.3f}, 7};
    item->m_materialSettings = MaterialSettings{2, 4, {0.4f, 0.5f, 0.6f}, false, 11, true, true};
    LightingSettings& lighting = item->m_lightingSettings;
    lighting.hdr_map = false;
    lighting.hdr_map_type = 8;
    lighting.sun_follow = false;
    lighting.hdr_path = "/somewhere.hdr";
    lighting.ibl_intensity = 1.5;
    lighting.sun_intensity = 2.5;
    lighting.sun_dir[1] = 0.25f;
    lighting.sun_color[2] = 0.75f;
    lighting.ibl_enabled = false;
    lighting.use_default_ibl = false;
    lighting.sun_enabled = false;
    const ScriptedViewer::Call call = startedCall(fixture, item, QStringLiteral("x.stl"));

    QVERIFY(call.hasBlocks);
    QVERIFY(call.view.reset_camera);
    QCOMPARE(call.view.view_type, 3);
    QVERIFY(call.display.enable_sky && call.display.enable_axis && call.display.enable_ground);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(call.display.bg_color[i], item->m_displaySettings.bg_color[i]);
        QCOMPARE(call.material.material_color[i], item->m_materialSettings.material_color[i]);
        QCOMPARE(call.lighting.sun_dir[i], lighting.sun_dir[i]);
        QCOMPARE(call.lighting.sun_color[i], lighting.sun_color[i]);
    }
    QCOMPARE(call.material.material_type_a, 2);
    QCOMPARE(call.material.material_type_b, 4);
    QCOMPARE(call.material.point_size, 11);
    QVERIFY(call.material.raw_mode && call.material.wireframe);
    QVERIFY(!call.lighting.hdr_map && !call.lighting.sun_follow);
    QCOMPARE(call.lighting.hdr_map_type, 8);
    QCOMPARE(call.lighting.ibl_intensity, 1.5);
    QCOMPARE(call.lighting.sun_intensity, 2.5);
    QVERIFY(!call.lighting.ibl_enabled && !call.lighting.use_default_ibl && !call.lighting.sun_enabled);

    QCOMPARE(call.display.light_profile, 0);
    QCOMPARE(QString::fromStdString(call.lighting.hdr_path), QString());
}

void RenderThreadStartTest::loadedSettingsFlagAndMaterialUpdateAreCleared()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_viewSettingsLoaded = true;
    item->m_materialSettings.material_update = true;
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    fixture.viewer.setScript(script);
    const ScriptedViewer::Call call = startedCall(fixture, item, QStringLiteral("x.stl"));
    QVERIFY(call.hasBlocks);
    QVERIFY(!call.material.material_update);
    QVERIFY(!item->m_viewSettingsLoaded);
    QVERIFY(item->m_materialSettings.material_update);
}

void RenderThreadStartTest::displayFlagsAreCopiedIntoTheItem()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_displaySettings.enable_sky = true;
    item->m_displaySettings.enable_ground = true;
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    fixture.viewer.setScript(script);
    QVERIFY(startedCall(fixture, item, QStringLiteral("x.stl")).hasBlocks);
    QVERIFY(item->m_enableSky);
    QVERIFY(!item->m_enableAxis);
    QVERIFY(item->m_enableGround);
}

void RenderThreadStartTest::everyRunHasASerialOfItsOwn()
{
    ItemFixture fixture;
    g_object_id = 40;
    COv3DObject* first = fixture.createItem();
    COv3DObject* second = fixture.createItem();
    QVERIFY(fixture.load(first));
    QVERIFY(fixture.load(second));
    QCOMPARE(first->m_context.object_id, 41);
    QCOMPARE(second->m_context.object_id, 42);
    QCOMPARE(loadAcquire(g_object_id), 42);
}

void RenderThreadStartTest::modelPathFillsItsFieldWithoutTerminator_data()
{
    QTest::addColumn<int>("length");
    QTest::newRow("one less than the field is terminated") << 255;
    QTest::newRow("exactly the field has no terminator") << 256;
    QTest::newRow("more than the field is cut off") << 300;
}

void RenderThreadStartTest::modelPathFillsItsFieldWithoutTerminator()
{
    QFETCH(int, length);
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    const ScriptedViewer::Call call = startedCall(fixture, item, QString(length, QLatin1Char('p')));
    const int copied = std::min(length, 256);
    QCOMPARE(QByteArray(call.context.model_path, copied), QByteArray(copied, 'p'));
    QCOMPARE(call.context.mouse_type, 0);
    if (copied < 256)
        QCOMPARE(int{call.context.model_path[copied]}, 0);
}

void RenderThreadStartTest::frameBufferHoldsEightBytesAPixel()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->setSize(QSizeF(400, 300), false, false);
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    fixture.viewer.setScript(script);
    const ScriptedViewer::Call call = startedCall(fixture, item, QStringLiteral("x.stl"));
    QCOMPARE(call.context.width, 400);
    std::memset(call.context.frame_buffer, 1, std::size_t{400} * 300 * 8);
    QVERIFY(item->m_drawThread->m_frameBuffer.capacity() >= std::size_t{400} * 300 * 8);
}

void RenderThreadStartTest::threadIsNotStartedByConstruction()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(!item->m_drawThread->isRunning());
    QVERIFY(!item->m_drawThread->m_running);
    QVERIFY(!item->m_drawThread->m_drawing);
    QVERIFY(!item->m_drawThread->m_firstFrame);
    QVERIFY(item->m_drawThread->m_resultImage.isNull());
    QVERIFY(item->m_drawThread->m_item == item);
}

void RenderThreadStartTest::startDrawStoresTheSizeAndSwitchesDrawingOn()
{
    ItemFixture fixture;
    CDrawByOpenGL& thread = *fixture.createItem()->m_drawThread;
    QVERIFY(thread.startDraw(7, 9));
    QCOMPARE(thread.m_width, 7);
    QCOMPARE(thread.m_height, 9);
    QVERIFY(thread.m_drawing);
    thread.stopDraw();
    QVERIFY(!thread.m_drawing);
    QCOMPARE(thread.m_width, 7);
}

void RenderThreadStartTest::viewerIsReadyThreeHundredMillisecondsAfterItsFirstDraw()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    fixture.viewer.setScript(script);
    QVERIFY(startedCall(fixture, item, QStringLiteral("x.stl")).hasBlocks);
    const auto before = ScriptedViewer::Clock::now();
    fixture.viewer.allowFirstDraw();
    QVERIFY(waitFor([&] { return loadAcquire(item->m_viewerReady) == 1; }));
    QVERIFY(ScriptedViewer::Clock::now() - before >= std::chrono::milliseconds(300));
    // The viewer hears of nothing before that.
    QVERIFY(waitFor([&] { return fixture.viewer.callCount() > 0; }));
    QVERIFY(fixture.viewer.calls().front().time - before >= std::chrono::milliseconds(300));
}

void RenderThreadStartTest::withoutFirstDrawTheViewerNeverBecomesReady()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    fixture.viewer.setScript(script);
    QVERIFY(startedCall(fixture, item, QStringLiteral("x.stl")).hasBlocks);
    // Longer than the settling time: a thread that did not wait would be ready by then.
    QVERIFY(!waitFor([&] { return loadAcquire(item->m_viewerReady) != 0; }, 600));
    QVERIFY(item->m_drawThread->isRunning());
    item->forcedraw();
    QCOMPARE(fixture.viewer.callCount(), 0);
    QVERIFY(item->m_textureFiles.isEmpty());
}

void RenderThreadStartTest::sideFilesAreReadAfterTheFirstDrawAndBeforeReady()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_textureFiles = {QStringLiteral("kept.png")};
    item->m_textureDirs = {QStringLiteral("kept/")};
    ScriptedViewer::Script script;
    script.fileList = "a/b.png@a/b.png@@c.png";
    fixture.viewer.setScript(script);
    start(item, QStringLiteral("x.stl"));
    QVERIFY(waitFor([&] { return loadAcquire(item->m_viewerReady) == 1; }));
    QCOMPARE(item->m_textureFiles, (QVector<QString>{"kept.png", "b.png", "c.png"}));
    QCOMPARE(item->m_textureDirs, (QVector<QString>{"kept/", "a/", ""}));
}

void RenderThreadStartTest::unterminatedSideFileListIsReadToItsEnd()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    std::memset(item->m_context.app_path, 'z', sizeof item->m_context.app_path);
    ScriptedViewer::Script script;
    script.fileList = QByteArray(2048, 'n');
    script.terminatesFileList = false;
    fixture.viewer.setScript(script);
    start(item, QStringLiteral("x.stl"));
    QVERIFY(waitFor([&] { return loadAcquire(item->m_viewerReady) == 1; }));
    QCOMPARE(item->m_textureFiles, QVector<QString>{QString(2048, QLatin1Char('n'))});
}

void RenderThreadStartTest::cameraMatrixIsLoggedWithSixDecimalsAndTrailingCommas()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.sceneStatus = countingStatus();
    script.sceneStatus->camera_to_world[0] = 1e9;
    fixture.viewer.setScript(script);
    start(item, QStringLiteral("x.stl"));
    const auto matrixEntry = [&] { return fixture.logEntries().filter(QStringLiteral("[camera_matrix]")); };
    QVERIFY(waitFor([&] { return !matrixEntry().isEmpty(); }));
    QVERIFY(matrixEntry().first().startsWith(QStringLiteral("[camera_matrix]  1000000000.000000,0.500000,")));
    QVERIFY(matrixEntry().first().endsWith(QStringLiteral(",14.500000,\n")));
}

void RenderThreadStartTest::replacedViewerFunctionServesRunningItems()
{
    static int calls;
    calls = 0;
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(fixture.load(item));
    SetRunHandle([](int argc, const char**, void*) { calls += argc == 0 ? 1 : 1000; });
    const int before = fixture.viewer.callCount();
    item->forcedraw();
    SetRunHandle(&ScriptedViewer::run);
    QCOMPARE(calls, 1);
    QCOMPARE(fixture.viewer.callCount(), before);
}

OV3D_TEST_MAIN(RenderThreadStartTest)
#include "renderthreadstart_test.moc"
