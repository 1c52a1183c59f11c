// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// Declarations of the Universal CRT that Microsoft's STL needs and Wine's C headers lack. Included before every source
// file by a compiler option.
#ifdef __cplusplus

#include <errno.h>
#include <fenv.h>
#include <float.h>
#include <math.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <wchar.h>

#define FLT_TRUE_MIN 1.401298464e-45F
#define DBL_TRUE_MIN 4.9406564584124654e-324
#define LDBL_TRUE_MIN DBL_TRUE_MIN

extern "C" {
typedef mbstate_t _Mbstatet;
int mbsinit(mbstate_t const *);
int fwide(FILE *, int);
int vfscanf(FILE *, char const *, va_list);
int vscanf(char const *, va_list);
int vsscanf(char const *, char const *, va_list);
int vfwscanf(FILE *, wchar_t const *, va_list);
int vswscanf(wchar_t const *, wchar_t const *, va_list);
int vwscanf(wchar_t const *, va_list);

typedef void(__cdecl *terminate_handler)();
[[noreturn]] void terminate();
terminate_handler set_terminate(terminate_handler) noexcept;
terminate_handler _get_terminate() noexcept;
typedef void(__cdecl *unexpected_handler)();
[[noreturn]] void unexpected();
unexpected_handler set_unexpected(unexpected_handler) noexcept;
unexpected_handler _get_unexpected() noexcept;
[[noreturn]] void _invoke_watson(wchar_t const *, wchar_t const *, wchar_t const *, unsigned, uintptr_t);
int at_quick_exit(void (*)());
[[noreturn]] void quick_exit(int);

int timespec_get(struct timespec *, int);

typedef float float_t;
typedef double double_t;
double fabs(double);
double erfc(double);
float erfcf(float);
float fmaf(float, float, float);
double nan(char const *);
float nanf(char const *);
unsigned __int64 _udiv128(unsigned __int64 high, unsigned __int64 low, unsigned __int64 divisor,
                          unsigned __int64 *remainder);

// "long double" is "double" in this interface, so these are the functions for double.
double nexttoward(double, long double);
float nexttowardf(float, long double);
// clang-format off
#define TARVOLINE_UNARY(name) inline long double name##l(long double x) { return name(static_cast<double>(x)); }
#define TARVOLINE_BINARY(name) \
    inline long double name##l(long double x, long double y) { return name(static_cast<double>(x), static_cast<double>(y)); }
TARVOLINE_UNARY(acos) TARVOLINE_UNARY(acosh) TARVOLINE_UNARY(asin) TARVOLINE_UNARY(asinh) TARVOLINE_UNARY(atan)
TARVOLINE_UNARY(atanh) TARVOLINE_UNARY(cbrt) TARVOLINE_UNARY(ceil) TARVOLINE_UNARY(cos) TARVOLINE_UNARY(cosh)
TARVOLINE_UNARY(erf) TARVOLINE_UNARY(erfc) TARVOLINE_UNARY(exp) TARVOLINE_UNARY(exp2) TARVOLINE_UNARY(expm1)
TARVOLINE_UNARY(fabs) TARVOLINE_UNARY(floor) TARVOLINE_UNARY(lgamma) TARVOLINE_UNARY(log) TARVOLINE_UNARY(log10)
TARVOLINE_UNARY(log1p) TARVOLINE_UNARY(log2) TARVOLINE_UNARY(logb) TARVOLINE_UNARY(nearbyint) TARVOLINE_UNARY(rint)
TARVOLINE_UNARY(round) TARVOLINE_UNARY(sin) TARVOLINE_UNARY(sinh) TARVOLINE_UNARY(sqrt) TARVOLINE_UNARY(tan)
TARVOLINE_UNARY(tanh) TARVOLINE_UNARY(tgamma) TARVOLINE_UNARY(trunc)
TARVOLINE_BINARY(copysign) TARVOLINE_BINARY(fdim) TARVOLINE_BINARY(fmax) TARVOLINE_BINARY(fmin) TARVOLINE_BINARY(fmod)
TARVOLINE_BINARY(hypot) TARVOLINE_BINARY(nextafter) TARVOLINE_BINARY(pow) TARVOLINE_BINARY(remainder)
#undef TARVOLINE_UNARY
#undef TARVOLINE_BINARY
    // clang-format on
    long double nexttowardl(long double, long double);
long double fmal(long double, long double, long double);
long double frexpl(long double, int *);
int ilogbl(long double);
long double ldexpl(long double, int);
long long llrintl(long double);
long long llroundl(long double);
long lrintl(long double);
long lroundl(long double);
long double modfl(long double, long double *);
long double nanl(char const *);
long double remquol(long double, long double, int *);
long double scalblnl(long double, long);
long double scalbnl(long double, int);
long double wcstold(wchar_t const *, wchar_t **);
} // extern "C"

// The STL defines these as functions.
#undef isgreater
#undef isgreaterequal
#undef isless
#undef islessequal
#undef islessgreater
#undef isunordered

#endif // __cplusplus
