#include "src/plugin/ov3dobject.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QGraphicsScene>
#include <QGraphicsView>
#include <QPainter>
#include <QPixmap>

#include <utility>

namespace {

QImage filled(int width, int height, QRgb colour)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

QImage painted(COv3DObject* item)
{
    QImage page = filled(50, 50, qRgba(0, 0, 0, 0));
    QPainter painter(&page);
    item->OnQPainterDraw(&painter);
    return page;
}

const QRgb kRed = qRgb(255, 0, 0);
const QRgb kBlue = qRgb(0, 0, 255);
const QRgb kNothing = qRgba(0, 0, 0, 0);

/// A viewport that asks the item for the main view while it paints.
class AskingView : public QGraphicsView
{
public:
    using QGraphicsView::QGraphicsView;

    COv3DObject* item = nullptr;
    bool wasAsked = false;
    QGraphicsView* answer = nullptr;

protected:
    void drawForeground(QPainter* painter, const QRectF&) override
    {
        wasAsked = true;
        answer = item->getMainGraphicsView(painter);
    }
};

} // namespace

class PaintingTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void unloadedItemPaintsItsOwnFrame();
    void loadedItemPaintsTheLatestResult();
    void loadedItemTakesOverTheResultAsItsOwnFrame();
    void loadedItemWithoutResultPaintsNothing();
    void loadedItemWithoutThreadPaintsItsOwnFrame();
    void pictureIsPaintedAtTheOriginUnscaled();
    void transparentPixelsShowThePage();
    void smoothPixmapTransformIsSwitchedOn();
    void resultIsHandedOutAsTwoDeepCopies();
    void threadWithoutItemHandsOutNothing();

    void mainViewIsFoundByNameAndViewport_data();
    void mainViewIsFoundByNameAndViewport();
    void mainViewIsTheOneThatIsPaintedOn();
    void noMainViewForOtherDevices();
    void noMainViewWithoutScene();
};

void PaintingTest::unloadedItemPaintsItsOwnFrame()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_image = filled(10, 10, kRed);
    item->m_drawThread->m_resultImage = filled(10, 10, kBlue);
    QCOMPARE(painted(item).pixel(5, 5), kRed);
    QCOMPARE(item->m_image.pixel(5, 5), kRed);
}

void PaintingTest::loadedItemPaintsTheLatestResult()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_isLoaded = true;
    item->m_image = filled(10, 10, kRed);
    item->m_drawThread->m_resultImage = filled(10, 10, kBlue);
    QCOMPARE(painted(item).pixel(5, 5), kBlue);
}

void PaintingTest::loadedItemTakesOverTheResultAsItsOwnFrame()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_isLoaded = true;
    item->m_image = filled(10, 10, kRed);
    item->m_drawThread->m_resultImage = filled(20, 10, kBlue);
    painted(item);
    QCOMPARE(item->m_image, item->m_drawThread->m_resultImage);
}

void PaintingTest::loadedItemWithoutResultPaintsNothing()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_isLoaded = true;
    item->m_image = filled(10, 10, kRed);
    QCOMPARE(painted(item).pixel(5, 5), kNothing);
    QVERIFY(item->m_image.isNull());
}

void PaintingTest::loadedItemWithoutThreadPaintsItsOwnFrame()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_isLoaded = true;
    item->m_image = filled(10, 10, kRed);
    CDrawByOpenGL* thread = std::exchange(item->m_drawThread, nullptr);
    const QImage page = painted(item);
    item->m_drawThread = thread;
    QCOMPARE(page.pixel(5, 5), kRed);
}

void PaintingTest::pictureIsPaintedAtTheOriginUnscaled()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->setSize(QSizeF(40, 40), false, false);
    item->m_image = filled(10, 8, kRed);
    const QImage page = painted(item);
    QCOMPARE(page.pixel(0, 0), kRed);
    QCOMPARE(page.pixel(9, 7), kRed);
    QCOMPARE(page.pixel(10, 7), kNothing);
    QCOMPARE(page.pixel(9, 8), kNothing);
}

void PaintingTest::transparentPixelsShowThePage()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    item->m_image = filled(10, 10, qRgba(92, 238, 20, 0));
    QImage page = filled(50, 50, kBlue);
    QPainter painter(&page);
    item->OnQPainterDraw(&painter);
    QCOMPARE(page.pixel(5, 5), kBlue);
}

void PaintingTest::smoothPixmapTransformIsSwitchedOn()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QImage page = filled(50, 50, kNothing);
    QPainter painter(&page);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    item->OnQPainterDraw(&painter);
    QVERIFY(painter.testRenderHint(QPainter::SmoothPixmapTransform));
}

void PaintingTest::resultIsHandedOutAsTwoDeepCopies()
{
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    QImage& result = item->m_drawThread->m_resultImage;
    result = filled(10, 10, kBlue);
    QImage out = filled(3, 3, kRed);
    item->m_drawThread->getResultImage(out);
    QCOMPARE(out, result);
    QCOMPARE(item->m_image, result);
    QVERIFY(out.constBits() != result.constBits());
    QVERIFY(item->m_image.constBits() != result.constBits());
    QVERIFY(item->m_image.constBits() != out.constBits());
}

void PaintingTest::threadWithoutItemHandsOutNothing()
{
    CDrawByOpenGL thread(nullptr);
    thread.m_resultImage = filled(10, 10, kBlue);
    QImage out = filled(3, 3, kRed);
    thread.getResultImage(out);
    QCOMPARE(out, filled(3, 3, kRed));
}

void PaintingTest::mainViewIsFoundByNameAndViewport_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("found");
    QTest::newRow("the name") << QStringLiteral("mainGraphicsView") << true;
    QTest::newRow("another case") << QStringLiteral("MainGraphicsView") << false;
    QTest::newRow("another name") << QStringLiteral("thumbnailView") << false;
    QTest::newRow("no name") << QString() << false;
}

void PaintingTest::mainViewIsFoundByNameAndViewport()
{
    QFETCH(QString, name);
    QFETCH(bool, found);
    QGraphicsScene scene(0, 0, 100, 100);
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    scene.addItem(item);
    {
        AskingView view(&scene);
        view.item = item;
        view.setObjectName(name);
        view.show();
        QVERIFY(waitFor([&] { return view.wasAsked; }));
        QCOMPARE(view.answer, found ? &view : nullptr);
    }
}

void PaintingTest::mainViewIsTheOneThatIsPaintedOn()
{
    QGraphicsScene scene(0, 0, 100, 100);
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    scene.addItem(item);
    {
        // The view of that name is not the one that paints.
        QGraphicsView main(&scene);
        main.setObjectName(QStringLiteral("mainGraphicsView"));
        AskingView other(&scene);
        other.item = item;
        other.show();
        QVERIFY(waitFor([&] { return other.wasAsked; }));
        QVERIFY(!other.answer);

        AskingView second(&scene);
        second.item = item;
        second.setObjectName(QStringLiteral("mainGraphicsView"));
        second.show();
        QVERIFY(waitFor([&] { return second.wasAsked; }));
        QCOMPARE(second.answer, static_cast<QGraphicsView*>(&second));
    }
}

void PaintingTest::noMainViewForOtherDevices()
{
    QGraphicsScene scene(0, 0, 100, 100);
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    scene.addItem(item);
    {
        QGraphicsView view(&scene);
        view.setObjectName(QStringLiteral("mainGraphicsView"));
        QImage image = filled(10, 10, kRed);
        QPainter onImage(&image);
        QVERIFY(!item->getMainGraphicsView(&onImage));
        QPixmap pixmap(10, 10);
        QPainter onPixmap(&pixmap);
        QVERIFY(!item->getMainGraphicsView(&onPixmap));
        QPainter idle;
        QVERIFY(!item->getMainGraphicsView(&idle));
    }
}

void PaintingTest::noMainViewWithoutScene()
{
    QGraphicsScene scene(0, 0, 100, 100);
    ItemFixture fixture;
    COv3DObject* item = fixture.createItem();
    AskingView view(&scene);
    view.item = item;
    view.setObjectName(QStringLiteral("mainGraphicsView"));
    view.show();
    QVERIFY(waitFor([&] { return view.wasAsked; }));
    QVERIFY(!view.answer);
}

OV3D_TEST_MAIN(PaintingTest)
#include "painting_test.moc"
