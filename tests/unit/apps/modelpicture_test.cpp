#include "apps/cli/modelpicture.h"
#include "apps/common/workplace.h"
#include "tests/support/scriptedviewer.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QFile>
#include <QTemporaryDir>

#include <memory>

using namespace ov3d::apps;

/// A picture taken by way of the plug-in itself, loaded as the programs load it.
class ModelPictureTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();
    void pictureHasTheAskedSizeAndIsTransparentAroundTheModel();
    void hitShapeIsThatOfThePaintedPicture();
    void dragIsPressMovesAndRelease();
    void rightDragWithAltIsARightDrag();
    void wheelIsOneRecordANotch();
    void undoAndRedoRestoreTheView();
    void progressIsReadFromThePlugin();
    void refusedFileIsNotLoaded();

private:
    std::vector<ScriptedViewer::Call> inputs(int mouseType) const;

    QTemporaryDir m_data;
    ScriptedViewer m_viewer;
    Plugin m_plugin;
    std::unique_ptr<Workplace> m_workplace;
    std::unique_ptr<ModelPicture> m_picture;
};

void ModelPictureTest::initTestCase()
{
    TestBase::init();
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_data.path()));
    m_workplace = std::make_unique<Workplace>();
    QCOMPARE(m_workplace->error(), QString());
    QVERIFY2(m_plugin.load(QStringLiteral(OV3D_PLUGIN)), qPrintable(m_plugin.error()));
    m_plugin.setViewer(&ScriptedViewer::run);
    QFile model(m_data.filePath(QStringLiteral("a ü.stl")));
    QVERIFY(model.open(QIODevice::WriteOnly));
    m_picture = std::make_unique<ModelPicture>(m_plugin, QSize(401, 300), [this] { return m_viewer.pendingFrames(); });
    QVERIFY(m_picture->load(model.fileName()));
    QVERIFY(m_picture->settle());
    TestBase::cleanup();
}

void ModelPictureTest::init()
{
    TestBase::init();
    m_viewer.clearCalls();
}

void ModelPictureTest::cleanupTestCase()
{
    m_picture.reset();
}

std::vector<ScriptedViewer::Call> ModelPictureTest::inputs(int mouseType) const
{
    std::vector<ScriptedViewer::Call> found;
    for (const auto& call : m_viewer.callsWithOp(kOperationInput)) {
        if (call.context.mouse_type == mouseType)
            found.push_back(call);
    }
    return found;
}

void ModelPictureTest::pictureHasTheAskedSizeAndIsTransparentAroundTheModel()
{
    const QImage image = m_picture->paint();
    QCOMPARE(image.size(), QSize(401, 300));
    QCOMPARE(m_viewer.starts().front().context.width, 404); // the item takes the next multiple of four
    QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
    QCOMPARE(qAlpha(image.pixel(200, 150)), 255);
    const double share = opaqueShare(image);
    QVERIFY2(share > 0.2 && share < 0.3, qPrintable(QString::number(share)));
}

void ModelPictureTest::hitShapeIsThatOfThePaintedPicture()
{
    m_picture->paint();
    QCOMPARE(m_picture->hitRectangles(), 1);
}

void ModelPictureTest::dragIsPressMovesAndRelease()
{
    QVERIFY(m_picture->perform(DragGesture{{100, 150}, {200, 160}, Qt::LeftButton, Qt::ShiftModifier}));
    const auto presses = inputs(kMouseButtonDown);
    const auto moves = inputs(kMouseDrag);
    const auto releases = inputs(kMouseButtonUp);
    QCOMPARE(presses.size(), std::size_t{1});
    QVERIFY(moves.size() >= 2);
    QCOMPARE(releases.size(), std::size_t{1});
    QCOMPARE(presses[0].context.mouse_x, 100);
    QCOMPARE(presses[0].context.mouse_y, 150);
    QCOMPARE(presses[0].context.mouse_modifiers, 1);
    QCOMPARE(moves.back().context.mouse_x, 200);
    QCOMPARE(moves.back().context.mouse_y, 160);
    QCOMPARE(releases[0].context.mouse_x, 200);
}

void ModelPictureTest::rightDragWithAltIsARightDrag()
{
    QVERIFY(m_picture->perform(DragGesture{{100, 150}, {104, 150}, Qt::RightButton, Qt::AltModifier}));
    QCOMPARE(inputs(kMouseButtonDown).at(0).context.mouse_button, 4);
    QCOMPARE(inputs(kMouseDrag).size(), std::size_t{1});
}

void ModelPictureTest::wheelIsOneRecordANotch()
{
    QVERIFY(m_picture->perform(WheelGesture{-3, {50, 60}, Qt::ShiftModifier}));
    const auto notches = inputs(kMouseWheel);
    QCOMPARE(notches.size(), std::size_t{3});
    QCOMPARE(notches[0].context.wheel_dy, -2.0f);
    QCOMPARE(notches[0].context.mouse_x, 50);
    QCOMPARE(notches[0].context.mouse_modifiers, 1);
}

void ModelPictureTest::undoAndRedoRestoreTheView()
{
    QVERIFY(m_picture->perform(WheelGesture{1, {50, 60}, Qt::NoModifier}));
    m_viewer.clearCalls();
    QVERIFY(m_picture->perform(UndoGesture{}));
    QCOMPARE(m_viewer.callsWithOp(kOperationRestore).size(), std::size_t{1});
    QVERIFY(m_picture->perform(RedoGesture{}));
    QCOMPARE(m_viewer.callsWithOp(kOperationRestore).size(), std::size_t{2});
}

void ModelPictureTest::progressIsReadFromThePlugin()
{
    QCOMPARE(m_plugin.progress(), 100);
}

void ModelPictureTest::refusedFileIsNotLoaded()
{
    ModelPicture other(m_plugin, QSize(40, 30), [] { return 0; });
    QVERIFY(!other.load(m_data.filePath(QStringLiteral("a.blend"))));
    QCOMPARE(m_viewer.starts().size(), std::size_t{1});
}

OV3D_TEST_MAIN(ModelPictureTest)
#include "modelpicture_test.moc"
