#include "apps/document/saverthread.h"

#include <QMetaObject>

#include <exception>
#include <system_error>
#include <utility>

namespace ov3d::apps {

SaverThread::~SaverThread()
{
    while (isRunning())
        wait();
}

void SaverThread::start(Work work, Done done)
{
    // What is told of an end may have started another work.
    while (isRunning())
        wait();
    m_done = std::move(done);
    m_error.clear();
    const quint64 run = ++m_run;
    const auto finish = [this, run] {
        // wait() may have been faster, and another work be running by now.
        if (run == m_run)
            wait();
    };
    const auto body = [this, finish, work = std::move(work)] {
        // An allocation can fail; nothing may leave the thread.
        try {
            m_error = work();
        } catch (const std::exception& exception) {
            m_error = QString::fromLocal8Bit(exception.what());
        }
        QMetaObject::invokeMethod(this, finish, Qt::QueuedConnection);
    };
    try {
        m_thread = std::thread(body);
    } catch (const std::system_error& exception) {
        m_error = QString::fromLocal8Bit(exception.what());
        QMetaObject::invokeMethod(this, finish, Qt::QueuedConnection);
    }
}

void SaverThread::wait()
{
    if (!isRunning())
        return;
    if (m_thread.joinable())
        m_thread.join();
    const Done done = std::exchange(m_done, nullptr);
    // Another work that is started meanwhile has an error of its own.
    const QString error = std::exchange(m_error, {});
    done(error);
}

} // namespace ov3d::apps
