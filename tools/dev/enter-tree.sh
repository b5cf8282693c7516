#!/usr/bin/env bash
# enter-tree.sh TREE COMMAND...
# Becomes COMMAND, for which TREE's /usr lies over the machine's own. All else
# (folders, environment, working directory, /tmp with its sockets) stays.
set -euo pipefail

tree=$1
shift
export FONTCONFIG_PATH=$tree/etc/fonts MAGICK_CONFIGURE_PATH=$tree/etc/ImageMagick-6

# A tree with an emulator: its name is given to the kernel in a namespace of our
# own (Linux 6.7), so that the machine does not change.
if [[ -x $tree/usr/bin/qemu-i386 ]]; then
    # shellcheck disable=SC2016  # expanded by the inner shell
    exec unshare --user --map-root-user --mount sh -ec '
        tree=$1 user=$2 group=$3
        shift 3
        mount -t binfmt_misc binfmt_misc /proc/sys/fs/binfmt_misc
        magic="\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x03\x00"
        mask="\xff\xff\xff\xff\xff\xfe\xfe\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff"
        printf %s ":tarvo-i386:M::$magic:$mask:$tree/usr/bin/qemu-i386:F" >/proc/sys/fs/binfmt_misc/register
        mount --bind "$tree/usr" /usr
        [ "$user" = 0 ] || exec unshare --user --map-user="$user" --map-group="$group" "$@"
        exec "$@"' sh "$tree" "$EUID" "$(id -g)" "$@"
fi

if ((EUID != 0)); then
    command -v bwrap >/dev/null || {
        echo "dev: an ordinary user needs bubblewrap (bwrap) here" >&2
        exit 1
    }
    exec bwrap --dev-bind / / --ro-bind "$tree/usr" /usr "$@"
fi

# In a plain chroot / is no mount point, and unshare cannot make it private.
propagation=unchanged
[[ $(</proc/self/mountinfo) == *" / r"* ]] && propagation=private
# shellcheck disable=SC2016  # expanded by the inner shell
exec unshare --mount --propagation "$propagation" \
    sh -c 'mount --bind "$0/usr" /usr && exec "$@"' "$tree" "$@"
