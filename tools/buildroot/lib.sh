# SPDX-License-Identifier: GPL-2.0-or-later
# Functions for the build roots: their folders, creation, and commands in them.
# shellcheck shell=bash

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
cacheHome=${XDG_CACHE_HOME:-$HOME/.cache}/tarvoline-srtla
rootsHome=$cacheHome/roots

# Debian's PATH of ordinary users lacks these folders; chroot is in one of them.
PATH=$PATH:/usr/sbin:/sbin

say() { printf '%s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

# The Debian suite of a root: the Linux root needs OBS 31.1 or newer, the Windows root Qt 6.8's headers and Wine 10.
rootSuite() {
    case $1 in
    linux) echo forky ;;
    windows) echo trixie ;;
    esac
}

# The architectures of a root: Wine's 32-bit part is a package of the 32-bit architecture.
rootArchitectures() {
    case $1 in
    linux) echo amd64 ;;
    windows) echo amd64,i386 ;;
    esac
}

# The packages of a root, one per line, without comments.
rootPackages() { sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "$project/tools/buildroot/packages-$1"; }

# True if this machine has the dependencies of the Linux build, as Debian forky does. Its g++ supports C++20 then.
hostIsEnough() {
    local program
    for program in cmake ninja g++ pkg-config; do # "command -v" with several names succeeds if one exists
        command -v $program >/dev/null 2>&1 || return 1
    done
    pkg-config --atleast-version=31.1 libobs 2>/dev/null && pkg-config --atleast-version=6.8 Qt6Core 2>/dev/null
}

# Installs a host package as root, in a new container after an update of the package lists; other users get a message.
needHostPackage() { # COMMAND PACKAGE
    command -v "$1" >/dev/null 2>&1 && return 0
    [ "$(id -u)" = 0 ] || die "missing: the program '$1'. Install it with: sudo apt-get install $2"
    say "Installing the host package $2 …"
    { apt-get install -y -qq "$2" || { apt-get update -qq && apt-get install -y -qq "$2"; }; } >/dev/null 2>&1 ||
        die "missing: the program '$1', and 'apt-get install $2' failed"
}

# The way to run commands in a root on this machine:
#   namespaces  root on Debian or Ubuntu: mounts end with the mount namespace
#   users       an ordinary user there: the same in a user namespace
#   proot       root in a container without the right to mount: proot traces the command and rewrites its paths
#   none        an ordinary user without user namespaces
entryMode() {
    if [ "$(id -u)" = 0 ]; then
        if unshare --mount --pid --fork true 2>/dev/null; then echo namespaces; else echo proot; fi
    elif "${userNamespace[@]}" true 2>/dev/null; then
        echo users
    else
        echo none
    fi
}
userNamespace=(unshare --user --map-root-user --map-auto --mount --pid --fork)

# The command that creates the namespaces of the mode, in the array "namespace"; empty for proot.
namespaceOf() { # MODE
    case $1 in
    namespaces) namespace=(unshare --mount --pid --fork --kill-child) ;;
    users) namespace=("${userNamespace[@]}" --kill-child) ;;
    proot) namespace=() ;;
    none) die "missing: $(userObstacle)" ;;
    esac
}

# The reason why an ordinary user cannot use a root on this machine.
userObstacle() {
    command -v newuidmap >/dev/null 2>&1 || { echo "the program 'newuidmap' (sudo apt-get install uidmap)"; return; }
    grep -q "^$(id -un):" /etc/subuid || { echo "ids for $(id -un) in /etc/subuid (sudo usermod --add-subuids)"; return; }
    echo "the right to create user namespaces. Allow them on this machine, or run the command as root."
}

# Locks the root NAME with descriptor 8 (windows.sh uses 9); prints a message while another process holds the lock.
lockRoot() { # NAME
    exec 8>"$rootsHome/$1.lock"
    flock --nonblock 8 && return
    say "Waiting for another process that changes the $1 build root …"
    flock 8
}

# Creates the root NAME, or adds packages that were not yet in the list when the root was created; one caller at a time.
ensureRoot() { # NAME
    local root=$rootsHome/$1 missing
    mkdir -p "$rootsHome" "$cacheHome/ccache" || die "missing: the right to write to $cacheHome"
    lockRoot "$1"
    [ -e "$root/etc/debian_version" ] || makeRoot "$1"
    missing=$(comm -23 <(rootPackages "$1" | sed 's/:.*//' | sort -u) <(installedPackages "$root") | paste -sd' ')
    if [ -n "$missing" ]; then
        say "Adding to the $1 build root: $missing …"
        cp -L /etc/resolv.conf "$root/etc/resolv.conf" # the network may have changed since the creation
        # shellcheck disable=SC2016,SC2086
        administer "$1" sh -c 'export DEBIAN_FRONTEND=noninteractive
            dpkg --configure -a && apt-get -o Acquire::Check-Valid-Until=false update -qq &&
            apt-get install -y -qq --no-install-recommends "$@"' sh $missing >"$rootsHome/$1.log" 2>&1 || {
            tail -n 5 "$rootsHome/$1.log" >&2
            die "Packages could not be added to the $1 build root: $missing"
        }
    fi
    exec 8>&-
}

# Completely installed packages only: an interrupted installation leaves incomplete ones.
installedPackages() { # ROOT
    awk '/^Package: / { name = $2 } /^Status: install ok installed/ { print name }' "$1/var/lib/dpkg/status" | sort -u
}

rootMiB=5000 # free space, including the downloaded packages

# A root is created under a temporary name and renamed when it is complete.
makeRoot() { # NAME
    local root=$rootsHome/$1 mode options=() freeMiB code namespace
    mode=$(entryMode)
    namespaceOf "$mode"
    freeMiB=$(df --output=avail -BM "$rootsHome" | tail -n 1 | tr -dc 0-9)
    [ "$freeMiB" -ge $rootMiB ] || die "missing: $rootMiB MiB of free space in $rootsHome; there are $freeMiB"
    needHostPackage mmdebstrap mmdebstrap
    # Without the right to mount, this check would end mmdebstrap; the packages can be installed without mounts.
    [ "$mode" != proot ] || options+=(--skip=check/canmount)
    say "Creating the $1 build root in $root (once; 3 to 15 minutes, 3 GB). Progress of mmdebstrap:"
    removeRoot "$root.new"
    # Old indexes are accepted, because archive mirrors keep them beyond their validity; signatures are checked. Indexes of
    # related suites can be out of date on such a mirror and are not needed.
    # shellcheck disable=SC2016
    options+=(--mode=root --variant=apt --aptopt='Acquire::Check-Valid-Until "false"'
        --architectures="$(rootArchitectures "$1")"
        --setup-hook='sed -i -E "/ [a-z]+-(updates|security)/d" "$1/etc/apt/sources.list"'
        --include="$(rootPackages "$1" | paste -sd,)" "$(rootSuite "$1")" "$root.new")
    [ ${#namespace[@]} = 0 ] || namespace+=(--mount-proc)
    # In separate namespaces: mounts and processes of mmdebstrap end with them.
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
        die "The $1 build root could not be created: see the output above. The first call needs a network connection."
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

# An ordinary user can remove files of the namespace's other users only inside the namespace.
removeRoot() { # ROOT
    [ -e "$1" ] || return 0
    if [ "$(entryMode)" = users ]; then "${userNamespace[@]}" rm -rf "$1"; else rm -rf "$1"; fi
}

# Runs a command as root of the build root, for package installation, which is not possible under proot.
administer() { # NAME COMMAND...
    if [ "$(entryMode)" = proot ]; then
        chroot "$rootsHome/$1" "${@:2}" </dev/null
    else
        enter "$@" </dev/null
    fi
}

# Runs a command in a root, in separate mount and process namespaces, which end all mounts and processes with the command.
# Returns the command's exit code; forwards INT, TERM and HUP to it.
enter() { # NAME COMMAND...
    local mode namespace inside parentDeathSignal=KILL
    mode=$(entryMode)
    namespaceOf "$mode"
    [ "$mode" != proot ] || parentDeathSignal=TERM # no namespace ends the command, so inside.sh does
    # A shell starts background commands with INT and QUIT ignored; signals ignored at the start cannot be trapped.
    inside=(setpriv --pdeathsig "$parentDeathSignal" env --default-signal=INT --default-signal=QUIT
        ${namespace[@]+"${namespace[@]}"}
        bash "$project/tools/buildroot/inside.sh" "$mode" "$rootsHome/$1" "$project" "$cacheHome" "${@:2}")
    # A background command without a redirection would read /dev/null. It does not inherit the lock (lockRoot).
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
    code=0 # a signal may have ended the wait above; this one returns the exit code
    wait "$started" || code=$?
    trap - INT TERM HUP
    return "$code"
}

# Sets "receivers" to the ids of a process's children. Without a subshell, because a subshell in a trap can fail when a second
# signal interrupts the trap.
childrenOf() { # PID
    receivers=
    { read -r receivers <"/proc/$1/task/$1/children" || true; } 2>/dev/null
}

# inside.sh handles the signals: it is the child of unshare, with proot the started process.
forward() { # SIGNAL STARTED MODE
    local receivers=$2
    [ "$3" = proot ] || childrenOf "$2"
    [ -n "$receivers" ] || return 0
    # shellcheck disable=SC2086
    kill -s "$1" $receivers 2>/dev/null || true
}
