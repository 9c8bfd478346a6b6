#include "viewer/session/observer.h"

#include "viewer/session/jsontext.h"

#include <memory>
#include <mutex>

namespace ov3d::session {

namespace {

using Function = std::function<void(const char*)>;

struct Observed
{
    std::recursive_mutex mutex; // an observer may replace itself
    std::shared_ptr<const Function> function;
};

Observed& observed()
{
    static Observed& instance = *new Observed;
    return instance;
}

} // namespace

void setObserver(Function observer)
{
    auto function = observer ? std::make_shared<const Function>(std::move(observer)) : nullptr;
    const std::lock_guard lock(observed().mutex);
    observed().function.swap(function);
}

void notifyObserver(const Event& event)
{
    const std::lock_guard lock(observed().mutex);
    const std::shared_ptr<const Function> function = observed().function;
    if (function)
        (*function)(toJson(event).c_str());
}

std::string toJson(const Event& event)
{
    return "{ \"run\": " + std::to_string(event.run) + ", \"model\": " + jsonString(event.model) +
           ", \"event\": " + jsonString(event.name) + ", \"reason\": " + jsonString(event.reason) +
           ", \"files\": " + jsonArray(event.files) + ", \"notes\": " + jsonArray(event.notes) + " }";
}

} // namespace ov3d::session
