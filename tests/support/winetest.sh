#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# Runs a Qt Test program of the cross build: winetest.sh WINERUN PROGRAM [ARG...]. Under Wine its report reaches files only,
# not a pipe, and is printed from there.
emulator=$1 program=$2
shift 2
report=$(mktemp)
"$emulator" "$program" -o "$report,txt" "$@"
code=$?
cat "$report"
rm -f "$report"
exit "$code"
