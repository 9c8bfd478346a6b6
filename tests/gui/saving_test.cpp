#include "tests/gui/boardfixture.h"
#include "tests/unit/apps/helddocumentfile.h"

#include <QAction>
#include <QCheckBox>
#include <QFile>
#include <QMenuBar>
#include <QTimer>

#include <thread>

using namespace ov3d::apps;

/// Saves that take long: each test function has a window of its own, whose saves wait for the test.
class SavingTest : public BoardFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void windowAnswersWhileItsModelsAreAsked();
    void windowStaysInUseWhileItSaves();
    void stepAfterTheSaveBeganDoesNotMergeIntoASavedOne();
    void secondSaveFollowsTheFirst();
    void failedSaveLeavesTheDocumentChanged();
    void failedSaveOfAnUnchangedDocumentLeavesItUnchanged();
    void closedWindowWaitsForItsSave();
    void failedSaveKeepsAClosingWindow();
    void openingAnotherWaitsForTheSave();
    void newDocumentWaitsForTheSave();
    void windowThatGoesAwayWaitsForTheSave();

private:
    bool insertSample()
    {
        m_window->openModels({sample("sample.glb")});
        return settle() && m_window->view()->selectedItem();
    }
    /// Begins a save, which waits at the gate.
    bool startHeld(const QString& path)
    {
        m_gate.shut();
        m_window->startSaving(path);
        return waitFor([this] { return m_gate.isWaitedAt(); });
    }
    bool finish()
    {
        m_gate.open();
        return waitFor([this] { return !m_window->document()->isSaving(); });
    }
    [[nodiscard]] QString file(const char* name) const { return m_folder + QLatin1Char('/') + QLatin1String(name); }
    [[nodiscard]] bool saysThatItSaves() const
    {
        return m_window->findChild<QLabel*>(QStringLiteral("saving"))->isVisibleTo(m_window);
    }

    SaveGate m_gate;
};

void SavingTest::initTestCase()
{
    QVERIFY(loadPlugin());
}

void SavingTest::init()
{
    for (const char* name : {"a.ovb", "b.ovb"})
        QFile::remove(file(name));
    // First, since a new window makes Qt say something that is no concern of the test's.
    QString error;
    auto held = std::make_unique<HeldDocumentFile>(COvDocumentFile::create(error), m_gate);
    QVERIFY(showWindow(makeWindow(std::move(held))));
    TestBase::init();
}

void SavingTest::cleanup()
{
    m_gate.open();
    delete std::exchange(m_window, nullptr);
    TestBase::cleanup();
}

void SavingTest::windowAnswersWhileItsModelsAreAsked()
{
    m_window->openModels({sample("sample.glb"), sample("cube.stl")});
    QVERIFY(settle());
    bool wasAnswered = false;
    bool closed = true;
    QMetaObject::invokeMethod(
        this,
        [&] {
            wasAnswered = saysThatItSaves();
            closed = m_window->close();
        },
        Qt::QueuedConnection);
    m_window->startSaving(file("a.ovb"));
    QVERIFY(wasAnswered);
    QVERIFY(!closed);
    QVERIFY(waitFor([this] { return !m_window->isVisible(); }));
    QVERIFY(QFile::exists(file("a.ovb")));
}

void SavingTest::windowStaysInUseWhileItSaves()
{
    QVERIFY(insertSample());
    const QImage before = page();
    QVERIFY(startHeld(file("a.ovb")));
    QVERIFY(saysThatItSaves());
    QVERIFY(m_window->isWindowModified()); // there is no file yet
    QVERIFY(m_window->menuBar()->isEnabled());
    press(Qt::Key_5, Qt::ControlModifier);
    QVERIFY(settle());
    QVERIFY(page() != before);
    QVERIFY(m_window->document()->isSaving());
    QVERIFY(!QFile::exists(file("a.ovb")));

    QVERIFY(finish());
    QVERIFY(QFile::exists(file("a.ovb")));
    QVERIFY(!saysThatItSaves());
    QVERIFY2(status().contains(QLatin1String("without what has been changed")), qPrintable(status()));
    QVERIFY(m_window->isWindowModified());
    QVERIFY2(m_window->windowTitle().startsWith(QLatin1String("a.ovb")), qPrintable(m_window->windowTitle()));
    press(Qt::Key_Z, Qt::ControlModifier); // back to what has been saved
    QVERIFY(!m_window->isWindowModified());
}

void SavingTest::stepAfterTheSaveBeganDoesNotMergeIntoASavedOne()
{
    QVERIFY(insertSample());
    auto* box = m_window->findChild<QCheckBox*>(QStringLiteral("wireframe"));
    box->click();
    const int steps = m_window->document()->working().undoStack()->count();
    QVERIFY(startHeld(file("a.ovb")));
    box->click();
    QCOMPARE(m_window->document()->working().undoStack()->count(), steps + 1);
    QVERIFY(finish());
    QVERIFY(m_window->isWindowModified());
}

void SavingTest::secondSaveFollowsTheFirst()
{
    QVERIFY(insertSample());
    QVERIFY(startHeld(file("a.ovb")));
    press(Qt::Key_5, Qt::ControlModifier);
    press(Qt::Key_S, Qt::ControlModifier); // without a question: the document has a place by now
    QVERIFY2(status().contains(QLatin1String("as soon as")), qPrintable(status()));
    QVERIFY(finish());
    QVERIFY2(status() == QLatin1String("Saved a.ovb"), qPrintable(status()));
    QVERIFY(!m_window->isWindowModified());

    QVERIFY(startHeld(file("a.ovb")));
    m_window->startSaving(file("b.ovb"));
    QVERIFY(finish());
    QVERIFY(QFile::exists(file("b.ovb")));
    QVERIFY2(m_window->windowTitle().startsWith(QLatin1String("b.ovb")), qPrintable(m_window->windowTitle()));
    QVERIFY(finish());

    // A save that waits is not forgotten for one that comes after it.
    QVERIFY(startHeld(file("b.ovb")));
    m_window->startSaving(file("c.ovb"));
    press(Qt::Key_S, Qt::ControlModifier);
    m_window->startSaving(file("d.ovb"));
    QVERIFY(finish());
    QVERIFY(waitFor([this] { return QFile::exists(file("c.ovb")) && QFile::exists(file("d.ovb")); }));
    QVERIFY(finish());
    QVERIFY2(m_window->windowTitle().startsWith(QLatin1String("d.ovb")), qPrintable(m_window->windowTitle()));
}

void SavingTest::failedSaveLeavesTheDocumentChanged()
{
    QVERIFY(insertSample());
    m_window->addPage();
    const int failures = m_window->failureCount();
    const QString nowhere = file("nowhere/a.ovb");
    QVERIFY(startHeld(nowhere));
    QVERIFY(finish());
    QCOMPARE(status(), QStringLiteral("cannot save \"%1\": there is no folder \"%2\"").arg(nowhere, file("nowhere")));
    QCOMPARE(m_window->failureCount(), failures + 1);
    QVERIFY(m_window->isWindowModified());
    QVERIFY(!saysThatItSaves());
    QVERIFY(m_window->saveDocument(file("a.ovb")));
    QVERIFY(!m_window->isWindowModified());
}

void SavingTest::failedSaveOfAnUnchangedDocumentLeavesItUnchanged()
{
    QVERIFY(insertSample());
    QVERIFY(m_window->saveDocument(file("a.ovb")));
    QVERIFY(!m_window->saveDocument(file("nowhere/a.ovb")));
    QVERIFY(!m_window->isWindowModified());
    QVERIFY(m_window->menuBar()->isEnabled());
}

void SavingTest::closedWindowWaitsForItsSave()
{
    QVERIFY(insertSample());
    QVERIFY(startHeld(file("a.ovb")));
    QVERIFY(!m_window->close());
    QVERIFY(m_window->isVisible());
    QVERIFY2(status().contains(QLatin1String("closes once a.ovb")), qPrintable(status()));
    m_gate.open();
    QVERIFY(waitFor([this] { return !m_window->isVisible(); }));
    QVERIFY(QFile::exists(file("a.ovb")));
}

void SavingTest::failedSaveKeepsAClosingWindow()
{
    QVERIFY(insertSample());
    QVERIFY(startHeld(file("nowhere/a.ovb")));
    QVERIFY(!m_window->close());
    QVERIFY(finish());
    QApplication::processEvents();
    QVERIFY(m_window->isVisible());
    QVERIFY2(status().startsWith(QLatin1String("cannot save")), qPrintable(status()));
}

void SavingTest::openingAnotherWaitsForTheSave()
{
    QVERIFY(insertSample());
    QVERIFY(m_window->saveDocument(file("b.ovb")));
    QVERIFY(startHeld(file("a.ovb")));
    bool wasSaving = false;
    bool tookInput = true;
    QTimer::singleShot(0, this, [&] {
        wasSaving = m_window->document()->isSaving();
        tookInput = m_window->menuBar()->isEnabled();
        m_gate.open();
    });
    QVERIFY(m_window->openDocument(file("b.ovb")));
    QVERIFY(wasSaving);
    QVERIFY(!tookInput);
    QVERIFY(m_window->menuBar()->isEnabled());
    QVERIFY(QFile::exists(file("a.ovb")));
    QVERIFY2(m_window->windowTitle().startsWith(QLatin1String("b.ovb")), qPrintable(m_window->windowTitle()));
    QVERIFY(settle());
}

void SavingTest::newDocumentWaitsForTheSave()
{
    QVERIFY(insertSample());
    QVERIFY(startHeld(file("a.ovb")));
    QTimer::singleShot(0, this, [this] { m_gate.open(); });
    press(Qt::Key_N, Qt::ControlModifier);
    QVERIFY(m_window->document()->items().isEmpty());
    QVERIFY(QFile::exists(file("a.ovb")));
}

void SavingTest::windowThatGoesAwayWaitsForTheSave()
{
    QVERIFY(insertSample());
    QVERIFY(startHeld(file("a.ovb")));
    std::thread opener([this] { m_gate.open(); });
    delete std::exchange(m_window, nullptr);
    opener.join();
    QString error;
    const auto saved = COvDocumentFile::open(file("a.ovb"), error);
    QVERIFY2(saved, qPrintable(error));
    QVERIFY(saved->warnings().isEmpty());
}

int main(int argc, char** argv)
{
    runBoardTest<SavingTest>(argc, argv);
}

#include "saving_test.moc"
