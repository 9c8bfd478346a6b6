#include "apps/board/boardwindow.h"
#include "apps/board/pageview.h"
#include "apps/common/environment.h"
#include "apps/common/workplace.h"
#include "apps/document/ov3dservices.h"
#include "apps/document/placeholderitem.h"
#include "tests/support/testbase.h"
#include "viewer/session/ov3dviewer.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProgressBar>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>

#include <unistd.h>

using namespace ov3d::apps;

namespace {

constexpr int kItems = 50;
constexpr int kColumns = 10;
constexpr QSizeF kSize(160, 120);
constexpr int kTickMs = 5;

} // namespace

/// A page full of models: it is opened while its window stays in use.
class ManyItemsTest : public TestBase
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

    const QString m_file = QDir::currentPath() + QStringLiteral("/fifty.ovb"); ///< before the workplace changes it
    StandardStreams m_streams;
    Workplace m_workplace;
    Plugin m_plugin;
    BoardWindow* m_window = nullptr;
};

void ManyItemsTest::initTestCase()
{
    QVERIFY2(m_plugin.load(QStringLiteral(OV3D_PLUGIN)), qPrintable(m_plugin.error()));
    m_plugin.setViewer(&ov3dViewer);
    m_window = new BoardWindow({m_plugin, m_streams, m_workplace.framework(), ov3dServices(m_plugin)});
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window));

    const QString model = QDir(QStringLiteral(OV3D_SAMPLES)).absoluteFilePath(QStringLiteral("cube.stl"));
    LiveDocument& document = *m_window->document();
    for (int i = 0; i < kItems; ++i) {
        const QPointF corner((i % kColumns) * kSize.width(), (i / kColumns) * kSize.height());
        document.insertModel(*document.pages().page(0), model, QRectF(corner, kSize), {});
    }
    QVERIFY(waitFor([&] { return !m_window->isLoading() && ov3dViewerPending() == 0; }, 240000));
    QVERIFY(m_window->saveDocument(m_file));
}

void ManyItemsTest::itemsArriveOneAtATimeWhileTheWindowAnswers()
{
    QVERIFY(m_window->openDocument(m_file));
    const LiveDocument& document = *m_window->document();
    const auto* progress = m_window->findChild<QProgressBar*>(QStringLiteral("loadProgress"));
    QCOMPARE(placeholders(document), kItems);
    QVERIFY(progress->isVisibleTo(m_window));
    QCOMPARE(progress->maximum(), kItems);

    int last = kItems;
    int mostAtOnce = 0;
    int ticksSinceArrival = 0;
    int arrivalsWithoutATick = 0;
    connect(&document, &LiveDocument::itemShown, this, [&] {
        if (ticksSinceArrival == 0)
            ++arrivalsWithoutATick;
        ticksSinceArrival = 0;
    });
    // Ticks stand for a user's events: what is longer than the interval is how long one waits for an answer.
    qint64 longest = 0;
    QElapsedTimer sinceTick;
    sinceTick.start();
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, this, [&] {
        longest = std::max(longest, sinceTick.restart());
        ++ticksSinceArrival;
        const int left = placeholders(document);
        mostAtOnce = std::max(mostAtOnce, last - left);
        last = left;
    });
    ticks.start(kTickMs);
    QVERIFY(waitFor([&] { return !m_window->isLoading(); }, 240000));
    ticks.stop();
    std::printf("longest wait for an answer: %lld ms\n", static_cast<long long>(longest));
    QCOMPARE(placeholders(document), 0);
    QCOMPARE(mostAtOnce, 1);
    QCOMPARE(arrivalsWithoutATick, 0);
    QVERIFY(!progress->isVisibleTo(m_window));
    QVERIFY(waitFor([] { return ov3dViewerPending() == 0; }, 120000));
    QVERIFY(m_window->grab().save(QFileInfo(m_file).path() + QStringLiteral("/fifty.png")));
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
    makeLocaleUtf8();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("ov3d"));
    auto* test = new ManyItemsTest;
    const int failures = QTest::qExec(test, argc, argv);
    std::fflush(nullptr);
    // As the program itself does: items need seconds to end, and the renderers end with this process.
    ::_exit(failures);
}

#include "manyitems_test.moc"
