// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// The part of the compiler's run-time header that Microsoft's STL and Wine's C headers need. The macros are described
// in Microsoft's "C runtime (CRT) and C++ standard library (STL) .lib files" and used in the STL's yvals_core.h.

#include <sal.h>
#include <vadefs.h>

// The macros prevent a second declaration of the types in Wine's corecrt.h.
typedef unsigned __int64 size_t;
typedef __int64 ptrdiff_t;
typedef __int64 intptr_t;
typedef unsigned __int64 uintptr_t;
#define _SIZE_T_DEFINED
#define _PTRDIFF_T_DEFINED
#define _INTPTR_T_DEFINED
#define _UINTPTR_T_DEFINED
typedef bool __vcrt_bool;

#define _CRT_BEGIN_C_HEADER extern "C" {
#define _CRT_END_C_HEADER }
#define _CRT_STRINGIZE_(x) #x
#define _CRT_STRINGIZE(x) _CRT_STRINGIZE_(x)
#define _CRT_WIDE_(x) L##x
#define _CRT_WIDE(x) _CRT_WIDE_(x)
#define _CRT_CONCATENATE_(a, b) a##b
#define _CRT_CONCATENATE(a, b) _CRT_CONCATENATE_(a, b)

#define _VCRTIMP __declspec(dllimport)
#define _ACRTIMP __declspec(dllimport)
#define _CRTIMP2 __declspec(dllimport)
#define _CRT_SATELLITE_1 __declspec(dllimport)
#define _CRT_SATELLITE_2 __declspec(dllimport)
#define _CRT_SATELLITE_CODECVT_IDS __declspec(dllimport)
#define _CRT_SATELLITE_CODECVT_IDS_NOIMPORT
#define _CRTIMP2_PURE_IMPORT __declspec(dllimport)
#define _MRTIMP2 __declspec(dllimport)
#define _PGLOBAL
#define _Deref_post_opt_valid_ // missing in mingw-w64's sal.h

#define __CRTDECL __cdecl
#define __CLRCALL_OR_CDECL __cdecl
#define __CLRCALL_PURE_OR_CDECL __cdecl
#define __CLR_OR_THIS_CALL

#define _CRTRESTRICT
#define _CRTALLOCATOR
#define _CRTNOALIAS
#define _VCRT_ALLOCATOR
#define _VCRT_EXPORT_STD
#define _VCRT_NOALIAS __declspec(noalias)
#define _VCRT_RESTRICT __declspec(restrict)
#define _CRT_GUARDOVERFLOW
#define _CRT_INSECURE_DEPRECATE(x)
#define _CRT_INSECURE_DEPRECATE_MEMORY(x)
#define _CRT_INSECURE_DEPRECATE_GLOBALS(x)
#define _CRT_PACKING 8

#define _HAS_EXCEPTIONS 1
#define _HAS_NODISCARD 1
#define _NODISCARD [[nodiscard]]
#define _HAS_CXX17 1
#define _HAS_CXX20 1
#define _HAS_CXX23 0
#define _MSVC_CONSTEXPR [[msvc::constexpr]]
