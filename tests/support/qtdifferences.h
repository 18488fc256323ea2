// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_SUPPORT_QTDIFFERENCES_H
#define STBCONFIG_TESTS_SUPPORT_QTDIFFERENCES_H

#include <QtCore/QtGlobal>

// What the tests expect of one version of Qt and not of the other.
namespace qtdifferences {

#if QT_VERSION_MAJOR < 6
// An INI file is Latin-1 when it is read; whatever is beyond ASCII is escaped when it is written.
constexpr bool iniFilesAreUtf8 = false;
// A map allocates inside Qt's library.
constexpr bool mapsAllocateInOurs = false;
// A packed list gets the memory that it claims to need before its elements are read.
constexpr bool claimedLengthsAreReserved = true;
#else
constexpr bool iniFilesAreUtf8 = true;
constexpr bool mapsAllocateInOurs = true;
constexpr bool claimedLengthsAreReserved = false;
#endif

} // namespace qtdifferences

#endif
