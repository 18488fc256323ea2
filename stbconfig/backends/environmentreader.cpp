// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "backends_p.h"

#include "../backendinterfaces.h"
#include "../constants_p.h"
#include "makeshared_p.h"

#include <QtCore/QProcessEnvironment>
#include <QtCore/QStringBuilder>

#include <algorithm>

namespace stbconfig {
namespace {

// Copies text to out in upper case and returns where the copy ends, or null at the first character
// beyond ASCII.
QChar *copyAsciiUpperCased(const QString &text, QChar *out)
{
    for (const QChar character : text) {
        const ushort unicode = character.unicode();
        if (unicode >= 0x80)
            return nullptr;
        const bool isLower = unicode >= 'a' && unicode <= 'z';
        *out++ = QChar(ushort(isLower ? unicode - ('a' - 'A') : unicode));
    }
    return out;
}

// Only the case changes: no character is replaced, and no "_" is put between the words of a key.
// Names are mostly ASCII, and those take one allocation instead of three. The halves of any other
// name are upper-cased one by one, because a surrogate at the end of a group must not pair with
// one at the start of the key.
QString variableName(const QString &group, const QString &key)
{
    const QString &prefix = constants::environmentPrefix;
    QString name(prefix.size() + group.size() + 1 + key.size(), Qt::Uninitialized);
    QChar *out = std::copy(prefix.cbegin(), prefix.cend(), name.data());
    if ((out = copyAsciiUpperCased(group, out))) {
        *out++ = QLatin1Char('_');
        if (copyAsciiUpperCased(key, out))
            return name;
    }
    return prefix % group.toUpper() % QLatin1Char('_') % key.toUpper();
}

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
        // Qt gives a null string for a variable that is set but empty, too.
        if (text.isNull() && environment->contains(name))
            return QStringLiteral("");
        return text;
    }

    // All variables, under their own names: which of them are settings cannot be told from a name.
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
