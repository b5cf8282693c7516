# shellcheck shell=bash
# Messages, retries and the folders that the pieces of ./dev share.
# Needs: root, the checkout.

# State of this checkout: which Wine, logs, the developer's prefix.
state=$root/build/dev
# Kept across checkouts: private trees and template prefixes.
cache=${XDG_CACHE_HOME:-~/.cache}/tarvo

say() {
    echo "dev: $*" >&2
}

die() {
    say "$*"
    exit 1
}

# retry TIMES COMMAND...
retry() {
    local times=$1 attempt
    shift
    for ((attempt = 1; attempt <= times; attempt++)); do
        "$@" && return 0
        ((attempt == times)) || sleep $((attempt * 2))
    done
    return 1
}

# in_windows PATH: the same by its name in Wine.
in_windows() {
    echo "Z:${1//\//\\}"
}

# why LOG: the line of it that tells why apt or a tool failed.
why() {
    local log=$1 line
    line=$(sed -n '/^E: /p' "$log" | tail -n 1)
    [[ -n $line ]] || line=$(tail -n 1 "$log")
    echo "${line#E: } (log: $log)"
}

# digest TEXT...: a short name that changes with the texts.
digest() {
    printf '%s\n' "$@" | sha256sum | cut -c1-12
}

# Runs COMMAND while no other checkout of this user runs one under NAME.
# with_lock NAME COMMAND...
with_lock() (
    local name=$1
    shift
    mkdir -p "$cache"
    exec 9>"$cache/$name.lock"
    flock -n 9 || { say "waiting for another checkout to finish $name" && flock 9; }
    "$@"
)
