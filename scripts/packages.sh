# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh

# Sourced by ./run and ./test, after steps.sh.

# Installs those of the packages that are missing, and is quick when none is. Without the rights to
# do so it prints the command for an administrator and exits with 77.
install_missing() {
    missing=
    for package in "$@"; do
        state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || state=
        [ "$state" = installed ] || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" -eq 0 ]; then
        as_root=
    elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
        as_root=sudo
    else
        echo "Packages are missing. An administrator can install them with:" >&2
        echo "    apt-get update && apt-get install --no-install-recommends$missing" >&2
        exit 77
    fi
    echo "Installing:$missing" >&2
    # Each name is an argument of its own.
    # shellcheck disable=SC2086
    step installing install_packages $missing
}

install_packages() {
    apt_get="$as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300"
    $apt_get update && $apt_get install -y --no-install-recommends "$@"
}

# Prints the packages that these files list, one a line; a line that begins with # is a comment.
# The simulated appliance needs proot only if namespaces are refused.
packages_of() {
    if unshare -m true 2>/dev/null || unshare -Urm true 2>/dev/null; then
        cat "$@" | grep -v -e '^#' -e '^proot$' | sort -u
    else
        cat "$@" | grep -v '^#' | sort -u
    fi
}
