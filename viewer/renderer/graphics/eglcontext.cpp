#include "viewer/renderer/graphics/eglcontext.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <array>
#include <cstring>
#include <vector>

namespace ov3d::renderer {
namespace {

constexpr EGLint kMaxDevices = 16;

template <typename Function> Function procedure(const char* name)
{
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

bool clientHas(const char* extension)
{
    const char* all = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    return all && std::strstr(all, extension);
}

EGLDisplay surfacelessDisplay()
{
    const auto get = procedure<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
    if (!get || !clientHas("EGL_MESA_platform_surfaceless"))
        return EGL_NO_DISPLAY;
    return get(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
}

struct Devices
{
    std::vector<EGLDeviceEXT> hardware;
    std::vector<EGLDeviceEXT> software;
};

Devices allDevices()
{
    Devices devices;
    const auto queryDevices = procedure<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
    const auto queryString = procedure<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
    std::array<EGLDeviceEXT, kMaxDevices> found{};
    EGLint count = 0;
    if (!queryDevices || !queryString || !queryDevices(kMaxDevices, found.data(), &count))
        return devices;
    for (EGLint i = 0; i < count; ++i) {
        const EGLDeviceEXT device = found[static_cast<std::size_t>(i)];
        const char* extensions = queryString(device, EGL_EXTENSIONS);
        const bool software = extensions && std::strstr(extensions, "EGL_MESA_device_software");
        (software ? devices.software : devices.hardware).push_back(device);
    }
    return devices;
}

EGLDisplay displayOf(EGLDeviceEXT device)
{
    const auto get = procedure<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
    return get ? get(EGL_PLATFORM_DEVICE_EXT, device, nullptr) : EGL_NO_DISPLAY;
}

EGLContext makeContext(EGLDisplay display, EGLConfig config)
{
    // What VTK asks for at least.
    const EGLint attributes[] = {
        EGL_CONTEXT_MAJOR_VERSION,           3,       EGL_CONTEXT_MINOR_VERSION, 2, EGL_CONTEXT_OPENGL_PROFILE_MASK,
        EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
    return eglCreateContext(display, config, EGL_NO_CONTEXT, attributes);
}

} // namespace

EglContext::~EglContext()
{
    destroy();
}

void EglContext::destroy()
{
    if (!m_display)
        return;
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    if (m_surface)
        eglDestroySurface(m_display, m_surface);
    if (m_context)
        eglDestroyContext(m_display, m_context);
    eglTerminate(m_display);
    m_display = m_context = m_surface = nullptr;
}

bool EglContext::createOn(void* display)
{
    if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr))
        return false;
    m_display = display;

    const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    const bool ready = eglBindAPI(EGL_OPENGL_API) && eglChooseConfig(display, wanted, &config, 1, &count) && count > 0;
    if (ready)
        m_context = makeContext(display, config);
    if (m_context && eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, m_context))
        return true;
    if (m_context) {
        const EGLint size[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
        m_surface = eglCreatePbufferSurface(display, config, size);
        if (m_surface && eglMakeCurrent(display, m_surface, m_surface, m_context))
            return true;
    }
    destroy();
    return false;
}

bool EglContext::create()
{
    const Devices devices = allDevices();
    // The surfaceless platform picks the default card by itself, but knows only Mesa's drivers.
    if (createOn(surfacelessDisplay()) && (devices.hardware.empty() || !isSoftware()))
        return true;
    for (const EGLDeviceEXT device : devices.hardware) {
        destroy();
        if (createOn(displayOf(device)) && !isSoftware())
            return true;
    }
    destroy();
    if (createOn(surfacelessDisplay()))
        return true;
    for (const EGLDeviceEXT device : devices.software)
        if (createOn(displayOf(device)))
            return true;
    return createOn(eglGetDisplay(EGL_DEFAULT_DISPLAY));
}

void EglContext::makeCurrent() const
{
    if (!isCurrent())
        eglMakeCurrent(m_display, m_surface, m_surface, m_context);
}

bool EglContext::isCurrent() const
{
    return m_context && eglGetCurrentContext() == m_context;
}

std::string EglContext::driverName() const
{
    const GLubyte* name = isCurrent() ? glGetString(GL_RENDERER) : nullptr;
    return name ? reinterpret_cast<const char*>(name) : "";
}

bool EglContext::isSoftware() const
{
    const std::string name = driverName();
    return name.find("llvmpipe") != std::string::npos || name.find("softpipe") != std::string::npos ||
           name.find("swrast") != std::string::npos || name.find("Software") != std::string::npos;
}

} // namespace ov3d::renderer
