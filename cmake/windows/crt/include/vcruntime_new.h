// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// The forms of operator new and delete, [new.delete] in the C++ standard.

#include <vcruntime.h>

namespace std {
enum class align_val_t : size_t {};
struct nothrow_t
{
    explicit nothrow_t() = default;
};
extern nothrow_t const nothrow;
} // namespace std

void *__cdecl operator new(size_t);
void *__cdecl operator new[](size_t);
void *__cdecl operator new(size_t, std::nothrow_t const &) noexcept;
void *__cdecl operator new[](size_t, std::nothrow_t const &) noexcept;
void *__cdecl operator new(size_t, std::align_val_t);
void *__cdecl operator new[](size_t, std::align_val_t);
void *__cdecl operator new(size_t, std::align_val_t, std::nothrow_t const &) noexcept;
void *__cdecl operator new[](size_t, std::align_val_t, std::nothrow_t const &) noexcept;
void __cdecl operator delete(void *) noexcept;
void __cdecl operator delete[](void *) noexcept;
void __cdecl operator delete(void *, size_t) noexcept;
void __cdecl operator delete[](void *, size_t) noexcept;
void __cdecl operator delete(void *, std::nothrow_t const &) noexcept;
void __cdecl operator delete[](void *, std::nothrow_t const &) noexcept;
void __cdecl operator delete(void *, std::align_val_t) noexcept;
void __cdecl operator delete[](void *, std::align_val_t) noexcept;
void __cdecl operator delete(void *, size_t, std::align_val_t) noexcept;
void __cdecl operator delete[](void *, size_t, std::align_val_t) noexcept;
void __cdecl operator delete(void *, std::align_val_t, std::nothrow_t const &) noexcept;
void __cdecl operator delete[](void *, std::align_val_t, std::nothrow_t const &) noexcept;

// The STL's <new> defines the placement forms unless these macros are defined.
#ifndef __PLACEMENT_NEW_INLINE
#define __PLACEMENT_NEW_INLINE
inline void *__cdecl operator new(size_t, void *place) noexcept
{
    return place;
}
inline void __cdecl operator delete(void *, void *) noexcept {}
#endif
#ifndef __PLACEMENT_VEC_NEW_INLINE
#define __PLACEMENT_VEC_NEW_INLINE
inline void *__cdecl operator new[](size_t, void *place) noexcept
{
    return place;
}
inline void __cdecl operator delete[](void *, void *) noexcept {}
#endif
