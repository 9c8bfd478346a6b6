#pragma once

#include <QString>

class CBaseObject;

namespace ov3d::apps {

/// The plug-in, loaded at run time and reached by the mangled names of its exports. Never unloaded: its threads may
/// outlive every object. GUI thread, except progress().
class Plugin
{
public:
    /// libov3dobject.so.1 in the folder "../lib" beside the program's own.
    static QString defaultPath();

    /// @return false with error() set when the library or one of its functions is missing.
    bool load(const QString& path);
    [[nodiscard]] QString error() const { return m_error; }

    /// Registers the viewer function; before the first model is loaded.
    void setViewer(void (*viewer)(int, const char**, void*)) const;

    /// A new page item, without scene or page. The caller disposes of it through Release().
    [[nodiscard]] CBaseObject* createItem() const;

    /// Percent of the current load, 100 once it has ended. Any thread.
    [[nodiscard]] int progress() const;

private:
    QString m_error;
    void* (*m_create)(int, int, bool) = nullptr;
    void (*m_setRunHandle)(void (*)(int, const char**, void*)) = nullptr;
    int* m_progress = nullptr;
};

} // namespace ov3d::apps
