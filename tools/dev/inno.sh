# shellcheck shell=bash
# Inno Setup's compiler, out of its npm package: which version, and what it must
# hash to, tools/dev/inno tells.

# Compiles examples/inno into build/release/examples.
compile_inno_setups() {
    local version compiler
    compiler=$(need_inno)/node_modules/innosetup-compiler/bin/ISCC.exe
    for version in 1 2; do
        say "compiling inno-setup-$version.exe"
        in_wine wine "$compiler" /Q "/DVersion=$version" "/DLibrary=$(in_windows "$build/TARVO.DLL")" \
            "/DBuilt=$(in_windows "$build/examples")" "/DProduct=$(in_windows "$root/examples/product")" \
            "/O$(in_windows "$build/examples")" "/Finno-setup-$version" \
            "$(in_windows "$root/examples/inno/setup.iss")" >"$state/inno.log" 2>&1 ||
            die "examples/inno does not compile: $(why "$state/inno.log")"
    done
}

# What the manual says of setups that fail, with Inno Setup; ctest does it with NSIS.
try_inno_failures() {
    say "trying an Inno Setup setup that fails"
    python3 "$root/tests/manual/failures_test.py" "$root" "$build" "$root/tools/dev/wine-run.sh" \
        "$(need_inno)/node_modules/innosetup-compiler/bin/ISCC.exe" Inno
}

# need_inno: prints the folder where the package is installed, installing it first if need be.
need_inno() {
    local folder
    folder=$cache/inno-$(digest "$(cat "$root/tools/dev/inno/package-lock.json")")
    [[ -d $folder ]] || with_lock inno install_inno "$folder" >&2 || return 1
    echo "$folder"
}

install_inno() {
    [[ ! -d $1 ]] || return 0
    say "fetching Inno Setup's compiler"
    rm -rf "$1.new"
    mkdir -p "$1.new"
    cp "$root"/tools/dev/inno/package*.json "$1.new"
    (cd "$1.new" && retry 3 npm ci --ignore-scripts --no-audit --no-fund) >"$state/inno.log" 2>&1 ||
        die "cannot fetch Inno Setup's compiler: $(why "$state/inno.log")"
    mv "$1.new" "$1"
}
