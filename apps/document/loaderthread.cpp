#include "apps/document/loaderthread.h"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <exception>
#include <system_error>
#include <utility>

namespace ov3d::apps {

namespace {

/// The run to be abandoned may not have begun when the user cancels, so the wish is repeated.
constexpr std::chrono::milliseconds kAbandonInterval{50};

} // namespace

LoaderThread::LoaderThread(std::function<void()> abandonLoad)
    : m_abandonLoad(std::move(abandonLoad))
    , m_abandonTimer(new QTimer(this))
{
    m_abandonTimer->setInterval(kAbandonInterval);
    connect(m_abandonTimer, &QTimer::timeout, this, [this] { m_abandonLoad(); });
}

LoaderThread::~LoaderThread()
{
    m_isEnding = true;
    cancelAll();
    wait();
}

void LoaderThread::wait()
{
    if (!m_running || !m_running->cancelled)
        return;
    std::atomic<bool> joined{!m_thread.joinable()};
    std::thread joiner;
    if (!joined)
        joiner = std::thread([this, &joined] {
            m_thread.join();
            joined = true;
        });
    while (!joined) {
        m_abandonLoad();
        std::this_thread::sleep_for(kAbandonInterval);
    }
    if (joiner.joinable())
        joiner.join();
    finishRunning();
}

LoaderThread::Id LoaderThread::add(Job job)
{
    auto entry = std::make_unique<Entry>();
    entry->id = ++m_lastId;
    entry->job = std::move(job);
    m_waiting.push_back(std::move(entry));
    const Id id = m_lastId;
    Q_EMIT jobsLeftChanged(jobsLeft());
    startNext();
    return id;
}

int LoaderThread::jobsLeft() const
{
    return static_cast<int>(m_waiting.size()) + (m_running ? 1 : 0);
}

void LoaderThread::startNext()
{
    if (m_running || m_waiting.empty() || m_isEnding)
        return;
    m_running = std::move(m_waiting.front());
    m_waiting.pop_front();
    const Id id = m_running->id;
    const auto run = [this, id, entry = m_running.get()] {
        // An allocation can fail in a load; nothing may leave the thread.
        try {
            entry->error = entry->job.work(entry->cancelled);
        } catch (const std::exception& exception) {
            entry->error = QString::fromLocal8Bit(exception.what());
        }
        QMetaObject::invokeMethod(
            this, [this, id] { finishPosted(id); }, Qt::QueuedConnection);
    };
    try {
        m_thread = std::thread(run);
    } catch (const std::system_error& exception) {
        m_running->error = QString::fromLocal8Bit(exception.what());
        QMetaObject::invokeMethod(
            this, [this, id] { finishPosted(id); }, Qt::QueuedConnection);
    }
}

/// Posted by the job's thread; by then wait() may have ended the job, and another may be running.
void LoaderThread::finishPosted(Id id)
{
    if (m_running && m_running->id == id)
        finishRunning();
}

void LoaderThread::finishRunning()
{
    if (m_thread.joinable())
        m_thread.join();
    m_abandonTimer->stop();
    const auto entry = std::move(m_running);
    entry->job.done(entry->error, entry->cancelled);
    Q_EMIT jobsLeftChanged(jobsLeft());
    startNext();
}

void LoaderThread::dropWaiting(std::size_t index)
{
    const auto entry = std::move(m_waiting[index]);
    m_waiting.erase(m_waiting.begin() + static_cast<std::ptrdiff_t>(index));
    entry->job.done(QString(), true);
    Q_EMIT jobsLeftChanged(jobsLeft());
}

void LoaderThread::cancel(Id id)
{
    const auto waiting =
        std::find_if(m_waiting.begin(), m_waiting.end(), [id](const auto& entry) { return entry->id == id; });
    if (waiting != m_waiting.end()) {
        dropWaiting(static_cast<std::size_t>(waiting - m_waiting.begin()));
        return;
    }
    if (!m_running || m_running->id != id)
        return;
    m_running->cancelled = true;
    m_abandonLoad();
    m_abandonTimer->start();
}

void LoaderThread::cancelAll()
{
    // From the end, so that none of them begins meanwhile.
    while (!m_waiting.empty())
        dropWaiting(m_waiting.size() - 1);
    if (m_running)
        cancel(m_running->id);
}

void LoaderThread::finishAll()
{
    while (jobsLeft() > 0) {
        QEventLoop loop;
        const auto connection = connect(this, &LoaderThread::jobsLeftChanged, &loop, [&loop](int jobs) {
            if (jobs == 0)
                loop.quit();
        });
        loop.exec();
        disconnect(connection);
    }
}

} // namespace ov3d::apps
