#include "apps/document/placeholderitem.h"
#include "tests/gui/boardfixture.h"

#include <QElapsedTimer>
#include <QProgressBar>
#include <QTimer>

#include <algorithm>

using namespace ov3d::apps;

namespace {

constexpr int kItems = 50;
constexpr int kColumns = 10;
constexpr QSizeF kSize(160, 120);
constexpr int kTickMs = 5;

} // namespace

/// A page full of models: it is opened while its window stays in use.
class ManyItemsTest : public BoardFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void itemsArriveOneAtATimeWhileTheWindowAnswers();
    void cancelledItemsStayAsPlaceholdersAndAreSavedWhole();

private:
    static int placeholders(const LiveDocument& document)
    {
        const QList<CBaseObject*> items = document.items();
        return static_cast<int>(std::count_if(items.begin(), items.end(), [](const CBaseObject* item) {
            return dynamic_cast<const PlaceholderItem*>(item) != nullptr;
        }));
    }

    const QString m_file = m_folder + QStringLiteral("/fifty.ovb");
};

void ManyItemsTest::initTestCase()
{
    QVERIFY(showWindow());
    const QString model = sample("cube.stl");
    LiveDocument& pages = *m_window->document();
    for (int i = 0; i < kItems; ++i) {
        const QPointF corner((i % kColumns) * kSize.width(), (i / kColumns) * kSize.height());
        pages.insertModel(*pages.pages().page(0), model, QRectF(corner, kSize), {});
    }
    QVERIFY(waitFor([&] { return !m_window->isLoading() && ov3dViewerPending() == 0; }, 240000));
    QVERIFY(m_window->saveDocument(m_file));
}

void ManyItemsTest::itemsArriveOneAtATimeWhileTheWindowAnswers()
{
    // Ticks stand for a user's events: what is longer than the interval is how long one waits for an answer.
    qint64 longest = 0;
    int ticksSinceArrival = 0;
    QElapsedTimer sinceTick;
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, this, [&] {
        longest = std::max(longest, sinceTick.restart());
        ++ticksSinceArrival;
    });
    sinceTick.start();
    ticks.start(kTickMs);
    QVERIFY(m_window->openDocument(m_file));
    QVERIFY(ticksSinceArrival > 0);
    const LiveDocument& document = *m_window->document();
    const auto* progress = m_window->findChild<QProgressBar*>(QStringLiteral("loadProgress"));
    QCOMPARE(placeholders(document), kItems);
    QVERIFY(progress->isVisibleTo(m_window));
    QCOMPARE(progress->maximum(), kItems);

    int last = kItems;
    int mostAtOnce = 0;
    int arrivalsWithoutATick = 0;
    connect(&document, &LiveDocument::itemShown, this, [&] {
        if (ticksSinceArrival == 0)
            ++arrivalsWithoutATick;
        ticksSinceArrival = 0;
    });
    connect(&ticks, &QTimer::timeout, &document, [&] {
        const int left = placeholders(document);
        mostAtOnce = std::max(mostAtOnce, last - left);
        last = left;
    });
    QVERIFY(waitFor([&] { return !m_window->isLoading(); }, 240000));
    ticks.stop();
    std::printf("longest wait for an answer: %lld ms\n", static_cast<long long>(longest));
    QCOMPARE(placeholders(document), 0);
    QCOMPARE(mostAtOnce, 1);
    QCOMPARE(arrivalsWithoutATick, 0);
    QVERIFY(!progress->isVisibleTo(m_window));
    QVERIFY(waitFor([] { return ov3dViewerPending() == 0; }, 120000));
    QVERIFY(m_window->grab().save(m_folder + QStringLiteral("/fifty.png")));
}

void ManyItemsTest::cancelledItemsStayAsPlaceholdersAndAreSavedWhole()
{
    QVERIFY(m_window->openDocument(m_file));
    QVERIFY(waitFor([&] { return placeholders(*m_window->document()) < kItems; }, 60000));
    m_window->document()->loader().cancelAll();
    QVERIFY(waitFor([&] { return !m_window->isLoading(); }, 60000));
    QVERIFY(placeholders(*m_window->document()) > 0);
    QVERIFY(m_window->saveDocument(m_file));
    QVERIFY(m_window->openDocument(m_file));
    QCOMPARE(placeholders(*m_window->document()), kItems);
    m_window->closeDocument();
}

int main(int argc, char** argv)
{
    runBoardTest<ManyItemsTest>(argc, argv);
}

#include "manyitems_test.moc"
