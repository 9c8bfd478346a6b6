#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

/// Base of every test object: a warning or critical message that a test did not expect fails that test.
///
/// Messages are recorded from every thread while a test function runs. Derive, declare private slots as usual, and end
/// the source with OV3D_TEST_MAIN (tests/support/testmain.h). A test that needs init() or cleanup() of its own calls
/// the base's first.
class TestBase : public QObject
{
    Q_OBJECT

public:
    TestBase();
    ~TestBase() override;

    /// Debug, warning and critical messages of the running test so far, in order.
    [[nodiscard]] static QStringList messages();
    static void clearMessages();

    /// The running test will see this warning or critical message (exact text), any number of times.
    static void expectMessage(const QString& text);

    /// Waits, with the event loop running, until the condition holds. @return false after `timeoutMs`.
    static bool waitFor(const std::function<bool()>& condition, int timeoutMs = 10000);

protected Q_SLOTS:
    void init();
    void cleanup();
};
