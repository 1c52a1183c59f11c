#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# Runs a Qt Test program of the cross build: winetest.sh WINERUN PROGRAM [ARG...]. The report is written to a file, because
# Qt Test does not write to pipes under Wine. The program needs a virtual screen: Wine creates no windows without one, and
# Wine does not pass QT_ variables to its programs, so Qt's offscreen plug-in cannot be selected.
emulator=$1 program=$2
shift 2
report=$(mktemp)
xvfb-run --auto-servernum --server-args="-screen 0 1600x1200x24 -noreset" "$emulator" "$program" -o "$report,txt" "$@"
code=$?
cat "$report"
rm -f "$report"
exit "$code"
