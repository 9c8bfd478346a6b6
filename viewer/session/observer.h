#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ov3d::session {

/// What a session tells the process's observer (ov3dViewerSetObserver).
struct Event
{
    int run = 0;
    std::string model; ///< path, as bytes of the file system
    const char* name = "";
    std::string reason;
    std::vector<std::string> files;
    std::vector<std::string> notes;
};

/// Replaces the observer; waits for a call of the old one that is under way on another thread. Any thread.
void setObserver(std::function<void(const char*)> observer);

/// Calls the observer, one call at a time. Never called while a session is locked, since observers may call back.
void notifyObserver(const Event& event);

/// The event as one JSON object.
[[nodiscard]] std::string toJson(const Event& event);

} // namespace ov3d::session
