#pragma once

#include <QString>

namespace ov3d::apps {

/// Longest path, in bytes of the local encoding, that reaches a viewer whole: its record holds 256 with the zero.
inline constexpr int kMaxPathBytes = 255;

/// Symbolic links, in a private folder, that give files with long paths a short one. The links last as long as the
/// object. GUI thread.
class LinkFolder
{
public:
    /// @param privateFolder  with its trailing separator. Nothing is made there before the first link is needed.
    /// @param prefix         begins the names of link folders; one of the program's own where others have files too.
    explicit LinkFolder(QString privateFolder, QString prefix = QStringLiteral("links-"));
    ~LinkFolder();
    LinkFolder(const LinkFolder&) = delete;
    LinkFolder& operator=(const LinkFolder&) = delete;

    struct Answer
    {
        QString path;  ///< what to load; empty on a refusal
        QString error; ///< why the file cannot be loaded, without its name
    };

    /// @param path  an absolute path to a model.
    /// @return the path itself when it is short enough, else one through a link to the model's folder, where it finds
    /// its side files, else (a .glb, .stl or .3mf has none) one through a link to the file.
    Answer shortened(const QString& path);

    /// @return a link to a folder, without a trailing separator; empty when none can be made.
    QString linkTo(const QString& folder);

    /// Removes the links; for programs that end without destructors.
    void remove();

private:
    bool makeFolder();
    bool makeLink(const QString& target, const QString& link);

    QString m_privateFolder;
    QString m_prefix;
    QString m_folder; ///< empty until it exists
    int m_count = 0;
};

} // namespace ov3d::apps
