# shellcheck shell=bash
# Which Wine is used: the first that proves to run a 32-bit program of the one on
# PATH, the machine's own packages, and a private tree. The answer is kept in
# wine.conf, which wine-entry.sh reads.

readonly wine_conf=$state/wine.conf
# What it holds; see take_wine.
wine_name= wine_tree= wine_on_path= wine_template=

# After it, in_wine, fresh_prefix and wine-run.sh work.
choose_wine() {
    mkdir -p "$cache" "$state"
    if ! chosen_wine_holds; then
        wine_by_machine || wine_from_tree ||
            die "no Wine that runs 32-bit programs is to be had: $(why "$state/wine.log")"
    fi
    # shellcheck source=tools/dev/wine-entry.sh
    source "$root/tools/dev/wine-entry.sh"
    say "wine: $wine_name"
}

# Runs a command of the chosen Wine, or any other that needs its /usr.
in_wine() {
    "${wine_entry[@]}" "$@"
}

chosen_wine_holds() {
    [[ -f $wine_conf ]] || return 1
    # shellcheck source=/dev/null
    source "$wine_conf"
    [[ $wine_on_path == "$(command -v wine)" && -f $wine_template/system.reg ]] || return 1
    [[ $wine_template == "$(template_of "$wine_name")" ]] || return 1
    [[ -z $wine_tree || -e $wine_tree$tree_marker ]] || return 1
    # An emulator that was registered by hand is gone after a restart.
    [[ -e $tree_marker || -x $wine_tree/usr/bin/qemu-i386 ]] || kernel_runs_32_bit
}

wine_by_machine() {
    [[ -e $tree_marker ]] || kernel_runs_32_bit || {
        say "this kernel refuses 32-bit programs: they are emulated, and slower"
        return 1
    }
    wine_on_path || wine_from_packages
}

wine_on_path() {
    command -v wine >/dev/null || return 1
    if [[ -e $tree_marker ]]; then
        take_wine "private tree $TARVO_TREE$(is_emulated "$TARVO_TREE")" "$TARVO_TREE"
    else
        take_wine "$(command -v wine) ($(wine --version 2>/dev/null))" ""
    fi
}

wine_from_packages() {
    local added=
    ((EUID == 0)) && [[ ! -e $tree_marker ]] || return 1
    packages_fit || return 1
    if ! dpkg --print-foreign-architectures | grep -qx i386; then
        dpkg --add-architecture i386
        added=yes
    fi
    if (install_packages wine wine64 wine32:i386) && wine_on_path; then
        return 0
    fi
    [[ -z $added ]] || dpkg --remove-architecture i386 2>/dev/null || true
    return 1
}

# Asks apt beside the machine's own lists, so that asking leaves no trace. What
# would replace packages that are installed does not fit: nobody expects a
# test run to renew his system. Where no tree can be entered it has to do.
packages_fit() {
    local folder plan fits=1
    folder=$(mktemp -d)
    private_apt "$folder" /var/lib/dpkg/status update >"$state/wine.log" 2>&1 || true
    if plan=$(private_apt "$folder" /var/lib/dpkg/status --simulate --no-remove \
        install wine wine64 wine32:i386 2>>"$state/wine.log"); then
        ! grep -q '^Inst [^ ]* \[' <<<"$plan" || ! unshare --mount true 2>/dev/null
        fits=$?
    fi
    rm -rf "$folder"
    return "$fits"
}

wine_from_tree() {
    local tree
    [[ ! -e $tree_marker ]] || return 1
    tree=$(need_tree wine) || exit 1
    tree_stays_private "$tree" && take_wine "private tree $tree$(is_emulated "$tree")" "$tree"
}

is_emulated() {
    [[ ! -x $1/usr/bin/qemu-i386 ]] || echo ", emulated"
}

# In a chroot on a file system whose mounts are shared, what enter-tree.sh mounts
# would show outside as well.
tree_stays_private() {
    "$root/tools/dev/enter-tree.sh" "$1" true 2>"$state/wine.log" || return 1
    [[ -e $tree_marker ]] || return 0
    umount /usr
    echo "mounts made here show outside: make the file system of this chroot private" >"$state/wine.log"
    return 1
}

# Changes with how templates are made, so that an old one is left alone.
template_of() {
    echo "$cache/prefix-$(digest "$1" "$(declare -f make_template)")"
}

# take_wine NAME TREE
# Proves a Wine by making its template prefix, and writes it down.
take_wine() {
    local name=$1 tree=$2 template
    template=$(template_of "$name")
    cat >"$wine_conf" <<END
wine_name='$name'
wine_tree='$tree'
wine_on_path='$(command -v wine)'
wine_template='$template'
END
    [[ -f $template/system.reg ]] || with_lock "${template##*/}" make_template "$template"
}
