#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# Runs a command in a new network namespace with loopback only, so that fixed ports (the dock's defaults) do not conflict.
# Without namespaces the command runs unchanged.
if unshare --net true 2>/dev/null; then
    exec unshare --net sh -c 'ip link set lo up && exec "$@"' sh "$@"
fi
exec "$@"
