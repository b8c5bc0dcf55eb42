#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if packaging/release.sh does not refuse what is no release, each with its message and
# without leaving anything.
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

# usage: refused MESSAGE; the message begins so.
refused() {
    before=$(find .. | sort)
    status=0
    said=$(sh packaging/release.sh ../released 2>&1) || status=$?
    case $status-$said in
    1-"release: $1"*) ;;
    *)
        echo "status $status, not a refusal with '$1': $said"
        failed=1
        ;;
    esac
    [ "$(find .. | sort)" = "$before" ] || {
        echo "the refusal with '$1' left something"
        failed=1
    }
}

refused "VERSION is $version, and there is no tag $tag"
git tag v0.0.1
refused "VERSION is $version, and there is no tag $tag"
git tag -a -m "an object of its own, which names the commit" "$tag"
git commit --quiet --allow-empty -m "after the release"
refused "the tag $tag names another commit than HEAD"
git reset --quiet --hard "$ready"
echo >>README.md
refused "the tree has changes that are not committed"
git reset --quiet --hard
touch new
refused "the tree has changes that are not committed"
rm new
for heading in "$version, not yet released" "0.9.0, 2026-01-02" "$version" \
    "2.0.0, not yet released\n\n## $version, 2026-01-02"; do
    sed -i "0,/^## /s/^## .*/## $heading/" CHANGELOG.md
    git commit --quiet -a -m "another heading"
    git tag --force "$tag" >/dev/null
    refused "the first release in CHANGELOG.md is not "
done
git reset --quiet --hard "$ready"
git tag --force "$tag" >/dev/null
mkdir ../released
refused "../released exists"
rmdir ../released
mv .git ../git
refused "$PWD is not the top of a git repository"
exit "$failed"
