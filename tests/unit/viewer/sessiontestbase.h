#pragma once

#include "tests/support/testbase.h"
#include "tests/unit/viewer/fakehost.h"

#include <QJsonObject>

#include <chrono>
#include <memory>

/// Base of tests of the viewer's sessions: every test function has models and scripted renderers of its own, and the
/// limits that a viewer starts with.
class SessionTestBase : public TestBase
{
    Q_OBJECT

protected:
    // What `result` says of a command.
    static constexpr int kPending = -1;
    static constexpr int kDone = 0;
    static constexpr int kFailed = 1;

    /// A renderer may say nothing for this long while it reads a model, and take as long for a picture.
    static void limitLoads(std::chrono::milliseconds time);

    /// The same, and a load may take `steady` longer than that in all, however steadily it advances.
    static void limitLoads(std::chrono::milliseconds time, std::chrono::milliseconds steady);

    /// A session at rest gives its renderer back after this time.
    static void limitRest(std::chrono::milliseconds time);

    /// Waits until every renderer has ended and been buried. @return false when one stays.
    static bool allRenderersEnd();

    /// Waits until a model's renderers have been asked that often for something. @return false when they are not.
    static bool waitForCount(const QString& modelPath, const QString& lineStart, int count);

    /// What the session reports of its model; an empty object when it reports nothing.
    QJsonObject factsOf(FakeHost& host);

    std::unique_ptr<ViewerFixture> m_fixture;

protected Q_SLOTS:
    void init();
    void cleanup();
};
