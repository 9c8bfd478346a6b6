/// Tells the thread sanitizer what Qt orders. Qt is not instrumented, so what its mutexes, threads and queued calls
/// order looks like a race to the sanitizer; suppressions instead would hide ours, since every stack of a test leads
/// through Qt.
///
/// scripts/sanitize compiles this as a library, without the sanitizer, and preloads it. Every function below stands
/// before the one of the same name in libQt5Core, as our code calls it; Qt's calls within itself do not come by here.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>

extern "C" {
void __tsan_acquire(void* address) __attribute__((weak));
void __tsan_release(void* address) __attribute__((weak));
}

namespace {

void acquire(void* address)
{
    if (__tsan_acquire)
        __tsan_acquire(address);
}

void release(void* address)
{
    if (__tsan_release)
        __tsan_release(address);
}

template <typename Function> Function* next(const char* name)
{
    void* const found = dlsym(RTLD_NEXT, name);
    if (!found)
        std::abort();
    return reinterpret_cast<Function*>(found);
}

// ---- threads ----------------------------------------------------------------------------------------------------

constexpr int kMaxThreads = 4096;

struct Start
{
    void* (*body)(void*);
    void* argument;
};

/// The arguments of the threads that run: for a thread of Qt its QThread.
std::atomic<void*> g_running[kMaxThreads];

bool isRunning(const void* argument)
{
    for (const std::atomic<void*>& slot : g_running)
        if (slot.load() == argument)
            return true;
    return false;
}

/// Until the end of a thread, also of one that is terminated.
class Run
{
public:
    explicit Run(void* argument)
        : m_argument(argument)
    {
        for (std::atomic<void*>& slot : g_running) {
            void* free = nullptr;
            if (slot.compare_exchange_strong(free, argument)) {
                m_slot = &slot;
                return;
            }
        }
    }

    ~Run()
    {
        release(m_argument);
        if (m_slot)
            m_slot->store(nullptr);
    }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    void* m_argument;
    std::atomic<void*>* m_slot = nullptr;
};

void* runThread(void* data)
{
    const Start start = *static_cast<Start*>(data);
    delete static_cast<Start*>(data);
    const Run run(start.argument);
    return start.body(start.argument);
}

bool waited(bool hasEnded, void* thread)
{
    if (!hasEnded)
        return false;
    // Qt says so a moment before the thread has left it.
    while (isRunning(thread))
        sched_yield();
    acquire(thread);
    return true;
}

// ---- queued calls -----------------------------------------------------------------------------------------------

/// Everything that another thread has queued comes before everything that the application's thread is called for later:
/// coarser than the truth, which goes by the single call.
char g_calls;

class CallListener : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::MetaCall)
            acquire(&g_calls);
        return false;
    }
};

void listen()
{
    QCoreApplication* application = QCoreApplication::instance();
    application->installEventFilter(new CallListener(application));
}

[[gnu::constructor]] void prepare()
{
    if (__tsan_acquire)
        qAddPreRoutine(listen);
}

} // namespace

extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument)
{
    using Function = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static Function* const create = next<Function>("pthread_create");
    if (!__tsan_acquire)
        return create(thread, attributes, body, argument);
    auto* const start = new Start{body, argument};
    const int error = create(thread, attributes, runThread, start);
    if (error != 0)
        delete start;
    return error;
}

void mutexLock(void* mutex) __asm__("_ZN6QMutex4lockEv");
void mutexLock(void* mutex)
{
    static auto* const lock = next<void(void*)>("_ZN6QMutex4lockEv");
    lock(mutex);
    acquire(mutex);
}

bool mutexTryLock(void* mutex, int timeout) __asm__("_ZN6QMutex7tryLockEi");
bool mutexTryLock(void* mutex, int timeout)
{
    static auto* const tryLock = next<bool(void*, int)>("_ZN6QMutex7tryLockEi");
    const bool isLocked = tryLock(mutex, timeout);
    if (isLocked)
        acquire(mutex);
    return isLocked;
}

void mutexUnlock(void* mutex) __asm__("_ZN6QMutex6unlockEv");
void mutexUnlock(void* mutex)
{
    static auto* const unlock = next<void(void*)>("_ZN6QMutex6unlockEv");
    release(mutex);
    unlock(mutex);
}

bool threadWaitUntil(void* thread, QDeadlineTimer deadline) __asm__("_ZN7QThread4waitE14QDeadlineTimer");
bool threadWaitUntil(void* thread, QDeadlineTimer deadline)
{
    static auto* const wait = next<bool(void*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    return waited(wait(thread, deadline), thread);
}

bool threadWait(void* thread, unsigned long milliseconds) __asm__("_ZN7QThread4waitEm");
bool threadWait(void* thread, unsigned long milliseconds)
{
    static auto* const wait = next<bool(void*, unsigned long)>("_ZN7QThread4waitEm");
    return waited(wait(thread, milliseconds), thread);
}

void activate(void* sender, const void* metaObject, int signal,
              void** arguments) __asm__("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
void activate(void* sender, const void* metaObject, int signal, void** arguments)
{
    static auto* const emitSignal =
        next<void(void*, const void*, int, void**)>("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    release(&g_calls);
    emitSignal(sender, metaObject, signal, arguments);
}

bool invoke(void* object, void* slot, int type, void* result) __asm__(
    "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
bool invoke(void* object, void* slot, int type, void* result)
{
    static auto* const invokeMethod = next<bool(void*, void*, int, void*)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    release(&g_calls);
    return invokeMethod(object, slot, type, result);
}

} // extern "C"
