// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// std::exception and the exceptions of operator new and dynamic_cast. The layout is that of msvcp140.dll and OBS's Qt,
// because exceptions are passed between them and the module: a pointer to the virtual table and a __std_exception_data.

#include <vcruntime.h>

struct __std_exception_data
{
    char const *_What;
    bool _DoFree;
};
extern "C" {
_VCRTIMP void __cdecl __std_exception_copy(__std_exception_data const *from, __std_exception_data *to);
_VCRTIMP void __cdecl __std_exception_destroy(__std_exception_data *data);
}

namespace std {
class exception
{
public:
    exception() noexcept : _Data() {}
    explicit exception(char const *const what) noexcept : _Data()
    {
        const __std_exception_data given = {what, true};
        __std_exception_copy(&given, &_Data);
    }
    exception(char const *const what, int) noexcept : _Data() { _Data._What = what; } // a literal, which is not copied
    exception(exception const &other) noexcept : _Data() { __std_exception_copy(&other._Data, &_Data); }
    exception &operator=(exception const &other) noexcept
    {
        if (this != &other) {
            __std_exception_destroy(&_Data);
            __std_exception_copy(&other._Data, &_Data);
        }
        return *this;
    }
    virtual ~exception() noexcept { __std_exception_destroy(&_Data); }
    virtual char const *what() const { return _Data._What ? _Data._What : "Unknown exception"; }

private:
    __std_exception_data _Data;
};

class bad_exception : public exception
{
public:
    bad_exception() noexcept : exception("bad exception", 1) {}
};

class bad_alloc : public exception
{
public:
    bad_alloc() noexcept : exception("bad allocation", 1) {}

private:
    friend class bad_array_new_length;
    bad_alloc(char const *const what) noexcept : exception(what, 1) {}
};

class bad_array_new_length : public bad_alloc
{
public:
    bad_array_new_length() noexcept : bad_alloc("bad array new length") {}
};
} // namespace std
