# shellcheck shell=bash
# The commands that the verbs call, and where they come from: for root the
# machine's packages, for another user the private tree.

# COMMAND:PACKAGE, or FILE:PACKAGE for what is no command.
readonly build_tools=(
    cmake:cmake
    ninja:ninja-build
    i686-w64-mingw32-g++-posix:g++-mingw-w64-i686-posix
    /usr/src/googletest/CMakeLists.txt:googletest
    /usr/share/i18n/locales/ja_JP:locales
    makensis:nsis
    clang:clang
    lld-link:lld
    python3:python3
    Xvfb:xvfb
)
readonly demo_tools=(
    lnkinfo:liblnk-utils
)
readonly inno_tools=(
    npm:npm
)
readonly picture_tools=(
    import:imagemagick
)
readonly viewer_tools=(
    chromedriver:chromium-driver
    /usr/lib/python3/dist-packages/selenium/__init__.py:python3-selenium
)
readonly docs_tools=(
    doxygen:doxygen
)
readonly package_tools=(
    zip:zip
)
readonly lint_tools=(
    clang-format:clang-format
    run-clang-tidy:clang-tidy
    git:git
)

# need_tools COMMAND:PACKAGE...
# Comes back when all are there, in this process or in one inside the tree.
need_tools() {
    local packages
    mapfile -t packages < <(missing_packages "$@")
    ((${#packages[@]})) || return 0
    if ((EUID == 0)); then
        install_packages "${packages[@]}"
    elif [[ -e $tree_marker ]]; then
        die "the private tree lacks ${packages[*]}: remove ${TARVO_TREE:-it} and run again"
    else
        say "not on this machine: ${packages[*]}; using the private tree"
        go_on_in_tree
    fi
}

# The same for what is too large for everybody's private tree.
need_large_tools() {
    local packages
    mapfile -t packages < <(missing_packages "$@")
    ((!${#packages[@]} || EUID == 0)) || die "the machine's administrator has to install ${packages[*]}"
    need_tools "$@"
}

missing_packages() {
    local tool
    for tool; do
        command -v "${tool%%:*}" >/dev/null || [[ -f ${tool%%:*} ]] || echo "${tool##*:}"
    done
}

# install_packages PACKAGE...
install_packages() {
    local log=$state/apt.log
    mkdir -p "$state"
    say "installing $*"
    retry 3 update_and_install "$@" >"$log" 2>&1 ||
        die "cannot install $*: $(why "$log")"
}

update_and_install() {
    # A single broken index is no harm: the install tells whether it mattered.
    apt-get -q update || true
    DEBIAN_FRONTEND=noninteractive apt-get -q -y --no-install-recommends install "$@"
}

# Runs this command line again inside the private tree, in place of this process.
go_on_in_tree() {
    TARVO_TREE=$(need_tree full)
    export TARVO_TREE PATH=/usr/bin:/usr/sbin
    exec "$root/tools/dev/enter-tree.sh" "$TARVO_TREE" "$root/dev" "${command_line[@]}"
}
