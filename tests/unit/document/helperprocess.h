#pragma once

#include <QProcess>
#include <QStringList>

/// The helper program of these tests (documenthelper.cpp), in a process of its own.
class HelperProcess
{
public:
    explicit HelperProcess(const QStringList& arguments, const QStringList& environment = QStringList())
    {
        QProcess& process = m_process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.setEnvironment(QProcess::systemEnvironment() + environment);
        process.start(QStringLiteral(OV3D_HELPER), arguments);
    }

    ~HelperProcess() { kill(); }
    Q_DISABLE_COPY_MOVE(HelperProcess)

    /// Waits for a line of its standard output. @return it without its end; empty when none comes.
    QString nextLine()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(kWaitMs))
                return {};
        }
        return QString::fromUtf8(m_process.readLine()).trimmed();
    }

    /// Lets it go on where it waits.
    void goOn()
    {
        m_process.write("\n");
        m_process.waitForBytesWritten(kWaitMs);
    }

    bool waitForEnd()
    {
        return m_process.waitForFinished(kWaitMs) && m_process.exitStatus() == QProcess::NormalExit &&
               m_process.exitCode() == 0;
    }

    void kill()
    {
        m_process.kill();
        m_process.waitForFinished(kWaitMs);
    }

    [[nodiscard]] bool isRunning() const { return m_process.state() == QProcess::Running; }

private:
    static constexpr int kWaitMs = 30000;
    QProcess m_process;
};
