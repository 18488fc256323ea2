// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_OUTPUT_H
#define STBCONFIG_TOOL_OUTPUT_H

#include "names.h"
#include "problem.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QVariant>
#include <QtCore/QVector>

// What the commands print, and how: for a person, for a shell or as JSON.
namespace output {

struct Format
{
    bool json = false;
    bool nullSeparated = false;
    bool showSecrets = false;
    bool isForOthers = false; // then a value is masked also for what it holds
};

/// The columns that every line has, but for a table's on a wide terminal.
inline constexpr int widest = 80;

/// What has been printed for standard output: it goes there when the command has ended.
QByteArray printed();

/// One line, its second half emphasised on a terminal.
void line(const QString &text, const QString &emphasised = {});
/// Words that follow each other with a blank, in lines that end before the 80th column; from the
/// second line on they are indented.
void paragraph(const QString &text);
/// The same, as lines to be printed: all of them are indented, and from the second one on further.
QStringList wrapped(const QString &text, int indent, int further);
/// The text, moved to the right by so many columns, or by as many as the 80 leave.
QString indented(const QString &text, int indent);
void object(const QJsonObject &object);

/// One answer, in each of the ways in which it can be asked for.
struct Row
{
    QJsonValue json;
    QStringList cells; // for a person, safe to show
    QStringList fields; // for a script, as they are
    QStringList below = {}; // lines for a person, under those of a table
};

/// Rows as a table, as records of fields with NUL at their ends, or as a JSON array.
void rows(const QVector<Row> &rows, const Format &format);
/// The same, without columns: each cell is a line.
void lines(const QVector<Row> &rows, const Format &format);

/// A value alone: exactly what it is, but where a terminal would obey it.
void bare(const QStringList &texts, const Format &format);

/// One line on stderr, at once.
void note(const Problem &problem);

/// The text in one line that moves no cursor; a backslash is left alone, so that it may come twice.
QString printable(const QString &text);
/// A name or path in one line that moves no cursor, and that no other name looks like.
QString safe(const QString &text);
/// Whether the value is shown as asterisks.
bool isMasked(const Setting &setting, const QVariant &value, const Format &format);
/// A value for a person: a list as ["a", "b"], what has no text by its type, a text that could be
/// taken for one of these in quotes, and secrets as asterisks.
QString shown(const Setting &setting, const QVariant &value, const Format &format);
/// A value for a script; masked like shown().
QString field(const Setting &setting, const QVariant &value, const Format &format);
/// A text, an array for a list, an object for what has no text; masked like shown().
QJsonValue json(const Setting &setting, const QVariant &value, const Format &format);
/// The same, or null for none.
template <typename Answer>
QJsonValue jsonOrNull(const Setting &setting, const Answer *answer, const Format &format)
{
    return answer ? json(setting, answer->value, format) : QJsonValue();
}

/// As much of the text as so many columns have room for.
QString shortened(const QString &text, int room);
/// How many columns of a terminal the text takes.
int columns(const QString &text);
QString padded(const QString &text, int width);

} // namespace output

#endif
