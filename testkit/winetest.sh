#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# Runs a Qt Test program of the cross build: winetest.sh WINERUN PROGRAM [ARG...]. The report is written to a file, because
# Qt Test does not write to pipes under Wine. The program runs on a virtual display, because Wine creates no windows without a
# display; winerun selects Qt's platform plug-in.
emulator=$1 program=$2
shift 2
report=$(mktemp)
xvfb-run --auto-servernum --server-args="-screen 0 1600x1200x24 -noreset" "$emulator" "$program" -o "$report,txt" "$@"
code=$?
cat "$report"
rm -f "$report"
exit "$code"
