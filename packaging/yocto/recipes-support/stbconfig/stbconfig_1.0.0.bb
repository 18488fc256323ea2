# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

SUMMARY = "Settings of a set-top box application"
DESCRIPTION = "The shared library through which a set-top box's application reads and writes its \
settings, and a command for engineers"
SECTION = "libs"
# The command has CLI11 compiled in, which is BSD-3-Clause.
LICENSE = "MIT & BSD-3-Clause"
LICENSE:${PN} = "MIT"
LICENSE:${PN}-dev = "MIT"
LIC_FILES_CHKSUM = " \
    file://LICENSES/MIT.txt;md5=d1d645d1d189dc28f35506ff33bf15ba \
    file://LICENSES/BSD-3-Clause.txt;md5=cf9cab80b3b51a6feedb0fda56eafbc8 \
"

inherit cmake_qt5 externalsrc

# The recipe builds the checkout that this layer is part of, and leaves nothing in it.
EXTERNALSRC := "${@os.path.abspath('${THISDIR}/../../../..')}"
EXTERNALSRC_SYMLINKS = ""

DEPENDS = "qtbase qtbase-native"

PACKAGECONFIG ??= "tools"
PACKAGECONFIG[tools] = "-DSTBCONFIG_BUILD_TOOLS=ON,-DSTBCONFIG_BUILD_TOOLS=OFF,cli11"

EXTRA_OECMAKE = " \
    -DBUILD_TESTING=OFF \
    -DSTBCONFIG_BUILD_EXAMPLES=OFF \
    -DSTBCONFIG_BUILD_MANUALS=OFF \
    -DCMAKE_SKIP_INSTALL_RPATH=ON \
"

PACKAGE_BEFORE_PN = "${PN}-tools"
FILES:${PN} = "${libdir}/libstbconfig.so.*"
FILES:${PN}-dev = " \
    ${includedir} \
    ${libdir}/cmake \
    ${libdir}/libstbconfig.so \
    ${libdir}/pkgconfig \
"
FILES:${PN}-tools = " \
    ${bindir} \
    ${datadir}/bash-completion \
    ${datadir}/fish \
    ${datadir}/stbconfig \
    ${datadir}/zsh \
"
