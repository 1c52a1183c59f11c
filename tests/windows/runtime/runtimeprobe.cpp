// SPDX-License-Identifier: GPL-2.0-or-later
// A module that uses the functions of the C++ run-time; runtimeloader.cpp loads it and checks the results.
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <windows.h>

namespace {
// Memory of the loader, which reads it after the module is unloaded.
char *record = nullptr;

void append(char letter)
{
    if (record) {
        *record++ = letter;
        *record = '\0';
    }
}

struct Global
{
    explicit Global(char name) : letter(name), text(std::string(100, name)) {}
    ~Global() { append(letter); }
    char letter;
    std::string text; // long enough to be on the heap, so the constructor has to run
};
Global first('1');
Global second('2');

struct Base
{
    virtual ~Base() = default;
};
struct Derived : Base
{
};
struct Other : Base
{
};

struct Slow
{
    Slow()
    {
        Sleep(20);
        InterlockedIncrement(&count);
    }
    static inline volatile long count = 0;
};
} // namespace

extern "C" {
// Sets the text to which the destructors append their letters.
__declspec(dllexport) void recordInto(char *text)
{
    record = text;
}

__declspec(dllexport) bool globalsAreConstructed()
{
    return first.text == std::string(100, '1') && second.text == std::string(100, '2');
}

// Number of constructions of a function-local static.
__declspec(dllexport) long localStatic()
{
    static const Slow slow;
    return Slow::count;
}

__declspec(dllexport) bool exceptionIsCaught()
{
    try {
        throw std::runtime_error("thrown");
    } catch (const std::exception &error) {
        return std::string(error.what()) == "thrown" && typeid(error) == typeid(std::runtime_error);
    }
}

__declspec(dllexport) bool noMemoryIsThrown(size_t size)
{
    try {
        void *volatile memory = operator new(size); // volatile, because the compiler may omit both calls
        operator delete(memory);
        return false;
    } catch (const std::bad_alloc &) {
        return true;
    }
}

__declspec(dllexport) bool castsAreRight()
{
    Derived derived;
    Base *base = &derived;
    bool badCast = false;
    try {
        (void)dynamic_cast<Other &>(*base);
    } catch (const std::bad_cast &) {
        badCast = true;
    }
    return dynamic_cast<Derived *>(base) == &derived && !dynamic_cast<Other *>(base) && badCast;
}
}
