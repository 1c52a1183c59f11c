# SPDX-License-Identifier: GPL-2.0-or-later
# Sourced by dev, after lib.sh, for the Windows build root: Qt for Windows, the libobs headers and the Wine prefix that
# every run copies, all in the user's cache.
# shellcheck shell=bash

export TARVOLINE_QT_WINDOWS=$cacheHome/qt-windows-6.8.2
export TARVOLINE_OBS_HEADERS=$cacheHome/obs-headers/include
export TARVOLINE_WINE_HOME=$cacheHome/wine
export TARVOLINE_INNO_SETUP=$cacheHome/innosetup-6.3.1
export TARVOLINE_PATH=$project/tools/wine:$project/build/windows-host/bin

# The cross build needs all of it; build-qt-windows only the root.
ensureWindowsParts() {
    ensureQtWindows
    ensureObsHeaders
    ensureWinePrefix
    ensureInnoSetup
}

# Qt comes out of a ready archive where TARVOLINE_QT_WINDOWS_ARCHIVE names one, or was built by build-qt-windows.
ensureQtWindows() {
    (
        flock 9
        [ -e "$TARVOLINE_QT_WINDOWS/lib/cmake/Qt6/qt.toolchain.cmake" ] && exit 0
        archive=${TARVOLINE_QT_WINDOWS_ARCHIVE:-}
        [ -f "$archive" ] || die "There is no Qt for Windows yet. Build it with tools/buildroot/build-qt-windows" \
            "(about 35 minutes on two cores), or name a ready archive in TARVOLINE_QT_WINDOWS_ARCHIVE."
        sums=$(dirname "$archive")/SHA256SUMS
        if [ -f "$sums" ]; then
            (cd "$(dirname "$archive")" && grep -F "${archive##*/}" SHA256SUMS | sha256sum --check --status) ||
                die "$archive is not the file that $sums describes."
        fi
        say "Unpacking Qt for Windows …"
        rm -rf "$TARVOLINE_QT_WINDOWS.new"
        mkdir -p "$TARVOLINE_QT_WINDOWS.new"
        tar -xJf "$archive" -C "$TARVOLINE_QT_WINDOWS.new" --strip-components=1 || die "$archive could not be unpacked."
        mv "$TARVOLINE_QT_WINDOWS.new" "$TARVOLINE_QT_WINDOWS"
    ) 9>"$rootsHome/windows-qt.lock" || exit 1
}

# The headers of the very OBS that the Linux root holds, and what they include, so that both builds see one interface.
ensureObsHeaders() {
    (
        flock 9
        stamp=$cacheHome/obs-headers/version
        installed=$(obsPackageVersion)
        [ -n "$installed" ] && [ "$(cat "$stamp" 2>/dev/null)" = "$installed" ] && exit 0
        ensureRoot linux
        rm -rf "$cacheHome/obs-headers"
        mkdir -p "$TARVOLINE_OBS_HEADERS"
        cp -a "$rootsHome/linux/usr/include/obs" "$rootsHome/linux/usr/include/simde" "$TARVOLINE_OBS_HEADERS/" ||
            die "The Linux build root has no libobs headers."
        obsPackageVersion >"$stamp"
    ) 9>"$rootsHome/windows-obs.lock" || exit 1
}

obsPackageVersion() {
    sed -n '/^Package: libobs-dev$/,/^$/s/^Version: //p' "$rootsHome/linux/var/lib/dpkg/status" 2>/dev/null || true
}

# A fresh prefix takes Wine 15 seconds and 1.4 GB; runs share its files and get registries of their own (tools/wine).
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
        # A network that inspects TLS has its authority in this machine's store, not in the root's.
        authorities=$cacheHome/authorities.pem
        cp -L /etc/ssl/certs/ca-certificates.crt "$authorities" 2>/dev/null || true
        enter windows env NODE_EXTRA_CA_CERTS="$authorities" tools/buildroot/fetch-innosetup "$TARVOLINE_INNO_SETUP"
    ) 9>"$rootsHome/windows-inno.lock" || exit 1
}
