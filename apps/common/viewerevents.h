#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <mutex>
#include <vector>

namespace ov3d::apps {

/// Something that the viewer reported about a model.
struct ViewerEvent
{
    enum class Kind
    {
        shown,
        card,      ///< the model could not be shown; `reason` says why
        missing,   ///< side files in `files` were not found
        restarted, ///< the renderer had to be started again
        note,      ///< `reason` says what a later picture had to do without
    };

    int run = 0; ///< serial of the viewer run
    Kind kind = Kind::shown;
    QString model; ///< path as the viewer got it
    QString reason;
    QStringList files;
    QStringList notes; ///< what was repaired, refused or left out, one sentence each
};

/// Keeps the viewer's events for the GUI thread. Any thread.
class ViewerEvents
{
public:
    /// Takes one event in the viewer's JSON form; text that is no event is left out.
    void add(const QByteArray& json);

    /// @return the events since the last call, in order.
    std::vector<ViewerEvent> take();

private:
    std::mutex m_mutex;
    std::vector<ViewerEvent> m_events;
};

} // namespace ov3d::apps
