#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/handshake.h"
#include "src/render/progress.h"
#include "tests/support/noticerecorder.h"
#include "tests/support/testmain.h"
#include "tests/unit/render/runtestbase.h"

#include <QRegularExpression>

#include <algorithm>
#include <cstring>

namespace {

OV3DOBJECT::SceneStatus countingStatus()
{
    OV3DOBJECT::SceneStatus status{};
    for (int i = 0; i < 16; ++i)
        status.camera_to_world[i] = i - 0.5;
    return status;
}

} // namespace

class RenderThreadStartTest : public RunTestBase
{
    Q_OBJECT

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

private:
    /// Starts a run and waits until the viewer has been called. @return that call.
    ScriptedViewer::Call startedCall(const QString& modelPath = QStringLiteral("x.stl"))
    {
        start(m_item, modelPath);
        if (!waitFor([this] { return !m_fixture->viewer.starts().empty(); }))
            return {};
        return m_fixture->viewer.starts().front();
    }
};

void RenderThreadStartTest::successfulLoadLogsItsStepsInOrder()
{
    ScriptedViewer::Script script;
    script.progress = {10, 100};
    script.sceneStatus = countingStatus();
    m_fixture->viewer.setScript(script);
    QVERIFY(m_fixture->load(m_item));

    QStringList entries = m_fixture->logEntries();
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
        m_fixture->folder() + QStringLiteral("model.stl begin load file \n"),
        QStringLiteral("path copy to open3d  ") + m_fixture->folder() + QLatin1Char('\n'),
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
    const NoticeRecorder recorder;
    QVERIFY(m_fixture->load(m_item));
    const auto starts = m_fixture->viewer.starts();
    QCOMPARE(starts.size(), std::size_t{1});
    QCOMPARE(starts[0].argc, 1);
    QCOMPARE(starts[0].firstArgument, QByteArray("./"));
    QCOMPARE(starts[0].contextAddress, static_cast<void*>(&m_item->m_context));
    QVERIFY(starts[0].thread != reinterpret_cast<quintptr>(QThread::currentThreadId()));
    QVERIFY(waitFor([&] { return !recorder.fromOtherThreads().isEmpty(); }));
    QVERIFY(starts[0].thread != recorder.fromOtherThreads().first().thread);
}

void RenderThreadStartTest::startRecordIsComplete()
{
    m_item->m_context.frame_width = 5;
    m_item->m_context.first_draw = 1;
    std::memset(m_item->m_context.model_path, 'q', sizeof m_item->m_context.model_path);
    withholdFirstDraw();
    const ScriptedViewer::Call call = startedCall(QStringLiteral("/models/chair.obj"));
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
    const CDrawByOpenGL& thread = *m_item->m_drawThread;
    QVERIFY(context.view_settings == &thread.m_viewSettings);
    QVERIFY(context.display_settings == &thread.m_displaySettings);
    QVERIFY(context.material_settings == &thread.m_materialSettings);
    QVERIFY(context.lighting_settings == &thread.m_lightingSettings);
    QCOMPARE(reinterpret_cast<char*>(context.camera_settings) - reinterpret_cast<char*>(&m_item->m_params),
             std::ptrdiff_t{264});
    QVERIFY(reinterpret_cast<void*>(context.progress_callback) == reinterpret_cast<void*>(&::updateProcess));
}

void RenderThreadStartTest::cameraPositionAloneIsCopiedIntoTheCameraBlock()
{
    m_item->m_cameraSettings = CameraSettings{9, {1, 2, 3, 4}, {1.5, -2.5, 3.5}};
    const ScriptedViewer::Call call = startedCall();
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
    m_item->m_viewSettings = ViewSettings{true, 3};
    m_item->m_displaySettings = DisplaySettings{true, true, true, {0.1f, 0.2f, 0.3f}, 7};
    m_item->m_materialSettings = MaterialSettings{2, 4, {0.4f, 0.5f, 0.6f}, false, 11, true, true};
    LightingSettings& lighting = m_item->m_lightingSettings;
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
    const ScriptedViewer::Call call = startedCall();

    QVERIFY(call.hasBlocks);
    QVERIFY(call.view.reset_camera);
    QCOMPARE(call.view.view_type, 3);
    QVERIFY(call.display.enable_sky && call.display.enable_axis && call.display.enable_ground);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(call.display.bg_color[i], m_item->m_displaySettings.bg_color[i]);
        QCOMPARE(call.material.material_color[i], m_item->m_materialSettings.material_color[i]);
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
    m_item->m_viewSettingsLoaded = true;
    m_item->m_materialSettings.material_update = true;
    withholdFirstDraw();
    const ScriptedViewer::Call call = startedCall();
    QVERIFY(call.hasBlocks);
    QVERIFY(!call.material.material_update);
    QVERIFY(!m_item->m_viewSettingsLoaded);
    QVERIFY(m_item->m_materialSettings.material_update);
}

void RenderThreadStartTest::displayFlagsAreCopiedIntoTheItem()
{
    m_item->m_displaySettings.enable_sky = true;
    m_item->m_displaySettings.enable_ground = true;
    withholdFirstDraw();
    QVERIFY(startedCall().hasBlocks);
    QVERIFY(m_item->m_enableSky);
    QVERIFY(!m_item->m_enableAxis);
    QVERIFY(m_item->m_enableGround);
}

void RenderThreadStartTest::everyRunHasASerialOfItsOwn()
{
    g_object_id = 40;
    COv3DObject* first = m_fixture->createItem();
    COv3DObject* second = m_fixture->createItem();
    QVERIFY(m_fixture->load(first));
    QVERIFY(m_fixture->load(second));
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
    const ScriptedViewer::Call call = startedCall(QString(length, QLatin1Char('p')));
    const int copied = std::min(length, 256);
    QCOMPARE(QByteArray(call.context.model_path, copied), QByteArray(copied, 'p'));
    QCOMPARE(call.context.mouse_type, 0);
    if (copied < 256)
        QCOMPARE(int{call.context.model_path[copied]}, 0);
}

void RenderThreadStartTest::frameBufferHoldsEightBytesAPixel()
{
    m_item->setSize(QSizeF(400, 300), false, false);
    withholdFirstDraw();
    const ScriptedViewer::Call call = startedCall();
    QCOMPARE(call.context.width, 400);
    std::memset(call.context.frame_buffer, 1, std::size_t{400} * 300 * 8);
    QVERIFY(m_item->m_drawThread->m_frameBuffer.capacity() >= std::size_t{400} * 300 * 8);
}

void RenderThreadStartTest::threadIsNotStartedByConstruction()
{
    QVERIFY(!m_item->m_drawThread->isRunning());
    QVERIFY(!m_item->m_drawThread->m_running);
    QVERIFY(!m_item->m_drawThread->m_drawing);
    QVERIFY(!m_item->m_drawThread->m_firstFrame);
    QVERIFY(m_item->m_drawThread->m_resultImage.isNull());
    QVERIFY(m_item->m_drawThread->m_item == m_item);
}

void RenderThreadStartTest::startDrawStoresTheSizeAndSwitchesDrawingOn()
{
    CDrawByOpenGL& thread = *m_fixture->createItem()->m_drawThread;
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
    withholdFirstDraw();
    QVERIFY(startedCall().hasBlocks);
    const auto before = ScriptedViewer::Clock::now();
    m_fixture->viewer.allowFirstDraw();
    QVERIFY(waitFor([&] { return loadAcquire(m_item->m_viewerReady) == 1; }));
    QVERIFY(ScriptedViewer::Clock::now() - before >= std::chrono::milliseconds(300));
    // The viewer hears of nothing before that.
    QVERIFY(waitFor([&] { return m_fixture->viewer.callCount() > 0; }));
    QVERIFY(m_fixture->viewer.calls().front().time - before >= std::chrono::milliseconds(300));
}

void RenderThreadStartTest::withoutFirstDrawTheViewerNeverBecomesReady()
{
    withholdFirstDraw();
    QVERIFY(startedCall().hasBlocks);
    // Longer than the settling time: a thread that did not wait would be ready by then.
    QVERIFY(!waitFor([&] { return loadAcquire(m_item->m_viewerReady) != 0; }, 600));
    QVERIFY(m_item->m_drawThread->isRunning());
    m_item->forcedraw();
    QCOMPARE(m_fixture->viewer.callCount(), 0);
    QVERIFY(m_item->m_textureFiles.isEmpty());
}

void RenderThreadStartTest::sideFilesAreReadAfterTheFirstDrawAndBeforeReady()
{
    m_item->m_textureFiles = {QStringLiteral("kept.png")};
    m_item->m_textureDirs = {QStringLiteral("kept/")};
    ScriptedViewer::Script script;
    script.fileList = "a/b.png@a/b.png@@c.png";
    m_fixture->viewer.setScript(script);
    start(m_item);
    QVERIFY(waitFor([&] { return loadAcquire(m_item->m_viewerReady) == 1; }));
    QCOMPARE(m_item->m_textureFiles, (QVector<QString>{"kept.png", "b.png", "c.png"}));
    QCOMPARE(m_item->m_textureDirs, (QVector<QString>{"kept/", "a/", ""}));
}

void RenderThreadStartTest::unterminatedSideFileListIsReadToItsEnd()
{
    std::memset(m_item->m_context.app_path, 'z', sizeof m_item->m_context.app_path);
    ScriptedViewer::Script script;
    script.fileList = QByteArray(2048, 'n');
    script.terminatesFileList = false;
    m_fixture->viewer.setScript(script);
    start(m_item);
    QVERIFY(waitFor([&] { return loadAcquire(m_item->m_viewerReady) == 1; }));
    QCOMPARE(m_item->m_textureFiles, QVector<QString>{QString(2048, QLatin1Char('n'))});
}

void RenderThreadStartTest::cameraMatrixIsLoggedWithSixDecimalsAndTrailingCommas()
{
    ScriptedViewer::Script script;
    script.sceneStatus = countingStatus();
    script.sceneStatus->camera_to_world[0] = 1e9;
    m_fixture->viewer.setScript(script);
    start(m_item);
    const auto matrixEntry = [&] { return m_fixture->logEntries().filter(QStringLiteral("[camera_matrix]")); };
    QVERIFY(waitFor([&] { return !matrixEntry().isEmpty(); }));
    QVERIFY(matrixEntry().first().startsWith(QStringLiteral("[camera_matrix]  1000000000.000000,0.500000,")));
    QVERIFY(matrixEntry().first().endsWith(QStringLiteral(",14.500000,\n")));
}

void RenderThreadStartTest::replacedViewerFunctionServesRunningItems()
{
    static int calls;
    calls = 0;
    QVERIFY(m_fixture->load(m_item));
    SetRunHandle([](int argc, const char**, void*) { calls += argc == 0 ? 1 : 1000; });
    const int before = m_fixture->viewer.callCount();
    m_item->forcedraw();
    SetRunHandle(&ScriptedViewer::run);
    QCOMPARE(calls, 1);
    QCOMPARE(m_fixture->viewer.callCount(), before);
}

OV3D_TEST_MAIN(RenderThreadStartTest)
#include "renderthreadstart_test.moc"
