// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "backends_p.h"

#include "../backendinterfaces.h"
#include "makeshared_p.h"
#include "variablename_p.h"

#include <QtCore/QProcessEnvironment>

namespace stbconfig {
namespace {

class EnvironmentReader final : public IReadableBackend
{
public:
    explicit EnvironmentReader(IErrorHandler *handler)
        : environment(new QProcessEnvironment(QProcessEnvironment::systemEnvironment())),
          errorHandler(handler)
    {}

    bool isValid() const override { return true; }

    bool contains(const QString &group, const QString &key) const override
    {
        return environment->contains(variableName(group, key));
    }

    QVariant value(const QString &group, const QString &key) const override
    {
        const QString name = variableName(group, key);
        const QString text = environment->value(name);
        // Qt gives a null string also for a variable that is set but empty.
        if (text.isNull() && environment->contains(name))
            return QStringLiteral(""); // clazy:exclude=empty-qstringliteral
        return text;
    }

    // Lists all variables, under their own names, because no name tells whether it is a setting.
    QStringList allKeys() const override { return environment->keys(); }

private:
    const QScopedPointer<const QProcessEnvironment> environment;
    [[maybe_unused]] IErrorHandler *const errorHandler;
};

} // namespace

QSharedPointer<IReadableBackend> createEnvironmentReader(IErrorHandler *errorHandler)
{
    return makeShared<EnvironmentReader>(errorHandler);
}

} // namespace stbconfig
