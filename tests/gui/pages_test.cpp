#include "apps/board/pagecommands.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"
#include "apps/document/placeholderitem.h"
#include "tests/gui/boardfixture.h"

#include <QAction>
#include <QCheckBox>
#include <QFile>

using namespace ov3d::apps;

/// Pages and environment pictures are steps of undo like everything else: each test function begins with a new
/// document.
class PagesTest : public BoardFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void addedPageIsAStepOfUndo();
    void removedPageComesBackWithItemsViewsAndSettings();
    void stepsBeforeARemovedPageStillWork();
    void lastPageStays();
    void pageWhoseModelsAreAwaitedIsNotTakenAway();
    void removedPageIsNotSavedAndOneThatCameBackIs();
    void forgottenPageTakesItsItemsAlong();
    void environmentPictureIsAStepOfUndo();
    void environmentOfUndoIsTheOneThatIsSaved();

private:
    bool insertSample()
    {
        m_window->openModels({sample("sample.glb")});
        return settle() && m_window->view()->selectedItem();
    }
    void undo() const { press(Qt::Key_Z, Qt::ControlModifier); }
    void redo() const { press(Qt::Key_Y, Qt::ControlModifier); }
    [[nodiscard]] int pageCount() const { return m_window->document()->pages().pageCount(); }
    [[nodiscard]] QString pageNumber() const
    {
        return m_window->findChild<QLabel*>(QStringLiteral("pageNumber"))->text();
    }
    [[nodiscard]] static QUndoStack& steps() { return *CUndoRedo::GetInstance()->stack(); }

    /// A picture of one colour.
    [[nodiscard]] QString writePicture(const QString& name, const QByteArray& pixel) const
    {
        QFile file(m_folder + QLatin1Char('/') + name);
        if (!file.open(QIODevice::WriteOnly))
            return {};
        file.write("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 4 +X 8\n" + pixel.repeated(4 * 8));
        return file.fileName();
    }
};

void PagesTest::initTestCase()
{
    QVERIFY(showWindow());
}

void PagesTest::init()
{
    TestBase::init();
    // Nobody is there to be asked whether changes are to be saved.
    m_window->document()->working().undoStack()->setClean();
    press(Qt::Key_N, Qt::ControlModifier);
    QVERIFY(m_window->document()->items().isEmpty());
}

void PagesTest::addedPageIsAStepOfUndo()
{
    m_window->addPage();
    QCOMPARE(pageCount(), 2);
    QCOMPARE(pageNumber(), QStringLiteral("Page 2 of 2"));
    QVERIFY(m_window->isWindowModified());
    undo();
    QCOMPARE(pageCount(), 1);
    QCOMPARE(pageNumber(), QStringLiteral("Page 1 of 1"));
    QVERIFY(!m_window->isWindowModified());
    redo();
    QCOMPARE(pageCount(), 2);
    QCOMPARE(pageNumber(), QStringLiteral("Page 2 of 2"));
    QVERIFY(insertSample());
    QCOMPARE(m_window->document()->pages().page(1)->objects().size(), 1);
}

void PagesTest::removedPageComesBackWithItemsViewsAndSettings()
{
    m_window->addPage();
    m_window->addPage();
    m_window->showPage(1);
    QVERIFY(insertSample());
    CBaseObject* item = m_window->view()->selectedItem();
    press(Qt::Key_5, Qt::ControlModifier);
    m_window->findChild<QCheckBox*>(QStringLiteral("wireframe"))->click();
    QVERIFY(settle());
    m_window->keepView(QStringLiteral("mine"));
    const QImage before = page();
    COvPage* removed = m_window->document()->pages().page(1);

    m_window->removePage();
    QVERIFY2(status().contains(QLatin1String("Ctrl+Z")), qPrintable(status()));
    QCOMPARE(pageCount(), 2);
    QCOMPARE(pageNumber(), QStringLiteral("Page 1 of 2"));
    QVERIFY(m_window->document()->items().isEmpty());
    QVERIFY(settle());
    undo();
    QCOMPARE(pageCount(), 3);
    QCOMPARE(m_window->document()->pages().page(1), removed);
    QCOMPARE(pageNumber(), QStringLiteral("Page 2 of 3"));
    QCOMPARE(m_window->document()->items(), QList<CBaseObject*>{item});
    QVERIFY(readSettings(*item)->value(QLatin1String("wireframe")).toBool());
    QVERIFY(settle());
    QCOMPARE(page(), before);
    press(Qt::Key_1, Qt::ControlModifier);
    QVERIFY(settle());
    QVERIFY(page() != before);
    m_window->returnToView(QStringLiteral("mine"));
    QVERIFY(settle());
    QCOMPARE(page(), before);

    m_window->removePage();
    undo();
    redo();
    QCOMPARE(pageCount(), 2);
    QCOMPARE(pageNumber(), QStringLiteral("Page 1 of 2"));
    QVERIFY(m_window->document()->items().isEmpty());
}

void PagesTest::stepsBeforeARemovedPageStillWork()
{
    m_window->addPage();
    QVERIFY(insertSample());
    const QImage before = page();
    press(Qt::Key_5, Qt::ControlModifier);
    QVERIFY(settle());
    press(Qt::Key_Delete, Qt::NoModifier);
    QVERIFY(m_window->document()->items().isEmpty());
    m_window->removePage();
    QCOMPARE(pageCount(), 1);
    undo(); // the page
    undo(); // the model
    undo(); // its view
    QVERIFY(settle());
    QCOMPARE(page(), before);
    while (steps().canRedo())
        redo();
    QCOMPARE(pageCount(), 1);
    while (steps().canUndo())
        undo();
    QCOMPARE(pageCount(), 1); // the one that the document began with
    redo();
    QCOMPARE(pageCount(), 2);
    QVERIFY(settle());
    QCOMPARE(page(), before); // the model belongs to the page, not to a step
}

void PagesTest::lastPageStays()
{
    auto* action = m_window->findChild<QAction*>(QStringLiteral("removePage"));
    QVERIFY(!action->isEnabled());
    m_window->removePage();
    QVERIFY2(status().contains(QLatin1String("at least one page")), qPrintable(status()));
    QCOMPARE(pageCount(), 1);
    m_window->addPage();
    QVERIFY(action->isEnabled());
    action->trigger();
    QCOMPARE(pageCount(), 1);
    QVERIFY(!action->isEnabled());
    undo();
    QVERIFY(action->isEnabled());
}

void PagesTest::pageWhoseModelsAreAwaitedIsNotTakenAway()
{
    m_window->addPage();
    m_window->openModels({sample("sample.glb")});
    m_window->removePage();
    QVERIFY2(status().contains(QLatin1String("being loaded")), qPrintable(status()));
    QCOMPARE(pageCount(), 2);
    const int index = steps().index();
    undo();
    QVERIFY2(status().contains(QLatin1String("being loaded")), qPrintable(status()));
    QCOMPARE(pageCount(), 2);
    QCOMPARE(steps().index(), index);
    QVERIFY(settle());
    undo();
    QCOMPARE(pageCount(), 1);
}

void PagesTest::removedPageIsNotSavedAndOneThatCameBackIs()
{
    m_window->addPage();
    QVERIFY(insertSample());
    m_window->removePage();
    const QString file = m_folder + QStringLiteral("/pages.ovb");
    QVERIFY(m_window->saveDocument(file));
    QCOMPARE(m_window->document()->file().content().pages.size(), 1);
    undo();
    QVERIFY(m_window->isWindowModified());
    QVERIFY(m_window->saveDocument(file));
    QVERIFY(m_window->openDocument(file));
    QVERIFY(settle());
    QCOMPARE(pageCount(), 2);
    QCOMPARE(m_window->document()->items().size(), 1);
    QCOMPARE(m_window->failureCount(), 0);
}

void PagesTest::forgottenPageTakesItsItemsAlong()
{
    m_window->addPage();
    QVERIFY(insertSample());
    QPointer<CBaseObject> item = m_window->view()->selectedItem();
    undo();
    QVERIFY(item);
    m_window->addPage(); // in place of the step that would bring the page back
    QCOMPARE(pageCount(), 2);
    QVERIFY(m_window->document()->items().isEmpty());
    QVERIFY(waitFor([&item] { return !item; }, 20000));
}

void PagesTest::environmentPictureIsAStepOfUndo()
{
    QVERIFY(insertSample());
    CBaseObject* item = m_window->view()->selectedItem();
    steps().setClean();
    const QImage plain = page();
    m_window->setEnvironment({});
    QCOMPARE(steps().count(), 0); // there was none
    m_window->setEnvironment(writePicture(QStringLiteral("red.hdr"), QByteArray("\xff\x10\x10\x82", 4)));
    QVERIFY2(status().contains(QLatin1String("Lit by red.hdr")), qPrintable(status()));
    QVERIFY(m_window->isWindowModified());
    QVERIFY(settle());
    const QImage red = page();
    QVERIFY(red != plain);
    m_window->setEnvironment(writePicture(QStringLiteral("blue.hdr"), QByteArray("\x10\x10\xff\x82", 4)));
    QVERIFY(settle());
    const QImage blue = page();
    QVERIFY(blue != red);
    m_window->setEnvironment({});
    QVERIFY(settle());
    QCOMPARE(page(), plain);
    QCOMPARE(steps().count(), 3);
    QVERIFY(m_window->isWindowModified());
    for (const QImage& expected : {blue, red, plain}) {
        undo();
        QVERIFY(settle());
        QCOMPARE(page(), expected);
    }
    QVERIFY(!m_window->isWindowModified());
    QVERIFY(LiveDocument::environmentOf(*item).isEmpty());
    for (const QImage& expected : {red, blue, plain}) {
        redo();
        QVERIFY(settle());
        QCOMPARE(page(), expected);
    }
    m_window->setEnvironment(m_folder + QStringLiteral("/nowhere.hdr"));
    QVERIFY2(status().contains(QLatin1String("nowhere.hdr")), qPrintable(status()));
    QCOMPARE(steps().count(), 3);
}

void PagesTest::environmentOfUndoIsTheOneThatIsSaved()
{
    QVERIFY(insertSample());
    const CBaseObject* item = m_window->view()->selectedItem();
    m_window->setEnvironment(writePicture(QStringLiteral("red.hdr"), QByteArray("\xff\x10\x10\x82", 4)));
    QVERIFY(settle());
    const QImage red = page();
    const QString first = LiveDocument::environmentOf(*item);
    m_window->setEnvironment(writePicture(QStringLiteral("blue.hdr"), QByteArray("\x10\x10\xff\x82", 4)));
    undo();
    QVERIFY(settle());
    const QString file = m_folder + QStringLiteral("/lit.ovb");
    QVERIFY(m_window->saveDocument(file));
    const OvDocumentItem saved = m_window->document()->file().content().pages[0].items[0];
    QVERIFY(saved.files.contains(first));
    QCOMPARE(saved.files.filter(QStringLiteral(".hdr")).size(), 1);
    QVERIFY(m_window->openDocument(file));
    QVERIFY(settle());
    m_window->document()->items().first()->setSelected(true);
    QCOMPARE(page(), red);
}

int main(int argc, char** argv)
{
    runBoardTest<PagesTest>(argc, argv);
}

#include "pages_test.moc"
