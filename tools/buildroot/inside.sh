#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Started by enter (lib.sh): prepares the root, runs the command in it and ends with its exit code.
# inside.sh MODE ROOT PROJECT CACHE COMMAND [ARG...]
# In a namespace this is the first process: at its end the kernel ends mounts and remaining processes.
set -u
mode=$1 root=$2 project=$3 cacheHome=$4
shift 4
shared=("$project" "$cacheHome")
# For ./run on a display.
[ -z "${DISPLAY:-}" ] || [ ! -d /tmp/.X11-unix ] || shared+=(/tmp/.X11-unix)

mountBelowRoot() {
    local folder
    set -e
    mount --make-rprivate /
    mount -t proc proc "$root/proc"
    mount --rbind /sys "$root/sys"
    mount --rbind /dev "$root/dev"
    mount -t tmpfs tmpfs "$root/tmp"
    for folder in "${shared[@]}"; do
        mkdir -p "$root$folder"
        mount --bind "$folder" "$root$folder"
    done
    set +e
}

# A seccomp filter: clone3 (435) fails with ENOSYS (38), other calls are allowed. libc then creates threads with clone. Proot
# (5.4.0) does not support clone3: it handles a new thread like a process with a separate heap, and when two threads have
# moved the end of the heap, a program like OBS writes to unmapped memory.
# One instruction per line as in linux/filter.h: code, jump if true, jump if false, value.
withoutClone3() {
    printf '\x20\0\0\0\0\0\0\0'        # load the number of the call
    printf '\x15\0\0\1\xb3\1\0\0'      # not 435: skip one instruction
    printf '\x06\0\0\0\x26\0\5\0'      # SECCOMP_RET_ERRNO | 38
    printf '\x06\0\0\0\0\0\xff\x7f'    # SECCOMP_RET_ALLOW
}

# The root's proot with the root's loader: the machine's proot can be too old for system calls of the root's programs.
useProot() {
    local libraries=$root/usr/lib/x86_64-linux-gnu folder
    [ -x "$root/usr/bin/proot" ] || { echo "missing: the right to mount (the Windows build root has no proot)" >&2; exit 1; }
    # With proot's seccomp filter, programs end with SIGBUS (proot 5.4.0 with Linux 6).
    export PROOT_TMP_DIR=$temporary PROOT_NO_SECCOMP=1
    withoutClone3 >"$temporary/without-clone3"
    entrance=(setpriv --pdeathsig KILL "$libraries/ld-linux-x86-64.so.2" --library-path "$libraries" "$root/usr/bin/proot"
        --kill-on-exit --rootfs="$root" --root-id --cwd="$project" --bind="$temporary:/tmp")
    for folder in /proc /sys /dev "${shared[@]}"; do
        entrance+=("--bind=$folder")
    done
    entrance+=(/usr/bin/setpriv --no-new-privs --seccomp-filter=/tmp/without-clone3)
    "${entrance[@]}" /bin/true 2>/dev/null || {
        echo "missing: the right to mount (CAP_SYS_ADMIN), user namespaces, or the right to trace processes for proot" >&2
        exit 1
    }
}

if [ "$mode" = proot ]; then
    temporary=$(mktemp -d)
    trap 'rm -rf "$temporary"' EXIT
    useProot
else
    mountBelowRoot
    entrance=(chroot "$root")
fi

path=${TARVOLINE_PATH:-$project/build/linux/bin:$project/bench}:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
# All clones share ccache's directory, so hashes contain paths relative to the project and no current folder.
environment=(HOME=/root PATH="$path" LANG=C.UTF-8 TERM="${TERM:-dumb}" TARVOLINE_INSIDE=1 TARVOLINE_CACHE="$cacheHome"
    CCACHE_DIR="$cacheHome/ccache" CCACHE_BASEDIR="$project" CCACHE_NOHASHDIR=1)
for name in DISPLAY XAUTHORITY ASAN_OPTIONS UBSAN_OPTIONS LSAN_OPTIONS TSAN_OPTIONS \
    TARVOLINE_WINDOWS_SDK TARVOLINE_WINE_HOME TARVOLINE_INNO_SETUP; do
    [ -n "${!name:-}" ] && environment+=("$name=${!name}")
done

# The leak check has to trace the program, which is impossible while proot traces it.
[ "$mode" != proot ] || environment+=("ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0")

# Forwarded so that the command can end regularly.
forward() { # SIGNAL
    local receivers=$command signal=$1
    # Without a subshell, as in lib.sh.
    [ "$mode" != proot ] || { receivers= && read -r receivers <"/proc/$command/task/$command/children"; } 2>/dev/null
    # If the caller has ended, the command is killed; proot ends the command's children.
    [ "$mode" != proot ] || [ -e "/proc/$PPID" ] || signal=KILL
    # shellcheck disable=SC2086
    [ -z "$receivers" ] || kill -s "$signal" $receivers 2>/dev/null
}
# The command receives the interrupt of a terminal directly. Here it is ignored: bash as the first process can miss the end of a
# child during a trap, and then waits for the orphans that it has adopted.
if [ -t 0 ]; then trap '' INT; else trap 'forward INT' INT; fi
trap 'forward TERM' TERM
trap 'forward HUP' HUP

# A shell starts background commands with INT and QUIT ignored; the command gets the defaults.
"${entrance[@]}" /usr/bin/env -i --chdir="$project" --default-signal=INT,QUIT "${environment[@]}" "$@" <&0 &
command=$!
while :; do
    code=0
    wait "$command" || code=$?
    kill -0 "$command" 2>/dev/null || break
done
code=0 # as in lib.sh
wait "$command" || code=$?
exit "$code"
