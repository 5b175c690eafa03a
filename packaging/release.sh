# shellcheck shell=bash
# What the scripts that make and check a release have in common.

version=$(sed -n 's/^project(zellauncher VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)

# FileVersion of the programs of a build directory: the project's version, unless the packager set another one.
file_version() {
    local own
    own=$(sed -n 's/^ZELLAUNCHER_FILE_VERSION:[A-Z]*=//p' "$1/CMakeCache.txt")
    echo "${own:-$version}"
}

# Every time in a package is the date of the release, so that it does not depend on when or where it was made.
release_date=$(sed -n "s/^## ${version//./\\.} (\([0-9-]*\))\$/\1/p" CHANGELOG.md)
SOURCE_DATE_EPOCH=$(date -u -d "${release_date:-1980-01-01}" +%s)
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8

# Ends the script unless the newest entry of CHANGELOG.md is the version of this checkout, and higher than the others:
# an installer replaces a program only by a higher FileVersion.
check_changelog() {
    local versions
    versions=$(sed -n 's/^## \([0-9.]*\) .*/\1/p' CHANGELOG.md)
    if [ -z "$release_date" ] || [ "$(head -n 1 <<<"$versions")" != "$version" ]; then
        echo "CHANGELOG.md does not begin with this release: it needs \"## $version (<year>-<month>-<day>)\"." >&2
        exit 1
    fi
    if ! sort --version-sort --reverse --unique --check=silent <<<"$versions"; then
        echo "The versions in CHANGELOG.md do not rise from release to release." >&2
        exit 1
    fi
}
