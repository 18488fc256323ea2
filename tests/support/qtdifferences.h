// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_SUPPORT_QTDIFFERENCES_H
#define STBCONFIG_TESTS_SUPPORT_QTDIFFERENCES_H

#include <QtCore/QtGlobal>

// The tests expect these of one version of Qt and not of the other.
namespace qtdifferences {

#if QT_VERSION_MAJOR < 6
// Qt reads an INI file as Latin-1, and escapes what is beyond ASCII when it writes.
constexpr bool iniFilesAreUtf8 = false;
// A map makes its allocations inside Qt's library.
constexpr bool mapsAllocateInOurs = false;
// Qt allocates the memory that a packed list claims to need before it reads the elements.
constexpr bool claimedLengthsAreReserved = true;
#else
constexpr bool iniFilesAreUtf8 = true;
constexpr bool mapsAllocateInOurs = true;
constexpr bool claimedLengthsAreReserved = false;
#endif

} // namespace qtdifferences

#endif
