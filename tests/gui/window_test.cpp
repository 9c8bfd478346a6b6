#include "apps/board/boardwindow.h"
#include "apps/board/pageview.h"
#include "apps/common/environment.h"
#include "apps/common/workplace.h"
#include "apps/document/ov3dservices.h"
#include "tests/support/testbase.h"
#include "viewer/session/ov3dviewer.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>

#include <cstdio>

#include <unistd.h>

using namespace ov3d::apps;

/// A person at the window: each test function goes on where the last one ended, with one model on the page.
class WindowTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void pageShowsThroughAroundTheModel();
    void dragTurnsTheModelAndIsNamed();
    void wheelZoomsAndIsNamed();
    void undoAndRedoEndInExactlyTheSamePictures();
    void handleOfTheFrameResizesTheItem();
    void deletedModelComesBackWithUndo();
    void panelChangesASettingAndUndoTakesItBack();
    void namedViewIsOneStepOfUndo();
    void copiedModelIsPastedBesideTheFirst();
    void savedDocumentOpensWithTheSamePicture();
    void secondWindowOnTheSameFileIsReadOnly();
    void windowAnswersWhileDocumentsLoad();
    void screenshot();

private:
    [[nodiscard]] QWidget* viewport() const { return m_window->view()->viewport(); }
    [[nodiscard]] QImage page() const { return viewport()->grab().toImage(); }
    [[nodiscard]] QString status() const { return m_window->findChild<QLabel*>(QStringLiteral("statusText"))->text(); }
    [[nodiscard]] QPoint at(double x, double y) const { return m_window->view()->mapFromScene(QPointF(x, y)); }
    void moveTo(QPoint point) const
    {
        QMouseEvent event(QEvent::MouseMove, point, viewport()->mapToGlobal(point), Qt::NoButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(viewport(), &event);
    }
    void press(int key, Qt::KeyboardModifiers modifiers) const { QTest::keyClick(m_window, Qt::Key(key), modifiers); }

    /// Waits until the viewer owes nothing and the page no longer changes.
    bool settle() const
    {
        QImage last;
        return waitFor(
            [&] {
                if (m_window->isLoading() || ov3dViewerPending() != 0)
                    return false;
                QTest::qWait(150); // longer than the item's pause between two frames
                const QImage now = page();
                const bool rests = now == last && ov3dViewerPending() == 0;
                last = now;
                return rests;
            },
            30000);
    }

    const QString m_folder = QDir::currentPath(); ///< before the workplace changes it
    StandardStreams m_streams;
    Workplace m_workplace;
    Plugin m_plugin;
    BoardWindow* m_window = nullptr;
    QImage m_fresh;
    QImage m_turned;
    QImage m_zoomed;
    QString m_file;
};

void WindowTest::initTestCase()
{
    QVERIFY2(m_plugin.load(QStringLiteral(OV3D_PLUGIN)), qPrintable(m_plugin.error()));
    m_plugin.setViewer(&ov3dViewer);
    m_window = new BoardWindow({m_plugin, m_streams, m_workplace.framework(), ov3dServices(m_plugin)});
    m_window->resize(1280, 800);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window));
    m_window->openModels({QDir(QStringLiteral(OV3D_SAMPLES)).absoluteFilePath(QStringLiteral("sample.glb"))});
    QVERIFY(settle());
    QCOMPARE(m_window->failureCount(), 0);
    m_fresh = page();
}

void WindowTest::pageShowsThroughAroundTheModel()
{
    // Inside the item's rectangle, in its empty upper left corner, there is the white page (between two of its dots).
    QCOMPARE(m_fresh.pixelColor(at(400, 120)), QColor(Qt::white));
    QVERIFY(m_fresh.pixelColor(at(960, 700)) != QColor(Qt::white));
}

void WindowTest::dragTurnsTheModelAndIsNamed()
{
    const QPoint start = at(960, 700);
    QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, start);
    for (int i = 1; i <= 20; ++i) {
        moveTo(start + QPoint(i * 8, -i));
        QApplication::processEvents();
    }
    QVERIFY2(status().contains(QLatin1String("Turning the view")), qPrintable(status()));
    QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, start + QPoint(160, -20));
    QVERIFY(settle());
    m_turned = page();
    QVERIFY(m_turned != m_fresh);
}

void WindowTest::wheelZoomsAndIsNamed()
{
    const QPoint point = at(960, 700);
    QWheelEvent event(QPointF(point), QPointF(viewport()->mapToGlobal(point)), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(viewport(), &event);
    QVERIFY2(status().contains(QLatin1String("Zooming in")), qPrintable(status()));
    QVERIFY(settle());
    m_zoomed = page();
    QVERIFY(m_zoomed != m_turned);
}

void WindowTest::undoAndRedoEndInExactlyTheSamePictures()
{
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window));
    press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(page(), m_turned);
    press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(page(), m_fresh);
    press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(settle());
    QCOMPARE(page(), m_turned);
    press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(settle());
    QCOMPARE(page(), m_zoomed);
}

void WindowTest::handleOfTheFrameResizesTheItem()
{
    // The item stands at (320, 60) with 1280 x 960; its lower right handle goes inward.
    const QPoint handle = at(1600, 1020);
    QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, handle);
    moveTo(at(1400, 900));
    QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, at(1400, 900));
    QVERIFY(settle());
    QVERIFY(page() != m_zoomed);
    press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(page(), m_zoomed);
}

void WindowTest::deletedModelComesBackWithUndo()
{
    press(Qt::Key_Delete, Qt::NoModifier);
    QVERIFY(settle());
    QCOMPARE(page().pixelColor(at(960, 700)), QColor(Qt::white));
    press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(settle());
    QVERIFY(page().pixelColor(at(960, 700)) != QColor(Qt::white));
}

void WindowTest::panelChangesASettingAndUndoTakesItBack()
{
    const QImage before = page();
    QVERIFY(m_window->view()->selectedItem());
    auto* box = m_window->findChild<QCheckBox*>(QStringLiteral("wireframe"));
    QVERIFY(box && box->isEnabled() && !box->isChecked());
    box->click();
    QVERIFY(settle());
    QVERIFY(page() != before);
    QVERIFY(m_window->isWindowModified());
    press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(page(), before);
    QVERIFY(!box->isChecked());
}

void WindowTest::namedViewIsOneStepOfUndo()
{
    const QImage before = page();
    const int steps = CUndoRedo::GetInstance()->stack()->index();
    press(Qt::Key_5, Qt::ControlModifier);
    QVERIFY2(status().contains(QLatin1String("View from the top")), qPrintable(status()));
    QCOMPARE(CUndoRedo::GetInstance()->stack()->index(), steps + 1);
    QVERIFY(settle());
    const QImage top = page();
    QVERIFY(top != before);
    press(Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(page(), before);
    press(Qt::Key_Y, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(page(), top);
}

void WindowTest::copiedModelIsPastedBesideTheFirst()
{
    QCOMPARE(m_window->document()->items().size(), 1);
    const QSizeF size = m_window->document()->items().first()->getSize();
    press(Qt::Key_C, Qt::ControlModifier);
    press(Qt::Key_V, Qt::ControlModifier);
    QVERIFY(settle());
    QCOMPARE(m_window->document()->items().size(), 2);
    CBaseObject* pasted = m_window->document()->items().last();
    QCOMPARE(pasted->getSize(), size);
    QVERIFY(pasted->getPos() != m_window->document()->items().first()->getPos());
    press(Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(m_window->document()->items().size(), 1);
    QVERIFY(settle());
}

void WindowTest::savedDocumentOpensWithTheSamePicture()
{
    m_window->document()->pages().page(0)->scene()->clearSelection();
    const QImage before = page();
    m_file = m_folder + QStringLiteral("/page.ovb");
    QVERIFY2(m_window->saveDocument(m_file), qPrintable(status()));
    QVERIFY(!m_window->isWindowModified());
    QVERIFY2(m_window->windowTitle().startsWith(QLatin1String("page.ovb")), qPrintable(m_window->windowTitle()));

    QVERIFY2(m_window->openDocument(m_file), qPrintable(status()));
    QVERIFY(settle());
    QCOMPARE(m_window->failureCount(), 0);
    QVERIFY2(!m_window->document()->file().isReadOnly(), qPrintable(m_window->document()->file().readOnlyReason()));
    QCOMPARE(page(), before);
}

void WindowTest::secondWindowOnTheSameFileIsReadOnly()
{
    BoardWindow second({m_plugin, m_streams, m_workplace.framework(), ov3dServices(m_plugin)});
    const bool opened = second.openDocument(m_file);
    const QString title = second.windowTitle();
    second.closeDocument();
    m_workplace.framework().setCurrentDocument(&m_window->document()->pages());
    QVERIFY(opened);
    QVERIFY2(title.contains(QLatin1String("read-only")), qPrintable(title));
}

void WindowTest::windowAnswersWhileDocumentsLoad()
{
    QVERIFY(m_window->openDocument(m_file));
    QVERIFY(m_window->isLoading());
    QVERIFY(m_window->findChild<QWidget*>(QStringLiteral("loadProgress"))->isVisibleTo(m_window));
    // The event loop turns while the model is loaded: the load is still under way when it has turned.
    QApplication::processEvents();
    QVERIFY(m_window->isLoading());
    QVERIFY(settle());
    QVERIFY(!m_window->findChild<QWidget*>(QStringLiteral("loadProgress"))->isVisibleTo(m_window));
}

/// For people: window.png in the test's folder.
void WindowTest::screenshot()
{
    QVERIFY(m_window->grab().save(m_folder + QStringLiteral("/window.png")));
}

int main(int argc, char** argv)
{
    makeLocaleUtf8();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("ov3d"));
    auto* test = new WindowTest;
    const int failures = QTest::qExec(test, argc, argv);
    std::fflush(nullptr);
    // As the program itself does: items need seconds to end, and the renderers end with this process.
    ::_exit(failures);
}

#include "window_test.moc"
