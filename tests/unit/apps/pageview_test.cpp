#include "apps/board/pagecommands.h"
#include "apps/board/pageview.h"
#include "apps/document/itemreaper.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QGraphicsSceneMouseEvent>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QThread>

#include <atomic>
#include <cmath>
#include <memory>

using namespace ov3d::apps;

namespace {

std::atomic<int> g_released{0};
std::atomic<Qt::HANDLE> g_releasingThread{nullptr};

/// A page item that counts what reaches it, and raises its width as a 3D item does.
class PlainItem : public CBaseObject
{
public:
    PlainItem()
        : CBaseObject(-1, false, nullptr, nullptr)
    {
        setFlag(ItemIsSelectable);
        setFlag(ItemIsMovable);
    }

    void setSize(QSizeF size, bool a, bool b) override
    {
        CBaseObject::setSize(QSizeF(std::ceil(size.width() / 4) * 4, size.height()), a, b);
    }
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override
    {
        return change == ItemPositionChange ? QVariant(getPos()) : CBaseObject::itemChange(change, value);
    }
    void mouseMoveEvent(QGraphicsSceneMouseEvent* event) override
    {
        ++moves;
        lastX = event->pos().x();
        QThread::msleep(5);
    }
    void Release() override
    {
        g_releasingThread = QThread::currentThreadId();
        ++g_released;
        CBaseObject::Release();
    }

    int moves = 0;
    double lastX = 0;
};

} // namespace

class PageViewTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void viewBearsTheNameThatThePluginKnows();
    void borderMovesTheItem();
    void handleResizesTheItem();
    void draggedFrameIsUndoneAndRedone();
    void clickOnTheFrameIsNoChange();
    void pressOnTheItemBelongsToTheItem();
    void movesThatWaitAreMerged();
    void itemDoesNotOutgrowItsFirstFrameMemory();
    void viewWithoutAPageTakesThePointer();
    void removedItemComesBackWithUndo();
    void itemThatComesBackLiesWhereItLay();
    void itemsRemovedTogetherComeBackInTheirOrder();
    void insertionThatIsRedoneLiesWhereItLay();
    void lockedItemIsSelectedAndNothingMore();
    void lockIsUndone();
    void itemThatNoCommandNeedsIsReleasedElsewhere();
    void dotsShowThePageHoweverLargeItIs_data();
    void dotsShowThePageHoweverLargeItIs();
    void itemRemovedTwiceIsReleasedOnce();
    void itemInsertedAndRemovedIsReleasedOnce();

private:
    /// Where a point of the page lies in the view.
    QPoint at(double x, double y) const { return m_view->mapFromScene(QPointF(x, y)); }
    void drag(const QPoint& from, const QPoint& to);

    /// Another item on the page, above the others and over a part of each.
    CBaseObject* addItem()
    {
        auto* item = new PlainItem;
        applyFrame(*item, QRectF(300, 150, 400, 300));
        m_page->addObject(item);
        return item;
    }
    void push(CBaseObject* item, PresenceCommand::Kind kind)
    {
        m_document->undoStack()->push(new PresenceCommand(m_page, ItemHolder::of(item), kind));
    }
    using Objects = QList<COVRootObject*>;

    std::unique_ptr<COvDocument> m_document;
    COvPage* m_page = nullptr;
    PlainItem* m_item = nullptr;
    std::unique_ptr<PageView> m_view;
};

void PageViewTest::init()
{
    TestBase::init();
    expectMessage(QStringLiteral("This plugin does not support propagateSizeHints()"));
    g_released = 0;
    m_document = std::make_unique<COvDocument>(QStringLiteral("unused"));
    CUndoRedo::GetInstance()->setActiveStack(m_document->undoStack());
    m_page = m_document->addPage(QSizeF(1000, 500));
    m_item = new PlainItem;
    applyFrame(*m_item, QRectF(200, 100, 400, 300));
    rememberFrameLimits(*m_item);
    m_page->addObject(m_item);
    m_view = std::make_unique<PageView>(nullptr);
    m_view->setPage(m_page);
    m_view->resize(1024, 524);
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    m_item->setSelected(true);
    connect(m_view.get(), &PageView::frameChanged, [](CBaseObject* item, const QRectF& before, const QRectF& after) {
        CUndoRedo::GetInstance()->push(new FrameCommand(item, before, after));
    });
}

void PageViewTest::cleanup()
{
    m_view.reset();
    m_document.reset();
    TestBase::cleanup();
}

void PageViewTest::drag(const QPoint& from, const QPoint& to)
{
    QTest::mousePress(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, from);
    QMouseEvent move(QEvent::MouseMove, to, m_view->viewport()->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(m_view->viewport(), &move);
    QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, to);
}

void PageViewTest::viewBearsTheNameThatThePluginKnows()
{
    QCOMPARE(m_view->objectName(), QStringLiteral("mainGraphicsView"));
}

void PageViewTest::borderMovesTheItem()
{
    drag(at(300, 100), at(350, 120));
    QCOMPARE(m_item->getObjRect(), QRectF(250, 120, 400, 300));
    QCOMPARE(m_item->pos(), QPointF(250, 120));
    QCOMPARE(m_item->moves, 0);
}

void PageViewTest::handleResizesTheItem()
{
    drag(at(200, 100), at(209, 110));
    // The width goes up to a multiple of four; the far corner stays.
    QCOMPARE(m_item->getObjRect(), QRectF(208, 110, 392, 290));
    QCOMPARE(m_item->pos(), QPointF(208, 110));
}

void PageViewTest::draggedFrameIsUndoneAndRedone()
{
    drag(at(600, 400), at(500, 350));
    QCOMPARE(m_item->getObjRect(), QRectF(200, 100, 300, 250));
    QUndoStack* stack = m_document->undoStack();
    QCOMPARE(stack->count(), 1);
    stack->undo();
    QCOMPARE(m_item->getObjRect(), QRectF(200, 100, 400, 300));
    stack->redo();
    QCOMPARE(m_item->getObjRect(), QRectF(200, 100, 300, 250));
}

void PageViewTest::clickOnTheFrameIsNoChange()
{
    drag(at(300, 100), at(300, 100));
    QCOMPARE(m_document->undoStack()->count(), 0);
    QCOMPARE(m_item->getObjRect(), QRectF(200, 100, 400, 300));
}

void PageViewTest::pressOnTheItemBelongsToTheItem()
{
    const QSignalSpy started(m_view.get(), &PageView::gestureStarted);
    const QSignalSpy ended(m_view.get(), &PageView::gestureEnded);
    drag(at(400, 250), at(450, 250));
    QCOMPARE(m_item->moves, 1);
    QCOMPARE(m_item->getObjRect(), QRectF(200, 100, 400, 300));
    QCOMPARE(started.count(), 1);
    QCOMPARE(started.first().first().toString(), QStringLiteral("Turning the view"));
    QCOMPARE(ended.count(), 1);
}

void PageViewTest::movesThatWaitAreMerged()
{
    QWidget* target = m_view->viewport();
    QTest::mousePress(target, Qt::LeftButton, Qt::NoModifier, at(400, 250));
    constexpr int kMoves = 100;
    for (int i = 1; i <= kMoves; ++i) {
        const QPoint to = at(400 + i, 250);
        QApplication::postEvent(target, new QMouseEvent(QEvent::MouseMove, to, target->mapToGlobal(to), Qt::NoButton,
                                                        Qt::LeftButton, Qt::NoModifier));
    }
    const QPoint end = at(400 + kMoves, 250);
    QApplication::postEvent(target, new QMouseEvent(QEvent::MouseButtonRelease, end, target->mapToGlobal(end),
                                                    Qt::LeftButton, Qt::NoButton, Qt::NoModifier));
    const QSignalSpy ended(m_view.get(), &PageView::gestureEnded);
    QVERIFY(waitFor([&ended] { return ended.count() == 1; }));
    QVERIFY(m_item->moves > 0);
    QCOMPARE(m_item->lastX, 300.0); // the newest of all
    QVERIFY2(m_item->moves < kMoves / 10, qPrintable(QString::number(m_item->moves)));
}

void PageViewTest::itemDoesNotOutgrowItsFirstFrameMemory()
{
    drag(at(600, 400), at(1000, 500));
    drag(at(200, 100), at(0, 0));
    const QSizeF size = m_item->getSize();
    QVERIFY(size.width() * size.height() > 400 * 300 * 2);
    QVERIFY(size.width() * size.height() * 3 <= 400 * 300 * 8);
}

void PageViewTest::viewWithoutAPageTakesThePointer()
{
    QTest::mousePress(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, at(200, 200));
    m_view->setPage(nullptr);
    QTest::mouseMove(m_view->viewport(), QPoint(30, 30));
    QTest::mouseRelease(m_view->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(30, 30));
    QVERIFY(!m_view->grab().isNull());
    QCOMPARE(m_view->selectedItem(), static_cast<CBaseObject*>(nullptr));
}

void PageViewTest::removedItemComesBackWithUndo()
{
    QUndoStack* stack = m_document->undoStack();
    stack->push(new PresenceCommand(m_page, ItemHolder::of(m_item), PresenceCommand::Kind::removal));
    QVERIFY(m_page->objects().isEmpty());
    QVERIFY(!m_view->selectedItem());
    stack->undo();
    QCOMPARE(m_page->objects().size(), 1);
    stack->clear();
    QCOMPARE(g_released.load(), 0); // it is on the page, so it lives
}

void PageViewTest::itemThatComesBackLiesWhereItLay()
{
    CBaseObject* upper = addItem();
    push(m_item, PresenceCommand::Kind::removal);
    QCOMPARE(m_page->objects(), Objects{upper});
    m_document->undoStack()->undo();
    QCOMPARE(m_page->objects(), (Objects{m_item, upper}));
    QCOMPARE(m_page->scene()->itemAt(QPointF(400, 200), QTransform()), upper->GetGraphicsItemPtr());

    // What lay directly above is gone for good: the next one counts.
    CBaseObject* top = addItem();
    push(m_item, PresenceCommand::Kind::removal);
    m_page->takeObject(upper);
    upper->Release();
    m_document->undoStack()->undo();
    QCOMPARE(m_page->objects(), (Objects{m_item, top}));
}

void PageViewTest::itemsRemovedTogetherComeBackInTheirOrder()
{
    CBaseObject* middle = addItem();
    CBaseObject* top = addItem();
    push(m_item, PresenceCommand::Kind::removal);
    push(middle, PresenceCommand::Kind::removal);
    m_document->undoStack()->undo();
    m_document->undoStack()->undo();
    QCOMPARE(m_page->objects(), (Objects{m_item, middle, top}));
}

void PageViewTest::insertionThatIsRedoneLiesWhereItLay()
{
    CBaseObject* middle = addItem();
    push(middle, PresenceCommand::Kind::insertion);
    CBaseObject* top = addItem();
    m_document->undoStack()->undo();
    QCOMPARE(m_page->objects(), (Objects{m_item, top}));
    m_document->undoStack()->redo();
    QCOMPARE(m_page->objects(), (Objects{m_item, middle, top}));
}

void PageViewTest::lockedItemIsSelectedAndNothingMore()
{
    m_item->setLocked(true);
    m_item->setSelected(false);
    const QSignalSpy told(m_view.get(), &PageView::gestureEnded);
    drag(at(400, 250), at(450, 250));
    QVERIFY(m_item->isSelected());
    QCOMPARE(m_item->moves, 0);
    QCOMPARE(told.count(), 1);
    QVERIFY(told.first().first().toString().contains(QLatin1String("locked")));
    drag(at(300, 100), at(350, 120));
    drag(at(600, 400), at(500, 350));
    QCOMPARE(m_item->getObjRect(), QRectF(200, 100, 400, 300));
    QCOMPARE(m_document->undoStack()->count(), 0);
}

void PageViewTest::lockIsUndone()
{
    m_document->undoStack()->push(new LockCommand(m_item, true));
    QVERIFY(m_item->isLocked());
    m_document->undoStack()->undo();
    QVERIFY(!m_item->isLocked());
    m_document->undoStack()->redo();
    QVERIFY(m_item->isLocked());
}

void PageViewTest::itemThatNoCommandNeedsIsReleasedElsewhere()
{
    QUndoStack* stack = m_document->undoStack();
    stack->push(new PresenceCommand(m_page, ItemHolder::of(m_item), PresenceCommand::Kind::removal));
    QCOMPARE(g_released.load(), 0);
    stack->clear();
    QVERIFY(waitFor([] { return g_released.load() == 1; }));
    QVERIFY(g_releasingThread.load() != QThread::currentThreadId());
}

void PageViewTest::dotsShowThePageHoweverLargeItIs_data()
{
    QTest::addColumn<double>("side");
    for (const double side : {500.0, 20000.0, 1000000.0})
        QTest::newRow(qPrintable(QString::number(side, 'f', 0))) << side;
}

void PageViewTest::dotsShowThePageHoweverLargeItIs()
{
    QFETCH(double, side);
    m_view->setPage(m_document->addPage(QSizeF(side, side)));
    const QImage picture = m_view->grab().toImage().convertToFormat(QImage::Format_RGB32);
    int page = 0;
    int dots = 0; // the small ones are no more than tinted
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            page += qRed(pixel) > 200 ? 1 : 0;
            dots += qRed(pixel) > 200 && qRed(pixel) < 250 ? 1 : 0;
        }
    }
    QVERIFY2(page > 450 * 450, qPrintable(QString::number(page)));
    QVERIFY2(dots > page / 300 && dots < page / 10, qPrintable(QString::number(dots)));
}

void PageViewTest::itemRemovedTwiceIsReleasedOnce()
{
    QUndoStack* stack = m_document->undoStack();
    push(m_item, PresenceCommand::Kind::removal);
    stack->undo();
    // The stack drops the first command while the second one has the item off its page.
    push(m_item, PresenceCommand::Kind::removal);
    QVERIFY(waitFor([] { return itemsBeingReaped() == 0; }));
    QCOMPARE(g_released.load(), 0);
    stack->undo();
    QCOMPARE(m_page->objects(), Objects{m_item});
    stack->redo();
    stack->clear();
    QVERIFY(waitFor([] { return g_released.load() > 0 && itemsBeingReaped() == 0; }));
    QCOMPARE(g_released.load(), 1);
}

void PageViewTest::itemInsertedAndRemovedIsReleasedOnce()
{
    QUndoStack* stack = m_document->undoStack();
    CBaseObject* item = addItem();
    push(item, PresenceCommand::Kind::insertion);
    push(item, PresenceCommand::Kind::removal);
    stack->clear();
    QVERIFY(waitFor([] { return g_released.load() > 0 && itemsBeingReaped() == 0; }));
    QCOMPARE(g_released.load(), 1);
}

OV3D_TEST_MAIN(PageViewTest)
#include "pageview_test.moc"
