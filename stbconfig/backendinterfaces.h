// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BACKENDINTERFACES_H
#define STBCONFIG_BACKENDINTERFACES_H

#include <stbconfig/export.h>

#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace stbconfig {

/**
 * One storage of settings that can be read: an INI file, the environment or memory.
 *
 * A setting is addressed by a group and a key, always in that order; each storage maps the pair
 * onto what it stores:
 *
 * | Storage     | The pair ("Video", "output") is                   | Names compare           |
 * |-------------|---------------------------------------------------|-------------------------|
 * | INI file    | the entry "output" of the section [Video]         | case-sensitively        |
 * | environment | the variable STBAPP_VIDEO_OUTPUT                  | upper-cased by the call |
 * | memory      | the key "output" of the group "Video"             | case-sensitively        |
 *
 * In an INI file the pair becomes group + "/" + key. A leading or trailing "/" is ignored and every
 * other one separates groups: an empty group addresses an entry of the section [General], and a key
 * that contains "/" an entry of a deeper group. So ("Video", "") is the same entry as ("", "Video"),
 * but see IStorableBackend::remove(). In the environment nothing but the case changes:
 * ("Logging", "responseLengthLimit") is STBAPP_LOGGING_RESPONSELENGTHLIMIT.
 *
 * The environment is the copy that the manager made at its construction. A file is opened when the
 * manager makes the storage; what another process changes in it afterwards is seen only once this
 * process writes the file itself, or opens it anew.
 *
 * The application obtains a storage from a ConfigurationManager, which owns it: never delete it,
 * never use it after the manager is gone.
 *
 * No operation throws an exception of its own or reports to a handler; IStorableBackend says what
 * writing reports.
 *
 * Threads: the environment can be read from any number of threads at once. A file can be read and
 * written from any number of threads at once. The memory storage must not be used from several
 * threads at once, ConfigurationManager::value() included, if one of them writes.
 */
class STBCONFIG_EXPORT IReadableBackend
{
public:
    /// The owning manager calls this; never delete a storage.
    virtual ~IReadableBackend() = default;

    /**
     * Tells whether the storage is usable.
     *
     * Memory and the environment always are. A file is unusable once an access to it has failed:
     * it could not be read, its text is malformed, or a change could not be written back. Since a
     * file is parsed section by section as it is read, and changes are written back later, the
     * answer may turn false long after the cause; a malformed entry shows only when its section
     * has been read, which allKeys() does for all of them. An unusable storage still answers every
     * call, and the manager still asks it.
     *
     * A file that does not exist is usable and empty. True does not mean that the next write
     * will succeed.
     *
     * @return false after a failed access to the file, otherwise true
     */
    virtual bool isValid() const = 0;

    /**
     * Tells whether the storage holds a value for the pair. An empty value is a value, and so is
     * an invalid QVariant that was stored, and a variable that is set but empty.
     *
     * @param group  the first half of the address; may be empty
     * @param key    the second half of the address; may be empty
     * @return true if the pair is held, otherwise false
     */
    virtual bool contains(const QString &group, const QString &key) const = 0;

    /**
     * Returns the value stored for the pair.
     *
     * There is no default here: ask contains() first, or use ConfigurationManager::value(). A pair
     * that is absent gives an invalid QVariant, from the environment a null QString instead.
     *
     * Memory returns a value exactly as it was stored. The environment always returns a QString.
     * A file returns the text it holds, or a QStringList for a text with unquoted commas; only a
     * value that was written by this process and has not been read from the file since keeps its
     * type. Convert with QVariant::toInt(), toBool() and the like, which work for both: but mind
     * that "no" is true, because every text except "", "0" and "false" is.
     *
     * A file must be trusted: Qt makes an entry such as "@Variant(...)" a value of the type that it
     * names as soon as its section is read, and hostile bytes there end the process. What the
     * environment holds stays text.
     *
     * @param group  the first half of the address; may be empty
     * @param key    the second half of the address; may be empty
     * @return the stored value, or the storage's empty result
     */
    virtual QVariant value(const QString &group, const QString &key) const = 0;

    /**
     * Lists everything the storage can enumerate, as texts in the storage's own notation.
     *
     * A file lists group + "/" + key, and entries without a group by their bare key. Memory lists
     * group + "/" + key, ordered by group and then by key. The environment lists the name of every
     * variable of the process, also those that are no settings. Only memory's order is promised.
     *
     * A text need not split back into the pair it came from: names may contain "/", and a group
     * in memory that contains a place marker ("%1") receives the key there.
     *
     * @return the list, empty if there is nothing
     */
    virtual QStringList allKeys() const = 0;
};

/**
 * One storage of settings that can also be written: an INI file or memory.
 *
 * Memory takes a change at once and never fails. A file is another matter:
 * - A change is visible to readers at once, through every storage of this process on the same
 *   file, but reaches the disk later: when the thread that created the storage returns to its
 *   event loop, if it runs one, and at the latest when the manager is destroyed.
 * - If the file cannot be opened for writing, the change is dropped and the error handler that was
 *   current when the storage was created receives "unable to write " followed by the file's
 *   absolute path, once for each refused call. Without a handler nothing happens at all.
 * - A failure later on, at the moment of writing back (a full disk, a directory in which no file
 *   can be created), is reported to nobody; it only turns isValid() false. The change is tried
 *   again with the next one. Room for a part of the file alone (an almost full disk, a file size
 *   limit) does not even do that, and the file loses its end.
 * - The first change creates the file, and the directories above it that are missing.
 * - Writing back replaces the file: comments are lost and keys come out sorted.
 * - A new file, or directory, has the permissions that the umask leaves. A replaced file keeps its
 *   permissions, but belongs to the user whose process has written it.
 *
 * Threads: write from the thread that created the storage, or run no event loop in it. Where one
 * runs, a change from another thread that arrives at the moment of writing back may be forgotten:
 * readers see it, but neither the event loop nor the destruction of the manager writes it, unless
 * another change follows. Reading is safe from any thread, see IReadableBackend.
 */
class STBCONFIG_EXPORT IStorableBackend : public IReadableBackend
{
public:
    /**
     * Stores a value under the pair, replacing any previous one.
     *
     * Memory keeps the variant as it is. A file keeps what its format can express, see value() for
     * what comes back. An invalid variant counts as held in both.
     *
     * @param group     the first half of the address; may be empty
     * @param key       the second half of the address; may be empty
     * @param newValue  the value to store
     */
    virtual void setValue(const QString &group, const QString &key, const QVariant &newValue) = 0;

    /**
     * Removes the pair. Removing what is absent is no error and changes nothing.
     *
     * Beware of an empty key in a file: remove("Video", "") removes the whole group "Video", and
     * remove("", "") every entry of the file. In memory an empty key is a key like any other.
     *
     * @param group  the first half of the address; may be empty
     * @param key    the second half of the address; may be empty
     */
    virtual void remove(const QString &group, const QString &key) = 0;
};

} // namespace stbconfig

#endif
