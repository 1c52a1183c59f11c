// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// In place of the header of this name for Microsoft's compiler, whose types clash with those of Wine's C headers.
// What is compiled here needs none of its definitions.
#include <QtCore/qglobal.h>

struct IDWriteFontFace; // named by a private header that declares it only with DirectWrite
