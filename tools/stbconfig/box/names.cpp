// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "names.h"

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <vector>

namespace {

using Size = QString::size_type; // int in Qt 5, longer in Qt 6

// Counts the changes that make one text of the other; a swap of neighbours is one change. Returns
// more than the limit if there are more. Looks only where so few changes can lead.
Size distance(const QString &a, const QString &b, Size limit)
{
    const QChar *left = a.constData();
    const QChar *right = b.constData();
    Size height = a.size();
    Size width = b.size();
    if (std::abs(height - width) > limit)
        return limit + 1;
    for (; height > 0 && width > 0 && *left == *right; --height, --width) {
        ++left;
        ++right;
    }
    while (height > 0 && width > 0 && left[height - 1] == right[width - 1]) {
        --height;
        --width;
    }
    const auto cells = static_cast<size_t>(width) + 1;
    std::vector<Size> before(cells);
    std::vector<Size> above(cells);
    std::vector<Size> row(cells);
    std::iota(row.begin(), row.end(), 0);
    for (Size i = 1; i <= height; ++i) {
        before.swap(above);
        above.swap(row);
        const Size first = std::max<Size>(1, i - limit);
        const Size last = std::min(width, i + limit);
        row[static_cast<size_t>(first) - 1] = first == 1 ? i : limit + 1;
        if (last < width)
            row[static_cast<size_t>(last) + 1] = limit + 1; // for the next row
        for (Size j = first; j <= last; ++j) {
            const auto cell = static_cast<size_t>(j);
            const Size change = left[i - 1] == right[j - 1] ? 0 : 1;
            row[cell] = std::min({above[cell] + 1, row[cell - 1] + 1, above[cell - 1] + change});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
                row[cell] = std::min(row[cell], before[cell - 2] + 1);
        }
        // Both rows are looked at because a swap leads past one.
        const auto least = [first, last](const std::vector<Size> &cellsOfRow) {
            return *std::min_element(cellsOfRow.cbegin() + first - 1,
                                     cellsOfRow.cbegin() + last + 1);
        };
        if (least(row) > limit && least(above) > limit)
            return limit + 1;
    }
    return row.back();
}

// "parentalPin", "parental_pin" and "PARENTAL-PIN" are the words "parental" and "pin".
QStringList wordsOf(const QString &name)
{
    static const QRegularExpression border(
        "[^\\p{L}]+|(?<=\\p{Ll})(?=\\p{Lu})|(?<=\\p{Lu})(?=\\p{Lu}\\p{Ll})",
        QRegularExpression::UseUnicodePropertiesOption);
    QStringList words = name.split(border, Qt::SkipEmptyParts);
    for (QString &word : words)
        word = word.toLower();
    return words;
}

// One for the whole process, so that no command can forget to mask a value.
struct DescribedNames
{
    QStringList all;
    QSet<QString> secretVariables;
    bool isUnknown = false;
};

DescribedNames &describedNames()
{
    static DescribedNames names;
    return names;
}

} // namespace

Setting Setting::named(const QString &name)
{
    const auto slash = name.indexOf('/');
    return slash < 0 ? Setting{{}, name} : Setting{name.left(slash), name.mid(slash + 1)};
}

QString Setting::name() const { return group.isEmpty() ? key : group + '/' + key; }

QString Setting::variable() const
{
    return names::variablePrefix + group.toUpper() + '_' + key.toUpper();
}

bool Setting::isSecret() const
{
    // A question for "user/WIFI" or "User//wifi" gives what is kept for "User/wifi": the variable, or
    // the entry.
    const QSet<QString> &described = describedNames().secretVariables;
    if (!described.isEmpty() && described.contains(named(names::asStored(name())).variable()))
        return true;
    const QStringList words = wordsOf(name());
    // Long words count whatever is around them; short ones only as a whole or at the end: "userpin"
    // is meant, "mapping" is not.
    static const QRegularExpression telling(
        "password|passwd|passphrase|passcode|secret|token|credential|apikey|privatekey|"
        "^pins$|^pincode$|^psks$|(?<!s)pin$|psk$|pwd$|auth$");
    if (std::any_of(words.cbegin(), words.cend(),
                    [](const QString &word) { return telling.match(word).hasMatch(); }))
        return true;
    // Some words are often written as two, or with capitals that part them elsewhere.
    static const QRegularExpression pair(
        "(^| )(pass (word|wd|phrase|code)|(api|private) keys?|ap ikeys?)( |$)");
    return pair.match(words.join(' ')).hasMatch();
}

namespace names {

QStringList ofTheLibrary()
{
    QStringList result{Setting{localeGroup, localeKey}.name()};
    for (const char *key :
         {level, responseLengthLimit, jsonFormattingEnabled, imageRequestsEnabled})
        result.append(Setting{loggingGroup, key}.name());
    return result;
}

void describe(const QStringList &all, const QSet<QString> &secrets)
{
    QSet<QString> variables;
    for (const QString &name : secrets)
        variables.insert(Setting::named(name).variable());
    describedNames() = {all, variables, false};
}

QStringList described() { return describedNames().all; }

void doubtSecrets() { describedNames().isUnknown = true; }

bool areSecretsDoubtful() { return describedNames().isUnknown; }

QString asStored(const QString &name) { return name.split('/', Qt::SkipEmptyParts).join('/'); }

bool matches(const QString &glob, const QString &name)
{
    if (glob.isEmpty() || name == glob || name.startsWith(asStored(glob) + '/'))
        return true;
    // Qt's wildcard for paths would not do: a "*" spans groups, so that "*level" finds
    // Logging/level.
    QString pattern = QRegularExpression::escape(glob);
    pattern.replace("\\*", ".*").replace("\\?", ".");
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              QRegularExpression::DotMatchesEverythingOption)
        .match(name)
        .hasMatch();
}

QString nearest(const QString &word, const QStringList &candidates)
{
    QString result;
    Size least = 1 + std::clamp<Size>(word.size() / 3, 1, 3);
    const QString folded = word.toCaseFolded();
    for (const QString &candidate : candidates) {
        const Size changes = distance(folded, candidate.toCaseFolded(), least - 1);
        if (changes < least) {
            least = changes;
            result = candidate;
        }
    }
    return result;
}

QString Nearest::of(const QString &word)
{
    constexpr Size most = 200000; // comparisons of names of the usual length
    constexpr Size usual = 64;
    if (m_comparisons >= most)
        return {};
    m_comparisons += m_candidates.size() * (1 + word.size() / usual);
    return nearest(word, m_candidates);
}

QString suggestion(const QString &word, Nearest &nearest, const QString &otherwise)
{
    const QString found = nearest.of(word);
    return found.isEmpty() ? otherwise : "did you mean " + found + "?";
}

QString suggestion(const QString &word, const QStringList &candidates, const QString &otherwise)
{
    Nearest search(candidates);
    return suggestion(word, search, otherwise);
}

} // namespace names
