#include "tests/gui/boardfixture.h"

#include <QCheckBox>
#include <QMouseEvent>
#include <QWheelEvent>

using namespace ov3d::apps;

/// A person at the window: each test function goes on where the last one ended, with one model on the page.
class WindowTest : public BoardFixture
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
    void moveTo(QPoint point) const
    {
        QMouseEvent event(QEvent::MouseMove, point, viewport()->mapToGlobal(point), Qt::NoButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(viewport(), &event);
    }

    QImage m_fresh;
    QImage m_turned;
    QImage m_zoomed;
    QString m_file;
};

void WindowTest::initTestCase()
{
    QVERIFY(showWindow());
    m_window->openModels({sample("sample.glb")});
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
    const std::unique_ptr<BoardWindow> second = makeWindow();
    QVERIFY(second);
    const bool opened = second->openDocument(m_file);
    const QString title = second->windowTitle();
    second->closeDocument();
    m_workplace.framework().setCurrentDocument(&m_window->document()->working());
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

/// For people: window.png and sky.png in the test's folder.
void WindowTest::screenshot()
{
    m_window->document()->items().first()->setSelected(true);
    QVERIFY(m_window->grab().save(m_folder + QStringLiteral("/window.png")));
    const QColor behind = page().pixelColor(at(400, 120));
    m_window->findChild<QCheckBox*>(QStringLiteral("enable_sky"))->click();
    QVERIFY(settle());
    QVERIFY(page().pixelColor(at(400, 120)) != behind);
    QVERIFY(m_window->grab().save(m_folder + QStringLiteral("/sky.png")));
}

int main(int argc, char** argv)
{
    runBoardTest<WindowTest>(argc, argv);
}

#include "window_test.moc"
