#!/usr/bin/env bash
# The first process of the namespace that enter (lib.sh) makes: mounts what the command needs below the root, runs the
# command there and ends with its exit code. The kernel takes down mounts and left-over processes when this one ends.
set -u
root=$1 project=$2 cacheHome=$3
shift 3

mount --make-rprivate /
mount -t proc proc "$root/proc"
mount --rbind /sys "$root/sys"
mount --rbind /dev "$root/dev"
mount -t tmpfs tmpfs "$root/tmp"
for folder in "$project" "$cacheHome" ${TARVOLINE_BIND:-}; do
    mkdir -p "$root$folder"
    mount --bind "$folder" "$root$folder"
done
if [ -n "${DISPLAY:-}" ] && [ -d /tmp/.X11-unix ]; then
    mkdir -p "$root/tmp/.X11-unix"
    mount --bind /tmp/.X11-unix "$root/tmp/.X11-unix"
fi

environment=(HOME=/root PATH="${TARVOLINE_PATH:-$project/build/linux/bin:$project/bench}:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
    LANG=C.UTF-8 TERM="${TERM:-dumb}" TARVOLINE_INSIDE=1 TARVOLINE_CACHE="$cacheHome" CCACHE_DIR="$cacheHome/ccache" CCACHE_BASEDIR="$project"
    CCACHE_NOHASHDIR=1
    DEBIAN_FRONTEND=noninteractive)
for name in CI DISPLAY XAUTHORITY WAYLAND_DISPLAY ASAN_OPTIONS UBSAN_OPTIONS LSAN_OPTIONS TSAN_OPTIONS CTEST_PARALLEL_LEVEL \
    TARVOLINE_QT_WINDOWS TARVOLINE_OBS_HEADERS TARVOLINE_WINE_HOME TARVOLINE_INNO_SETUP; do
    [ -n "${!name:-}" ] && environment+=("$name=${!name}")
done

# Handed on so that the command can end in its own order; a terminal's interrupt reaches it without help.
forward() { [ "$1" = INT ] && [ -t 0 ] || kill -s "$1" "$command" 2>/dev/null; }
trap 'forward INT' INT
trap 'forward TERM' TERM
trap 'forward HUP' HUP

# The shell ignores INT and QUIT for what it starts in the background; the command gets the usual ones back.
chroot "$root" env -i --chdir="$project" --default-signal=INT,QUIT "${environment[@]}" "$@" <&0 &
command=$!
while :; do
    code=0
    wait "$command" || code=$?
    kill -0 "$command" 2>/dev/null || break
done
exit "$code"
