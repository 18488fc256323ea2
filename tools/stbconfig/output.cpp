// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "output.h"

#include "session.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace output {
namespace {

void write(FILE *file, const QString &text, char end)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), file);
    std::fputc(end, file);
}

// A value must not break the line, nor move the cursor of the terminal it is shown on.
QString inOneLine(const QString &text)
{
    QString result;
    for (const QChar character : text) {
        if (character == QLatin1Char('\n'))
            result += QLatin1String("\\n");
        else if (character == QLatin1Char('\t'))
            result += QLatin1String("\\t");
        else if (character.category() == QChar::Other_Control)
            result += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        else
            result += character;
    }
    return result;
}

int terminalWidth()
{
    winsize size{};
    if (!isatty(STDOUT_FILENO) || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0)
        return 0;
    return size.ws_col;
}

const QString mask = QStringLiteral("********");

} // namespace

void line(const QString &text) { write(stdout, text, '\n'); }

void record(const QString &text, const Options &options)
{
    write(stdout, text, options.nullSeparated ? '\0' : '\n');
}

void complain(const QString &thing, const QString &whatHappened, const QString &whatToDo)
{
    note(thing, whatHappened + QLatin1String("; ") + whatToDo);
}

void note(const QString &thing, const QString &text)
{
    std::fflush(stdout);
    write(stderr, QLatin1String("stbconfig: ") + inOneLine(thing + QLatin1String(": ") + text),
          '\n');
}

void json(const QJsonObject &object)
{
    write(stdout, QString::fromUtf8(QJsonDocument(object).toJson().trimmed()), '\n');
}

void json(const QJsonArray &array)
{
    write(stdout, QString::fromUtf8(QJsonDocument(array).toJson().trimmed()), '\n');
}

QJsonValue jsonValue(const Address &address, const QVariant &value, const Options &options)
{
    if (isSecret(address.key) && !options.showSecrets)
        return mask;
    if (value.type() == QVariant::StringList)
        return QJsonArray::fromStringList(value.toStringList());
    return value.toString();
}

QString shown(const Address &address, const QVariant &value, const Options &options)
{
    if (isSecret(address.key) && !options.showSecrets)
        return mask;
    return options.nullSeparated ? plain(value) : inOneLine(plain(value));
}

QString plain(const QVariant &value) { return texts(value).join(QStringLiteral(", ")); }

bool isSecret(const QString &key)
{
    // "pin" anywhere: rather hide a mapping than show a userpin.
    static const QRegularExpression secret(
        QStringLiteral("password|passwd|secret|token|pin|credential"),
        QRegularExpression::CaseInsensitiveOption);
    return secret.match(key).hasMatch();
}

QString bold(const QString &text)
{
    static const bool isColoured =
        isatty(STDOUT_FILENO) != 0 && qEnvironmentVariableIsEmpty("NO_COLOR");
    return isColoured ? QLatin1String("\033[1;32m") + text + QLatin1String("\033[0m") : text;
}

void table(const QVector<QStringList> &rows)
{
    using Size = decltype(QString().size()); // int in Qt 5, longer in Qt 6
    constexpr Size widest = 36;
    QVector<Size> widths;
    for (const QStringList &row : rows) {
        widths.resize(qMax(widths.size(), row.size()));
        for (int column = 0; column < row.size(); ++column)
            widths[column] = qMin(widest, qMax(widths[column], row[column].size()));
    }
    const int limit = terminalWidth();
    for (const QStringList &row : rows) {
        QString text;
        for (int column = 0; column + 1 < row.size(); ++column)
            text += row[column].leftJustified(widths[column]) + QLatin1String("  ");
        text += row.last();
        if (limit > 1 && text.size() > limit)
            text = text.left(limit - 1) + QChar(0x2026);
        line(text);
    }
}

} // namespace output
