// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
#include <vcruntime.h>

#include <string.h>
