#include "src/plugin/ov3dobject.h"
#include "src/render/backgroundkeying.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"
#include "tests/support/itemfixture.h"
#include "tests/support/noticerecorder.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QMutexLocker>
#include <QPainter>

namespace {

const QRgb kKey = qRgb(92, 238, 20);
const QRgb kGrey = qRgb(100, 110, 120);

QImage solid(int width, int height, QRgb colour)
{
    QImage image(width, height, QImage::Format_RGB888);
    image.fill(QColor(colour));
    return image;
}

QImage resultOf(COv3DObject* item)
{
    const QMutexLocker lock(&item->m_drawThread->m_mutex);
    return item->m_drawThread->m_resultImage.copy();
}

QImage ownFrameOf(COv3DObject* item)
{
    const QMutexLocker lock(&item->m_drawThread->m_mutex);
    return item->m_image.copy();
}

void start(COv3DObject* item)
{
    item->m_drawThread->m_modelPath = QStringLiteral("x.stl");
    item->m_drawThread->startRunning();
    item->m_drawThread->startDraw(1280, 960);
}

} // namespace

class RenderThreadCollectTest : public TestBase
{
    Q_OBJECT

private:
    /// Loads an item whose viewer draws this frame first.
    static COv3DObject* loaded(ItemFixture& fixture, const QImage& firstFrame, bool sky)
    {
        COv3DObject* item = fixture.createItem();
        item->m_displaySettings.enable_sky = sky;
        ScriptedViewer::Script script;
        script.firstFrame = firstFrame;
        fixture.viewer.setScript(script);
        return fixture.load(item) ? item : nullptr;
    }

    static bool allTaken(ItemFixture& fixture)
    {
        return waitFor([&] { return fixture.viewer.pendingFrames() == 0; });
    }

private Q_SLOTS:
    void framesExistWhenTheLoadReturns();
    void skyLeavesTheFrameUnchanged();
    void withoutSkyTheKeyColourBecomesTransparent();
    void skyIsReadLiveWhenAFrameIsPublished();
    void rowsArePaddedToFourBytes_data();
    void rowsArePaddedToFourBytes();
    void laterFramesReplaceTheResultAlone();
    void anEarlierPictureOfTheItemIsKept();
    void publishedImageIsIndependentOfTheBuffer();
    void takenFrameIsHandedBackToTheViewer();
    void framesAreTakenOnlyWhileDrawing();
    void publishingWaitsForTheMutex();
    void everyFrameIsNoticedOnTheRenderThreadAndSignalled();
    void signalReachesTheItemOnTheGuiThread();
    void redrawIsAskedForUntilTheFirstFrame();
    void redrawIsNotAskedForAfterTheFirstFrame();
    void passesAreAtLeast80MillisecondsApart();

    void framesThatCannotBeAreDropped_data();
    void framesThatCannotBeAreDropped();
    void unusableFirstFrameStillEndsTheLoad_data();
    void unusableFirstFrameStillEndsTheLoad();
    void frameLargerThanTheRunBeganWithIsTaken();
    void secondLoadOfALoadedItemKeepsTheOldRun();
};

void RenderThreadCollectTest::framesExistWhenTheLoadReturns()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(item->loadFromFile(fixture.writeFile(QStringLiteral("m.stl"))));
    QVERIFY(!resultOf(item).isNull());
    QVERIFY(!ownFrameOf(item).isNull());
    QVERIFY(item->m_isLoaded);
}

void RenderThreadCollectTest::skyLeavesTheFrameUnchanged()
{
    ItemFixture fixture;
    QImage frame = solid(8, 4, kKey);
    frame.setPixel(3, 2, kGrey);
    COv3DObject* item = loaded(fixture, frame, true);
    QVERIFY(item);
    const QImage result = resultOf(item);
    QCOMPARE(result.format(), QImage::Format_ARGB32);
    QCOMPARE(result, frame.convertToFormat(QImage::Format_ARGB32));
}

void RenderThreadCollectTest::withoutSkyTheKeyColourBecomesTransparent()
{
    ItemFixture fixture;
    QImage frame = solid(12, 3, kGrey);
    QPainter(&frame).fillRect(0, 0, 4, 3, QColor(kKey));
    COv3DObject* item = loaded(fixture, frame, false);
    QVERIFY(item);
    QImage expected = frame.convertToFormat(QImage::Format_ARGB32);
    keyOutBackground(expected);
    QCOMPARE(qAlpha(expected.pixel(0, 0)), 0);
    QCOMPARE(qAlpha(expected.pixel(8, 1)), 255);
    QCOMPARE(resultOf(item), expected);
    QCOMPARE(ownFrameOf(item), expected);
}

void RenderThreadCollectTest::skyIsReadLiveWhenAFrameIsPublished()
{
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kKey), false);
    QVERIFY(item);
    QCOMPARE(qAlpha(resultOf(item).pixel(0, 0)), 0);
    // Neither the item's block nor its copy of the flag decides.
    item->m_displaySettings.enable_sky = false;
    item->m_context.display_settings->enable_sky = true;
    fixture.viewer.send(solid(8, 4, kKey));
    QVERIFY(waitFor([&] { return qAlpha(resultOf(item).pixel(0, 0)) == 255; }));
}

void RenderThreadCollectTest::rowsArePaddedToFourBytes_data()
{
    QTest::addColumn<int>("width");
    for (int width = 1; width <= 8; ++width)
        QTest::newRow(qPrintable(QStringLiteral("width %1").arg(width))) << width;
}

void RenderThreadCollectTest::rowsArePaddedToFourBytes()
{
    QFETCH(int, width);
    ItemFixture fixture;
    QImage frame(width, 5, QImage::Format_RGB888);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < width; ++x)
            frame.setPixel(x, y, qRgb(x * 20, y * 20, x + y));
    }
    COv3DObject* item = loaded(fixture, frame, true);
    QVERIFY(item);
    QCOMPARE(resultOf(item), frame.convertToFormat(QImage::Format_ARGB32));
}

void RenderThreadCollectTest::laterFramesReplaceTheResultAlone()
{
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kGrey), false);
    QVERIFY(item);
    const QImage first = ownFrameOf(item);
    QCOMPARE(first, resultOf(item));
    fixture.viewer.send(solid(12, 6, qRgb(1, 2, 3)));
    QVERIFY(waitFor([&] { return resultOf(item).width() == 12; }));
    QCOMPARE(resultOf(item).pixel(0, 0), qRgb(1, 2, 3));
    QCOMPARE(ownFrameOf(item), first);
}

void RenderThreadCollectTest::anEarlierPictureOfTheItemIsKept()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_image = solid(3, 3, qRgb(9, 9, 9));
    ScriptedViewer::Script script;
    script.firstFrame = solid(8, 4, kGrey);
    fixture.viewer.setScript(script);
    QVERIFY(fixture.load(item));
    QCOMPARE(ownFrameOf(item).size(), QSize(3, 3));
    QCOMPARE(resultOf(item).size(), QSize(8, 4));
}

void RenderThreadCollectTest::publishedImageIsIndependentOfTheBuffer()
{
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kGrey), false);
    QVERIFY(item);
    const QImage before = resultOf(item);
    item->m_context.frame_buffer[0] = 7;
    item->m_context.frame_buffer[1] = 7;
    QCOMPARE(resultOf(item), before);
}

void RenderThreadCollectTest::takenFrameIsHandedBackToTheViewer()
{
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kGrey), false);
    QVERIFY(item);
    QVERIFY(waitFor([&] { return loadAcquire(item->m_context.frame_width) == kNoFrame; }));
    fixture.viewer.send(solid(8, 4, kGrey));
    fixture.viewer.send(solid(4, 4, kGrey));
    QVERIFY(allTaken(fixture));
    QVERIFY(waitFor([&] { return resultOf(item).width() == 4; }));
}

void RenderThreadCollectTest::framesAreTakenOnlyWhileDrawing()
{
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kGrey), false);
    QVERIFY(item);
    QVERIFY(allTaken(fixture));
    item->m_drawThread->stopDraw();
    // A pass that has read the switch before may still take one frame.
    fixture.viewer.send(solid(12, 4, kGrey));
    fixture.viewer.send(solid(16, 4, kGrey));
    QVERIFY(!waitFor([&] { return resultOf(item).width() == 16; }, 400));
    QVERIFY(fixture.viewer.pendingFrames() >= 1);
    item->m_drawThread->startDraw(1280, 960);
    QVERIFY(waitFor([&] { return resultOf(item).width() == 16; }));
}

void RenderThreadCollectTest::publishingWaitsForTheMutex()
{
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kGrey), false);
    QVERIFY(item);
    QVERIFY(allTaken(fixture));
    bool taken = true;
    {
        const QMutexLocker lock(&item->m_drawThread->m_mutex);
        fixture.viewer.send(solid(12, 4, kGrey));
        taken = waitFor([&] { return fixture.viewer.pendingFrames() == 0; }, 400);
    }
    QVERIFY(!taken);
    QVERIFY(waitFor([&] { return resultOf(item).width() == 12; }));
}

void RenderThreadCollectTest::everyFrameIsNoticedOnTheRenderThreadAndSignalled()
{
    ItemFixture fixture;
    const NoticeRecorder recorder;
    COv3DObject* item = fixture.createItem();
    int signalled = 0;
    QThread* signalThread = nullptr;
    connect(
        item->m_drawThread, &CDrawByOpenGL::updateImage, item,
        [&] {
            signalThread = QThread::currentThread();
            ++signalled;
        },
        Qt::DirectConnection);
    QVERIFY(fixture.load(item));
    QVERIFY(allTaken(fixture));
    for (int i = 0; i < 3; ++i)
        fixture.viewer.send(solid(8, 4, kGrey));
    QVERIFY(allTaken(fixture));
    QVERIFY(waitFor([&] { return recorder.fromOtherThreads().size() == 4; }));
    item->m_drawThread->stopRunning();
    ItemFixture::deliverPosted();
    QCOMPARE(recorder.fromOtherThreads().size(), 4);
    for (const auto& notice : recorder.fromOtherThreads()) {
        QCOMPARE(notice.code, 1002);
        QVERIFY(notice.text.isEmpty());
        QCOMPARE(notice.thread, recorder.fromOtherThreads().first().thread);
    }
    QCOMPARE(signalled, 4);
    QCOMPARE(signalThread, static_cast<QThread*>(item->m_drawThread));
    // The item's own notice comes once, from the GUI thread.
    QCOMPARE(recorder.fromThisThread().size(), 1);
}

void RenderThreadCollectTest::signalReachesTheItemOnTheGuiThread()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QVERIFY(item->loadFromFile(fixture.writeFile(QStringLiteral("m.stl"))));
    // The GUI thread was busy loading, so nothing has arrived.
    QVERIFY(!item->m_hitPath);
    QVERIFY(waitFor([&] { return item->m_hitPath != nullptr; }));
    QVERIFY(item->m_firstFrameShown);
    // The default frame's block covers the item's middle; keying takes one pixel on each side.
    QVERIFY(item->shape().contains(QPointF(640, 480)));
    QVERIFY(!item->shape().contains(QPointF(100, 100)));
}

void RenderThreadCollectTest::redrawIsAskedForUntilTheFirstFrame()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.sendsFirstFrame = false;
    fixture.viewer.setScript(script);
    start(item);
    QVERIFY(waitFor([&] { return fixture.viewer.callCount() >= 3; }));
    for (const ScriptedViewer::Call& call : fixture.viewer.calls()) {
        QCOMPARE(call.context.op, std::int32_t{kOperationRedraw});
        QVERIFY(call.material.material_update);
        QVERIFY(!call.view.reset_camera);
    }
    QVERIFY(!loadAcquire(item->m_drawThread->m_firstFrame));
    QVERIFY(waitFor([&] { return fixture.logEntries().count("loop for first_draw sucess \n") >= 3; }));
    QVERIFY(!fixture.logEntries().contains("1 first_draw sucess \n"));

    fixture.viewer.send(solid(8, 4, kGrey));
    QVERIFY(waitFor([&] { return loadAcquire(item->m_drawThread->m_firstFrame); }));
    QCOMPARE(fixture.logEntries().count("1 first_draw sucess \n"), 1);
}

void RenderThreadCollectTest::redrawIsNotAskedForAfterTheFirstFrame()
{
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kGrey), false);
    QVERIFY(item);
    const int calls = fixture.viewer.callCount();
    QVERIFY(calls >= 1);
    for (int i = 0; i < 3; ++i)
        fixture.viewer.send(solid(8, 4, kGrey));
    QVERIFY(allTaken(fixture));
    QCOMPARE(fixture.viewer.callCount(), calls);
    QCOMPARE(fixture.logEntries().count("1 first_draw sucess \n"), 1);
}

void RenderThreadCollectTest::passesAreAtLeast80MillisecondsApart()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.sendsFirstFrame = false;
    fixture.viewer.setScript(script);
    start(item);
    QVERIFY(waitFor([&] { return fixture.viewer.callCount() >= 4; }));
    const auto calls = fixture.viewer.calls();
    for (std::size_t i = 1; i < calls.size(); ++i)
        QVERIFY(calls[i].time - calls[i - 1].time >= std::chrono::milliseconds(80));
}

void RenderThreadCollectTest::framesThatCannotBeAreDropped_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("zero width") << 0 << 10;
    QTest::newRow("zero height") << 10 << 0;
    QTest::newRow("negative width") << -2 << 10;
    QTest::newRow("negative height") << 10 << -10;
    QTest::newRow("both negative") << -10 << -10;
    QTest::newRow("beyond the buffer") << 20000 << 20000;
    QTest::newRow("largest numbers") << 2147483647 << 2147483647;
}

void RenderThreadCollectTest::framesThatCannotBeAreDropped()
{
    QFETCH(int, width);
    QFETCH(int, height);
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kGrey), false);
    QVERIFY(item);
    QVERIFY(allTaken(fixture));
    ItemFixture::deliverPosted();
    const NoticeRecorder recorder;
    fixture.viewer.sendSize(width, height);
    QVERIFY(allTaken(fixture));
    QCOMPARE(resultOf(item).size(), QSize(8, 4));
    // The next good frame is the only one that is noticed.
    fixture.viewer.send(solid(12, 4, kGrey));
    QVERIFY(waitFor([&] { return resultOf(item).width() == 12; }));
    item->m_drawThread->stopRunning();
    ItemFixture::deliverPosted();
    QCOMPARE(recorder.fromOtherThreads().size(), 1);
}

void RenderThreadCollectTest::unusableFirstFrameStillEndsTheLoad_data()
{
    framesThatCannotBeAreDropped_data();
}

void RenderThreadCollectTest::unusableFirstFrameStillEndsTheLoad()
{
    QFETCH(int, width);
    QFETCH(int, height);
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    ScriptedViewer::Script script;
    script.sendsFirstFrame = false;
    fixture.viewer.setScript(script);
    bool isSent = false;
    fixture.viewer.setOnCall([&](ViewContext&) {
        if (!std::exchange(isSent, true))
            fixture.viewer.sendSize(width, height);
    });
    QVERIFY(fixture.load(item));
    fixture.viewer.setOnCall(nullptr);
    QVERIFY(allTaken(fixture));
    QVERIFY(resultOf(item).isNull());
    QVERIFY(ownFrameOf(item).isNull());
    QCOMPARE(fixture.logEntries().count("1 first_draw sucess \n"), 1);
    fixture.viewer.send(solid(8, 4, kGrey));
    QVERIFY(waitFor([&] { return resultOf(item).width() == 8; }));
    QCOMPARE(ownFrameOf(item).width(), 8);
}

void RenderThreadCollectTest::frameLargerThanTheRunBeganWithIsTaken()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->setSize(QSizeF(100, 100), false, false);
    QVERIFY(fixture.load(item));
    // More than the eight bytes a pixel that the run began with.
    fixture.viewer.send(solid(1000, 1000, kGrey));
    QVERIFY(waitFor([&] { return resultOf(item).width() == 1000; }));
    QCOMPARE(resultOf(item).pixel(999, 999), kGrey);
}

void RenderThreadCollectTest::secondLoadOfALoadedItemKeepsTheOldRun()
{
    ItemFixture fixture;
    COv3DObject* item = loaded(fixture, solid(8, 4, kGrey), false);
    QVERIFY(item);
    const QString second = fixture.writeFile(QStringLiteral("second.stl"));
    QVERIFY(item->loadFromFile(second));
    QCOMPARE(fixture.viewer.starts().size(), std::size_t{1});
    QCOMPARE(item->m_modelPath, second);
    QCOMPARE(QByteArray(item->m_context.model_path), (fixture.folder() + "model.stl").toLocal8Bit());
    QCOMPARE(resultOf(item).size(), QSize(8, 4));
}

OV3D_TEST_MAIN(RenderThreadCollectTest)
#include "renderthreadcollect_test.moc"
