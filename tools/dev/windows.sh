# shellcheck shell=bash
# Windows machines for the time of one command.

display_pids=()
machines=()

# with_windows PREFIX COMMAND...
# Runs COMMAND with a fresh prefix, its wineserver kept up, and a display that
# nobody else sees. All of it ends with this process.
with_windows() {
    local prefix=$1
    shift
    trap end_windows EXIT
    trap 'exit 130' INT TERM HUP
    start_display
    start_machine "$prefix"
    "$@"
}

# with_test_machines COUNT COMMAND...
# Runs COMMAND with COUNT machines, numbered by their displays. Each has a copy of
# the test programs, since the library looks for its configuration beside them;
# tools/dev/wine-run.sh runs a test on the one that ctest reserves for it.
with_test_machines() {
    local count=$1 list= old
    shift
    trap end_windows EXIT
    trap 'exit 130' INT TERM HUP
    for old in "$root"/build/machine-*/prefix; do
        WINEPREFIX=$old in_wine wineserver -k 2>/dev/null || true
        rm -rf "${old%/prefix}"
    done
    while ((${#machines[@]} < count)); do
        start_display
        lend_programs "$root/build/machine-${DISPLAY#:}"
        start_machine "$root/build/machine-${DISPLAY#:}/prefix"
        list+=${list:+, }$(printf '{"id": "%s"}' "${DISPLAY#:}")
    done
    printf '{"version": {"major": 1, "minor": 0}, "local": [{"machines": [%s]}]}\n' "$list" >"$state/machines.json"
    "$@" --parallel "$count" --resource-spec-file "$state/machines.json"
}

# lend_programs MACHINE
lend_programs() {
    mkdir -p "$1/tests"
    cp -l "$build"/tests/*.exe "$build"/tests/*.dll "$1/tests"
    cp -l "$build/TARVO.DLL" "$1"
}

# start_machine PREFIX: makes it anew; its server stays up.
start_machine() {
    export WINEPREFIX=$1
    fresh_prefix "$WINEPREFIX"
    machines+=("$WINEPREFIX")
    in_wine wineserver -p
    in_wine wine wineboot
}

start_display() {
    local number ready
    exec {ready}< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>"$state/display.log")
    display_pids+=($!)
    read -r -t 20 number <&"$ready" || die "no display: $(why "$state/display.log")"
    export DISPLAY=:$number
}

end_windows() {
    local machine
    for machine in "${machines[@]}"; do
        WINEPREFIX=$machine in_wine wineserver -k 2>/dev/null || true
    done
    ((${#display_pids[@]} == 0)) || kill "${display_pids[@]}" 2>/dev/null || true
}
