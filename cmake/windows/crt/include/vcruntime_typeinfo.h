// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// type_info with the layout of vcruntime140.dll, and the exceptions of dynamic_cast and typeid.

#include <vcruntime_exception.h>

struct __std_type_info_data
{
    char const *_UndecoratedName;
    char const _DecoratedName[1];
};
extern "C" {
_VCRTIMP int __cdecl __std_type_info_compare(__std_type_info_data const *, __std_type_info_data const *);
_VCRTIMP size_t __cdecl __std_type_info_hash(__std_type_info_data const *);
_VCRTIMP char const *__cdecl __std_type_info_name(__std_type_info_data *, void *names);
}

class type_info
{
public:
    type_info(type_info const &) = delete;
    type_info &operator=(type_info const &) = delete;
    virtual ~type_info() noexcept;
    size_t hash_code() const noexcept { return __std_type_info_hash(&_Data); }
    bool operator==(type_info const &other) const noexcept
    {
        return __std_type_info_compare(&_Data, &other._Data) == 0;
    }
    bool before(type_info const &other) const noexcept { return __std_type_info_compare(&_Data, &other._Data) < 0; }
    char const *name() const noexcept { return __std_type_info_name(&_Data, nullptr); }
    char const *raw_name() const noexcept { return _Data._DecoratedName; }

private:
    mutable __std_type_info_data _Data;
};

namespace std {
using ::type_info;

class bad_cast : public exception
{
public:
    bad_cast() noexcept : exception("bad cast", 1) {}
    static bad_cast __construct_from_string_literal(char const *const what) noexcept { return bad_cast(what, 1); }

private:
    bad_cast(char const *const what, int) noexcept : exception(what, 1) {}
};

class bad_typeid : public exception
{
public:
    bad_typeid() noexcept : exception("bad typeid", 1) {}
};
} // namespace std
