# SPDX-License-Identifier: GPL-2.0-or-later
# Shared by all that starts things in a build root: where the build roots live, how one is made and how it is entered.
# shellcheck shell=bash

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
cacheHome=${XDG_CACHE_HOME:-$HOME/.cache}/tarvoline-srtla
rootsHome=$cacheHome/roots

# Debian leaves these folders out of an ordinary user's PATH; chroot is in there.
PATH=$PATH:/usr/sbin:/sbin

say() { printf '%s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

# The Debian suite a root is made from: the Linux root needs an OBS of 31.1 or newer, the Windows one Qt 6.8's headers
# and a Wine of the same time.
rootSuite() {
    case $1 in
    linux) echo forky ;;
    windows) echo trixie ;;
    esac
}

# The architectures of a root: Wine's 32-bit half is a package of the 32-bit architecture.
rootArchitectures() {
    case $1 in
    linux) echo amd64 ;;
    windows) echo amd64,i386 ;;
    esac
}

# The packages of a root, one a line, without the reasons beside them.
rootPackages() { sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "$project/tools/buildroot/packages-$1"; }

# True where this machine itself has what the Linux build needs.
hostIsEnough() {
    local program
    for program in cmake ninja g++ pkg-config; do # asked for several at once, "command -v" is content with one
        command -v $program >/dev/null 2>&1 || return 1
    done
    pkg-config --atleast-version=31.1 libobs 2>/dev/null || return 1
    pkg-config --atleast-version=6.8 Qt6Core 2>/dev/null || return 1
    echo 'int main() { return []<class T>(T x) requires true { return x; }(0); }' |
        g++ -std=c++20 -x c++ -fsyntax-only - 2>/dev/null
}

# Installs host packages where this user may, and says what is missing where not.
needHostPackage() { # COMMAND PACKAGE
    command -v "$1" >/dev/null 2>&1 && return 0
    [ "$(id -u)" = 0 ] || die "missing: the program '$1'. Install it with: sudo apt-get install $2"
    say "Installing the host package $2 …"
    { apt-get install -y -qq "$2" || { apt-get update -qq && apt-get install -y -qq "$2"; }; } >/dev/null 2>&1 ||
        die "missing: the program '$1', and 'apt-get install $2' failed here"
}

# How this user can work in a root on this machine:
#   namespaces  may mount, in a namespace that takes its mounts along when it ends
#   users       an ordinary user, the same within a user namespace
#   proot       may not mount: proot traces the command and rewrites the paths that it asks for
entryMode() {
    if [ "$(id -u)" = 0 ]; then
        if unshare --mount --pid --fork true 2>/dev/null; then echo namespaces; else echo proot; fi
    elif "${userNamespace[@]}" true 2>/dev/null; then
        echo users
    else
        echo proot
    fi
}
userNamespace=(unshare --user --map-root-user --map-auto --mount --pid --fork)

# The command that makes the mode's namespaces, as the array "namespace"; empty for proot.
namespaceOf() { # MODE
    case $1 in
    namespaces) namespace=(unshare --mount --pid --fork --kill-child) ;;
    users) namespace=("${userNamespace[@]}" --kill-child) ;;
    *) namespace=() ;;
    esac
}

# What keeps an ordinary user from making a root here; nothing when nothing does.
userObstacle() {
    command -v newuidmap >/dev/null 2>&1 || { echo "the program 'newuidmap' (sudo apt-get install uidmap)"; return; }
    grep -q "^$(id -un):" /etc/subuid || { echo "ids for $(id -un) in /etc/subuid (sudo usermod --add-subuids)"; return; }
    echo "user namespaces; run it as root, or have them allowed"
}

# Holds the lock of the root NAME in descriptor 8 (windows.sh holds others in 9), and says when that takes a while.
lockRoot() { # NAME
    exec 8>"$rootsHome/$1.lock"
    flock --nonblock 8 && return
    say "Waiting for another call that works on the $1 build root …"
    flock 8
}

# Makes the root NAME, or adds the packages that it lacks; one caller at a time.
ensureRoot() { # NAME
    local root=$rootsHome/$1 missing
    mkdir -p "$rootsHome" "$cacheHome/ccache" || die "missing: the right to write to $cacheHome"
    lockRoot "$1"
    [ -e "$root/etc/debian_version" ] || makeRoot "$1"
    missing=$(comm -23 <(rootPackages "$1" | sed 's/:.*//' | sort -u) <(installedPackages "$root") | paste -sd' ')
    if [ -n "$missing" ]; then
        say "Adding to the $1 build root: $missing …"
        cp -L /etc/resolv.conf "$root/etc/resolv.conf"
        # shellcheck disable=SC2016,SC2086
        administer "$1" sh -c 'dpkg --configure -a && apt-get -o Acquire::Check-Valid-Until=false update -qq &&
            apt-get install -y -qq --no-install-recommends "$@"' sh $missing >"$rootsHome/$1.log" 2>&1 || {
            tail -n 5 "$rootsHome/$1.log" >&2
            die "Packages could not be added to the $1 build root: $missing"
        }
    fi
    exec 8>&-
}

# Whole ones only: an interrupted installation leaves others behind.
installedPackages() { # ROOT
    awk '/^Package: / { name = $2 } /^Status: install ok installed/ { print name }' "$1/var/lib/dpkg/status" | sort -u
}

rootMiB=5000 # of free space, with the packages that are unpacked from

# A new root grows under another name, so that nobody takes half of one for whole.
makeRoot() { # NAME
    local root=$rootsHome/$1 mode options=() freeMiB code namespace
    mode=$(entryMode)
    freeMiB=$(df --output=avail -BM "$rootsHome" | tail -n 1 | tr -dc 0-9)
    [ "$freeMiB" -ge $rootMiB ] || die "missing: $rootMiB MiB of free space in $rootsHome; there are $freeMiB"
    needHostPackage mmdebstrap mmdebstrap
    if [ "$mode" = proot ]; then
        [ "$(id -u)" = 0 ] || die "missing: $(userObstacle)"
        options+=(--skip=check/canmount)
    fi
    say "Making the $1 build root in $root (once; three to fifteen minutes, 3 GB)." \
        "Debian's mmdebstrap says how far it is:"
    removeRoot "$root.new"
    # The suite alone: a mirror's indexes of the suites beside it may be out of step, and the root gains nothing.
    # shellcheck disable=SC2016
    options+=(--mode=root --variant=apt --aptopt='Acquire::Check-Valid-Until "false"'
        --architectures="$(rootArchitectures "$1")"
        --setup-hook='sed -i -E "/ [a-z]+-(updates|security)/d" "$1/etc/apt/sources.list"'
        --include="$(rootPackages "$1" | paste -sd,)" "$(rootSuite "$1")" "$root.new")
    namespaceOf "$mode"
    [ ${#namespace[@]} = 0 ] || namespace+=(--mount-proc)
    # In a namespace of its own too: however this ends, mmdebstrap's mounts and processes go with it.
    setpriv --pdeathsig KILL ${namespace[@]+"${namespace[@]}"} mmdebstrap "${options[@]}" </dev/null >&2 &
    # shellcheck disable=SC2064
    trap "abandonRoot $! '$root.new' 130" INT
    # shellcheck disable=SC2064
    trap "abandonRoot $! '$root.new' 143" TERM HUP
    code=0
    wait $! || code=$?
    trap - INT TERM HUP
    if [ $code != 0 ]; then
        removeRoot "$root.new"
        die "The $1 build root could not be made: see the lines above (without a network there is no first call)."
    fi
    mv "$root.new" "$root"
    say "The $1 build root is ready."
}

abandonRoot() { # PID ROOT CODE
    trap '' INT TERM HUP
    say "Interrupted; removing the unfinished root …"
    kill -KILL "$1" 2>/dev/null
    wait "$1" 2>/dev/null || true
    removeRoot "$2"
    exit "$3"
}

# An ordinary user can only remove files of the namespace's other users from within.
removeRoot() { # ROOT
    [ -e "$1" ] || return 0
    if [ "$(entryMode)" = users ]; then "${userNamespace[@]}" rm -rf "$1"; else rm -rf "$1"; fi
}

# Runs a command as the root's administrator, who installs packages; proot is no help there.
administer() { # NAME COMMAND...
    if [ "$(entryMode)" = proot ]; then
        [ "$(id -u)" = 0 ] || die "missing: $(userObstacle)"
        DEBIAN_FRONTEND=noninteractive chroot "$rootsHome/$1" "${@:2}" </dev/null
    else
        enter "$@" </dev/null
    fi
}

# Runs a command in a root, in a mount and process namespace of its own, so that neither mounts nor processes are left,
# however it ends. The command's exit code is the result; INT, TERM and HUP are handed on to it.
enter() { # NAME COMMAND...
    local mode namespace inside atOurDeath=KILL
    mode=$(entryMode)
    namespaceOf "$mode"
    [ "$mode" != proot ] || atOurDeath=TERM # inside.sh has to end the command then; no kernel does it
    # The shell ignores INT and QUIT for what it starts in the background, and a shell cannot trap what it came to ignored.
    inside=(setpriv --pdeathsig "$atOurDeath" env --default-signal=INT --default-signal=QUIT ${namespace[@]+"${namespace[@]}"}
        bash "$project/tools/buildroot/inside.sh" "$mode" "$rootsHome/$1" "$project" "$cacheHome" "${@:2}")
    if [ -t 0 ]; then
        trap : INT
        "${inside[@]}" 8>&-
        return
    fi
    "${inside[@]}" <&0 8>&- &
    local started=$! code signal
    for signal in INT TERM HUP; do
        # shellcheck disable=SC2064
        trap "forward $signal $started $mode" "$signal"
    done
    while :; do
        code=0
        wait "$started" || code=$?
        kill -0 "$started" 2>/dev/null || break
    done
    code=0 # a signal may have ended the wait above just when the command ended
    wait "$started" || code=$?
    trap - INT TERM HUP
    return "$code"
}

# Puts the children of a process into "receivers". Read, and not asked for in a subshell: bash can trip over one in a trap that
# a second signal interrupts.
childrenOf() { # PID
    receivers=
    { read -r receivers <"/proc/$1/task/$1/children" || true; } 2>/dev/null
}

# Inside.sh takes the signals: it is the child of unshare, or with proot what was started itself.
forward() { # SIGNAL STARTED MODE
    local receivers=$2
    [ "$3" = proot ] || childrenOf "$2"
    [ -n "$receivers" ] || return 0
    # shellcheck disable=SC2086
    kill -s "$1" $receivers 2>/dev/null || true
}
