#include "apps/viewercheck/watchedmemory.h"

#include "src/render/handshake.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <ctime>

#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

namespace ov3d::viewercheck {

namespace {

constexpr std::size_t kMostRegions = 96;
constexpr std::size_t kMostAccesses = 16384; // for each region
constexpr std::size_t kGuardBytes = std::size_t{1} << 20;

struct Region
{
    std::byte* begin = nullptr; ///< of the viewer's pages
    std::size_t pages = 0;      ///< bytes of them
    bool stepping = false;
    ItemState state;
    std::atomic<int> protection{PROT_READ | PROT_WRITE};
    std::atomic<std::size_t> count{0};
    Access* log = nullptr;
};

// Signal handlers find their way through this alone.
std::array<Region, kMostRegions> regions;
std::atomic<std::size_t> regionCount{0};
thread_local Region* steppingRegion = nullptr;

std::size_t pageSize()
{
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

Region* regionAt(const std::byte* address)
{
    const std::size_t count = regionCount.load(std::memory_order_acquire);
    for (std::size_t i = 0; i < count; ++i)
        if (address >= regions[i].begin - kGuardBytes && address < regions[i].begin + regions[i].pages + kGuardBytes)
            return &regions[i];
    return nullptr;
}

bool isWriteFault([[maybe_unused]] const ucontext_t& machine)
{
#if defined(__x86_64__)
    constexpr long long kWriteBit = 2;
    return (machine.uc_mcontext.gregs[REG_ERR] & kWriteBit) != 0;
#else
    return true;
#endif
}

/// Has the processor trap after the instruction that is let through. @return false where that is not known.
bool setSingleStep([[maybe_unused]] ucontext_t& machine, [[maybe_unused]] bool on)
{
#if defined(__x86_64__)
    constexpr long long kTrapFlag = 0x100;
    auto& flags = machine.uc_mcontext.gregs[REG_EFL];
    flags = on ? flags | kTrapFlag : flags & ~kTrapFlag;
    return true;
#else
    return false;
#endif
}

void record(Region& region, const std::byte* address, bool isWrite)
{
    const std::size_t index = region.count.fetch_add(1, std::memory_order_acq_rel);
    if (index >= kMostAccesses)
        return;
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    Access access;
    access.offset = address - region.begin;
    access.isWrite = isWrite;
    access.isClosed = region.protection.load() == PROT_NONE;
    access.inRequest = loadAcquire(*region.state.requestsRunning) > 0;
    access.firstDraw = loadAcquire(region.state.context->first_draw) != 0;
    access.frameWidth = loadAcquire(region.state.context->frame_width);
    access.nanoseconds = static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
    region.log[index] = access;
}

/// What the handler cannot explain happens again, and then ends the process as it would have without the check.
void handleForeign(int number)
{
    std::signal(number, SIG_DFL);
}

void onFault(int number, siginfo_t* info, void* machineContext)
{
    auto& machine = *static_cast<ucontext_t*>(machineContext);
    const auto* address = static_cast<const std::byte*>(info->si_addr);
    Region* region = info->si_code > 0 ? regionAt(address) : nullptr;
    if (!region) {
        handleForeign(number);
        return;
    }
    record(*region, address, isWriteFault(machine));
    if (region->stepping && setSingleStep(machine, true)) {
        mprotect(region->begin, region->pages, PROT_READ | PROT_WRITE);
        steppingRegion = region;
    }
    const bool isGuard = address < region->begin || address >= region->begin + region->pages;
    if (isGuard || steppingRegion != region) {
        const std::uintptr_t page = reinterpret_cast<std::uintptr_t>(address) / pageSize() * pageSize();
        mprotect(reinterpret_cast<void*>(page), pageSize(), PROT_READ | PROT_WRITE);
    }
}

void onStep(int number, siginfo_t*, void* machineContext)
{
    Region* region = steppingRegion;
    if (!region) {
        handleForeign(number);
        std::raise(number);
        return;
    }
    steppingRegion = nullptr;
    setSingleStep(*static_cast<ucontext_t*>(machineContext), false);
    mprotect(region->begin, region->pages, region->protection.load());
}

void installHandlers()
{
    static const bool installed = [] {
        struct sigaction action = {};
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        action.sa_sigaction = onFault;
        sigaction(SIGSEGV, &action, nullptr);
        action.sa_sigaction = onStep;
        sigaction(SIGTRAP, &action, nullptr);
        return true;
    }();
    static_cast<void>(installed);
}

int flagsOf(WatchedMemory::Protection protection)
{
    switch (protection) {
    case WatchedMemory::Protection::open:
        return PROT_READ | PROT_WRITE;
    case WatchedMemory::Protection::readOnly:
        return PROT_READ;
    case WatchedMemory::Protection::closed:
        break;
    }
    return PROT_NONE;
}

/// @return the pages, readable and writable, between two guard zones, or null.
std::byte* mapBetweenGuards(int file, std::size_t bytes)
{
    void* all = mmap(nullptr, bytes + 2 * kGuardBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (all == MAP_FAILED)
        return nullptr;
    void* inner = mmap(static_cast<std::byte*>(all) + kGuardBytes, bytes, PROT_READ | PROT_WRITE,
                       MAP_SHARED | MAP_FIXED, file, 0);
    return inner == MAP_FAILED ? nullptr : static_cast<std::byte*>(inner);
}

} // namespace

WatchedMemory::WatchedMemory(std::size_t size, Policy policy, const ItemState& state)
    : m_size(size)
{
    installHandlers();
    const std::size_t pages = (std::max<std::size_t>(size, 1) + pageSize() - 1) / pageSize() * pageSize();
    const std::size_t index = regionCount.load();
    const int file = memfd_create("viewercheck", MFD_CLOEXEC);
    if (index >= kMostRegions || file < 0 || ftruncate(file, static_cast<off_t>(pages)) != 0)
        return;
    void* host = mmap(nullptr, pages, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    std::byte* viewer = mapBetweenGuards(file, pages);
    void* log = mmap(nullptr, kMostAccesses * sizeof(Access), PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ::close(file);
    if (host == MAP_FAILED || !viewer || log == MAP_FAILED)
        return;

    Region& region = regions[index];
    region.begin = viewer;
    region.pages = pages;
    region.stepping = policy == Policy::everyAccess;
    region.state = state;
    region.log = static_cast<Access*>(log);
    m_region = static_cast<int>(index);
    m_host = static_cast<std::byte*>(host);
    m_viewer = viewer;
    // The context describes its own item.
    if (!region.state.context)
        region.state.context = reinterpret_cast<const ViewContext*>(m_host);
    regionCount.store(index + 1, std::memory_order_release);
}

void WatchedMemory::protect(Protection protection)
{
    Region& region = regions[static_cast<std::size_t>(m_region)];
    region.protection.store(flagsOf(protection));
    mprotect(region.begin, region.pages, flagsOf(protection));
}

std::vector<Access> WatchedMemory::accesses() const
{
    const Region& region = regions[static_cast<std::size_t>(m_region)];
    return {region.log, region.log + std::min(region.count.load(), kMostAccesses)};
}

} // namespace ov3d::viewercheck
