# shellcheck shell=bash
# The private tree: a Debian /usr in the user's cache that takes the place of
# the machine's own /usr for the processes that enter it (enter-tree.sh).
# Packages are unpacked, not installed, so root and user build it alike.

readonly tree_marker=/usr/.tarvo-tree

readonly shell_packages=(dash bash coreutils sed grep)
readonly wine_packages=(wine wine64 wine32:i386 fonts-wine)
# What an ordinary user's machine may lack, ./dev's own commands included.
readonly full_packages=(findutils mawk tar gzip util-linux hostname procps diffutils git)

# Links that the packages' own scripts would make.
readonly tree_links=(
    sh:dash awk:mawk
    wine:wine-stable wineserver:../lib/wine/wineserver
    import:import-im6.q16 convert:convert-im6.q16 identify:identify-im6.q16
)

# Where the kernel refuses 32-bit programs, the tree brings an emulator for them.
# Wine needs one that knows MAP_FIXED_NOREPLACE (a program's start takes a minute
# with older ones), which Debian 12 has among its backports.
emulator_packages() {
    ! kernel_runs_32_bit || return 0
    echo util-linux # for enter-tree.sh
    case $(debian_codename) in
        bookworm) echo qemu-user/bookworm-backports ;;
        *) echo qemu-user ;;
    esac
}

# Runs a 32-bit program of 96 bytes: exit(7).
kernel_runs_32_bit() {
    local program status=0
    program=$(mktemp "$cache/XXXXXX")
    {
        printf '\x7fELF\1\1\1\0\0\0\0\0\0\0\0\0\2\0\3\0\1\0\0\0\x54\x80\4\x08\x34\0\0\0'
        printf '\0\0\0\0\0\0\0\0\x34\0\x20\0\1\0\0\0\0\0\0\0'
        printf '\1\0\0\0\0\0\0\0\0\x80\4\x08\0\x80\4\x08\x60\0\0\0\x60\0\0\0\5\0\0\0\0\x10\0\0'
        printf '\xb8\1\0\0\0\xbb\7\0\0\0\xcd\x80'
    } >"$program"
    chmod +x "$program"
    "$program" 2>/dev/null || status=$?
    rm -f "$program"
    ((status == 7))
}

# need_tree wine|full: prints the folder of a finished tree, building it first
# if it is not there.
need_tree() {
    local packages tree
    mkdir -p "$cache"
    mapfile -t packages < <("tree_packages_$1"; emulator_packages)
    tree=$cache/wine-$(digest "$(debian_codename)" "${packages[@]}" "$(declare -f build_tree unpack_package finish_tree link_alternatives)" "${tree_links[@]}")
    [[ -d $tree ]] || with_lock tree build_tree "$tree" "${packages[@]}" >&2 || return 1
    echo "$tree"
}

tree_packages_wine() {
    printf '%s\n' "${shell_packages[@]}" "${wine_packages[@]}"
}

tree_packages_full() {
    tree_packages_wine
    printf '%s\n' "${full_packages[@]}" "${build_tools[@]##*:}" "${demo_tools[@]##*:}" "${picture_tools[@]##*:}" \
        "${docs_tools[@]##*:}" "${package_tools[@]##*:}" "${lint_tools[@]##*:}"
}

# build_tree TREE PACKAGE...
# Works in a folder of another name and renames it when complete, so that what
# an interrupted build leaves is never taken for a tree.
build_tree() {
    local tree=$1 new=$1.new
    shift
    [[ -d $tree ]] && return 0
    say "building a private tree in $tree (about a minute)"
    rm -rf "$cache"/wine-*.new
    mkdir -p "$new"/{apt,etc,usr/{bin,sbin,lib,lib32,lib64,libx32}}
    for folder in bin sbin lib lib32 lib64 libx32; do
        ln -s "usr/$folder" "$new/$folder"
    done
    retry 3 download_packages "$new/apt" "$@" >"$cache/tree.log" 2>&1 ||
        die "cannot download the private tree's packages: $(why "$cache/tree.log")"
    export -f unpack_package
    find "$new/apt/archives" -name '*.deb' -print0 |
        xargs -0 -n 8 -P "$(nproc)" bash -c 'unpack_package "$@"' "$new" >"$cache/tree.log" 2>&1 ||
        die "cannot unpack the private tree: $(why "$cache/tree.log")"
    finish_tree "$new" >"$cache/tree.log" 2>&1 || die "cannot finish the private tree: $(why "$cache/tree.log")"
    echo "$*" >"$new$tree_marker"
    mv "$new" "$tree"
}

download_packages() {
    local apt=$1
    shift
    # A single broken index is no harm: the install tells whether it mattered.
    private_apt "$apt" "$apt/no-packages" update || true
    if [[ $* == *-backports* && ! -e $apt/sources/backports.list ]]; then
        private_apt_add_backports "$apt"
        private_apt "$apt" "$apt/no-packages" update || true
    fi
    private_apt "$apt" "$apt/no-packages" -y --download-only install "$@"
}

# unpack_package DEB... into the folder that is $0
unpack_package() {
    local deb
    for deb; do
        dpkg-deb --fsys-tarfile "$deb" |
            tar -x -C "$0" --keep-directory-symlink --no-same-owner \
                --exclude='./usr/share/doc/*' --exclude='./usr/share/man/*' \
                --exclude='./usr/share/locale/*' --exclude='./var/*' || return 1
    done
}

finish_tree() {
    local tree=$1 deb
    # Wine's own script makes its zlib1.dll, out of MinGW's.
    for deb in "$tree"/apt/archives/libwine_*.deb; do
        dpkg-deb --info "$deb" postinst | sed "s#/usr/#$tree/usr/#g" | sh -s configure
    done
    find "$tree/usr/bin" -name 'qemu-*' ! -name qemu-i386 -delete
    rm -rf "$tree/apt"
    link_alternatives "$tree"
}

link_alternatives() {
    local tree=$1 link
    for link in "${tree_links[@]}"; do
        # What is not among this tree's packages gets no link.
        [[ ! -e $tree/usr/bin/${link##*:} ]] || ln -sfn "${link##*:}" "$tree/usr/bin/${link%%:*}"
    done
}
