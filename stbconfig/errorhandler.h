// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_ERRORHANDLER_H
#define STBCONFIG_ERRORHANDLER_H

#include <stbconfig/export.h>

class QString;

namespace stbconfig {

/**
 * Receives the library's failure reports. Implemented and owned by the application.
 *
 * The library stores the pointer it is given and never creates, copies or deletes a handler. A
 * handler must therefore outlive every ConfigurationManager that was ever given it: replacing it
 * with ConfigurationManager::setErrorHandler() does not reach the storages that exist already,
 * which keep the handler that was current when they were created.
 *
 * These are all the messages; each ends with the text that names what failed:
 *
 * | Message                             | Reported by                                        |
 * |-------------------------------------|----------------------------------------------------|
 * | "invalid dynamic storage " + name   | ConfigurationManager::dynamicStorage()             |
 * | "invalid read-only storage " + name | ConfigurationManager::readOnlyStorage()            |
 * | "unable to write " + absolute path  | IStorableBackend's setValue() and remove(), a file |
 *
 * The name is "CustomConfPersistent", "StbappConfDefault" or "EnvironmentVariables"; any other
 * location, declared or not, is called "internal error: invalid enumerator".
 */
class STBCONFIG_EXPORT IErrorHandler
{
public:
    /// Destroy a handler only after every manager that was given it.
    virtual ~IErrorHandler() = default;

    /**
     * Takes one failure report.
     *
     * Called in the thread whose call failed, before that call returns; calls from several threads
     * may overlap. The manager may be locked at that moment, and its lock is not recursive: an
     * implementation must not call ConfigurationManager::value(), defaultLocale() or any of the
     * storage accessors of the same manager, or the thread blocks for ever. Log the text, or keep
     * it for later. An exception that it throws passes through to the caller of that operation.
     *
     * Not called while a manager is made or destroyed.
     *
     * @param message  one line for a person, without a line break of the library's own; valid
     *                 during the call, copy it to keep it
     */
    virtual void handleError(const QString &message) = 0;
};

} // namespace stbconfig

#endif
