#include "apps/board/keptviews.h"
#include "apps/board/pagecommands.h"
#include "apps/document/itemsettings.h"
#include "apps/document/placeholderitem.h"
#include "tests/gui/boardfixture.h"

#include <QAction>
#include <QCheckBox>
#include <QFile>
#include <QMenuBar>
#include <QMouseEvent>
#include <QTimer>

#include <limits>

using namespace ov3d::apps;

/// What can go wrong when models and documents are changed: each test function begins with a new document.
class ChangesTest : public BoardFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void viewsOfTheUserSurviveEveryStepOfUndo();
    void viewNamesAreChecked();
    void limitOfNamedViewsIsToldAndLeavesUndoItsViews();
    void undoBeyondTheKeptViewsIsHarmless();
    void undoneRawModeBringsBackWhatItSwitchedOff();
    void savingWhileModelsArriveSaysWhatIsLeftOut();
    void lockedModelIsNotChanged();
    void openedItemsKnowTheirLimits();
    void cancelledItemsCanBeLoadedAgain();
    void windowAnswersAndRefusesAnotherWhileItOpens();
    void closedWindowAbandonsItsOpening();
    void damagedDocumentLeavesThePresentOne();
    void documentWhoseFileIsGoneIsKept();

private:
    /// Puts one model on the page, selected.
    bool insertSample()
    {
        m_window->openModels({sample("sample.glb")});
        return settle() && m_window->view()->selectedItem();
    }
    bool saveSample(const QString& name)
    {
        m_file = m_folder + QLatin1Char('/') + name;
        return insertSample() && m_window->saveDocument(m_file);
    }
    [[nodiscard]] static QUndoStack& steps() { return *CUndoRedo::GetInstance()->stack(); }
    [[nodiscard]] QJsonObject record() const
    {
        return readSettings(*m_window->view()->selectedItem()).value_or(QJsonObject());
    }

    QString m_file;
};

void ChangesTest::initTestCase()
{
    QVERIFY(showWindow());
}

void ChangesTest::init()
{
    TestBase::init();
    // Nobody is there to be asked whether changes are to be saved.
    m_window->document()->working().undoStack()->setClean();
    press(Qt::Key_N, Qt::ControlModifier);
    QVERIFY(m_window->document()->items().isEmpty());
}

void ChangesTest::viewsOfTheUserSurviveEveryStepOfUndo()
{
    QVERIFY(insertSample());
    const QImage kept = page();
    // Numbers, since undo counts its views.
    const QStringList names = {QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")};
    for (const QString& name : names) {
        m_window->keepView(name);
        QVERIFY2(status().contains(QLatin1String("brings this view back")), qPrintable(status()));
    }
    for (const QString& name : names) {
        press(Qt::Key_5, Qt::ControlModifier);
        QVERIFY(settle());
        QVERIFY(page() != kept);
        m_window->returnToView(name);
        QVERIFY(settle());
        QCOMPARE(page(), kept);
    }
}

void ChangesTest::viewNamesAreChecked()
{
    QVERIFY(insertSample());
    CBaseObject& item = *m_window->view()->selectedItem();
    for (const QString& name : {QStringLiteral("undo\x01%1").arg(1), QStringLiteral("a\tb"), QStringLiteral(" ")}) {
        QVERIFY2(!keepNamedView(item, name).isEmpty(), qPrintable(name));
        QVERIFY(namedViews(item).isEmpty());
    }
}

void ChangesTest::limitOfNamedViewsIsToldAndLeavesUndoItsViews()
{
    QVERIFY(insertSample());
    CBaseObject& item = *m_window->view()->selectedItem();
    for (int i = 0; i < kMostNamedViews; ++i)
        QCOMPARE(keepNamedView(item, QStringLiteral("view %1").arg(i)), QString());
    m_window->keepView(QStringLiteral("one more"));
    QVERIFY2(status().contains(QLatin1String("limit")), qPrintable(status()));
    QCOMPARE(keepNamedView(item, QStringLiteral("view 3")), QString()); // a name that is there takes no more room

    QVERIFY(settle());
    const QImage before = page();
    // So often that undo has every view that is its own.
    for (int i = 0; i < 15; ++i) {
        press(Qt::Key_5, Qt::ControlModifier);
        press(Qt::Key_7, Qt::ControlModifier);
    }
    const int count = steps().count();
    press(Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(steps().count(), count); // the step could be undone, so it stays
    m_window->returnToView(QStringLiteral("view 0"));
    QVERIFY(settle());
    QCOMPARE(page(), before);
}

void ChangesTest::undoBeyondTheKeptViewsIsHarmless()
{
    QVERIFY(insertSample());
    constexpr int kSteps = 50;
    for (int i = 0; i < kSteps; ++i)
        press(i % 2 == 0 ? Qt::Key_1 : Qt::Key_5, Qt::ControlModifier);
    QCOMPARE(steps().count(), kSteps);
    for (int i = 0; i < kSteps; ++i)
        press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY2(status().contains(QLatin1String("no longer kept")), qPrintable(status()));
    QCOMPARE(steps().index(), 0);
    const int left = steps().count();
    QVERIFY2(left > 0 && left < kSteps, qPrintable(QString::number(left)));

    // The steps that are left can be redone, and the item still takes commands.
    while (steps().canRedo())
        press(Qt::Key_Y, Qt::ControlModifier);
    QVERIFY(settle());
    const QImage top = page();
    press(Qt::Key_1, Qt::ControlModifier);
    QVERIFY(settle());
    QVERIFY(page() != top);
    press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(page(), top);
}

void ChangesTest::undoneRawModeBringsBackWhatItSwitchedOff()
{
    QVERIFY(insertSample());
    const QJsonObject before = record();
    QVERIFY(before.value(QLatin1String("hdr_map")).toBool());
    m_window->findChild<QCheckBox*>(QStringLiteral("raw_mode"))->click();
    QVERIFY(record().value(QLatin1String("raw_mode")).toBool());
    QVERIFY(!record().value(QLatin1String("hdr_map")).toBool());
    const QJsonObject raw = record();
    press(Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(record(), before);
    QVERIFY(m_window->findChild<QCheckBox*>(QStringLiteral("hdr_map"))->isChecked());
    press(Qt::Key_Y, Qt::ControlModifier);
    QCOMPARE(record(), raw);
    QVERIFY(settle());
}

void ChangesTest::savingWhileModelsArriveSaysWhatIsLeftOut()
{
    m_window->openModels({sample("sample.glb"), sample("cube.stl")});
    const QString file = m_folder + QStringLiteral("/early.ovb");
    QVERIFY(m_window->saveDocument(file));
    QVERIFY2(status().contains(QLatin1String("sample.glb, cube.stl")), qPrintable(status()));
    QVERIFY(!m_window->isWindowModified());
    QVERIFY(settle());
    QCOMPARE(m_window->document()->items().size(), 2);
    QVERIFY(m_window->isWindowModified());
    QVERIFY(m_window->saveDocument(file));
    QVERIFY2(!status().contains(QLatin1String("sample.glb")), qPrintable(status()));
    QVERIFY(!m_window->isWindowModified());
}

void ChangesTest::lockedModelIsNotChanged()
{
    QVERIFY(insertSample());
    CBaseObject* item = m_window->view()->selectedItem();
    auto* action = m_window->findChild<QAction*>(QStringLiteral("locked"));
    QVERIFY(action->isEnabled() && !action->isChecked());
    action->trigger();
    QVERIFY(item->isLocked());
    QVERIFY(action->isChecked());
    const int count = steps().count();
    const QImage before = page();
    const QRectF frame = item->getObjRect();

    for (const QPoint& start : {at(960, 700), at(320, 500), at(1600, 1020)}) { // the model, its frame, a handle
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, start);
        const QPoint end = start - QPoint(60, 40);
        QMouseEvent move(QEvent::MouseMove, end, viewport()->mapToGlobal(end), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(viewport(), &move);
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, end);
    }
    item->setSelected(true);
    press(Qt::Key_Delete, Qt::NoModifier);
    press(Qt::Key_5, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(steps().count(), count);
    QCOMPARE(item->getObjRect(), frame);
    QCOMPARE(page(), before);

    press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(!item->isLocked());
    QVERIFY(!action->isChecked());
    press(Qt::Key_5, Qt::ControlModifier);
    QVERIFY(settle());
    QVERIFY(page() != before);
}

void ChangesTest::openedItemsKnowTheirLimits()
{
    QVERIFY(saveSample(QStringLiteral("one.ovb")));
    QVERIFY(m_window->openDocument(m_file));
    QVERIFY(settle());
    const CBaseObject* item = m_window->document()->items().value(0);
    QVERIFY(item);
    QVERIFY(frameLimits(*item).largestArea < std::numeric_limits<double>::max());
}

void ChangesTest::cancelledItemsCanBeLoadedAgain()
{
    auto* action = m_window->findChild<QAction*>(QStringLiteral("loadRest"));
    QVERIFY(saveSample(QStringLiteral("one.ovb")));
    QVERIFY(!action->isEnabled());
    QVERIFY(m_window->openDocument(m_file));
    m_window->document()->loader().cancelAll();
    QVERIFY(waitFor([this] { return !m_window->isLoading(); }, 30000));
    QVERIFY(dynamic_cast<PlaceholderItem*>(m_window->document()->items().value(0)));
    QVERIFY(action->isEnabled());
    action->trigger();
    QVERIFY(!action->isEnabled());
    QVERIFY(settle());
    QVERIFY(!dynamic_cast<PlaceholderItem*>(m_window->document()->items().value(0)));
}

void ChangesTest::windowAnswersAndRefusesAnotherWhileItOpens()
{
    QVERIFY(saveSample(QStringLiteral("one.ovb")));
    bool answered = false;
    bool openedAnother = true;
    bool menusAnswered = true;
    QTimer::singleShot(0, this, [&] {
        answered = true;
        menusAnswered = m_window->menuBar()->isEnabled();
        openedAnother = m_window->openDocument(m_file);
    });
    QVERIFY(m_window->openDocument(m_file));
    QVERIFY(answered);
    QVERIFY(!openedAnother);
    QVERIFY(!menusAnswered);
    QVERIFY(m_window->menuBar()->isEnabled());
    QVERIFY(settle());
}

void ChangesTest::closedWindowAbandonsItsOpening()
{
    QVERIFY(saveSample(QStringLiteral("one.ovb")));
    press(Qt::Key_N, Qt::ControlModifier);
    const LiveDocument* present = m_window->document();
    QTimer::singleShot(0, m_window, &QWidget::close);
    QVERIFY(!m_window->openDocument(m_file));
    QCOMPARE(m_window->document(), present);
    QVERIFY(!m_window->isVisible());
    m_window->show();
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowExposed(m_window));

    // A window may even be gone when its file has been read.
    std::unique_ptr<BoardWindow> second = makeWindow();
    QVERIFY(second);
    QTimer::singleShot(0, this, [&second] { second.reset(); });
    BoardWindow* window = second.get();
    QVERIFY(!window->openDocument(m_file));
    QVERIFY(!second);
    m_workplace.framework().setCurrentDocument(&m_window->document()->working());
}

void ChangesTest::damagedDocumentLeavesThePresentOne()
{
    QVERIFY(insertSample());
    const QString path = m_folder + QStringLiteral("/damaged.ovb");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no document");
    file.close();
    const int failures = m_window->failureCount();
    QVERIFY(!m_window->openDocument(path));
    QVERIFY2(status().contains(QLatin1String("damaged.ovb")), qPrintable(status()));
    QCOMPARE(m_window->failureCount(), failures + 1);
    QCOMPARE(m_window->document()->items().size(), 1);
    QVERIFY(m_window->menuBar()->isEnabled());
}

void ChangesTest::documentWhoseFileIsGoneIsKept()
{
    QVERIFY(saveSample(QStringLiteral("gone.ovb")));
    QVERIFY(QFile::remove(m_file));
    QVERIFY(!m_window->openDocument(m_file));
    QCOMPARE(m_window->document()->items().size(), 1);
    QVERIFY(m_window->saveDocument(m_file));
    QVERIFY(QFile::exists(m_file));
}

int main(int argc, char** argv)
{
    runBoardTest<ChangesTest>(argc, argv);
}

#include "changes_test.moc"
