#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# withpackage.sh DEB COMMAND [ARG...]
# Runs a command in a copy of this system (an overlay) in which the package is installed; the system itself stays as it is.
# Needs the right to mount. Ends with the command's exit code, or 125 if the copy or the installation failed.
set -eu

if [ "${1:-}" != --inside ]; then
    copy=$(mktemp -d -p "${TARVOLINE_BUILD:?names the build folder}")
    code=0
    unshare --mount --propagation unchanged sh "$0" --inside "$copy" "$@" || code=$?
    rm -rf "$copy"
    exit "$code"
fi
copy=$2
package=$(realpath "$3")
shift 3

# Below a changed root "/" is no mount point, and this fails; the mounts are private there already.
mount --make-rprivate / 2>/dev/null || true
# dpkg renames folders, for which an overlay needs extended attributes. Those in "trusted" are refused in a user namespace,
# and a tmpfs has those in "user" only since Linux 6.6, so there the overlay lies on the disk.
read -r _ outerUser _ </proc/self/uid_map
if [ "$outerUser" = 0 ]; then
    attributes=
    mount -t tmpfs tmpfs "$copy" || exit 125
else
    attributes=,userxattr
fi
mkdir "$copy/upper" "$copy/work" "$copy/root"
# An overlay's options have no quotes: from within its folder the names hold no blank and no comma.
cd "$copy"
mount -t overlay overlay -o "lowerdir=/,upperdir=upper,workdir=work$attributes" root || exit 125
cd "$OLDPWD"
cp "$package" "$copy/root/package.deb"
# An overlay shows none of the mounts below its lower folder. The empty /tmp comes first: the project may lie in it.
mount -t tmpfs tmpfs "$copy/root/tmp"
for folder in /proc /sys /dev "$PWD"; do
    mkdir -p "$copy/root$folder"
    mount --rbind "$folder" "$copy/root$folder"
done
chroot "$copy/root" dpkg --install /package.deb >&2 || exit 125
exec chroot "$copy/root" env --chdir="$PWD" "$@"
