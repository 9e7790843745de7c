#!/usr/bin/env bash
# Runs a command in a network namespace of its own with the loopback up, so that tests that bind the same port can
# run side by side. Without the right to make one the command runs as it is.
# usage: own_network.sh COMMAND [ARGUMENT...]
set -u

enter='ip link set lo up 2>/dev/null; exec "$@"'
if unshare --net true 2>/dev/null; then
    exec unshare --net bash -c "$enter" own_network "$@"
elif unshare --map-root-user --net true 2>/dev/null; then
    exec unshare --map-root-user --net bash -c "$enter" own_network "$@"
fi
exec "$@"
