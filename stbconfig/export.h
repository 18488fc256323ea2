// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_EXPORT_H
#define STBCONFIG_EXPORT_H

#include <QtCore/qglobal.h>

/**
 * @file
 * Marks what the library exports. Only the library's own build defines STBCONFIG_LIBRARY.
 */

#ifdef STBCONFIG_LIBRARY
#define STBCONFIG_EXPORT Q_DECL_EXPORT
#else
#define STBCONFIG_EXPORT Q_DECL_IMPORT
#endif

#endif
