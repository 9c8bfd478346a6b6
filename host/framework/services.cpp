#include "host/framework/services.h"

#include <atomic>

namespace {

std::atomic<IOvFramework*> g_framework{nullptr};

} // namespace

ILocalize::~ILocalize() = default;
IOvDocument::~IOvDocument() = default;
IOvPage::~IOvPage() = default;
IOvPathService::~IOvPathService() = default;
IOvFramework::~IOvFramework() = default;

IOvFramework* GetFramework()
{
    return g_framework.load(std::memory_order_acquire);
}

void SetFramework(IOvFramework* framework)
{
    g_framework.store(framework, std::memory_order_release);
}
