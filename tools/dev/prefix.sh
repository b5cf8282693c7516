# shellcheck shell=bash
# Prefixes, each a Windows machine of its own: copies of a template.

# make_template FOLDER
# Fails where the Wine chosen does not run 32-bit programs.
make_template() (
    template=$1
    [[ ! -f $template/system.reg ]] || return 0
    WINEPREFIX=$template.new
    # shellcheck source=tools/dev/wine-entry.sh
    source "$root/tools/dev/wine-entry.sh"
    unset DISPLAY
    say "making a template prefix in $template (about 15 s)"
    rm -rf "$WINEPREFIX"
    trap 'in_wine wineserver -k 2>/dev/null || true; rm -rf "$WINEPREFIX"' EXIT
    in_wine wine wineboot --init >"$state/wine.log" 2>&1 || return 1
    runs_32_bit >>"$state/wine.log" 2>&1 || return 1
    # Nothing manages windows on these displays: each one that goes would be waited for.
    in_wine wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N >>"$state/wine.log" 2>&1 || return 1
    in_wine wineserver -k || true
    in_wine wineserver -w || true
    keep_user_folders_inside "$WINEPREFIX"
    mv "$WINEPREFIX" "$template"
)

# The 32-bit command interpreter lies in syswow64 if there is a 64-bit one.
runs_32_bit() {
    local folder=syswow64 status=0
    ! grep -q '^#arch=win32' "$WINEPREFIX/system.reg" || folder=system32
    in_wine wine "C:\\windows\\$folder\\cmd.exe" /c exit 7 || status=$?
    ((status == 7))
}

# Wine links Desktop and the like to the user's own folders; tests write there.
keep_user_folders_inside() {
    local link
    find "$1/drive_c/users" -type l -print0 | while IFS= read -r -d '' link; do
        rm "$link" && mkdir "$link"
    done
}

# fresh_prefix FOLDER: a new machine in FOLDER, in place of what was there.
fresh_prefix() {
    local folder=$1
    if [[ -e $folder ]]; then
        WINEPREFIX=$folder in_wine wineserver -k 2>/dev/null || true
        rm -rf "$folder"
    fi
    mkdir -p "$(dirname "$folder")"
    cp -a --reflink=auto "$wine_template" "$folder.new"
    mv "$folder.new" "$folder"
}

# The prefix of ./dev wine, which keeps what was done in it.
need_prefix() {
    [[ -f $WINEPREFIX/system.reg ]] || fresh_prefix "$WINEPREFIX"
}

# What a restart of the machine is for Wine: all programs end, then the start
# carries out the renames and deletions that were put off.
restart_machine() {
    in_wine wineserver -k || true
    in_wine wineserver -w
    in_wine wine wineboot
}
