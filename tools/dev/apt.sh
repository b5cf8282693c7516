# shellcheck shell=bash
# An apt of our own beside the machine's: the same sources, keys and proxies,
# but lists, cache and the list of installed packages in a folder given. It
# needs no root and changes nothing on the machine.

# private_apt FOLDER STATUS-FILE ARGUMENT...
private_apt() {
    local folder=$1 status=$2
    shift 2
    [[ -f $folder/apt.conf ]] || private_apt_config "$folder"
    APT_CONFIG=$folder/apt.conf apt-get -q -o Dir::State::status="$status" "$@"
}

private_apt_config() {
    local folder=$1 codename
    mkdir -p "$folder"/{lists,archives}/partial "$folder/sources"
    : >"$folder/no-packages"
    find /etc/apt/sources.list /etc/apt/sources.list.d -type f,l \
        \( -name '*.list' -o -name '*.sources' \) -exec ln -sf {} "$folder/sources" \; 2>/dev/null || true
    codename=$(debian_codename)
    {
        apt-config dump | grep '^Acquire::'
        cat <<-END
		APT::Architecture "amd64";
		APT::Architectures { "amd64"; "i386"; };
		APT::Install-Recommends "false";
		APT::Sandbox::User "root";
		Acquire::Retries "3";
		Acquire::Languages "none";
		Dir::Etc::main "/dev/null";
		Dir::Etc::parts "/dev/null";
		Dir::Etc::sourcelist "/dev/null";
		Dir::Etc::sourceparts "$folder/sources";
		Dir::State::lists "$folder/lists";
		Dir::Cache "$folder";
		Dir::Cache::archives "archives";
		END
        # One suite for both architectures: a library must have the same
        # version in both, which mixed suites do not promise.
        [[ -z $codename ]] || echo "APT::Default-Release \"$codename\";"
    } >"$folder/apt.conf"
}

# private_apt_add_backports FOLDER: adds that suite of the machine's own mirror.
# Its packages are taken only where named as PACKAGE/SUITE. Update before and after.
private_apt_add_backports() {
    local folder=$1 codename uri
    codename=$(debian_codename)
    # shellcheck disable=SC2016  # apt expands it
    uri=$(private_apt "$folder" "$folder/no-packages" indextargets --format '$(REPO_URI)' \
        "Codename: $codename" 'Component: main' 'Created-By: Packages' | sort -u | head -n 1)
    echo "deb $uri $codename-backports main" >"$folder/sources/backports.list"
}

debian_codename() {
    sed -n 's/^VERSION_CODENAME=//p' /etc/os-release
}
