// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "arguments.h"
#include "generators.h"

#include <QtCore/QRegularExpression>

namespace generators {
namespace {

// Every program that shows Markdown takes a character reference for a mere character. So a
// reference replaces what begins markup or HTML, anywhere or at the beginning of a line.
QString escaped(const QString &line)
{
    static const QRegularExpression first("^(?:[-+=:#]|[0-9]+[.)](?= |$))");
    const auto lastOfFirst = first.match(line).capturedEnd() - 1;
    QString result;
    for (QString::size_type i = 0; i < line.size(); ++i) {
        const bool isMarkup = i == lastOfFirst || QString("\\`*_[]<>&|~$").contains(line[i]);
        result += isMarkup ? QString("&#%1;").arg(line[i].unicode()) : QString(line[i]);
    }
    return result;
}

QString escapedName(const Setting &setting) { return escaped(output::safe(setting.name())); }

// The values of a secret are masked.
QString renamed(const OldName &old, const Described &today, const output::Format &format)
{
    QStringList before = old.values.keys();
    before.sort();
    QStringList values;
    for (const QString &text : qAsConst(before)) {
        values.append(output::shown(today.setting, text, format) + " is now "
                      + output::shown(today.setting, old.values[text], format));
    }
    return output::safe(old.setting.name())
        + (values.isEmpty() ? QString() : " (" + values.join(", ") + ')');
}

void add(QStringList &page, const char *name, const QString &fact)
{
    if (!fact.isEmpty())
        page.append(QString("- ") + name + ": " + escaped(linesOf(fact).join(' ')));
}

void add(QStringList &page, const Described &described, const output::Format &format)
{
    page += {"", "### " + escapedName(described.setting), ""};
    const QStringList text = linesOf(described.text);
    for (const QString &line : text)
        page.append(escaped(line));
    if (!text.isEmpty())
        page.append("");
    add(page, "Type", value::nameOf(described.type));
    // This names all values, unlike what is shown elsewhere.
    add(page, "Allowed",
        described.values.isEmpty() ? description::allowed(described) : described.values.join(", "));
    if (described.defaultValue)
        add(page, "Default", output::shown(described.setting, *described.defaultValue, format));
    add(page, "Since", described.since);
    QStringList before;
    for (const OldName &old : described.was)
        before.append(renamed(old, described, format));
    add(page, "Older names", before.join("; "));
    add(page, "Secret", described.setting.isSecret() ? "yes, it is masked" : "");
    add(page, "Reset", described.isKept ? "keeps it" : "");
}

} // namespace

void markdown(const Context &context)
{
    QMap<QString, QVector<const Described *>> groups;
    for (const Described &described : context.description.all())
        groups[described.setting.group].append(&described);
    QStringList page{"# Settings"};
    for (auto it = groups.cbegin(); it != groups.cend(); ++it) {
        page +=
            {"", "## " + (it.key().isEmpty() ? "Without a group" : escapedName({{}, it.key()}))};
        for (const Described *described : *it)
            add(page, *described, context.arguments.format);
    }
    output::bare(page, {});
}

} // namespace generators
