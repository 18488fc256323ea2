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

// The commands print with these functions: for a person, for a shell or as JSON.
namespace output {

struct Format
{
    bool json = false;
    bool nullSeparated = false;
    bool showSecrets = false;
    bool isForOthers = false; // also masks a value that looks like a secret itself
};

/// Every line has at most so many columns, except those of a table on a wide terminal.
inline constexpr int widest = 80;

/// Returns what has been printed for standard output; it goes there when the command has ended.
QByteArray printed();

/// Prints one line, its second half emphasised on a terminal.
void line(const QString &text, const QString &emphasised = {});
/// Prints words, parted by blanks, in lines that end before the 80th column; from the second line
/// on they are indented.
void paragraph(const QString &text);
/// Returns the same as lines: all of them are indented, and from the second one on further.
QStringList wrapped(const QString &text, int indent, int further);
/// Returns the text, moved to the right by so many columns, or by as many as the 80 leave.
QString indented(const QString &text, int indent);
void object(const QJsonObject &object);

/// One answer, in each form in which a user can ask for it.
struct Row
{
    QJsonValue json;
    QStringList cells; // for a person, safe to show
    QStringList fields; // for a script, as they are
    QStringList below = {}; // lines for a person, under those of a table
};

/// Prints rows as a table, as records of fields with NUL at their ends, or as a JSON array.
void rows(const QVector<Row> &rows, const Format &format);
/// Prints the same without columns: each cell is a line.
void lines(const QVector<Row> &rows, const Format &format);

/// Prints a value alone, exactly as it is, but escaped where a terminal would obey it.
void bare(const QStringList &texts, const Format &format);

/// Prints one line on stderr, at once.
void note(const Problem &problem);

/// Returns the text as one line that moves no cursor. Leaves a backslash alone, so that escaping
/// twice does no harm.
QString printable(const QString &text);
/// Returns a name or path as one line that moves no cursor, and that no other name looks like.
QString safe(const QString &text);
/// Tells whether the value is shown as asterisks.
bool isMasked(const Setting &setting, const QVariant &value, const Format &format);
/// Returns a value for a person: a list as ["a", "b"], a value without a text by its type, a text
/// that could be taken for one of these in quotes, and a secret as asterisks.
QString shown(const Setting &setting, const QVariant &value, const Format &format);
/// Returns a value for a script; masked like shown().
QString field(const Setting &setting, const QVariant &value, const Format &format);
/// Returns a text, an array for a list, or an object for a value without a text; masked like
/// shown().
QJsonValue json(const Setting &setting, const QVariant &value, const Format &format);
/// Returns the same, or null for none.
template <typename Answer>
QJsonValue jsonOrNull(const Setting &setting, const Answer *answer, const Format &format)
{
    return answer ? json(setting, answer->value, format) : QJsonValue();
}

/// Returns as much of the text as so many columns have room for.
QString shortened(const QString &text, int room);
/// Returns how many columns of a terminal the text takes.
int columns(const QString &text);
QString padded(const QString &text, int width);

} // namespace output

#endif
