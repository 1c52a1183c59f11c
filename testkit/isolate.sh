#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# Runs a test in a network namespace of its own that holds nothing but loopback, so that fixed ports (the dock's
# defaults) never meet another test's or the user's. Where the system refuses namespaces, the test runs as it is.
if unshare --net true 2>/dev/null; then
    exec unshare --net sh -c 'ip link set lo up && exec "$@"' sh "$@"
fi
exec "$@"
