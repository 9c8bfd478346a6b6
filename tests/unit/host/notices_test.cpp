#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/host/testitem.h"

#include <QTest>
#include <QThread>

#include <future>
#include <thread>
#include <vector>

namespace {

struct Notice
{
    COVRootObject* item;
    int code;
    QString text;
    quintptr sender;
    QThread* deliveredOn;
};

quintptr currentThreadId()
{
    return reinterpret_cast<quintptr>(QThread::currentThreadId());
}

} // namespace

class NoticesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        QCoreApplication::processEvents();
        m_observer = std::make_unique<QObject>();
        m_notices.clear();
        m_rects.clear();
        // Direct, so that the thread on which the notifier itself speaks is the one that is seen.
        connect(
            CObjectNotifier::GetInstance(), &CObjectNotifier::propertyChanged, m_observer.get(),
            [this](COVRootObject* item, int code, const QString& text, quintptr sender) {
                m_notices.push_back({item, code, text, sender, QThread::currentThread()});
            },
            Qt::DirectConnection);
        connect(
            CObjectNotifier::GetInstance(), &CObjectNotifier::objRectChanged, m_observer.get(),
            [this](COVRootObject*, const QRectF& rect) { m_rects.push_back(rect); }, Qt::DirectConnection);
    }

    void cleanup()
    {
        m_observer.reset();
        TestBase::cleanup();
    }

    void noticeOfTheGuiThreadComesLater()
    {
        TestItem item;
        item.notifyObjPropertyChanged(1002, QString());
        QVERIFY(m_notices.empty());
        QVERIFY(waitFor([this] { return !m_notices.empty(); }));
        QCOMPARE(m_notices.front().item, static_cast<COVRootObject*>(&item));
        QCOMPARE(m_notices.front().code, 1002);
        QCOMPARE(m_notices.front().sender, currentThreadId());
    }

    void noticeOfAnotherThreadArrivesOnTheGuiThread()
    {
        TestItem item;
        quintptr sender = 0;
        std::thread thread([&] {
            sender = currentThreadId();
            item.notifyObjPropertyChanged(7, QStringLiteral("text"));
        });
        thread.join();
        QVERIFY(m_notices.empty());
        QVERIFY(waitFor([this] { return !m_notices.empty(); }));
        QCOMPARE(m_notices.front().deliveredOn, QCoreApplication::instance()->thread());
        QCOMPARE(m_notices.front().sender, sender);
        QVERIFY(sender != currentThreadId());
        QCOMPARE(m_notices.front().text, QStringLiteral("text"));
    }

    void noticeNeverWaitsForTheGuiThread()
    {
        TestItem item;
        const auto done = std::async(std::launch::async, [&item] {
            for (int i = 0; i < 1000; ++i)
                item.notifyObjPropertyChanged(i, QString());
        });
        // The GUI thread runs no events here, as it does while it waits for a model's first frame.
        QCOMPARE(done.wait_for(std::chrono::seconds(30)), std::future_status::ready);
        QVERIFY(m_notices.empty());
        QVERIFY(waitFor([this] { return m_notices.size() == 1000; }));
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(m_notices[static_cast<std::size_t>(i)].code, i);
    }

    void noticeOfAReleasedItemIsDropped()
    {
        auto* released = new TestItem;
        released->notifyObjPropertyChanged(1, QString());
        released->Release();
        TestItem other; // very likely at the same address
        other.notifyObjPropertyChanged(2, QString());
        QVERIFY(waitFor([this] { return !m_notices.empty(); }));
        QCoreApplication::processEvents();
        QCOMPARE(m_notices.size(), std::size_t(1));
        QCOMPARE(m_notices.front().code, 2);
    }

    void rectangleChangesAreToldOnlyWhenAsked()
    {
        TestItem item;
        QVERIFY(waitFor([this] { return m_rects.size() == 1; })); // the constructor's
        item.setObjRect(QRectF(1.0, 2.0, 3.0, 4.0));
        item.updateAfterObjRectChanged(&item, false);
        item.setObjRect(QRectF(5.0, 6.0, 7.0, 8.0));
        item.updateAfterObjRectChanged(&item, true);
        QVERIFY(waitFor([this] { return m_rects.size() == 2; }));
        QCoreApplication::processEvents();
        QCOMPARE(m_rects.size(), std::size_t(2));
        QCOMPARE(m_rects.back(), QRectF(5.0, 6.0, 7.0, 8.0));
    }

private:
    std::unique_ptr<QObject> m_observer;
    std::vector<Notice> m_notices;
    std::vector<QRectF> m_rects;
};

OV3D_TEST_MAIN(NoticesTest)
#include "notices_test.moc"
