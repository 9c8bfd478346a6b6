#include "src/render/drawbyopengl.h"
#include "tests/support/singleitemtestbase.h"
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
const QString kMainView = QStringLiteral("mainGraphicsView");

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

class PaintingTest : public SingleItemTestBase
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

private:
    /// Shows a view under this object name. @return whether it has painted, and so asked the item.
    bool asksWhilePainting(AskingView& view, const QString& name)
    {
        view.item = m_item;
        view.setObjectName(name);
        view.show();
        return waitFor([&view] { return view.wasAsked; });
    }

    QGraphicsScene m_scene{0, 0, 100, 100}; ///< outlives the item, which leaves it when it is released
};

void PaintingTest::unloadedItemPaintsItsOwnFrame()
{
    m_item->m_image = filled(10, 10, kRed);
    m_item->m_drawThread->m_resultImage = filled(10, 10, kBlue);
    QCOMPARE(painted(m_item).pixel(5, 5), kRed);
    QCOMPARE(m_item->m_image.pixel(5, 5), kRed);
}

void PaintingTest::loadedItemPaintsTheLatestResult()
{
    m_item->m_isLoaded = true;
    m_item->m_image = filled(10, 10, kRed);
    m_item->m_drawThread->m_resultImage = filled(10, 10, kBlue);
    QCOMPARE(painted(m_item).pixel(5, 5), kBlue);
}

void PaintingTest::loadedItemTakesOverTheResultAsItsOwnFrame()
{
    m_item->m_isLoaded = true;
    m_item->m_image = filled(10, 10, kRed);
    m_item->m_drawThread->m_resultImage = filled(20, 10, kBlue);
    painted(m_item);
    QCOMPARE(m_item->m_image, m_item->m_drawThread->m_resultImage);
}

void PaintingTest::loadedItemWithoutResultPaintsNothing()
{
    m_item->m_isLoaded = true;
    m_item->m_image = filled(10, 10, kRed);
    QCOMPARE(painted(m_item).pixel(5, 5), kNothing);
    QVERIFY(m_item->m_image.isNull());
}

void PaintingTest::loadedItemWithoutThreadPaintsItsOwnFrame()
{
    m_item->m_isLoaded = true;
    m_item->m_image = filled(10, 10, kRed);
    CDrawByOpenGL* thread = std::exchange(m_item->m_drawThread, nullptr);
    const QImage page = painted(m_item);
    m_item->m_drawThread = thread;
    QCOMPARE(page.pixel(5, 5), kRed);
}

void PaintingTest::pictureIsPaintedAtTheOriginUnscaled()
{
    m_item->setSize(QSizeF(40, 40), false, false);
    m_item->m_image = filled(10, 8, kRed);
    const QImage page = painted(m_item);
    QCOMPARE(page.pixel(0, 0), kRed);
    QCOMPARE(page.pixel(9, 7), kRed);
    QCOMPARE(page.pixel(10, 7), kNothing);
    QCOMPARE(page.pixel(9, 8), kNothing);
}

void PaintingTest::transparentPixelsShowThePage()
{
    m_item->m_image = filled(10, 10, qRgba(92, 238, 20, 0));
    QImage page = filled(50, 50, kBlue);
    QPainter painter(&page);
    m_item->OnQPainterDraw(&painter);
    QCOMPARE(page.pixel(5, 5), kBlue);
}

void PaintingTest::smoothPixmapTransformIsSwitchedOn()
{
    QImage page = filled(50, 50, kNothing);
    QPainter painter(&page);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    m_item->OnQPainterDraw(&painter);
    QVERIFY(painter.testRenderHint(QPainter::SmoothPixmapTransform));
}

void PaintingTest::resultIsHandedOutAsTwoDeepCopies()
{
    QImage& result = m_item->m_drawThread->m_resultImage;
    result = filled(10, 10, kBlue);
    QImage out = filled(3, 3, kRed);
    m_item->m_drawThread->getResultImage(out);
    QCOMPARE(out, result);
    QCOMPARE(m_item->m_image, result);
    QVERIFY(out.constBits() != result.constBits());
    QVERIFY(m_item->m_image.constBits() != result.constBits());
    QVERIFY(m_item->m_image.constBits() != out.constBits());
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
    QTest::newRow("the name") << kMainView << true;
    QTest::newRow("another case") << QStringLiteral("MainGraphicsView") << false;
    QTest::newRow("another name") << QStringLiteral("thumbnailView") << false;
    QTest::newRow("no name") << QString() << false;
}

void PaintingTest::mainViewIsFoundByNameAndViewport()
{
    QFETCH(QString, name);
    QFETCH(bool, found);
    m_scene.addItem(m_item);
    AskingView view(&m_scene);
    QVERIFY(asksWhilePainting(view, name));
    QCOMPARE(view.answer, found ? &view : nullptr);
}

void PaintingTest::mainViewIsTheOneThatIsPaintedOn()
{
    m_scene.addItem(m_item);
    // The view of that name is not the one that paints.
    QGraphicsView main(&m_scene);
    main.setObjectName(kMainView);
    AskingView other(&m_scene);
    QVERIFY(asksWhilePainting(other, QString()));
    QVERIFY(!other.answer);

    AskingView second(&m_scene);
    QVERIFY(asksWhilePainting(second, kMainView));
    QCOMPARE(second.answer, static_cast<QGraphicsView*>(&second));
}

void PaintingTest::noMainViewForOtherDevices()
{
    m_scene.addItem(m_item);
    QGraphicsView view(&m_scene);
    view.setObjectName(kMainView);
    QImage image = filled(10, 10, kRed);
    QPainter onImage(&image);
    QVERIFY(!m_item->getMainGraphicsView(&onImage));
    QPixmap pixmap(10, 10);
    QPainter onPixmap(&pixmap);
    QVERIFY(!m_item->getMainGraphicsView(&onPixmap));
    QPainter idle;
    QVERIFY(!m_item->getMainGraphicsView(&idle));
}

void PaintingTest::noMainViewWithoutScene()
{
    AskingView view(&m_scene);
    QVERIFY(asksWhilePainting(view, kMainView));
    QVERIFY(!view.answer);
}

OV3D_TEST_MAIN(PaintingTest)
#include "painting_test.moc"
