// SPDX-License-Identifier: GPL-2.0-or-later
// Loads and unloads runtimeprobe.dll three times and checks the C++ run-time in it. Exit code 0: no error.
#include <stdio.h>
#include <string.h>
#include <windows.h>

namespace {
int failures = 0;

void check(bool good, const char *what, int round)
{
    printf("%s: round %d: %s\n", good ? "ok" : "FAILED", round, what);
    failures += good ? 0 : 1;
}

template<class Function> Function *function(HMODULE module, const char *name)
{
    auto *found = reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(module, name)));
    if (!found) {
        printf("FAILED: no function %s\n", name);
        ExitProcess(2);
    }
    return found;
}

DWORD WINAPI callLocalStatic(void *call)
{
    return static_cast<DWORD>(reinterpret_cast<long (*)()>(call)());
}

/// Whether a local static is constructed once if several threads call the function, and no call returns before.
bool threadsConstructOnce(long (*localStatic)())
{
    HANDLE threads[8];
    for (HANDLE &thread : threads) {
        thread = CreateThread(nullptr, 0, callLocalStatic, reinterpret_cast<void *>(localStatic), 0, nullptr);
    }
    bool once = true;
    for (HANDLE thread : threads) {
        DWORD count = 0;
        WaitForSingleObject(thread, INFINITE);
        GetExitCodeThread(thread, &count);
        CloseHandle(thread);
        once = once && count == 1;
    }
    return once;
}
} // namespace

int main(int, char **argv)
{
    for (int round = 1; round <= 3; ++round) {
        char destroyed[16] = "";
        HMODULE module = LoadLibraryA(argv[1]);
        if (!module) {
            printf("FAILED: round %d: LoadLibrary: error %lu\n", round, GetLastError());
            return 2;
        }
        check(function<bool()>(module, "globalsAreConstructed")(), "global objects are constructed before first use",
              round);
        check(threadsConstructOnce(function<long()>(module, "localStatic")), "a local static is constructed once",
              round);
        check(function<bool()>(module, "exceptionIsCaught")(),
              "a caught exception has the type and text of the thrown one", round);
        check(function<bool(size_t)>(module, "noMemoryIsThrown")(SIZE_MAX / 2), "operator new throws bad_alloc", round);
        check(function<bool()>(module, "castsAreRight")(), "dynamic_cast", round);
        function<void(char *)>(module, "recordInto")(destroyed);
        FreeLibrary(module);
        check(strcmp(destroyed, "21") == 0, "unloading destroys the global objects in reverse order", round);
        check(!GetModuleHandleA("runtimeprobe.dll"), "the module is unloaded", round);
    }
    return failures == 0 ? 0 : 1;
}
