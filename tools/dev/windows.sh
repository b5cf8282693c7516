# shellcheck shell=bash
# A Windows machine for the time of one command.

display_pid=

# with_windows PREFIX COMMAND...
# Runs COMMAND with a fresh prefix, its wineserver kept up, and a display that
# nobody else sees. All of it ends with this process.
with_windows() {
    export WINEPREFIX=$1
    shift
    trap end_windows EXIT
    trap 'exit 130' INT TERM HUP
    fresh_prefix "$WINEPREFIX"
    start_display
    in_wine wineserver -p
    in_wine wine wineboot
    "$@"
}

start_display() {
    local number ready
    exec {ready}< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>"$state/display.log")
    display_pid=$!
    read -r -t 20 number <&"$ready" || die "no display: $(why "$state/display.log")"
    export DISPLAY=:$number
}

end_windows() {
    in_wine wineserver -k 2>/dev/null || true
    [[ -z $display_pid ]] || kill "$display_pid" 2>/dev/null || true
}
