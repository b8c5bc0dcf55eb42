#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if packaging/release.sh does not refuse what is no release, telling all that is missing at
# once, or if a refusal or a signal leaves anything.
# usage: refusals.sh REPOSITORY DIRECTORY
# HEAD of the repository is ready for release, and has no tag. The directory is new.
set -eu
mkdir "$2"
cp -R "$1" "$2/tree"
cd "$2/tree"
version=$(cat VERSION)
tag=v$version
ready=$(git rev-parse HEAD)
failed=0

# usage: left_nothing WHAT; compares with what there was before.
left_nothing() {
    [ "$(find .. | sort)" = "$before" ] || {
        echo "$1 left something"
        failed=1
    }
}

# usage: refused MESSAGE…; all that is told, in this order.
refused() {
    before=$(find .. | sort)
    status=0
    said=$(sh packaging/release.sh ../released 2>&1) || status=$?
    if [ "$status" -ne 1 ] || [ "$said" != "$(printf 'release: %s\n' "$@")" ]; then
        echo "status $status, not a refusal with '$*': $said"
        failed=1
    fi
    left_nothing "the refusal with '$1'"
}

no_tag="there is no tag $tag"
no_date="the first release in CHANGELOG.md has no date: \"## $version, YEAR-MONTH-DAY\""
dirty="the tree has changes that are not committed"
refused "$no_tag"
git tag v0.0.1
refused "$no_tag"
git tag -a -m "an object of its own, which names the commit" "$tag"
git commit --quiet --allow-empty -m "after the release"
refused "the tag $tag names another commit than HEAD"
git reset --quiet --hard "$ready"
touch new
refused "$dirty"
rm new
# usage: refused_with HEADING MESSAGE…; the first release in CHANGELOG.md has this heading.
refused_with() {
    sed -i "0,/^## /s/^## .*/## $1/" CHANGELOG.md
    git commit --quiet -a -m "another heading"
    git tag --force "$tag" >/dev/null
    shift
    refused "$@"
}
refused_with "$version, not yet released" "$no_date"
refused_with "$version" "$no_date"
refused_with "0.9.0, 2026-01-02" "the first release in CHANGELOG.md is '0.9.0', not '$version'"
refused_with "2.0.0, not yet released\n\n## $version, 2026-01-02" \
    "the first release in CHANGELOG.md is '2.0.0', not '$version'" "$no_date"
git reset --quiet --hard "$ready"
git tag --delete "$tag" >/dev/null

# Everything at once.
sed -i 's/^SWITCH_QUERIER_VERSION = .*/&.1/' packaging/buildroot/switch-querier.mk
git mv packaging/yocto/recipes-core/switch-querier/switch-querier_*.bb \
    packaging/yocto/recipes-core/switch-querier/switch-querier_0.9.0.bb
sed -i "0,/^## /s/^## .*/## $version/" CHANGELOG.md
mkdir ../released
refused "../released exists" \
    "the version in packaging/buildroot/switch-querier.mk is '$version.1', not '$version'" \
    "the name of the Yocto recipe is 'switch-querier_0.9.0.bb', not 'switch-querier_$version.bb'" \
    "$no_date" "$dirty" "$no_tag"
rmdir ../released
git reset --quiet --hard "$ready"

# A release that is under way, and is told to stop as a terminal or a system tells it.
git tag "$tag"
before=$(find .. | sort)
for signal in HUP:129 INT:130 TERM:143; do
    env --default-signal setsid sh packaging/release.sh ../released >/dev/null 2>&1 &
    until [ -d ../released/build ] || ! kill -0 $! 2>/dev/null; do
        sleep 0.1
    done
    kill -s "${signal%:*}" -- -$!
    status=0
    wait $! || status=$?
    [ "$status" -eq "${signal#*:}" ] || {
        echo "SIG${signal%:*} ends a release with status $status"
        failed=1
    }
    left_nothing "SIG${signal%:*}"
    rm -rf ../released
done
mv .git ../git
refused "$PWD is not the top of a git repository"
exit "$failed"
