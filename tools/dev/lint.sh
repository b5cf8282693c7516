# shellcheck shell=bash
# Form and static checks.

lint() {
    local status=0
    check_format || status=1
    check_shell || status=1
    run_clang_tidy "$@" || status=1
    tell_share_of_tests
    return "$status"
}

project_files() {
    git -c safe.directory="$root" -C "$root" ls-files -z --cached --others --exclude-standard -- "$@"
}

# Among the lines of code that are tracked; records of results do not count.
tell_share_of_tests() {
    local all tests
    all=$(lines_of_code src include package bench examples tools dev cmake tests)
    tests=$(lines_of_code tests tools/viewer-test)
    echo "tests: $tests of $all lines of code, $((100 * tests / all)) %"
}

# lines_of_code PATH...
lines_of_code() (
    cd "$root"
    git -c safe.directory="$root" ls-files -z -- "$@" |
        grep -zE '\.(c|cc|cpp|h|hpp|py|sh|ns[ih]|iss|html|m?js|cmake|def|rc|s)$|(^|/)CMakeLists\.txt$|^dev$' |
        xargs -0 cat | wc -l
)

check_format() {
    (cd "$root" && project_files '*.h' '*.cpp' | xargs -0 -r clang-format --dry-run -Werror)
}

check_shell() {
    command -v shellcheck >/dev/null || return 0
    # Checks what these source with them. The codes left out are about variables
    # that subshells set on purpose, and functions called without arguments.
    (cd "$root" && shellcheck -x -a -e SC2030,SC2031,SC2119,SC2120 \
        dev .ci/run tools/dev/{enter-tree,wine-run}.sh)
}

# run_clang_tidy [FILE-PATTERN...]
# The compile commands are GCC's; clang needs the target named, and GCC's own
# C++ headers. GCC's precompiled header means nothing to it.
run_clang_tidy() {
    local gcc headers database=$state/lint
    gcc=$(dirname "$(i686-w64-mingw32-g++-posix -print-libgcc-file-name)")
    headers=$gcc/include/c++
    (($#)) || set -- "^$root/(src|tests|bench|examples)/.*\.(c|cpp)\$"
    mkdir -p "$database"
    sed 's/ -Winvalid-pch -include [^ ]*//' "$build/compile_commands.json" >"$database/compile_commands.json"
    run-clang-tidy -quiet -p "$database" -j "$(nproc)" \
        -extra-arg-before=--target=i686-w64-mingw32 \
        -extra-arg=-isystem"$headers" \
        -extra-arg=-isystem"$headers/i686-w64-mingw32" \
        -extra-arg=-Wno-unknown-warning-option \
        "$@"
}
