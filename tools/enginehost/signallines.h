// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class SrtlaEngine;

/// Writes every signal that \a engine emits from now on as one JSON object per line to standard output, in the order of
/// emission and flushed at once, so that a reader sees it while the engine runs.
void writeSignalLines(SrtlaEngine &engine);
