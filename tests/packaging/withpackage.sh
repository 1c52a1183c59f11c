#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# withpackage.sh DEB COMMAND [ARG...]
# Runs a command in a copy of this system (an overlay) in which the package is installed; the system itself is not changed.
# Needs the right to mount. The exit code is the command's, or 125 if the copy or the installation failed.
set -eu

if [ "${1:-}" != --inside ]; then
    copy=$(mktemp -d -p "${TARVOLINE_BUILD:?must be the build folder}")
    code=0
    unshare --mount --propagation unchanged sh "$0" --inside "$copy" "$@" || code=$?
    rm -rf "$copy"
    exit "$code"
fi
copy=$2
package=$(realpath "$3")
shift 3

# In a chroot "/" may not be a mount point, so this fails; the mounts are private there already.
mount --make-rprivate / 2>/dev/null || true
# dpkg renames folders, for which an overlay needs extended attributes. A user namespace does not permit "trusted" attributes,
# and tmpfs has "user" attributes only since Linux 6.6, so in a user namespace the overlay is on disk.
read -r _ outerUser _ </proc/self/uid_map
if [ "$outerUser" = 0 ]; then
    attributes=
    mount -t tmpfs tmpfs "$copy" || exit 125
else
    attributes=,userxattr
fi
mkdir "$copy/upper" "$copy/work" "$copy/root"
# Options of an overlay cannot be quoted; relative paths have no blanks and commas.
cd "$copy"
mount -t overlay overlay -o "lowerdir=/,upperdir=upper,workdir=work$attributes" root || exit 125
cd "$OLDPWD"
cp "$package" "$copy/root/package.deb"
# An overlay does not include mounts below its lower folder. /tmp is mounted first, because the project may be in it.
mount -t tmpfs tmpfs "$copy/root/tmp"
for folder in /proc /sys /dev "$PWD"; do
    mkdir -p "$copy/root$folder"
    mount --rbind "$folder" "$copy/root$folder"
done
chroot "$copy/root" dpkg --install /package.deb >&2 || exit 125
exec chroot "$copy/root" env --chdir="$PWD" "$@"
