#include "viewer/renderer/process/deepstack.h"

#include <pthread.h>

namespace ov3d::renderer {

bool runOnDeepStack(std::size_t stackBytes, const std::function<void()>& task)
{
    pthread_attr_t attributes;
    if (::pthread_attr_init(&attributes) != 0)
        return false;
    ::pthread_attr_setstacksize(&attributes, stackBytes);
    pthread_t thread = {};
    const auto body = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    const bool started = ::pthread_create(&thread, &attributes, body, const_cast<std::function<void()>*>(&task)) == 0;
    ::pthread_attr_destroy(&attributes);
    if (started)
        ::pthread_join(thread, nullptr);
    return started;
}

} // namespace ov3d::renderer
