#pragma once

#include <QString>

#include <functional>

class CBaseObject;

namespace ov3d::apps {

using ListFiles = std::function<bool(const QString& model, const std::function<void(const QString&)>& file,
                                     const std::function<bool()>& cancelled)>;

/// What a live document needs of the program around it. Everything but the error texts of the viewer comes this way, so
/// that documents work with any viewer, also with one that a test has scripted.
struct DocumentServices
{
    /// A new item, without scene or page; disposed of through Release(). GUI thread.
    std::function<CBaseObject*()> createItem;

    /// Calls `file` with each file that a model needs, relative to the model's folder, "/" between. Blocks; any thread.
    /// Asks `cancelled` meanwhile, on whatever thread, and returns soon after it has answered true.
    /// @return false when the model could not be read.
    ListFiles listFiles;

    /// Ends the load that is running with a card at once; nothing where none is running. GUI thread.
    std::function<void()> abandonLoad;
};

} // namespace ov3d::apps
