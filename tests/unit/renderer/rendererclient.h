#pragma once

#include "viewer/protocol/channel.h"
#include "viewer/protocol/framememory.h"
#include "viewer/protocol/messages.h"

#include <QImage>
#include <QString>
#include <sys/types.h>

/// A session's side of the conversation, as plain as it can be: starts one renderer process and talks to it.
/// Every wait ends by itself; a renderer that is still there at the end is killed.
class RendererClient
{
public:
    /// @param memoryMegabytes the renderer's memory limit, 0 for its default.
    explicit RendererClient(int memoryMegabytes = 0);
    ~RendererClient();
    RendererClient(const RendererClient&) = delete;
    RendererClient& operator=(const RendererClient&) = delete;

    /// @return whether it said that it is ready.
    bool waitUntilReady();

    /// Loads a model, its format told by the suffix, and waits for the end of it.
    bool load(const QString& path, bool listOnly = false);

    /// Sends a load and returns at once.
    void startLoading(const QString& path);

    /// Draws the loaded model, fitted, and waits for it. @return a null image when that failed.
    QImage draw(int width, int height, ov3d::protocol::Quality quality = ov3d::protocol::Quality::final,
                const ov3d::protocol::RenderSettings& settings = {});

    /// The same as the raw rows of the frame memory.
    QByteArray drawBytes(int width, int height);

    void closeSocket();

    /// @return whether the process has ended by itself within that time; not for the socket's sake alone.
    bool waitUntilEnded(int timeoutMs);

    [[nodiscard]] pid_t processId() const { return m_process; }
    [[nodiscard]] const ov3d::protocol::Loaded& loaded() const { return m_loaded; }
    [[nodiscard]] QString failure() const { return m_failure; }
    [[nodiscard]] const QList<int>& progress() const { return m_progress; }
    [[nodiscard]] QString graphics() const { return m_graphics; }

    /// Azimuth and elevation in degrees from which `draw` looks; 0, 0 is the front.
    double azimuth = 30;
    double elevation = 20;

    /// Where the middle of the model comes to lie, in picture heights right of and below the picture's middle.
    double centreX = 0;
    double centreY = 0;

    /// Distance at which `draw` looks, in units of the one that fits the model.
    double distance = 1;
    bool parallel = false;

    /// The part of a larger picture that `draw` draws; all zero for the whole one.
    ov3d::protocol::Tile tile;

private:
    /// Takes messages until an answer that is no Progress. @return false when none came.
    bool receiveAnswer(ov3d::protocol::Answer& answer);
    bool render(int width, int height, ov3d::protocol::Quality quality, const ov3d::protocol::RenderSettings& settings);

    pid_t m_process = -1;
    ov3d::protocol::Channel m_channel;
    ov3d::protocol::FrameMemory m_frame;
    ov3d::protocol::Loaded m_loaded;
    QString m_failure;
    QString m_graphics;
    QList<int> m_progress;
};
