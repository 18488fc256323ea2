# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

include $(sort $(wildcard $(BR2_EXTERNAL_STBCONFIG_PATH)/package/*/*.mk))
