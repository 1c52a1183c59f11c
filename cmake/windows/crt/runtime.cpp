// SPDX-License-Identifier: GPL-2.0-or-later
// The functions of the static part of Microsoft's C++ run-time that mingw-w64's CRT objects lack: operator new and
// delete, the virtual table of type_info, and the guards of function-local statics. The rest is in vcruntime140.dll,
// msvcp140.dll and the Universal CRT, which are part of OBS or Windows.

#include <limits.h>
#include <new>
#include <typeinfo>
#include <windows.h>

// Calls no new-handler, unlike Microsoft's operator: this project sets none.
void *operator new(size_t size)
{
    if (void *memory = malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void *operator new[](size_t size)
{
    return operator new(size);
}
void *operator new(size_t size, std::nothrow_t const &) noexcept
{
    return malloc(size == 0 ? 1 : size);
}
void *operator new[](size_t size, std::nothrow_t const &) noexcept
{
    return malloc(size == 0 ? 1 : size);
}
void operator delete(void *memory) noexcept
{
    free(memory);
}
void operator delete[](void *memory) noexcept
{
    free(memory);
}
void operator delete(void *memory, size_t) noexcept
{
    free(memory);
}
void operator delete[](void *memory, size_t) noexcept
{
    free(memory);
}
const std::nothrow_t std::nothrow{};

// The virtual table of type_info, to which every type descriptor points. The compiler does not emit it, because it is
// part of the run-time. vcruntime140.dll reads type descriptors and never calls functions through the table.
type_info::~type_info() noexcept = default;
static void neverCalled() {}
extern "C" const void *const typeInfoTable[1] __asm__("??_7type_info@@6B@");
const void *const typeInfoTable[1] = {reinterpret_cast<const void *>(&neverCalled)};

extern "C" {
// Referenced by the compiler in code with floating-point numbers; never read.
int _fltused = 0;

// Thread-safe initialisation of function-local statics ("/Zc:threadSafeInit"). The compiler calls these functions
// unless the guard is an epoch that the thread has seen. The guard is 0 before and -1 during the initialisation, and
// afterwards an epoch.
__declspec(thread) int _Init_thread_epoch = INT_MIN;
static int globalEpoch = INT_MIN;
static SRWLOCK guardLock = SRWLOCK_INIT;
static CONDITION_VARIABLE guardChanged = CONDITION_VARIABLE_INIT;
constexpr int uninitialised = 0;
constexpr int beingInitialised = -1;

void _Init_thread_header(int *guard)
{
    AcquireSRWLockExclusive(&guardLock);
    while (*guard == beingInitialised) {
        SleepConditionVariableSRW(&guardChanged, &guardLock, INFINITE, 0);
    }
    if (*guard == uninitialised) {
        *guard = beingInitialised;
    } else {
        _Init_thread_epoch = globalEpoch;
    }
    ReleaseSRWLockExclusive(&guardLock);
}

static void finishInitialisation(int *guard, int state)
{
    AcquireSRWLockExclusive(&guardLock);
    *guard = state;
    ReleaseSRWLockExclusive(&guardLock);
    WakeAllConditionVariable(&guardChanged);
}

void _Init_thread_footer(int *guard)
{
    AcquireSRWLockExclusive(&guardLock);
    const int epoch = ++globalEpoch;
    _Init_thread_epoch = epoch;
    ReleaseSRWLockExclusive(&guardLock);
    finishInitialisation(guard, epoch);
}

void _Init_thread_abort(int *guard)
{
    finishInitialisation(guard, uninitialised);
}
}
