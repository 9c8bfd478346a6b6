#include "tests/support/testbase.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <mutex>

namespace {

std::mutex g_mutex;
QStringList g_messages;
QStringList g_unexpected;
QStringList g_expected;
QtMessageHandler g_previous = nullptr;

void record(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    {
        const std::lock_guard lock(g_mutex);
        g_messages << text;
        if ((type == QtWarningMsg || type == QtCriticalMsg) && !g_expected.contains(text))
            g_unexpected << text;
    }
    if (type == QtFatalMsg && g_previous)
        g_previous(type, context, text);
}

} // namespace

TestBase::TestBase() = default;
TestBase::~TestBase() = default;

QStringList TestBase::messages()
{
    const std::lock_guard lock(g_mutex);
    return g_messages;
}

void TestBase::clearMessages()
{
    const std::lock_guard lock(g_mutex);
    g_messages.clear();
}

void TestBase::expectMessage(const QString& text)
{
    const std::lock_guard lock(g_mutex);
    g_expected << text;
}

bool TestBase::waitFor(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(2);
    }
    return true;
}

void TestBase::init()
{
    {
        const std::lock_guard lock(g_mutex);
        g_messages.clear();
        g_unexpected.clear();
        g_expected.clear();
    }
    g_previous = qInstallMessageHandler(record);
}

void TestBase::cleanup()
{
    qInstallMessageHandler(g_previous);
    QStringList unexpected;
    {
        const std::lock_guard lock(g_mutex);
        unexpected = g_unexpected;
    }
    if (!unexpected.isEmpty())
        QFAIL(qPrintable(QStringLiteral("unexpected messages: ") + unexpected.join(QStringLiteral(" | "))));
}
