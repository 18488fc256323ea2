// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "backends_p.h"

#include "../backendinterfaces.h"
#include "../errorhandler.h"
#include "makeshared_p.h"

#include <QtCore/QSettings>
#include <QtCore/QStringBuilder>

namespace stbconfig {
namespace {

class QtSettingsIniBackend final : public IStorableBackend
{
public:
    QtSettingsIniBackend(const QString &fileName, IErrorHandler *handler)
        : settings(new QSettings(fileName, QSettings::IniFormat)), errorHandler(handler)
    {}

    bool isValid() const override { return settings->status() == QSettings::NoError; }

    bool contains(const QString &group, const QString &key) const override
    {
        return settings->contains(settingsKey(group, key));
    }

    QVariant value(const QString &group, const QString &key) const override
    {
        return settings->value(settingsKey(group, key));
    }

    QStringList allKeys() const override { return settings->allKeys(); }

    void setValue(const QString &group, const QString &key, const QVariant &newValue) override
    {
        if (isWritableOrReport())
            settings->setValue(settingsKey(group, key), newValue);
    }

    void remove(const QString &group, const QString &key) override
    {
        if (isWritableOrReport())
            settings->remove(settingsKey(group, key));
    }

private:
    // Empty names need no case of their own: QSettings drops a "/" at either end, so an empty group
    // means the top level, and in remove() an empty key means the whole group.
    static QString settingsKey(const QString &group, const QString &key)
    {
        return group % QLatin1Char('/') % key;
    }

    // Each change asks anew, because a box can mount its partitions otherwise at any time.
    bool isWritableOrReport() const
    {
        if (settings->isWritable())
            return true;
        if (errorHandler) {
            errorHandler->handleError(QStringLiteral("unable to write ") % settings->fileName());
        }
        return false;
    }

    const QScopedPointer<QSettings> settings;
    IErrorHandler *const errorHandler;
};

} // namespace

QSharedPointer<IStorableBackend> createQtSettingsIniBackend(const QString &fileName,
                                                            IErrorHandler *errorHandler)
{
    return makeShared<QtSettingsIniBackend>(fileName, errorHandler);
}

} // namespace stbconfig
