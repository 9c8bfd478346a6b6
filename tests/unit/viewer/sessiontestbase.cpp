#include "tests/unit/viewer/sessiontestbase.h"

#include "viewer/session/commands.h"
#include "viewer/session/limits.h"

#include <QFile>
#include <QJsonDocument>

void SessionTestBase::limitLoads(std::chrono::milliseconds time)
{
    limitLoads(time, ov3d::session::Limits().steady);
}

void SessionTestBase::limitLoads(std::chrono::milliseconds time, std::chrono::milliseconds steady)
{
    ov3d::session::Limits limits;
    limits.load = time;
    limits.steady = steady;
    ov3d::session::setLimits(limits);
}

void SessionTestBase::limitRest(std::chrono::milliseconds time)
{
    ov3d::session::Limits limits;
    limits.rest = time;
    ov3d::session::setLimits(limits);
}

bool SessionTestBase::allRenderersEnd()
{
    return waitFor([] { return childProcesses().isEmpty(); });
}

bool SessionTestBase::waitForCount(const QString& modelPath, const QString& lineStart, int count)
{
    return waitFor([&] { return ViewerFixture::count(modelPath, lineStart) >= count; });
}

QJsonObject SessionTestBase::factsOf(FakeHost& host)
{
    QFile file(m_fixture->path(QStringLiteral("facts.json")));
    host.command(ov3d::kCommandReportFacts, QFile::encodeName(file.fileName()));
    if (host.waitForResult() != kDone || !file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

void SessionTestBase::init()
{
    TestBase::init();
    m_fixture = std::make_unique<ViewerFixture>();
}

void SessionTestBase::cleanup()
{
    m_fixture.reset();
    TestBase::cleanup();
}
