// SPDX-License-Identifier: GPL-2.0-or-later
// Functions of Microsoft's STL that Wine's msvcp140.dll lacks. QtTest's watchdog waits on a condition variable with
// them. They may return early, because every caller tests its condition again.
#include <xatomic_wait.h>
#include <xthreads.h>

#include <qt_windows.h>

extern "C" {

_Thrd_result _Cnd_timedwait_for_unchecked(_Cnd_t, _Mtx_t mutex, unsigned int milliseconds)
{
    constexpr unsigned int sliceMs = 10;
    _Mtx_unlock(mutex);
    Sleep(milliseconds < sliceMs ? milliseconds : sliceMs);
    _Mtx_lock(mutex);
    return milliseconds <= sliceMs ? _Thrd_result::_Timedout : _Thrd_result::_Success;
}

int __std_atomic_wait_direct(const void *, void *, size_t, unsigned long)
{
    Sleep(1);
    return 1;
}

void __std_atomic_notify_one_direct(const void *) {}

void __std_atomic_notify_all_direct(const void *) {}
}
