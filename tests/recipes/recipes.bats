#!/usr/bin/env bats
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Does what docs/recipes.md tells its reader, with the examples as they were built.

load ../tool/support

setup_file()
{
    export CHECKOUT=$BATS_TEST_DIRNAME/../..
}

# Does what the page says below a heading, and expects the output that the page shows. "ssh" leads to boxes
# beside this one.
follow()
{
    fleet
    export PATH=$BUILD_DIR/examples/recipes:$CHECKOUT/examples/recipes:$PATH XDG_RUNTIME_DIR=$box
    cd "$box/here"
    umask 022 # the modes on the page follow from it
    timeout 60 "${@:3}" python3 "$CHECKOUT/scripts/support/run_tutorial.py" "$1" "$2"
}

recipe() { follow docs/recipes.md "$@"; }

@test "every program of the folder is on the page" {
    cd "$CHECKOUT"
    for file in examples/recipes/*; do
        case $file in */CMakeLists.txt | *.qrc) continue ;; esac
        grep -Fqx "\`$file\`:" docs/recipes.md || { echo "$file is not"; false; }
    done
}

@test "systemd finds nothing wrong with the unit, and its umask closes the file" {
    command -v systemd-analyze || skip "no systemd here"
    recipe "A service whose files nobody else reads"
}

@test "a credential reaches the application and no file" {
    recipe "A secret from the service manager"
}

@test "what DHCP answers reaches the application, but no harmful character" {
    recipe "Values from DHCP or provisioning"
    PROVISIONED=run/nothing provision
    [ -e run/nothing ]
    [ ! -s run/nothing ]
}

@test "an application sees a change while it runs" {
    recipe "A change while the application runs"
}

@test "an application tests itself on boxes that it throws away" {
    recipe "The application's own tests"
}

@test "Python reads the settings" {
    recipe "Reading settings from Python"
}

@test "a shell reads the settings without eval" {
    recipe "Reading settings from a shell"
}

@test "QML shows a setting and changes it" {
    [ -x "$BUILD_DIR/examples/recipes/qmlplayer" ] || skip "no QML here when this was built"
    recipe "QML"
}

@test "a box with a read-only root writes to its data partition" {
    requires_namespaces
    recipe "A read-only root and a data partition" unshare --mount
}

@test "a fleet tells over ssh what it is like" {
    recipe "A fleet over ssh"
    echo "[Video" >"$box/box2/custom.conf"
    [ "$(fleet.py box2)" = "box2 unknown malformed" ]
}

@test "the exit statuses are those that scripts may rely on" {
    follow docs/compatibility.md "Exit statuses"
}
