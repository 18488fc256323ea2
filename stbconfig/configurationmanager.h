// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_CONFIGURATIONMANAGER_H
#define STBCONFIG_CONFIGURATIONMANAGER_H

#include <stbconfig/errorhandler.h>
#include <stbconfig/export.h>

#include <stbui/cmdlineargs.h>

#include <QtCore/QLocale>
#include <QtCore/qobjectdefs.h>
#include <QtCore/QScopedPointer>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace stbconfig {

class ConfigurationManagerPrivate;
class IReadableBackend;
class IStorableBackend;

/**
 * Answers what a setting is, from all the places where settings live.
 *
 * The application creates one manager, asks it for values by group and key, and writes through the
 * single storages that it hands out:
 *
 * @code
 * stbconfig::ConfigurationManager settings("/data/", "/etc/stbapp/", &handler);
 * const QString output = settings.value("Video", "output", "hdmi").toString();
 * settings.dynamicStorage(settings.CustomConfPersistent)->setValue("Video", "output", "scart");
 * @endcode
 *
 * A manager has five storages from the start. value() merges the storages of four locations, and
 * the first one in this order that holds the setting wins:
 *
 * | Precedence | Location                    | Storage                                 |
 * |------------|-----------------------------|-----------------------------------------|
 * | 1          | CustomConfPersistent        | persistent prefix + "custom.conf"       |
 * | 2          | TemporaryApplicationStorage | memory, gone with the manager           |
 * | 3          | EnvironmentVariables        | variables "STBAPP_" + GROUP + "_" + KEY |
 * | 4          | StbappConfDefault           | default prefix + "stbapp.conf"          |
 *
 * The first two can be written, the others only be read. The fifth storage, persistent prefix +
 * "ravel.db", belongs to no location and takes no part in value(): see independentStorage().
 *
 * A prefix and a name are joined as they are. A prefix that means a directory must end with "/":
 * the prefix /data/ gives /data/custom.conf, but /data gives /datacustom.conf.
 *
 * Ownership: the manager owns every storage. Pointers to storages are valid until the manager is
 * destroyed and must never be deleted. The manager never owns its error handler.
 *
 * Threads: build and set up a manager in one thread before others use it. value(), defaultLocale()
 * and the storage accessors may then be called from any thread; what a storage itself allows is
 * said at IReadableBackend. Write from the thread that made the manager, or run no event loop in
 * it: otherwise a change may never reach the disk, see IStorableBackend. Not promised: that one
 * thread writes the memory storage while another calls value(), and that a handler can call back.
 * No other thread may be using the manager while it is destroyed.
 *
 * Failures: a setting that nobody holds is no failure, it has the caller's default. No operation
 * throws an exception of the library's own; what Qt or an allocation throws passes through, and a
 * constructor that fails so leaves nothing behind.
 *
 * The manager has no thread, timer or event loop of its own, watches no file and caches no value.
 */
class STBCONFIG_EXPORT ConfigurationManager
{
    Q_GADGET

public:
    /// The formats in which a storage can be kept. No operation takes or returns one.
    enum StorageFormat : int {
        IniFile = 0 ///< an INI file
    };
    Q_ENUM(StorageFormat)

    /// Where a setting can live.
    enum SettingsLocation : int {
        CustomConfPersistent = 0, ///< the writable file "custom.conf" under the persistent prefix
        StbappConfDefault = 1, ///< the read-only file "stbapp.conf" under the default prefix
        DhcpOptionsConf = 2, ///< declared only: it has no storage, so every request for it fails
        EnvironmentVariables = 3, ///< the process's environment, read-only
        TemporaryApplicationStorage = 4 ///< writable memory that lives as long as the manager
    };
    Q_ENUM(SettingsLocation)

    /**
     * Makes a manager with its five storages.
     *
     * Reads no setting, checks no file and reports nothing: a missing directory or an unreadable
     * file is no failure here and shows only when its storage is used. Qt, however, opens the
     * files that exist. The environment is copied now; later changes to it are never seen.
     *
     * @param persistentStoragePrefix  goes before the names of all writable files. A directory
     *                                 must end with "/"; empty means the working directory
     * @param defaultConfigPrefix      goes before "stbapp.conf", by the same rules
     * @param errorHandler             receives failure reports; not owned; may be null, and then
     *                                 nothing is reported. It must outlive the manager, even if
     *                                 it is replaced: the storages made here keep it
     */
    ConfigurationManager(const QString &persistentStoragePrefix, const QString &defaultConfigPrefix,
                         IErrorHandler *errorHandler);

    /**
     * Destroys the manager and its storages, and writes pending changes back to their files.
     *
     * All pointers to storages become invalid, and so does every LogsConfigWrapper of this
     * manager: destroy those before. A change that cannot be written back now is lost, and nothing
     * reports it. Must not run while another thread uses the manager.
     */
    ~ConfigurationManager();

    /**
     * Returns the constructor's first argument, unchanged: nothing is added, normalised or checked.
     * Callable from any thread.
     *
     * @return the prefix of the writable files
     */
    QString persistentStoragePrefix() const;

    /**
     * Replaces the error handler.
     *
     * It receives the manager's own reports from now on, and those of storages that
     * independentStorage() creates from now on. Storages that exist already, the five from the
     * start among them, keep the handler they were created with.
     *
     * Takes no lock: call it while no other thread uses the manager.
     *
     * @param handler  the new handler; not owned, must outlive the manager; null reports nothing
     */
    void setErrorHandler(IErrorHandler *handler);

    /**
     * Returns the application's command-line record: the one given to setCmdLineArgs(), before
     * that a default-constructed one, whose log level is -1.
     *
     * Takes no lock: call it while no other thread replaces the record.
     *
     * @return a copy of the record
     */
    stbui::CmdLineArgs cmdLineArgs() const;

    /**
     * Keeps a copy of the application's command-line record.
     *
     * Only its log level means something to the library: LogsConfigWrapper::level() returns it
     * in place of the stored one if it is 0 to 5. Nothing is checked and nothing is stored in a
     * file.
     *
     * Takes no lock: call it while no other thread uses the manager.
     *
     * @param args  the record to copy
     */
    void setCmdLineArgs(const stbui::CmdLineArgs &args);

    /**
     * Looks a setting up in all locations and returns the value of highest precedence.
     *
     * In order, the first that holds the setting wins: custom.conf, memory, the environment,
     * stbapp.conf. If none does, the result is @p defaultValue, an invalid one included. A storage
     * that holds an invalid QVariant, which memory can, makes the result invalid. The type of a
     * value depends on its storage, see IReadableBackend::value(): convert it.
     *
     * Never reports: neither a setting that nobody holds nor a file that cannot be read. Does not
     * look into independent storages.
     *
     * Callable from any thread, also while others read or write files; the memory storage is not
     * safe against a writer in another thread. The manager's lock is not held while storages are
     * asked. Every call asks every location, and each that holds the setting for its value:
     * nothing is cached. Qt, however, remembers every variable name that it was ever asked for,
     * some 200 bytes each: do not ask for an unbounded number of settings.
     *
     * @param group         the first half of the setting's address; may be empty
     * @param key           the second half of the setting's address; may be empty
     * @param defaultValue  the result if no location holds the setting
     * @return the setting's value, or @p defaultValue
     */
    QVariant value(const QString &group, const QString &key, const QVariant &defaultValue) const;

    /**
     * Returns the writable storage of a location.
     *
     * CustomConfPersistent and TemporaryApplicationStorage have one. For any other location, a
     * number outside the enumeration included, the result is null, and the current error handler,
     * if there is one, receives "invalid dynamic storage " followed by "StbappConfDefault",
     * "EnvironmentVariables" or, for all others, "internal error: invalid enumerator".
     *
     * Every call for a location returns the same storage. The manager owns it: never delete it,
     * never use it after the manager is gone.
     *
     * Callable from any thread. The manager stays locked for the whole call, the report included,
     * so a handler must not call back into it.
     *
     * Opens, reads and checks nothing: see IReadableBackend::isValid() for a file that cannot be
     * used, and IStorableBackend for when a change reaches its file.
     *
     * @param location  the location to write to
     * @return the location's storage, or null if it has no writable one
     */
    IStorableBackend *dynamicStorage(SettingsLocation location) const;

    /**
     * Returns the storage of a location, for reading it alone, without precedence.
     *
     * All locations but DhcpOptionsConf have one; that of a writable location is the object that
     * dynamicStorage() returns. For DhcpOptionsConf and for any number outside the enumeration
     * the result is null, and the current error handler, if there is one, receives "invalid
     * read-only storage internal error: invalid enumerator".
     *
     * Ownership, lifetime, locking and what is not done are as for dynamicStorage().
     *
     * @param location  the location to read from
     * @return the location's storage, or null if it has none
     */
    IReadableBackend *readOnlyStorage(SettingsLocation location) const;

    /**
     * Returns the application's own storage of a given name: the INI file whose path is the
     * persistent prefix, the name and ".db".
     *
     * The first call for a name creates the storage, with the error handler current at that
     * moment; every later call returns the same one. The thread of that first call is the one
     * whose event loop writes changes back, see IStorableBackend. The storage named "ravel" exists
     * from the start. Independent storages take no part in value().
     *
     * Never null, and nothing is reported: a path that cannot be read or written shows when the
     * storage is used.
     *
     * The name goes into the path as it is. It must come from the application itself, never from
     * outside input: "../x" leaves the directory, a NUL character loses every change and leaves a
     * lock file, and every new name costs memory until the manager is destroyed. An empty name is
     * allowed and gives the file ".db".
     *
     * The manager owns the storage: never delete it, never use it after the manager is gone.
     * Callable from any thread; two threads that ask for the same new name get the same storage.
     * The manager is locked for the whole call.
     *
     * @param name  the storage's name
     * @return the storage of that name
     */
    IStorableBackend *independentStorage(const QString &name) const;

    /**
     * Lists the locations that can only be read.
     *
     * These are EnvironmentVariables and StbappConfDefault, although readOnlyStorage() answers for
     * the writable locations too. Never fails and reports nothing. Callable from any thread.
     *
     * @return the locations, in no order
     */
    QSet<SettingsLocation> readOnlyStorages() const;

    /**
     * Lists the locations that can be written: CustomConfPersistent and
     * TemporaryApplicationStorage. Never fails and reports nothing. Callable from any thread.
     *
     * @return the locations, in no order
     */
    QSet<SettingsLocation> dynamicStorages() const;

    /**
     * Returns the locale that the application should start with.
     *
     * This is QLocale of the text of the setting ("Profile", "locale"), looked up by value() anew
     * at each call; "ru" if no location holds it. The text is not checked: where it is empty or
     * QLocale does not know it, the result is what QLocale makes of it (the C locale), not "ru".
     *
     * Reports nothing. Sets no default locale. Threads and locks are as for value().
     *
     * @return the configured locale
     */
    QLocale defaultLocale() const;

private:
    Q_DECLARE_PRIVATE(ConfigurationManager)
    Q_DISABLE_COPY(ConfigurationManager)

    QScopedPointer<ConfigurationManagerPrivate> d_ptr;
};

} // namespace stbconfig

#endif
