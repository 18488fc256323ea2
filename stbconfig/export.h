// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_EXPORT_H
#define STBCONFIG_EXPORT_H

#include <QtCore/qglobal.h>

/**
 * @file
 * The mark of what the library exports.
 */

/**
 * @def STBCONFIG_EXPORT
 * Marks a class that the library exports. For the library's own build, which alone defines
 * STBCONFIG_LIBRARY, it makes the class visible outside; for an application it means that the class
 * is found in the library. An application never uses it itself.
 */

#ifdef STBCONFIG_LIBRARY
#define STBCONFIG_EXPORT Q_DECL_EXPORT
#else
#define STBCONFIG_EXPORT Q_DECL_IMPORT
#endif

#endif
