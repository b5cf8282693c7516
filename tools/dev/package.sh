# shellcheck shell=bash
# The ZIP that setup authors take.

# The version stands in CMakeLists.txt.
package_name=tarvo-$(sed -n 's/^project(tarvo VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
readonly package_name
readonly package_folder=$root/build/package

# Makes build/package/tarvo-*.zip out of this checkout. With "check" a second one
# is made, of a copy in another folder, and must be the same byte for byte.
make_package() {
    local epoch
    # Outside of Git any date serves, as long as it stays.
    epoch=$(git -C "$root" log -1 --pretty=%ct 2>/dev/null) || epoch=1767225600
    rm -rf "$package_folder"
    package_sources "$root" "$package_folder" "$epoch"
    [[ ${1:-} != check ]] || package_is_reproducible "$epoch"
    say "made $package_folder/$package_name.zip"
    sha256sum "$package_folder/$package_name.zip"
}

package_is_reproducible() {
    local copy=$package_folder/elsewhere/sources
    mkdir -p "$copy"
    tar -C "$root" --exclude=./build --exclude=./.git -c . | tar -C "$copy" -x
    package_sources "$copy" "$package_folder/elsewhere" "$1"
    cmp "$package_folder/$package_name.zip" "$package_folder/elsewhere/$package_name.zip" ||
        die "two builds of the same sources differ"
    say "a second build, in another folder, has the same bytes"
}

# package_sources SOURCES FOLDER EPOCH: FOLDER/tarvo-*.zip, and what it is made of beside it.
package_sources() (
    source=$1 folder=$2 epoch=$3
    say "building the package in $folder"
    mkdir -p "$folder"
    export SOURCE_DATE_EPOCH=$epoch # for the linker and all that handle its output
    build_package >"$folder.log" 2>&1 || die "the package cannot be built: $(why "$folder.log")"
    render_manual "$source"
    cp -r "$source/build/docs/html" "$folder/$package_name/manual"
    zip_folder "$folder" "$epoch"
)

build_package() {
    cmake -G Ninja -S "$source" -B "$folder/build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
        "-DCMAKE_TOOLCHAIN_FILE=$source/cmake/mingw-i686.toolchain.cmake" &&
        cmake --build "$folder/build" --target tarvo tarvo_import_libraries &&
        cmake --install "$folder/build" --prefix "$folder/$package_name"
}

# The names sorted, all of one date, nothing of the machine's users.
zip_folder() {
    cd "$1"
    find "$package_name" -exec touch --no-dereference --date="@$2" {} +
    find "$package_name" -type d -exec chmod 755 {} +
    find "$package_name" -type f -exec chmod 644 {} +
    find "$package_name" -type f | LC_ALL=C sort | TZ=UTC zip -q -X -9 -@ "$package_name.zip"
}
