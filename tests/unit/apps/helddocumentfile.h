#pragma once

#include "host/document/documentfile.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace ov3d::apps {

/// Where saves wait, on their thread and before they write anything, while the gate is shut. Any thread.
class SaveGate
{
public:
    void shut() { set(false); }
    void open() { set(true); }

    void pass()
    {
        std::unique_lock lock(m_mutex);
        ++m_waiting;
        m_opened.wait(lock, [this] { return m_isOpen; });
        --m_waiting;
    }
    [[nodiscard]] bool isWaitedAt()
    {
        const std::lock_guard lock(m_mutex);
        return m_waiting > 0;
    }

private:
    void set(bool isOpen)
    {
        const std::lock_guard lock(m_mutex);
        m_isOpen = isOpen;
        m_opened.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_isOpen = true;
    int m_waiting = 0;
};

/// A document file whose saves pass a gate.
class HeldDocumentFile : public COvDocumentFile
{
public:
    HeldDocumentFile(std::unique_ptr<COvDocumentFile> file, SaveGate& gate)
        : m_file(std::move(file))
        , m_gate(gate)
    {
    }

    [[nodiscard]] QString path() const override { return m_file->path(); }
    [[nodiscard]] QString workingFolder() const override { return m_file->workingFolder(); }
    [[nodiscard]] bool isReadOnly() const override { return m_file->isReadOnly(); }
    [[nodiscard]] QString readOnlyReason() const override { return m_file->readOnlyReason(); }
    [[nodiscard]] const OvDocumentContent& content() const override { return m_file->content(); }
    [[nodiscard]] QStringList warnings() const override { return m_file->warnings(); }
    [[nodiscard]] std::unique_ptr<COvWrittenDocument> write(const QString& path, const OvDocumentSnapshot& snapshot,
                                                            QString& error) const override
    {
        m_gate.pass();
        return m_file->write(path, snapshot, error);
    }
    void take(std::unique_ptr<COvWrittenDocument> written) override { m_file->take(std::move(written)); }

private:
    std::unique_ptr<COvDocumentFile> m_file;
    SaveGate& m_gate;
};

} // namespace ov3d::apps
