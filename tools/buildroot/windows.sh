# SPDX-License-Identifier: GPL-2.0-or-later
# Sourced by dev, after lib.sh, for the Windows build root: OBS's Windows libraries, headers, the installer's compiler and the
# Wine prefix that every run copies, all in the user's cache.
# shellcheck shell=bash

# Named by the digest of its recipe, because checkouts can differ in it.
TARVOLINE_WINDOWS_SDK=$cacheHome/windows-sdk-$(cat "$project"/tools/windows/* | sha256sum | cut -c1-12)
export TARVOLINE_WINDOWS_SDK
export TARVOLINE_WINE_HOME=$cacheHome/wine
export TARVOLINE_INNO_SETUP=$cacheHome/innosetup-6.3.1
export TARVOLINE_PATH=$project/tools/wine:$project/build/windows-host/bin

ensureWindowsParts() {
    ensureWindowsSdk
    ensureWinePrefix
    ensureInnoSetup
}

# A new prefix needs 15 s and 1.4 GB; runs share its files and have separate registries (tools/wine).
ensureWinePrefix() {
    (
        flock 9
        wineVersion=$(sed -n '/^Package: wine64$/,/^$/s/^Version: //p' "$rootsHome/windows/var/lib/dpkg/status")
        [ "$(cat "$TARVOLINE_WINE_HOME/template/version" 2>/dev/null)" = "$wineVersion" ] && exit 0
        say "Making the Wine prefix …"
        rm -rf "$TARVOLINE_WINE_HOME"
        mkdir -p "$TARVOLINE_WINE_HOME/template" "$TARVOLINE_WINE_HOME/runs"
        enter windows env WINEPREFIX="$TARVOLINE_WINE_HOME/template" WINEDLLOVERRIDES='mscoree=;mshtml=' WINEDEBUG=-all \
            XDG_RUNTIME_DIR=/tmp sh -c 'wine wineboot -i && wineserver -w' >&2 || die "Wine could not make a prefix."
        echo "$wineVersion" >"$TARVOLINE_WINE_HOME/template/version"
    ) 9>"$rootsHome/windows-wine.lock" || exit 1
}

# The installer's compiler.
ensureInnoSetup() {
    (
        flock 9
        [ -e "$TARVOLINE_INNO_SETUP/bin/ISCC.exe" ] && exit 0
        say "Fetching Inno Setup …"
        cp -L /etc/resolv.conf "$rootsHome/windows/etc/resolv.conf"
        # The certificate authority of a TLS proxy is in this machine's store, not in the root's.
        authorities=$cacheHome/authorities.pem
        cp -L /etc/ssl/certs/ca-certificates.crt "$authorities" 2>/dev/null || true
        enter windows env NODE_EXTRA_CA_CERTS="$authorities" tools/buildroot/fetch-innosetup "$TARVOLINE_INNO_SETUP"
    ) 9>"$rootsHome/windows-inno.lock" || exit 1
}

# Unpacks a package of the npm registry into FOLDER after a check of its digest.
fetchNpmPackage() { # NAME VERSION SHA512 FOLDER
    local fetch=$4.fetch
    rm -rf "$fetch"
    mkdir -p "$fetch"
    cp -L /etc/resolv.conf "$rootsHome/windows/etc/resolv.conf"
    # The certificate authority of a TLS proxy is in this machine's store, not in the root's.
    cp -L /etc/ssl/certs/ca-certificates.crt "$fetch/authorities.pem" 2>/dev/null || true
    enter windows sh -c 'cd "$1" && NODE_EXTRA_CA_CERTS=$1/authorities.pem npm pack --silent "$2" >/dev/null' \
        sh "$fetch" "$1@$2" || true
    if ! echo "$3  $fetch/$1-$2.tgz" | sha512sum --check --status 2>/dev/null; then
        rm -rf "$fetch"
        die "The npm package $1 $2 could not be fetched, or is not the file it was."
    fi
    tar -xzf "$fetch/$1-$2.tgz" -C "$fetch"
    rm -rf "$4"
    mv "$fetch/package" "$4"
    rm -rf "$fetch"
}

# Headers and libraries of the build in Microsoft's binary interface.
ensureWindowsSdk() {
    local parts=$cacheHome/windows-sdk.parts
    (
        flock 9
        [ -d "$TARVOLINE_WINDOWS_SDK" ] && exit 0
        mkdir -p "$parts"
        ensureObsPackage "$parts/obs-package"
        ensureSources "$parts/stl" stl-inc-vs-2022-17.14 https://github.com/microsoft/STL vs-2022-17.14 stl/inc
        ensureSources "$parts/obs-studio" obs-studio-31.1.1-headers https://github.com/obsproject/obs-studio 31.1.1 .
        ensureQtSources "$parts/qtbase"
        say "Putting together what the Windows build links against …"
        rm -rf "$TARVOLINE_WINDOWS_SDK.new"
        enter windows "$project/tools/windows/make-sdk" "$TARVOLINE_WINDOWS_SDK.new" "$parts"/{obs-package,stl,obs-studio,qtbase} ||
            die "The libraries for the Windows build could not be put together."
        mv "$TARVOLINE_WINDOWS_SDK.new" "$TARVOLINE_WINDOWS_SDK"
    ) 9>"$rootsHome/windows-sdk.lock" || exit 1
}

# OBS 31.1's own Windows libraries, its Qt among them.
ensureObsPackage() { # FOLDER
    local sha512=3c66c6d8b3ed8fd10fdd2243ce24ef1e3e152e392180e76d247178a2fc079c4d
    sha512+=2fec159ece7bcca59e11481c6699e30dbb407771752fc1994b91213186899aee
    [ -d "$1" ] && return
    say "Fetching OBS's Windows libraries (35 MB) …"
    fetchNpmPackage noobs 0.0.184 "$sha512" "$1"
}

# Sources without a package: NAME.tar.xz in the folder TARVOLINE_WINDOWS_HEADERS, or SUBFOLDER of the tag in a public
# repository. The archive's one top folder becomes FOLDER.
ensureSources() { # FOLDER NAME REPOSITORY TAG SUBFOLDER
    local archives=${TARVOLINE_WINDOWS_HEADERS:-} archive
    [ -d "$1" ] && return
    rm -rf "$1.new"
    mkdir -p "$1.new"
    archive=$archives/$2.tar.xz
    if [ -n "$archives" ] && [ -f "$archive" ]; then
        say "Unpacking ${archive##*/} …"
        (cd "$archives" && grep -F "${archive##*/}" SHA256SUMS | sha256sum --check --status) ||
            die "$archive is not the file that SHA256SUMS beside it describes."
        tar -xJf "$archive" -C "$1.new" --strip-components=1 || die "$archive could not be unpacked."
        mv "$1.new" "$1"
    else
        say "Fetching $3, tag $4 …"
        git -c advice.detachedHead=false clone --quiet --depth 1 --branch "$4" "$3" "$1.new/clone" 2>/dev/null || {
            rm -rf "$1.new"
            die "missing: $3 at tag $4. Clone it, pack its folder '$5' as $2.tar.xz with a file SHA256SUMS beside it," \
                "and name the folder of both in TARVOLINE_WINDOWS_HEADERS."
        }
        mv "$1.new/clone/$5" "$1"
    fi
    rm -rf "$1.new"
}

# Qt's sources, because Debian's packages lack Qt's headers for Windows; apt checks their signature.
ensureQtSources() { # FOLDER
    [ -d "$1" ] && return
    say "Fetching Qt's sources (46 MB) …"
    rm -rf "$1.new"
    mkdir -p "$1.new"
    # shellcheck disable=SC2016
    enter windows sh -eu -c '
        list=/etc/apt/sources.list.d/source.list
        [ -e $list ] || sed -n "s/^deb /deb-src /p" /etc/apt/sources.list >$list
        apt-get -o Acquire::Check-Valid-Until=false update -qq
        cd "$1"
        apt-get source -qq --download-only qt6-base
        tar -xJf qt6-base_*.orig.tar.xz --strip-components=1
        rm qt6-base_*
    ' sh "$1.new" >"$rootsHome/windows-qt.log" 2>&1 || {
        tail -n 5 "$rootsHome/windows-qt.log" >&2
        rm -rf "$1.new"
        die "Qt's sources could not be fetched."
    }
    mv "$1.new" "$1"
}
