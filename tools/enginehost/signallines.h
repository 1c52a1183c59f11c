// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class SrtlaEngine;

/// Prints every signal of \a engine as one JSON object per line to standard output, in the order of emission, flushed
/// after each line.
void writeSignalLines(SrtlaEngine &engine);
