# SPDX-License-Identifier: GPL-2.0-or-later
# Sourced by dev, after lib.sh, for the Windows build root. Creates in the user's cache: OBS's Windows libraries, headers, the
# installer's compiler, and the Wine prefix that is copied for every run.
# shellcheck shell=bash

# The name contains the digest of the scripts that create the folder, because they can differ between checkouts.
TARVOLINE_WINDOWS_SDK=$cacheHome/windows-sdk-$(cat "$project"/tools/windows/* | sha256sum | cut -c1-12)
export TARVOLINE_WINDOWS_SDK
export TARVOLINE_WINE_HOME=$cacheHome/wine
export TARVOLINE_INNO_SETUP=$cacheHome/innosetup-6.3.1
export TARVOLINE_PATH=$project/tools/wine:$project/build/windows-host/bin

# One caller at a time.
ensureWindowsParts() {
    (
        flock 9
        ensureWindowsSdk
        ensureWinePrefix
        ensureInnoSetup
    ) 9>"$rootsHome/windows-sdk.lock" || exit 1
}

# Runs a command that downloads, in the Windows root. On a machine behind a TLS proxy only the machine's certificate store has
# the proxy's authority, so npm gets this store.
download() { # COMMAND...
    cp -L /etc/resolv.conf "$rootsHome/windows/etc/resolv.conf" # the network may have changed since the creation
    cp -L /etc/ssl/certs/ca-certificates.crt "$cacheHome/authorities.pem" 2>/dev/null || true
    enter windows env NODE_EXTRA_CA_CERTS="$cacheHome/authorities.pem" "$@"
}

# Creating a prefix takes 15 s and 1.4 GB, so runs share the files of one prefix and have separate registries (tools/wine).
# Without mscoree and mshtml Wine does not offer to download Mono and Gecko.
ensureWinePrefix() {
    local version
    version=$(sed -n '/^Package: wine64$/,/^$/s/^Version: //p' "$rootsHome/windows/var/lib/dpkg/status")
    [ "$(cat "$TARVOLINE_WINE_HOME/template/version" 2>/dev/null)" = "$version" ] && return
    say "Creating the Wine prefix …"
    rm -rf "$TARVOLINE_WINE_HOME"
    mkdir -p "$TARVOLINE_WINE_HOME/template" "$TARVOLINE_WINE_HOME/runs"
    enter windows env WINEPREFIX="$TARVOLINE_WINE_HOME/template" WINEDLLOVERRIDES='mscoree=;mshtml=' WINEDEBUG=-all \
        XDG_RUNTIME_DIR=/tmp sh -c 'wine wineboot -i && wineserver -w' >&2 || die "Wine could not create a prefix."
    echo "$version" >"$TARVOLINE_WINE_HOME/template/version"
}

ensureInnoSetup() {
    [ -e "$TARVOLINE_INNO_SETUP/bin/ISCC.exe" ] && return
    say "Downloading Inno Setup …"
    download tools/buildroot/fetch-innosetup "$TARVOLINE_INNO_SETUP" || exit 1
}

# Unpacks a package of the npm registry into FOLDER after a check of its digest.
fetchNpmPackage() { # NAME VERSION SHA512 FOLDER
    local fetch=$4.fetch
    rm -rf "$fetch"
    mkdir -p "$fetch"
    download sh -c 'cd "$1" && npm pack --silent "$2" >/dev/null' sh "$fetch" "$1@$2" || true
    if ! echo "$3  $fetch/$1-$2.tgz" | sha512sum --check --status 2>/dev/null; then
        rm -rf "$fetch"
        die "The npm package $1 $2 could not be downloaded, or its digest is wrong."
    fi
    tar -xzf "$fetch/$1-$2.tgz" -C "$fetch"
    rm -rf "$4"
    mv "$fetch/package" "$4"
    rm -rf "$fetch"
}

# Headers and import libraries for the Windows build, which uses Microsoft's binary interface.
ensureWindowsSdk() {
    local parts=$cacheHome/windows-sdk.parts
    [ -d "$TARVOLINE_WINDOWS_SDK" ] && return
    mkdir -p "$parts"
    ensureObsPackage "$parts/obs-package"
    ensureSources "$parts/stl" stl-inc-vs-2022-17.14 https://github.com/microsoft/STL vs-2022-17.14 stl/inc
    ensureSources "$parts/obs-studio" obs-studio-31.1.1-headers https://github.com/obsproject/obs-studio 31.1.1 .
    ensureQtSources "$parts/qtbase"
    say "Creating headers and import libraries for the Windows build …"
    rm -rf "$TARVOLINE_WINDOWS_SDK.new"
    enter windows "$project/tools/windows/make-sdk" "$TARVOLINE_WINDOWS_SDK.new" "$parts"/{obs-package,stl,obs-studio,qtbase} ||
        die "Headers and import libraries for the Windows build could not be created."
    mv "$TARVOLINE_WINDOWS_SDK.new" "$TARVOLINE_WINDOWS_SDK"
}

# OBS 31.1's own Windows libraries with its Qt.
ensureObsPackage() { # FOLDER
    local sha512=3c66c6d8b3ed8fd10fdd2243ce24ef1e3e152e392180e76d247178a2fc079c4d
    sha512+=2fec159ece7bcca59e11481c6699e30dbb407771752fc1994b91213186899aee
    [ -d "$1" ] && return
    say "Downloading OBS's Windows libraries (35 MB) …"
    fetchNpmPackage noobs 0.0.184 "$sha512" "$1"
}

# Gets sources that no package contains into FOLDER: SUBFOLDER of a tag in a public repository. On a machine that cannot clone
# the repository: the content of the only top-level folder of NAME.tar.xz in the folder TARVOLINE_WINDOWS_HEADERS.
ensureSources() { # FOLDER NAME REPOSITORY TAG SUBFOLDER
    local archives=${TARVOLINE_WINDOWS_HEADERS:-} archive
    [ -d "$1" ] && return
    rm -rf "$1.new"
    mkdir -p "$1.new"
    archive=$archives/$2.tar.xz
    if [ -n "$archives" ] && [ -f "$archive" ]; then
        say "Unpacking ${archive##*/} …"
        (cd "$archives" && grep -F "${archive##*/}" SHA256SUMS | sha256sum --check --status) ||
            die "$archive does not have the digest in SHA256SUMS."
        tar -xJf "$archive" -C "$1.new" --strip-components=1 || die "$archive could not be unpacked."
        mv "$1.new" "$1"
    else
        say "Cloning $3, tag $4 …"
        git -c advice.detachedHead=false clone --quiet --depth 1 --branch "$4" "$3" "$1.new/clone" 2>/dev/null || {
            rm -rf "$1.new"
            die "$3 at tag $4 could not be cloned. Clone it on another machine, pack its folder '$5' as $2.tar.xz," \
                "write its digest to a file SHA256SUMS, and set TARVOLINE_WINDOWS_HEADERS to the folder with both files."
        }
        mv "$1.new/clone/$5" "$1"
    fi
    rm -rf "$1.new"
}

# Qt's sources: Debian's packages do not contain Qt's headers for Windows. apt checks the signature.
ensureQtSources() { # FOLDER
    [ -d "$1" ] && return
    say "Downloading Qt's sources (46 MB) …"
    rm -rf "$1.new"
    mkdir -p "$1.new"
    # shellcheck disable=SC2016
    download sh -eu -c '
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
        die "Qt's sources could not be downloaded."
    }
    mv "$1.new" "$1"
}
