#!/usr/bin/env bash
# wine-run.sh PROGRAM...
# Becomes a Windows program under the Wine that ./dev has chosen: in the current
# folder, with the environment as it is and the program's exit status (8 bits).
# CMake and ctest call it as the emulator.
set -euo pipefail

root=$(cd "${BASH_SOURCE[0]%/*}/../.." && pwd -P)
source "$root/tools/dev/wine-entry.sh" || {
    echo "wine-run: no Wine has been chosen yet: run ./dev setup" >&2
    exit 125
}
# A test that ctest runs beside others has a machine of its own.
if [[ ${CTEST_RESOURCE_GROUP_0_MACHINES-} =~ ^id:([0-9]+) ]]; then
    export DISPLAY=:${BASH_REMATCH[1]} WINEPREFIX=$root/build/machine-${BASH_REMATCH[1]}/prefix
    programs=$root/build/machine-${BASH_REMATCH[1]}/tests
    if [[ -e $programs/${1##*/} ]]; then
        cd "$programs"
        set -- "$programs/${1##*/}" "${@:2}"
    fi
fi
exec "${wine_entry[@]}" wine "$@"
