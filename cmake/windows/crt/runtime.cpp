// SPDX-License-Identifier: GPL-2.0-or-later
// What Microsoft's linker would take from the static part of its C++ run-time and mingw-w64's CRT objects do not have:
// operator new and delete, the table of type_info, and the guard of function-local statics. The rest is in
// vcruntime140.dll, msvcp140.dll and the Universal CRT, which OBS brings or Windows has.

#include <limits.h>
#include <new>
#include <typeinfo>
#include <windows.h>

// Unlike Microsoft's, without a new-handler: nothing of this project sets one.
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

// The table of type_info's virtual functions, to which every record of a type points. The compiler takes it for the
// run-time's own and emits none. vcruntime140.dll reads the records and never calls through the table.
type_info::~type_info() noexcept = default;
static void neverCalled() {}
extern "C" const void *const typeInfoTable[1] __asm__("??_7type_info@@6B@");
const void *const typeInfoTable[1] = {reinterpret_cast<const void *>(&neverCalled)};

extern "C" {
// The compiler asks for it wherever floating-point numbers are used; nothing reads it.
int _fltused = 0;

// Function-local statics, as the compiler calls them (the thread-safe statics of C++11, "/Zc:threadSafeInit"): the
// guard is 0 before, -1 during and a positive epoch after the initialisation; a thread that has seen a later epoch
// skips the call.
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
