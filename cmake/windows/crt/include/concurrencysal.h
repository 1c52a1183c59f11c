// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// Included by the STL; its annotations are for Microsoft's static analyser.
