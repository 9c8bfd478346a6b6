#pragma once

#include <QObject>
#include <QString>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <thread>

class QTimer;

namespace ov3d::apps {

/// Runs the loads of items one after the other on one thread, so that the window stays alive
/// (docs/decisions/0011-loader-thread.md).
///
/// Everything here is called on the GUI thread, and `done` is too; only `work` runs on the loader thread.
class LoaderThread : public QObject
{
    Q_OBJECT

public:
    using Id = quint64;

    struct Job
    {
        /// Runs on the loader thread. Asks `cancelled` between its steps. @return an empty text, or why it failed.
        std::function<QString(const std::atomic<bool>& cancelled)> work;
        /// Runs on the GUI thread, exactly once, also for a job that was cancelled before its turn.
        std::function<void(const QString& error, bool cancelled)> done;
    };

    /// @param abandonLoad  ends the load that a running job waits for; called repeatedly while a cancelled job runs.
    explicit LoaderThread(std::function<void()> abandonLoad);

    /// Cancels what is left, waits for the running job, and calls every `done`.
    ~LoaderThread() override;
    Q_DISABLE_COPY_MOVE(LoaderThread)

    /// @return the job's id, never 0.
    Id add(Job job);

    /// A job that waits is dropped; the running one is asked to end, and ends when its call returns. Unknown ids do
    /// nothing.
    void cancel(Id id);
    void cancelAll();

    /// Waits, without an event loop, for a running job that has been cancelled, and calls its `done`.
    void wait();

    /// Jobs that have not ended, the running one included.
    [[nodiscard]] int jobsLeft() const;

    /// Runs the event loop until no job is left. For programs without a window.
    void finishAll();

Q_SIGNALS:
    void jobsLeftChanged(int jobs);

private:
    struct Entry
    {
        Id id = 0;
        Job job;
        std::atomic<bool> cancelled{false};
        QString error;
    };

    void startNext();
    void finishRunning();
    void finishPosted(Id id);
    void dropWaiting(std::size_t index);

    std::function<void()> m_abandonLoad;
    QTimer* m_abandonTimer;
    std::deque<std::unique_ptr<Entry>> m_waiting;
    std::unique_ptr<Entry> m_running;
    std::thread m_thread; ///< of the running job
    Id m_lastId = 0;
    bool m_isEnding = false;
};

} // namespace ov3d::apps
