#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# withpackage.sh DEB COMMAND [ARG...]
# Runs a command in a copy of this system in which the package is installed. The copy lies over the system and is gone
# afterwards; the system itself stays as it is. Needs root. Ends with the command's exit code, or 125 when the copy or
# the install failed.
set -eu

if [ "${1:-}" != --inside ]; then
    exec unshare --mount --propagation unchanged sh "$0" --inside "$@"
fi
shift
# In a changed root / is no mount point; whoever changed it has already cut its mounts off.
mount --make-rprivate / 2>/dev/null || true
package=$(realpath "$1")
shift

copy=$(mktemp -d)
mount -t tmpfs tmpfs "$copy" || exit 125
mkdir "$copy/upper" "$copy/work" "$copy/root"
mount -t overlay overlay -o "lowerdir=/,upperdir=$copy/upper,workdir=$copy/work" "$copy/root" || exit 125
cp "$package" "$copy/root/package.deb"
# An overlay shows the bare root: what is mounted in it comes along, the temporary folder last as this copy lies in it.
for folder in /proc /sys /dev "$PWD"; do
    mkdir -p "$copy/root$folder"
    mount --rbind "$folder" "$copy/root$folder"
done
mount -t tmpfs tmpfs "$copy/root/tmp"
chroot "$copy/root" dpkg --install /package.deb >&2 || exit 125
exec chroot "$copy/root" env --chdir="$PWD" "$@"
