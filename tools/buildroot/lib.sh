# Shared by dev, run and test: where the build roots live, how one is made and how it is entered.
# shellcheck shell=bash

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
cacheHome=${XDG_CACHE_HOME:-$HOME/.cache}/tarvoline-srtla
rootsHome=$cacheHome/roots

say() { printf '%s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

# The Debian suite a root is made from: the Linux root needs an OBS of 31.1 or newer, the Windows one a Wine and a MinGW
# that work together.
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
    command -v cmake ninja g++ pkg-config >/dev/null 2>&1 || return 1
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

# Makes the root NAME, or adds the packages that it lacks; one caller at a time.
ensureRoot() { # NAME
    local root=$rootsHome/$1 missing
    mkdir -p "$rootsHome" "$cacheHome/ccache"
    (
        flock 9
        if [ ! -e "$root/etc/debian_version" ]; then
            needHostPackage mmdebstrap mmdebstrap
            say "Making the $1 build root in $root (once; about five minutes, 3 GB) …"
            rm -rf "$root.new"
            # The suite alone: a mirror's indexes of the suites beside it may be out of step, and the root gains nothing.
            mmdebstrap --quiet --variant=apt --aptopt='Acquire::Check-Valid-Until "false"' \
                --architectures="$(rootArchitectures "$1")" \
                --setup-hook='sed -i -E "/ [a-z]+-(updates|security)/d" "$1/etc/apt/sources.list"' \
                --include="$(rootPackages "$1" | paste -sd,)" ${extraMmdebstrap[@]+"${extraMmdebstrap[@]}"} \
                "$(rootSuite "$1")" "$root.new" >&2 || die "The build root could not be made (see above)."
            mv "$root.new" "$root"
        fi
        missing=$(comm -23 <(rootPackages "$1" | sed 's/:.*//' | sort -u) \
            <(sed -n 's/^Package: //p' "$root/var/lib/dpkg/status" | sort -u) | paste -sd' ')
        if [ -n "$missing" ]; then
            say "Adding to the $1 build root: $missing …"
            cp -L /etc/resolv.conf "$root/etc/resolv.conf"
            # shellcheck disable=SC2086
            enter "$1" sh -c 'apt-get -o Acquire::Check-Valid-Until=false update -qq &&
                DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@" >/dev/null' sh $missing ||
                die "Packages could not be added to the $1 build root: $missing"
        fi
    ) 9>"$rootsHome/$1.lock" || exit 1
}

# Runs a command in a root, in a mount and process namespace of its own, so that neither mounts nor processes are left,
# however it ends. The command's exit code is the result; INT, TERM and HUP are handed on to it.
enter() { # NAME COMMAND...
    local inside=(setpriv --pdeathsig KILL unshare --mount --pid --fork --kill-child
        bash "$project/tools/buildroot/inside.sh" "$rootsHome/$1" "$project" "$cacheHome" "${@:2}")
    if [ -t 0 ]; then
        trap : INT
        "${inside[@]}"
        return
    fi
    "${inside[@]}" <&0 &
    local unsharePid=$! code signal
    for signal in INT TERM HUP; do
        # shellcheck disable=SC2064
        trap "forward $signal $unsharePid" "$signal"
    done
    while :; do
        code=0
        wait "$unsharePid" || code=$?
        kill -0 "$unsharePid" 2>/dev/null || break
    done
    trap - INT TERM HUP
    return "$code"
}

forward() { # SIGNAL PARENT
    local children
    children=$(cat "/proc/$2/task/$2/children" 2>/dev/null) && [ -n "$children" ] || return 0
    # shellcheck disable=SC2086
    kill -s "$1" $children 2>/dev/null || true
}
