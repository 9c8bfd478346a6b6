#include "src/render/backgroundkeying.h"
#include "src/render/handshake.h"
#include "tests/support/noticerecorder.h"
#include "tests/support/testmain.h"
#include "tests/unit/render/runtestbase.h"

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

} // namespace

class RenderThreadCollectTest : public RunTestBase
{
    Q_OBJECT

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

private:
    static constexpr bool kWithSky = true;
    static constexpr bool kWithoutSky = false;

    /// Loads the item, whose viewer draws this frame first.
    bool load(const QImage& firstFrame, bool sky = kWithoutSky)
    {
        m_item->m_displaySettings.enable_sky = sky;
        setFirstFrame(firstFrame);
        return m_fixture->load(m_item);
    }

    bool allTaken()
    {
        return waitFor([this] { return m_fixture->viewer.pendingFrames() == 0; });
    }

    [[nodiscard]] QImage result() const
    {
        const QMutexLocker lock(&m_item->m_drawThread->m_mutex);
        return m_item->m_drawThread->m_resultImage.copy();
    }

    [[nodiscard]] QImage ownFrame() const
    {
        const QMutexLocker lock(&m_item->m_drawThread->m_mutex);
        return m_item->m_image.copy();
    }
};

void RenderThreadCollectTest::framesExistWhenTheLoadReturns()
{
    QVERIFY(m_item->loadFromFile(m_fixture->writeFile(QStringLiteral("m.stl"))));
    QVERIFY(!result().isNull());
    QVERIFY(!ownFrame().isNull());
    QVERIFY(m_item->m_isLoaded);
}

void RenderThreadCollectTest::skyLeavesTheFrameUnchanged()
{
    QImage frame = solid(8, 4, kKey);
    frame.setPixel(3, 2, kGrey);
    QVERIFY(load(frame, kWithSky));
    QCOMPARE(result().format(), QImage::Format_ARGB32);
    QCOMPARE(result(), frame.convertToFormat(QImage::Format_ARGB32));
}

void RenderThreadCollectTest::withoutSkyTheKeyColourBecomesTransparent()
{
    QImage frame = solid(12, 3, kGrey);
    QPainter(&frame).fillRect(0, 0, 4, 3, QColor(kKey));
    QVERIFY(load(frame));
    QImage expected = frame.convertToFormat(QImage::Format_ARGB32);
    keyOutBackground(expected);
    QCOMPARE(qAlpha(expected.pixel(0, 0)), 0);
    QCOMPARE(qAlpha(expected.pixel(8, 1)), 255);
    QCOMPARE(result(), expected);
    QCOMPARE(ownFrame(), expected);
}

void RenderThreadCollectTest::skyIsReadLiveWhenAFrameIsPublished()
{
    QVERIFY(load(solid(8, 4, kKey)));
    QCOMPARE(qAlpha(result().pixel(0, 0)), 0);
    // Neither the item's block nor its copy of the flag decides.
    m_item->m_displaySettings.enable_sky = false;
    m_item->m_context.display_settings->enable_sky = true;
    m_fixture->viewer.send(solid(8, 4, kKey));
    QVERIFY(waitFor([&] { return qAlpha(result().pixel(0, 0)) == 255; }));
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
    QImage frame(width, 5, QImage::Format_RGB888);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < width; ++x)
            frame.setPixel(x, y, qRgb(x * 20, y * 20, x + y));
    }
    QVERIFY(load(frame, kWithSky));
    QCOMPARE(result(), frame.convertToFormat(QImage::Format_ARGB32));
}

void RenderThreadCollectTest::laterFramesReplaceTheResultAlone()
{
    QVERIFY(load(solid(8, 4, kGrey)));
    const QImage first = ownFrame();
    QCOMPARE(first, result());
    m_fixture->viewer.send(solid(12, 6, qRgb(1, 2, 3)));
    QVERIFY(waitFor([&] { return result().width() == 12; }));
    QCOMPARE(result().pixel(0, 0), qRgb(1, 2, 3));
    QCOMPARE(ownFrame(), first);
}

void RenderThreadCollectTest::anEarlierPictureOfTheItemIsKept()
{
    m_item->m_image = solid(3, 3, qRgb(9, 9, 9));
    setFirstFrame(solid(8, 4, kGrey));
    QVERIFY(m_fixture->load(m_item));
    QCOMPARE(ownFrame().size(), QSize(3, 3));
    QCOMPARE(result().size(), QSize(8, 4));
}

void RenderThreadCollectTest::publishedImageIsIndependentOfTheBuffer()
{
    QVERIFY(load(solid(8, 4, kGrey)));
    const QImage before = result();
    m_item->m_context.frame_buffer[0] = 7;
    m_item->m_context.frame_buffer[1] = 7;
    QCOMPARE(result(), before);
}

void RenderThreadCollectTest::takenFrameIsHandedBackToTheViewer()
{
    QVERIFY(load(solid(8, 4, kGrey)));
    QVERIFY(waitFor([&] { return loadAcquire(m_item->m_context.frame_width) == kNoFrame; }));
    m_fixture->viewer.send(solid(8, 4, kGrey));
    m_fixture->viewer.send(solid(4, 4, kGrey));
    QVERIFY(allTaken());
    QVERIFY(waitFor([&] { return result().width() == 4; }));
}

void RenderThreadCollectTest::framesAreTakenOnlyWhileDrawing()
{
    QVERIFY(load(solid(8, 4, kGrey)));
    QVERIFY(allTaken());
    m_item->m_drawThread->stopDraw();
    // A pass that has read the switch before may still take one frame.
    m_fixture->viewer.send(solid(12, 4, kGrey));
    m_fixture->viewer.send(solid(16, 4, kGrey));
    QVERIFY(!waitFor([&] { return result().width() == 16; }, 400));
    QVERIFY(m_fixture->viewer.pendingFrames() >= 1);
    m_item->m_drawThread->startDraw(1280, 960);
    QVERIFY(waitFor([&] { return result().width() == 16; }));
}

void RenderThreadCollectTest::publishingWaitsForTheMutex()
{
    QVERIFY(load(solid(8, 4, kGrey)));
    QVERIFY(allTaken());
    bool taken = true;
    {
        const QMutexLocker lock(&m_item->m_drawThread->m_mutex);
        m_fixture->viewer.send(solid(12, 4, kGrey));
        taken = waitFor([&] { return m_fixture->viewer.pendingFrames() == 0; }, 400);
    }
    QVERIFY(!taken);
    QVERIFY(waitFor([&] { return result().width() == 12; }));
}

void RenderThreadCollectTest::everyFrameIsNoticedOnTheRenderThreadAndSignalled()
{
    const NoticeRecorder recorder;
    int signalled = 0;
    QThread* signalThread = nullptr;
    connect(
        m_item->m_drawThread, &CDrawByOpenGL::updateImage, m_item,
        [&] {
            signalThread = QThread::currentThread();
            ++signalled;
        },
        Qt::DirectConnection);
    QVERIFY(m_fixture->load(m_item));
    QVERIFY(allTaken());
    for (int i = 0; i < 3; ++i)
        m_fixture->viewer.send(solid(8, 4, kGrey));
    QVERIFY(allTaken());
    QVERIFY(waitFor([&] { return recorder.fromOtherThreads().size() == 4; }));
    m_item->m_drawThread->stopRunning();
    ItemFixture::deliverPosted();
    QCOMPARE(recorder.fromOtherThreads().size(), 4);
    for (const auto& notice : recorder.fromOtherThreads()) {
        QCOMPARE(notice.code, 1002);
        QVERIFY(notice.text.isEmpty());
        QCOMPARE(notice.thread, recorder.fromOtherThreads().first().thread);
    }
    QCOMPARE(signalled, 4);
    QCOMPARE(signalThread, static_cast<QThread*>(m_item->m_drawThread));
    // The item's own notice comes once, from the GUI thread.
    QCOMPARE(recorder.fromThisThread().size(), 1);
}

void RenderThreadCollectTest::signalReachesTheItemOnTheGuiThread()
{
    QVERIFY(m_item->loadFromFile(m_fixture->writeFile(QStringLiteral("m.stl"))));
    // The GUI thread was busy loading, so nothing has arrived.
    QVERIFY(!m_item->m_hitPath);
    QVERIFY(waitFor([&] { return m_item->m_hitPath != nullptr; }));
    QVERIFY(m_item->m_firstFrameShown);
    // The default frame's block covers the item's middle; keying takes one pixel on each side.
    QVERIFY(m_item->shape().contains(QPointF(640, 480)));
    QVERIFY(!m_item->shape().contains(QPointF(100, 100)));
}

void RenderThreadCollectTest::redrawIsAskedForUntilTheFirstFrame()
{
    withholdFirstFrame();
    start(m_item);
    QVERIFY(waitFor([&] { return m_fixture->viewer.callCount() >= 3; }));
    for (const ScriptedViewer::Call& call : m_fixture->viewer.calls()) {
        QCOMPARE(call.context.op, std::int32_t{kOperationRedraw});
        QVERIFY(call.material.material_update);
        QVERIFY(!call.view.reset_camera);
    }
    QVERIFY(!loadAcquire(m_item->m_drawThread->m_firstFrame));
    QVERIFY(waitFor([&] { return m_fixture->logEntries().count("loop for first_draw sucess \n") >= 3; }));
    QVERIFY(!m_fixture->logEntries().contains("1 first_draw sucess \n"));

    m_fixture->viewer.send(solid(8, 4, kGrey));
    QVERIFY(waitFor([&] { return loadAcquire(m_item->m_drawThread->m_firstFrame); }));
    QCOMPARE(m_fixture->logEntries().count("1 first_draw sucess \n"), 1);
}

void RenderThreadCollectTest::redrawIsNotAskedForAfterTheFirstFrame()
{
    QVERIFY(load(solid(8, 4, kGrey)));
    const int calls = m_fixture->viewer.callCount();
    QVERIFY(calls >= 1);
    for (int i = 0; i < 3; ++i)
        m_fixture->viewer.send(solid(8, 4, kGrey));
    QVERIFY(allTaken());
    QCOMPARE(m_fixture->viewer.callCount(), calls);
    QCOMPARE(m_fixture->logEntries().count("1 first_draw sucess \n"), 1);
}

void RenderThreadCollectTest::passesAreAtLeast80MillisecondsApart()
{
    withholdFirstFrame();
    start(m_item);
    QVERIFY(waitFor([&] { return m_fixture->viewer.callCount() >= 4; }));
    const auto calls = m_fixture->viewer.calls();
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
    QVERIFY(load(solid(8, 4, kGrey)));
    QVERIFY(allTaken());
    ItemFixture::deliverPosted();
    const NoticeRecorder recorder;
    m_fixture->viewer.sendSize(width, height);
    QVERIFY(allTaken());
    QCOMPARE(result().size(), QSize(8, 4));
    // The next good frame is the only one that is noticed.
    m_fixture->viewer.send(solid(12, 4, kGrey));
    QVERIFY(waitFor([&] { return result().width() == 12; }));
    m_item->m_drawThread->stopRunning();
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
    withholdFirstFrame();
    bool isSent = false;
    m_fixture->viewer.setOnCall([&](ViewContext&) {
        if (!std::exchange(isSent, true))
            m_fixture->viewer.sendSize(width, height);
    });
    QVERIFY(m_fixture->load(m_item));
    m_fixture->viewer.setOnCall(nullptr);
    QVERIFY(allTaken());
    QVERIFY(result().isNull());
    QVERIFY(ownFrame().isNull());
    QCOMPARE(m_fixture->logEntries().count("1 first_draw sucess \n"), 1);
    m_fixture->viewer.send(solid(8, 4, kGrey));
    QVERIFY(waitFor([&] { return result().width() == 8; }));
    QCOMPARE(ownFrame().width(), 8);
}

void RenderThreadCollectTest::frameLargerThanTheRunBeganWithIsTaken()
{
    m_item->setSize(QSizeF(100, 100), false, false);
    QVERIFY(m_fixture->load(m_item));
    // More than the eight bytes a pixel that the run began with.
    m_fixture->viewer.send(solid(1000, 1000, kGrey));
    QVERIFY(waitFor([&] { return result().width() == 1000; }));
    QCOMPARE(result().pixel(999, 999), kGrey);
}

void RenderThreadCollectTest::secondLoadOfALoadedItemKeepsTheOldRun()
{
    QVERIFY(load(solid(8, 4, kGrey)));
    const QString second = m_fixture->writeFile(QStringLiteral("second.stl"));
    QVERIFY(m_item->loadFromFile(second));
    QCOMPARE(m_fixture->viewer.starts().size(), std::size_t{1});
    QCOMPARE(m_item->m_modelPath, second);
    QCOMPARE(QByteArray(m_item->m_context.model_path), (m_fixture->folder() + "model.stl").toLocal8Bit());
    QCOMPARE(result().size(), QSize(8, 4));
}

OV3D_TEST_MAIN(RenderThreadCollectTest)
#include "renderthreadcollect_test.moc"
