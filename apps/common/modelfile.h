#pragma once

#include <QString>

namespace ov3d::apps {

/// What can be said of a model file without drawing it.
struct ModelFileReport
{
    enum class Verdict
    {
        accepted,
        refused,    ///< by its suffix or its content
        unreadable, ///< missing, a folder, no permission
    };

    QString format;      ///< "fbx", "obj", "gltf", "stl", "glb", "3mf"; empty when the suffix is none of these
    QString description; ///< the format in words
    Verdict verdict = Verdict::unreadable;
    QString reason; ///< why it is refused or unreadable, without the file's name; empty when accepted
};

/// Reads what the plug-in's own content check reads, and says why it refuses. The check prints on descriptors 1 and 2.
/// @param path  absolute.
ModelFileReport examineModelFile(const QString& path);

/// Whether the file can be opened at all. @return an empty text, or the reason.
QString whyUnreadable(const QString& path);

} // namespace ov3d::apps
