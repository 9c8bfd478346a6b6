#include "host/framework/framework.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

struct Calls
{
    int undo = 0;
    int redo = 0;
    int destroyed = 0;
};

class CountingCommand : public CWbUndoCmd
{
public:
    explicit CountingCommand(Calls& calls)
        : CWbUndoCmd(nullptr)
        , m_calls(calls)
    {
        setText(QStringLiteral("IDS_3DOBJ_ADJUST_ATTRIBUTE"));
    }
    ~CountingCommand() override { ++m_calls.destroyed; }
    void undo() override { ++m_calls.undo; }
    void redo() override { ++m_calls.redo; }

private:
    Calls& m_calls;
};

} // namespace

class UndoTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_calls = Calls();
    }

    void cleanup()
    {
        CUndoRedo::GetInstance()->setActiveStack(nullptr);
        CUndoRedo::GetInstance()->stack()->clear();
        TestBase::cleanup();
    }

    void instanceAndStackAreNeverNull()
    {
        QVERIFY(CUndoRedo::GetInstance());
        QCOMPARE(CUndoRedo::GetInstance(), CUndoRedo::GetInstance());
        QVERIFY(CUndoRedo::GetInstance()->stack());
    }

    void pushCallsRedoOnceAndOwnsTheCommand()
    {
        Calls& calls = m_calls;
        CUndoRedo::GetInstance()->push(new CountingCommand(calls));
        QCOMPARE(calls.redo, 1);
        QCOMPARE(calls.undo, 0);
        QUndoStack* stack = CUndoRedo::GetInstance()->stack();
        QCOMPARE(stack->count(), 1);
        stack->undo();
        stack->redo();
        QCOMPARE(calls.undo, 1);
        QCOMPARE(calls.redo, 2);
        stack->clear();
        QCOMPARE(calls.destroyed, 1);
    }

    void commandsAreNeverMerged()
    {
        Calls& calls = m_calls;
        CUndoRedo::GetInstance()->push(new CountingCommand(calls));
        CUndoRedo::GetInstance()->push(new CountingCommand(calls));
        QCOMPARE(CUndoRedo::GetInstance()->stack()->count(), 2);
    }

    void nullCommandIsIgnored()
    {
        CUndoRedo::GetInstance()->push(nullptr);
        QCOMPARE(CUndoRedo::GetInstance()->stack()->count(), 0);
    }

    void pushGoesToTheActiveStack()
    {
        Calls& calls = m_calls;
        QUndoStack active;
        QUndoStack* const fallback = CUndoRedo::GetInstance()->stack();
        CUndoRedo::GetInstance()->setActiveStack(&active);
        CUndoRedo::GetInstance()->push(new CountingCommand(calls));
        QCOMPARE(active.count(), 1);
        QCOMPARE(fallback->count(), 0);
    }

    void endOfTheActiveStackGoesBackToTheFallback()
    {
        QUndoStack* const fallback = CUndoRedo::GetInstance()->stack();
        {
            QUndoStack active;
            CUndoRedo::GetInstance()->setActiveStack(&active);
            QCOMPARE(CUndoRedo::GetInstance()->stack(), &active);
        }
        QCOMPARE(CUndoRedo::GetInstance()->stack(), fallback);
    }

    void currentDocumentsStackIsTheActiveOne()
    {
        const QTemporaryDir folder;
        COvProgramFramework framework;
        Calls& calls = m_calls;
        {
            COvDocument document(folder.path());
            framework.setCurrentDocument(&document);
            CUndoRedo::GetInstance()->push(new CountingCommand(calls));
            QCOMPARE(document.undoStack()->count(), 1);
        }
        QCOMPARE(calls.destroyed, 1);
        QCOMPARE(CUndoRedo::GetInstance()->stack()->count(), 0);
    }

    void actionNameIsTheTextLookedUp()
    {
        Calls& calls = m_calls;
        const CountingCommand command(calls);
        const CLocalize localize;
        QCOMPARE(command.getActionName(nullptr), QStringLiteral("IDS_3DOBJ_ADJUST_ATTRIBUTE"));
        QCOMPARE(command.getActionName(const_cast<CLocalize*>(&localize)), QStringLiteral("Change 3D view"));
    }

    void commandKeepsItsIndex()
    {
        Calls& calls = m_calls;
        CountingCommand command(calls);
        QCOMPARE(command.getIdxCmd(), -1);
        command.setIdxCmd(12);
        QCOMPARE(command.getIdxCmd(), 12);
    }

private:
    Calls m_calls; ///< outlives the commands, which cleanup() takes off the stack
};

OV3D_TEST_MAIN(UndoTest)
#include "undo_test.moc"
