################################################################################
#
# stbconfig
#
################################################################################

# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# The package builds the checkout that this folder is part of.
STBCONFIG_SITE = $(BR2_EXTERNAL_STBCONFIG_PATH)/../..
STBCONFIG_SITE_METHOD = local
STBCONFIG_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude=/build
STBCONFIG_VERSION := $(shell sed -n 's/^project.stbconfig VERSION \([0-9.]*\).*/\1/p' \
	$(STBCONFIG_SITE)/CMakeLists.txt)
STBCONFIG_LICENSE = MIT
STBCONFIG_LICENSE_FILES = LICENSES/MIT.txt
STBCONFIG_INSTALL_STAGING = YES
STBCONFIG_DEPENDENCIES = qt5base
STBCONFIG_CONF_OPTS = \
	-DBUILD_TESTING=OFF \
	-DSTBCONFIG_BUILD_EXAMPLES=OFF \
	-DSTBCONFIG_BUILD_MANUALS=OFF \
	-DCMAKE_SKIP_INSTALL_RPATH=ON

ifeq ($(BR2_PACKAGE_STBCONFIG_TOOL),y)
STBCONFIG_DEPENDENCIES += cli11
STBCONFIG_LICENSE := $(STBCONFIG_LICENSE), BSD-3-Clause (command)
STBCONFIG_LICENSE_FILES += LICENSES/BSD-3-Clause.txt
STBCONFIG_CONF_OPTS += -DSTBCONFIG_BUILD_TOOLS=ON
else
STBCONFIG_CONF_OPTS += -DSTBCONFIG_BUILD_TOOLS=OFF
endif

$(eval $(cmake-package))
