#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Tries what scripts/release refuses and what it leaves, in a small repository in which short scripts stand in
# for those that build.

setup()
{
    command -v git >/dev/null || skip "no git here"
    export LC_ALL=C.UTF-8 GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null
    export GIT_AUTHOR_NAME=A GIT_AUTHOR_EMAIL=a@example.org GIT_COMMITTER_NAME=A GIT_COMMITTER_EMAIL=a@example.org
    tree=$BATS_TEST_TMPDIR/tree
    mkdir -p "$tree/scripts/support" "$tree/debian" "$tree/tools/stbconfig" "$BATS_TEST_TMPDIR/bin"
    cd "$tree"
    cp "$BATS_TEST_DIRNAME/../../scripts/release" scripts
    cp "$BATS_TEST_DIRNAME/../../scripts/support/functions.sh" scripts/support
    echo "project(stbconfig VERSION 1.2.3 LANGUAGES CXX" >CMakeLists.txt
    printf '# Changelog\n\n## [1.2.3] - 2026-01-02\n\n## [1.2.2] - 2025-01-02\n' >CHANGELOG.md
    printf 'stbconfig (1.2.3) bookworm; urgency=medium\n' >debian/changelog
    echo "SPDX-FileCopyrightText: 2020 B" >tools/stbconfig/cli11.txt
    echo /build/ >.gitignore
    stand_in scripts/support/install-packages ":"
    stand_in scripts/package 'mkdir -p build/packages && cat CMakeLists.txt >build/packages/a_${1-amd64}.deb'
    stand_in "$BATS_TEST_TMPDIR/bin/dpkg-query" 'echo 2.1'
    stand_in "$BATS_TEST_TMPDIR/bin/reuse" \
        'printf "%s\n" "DocumentNamespace: http://a/b-$$" "Created: $(date +%N)" "FileName: ./CMakeLists.txt"'
    export PATH=$BATS_TEST_TMPDIR/bin:$PATH
    git init --quiet
    commit
    git tag -a v1.2.3 -m v1.2.3
}

stand_in()
{
    printf '#!/bin/sh\ncase $0 in */scripts/*) cd "$(dirname "$0")/.." ;; esac\n%s\n' "$2" >"$1"
    chmod +x "$1"
}

commit()
{
    git add --all
    git commit --quiet -m "A commit"
}

# Expects these lines, which name the reasons, and nothing else, and that nothing was built.
refused()
{
    run scripts/release
    [ "$status" = 1 ]
    diff <(printf 'release: %s\n' "$@") <(echo "$output")
    [ ! -e build ]
}

@test "a release is the archive, the packages of each architecture, what is inside, and checksums" {
    scripts/release
    cd build/release
    [ "$(echo *)" = "SHA256SUMS a_amd64.deb a_arm64.deb a_armhf.deb stbconfig-1.2.3.spdx stbconfig-1.2.3.tar.gz" ]
    sha256sum --check --strict SHA256SUMS
    [ "$(wc -l <SHA256SUMS)" = 5 ]
    diff <(git ls-tree -r --full-tree --name-only HEAD) \
        <(tar -tf stbconfig-1.2.3.tar.gz | sed 's,^stbconfig-1.2.3/,,; /^$/d; /\/$/d')
    grep -x "PackageName: CLI11" stbconfig-1.2.3.spdx
    grep -x "PackageVersion: 2.1" stbconfig-1.2.3.spdx
    grep -x "PackageCopyrightText: <text>2020 B</text>" stbconfig-1.2.3.spdx
    grep -x "PackageLicenseConcluded: BSD-3-Clause" stbconfig-1.2.3.spdx
    grep -x "FileName: ./CMakeLists.txt" stbconfig-1.2.3.spdx
}

@test "two releases of a tag have the same bytes, whatever the time, the folder's name and git's settings" {
    scripts/release
    git clone --quiet . "$BATS_TEST_TMPDIR/another"
    git -C "$BATS_TEST_TMPDIR/another" config tar.umask 0077
    "$BATS_TEST_TMPDIR/another/scripts/release"
    diff -r build/release "$BATS_TEST_TMPDIR/another/build/release"
}

@test "each file that differs from the tag is refused by its name" {
    echo >>CMakeLists.txt
    git rm --quiet --cached CHANGELOG.md
    echo >scripts/new
    refused "CMakeLists.txt: differs from the tag; commit or undo it" \
        "scripts/new: differs from the tag; commit or undo it"
}

@test "a change that git was told to overlook is refused too" {
    git update-index --assume-unchanged CMakeLists.txt
    git update-index --skip-worktree debian/changelog
    echo "# changed" >>CMakeLists.txt
    echo >>debian/changelog
    refused "CMakeLists.txt: differs from the tag; commit or undo it" \
        "debian/changelog: differs from the tag; commit or undo it"
}

@test "a tree is refused of which git does not say what differs" {
    stand_in "$BATS_TEST_TMPDIR/bin/git" "[ \$1 != status ] || exit 128; exec $(command -v git) \"\$@\""
    refused "git: does not say what differs from the tag; see git status"
}

@test "a commit without a tag is refused" {
    git tag --delete v1.2.3
    refused "HEAD: has no tag; check out v1.2.3, or tag this commit"
}

@test "a commit behind the tag is refused" {
    git commit --quiet --allow-empty -m "Another commit"
    refused "HEAD: has no tag; check out v1.2.3, or tag this commit"
}

@test "a tag of another version is refused" {
    git tag --delete v1.2.3
    git tag v1.2.4
    refused "v1.2.4: CMakeLists.txt says version 1.2.3; correct one of them"
}

@test "a change log that does not tell of the version, or not since when, is refused" {
    sed -i 's/2026-01-02/Unreleased/' CHANGELOG.md
    sed -i 's/bookworm/UNRELEASED/' debian/changelog
    commit
    git tag --force v1.2.3
    refused "CHANGELOG.md: does not begin with [1.2.3] and a date; write the date of the release" \
        "debian/changelog: does not begin with (1.2.3) and a suite; write the suite of the release"
}

@test "what git ignores does not get into a release" {
    mkdir build
    echo >build/left-over
    scripts/release
    ! tar -tf build/release/stbconfig-1.2.3.tar.gz | grep left-over
}
