// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// The STL includes this header; its annotations are for Microsoft's static analyser only.
