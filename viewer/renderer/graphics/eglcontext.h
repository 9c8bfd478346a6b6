#pragma once

#include <string>

namespace ov3d::renderer {

/// An OpenGL context without a window or a display server. Belongs to the thread that made it.
class EglContext
{
public:
    EglContext() = default;
    EglContext(const EglContext&) = delete;
    EglContext& operator=(const EglContext&) = delete;
    ~EglContext();

    /// Makes a context and makes it current: on a graphics card where there is one, else by software.
    /// @return false when no platform gives one.
    bool create();

    void makeCurrent() const;
    [[nodiscard]] bool isCurrent() const;

    /// Name of the driver, for people.
    [[nodiscard]] std::string driverName() const;

private:
    bool createOn(void* display);
    void destroy();
    [[nodiscard]] bool isSoftware() const;

    void* m_display = nullptr;
    void* m_context = nullptr;
    void* m_surface = nullptr; ///< where the driver does not draw without one
};

} // namespace ov3d::renderer
