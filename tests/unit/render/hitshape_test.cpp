#include "src/render/drawbyopengl.h"
#include "tests/support/noticerecorder.h"
#include "tests/support/singleitemtestbase.h"
#include "tests/support/testmain.h"

#include <QGraphicsScene>
#include <QPainter>

namespace {

QImage transparentImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    return image;
}

QImage blockImage(int width, int height, const QRect& block)
{
    QImage image = transparentImage(width, height);
    QPainter(&image).fillRect(block, Qt::red);
    return image;
}

} // namespace

class HitShapeTest : public SingleItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void shapeIsTheBasesUntilTheFirstFrame();
    void nullFrameYieldsAnEmptyShapeAndOneNotice();
    void transparentFrameYieldsAnEmptyShape();
    void opaquePixelsAreScaledToTheItem();
    void alphaOneCanBeHitAndAlphaZeroCannot();
    void scaleFactorsAreNarrowedToFloat();
    void everyRectangleIsPartOfAWindingPath();
    void largeFramesAreReducedBeforeTheyAreAnalysed();
    void shapeIsACopy();
    void hostGetsTheSameShapeForItsHandles();
    void framesDuringADragLeaveTheShapeAlone();
    void firstFrameDuringADragSendsTheNoticeAndNoShape();
    void noticeIsSentOncePerItem();
    void onlyPaintingBringsALaterFrameIntoTheShape();
    void everyFrameRepaintsAlsoDuringADrag();

private:
    QGraphicsScene m_scene; ///< outlives the item, which leaves it when it is released
};

void HitShapeTest::shapeIsTheBasesUntilTheFirstFrame()
{
    QVERIFY(!m_item->m_hitPath);
    QCOMPARE(m_item->shape().boundingRect(), QRectF(0, 0, 1280, 960));
}

void HitShapeTest::nullFrameYieldsAnEmptyShapeAndOneNotice()
{
    const NoticeRecorder recorder;
    m_item->doUpdateImage();
    ItemFixture::deliverPosted();
    QVERIFY(m_item->m_hitPath);
    QVERIFY(m_item->shape().isEmpty());
    QCOMPARE(recorder.notices.size(), 1);
}

void HitShapeTest::transparentFrameYieldsAnEmptyShape()
{
    m_scene.addItem(m_item);
    QCOMPARE(m_scene.items(QPointF(100, 100)).size(), 1);
    m_item->m_image = transparentImage(64, 48);
    m_item->doUpdateImage();
    QVERIFY(m_item->m_hitPath);
    QVERIFY(m_item->shape().isEmpty());
    QCOMPARE(m_scene.items(QPointF(100, 100)).size(), 0);
}

void HitShapeTest::opaquePixelsAreScaledToTheItem()
{
    m_item->setSize(QSizeF(400, 300), false, false);
    m_item->m_image = blockImage(40, 30, QRect(10, 5, 3, 4));
    m_item->doUpdateImage();
    QPainterPath expected;
    expected.addRect(100, 50, 30, 40);
    QCOMPARE(m_item->shape().boundingRect(), expected.boundingRect());
    QVERIFY(m_item->shape().contains(QPointF(129, 89)));
    QVERIFY(!m_item->shape().contains(QPointF(131, 89)));
}

void HitShapeTest::alphaOneCanBeHitAndAlphaZeroCannot()
{
    m_item->setSize(QSizeF(4, 1), false, false);
    QImage image = transparentImage(4, 1);
    image.setPixel(1, 0, qRgba(255, 255, 255, 1));
    image.setPixel(3, 0, qRgba(255, 255, 255, 255));
    m_item->m_image = image;
    m_item->doUpdateImage();
    QVERIFY(!m_item->shape().contains(QPointF(0.5, 0.5)));
    QVERIFY(m_item->shape().contains(QPointF(1.5, 0.5)));
    QVERIFY(!m_item->shape().contains(QPointF(2.5, 0.5)));
    QVERIFY(m_item->shape().contains(QPointF(3.5, 0.5)));
}

void HitShapeTest::scaleFactorsAreNarrowedToFloat()
{
    m_item->setSize(QSizeF(100, 70), false, false);
    m_item->m_image = blockImage(30, 30, QRect(7, 11, 13, 17));
    m_item->doUpdateImage();
    const auto scaleX = static_cast<float>(100.0 / 30.0);
    const auto scaleY = static_cast<float>(70.0 / 30.0);
    const QRectF bounds = m_item->shape().boundingRect();
    QVERIFY(static_cast<double>(7.0f * scaleX) != 7.0 * (100.0 / 30.0));
    QCOMPARE(bounds.left(), static_cast<double>(7.0f * scaleX));
    QCOMPARE(bounds.top(), static_cast<double>(11.0f * scaleY));
    // Added as rectangles: the far corner is the sum in double.
    QCOMPARE(bounds.right(), static_cast<double>(7.0f * scaleX) + static_cast<double>(13.0f * scaleX));
    QCOMPARE(bounds.bottom(), static_cast<double>(11.0f * scaleY) + static_cast<double>(17.0f * scaleY));
}

void HitShapeTest::everyRectangleIsPartOfAWindingPath()
{
    m_item->setSize(QSizeF(40, 40), false, false);
    QImage image = blockImage(10, 10, QRect(0, 0, 2, 2));
    QPainter(&image).fillRect(6, 6, 2, 2, Qt::red);
    m_item->m_image = image;
    m_item->doUpdateImage();
    const QPainterPath shape = m_item->shape();
    QCOMPARE(shape.fillRule(), Qt::WindingFill);
    QCOMPARE(shape.elementCount(), 10);
    QVERIFY(shape.contains(QPointF(4, 4)));
    QVERIFY(shape.contains(QPointF(28, 28)));
    QVERIFY(!shape.contains(QPointF(16, 16)));
}

void HitShapeTest::largeFramesAreReducedBeforeTheyAreAnalysed()
{
    m_item->setSize(QSizeF(1024, 1024), false, false);
    // A comb of 512 teeth would give as many rectangles; a 256 pixel wide picture has no room for them.
    QImage image = transparentImage(1024, 1024);
    QPainter painter(&image);
    for (int x = 0; x < 1024; x += 2)
        painter.fillRect(x, 0, 1, 1024, Qt::red);
    painter.end();
    m_item->m_image = image;
    m_item->doUpdateImage();
    QVERIFY(m_item->shape().elementCount() <= 5 * 128);
    const QRectF bounds = m_item->shape().boundingRect();
    QVERIFY(bounds.width() > 1000 && bounds.width() <= 1024);
}

void HitShapeTest::shapeIsACopy()
{
    m_item->m_image = blockImage(10, 10, QRect(0, 0, 10, 10));
    m_item->doUpdateImage();
    QPainterPath copy = m_item->shape();
    copy.addRect(5000, 5000, 1, 1);
    QCOMPARE(m_item->shape().boundingRect(), QRectF(0, 0, 1280, 960));
}

void HitShapeTest::hostGetsTheSameShapeForItsHandles()
{
    m_item->setSize(QSizeF(40, 40), false, false);
    m_item->m_image = blockImage(10, 10, QRect(2, 2, 3, 3));
    m_item->doUpdateImage();
    QVERIFY(!m_item->shape().isEmpty());
    QCOMPARE(m_item->handlePath(), m_item->shape());
    QCOMPARE(m_item->m_handlePath, m_item->shape());
}

void HitShapeTest::framesDuringADragLeaveTheShapeAlone()
{
    m_item->setSize(QSizeF(40, 40), false, false);
    m_item->m_image = blockImage(10, 10, QRect(0, 0, 5, 5));
    m_item->doUpdateImage();
    const QPainterPath before = m_item->shape();
    m_item->m_isPressed = true;
    m_item->m_image = blockImage(10, 10, QRect(5, 5, 5, 5));
    m_item->doUpdateImage();
    QCOMPARE(m_item->shape(), before);
    m_item->m_isPressed = false;
    m_item->doUpdateImage();
    QCOMPARE(m_item->shape().boundingRect(), QRectF(20, 20, 20, 20));
}

void HitShapeTest::firstFrameDuringADragSendsTheNoticeAndNoShape()
{
    const NoticeRecorder recorder;
    m_item->m_isPressed = true;
    m_item->m_image = blockImage(10, 10, QRect(0, 0, 5, 5));
    m_item->doUpdateImage();
    m_item->doUpdateImage();
    ItemFixture::deliverPosted();
    QVERIFY(!m_item->m_hitPath);
    QVERIFY(m_item->m_firstFrameShown);
    QCOMPARE(recorder.notices.size(), 1);
    QCOMPARE(recorder.notices.first().item, static_cast<COVRootObject*>(m_item));
    QCOMPARE(recorder.notices.first().code, 1002);
    QVERIFY(recorder.notices.first().text.isEmpty());

    m_item->m_isPressed = false;
    m_item->doUpdateImage();
    ItemFixture::deliverPosted();
    QVERIFY(m_item->m_hitPath);
    QCOMPARE(recorder.notices.size(), 1);
}

void HitShapeTest::noticeIsSentOncePerItem()
{
    COv3DObject* first = m_fixture->createItem();
    COv3DObject* second = m_fixture->createItem();
    const NoticeRecorder recorder;
    for (int i = 0; i < 3; ++i) {
        first->doUpdateImage();
        second->doUpdateImage();
    }
    ItemFixture::deliverPosted();
    QCOMPARE(recorder.notices.size(), 2);
    QVERIFY(recorder.notices[0].item != recorder.notices[1].item);
}

void HitShapeTest::onlyPaintingBringsALaterFrameIntoTheShape()
{
    ItemFixture::makeReady(m_item);
    m_item->setSize(QSizeF(40, 40), false, false);
    m_item->m_image = blockImage(40, 40, QRect(0, 0, 20, 20));
    m_item->m_drawThread->m_resultImage = blockImage(40, 40, QRect(20, 20, 20, 20));
    m_item->doUpdateImage();
    QCOMPARE(m_item->shape().boundingRect(), QRectF(0, 0, 20, 20));

    QImage page = transparentImage(40, 40);
    QPainter painter(&page);
    m_item->OnQPainterDraw(&painter);
    QCOMPARE(m_item->shape().boundingRect(), QRectF(0, 0, 20, 20));
    m_item->doUpdateImage();
    QCOMPARE(m_item->shape().boundingRect(), QRectF(20, 20, 20, 20));
}

void HitShapeTest::everyFrameRepaintsAlsoDuringADrag()
{
    m_scene.addItem(m_item);
    m_item->doUpdateImage();
    ItemFixture::deliverPosted();

    m_item->m_isPressed = true;
    int changes = 0;
    connect(&m_scene, &QGraphicsScene::changed, &m_scene, [&] { ++changes; });
    m_item->doUpdateImage();
    QVERIFY(waitFor([&] { return changes > 0; }));
}

OV3D_TEST_MAIN(HitShapeTest)
#include "hitshape_test.moc"
