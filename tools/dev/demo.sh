#!/usr/bin/env bash
# The story that ./dev demo tells, on the new machine that is WINEPREFIX: a
# product is installed, replaced while in use, and uninstalled without a trace.
# Every "+" is a check; the first that fails ends the story.
#   demo.sh nsis|inno|c    by the setups of examples/nsis or examples/inno, or
#                          installed by the first, uninstalled by examples/c
set -euo pipefail
: "${WINEPREFIX:?"run ./dev demo"}"

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
source "$root/tools/dev/common.sh"
built=$root/build/release/examples
package=$root/examples/product
who=${1:-nsis}
work=$root/build/demo/$who
noise=$work/wine.log
drive=$WINEPREFIX/drive_c

readonly restart_needed=$((3010 % 256)) # a Unix exit status has 8 bits
readonly product_key='HKLM\Software\Harbour\Lantern'
readonly programs_key='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall'
readonly services_key='HKLM\System\CurrentControlSet\Services'
readonly event_log_key='HKLM\System\CurrentControlSet\Services\EventLog\Application'
readonly family_key='HKLM\Software\Norrin Vale\Velmora'
readonly session_manager='HKLM\System\CurrentControlSet\Control\Session Manager'

main() {
    tell_of "$who"
    mkdir -p "$work"
    rm -f "$work"/*.log "$work"/*.txt
    program_files='Program Files (x86)'
    [[ -d $drive/$program_files ]] || program_files='Program Files'
    folder=$drive/$program_files/Harbour/Lantern
    folder_in_windows="C:\\$program_files\\Harbour\\Lantern"
    uninstall_log=$folder/uninstall.log
    shortcut="$drive/ProgramData/Microsoft/Windows/Start Menu/Programs/Lantern/Lantern.lnk"

    look_at_new_machine
    install_version_1
    leave_program_running
    queue_deletion_elsewhere
    install_version_2
    restart_into_version_2
    uninstall
    restart_into_nothing
    uninstall_with_nothing_in_use
    show_logs
}

# ---- Who tells it -----------------------------------------------------------

# What differs between the setups: how they are run, the files that they add to
# the product's folder, and how their uninstaller is run.
tell_of() {
    setup_name=setup
    setup_options=(/S)
    own_files=(uninstall.exe)
    case $1 in
        nsis) uninstaller=own_uninstaller_in_place ;;
        c) uninstaller=uninstaller_in_c ;;
        inno)
            setup_name=inno-setup
            setup_options=(/VERYSILENT /SUPPRESSMSGBOXES /NORESTART /RESTARTEXITCODE=3010)
            own_files=(TARVO.dll unins000.dat unins000.exe)
            uninstaller=inno_uninstaller
            ;;
        *) die "demo.sh nsis|inno|c" ;;
    esac
}

# Each is told the exit code to expect, and tells which file of its own stays.

# NSIS, told the folder with _?=, works in place and is in use itself. What
# follows must not be quoted, blanks or not.
own_uninstaller_in_place() {
    local in_place
    read -ra in_place <<<"_?=$folder_in_windows"
    run_setup "$1" "$folder/uninstall.exe" "${in_place[@]}"
    own_in_use=(uninstall.exe)
}

uninstaller_in_c() {
    run_setup "$1" "$root/build/release/uninstall.exe"
    own_in_use=()
}

# Inno Setup's uninstallers have no code for a restart.
inno_uninstaller() {
    run_setup 0 "$folder/unins000.exe"
    # A second process of it deletes the file of the first, a moment later.
    local tries
    for ((tries = 0; tries < 60; tries++)); do
        [[ -e $folder/unins000.exe ]] || break
        sleep 0.5
    done
    own_in_use=()
}

# ---- The story --------------------------------------------------------------

look_at_new_machine() {
    step "A new machine, before anything is installed"
    snapshot "$work/before.txt"
    check "nothing of the product: no files, no keys" not grep -qiE 'Harbour|Lantern' "$work/before.txt"
    check "nothing is to happen at the next restart" is "" "$(pending)"
    tell "noted: $(wc -l <"$work/before.txt") lines of files, folders, registry keys and pending operations"
}

install_version_1() {
    step "Version 1 is installed"
    run_setup 0 "$built/$setup_name-1.exe"
    check "program, library and data are there" installed_is lantern-1.exe keeper-1.exe wick.dll words-1.txt
    check "the data file is read-only" is_read_only "$folder/data/words.txt"
    check "settings in the 32-bit view: version 1" is 0x1 "$(registry 32 "$product_key" Version)"
    check "settings in the 64-bit view: version 1" is 0x1 "$(registry 64 "$product_key" Version)"
    check "a list of two texts among them" is 'red\0green' "$(registry 32 "$product_key\\Wicks" Colours)"
    check "the list of installed programs names it" \
        is 'Lantern 1' "$(registry 32 "$programs_key\\Lantern" DisplayName)"
    check "a shortcut in the start menu: the program, with an argument" \
        is "$folder_in_windows\\lantern.exe stay" "$(link_target)"
    check "a source of the event log" \
        is "$folder_in_windows\\lantern.exe" "$(registry 32 "$event_log_key\\Lantern" EventMessageFile)"
    check "a plug-in of the management console" \
        is "$folder_in_windows\\wick.dll" "$(registry 32 "$family_key\\Manager\\Plug-Ins\\Lantern" ImagePath)"
    check "its service runs" is "Lantern Keeper 1" "$(running_keeper)"
    check "the uninstall log has the program" is_recorded Files "$folder_in_windows\\lantern.exe=1"
    check "the uninstall log has the 64-bit setting" is_recorded 'Registry entries unvirtualized' \
        'HKEY_LOCAL_MACHINE\Software\Harbour\Lantern\\Version=1'
    check "nothing waits for a restart" is "" "$(pending)"
}

leave_program_running() {
    step "The program is left running: its files are in use"
    start_program
    check "it tells: lantern 1 with wick 1" is "lantern 1 with wick 1" "$told"
}

queue_deletion_elsewhere() {
    step "Another program has the program's file deleted at the next restart"
    check "by MoveFileEx" windows "$built/cleaner.exe" "$folder_in_windows\\lantern.exe"
    pending | indent
}

install_version_2() {
    step "Version 2 is installed over it"
    run_setup "$restart_needed" "$built/$setup_name-2.exe"
    check "TARVO_CopyFileEx reported: program in use, restart needed" \
        reported "in use, comes at the restart: $folder_in_windows\\lantern.exe"
    check "TARVO_DeleteFileEx reported: old library in use, restart needed" \
        reported "in use, goes at the restart: $folder_in_windows\\wick.dll"
    check "program and library are still those of version 1" installed_is lantern-1.exe wick.dll words-2.txt
    check "the service's program was replaced, and runs again" installed_is keeper-2.exe
    check "under its new name" is "Lantern Keeper 2" "$(running_keeper)"
    check "the new program waits beside the old one" cmp -s "$built/lantern-2.exe" "$folder/lantern.1"
    check "the read-only data file was replaced at once" is_read_only "$folder/data/words.txt"
    check "settings in both views: version 2" is "0x2 0x2" \
        "$(registry 32 "$product_key" Version) $(registry 64 "$product_key" Version)"
    tell "pending at the Session Manager:"
    pending | indent
    check "just these: the other program's deletion, after it the new program over the old one, and the old library's deletion" is \
        "\\??\\$folder_in_windows\\lantern.exe -> (deleted)
\\??\\$folder_in_windows\\lantern.1 -> !\\??\\$folder_in_windows\\lantern.exe
\\??\\$folder_in_windows\\wick.dll -> (deleted)" "$(pending)"
}

restart_into_version_2() {
    step "The machine is restarted"
    restart
    check "the running program ended with it" program_ended
    check "the pending list is used up" is "" "$(pending)"
    check "the new program is in place, nothing beside it" \
        is "$(sorted data keeper.exe lantern.exe uninstall.log words.txt "${own_files[@]}")" "$(names_below "$folder")"
    check "the old library is gone, program and data are those of version 2" installed_is lantern-2.exe keeper-2.exe words-2.txt
    check "the service was started with the machine" is "Lantern Keeper 2" "$(running_keeper)"
    start_program
    check "started again, it tells: lantern 2" is "lantern 2" "$told"
}

uninstall() {
    step "It is uninstalled while running"
    cp "$uninstall_log" "$work/uninstall-log.txt"
    "$uninstaller" "$restart_needed"
    local still_in_use=(lantern.exe "${own_in_use[@]}")
    check "TARVO_GetCustomUnInstallString gave back what setup 2 had set" reported "the log says: version 2"
    check "files that were not in use are gone" is "$(sorted "${still_in_use[@]}")" "$(names_below "$folder")"
    check "the service is gone" is "" "$(running_keeper)$(registry 32 "$services_key\\LanternKeeper" ImagePath)"
    check "the shortcut and its group are gone" not test -e "$(dirname "$shortcut")"
    check "the event source is gone" not has_key 32 "$event_log_key\\Lantern"
    check "the plug-in is gone, and the keys made for it" not has_key 32 "${family_key%\\*}"
    check "the keys are gone in the 32-bit view" not has_key 32 'HKLM\Software\Harbour'
    check "the keys are gone in the 64-bit view" not has_key 64 'HKLM\Software\Harbour'
    check "the list of installed programs is as before" not has_key 32 "$programs_key\\Lantern"
    check "the uninstall log is gone" not test -e "$uninstall_log"
    tell "pending at the Session Manager:"
    pending | indent
    local name
    for name in "${still_in_use[@]}"; do
        check "what is in use is to be deleted: $name" \
            has_line "\\??\\$folder_in_windows\\$name -> (deleted)" "$(pending)"
    done
    check "their folder is to be deleted" has_line "\\??\\$folder_in_windows -> (deleted)" "$(pending)"
    check "and the one above it" has_line "\\??\\${folder_in_windows%\\*} -> (deleted)" "$(pending)"
}

restart_into_nothing() {
    step "The machine is restarted again"
    restart
    check "the running program ended with it" program_ended
    snapshot "$work/after.txt"
    check "files, folders, both registry views and the pending list are as on the new machine" \
        same "$work/before.txt" "$work/after.txt"
}

uninstall_with_nothing_in_use() {
    step "Installed once more, with a file of the user's beside it, it is uninstalled when nothing is in use"
    run_setup 0 "$built/$setup_name-1.exe"
    echo "a note of the user's" >"$folder/note.txt"
    "$uninstaller" 0 # neither the note nor the uninstaller's own file is a reason for a restart
    check "just the user's file is there" is "$(sorted note.txt "${own_in_use[@]}")" "$(names_below "$folder")"
    rm "$folder/note.txt"
    [[ ! -d $folder || ${own_in_use[*]} ]] || rmdir -p --ignore-fail-on-non-empty "$folder"
    restart
    snapshot "$work/after.txt"
    check "after a restart all is as on the new machine" same "$work/before.txt" "$work/after.txt"
}

show_logs() {
    step "The uninstall log, as the uninstaller found it"
    tr -d '\r' <"$work/uninstall-log.txt" | indent
    step "The setup log: the calls of both setups and the uninstaller ($(wc -l <"$work/setup.log") lines)"
    tr -d '\r' <"$work/setup.log" | outer_calls | indent
    echo
    tell "The whole setup log: $work/setup.log"
    tell "Every step was as it should be; nothing is left of the product."
}

# ---- What the machine does --------------------------------------------------

windows() {
    "$root/tools/dev/wine-run.sh" "$@" 2>>"$noise"
}

# run_setup EXIT-STATUS PROGRAM [ARGUMENT...]: silently, then tells what it did.
run_setup() {
    local expected=$1 program=$2 status=0
    shift 2
    rm -f "$work/report.txt"
    LANTERN_LOG=$(in_windows "$work/setup.log") LANTERN_REPORT=$(in_windows "$work/report.txt") \
        windows "$program" "${setup_options[@]}" "$@" >>"$noise" || status=$?
    [[ ! -f $work/report.txt ]] || tr -d '\r' <"$work/report.txt" | indent
    case $expected in
        0) check "it ended with 0" is 0 "$status" ;;
        *) check "it ended with 3010: a restart is needed" is "$expected" "$status" ;;
    esac
}

# Leaves the program running, and its first line in told.
start_program() {
    exec {program}< <(windows "$folder/lantern.exe" stay)
    told=
    read -r -t 60 -u "$program" told || true
    told=${told%$'\r'}
}

program_ended() {
    local status=0
    read -r -t 20 -u "$program" || status=$?
    ((status == 1)) # end of its output; a time-out gives more
}

restart() {
    "$root/dev" restart >>"$noise" 2>&1
}

# ---- What the machine is asked, by doors of its own -------------------------

# Its pending operations, one a line: source -> target.
pending() {
    local source target
    registry 64 "$session_manager" PendingFileRenameOperations | sed 's/\\0/\n/g' |
        while IFS= read -r source && [[ $source ]]; do
            IFS= read -r target || true
            echo "$source -> ${target:-(deleted)}"
        done
}

# registry VIEW KEY NAME: the data of a value; nothing if there is none.
registry() {
    windows reg query "$2" /v "$3" "/reg:$1" | tr -d '\r' | sed -n 's/^ .*    REG_[A-Z_]*    //p' || true
}

# What the shortcut starts, by a reader that knows nothing of Windows' own. From
# Debian 13 on it doubles backslashes.
link_target() {
    lnkinfo "$shortcut" | sed -nE '/^\t(Local path|Command line arguments)\s*: /{s///;s/\\\\/\\/g;p}' | paste -sd ' '
}

# The display name of the product's service while it runs.
running_keeper() {
    windows net start | tr -d '\r' | sed -n 's/^ *\(Lantern Keeper.*\)/\1/p'
}

has_key() {
    windows reg query "$2" "/reg:$1" >>"$noise"
}

# What must be the same before and after.
snapshot() {
    local view
    {
        (cd "$drive" && find . -printf '%y %P\n' | LC_ALL=C sort)
        for view in 32 64; do
            echo "registry, $view-bit view"
            windows reg query 'HKLM\Software' "/reg:$view" || true
            windows reg query "$programs_key" /s "/reg:$view" || true
            windows reg query "$product_key" /s "/reg:$view" || true
            windows reg query "$services_key" "/reg:$view" || true
            windows reg query "$event_log_key" "/reg:$view" || true
        done
        windows reg query 'HKCU\Software' || true
        echo "pending operations"
        pending
    } >"$1"
}

names_below() {
    local names
    mapfile -t names < <(find "$1" -mindepth 1 -printf '%f\n')
    sorted "${names[@]}"
}

sorted() {
    printf '%s\n' "$@" | LC_ALL=C sort | paste -sd ' '
}

# installed_is FILE...: what was installed is the same, byte for byte.
installed_is() {
    local file
    for file; do
        case $file in
            lantern-*) cmp -s "$built/$file" "$folder/lantern.exe" || return 1 ;;
            keeper-*) cmp -s "$built/$file" "$folder/keeper.exe" || return 1 ;;
            words-*) cmp -s "$package/$file" "$folder/data/words.txt" || return 1 ;;
            *) cmp -s "$built/$file" "$folder/$file" || return 1 ;;
        esac
    done
}

is_read_only() {
    [[ $(stat -c %A "$1") == -r--* ]]
}

# is_recorded SECTION LINE
is_recorded() {
    tr -d '\r' <"$uninstall_log" | section="$1" line="$2" awk '
        /^\[/ { inside = $0 == "[" ENVIRON["section"] "]" }
        inside && $0 == ENVIRON["line"] { found = 1 }
        END { exit !found }'
}

reported() {
    has_line "$1" "$(tr -d '\r' <"$work/report.txt")"
}

# ---- Telling and checking ---------------------------------------------------

steps=0

step() {
    printf '\n%d. %s\n' $((++steps)) "$1"
}

tell() {
    printf '   %s\n' "$1"
}

indent() {
    sed 's/^/     /'
}

# The blocks of a trace that the caller's own calls opened, with their first line.
outer_calls() {
    sed -nE 's/^[0-9]\t[0-9: \/]*\t(\{ .*|   [^ {}].*|TARVO.DLL version .*)/\1/p'
}

# check FACT COMMAND...
check() {
    local fact=$1
    shift
    if "$@"; then
        printf '   + %s\n' "$fact"
    else
        printf '   - NOT SO: %s\n     see %s\n' "$fact" "$work"
        exit 1
    fi
}

not() {
    ! "$@"
}

is() {
    [[ $2 == "$1" ]] || {
        printf '     expected: %s\n     found:    %s\n' "$1" "$2"
        return 1
    }
}

has_line() {
    grep -qxF -- "$1" <<<"$2"
}

same() {
    diff "$1" "$2" | indent
    cmp -s "$1" "$2"
}

main
