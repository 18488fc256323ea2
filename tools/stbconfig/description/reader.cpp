// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "reader.h"

#include "entries.h"
#include "position.h"
#include "rawfile.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>

namespace description {
namespace {

// A value of the document, or the name of a member.
struct Part
{
    QJsonValue json;
    position::Path path;
    bool isName = false;

    std::optional<Part> find(const QString &member) const;
    Part name() const { return {path.last(), path, true}; }
    QVector<Part> members() const;
    QVector<Part> items() const;

private:
    position::Path below(const QString &step) const { return position::Path(path) << step; }
};

std::optional<Part> Part::find(const QString &member) const
{
    const QJsonObject object = json.toObject();
    const auto it = object.constFind(member);
    return it == object.constEnd() ? std::nullopt : std::optional(Part{*it, below(member)});
}

QVector<Part> Part::members() const
{
    QVector<Part> result;
    const QJsonObject object = json.toObject();
    for (auto it = object.constBegin(); it != object.constEnd(); ++it)
        result.append({*it, below(it.key())});
    return result;
}

QVector<Part> Part::items() const
{
    QVector<Part> result;
    const QJsonArray array = json.toArray();
    for (const QJsonValue &item : array)
        result.append({item, below(QString::number(result.size()))});
    return result;
}

class Reader
{
public:
    Reader(const QByteArray &text, const QString &file) : m_text(text), m_file(file) {}

    Description description() const;

private:
    [[noreturn]] void refuseAt(position::Offset offset, const QString &what,
                               const QString &whatToDo) const;
    [[noreturn]] void refuse(const Part &part, const QString &what, const QString &whatToDo) const;

    void requireUtf8() const;
    QJsonDocument parsed() const;
    void requireObject(const Part &part) const;
    void requireMembers(const Part &part, const QStringList &known) const;
    void requireArray(const Part &part) const;

    bool boolOf(const Part &part) const;
    int numberOf(const Part &part) const;
    QString textOf(const Part &part) const;
    QStringList textsOf(const Part &part) const;
    Setting settingOf(const Part &part) const;
    value::Type typeOf(const Part &part) const;
    QVariant valueOf(const Part &part, value::Type type) const;
    QVariant allowedValueOf(const Part &part, const Described &described) const;

    QStringList valuesOf(const Part &part, value::Type type) const;
    std::optional<int> limitOf(const Part &part, const QString &name,
                               const Described &described) const;
    OldName oldNameOf(const Part &part, const Described &described) const;
    Described describedOf(const Part &part) const;
    void requireOwnNames(const QVector<Part> &settings) const;

    const QByteArray &m_text;
    const QString &m_file;
};

void Reader::refuseAt(position::Offset offset, const QString &what, const QString &whatToDo) const
{
    const Position position = position::of(m_text, offset);
    const QString place = QString(":%1:%2").arg(position.line).arg(position.column);
    throw Failure{CannotRead, {m_file + place, what, whatToDo}};
}

void Reader::refuse(const Part &part, const QString &what, const QString &whatToDo) const
{
    refuseAt(part.isName ? position::ofName(m_text, part.path)
                         : position::ofValue(m_text, part.path),
             what, whatToDo);
}

void Reader::requireUtf8() const
{
    // The conversion stops at the first NUL. UTF-16 has many, so this finds UTF-16, too.
    const QByteArray again = QString::fromUtf8(m_text.constData()).toUtf8();
    const auto [byte, other] =
        std::mismatch(m_text.cbegin(), m_text.cend(), again.cbegin(), again.cend());
    if (byte != m_text.cend())
        refuseAt(position::Offset(byte - m_text.cbegin()), "this is not UTF-8",
                 "save the file as UTF-8");
}

QJsonDocument Reader::parsed() const
{
    QJsonParseError error{};
    QJsonDocument document = QJsonDocument::fromJson(m_text, &error);
    if (error.error == QJsonParseError::NoError)
        return document;
    // Qt says where it has stopped: behind what it does not understand and the blanks after that, and
    // sometimes behind the end of the text.
    auto offset = std::min<position::Offset>(error.offset, m_text.size());
    if (error.error != QJsonParseError::GarbageAtEnd) {
        while (offset > 0 && std::isspace(m_text[offset - 1]) != 0)
            --offset;
        offset = std::max<position::Offset>(offset - 1, 0);
    }
    refuseAt(offset, "this is no JSON: " + error.errorString(), "correct it");
}

void Reader::requireObject(const Part &part) const
{
    if (!part.json.isObject())
        refuse(part, "this is no object", "write its members in braces");
}

void Reader::requireMembers(const Part &part, const QStringList &known) const
{
    requireObject(part);
    const QVector<Part> members = part.members();
    for (const Part &member : members) {
        const QString &name = member.path.last();
        if (!known.contains(name))
            refuse(member.name(), "there is no such member",
                   names::suggestion(name, known, "use " + known.join(", ")));
    }
}

void Reader::requireArray(const Part &part) const
{
    if (!part.json.isArray())
        refuse(part, "this is no array", "write its items in brackets");
}

bool Reader::boolOf(const Part &part) const
{
    if (!part.json.isBool())
        refuse(part, "this is neither true nor false", "write one of them, without quotes");
    return part.json.toBool();
}

int Reader::numberOf(const Part &part) const
{
    using Limits = std::numeric_limits<int>;
    const double number = part.json.toDouble();
    if (!part.json.isDouble() || std::trunc(number) != number || number < Limits::min()
        || number > Limits::max())
        refuse(part, "this is no whole number of 32 bits", "write one, without quotes");
    return static_cast<int>(number);
}

QString Reader::textOf(const Part &part) const
{
    if (!part.json.isString())
        refuse(part, "this is no text", "write it in quotes");
    QString text = part.json.toString();
    if (!canHold(text)) {
        refuse(part, "this has a character that not every file gives back",
               "leave out U+0000, U+FEFF and halves of surrogate pairs");
    }
    return text;
}

QStringList Reader::textsOf(const Part &part) const
{
    requireArray(part);
    QStringList result;
    const QVector<Part> items = part.items();
    for (const Part &item : items)
        result.append(textOf(item));
    return result;
}

Setting Reader::settingOf(const Part &part) const
{
    const QString name = textOf(part);
    const QString stored = entries::nameAsRead(name);
    if (stored.isEmpty())
        refuse(part, "this names no key", "write GROUP/KEY");
    if (stored != name)
        refuse(part, "a file cannot express this name", "use " + stored);
    return Setting::named(name);
}

value::Type Reader::typeOf(const Part &part) const
{
    const QString name = textOf(part);
    QStringList names;
    for (const auto type :
         {value::Type::Text, value::Type::Int, value::Type::Bool, value::Type::List}) {
        if (value::nameOf(type) == name)
            return type;
        names.append(value::nameOf(type));
    }
    refuse(part, "there is no such type",
           names::suggestion(name, names, "use " + names.join(", ")));
}

QVariant Reader::valueOf(const Part &part, value::Type type) const
{
    switch (type) {
    case value::Type::Int:
        return numberOf(part);
    case value::Type::Bool:
        return boolOf(part);
    case value::Type::List:
        return textsOf(part);
    case value::Type::Text:
        break;
    }
    return textOf(part);
}

QVariant Reader::allowedValueOf(const Part &part, const Described &described) const
{
    QVariant value = valueOf(part, described.type);
    if (const auto breach = breachOf(described, value))
        refuse(part, "this " + breach->what, "correct the one or the other");
    return value;
}

QStringList Reader::valuesOf(const Part &part, value::Type type) const
{
    if (type == value::Type::Bool)
        refuse(part, "a bool has two values, which need no list", "remove the member");
    requireArray(part);
    const QVector<Part> items = part.items();
    if (items.isEmpty())
        refuse(part, "no value would be allowed", "name one, or remove the member");
    QStringList result;
    QSet<QString> known;
    for (const Part &item : items) {
        const QString text =
            type == value::Type::Int ? QString::number(numberOf(item)) : textOf(item);
        if (known.contains(text))
            refuse(item, "this value is there already", "remove one of them");
        known.insert(text);
        result.append(text);
    }
    return result;
}

std::optional<int> Reader::limitOf(const Part &part, const QString &name,
                                   const Described &described) const
{
    const auto limit = part.find(name);
    if (!limit)
        return {};
    if (described.type != value::Type::Int)
        refuse(limit->name(), "only an int has limits", "remove it, or write \"type\": \"int\"");
    if (!described.values.isEmpty())
        refuse(limit->name(), "there are values, too", "remove these or the limits");
    return numberOf(*limit);
}

OldName Reader::oldNameOf(const Part &part, const Described &described) const
{
    static const QStringList members{"name", "values"};
    if (part.json.isString())
        return {settingOf(part), {}};
    requireMembers(part, members);
    const auto name = part.find("name");
    if (!name)
        refuse(part, "the member \"name\" is missing", "add it");
    OldName result{settingOf(*name), {}};
    const auto table = part.find("values");
    if (!table)
        return result;
    requireObject(*table);
    const QVector<Part> values = table->members();
    for (const Part &value : values) {
        const QString older = textOf(value.name());
        const QVariant today = allowedValueOf(value, described);
        if (value::isList(today) && today.toStringList().isEmpty())
            refuse(value, "a file cannot express an empty list", "name an item");
        result.values.insert(older, today);
    }
    return result;
}

Described Reader::describedOf(const Part &part) const
{
    static const QStringList members{"type",    "values", "minimum", "maximum", "description",
                                     "default", "since",  "was",     "secret",  "keep"};
    Described result;
    result.setting = settingOf(part.name());
    requireMembers(part, members);
    if (const auto type = part.find("type"))
        result.type = typeOf(*type);
    if (const auto values = part.find("values"))
        result.values = valuesOf(*values, result.type);
    result.minimum = limitOf(part, "minimum", result);
    result.maximum = limitOf(part, "maximum", result);
    if (result.minimum && result.maximum && *result.minimum > *result.maximum)
        refuse(*part.find("minimum"), "the minimum is above the maximum", "correct one of them");
    if (const auto text = part.find("description"))
        result.text = textOf(*text);
    if (const auto byDefault = part.find("default"))
        result.defaultValue = allowedValueOf(*byDefault, result);
    if (const auto since = part.find("since"))
        result.since = textOf(*since);
    if (const auto was = part.find("was")) {
        requireArray(*was);
        const QVector<Part> older = was->items();
        for (const Part &old : older)
            result.was.append(oldNameOf(old, result));
    }
    if (const auto secret = part.find("secret"))
        result.isSecret = boolOf(*secret);
    if (const auto keep = part.find("keep"))
        result.isKept = boolOf(*keep);
    return result;
}

// If two settings had one name, an entry would be meant for both.
void Reader::requireOwnNames(const QVector<Part> &settings) const
{
    QHash<QString, QString> owners;
    for (const Part &setting : settings)
        owners.insert(setting.path.last(), setting.path.last());
    for (const Part &setting : settings) {
        const QString today = setting.path.last();
        const auto was = setting.find("was");
        const QVector<Part> older = was ? was->items() : QVector<Part>();
        for (const Part &old : older) {
            const Part place = old.find("name").value_or(old);
            const QString name = place.json.toString();
            if (name == today)
                refuse(place, "this is the setting's name of today",
                       "give changed values a new name");
            if (owners.contains(name))
                refuse(place, "this name belongs to " + owners[name] + " already",
                       "let it belong to one setting");
            owners.insert(name, today);
        }
    }
}

Description Reader::description() const
{
    static const QStringList members{"$schema", "settings"};
    requireUtf8();
    const QJsonDocument document = parsed();
    if (const auto offset = position::ofRepeatedName(m_text))
        refuseAt(*offset, "this member is there already", "remove one of them");
    const Part root{
        document.isObject() ? QJsonValue(document.object()) : QJsonValue(document.array()), {}};
    requireMembers(root, members);
    if (const auto schema = root.find("$schema"))
        textOf(*schema);
    const auto settings = root.find("settings");
    if (!settings)
        refuse(root, "the member \"settings\" is missing", "add it");
    requireObject(*settings);
    QVector<Described> all;
    const QVector<Part> parts = settings->members();
    for (const Part &part : parts)
        all.append(describedOf(part));
    requireOwnNames(parts);
    return {m_file, all};
}

} // namespace

// Qt 6 drops a byte order mark, neither version keeps half a pair, and NUL ends a C string.
bool canHold(const QString &text)
{
    return !text.contains(QChar::Null) && !text.contains(QChar(QChar::ByteOrderMark))
        && text.isValidUtf16();
}

Description read(const QByteArray &json, const QString &file)
{
    const bool isMarked = json.startsWith(byteOrderMark);
    return Reader(isMarked ? json.mid(3) : json, file).description();
}

} // namespace description
