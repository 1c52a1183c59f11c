#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# Runs a Qt Test program of the cross build: winetest.sh WINERUN PROGRAM [ARG...]. Under Wine its report reaches files only,
# not a pipe, and is printed from there. It gets a screen of its own: without one Wine refuses every window, and Qt's
# platform plug-ins that need none cannot be asked for, because Wine keeps the system's QT_ variables from its programs.
emulator=$1 program=$2
shift 2
report=$(mktemp)
xvfb-run --auto-servernum --server-args="-screen 0 1600x1200x24 -noreset" "$emulator" "$program" -o "$report,txt" "$@"
code=$?
cat "$report"
rm -f "$report"
exit "$code"
