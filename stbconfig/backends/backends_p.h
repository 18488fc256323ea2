// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BACKENDS_P_H
#define STBCONFIG_BACKENDS_P_H

#include <QtCore/QSharedPointer>
#include <QtCore/QString>

namespace stbconfig {

class IErrorHandler;
class IReadableBackend;
class IStorableBackend;

// Each function returns a new storage that nobody else holds. A handler may be null; a storage
// keeps it for its whole life.
QSharedPointer<IStorableBackend> createQtSettingsIniBackend(const QString &fileName,
                                                            IErrorHandler *errorHandler);
QSharedPointer<IReadableBackend> createEnvironmentReader(IErrorHandler *errorHandler);
QSharedPointer<IStorableBackend> createDynamicMapStorage();

} // namespace stbconfig

#endif
