// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_LOGSCONFIGWRAPPER_H
#define STBCONFIG_LOGSCONFIGWRAPPER_H

#include <stbconfig/export.h>

#include <QtCore/QHash>
#include <QtCore/QScopedPointer>
#include <QtCore/QString>

namespace stbconfig {

class ConfigurationManager;
class LogsConfigWrapperPrivate;

/**
 * Reads and writes the four settings of the group "Logging" as numbers and booleans.
 *
 * | Setting                 | Type   | Nothing stored |
 * |-------------------------|--------|----------------|
 * | "level"                 | number | 0, "critical"  |
 * | "responseLengthLimit"   | number | 0              |
 * | "jsonFormattingEnabled" | bool   | false          |
 * | "imageRequestsEnabled"  | bool   | false          |
 *
 * Getters read the storage CustomConfPersistent first and StbappConfDefault second; setters write
 * CustomConfPersistent alone. The environment and TemporaryApplicationStorage have no effect on
 * these settings, unlike on ConfigurationManager::value().
 *
 * Nothing is cached: each getter reads the storages anew and each setter writes at once, as far as
 * IStorableBackend does. A refused write is reported as IStorableBackend says; nothing else is
 * reported, and unusable values end in the fallbacks stated at each getter.
 *
 * The manager is not owned and must outlive the wrapper. The wrapper has no lock of its own: its
 * operations may be called from several threads as far as the storages' may, and as long as nobody
 * replaces the manager's command-line record.
 */
class STBCONFIG_EXPORT LogsConfigWrapper
{
public:
    /**
     * Makes a wrapper over a manager. Reads and writes nothing.
     *
     * @param manager  the manager whose storages are used; must outlive the wrapper
     */
    explicit LogsConfigWrapper(ConfigurationManager &manager);

    /// Destroys the wrapper. The manager and the stored settings stay as they are.
    ~LogsConfigWrapper();

    /**
     * Returns the level of detail to log at, from 0 (the most severe messages only) to 5.
     *
     * A level of 0 to 5 in ConfigurationManager::cmdLineArgs() wins over everything stored; any
     * other number there counts as not given. Otherwise the custom file's value decides if it is
     * present, whatever it holds, else the default file's:
     * - one of the names of stringLevelToIntLevel(), spelled exactly so, means its level;
     * - a number from 0 to 5 means itself, a larger one 1 ("error");
     * - anything else means 0 ("critical"), an unknown word and nothing at all included.
     *
     * A negative number stored as text is an unknown word; one that setLevel() stored in this
     * process counts as a very large number until the file is read again. A number beyond 32 bits
     * wraps.
     *
     * @return the level, 0 to 5
     */
    int level() const;

    /**
     * Stores the level in the custom file. Any number is stored, level() says what it will mean.
     * A level on the command line stays in force.
     *
     * @param level  the level to store
     */
    void setLevel(int level);

    /**
     * Returns the number of characters up to which responses are logged.
     *
     * This is the custom file's number. If it is absent or no number, it is the default file's,
     * and 0 if that is absent or no number either. A number beyond 32 bits wraps.
     *
     * @return the limit
     */
    int responseLengthLimit() const;

    /**
     * Stores the response length limit in the custom file. Any number is stored.
     *
     * @param limit  the limit to store
     */
    void setResponseLengthLimit(int limit);

    /**
     * Tells whether JSON is to be formatted in the log.
     *
     * This is the custom file's value, or if it is absent the default file's, as QVariant::toBool()
     * sees it: false for nothing at all and for the texts "", "0" and "false" in any case, true for
     * every other text, "no" included.
     *
     * @return whether formatting is enabled
     */
    bool jsonFormattingEnabled() const;

    /**
     * Stores in the custom file whether JSON is to be formatted.
     *
     * @param enabled  what to store
     */
    void setJsonFormattingEnabled(bool enabled);

    /**
     * Tells whether requests for images are to be logged. Read as jsonFormattingEnabled() is.
     *
     * @return whether image requests are logged
     */
    bool imageRequestsEnabled() const;

    /**
     * Stores in the custom file whether requests for images are to be logged.
     *
     * @param enabled  what to store
     */
    void setImageRequestsEnabled(bool enabled);

    /**
     * Returns the names of the levels: "critical" 0, "error" 1, "warning" 2, "info" 3, "debug" 4,
     * "trace" 5. Callable from any thread.
     *
     * @return a table of its own for each call, with exactly these six entries
     */
    static QHash<QString, int> stringLevelToIntLevel();

private:
    Q_DECLARE_PRIVATE(LogsConfigWrapper)
    Q_DISABLE_COPY(LogsConfigWrapper)

    QScopedPointer<LogsConfigWrapperPrivate> d_ptr;
};

} // namespace stbconfig

#endif
