#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <thread>

namespace ov3d::apps {

/// Runs the slow part of a save on a thread, so that the window stays alive (docs/decisions/0013-saver-thread.md). GUI
/// thread, but for the work itself.
class SaverThread : public QObject
{
    Q_OBJECT

public:
    using Work = std::function<QString()>;            ///< @return an empty text, or why it failed
    using Done = std::function<void(const QString&)>; ///< told the same

    SaverThread() = default;
    ~SaverThread() override;
    Q_DISABLE_COPY_MOVE(SaverThread)

    /// Waits for the work that runs, if any, and begins another. @param done  called once, on the GUI thread, from the
    /// event loop or from wait().
    void start(Work work, Done done);

    /// Whether `done` is still to be called.
    [[nodiscard]] bool isRunning() const { return m_done != nullptr; }

    /// Blocks until the work has ended, and calls its `done`.
    void wait();

private:
    Done m_done;
    QString m_error; ///< written by the thread, read once it has been joined
    std::thread m_thread;
    quint64 m_run = 0;
};

} // namespace ov3d::apps
