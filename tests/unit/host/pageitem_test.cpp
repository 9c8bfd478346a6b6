#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/support/virtualslot.h"
#include "tests/unit/host/testitem.h"

#include <QBuffer>
#include <QDataStream>
#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

namespace {

/// Makes protected members nameable for slotOf().
struct Slots : CBaseObject
{
    using CBaseObject::CBaseObject;
    using CBaseObject::itemChange;
};

void sendMouse(QGraphicsScene& scene, QEvent::Type type, const QPointF& position, Qt::MouseButton button,
               Qt::MouseButtons buttons, const QPointF& pressedAt)
{
    QGraphicsSceneMouseEvent event(type);
    event.setScenePos(position);
    event.setButtonDownScenePos(Qt::LeftButton, pressedAt);
    event.setLastScenePos(pressedAt);
    event.setButton(button);
    event.setButtons(buttons);
    QApplication::sendEvent(&scene, &event);
}

void drag(QGraphicsScene& scene, const QPointF& from, const QPointF& to)
{
    sendMouse(scene, QEvent::GraphicsSceneMousePress, from, Qt::LeftButton, Qt::LeftButton, from);
    sendMouse(scene, QEvent::GraphicsSceneMouseMove, to, Qt::NoButton, Qt::LeftButton, from);
    sendMouse(scene, QEvent::GraphicsSceneMouseRelease, to, Qt::LeftButton, Qt::NoButton, from);
}

} // namespace

class PageItemTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void virtualFunctionsKeepTheirOrder()
    {
        const QVector<std::ptrdiff_t> slotsInOrder{slotOf(&CBaseObject::GetGraphicsItemPtr),
                                                   slotOf(&CBaseObject::OnQPainterDraw),
                                                   slotOf(&CBaseObject::save),
                                                   slotOf(&CBaseObject::load),
                                                   slotOf(&CBaseObject::saveJson),
                                                   slotOf(&CBaseObject::loadJson),
                                                   slotOf(&CBaseObject::setSize),
                                                   slotOf(&CBaseObject::setPos),
                                                   slotOf(&Slots::itemChange),
                                                   slotOf(&CBaseObject::Release),
                                                   slotOf(&CBaseObject::GetSpecialProperty),
                                                   slotOf(&CBaseObject::SetSpecialProperty)};
        for (int i = 1; i < slotsInOrder.size(); ++i)
            QCOMPARE(slotsInOrder[i] - slotsInOrder[i - 1], std::ptrdiff_t(sizeof(void*)));

        const QVector<std::ptrdiff_t> rootSlots{slotOf(&COVRootObject::notifyObjPropertyChanged),
                                                slotOf(&COVRootObject::GetGraphicsItemPtr),
                                                slotOf(&COVRootObject::OnQPainterDraw),
                                                slotOf(&COVRootObject::save),
                                                slotOf(&COVRootObject::load),
                                                slotOf(&COVRootObject::saveJson),
                                                slotOf(&COVRootObject::loadJson),
                                                slotOf(&COVRootObject::setSize),
                                                slotOf(&COVRootObject::setPos),
                                                slotOf(&COVRootObject::Release),
                                                slotOf(&COVRootObject::GetSpecialProperty),
                                                slotOf(&COVRootObject::SetSpecialProperty),
                                                slotOf(&COVRootObject::loadFromFile),
                                                slotOf(&COVRootObject::getPreviewImage)};
        for (int i = 1; i < rootSlots.size(); ++i)
            QCOMPARE(rootSlots[i] - rootSlots[i - 1], std::ptrdiff_t(sizeof(void*)));
        QCOMPARE(rootSlots.first(), std::ptrdiff_t(2 * sizeof(void*))); // behind the two destructor slots
    }

    void constructorStoresWhatItIsGiven()
    {
        COvPage page(nullptr, QSizeF(10.0, 10.0));
        CBaseObject item(17, true, nullptr, &page);
        QCOMPARE(item.getId(), 17);
        QVERIFY(item.isLocked());
        QCOMPARE(item.GetPage(), static_cast<IOvPage*>(&page));
        QVERIFY(!item.isLoadedFlag());
        QVERIFY(item.flags() & QGraphicsItem::ItemSendsGeometryChanges);
        QVERIFY(!(item.flags() & (QGraphicsItem::ItemIsMovable | QGraphicsItem::ItemIsSelectable)));
        item.setLocked(false);
        item.setPage(nullptr);
        item.setLoadedFlag(true);
        QVERIFY(!item.isLocked());
        QVERIFY(!item.GetPage());
        QVERIFY(item.isLoadedFlag());
    }

    void typeIsTheGraphicsItemsTypeLess65536()
    {
        const TestItem item;
        QCOMPARE(item.GetType(), 42);
    }

    void boundsAreTheSizeAtTheOriginAndThePositionIsTheCorner()
    {
        TestItem item;
        item.setObjRect(QRectF(30.0, 40.0, 200.0, 100.0));
        item.updateAfterObjRectChanged(&item, false);
        QCOMPARE(item.boundingRect(), QRectF(0.0, 0.0, 200.0, 100.0));
        QCOMPARE(item.pos(), QPointF(30.0, 40.0));
        QCOMPARE(item.getPos(), QPointF(30.0, 40.0));
        QCOMPARE(item.getSize(), QSizeF(200.0, 100.0));
        QCOMPARE(item.shape().boundingRect(), item.boundingRect());
        QVERIFY(item.contains(QPointF(199.0, 99.0)));
        QVERIFY(!item.contains(QPointF(201.0, 99.0)));
    }

    void storingTheRectangleAloneMovesNothing()
    {
        TestItem item;
        item.setObjRect(QRectF(30.0, 40.0, 100.0, 50.0));
        QCOMPARE(item.pos(), QPointF(0.0, 0.0));
        QCOMPARE(item.getObjRect(), QRectF(30.0, 40.0, 100.0, 50.0));
    }

    void updateAfterObjRectChangedTakesANullItem()
    {
        TestItem item;
        item.setObjRect(QRectF(1.0, 2.0, 3.0, 4.0));
        item.updateAfterObjRectChanged(nullptr, true);
        QCOMPARE(item.pos(), QPointF(0.0, 0.0));
    }

    void sceneFindsAnItemAtItsNewBounds()
    {
        QGraphicsScene scene(0.0, 0.0, 2000.0, 2000.0);
        auto* item = new TestItem;
        scene.addItem(item);
        QCOMPARE(scene.items(QPointF(50.0, 25.0)).size(), 1); // builds the scene's index
        item->setObjRect(QRectF(1000.0, 1000.0, 400.0, 300.0));
        item->updateAfterObjRectChanged(item, true);
        QCOMPARE(scene.items(QPointF(1399.0, 1299.0)).size(), 1);
        QCOMPARE(scene.items(QPointF(50.0, 25.0)).size(), 0);
        item->setSize(QSizeF(10.0, 10.0), false, false);
        QCOMPARE(scene.items(QPointF(1399.0, 1299.0)).size(), 0);
        item->Release();
        QCOMPARE(scene.items().size(), 0);
    }

    void sceneFindsAnItemThatHasGrown()
    {
        QGraphicsScene scene(0.0, 0.0, 2000.0, 2000.0);
        scene.setBspTreeDepth(6);
        auto* item = new TestItem;
        scene.addItem(item);
        QCOMPARE(scene.items(QPointF(50.0, 25.0)).size(), 1); // builds the scene's index
        item->setObjRect(QRectF(0.0, 0.0, 1500.0, 1500.0));
        QCOMPARE(scene.items(QPointF(1499.0, 1499.0)).size(), 1);
        item->setSize(QSizeF(1900.0, 1900.0), false, false);
        QCOMPARE(scene.items(QPointF(1899.0, 1899.0)).size(), 1);
    }

    void pressSelectsASelectableItem()
    {
        QGraphicsScene scene(0.0, 0.0, 500.0, 500.0);
        auto* item = new TestItem;
        scene.addItem(item);
        sendMouse(scene, QEvent::GraphicsSceneMousePress, {10.0, 10.0}, Qt::LeftButton, Qt::LeftButton, {10.0, 10.0});
        QVERIFY(item->isSelected());
    }

    void pressLeavesAnItemThatIsNotSelectable()
    {
        QGraphicsScene scene(0.0, 0.0, 500.0, 500.0);
        auto* item = new TestItem;
        item->setFlag(QGraphicsItem::ItemIsSelectable, false);
        scene.addItem(item);
        sendMouse(scene, QEvent::GraphicsSceneMousePress, {10.0, 10.0}, Qt::LeftButton, Qt::LeftButton, {10.0, 10.0});
        QVERIFY(!item->isSelected());
    }

    void draggingMovesNoSelectedItem()
    {
        QGraphicsScene scene(0.0, 0.0, 500.0, 500.0);
        auto* item = new TestItem;
        item->m_refusesMoves = false; // it is the base that must not move it
        scene.addItem(item);
        auto* other = new TestItem;
        other->m_refusesMoves = false;
        other->setObjRect(QRectF(200.0, 200.0, 50.0, 50.0));
        other->updateAfterObjRectChanged(other, false);
        scene.addItem(other);
        other->setSelected(true);
        item->setSelected(true);
        drag(scene, {10.0, 10.0}, {60.0, 70.0});
        QCOMPARE(item->pos(), QPointF(0.0, 0.0));
        QCOMPARE(item->getObjRect(), QRectF(0.0, 0.0, 100.0, 50.0));
        QCOMPARE(other->pos(), QPointF(200.0, 200.0));
    }

    void rectangleFollowsAMoveThatTheItemAllows()
    {
        TestItem item;
        item.m_refusesMoves = false;
        static_cast<QGraphicsItem&>(item).setPos(7.0, 8.0);
        QCOMPARE(item.getObjRect(), QRectF(7.0, 8.0, 100.0, 50.0));
    }

    void refusedMoveLeavesItemAndRectangle()
    {
        TestItem item;
        static_cast<QGraphicsItem&>(item).setPos(7.0, 8.0);
        QCOMPARE(item.pos(), QPointF(0.0, 0.0));
        QCOMPARE(item.getPos(), QPointF(0.0, 0.0));
    }

    void hostsSetPosMovesRectangleAndItem()
    {
        TestItem item;
        item.setPos(QPointF(7.0, 8.0), true);
        QCOMPARE(item.getObjRect(), QRectF(7.0, 8.0, 100.0, 50.0));
        QCOMPARE(item.pos(), QPointF(7.0, 8.0));
    }

    void setSizeKeepsTheCornerAndRecordsItsFlags()
    {
        TestItem item;
        item.setPos(QPointF(7.0, 8.0), false);
        item.setSize(QSizeF(300.0, 200.0), true, false);
        QCOMPARE(item.getObjRect(), QRectF(7.0, 8.0, 300.0, 200.0));
        QCOMPARE(item.sizeFlags(), qMakePair(true, false));
        item.setSize(QSizeF(300.0, 200.0), false, true);
        QCOMPARE(item.sizeFlags(), qMakePair(false, true));
    }

    void paintCallsThePaintHook()
    {
        QGraphicsScene scene(0.0, 0.0, 200.0, 200.0);
        auto* item = new TestItem;
        scene.addItem(item);
        QImage image(200, 200, QImage::Format_ARGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        scene.render(&painter);
        painter.end();
        QCOMPARE(item->m_paints, 1);
        QCOMPARE(image.pixelColor(50, 25), QColor(Qt::red));
        QCOMPARE(image.pixelColor(150, 150), QColor(Qt::white));
    }

    void previewShowsTheItemWithinItsLimit()
    {
        TestItem item;
        QCOMPARE(item.getPreviewImage().size(), QSize(100, 50));
        QCOMPARE(item.getPreviewImage().pixelColor(50, 25), QColor(Qt::red));
        item.setSize(QSizeF(2048.0, 1024.0), false, false);
        QCOMPARE(item.getPreviewImage().size(), QSize(512, 256));
        item.setSize(QSizeF(0.0, 0.0), false, false);
        QVERIFY(item.getPreviewImage().isNull());
    }

    void handlePathIsACopyInTheGivenScale()
    {
        TestItem item;
        QPainterPath path;
        path.addRect(0.0, 0.0, 10.0, 20.0);
        item.addHandlePath(item.GetGraphicsItemPtr(), &path, 1.0);
        QCOMPARE(item.handlePath(), path);
        item.addHandlePath(item.GetGraphicsItemPtr(), &path, 2.0);
        QCOMPARE(item.handlePath().boundingRect(), QRectF(0.0, 0.0, 20.0, 40.0));
        item.addHandlePath(nullptr, nullptr, 1.0);
        QCOMPARE(item.handlePath().boundingRect(), QRectF(0.0, 0.0, 20.0, 40.0));
    }

    void streamCarriesRectangleAndNamedValues()
    {
        TestItem saved;
        saved.setObjRect(QRectF(1.5, 2.5, 3.5, 4.5));
        saved.setOtherParams(QStringLiteral("model_path"), QStringLiteral("/a/Ü.glb"));
        saved.setOtherParams(QStringLiteral("n"), 5);
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        QVERIFY(saved.save(out));
        out << QStringLiteral("behind");

        TestItem loaded;
        loaded.setSize(QSizeF(9.0, 9.0), true, true);
        loaded.setOtherParams(QStringLiteral("old"), 1);
        QDataStream in(bytes);
        QVERIFY(loaded.load(in));
        QCOMPARE(loaded.getObjRect(), QRectF(1.5, 2.5, 3.5, 4.5));
        QCOMPARE(loaded.getOtherParams(QStringLiteral("model_path")).toString(), QStringLiteral("/a/Ü.glb"));
        QCOMPARE(loaded.getOtherParams(QStringLiteral("n")).toInt(), 5);
        QVERIFY(!loaded.getOtherParams(QStringLiteral("old")).isValid());
        QString behind;
        in >> behind;
        QCOMPARE(behind, QStringLiteral("behind"));
    }

    void foreignStreamIsPutBackAndChangesNothing_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        TestItem item;
        item.setOtherParams(QStringLiteral("model_path"), QStringLiteral("/a.glb"));
        QByteArray good;
        QDataStream out(&good, QIODevice::WriteOnly);
        item.save(out);
        QByteArray notANumber;
        QDataStream nan(&notANumber, QIODevice::WriteOnly);
        nan << quint32(0x4f56524f) << quint32(1) << QRectF(0.0, 0.0, qQNaN(), 1.0) << QVariantMap();
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("something else") << QByteArray("just some text that is long enough to be read");
        QTest::newRow("cut short") << good.left(good.size() - 3);
        QTest::newRow("a rectangle that is none") << notANumber;
    }

    void foreignStreamIsPutBackAndChangesNothing()
    {
        QFETCH(QByteArray, bytes);
        TestItem item;
        QBuffer buffer(&bytes);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        QDataStream in(&buffer);
        QVERIFY(!item.load(in));
        QVERIFY(!item.getOtherParams(QStringLiteral("model_path")).isValid());
        QCOMPARE(item.getObjRect(), QRectF(0.0, 0.0, 100.0, 50.0));
        QCOMPARE(buffer.pos(), qint64(0));
    }

    void jsonCarriesTheSameAndLeavesOtherKeys()
    {
        TestItem saved;
        saved.setObjRect(QRectF(1.5, -2.5, 3.5, 4.5));
        saved.setOtherParams(QStringLiteral("model_path"), QStringLiteral("/a/Ü.glb"));
        QJsonObject object{{"3D_OBJECT_KEY", QJsonArray{1, 2}}};
        QVERIFY(saved.saveJson(object));
        QCOMPARE(object.value("3D_OBJECT_KEY").toArray(), QJsonArray({1, 2}));

        TestItem loaded;
        const QJsonObject before = object;
        QVERIFY(loaded.loadJson(object));
        QCOMPARE(object, before);
        QCOMPARE(loaded.getObjRect(), QRectF(1.5, -2.5, 3.5, 4.5));
        QCOMPARE(loaded.getOtherParams(QStringLiteral("model_path")).toString(), QStringLiteral("/a/Ü.glb"));
    }

    void jsonWithoutUsableKeysChangesNothing_data()
    {
        QTest::addColumn<QJsonObject>("object");
        QTest::newRow("nothing") << QJsonObject();
        QTest::newRow("three numbers") << QJsonObject{{"obj_rect", QJsonArray{1, 2, 3}}};
        QTest::newRow("a text among them") << QJsonObject{{"obj_rect", QJsonArray{1, 2, "3", 4}}};
        QTest::newRow("a negative size") << QJsonObject{{"obj_rect", QJsonArray{1, 2, -3, 4}}};
        QTest::newRow("another type of values") << QJsonObject{{"other_params", 5}};
    }

    void jsonWithoutUsableKeysChangesNothing()
    {
        QFETCH(QJsonObject, object);
        TestItem item;
        item.setOtherParams(QStringLiteral("kept"), 1);
        QVERIFY(item.loadJson(object));
        QCOMPARE(item.getObjRect(), QRectF(0.0, 0.0, 100.0, 50.0));
        QCOMPARE(item.getOtherParams(QStringLiteral("kept")).toInt(), 1);
    }

    void loadingNeverCallsSetSize()
    {
        struct Counting : TestItem
        {
            void setSize(QSizeF size, bool flagA, bool flagB) override
            {
                ++m_calls;
                TestItem::setSize(size, flagA, flagB);
            }
            int m_calls = 0;
        } item;
        QJsonObject object{{"obj_rect", QJsonArray{1, 2, 3, 4}}};
        item.loadJson(object);
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        item.save(out);
        QDataStream in(bytes);
        QVERIFY(item.load(in));
        QCOMPARE(item.m_calls, 0);
    }

    void releaseDestroysTheItem()
    {
        bool destroyed = false;
        auto* item = new TestItem;
        item->m_destroyed = &destroyed;
        static_cast<COVRootObject*>(item)->Release();
        QVERIFY(destroyed);
    }

    void baseAnswersNoPropertyAndLoadsNoFile()
    {
        TestItem item;
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::ReadWrite);
        QVERIFY(!item.GetSpecialProperty(101, stream));
        QVERIFY(!item.SetSpecialProperty(101, stream, true));
        QVERIFY(!item.loadFromFile(QStringLiteral("/a.glb")));
        QVERIFY(bytes.isEmpty());
    }
};

OV3D_TEST_MAIN(PageItemTest)
#include "pageitem_test.moc"
