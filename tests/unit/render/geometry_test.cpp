#include "src/render/drawbyopengl.h"
#include "tests/support/noticerecorder.h"
#include "tests/support/singleitemtestbase.h"
#include "tests/support/testmain.h"

#include <QGraphicsScene>

#include <limits>
#include <utility>

class GeometryTest : public SingleItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void widthIsRaisedToAMultipleOfFour_data();
    void widthIsRaisedToAMultipleOfFour();
    void hugeSizesStayDefined();
    void bothFlagsReachTheHostUnchanged();
    void cornerStaysWhenTheSizeChanges();
    void withoutRenderThreadOnlyTheBaseSizeChanges();
    void resultImageIsScaledWithoutSmoothing();
    void nullResultImageStaysNull();
    void itemsOwnFrameKeepsItsSize();
    void renderThreadAndContextHearOfTheRaisedSize();
    void resizingRebuildsTheHitShape();
    void resizingAFreshItemSendsTheFirstNotice();
    void sceneFindsAResizedItemByItsNewBounds();

    void sceneDrivenMoveIsAnsweredWithTheOldPosition();
    void positionChangeIsAnsweredWithTheHostsPosition();
    void otherChangesGoToTheBase();
    void hostCallForAPositionIsIgnored();

private:
    QGraphicsScene m_scene; ///< outlives the item, which leaves it when it is released
};

void GeometryTest::widthIsRaisedToAMultipleOfFour_data()
{
    QTest::addColumn<QSizeF>("given");
    QTest::addColumn<QSizeF>("expected");
    QTest::newRow("multiple of four") << QSizeF(400, 300) << QSizeF(400, 300);
    QTest::newRow("one above, height is left alone") << QSizeF(401, 301) << QSizeF(404, 301);
    QTest::newRow("two above") << QSizeF(402, 302) << QSizeF(404, 302);
    QTest::newRow("three above") << QSizeF(403, 303) << QSizeF(404, 303);
    QTest::newRow("fractions are cut off") << QSizeF(400.9, 300.9) << QSizeF(400, 300);
    QTest::newRow("fraction above a non-multiple") << QSizeF(401.9, 300.2) << QSizeF(404, 300);
    QTest::newRow("one pixel") << QSizeF(1, 1) << QSizeF(4, 1);
    QTest::newRow("nothing") << QSizeF(0, 0) << QSizeF(0, 0);
    QTest::newRow("remainder has the width's sign") << QSizeF(-3, -3) << QSizeF(4, -3);
    QTest::newRow("negative multiple") << QSizeF(-8, 5) << QSizeF(-8, 5);
}

void GeometryTest::widthIsRaisedToAMultipleOfFour()
{
    QFETCH(QSizeF, given);
    m_item->setSize(given, false, false);
    QTEST(m_item->getSize(), "expected");
}

void GeometryTest::hugeSizesStayDefined()
{
    m_item->setSize(QSizeF(1e300, 100), false, false);
    QVERIFY(m_item->m_context.width > 0);
    QCOMPARE(m_item->m_context.width % 4, 0);
    QCOMPARE(m_item->m_context.height, 100);
    m_item->setSize(QSizeF(std::numeric_limits<double>::quiet_NaN(), 100), false, false);
    QCOMPARE(m_item->m_context.width, 0);
}

void GeometryTest::bothFlagsReachTheHostUnchanged()
{
    m_item->setSize(QSizeF(400, 300), true, false);
    QCOMPARE(m_item->sizeFlags(), qMakePair(true, false));
    m_item->setSize(QSizeF(401, 300), false, true);
    QCOMPARE(m_item->sizeFlags(), qMakePair(false, true));
}

void GeometryTest::cornerStaysWhenTheSizeChanges()
{
    m_item->setObjRect(QRectF(30.5, 40.5, 100, 100));
    m_item->updateAfterObjRectChanged(m_item, false);
    m_item->setSize(QSizeF(401, 300), false, false);
    QCOMPARE(m_item->getObjRect(), QRectF(30.5, 40.5, 404, 300));
    QCOMPARE(m_item->pos(), QPointF(30.5, 40.5));
}

void GeometryTest::withoutRenderThreadOnlyTheBaseSizeChanges()
{
    const NoticeRecorder recorder;
    CDrawByOpenGL* thread = std::exchange(m_item->m_drawThread, nullptr);
    m_item->setSize(QSizeF(401.5, 300.5), true, true);
    m_item->m_drawThread = thread;
    ItemFixture::deliverPosted();
    QCOMPARE(m_item->getSize(), QSizeF(401.5, 300.5));
    QCOMPARE(m_item->m_context.width, 1280);
    QCOMPARE(m_item->m_context.height, 960);
    QVERIFY(!m_item->m_hitPath);
    QVERIFY(recorder.notices.isEmpty());
    QVERIFY(!thread->m_drawing);
}

void GeometryTest::resultImageIsScaledWithoutSmoothing()
{
    QImage source(2, 1, QImage::Format_ARGB32);
    source.setPixel(0, 0, qRgba(255, 0, 0, 255));
    source.setPixel(1, 0, qRgba(0, 0, 255, 128));
    m_item->m_drawThread->m_resultImage = source;
    m_item->setSize(QSizeF(7, 3), false, false);
    const QImage scaled = m_item->m_drawThread->m_resultImage;
    QCOMPARE(scaled.size(), QSize(8, 3));
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 8; ++x)
            QCOMPARE(scaled.pixel(x, y), source.pixel(x < 4 ? 0 : 1, 0));
    }
}

void GeometryTest::nullResultImageStaysNull()
{
    // Qt would warn of scaling a null image, and the base fails a test on a warning.
    m_item->setSize(QSizeF(400, 300), false, false);
    QVERIFY(m_item->m_drawThread->m_resultImage.isNull());
}

void GeometryTest::itemsOwnFrameKeepsItsSize()
{
    m_item->m_image = QImage(20, 10, QImage::Format_ARGB32);
    m_item->m_image.fill(Qt::red);
    m_item->setSize(QSizeF(400, 300), false, false);
    QCOMPARE(m_item->m_image.size(), QSize(20, 10));
}

void GeometryTest::renderThreadAndContextHearOfTheRaisedSize()
{
    QVERIFY(!m_item->m_drawThread->m_drawing);
    m_item->setSize(QSizeF(401, 301), false, false);
    QVERIFY(m_item->m_drawThread->m_drawing);
    QCOMPARE(m_item->m_drawThread->m_width, 404);
    QCOMPARE(m_item->m_drawThread->m_height, 301);
    QCOMPARE(m_item->m_context.width, 404);
    QCOMPARE(m_item->m_context.height, 301);
    QCOMPARE(m_fixture->viewer.callCount(), 0);
}

void GeometryTest::resizingRebuildsTheHitShape()
{
    m_item->m_image = QImage(10, 10, QImage::Format_ARGB32);
    m_item->m_image.fill(Qt::red);
    m_item->setSize(QSizeF(400, 300), false, false);
    QVERIFY(m_item->m_hitPath);
    QCOMPARE(m_item->shape().boundingRect(), QRectF(0, 0, 400, 300));
    m_item->setSize(QSizeF(200, 100), false, false);
    QCOMPARE(m_item->shape().boundingRect(), QRectF(0, 0, 200, 100));
}

void GeometryTest::resizingAFreshItemSendsTheFirstNotice()
{
    const NoticeRecorder recorder;
    m_item->setSize(QSizeF(400, 300), false, false);
    m_item->setSize(QSizeF(404, 300), false, false);
    ItemFixture::deliverPosted();
    QCOMPARE(recorder.notices.size(), 1);
    QCOMPARE(recorder.notices.first().code, 1002);
    QCOMPARE(recorder.notices.first().text, QString());
    QVERIFY(m_item->m_firstFrameShown);
    QVERIFY(m_item->m_hitPath);
    QVERIFY(m_item->shape().isEmpty());
}

void GeometryTest::sceneFindsAResizedItemByItsNewBounds()
{
    m_scene.addItem(m_item);
    m_item->m_image = QImage(10, 10, QImage::Format_ARGB32);
    m_item->m_image.fill(Qt::red);
    m_item->setSize(QSizeF(40, 40), false, false);
    QCOMPARE(m_scene.items(QPointF(38, 38)).size(), 1);
    m_item->setSize(QSizeF(2001, 2000), false, false);
    QCOMPARE(m_scene.items(QPointF(2003, 1999)).size(), 1);
    m_item->setSize(QSizeF(40, 40), false, false);
    QCOMPARE(m_scene.items(QPointF(100, 100)).size(), 0);
}

void GeometryTest::sceneDrivenMoveIsAnsweredWithTheOldPosition()
{
    m_scene.addItem(m_item);
    static_cast<QGraphicsItem*>(m_item)->setPos(50, 60);
    QCOMPARE(m_item->pos(), QPointF(0, 0));
    m_item->moveBy(5, 5);
    QCOMPARE(m_item->pos(), QPointF(0, 0));
    QCOMPARE(m_item->getPos(), QPointF(0, 0));
}

void GeometryTest::positionChangeIsAnsweredWithTheHostsPosition()
{
    m_item->setObjRect(QRectF(12, 34, 100, 100));
    const QVariant answer = m_item->itemChange(QGraphicsItem::ItemPositionChange, QPointF(99, 99));
    QCOMPARE(answer.type(), QVariant::PointF);
    QCOMPARE(answer.toPointF(), QPointF(12, 34));
}

void GeometryTest::otherChangesGoToTheBase()
{
    QCOMPARE(m_item->itemChange(QGraphicsItem::ItemZValueChange, 3.5), QVariant(3.5));
    QCOMPARE(m_item->itemChange(QGraphicsItem::ItemVisibleChange, false), QVariant(false));
}

void GeometryTest::hostCallForAPositionIsIgnored()
{
    m_item->setPos(QPointF(50, 60), true);
    QCOMPARE(m_item->pos(), QPointF(0, 0));
    QCOMPARE(m_item->getPos(), QPointF(0, 0));
}

OV3D_TEST_MAIN(GeometryTest)
#include "geometry_test.moc"
