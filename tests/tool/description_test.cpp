// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <description.h>
#include <position.h>
#include <reader.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSize>

#include <gmock/gmock.h>

#include <random>

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::string complaintOf(const QByteArray &json)
{
    try {
        description::read(json, "file");
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status, CannotRead);
        return failure.problem.line().toStdString();
    }
    return "accepted";
}

// The description of one setting, A/b.
QByteArray withMembers(const QByteArray &members)
{
    return "{\"settings\": {\"A/b\": {" + members + "}}}";
}

Description described(const QByteArray &members)
{
    return description::read(withMembers(members), "file");
}

std::string breachOf(const QByteArray &members, const QVariant &value)
{
    const auto breach = description::breachOf(described(members).all().first(), value);
    return breach ? (breach->what + "; " + breach->nearest).toStdString() : "allowed";
}

TEST(DescriptionReader, GivesEveryMemberOfASetting)
{
    const Description read = described(R"("type": "int", "minimum": -1, "maximum": 100,
        "default": 30, "description": "L\u00f6ud", "since": "1.2", "secret": true, "keep": true,
        "was": [{"name": "C/d", "values": {"loud": 100}}, "e"])");
    const Described &setting = read.all().first();
    EXPECT_EQ(setting.setting.name(), "A/b");
    EXPECT_EQ(setting.type, value::Type::Int);
    EXPECT_EQ(setting.minimum, -1);
    EXPECT_EQ(setting.maximum, 100);
    EXPECT_EQ(setting.defaultValue, QVariant(30));
    EXPECT_EQ(setting.text, QString::fromUtf8("Löud"));
    EXPECT_EQ(setting.since, "1.2");
    EXPECT_TRUE(setting.isSecret);
    EXPECT_TRUE(setting.isKept);
    ASSERT_EQ(setting.was.size(), 2);
    EXPECT_EQ(setting.was[0].setting.name(), "C/d");
    EXPECT_EQ(setting.was[0].values, (QHash<QString, QVariant>{{"loud", 100}}));
    EXPECT_EQ(setting.was[1].setting.name(), "e");
    EXPECT_EQ(read.find(setting.setting), &setting);
    EXPECT_EQ(read.findOld({"C", "d"}), &setting);
    EXPECT_EQ(read.findOld({{}, "e"}), &setting);
}

TEST(DescriptionReader, TakesASettingForATextOfWhichNothingIsKnown)
{
    const Description read = described("");
    const Described &setting = read.all().first();
    EXPECT_EQ(setting.type, value::Type::Text);
    EXPECT_FALSE(setting.defaultValue || setting.minimum || setting.maximum);
    EXPECT_TRUE(setting.values.isEmpty() && setting.was.isEmpty());
    EXPECT_FALSE(setting.isSecret || setting.isKept);
}

TEST(DescriptionReader, GivesDefaultsOfTheTypeThatTheApplicationPasses)
{
    EXPECT_EQ(described(R"("default": "1")").all().first().defaultValue, QVariant("1"));
    EXPECT_EQ(described(R"("type": "bool", "default": false)").all().first().defaultValue,
              QVariant(false));
    EXPECT_EQ(described(R"("type": "list", "default": ["a", "b"])").all().first().defaultValue,
              QVariant(QStringList{"a", "b"}));
    EXPECT_EQ(described(R"("type": "list", "default": [])").all().first().defaultValue,
              QVariant(QStringList()));
    EXPECT_EQ(
        described(R"("type": "int", "values": [-0, 1e2], "default": 100.0)").all().first().values,
        (QStringList{"0", "100"}));
}

struct Complaint
{
    QByteArray json;
    const char *said;
};

TEST(DescriptionReader, SaysInOneLineWhereWhatIsWrong)
{
    const Complaint table[] = {
        {"", "file:1:1: this is no JSON: illegal value; correct it"},
        {"\n", "file:1:1: this is no JSON: illegal value; correct it"},
        {"\n x", "file:2:2: this is no JSON: illegal value; correct it"},
        {"[]", "file:1:1: this is no object; write its members in braces"},
        {"\n {}", "file:2:2: the member \"settings\" is missing; add it"},
        {R"({"settings": []})", "file:1:14: this is no object; write its members in braces"},
        {R"({"settings": {}, "x": 1})",
         "file:1:18: there is no such member; use $schema, settings"},
        {R"({"setting": {}})", "file:1:2: there is no such member; did you mean settings?"},
        {R"({"$schema": 1, "settings": {}})", "file:1:13: this is no text; write it in quotes"},
        {R"({"settings": {"A/b": {}}} x)",
         "file:1:27: this is no JSON: garbage at the end of the document; correct it"},
        {"{\"settings\": {\"A/b\": {},\n \"A\\/b\": {}}}",
         "file:2:2: this member is there already; remove one of them"},
        {R"({"settings": {"A/b": {"type": "int", "type": "int"}}})",
         "file:1:38: this member is there already; remove one of them"},
        {R"({"settings": {"a": {"was": ["c"]}, "b": {"was": [{"name": "c"}]}}})",
         "file:1:59: this name belongs to a already; let it belong to one setting"},
        {R"({"settings": {"a": {"was": ["b"]}, "b": {}}})",
         "file:1:29: this name belongs to b already; let it belong to one setting"},
        {R"({"settings": {"a": {"was": ["c", "a"]}}})",
         "file:1:34: this is the setting's name of today; give changed values a new name"},
        {R"({"settings": {"a": {"was": ["c", "c"]}}})",
         "file:1:34: this name belongs to a already; let it belong to one setting"},
        {R"({"settings": {"": {}}})", "file:1:15: this names no key; write GROUP/KEY"},
        {R"({"settings": {"/a": {}}})", "file:1:15: a file cannot express this name; use a"},
        {R"({"settings": {"a//b/": {}}})", "file:1:15: a file cannot express this name; use a/b"},
        {R"({"settings": {"gEneral/b": {}}})",
         "file:1:15: a file cannot express this name; use General/b"},
        {R"({"settings": {"a": {"was": ["a/"]}}})",
         "file:1:29: a file cannot express this name; use a"},
        {R"({"settings": {"a\u0000": {}}})",
         "file:1:15: this has a character that not every file gives back; leave out U+0000, U+FEFF "
         "and halves of surrogate pairs"},
    };
    for (const auto &[json, said] : table)
        EXPECT_EQ(complaintOf(json), said) << json.constData();
}

TEST(DescriptionReader, SaysWhichMemberOfASettingIsWrong)
{
    // Each text stands behind 22 characters of the line.
    const Complaint table[] = {
        {R"("typ": 1)", "file:1:23: there is no such member; did you mean type?"},
        {R"("colour": 1)",
         "file:1:23: there is no such member; use type, values, minimum, "
         "maximum, description, default, since, was, secret, keep"},
        {R"("type": "integer")", "file:1:31: there is no such type; use text, int, bool, list"},
        {R"("type": "lst")", "file:1:31: there is no such type; did you mean list?"},
        {R"("type": 1)", "file:1:31: this is no text; write it in quotes"},
        {R"("values": "a")", "file:1:33: this is no array; write its items in brackets"},
        {R"("values": [])", "file:1:33: no value would be allowed; name one, or remove the member"},
        {R"("values": ["a", "a"])", "file:1:39: this value is there already; remove one of them"},
        {R"("values": ["a", 1])", "file:1:39: this is no text; write it in quotes"},
        {R"("type": "bool", "values": [true])",
         "file:1:49: a bool has two values, which need no list; remove the member"},
        {R"("minimum": 1)",
         "file:1:23: only an int has limits; remove it, or write \"type\": \"int\""},
        {R"("maximum": 1)",
         "file:1:23: only an int has limits; remove it, or write \"type\": \"int\""},
        {R"("type": "int", "values": [1], "minimum": 1)",
         "file:1:53: there are values, too; remove these or the limits"},
        {R"("type": "int", "minimum": 2, "maximum": 1)",
         "file:1:49: the minimum is above the maximum; correct one of them"},
        {R"("type": "int", "default": 1.5)",
         "file:1:49: this is no whole number of 32 bits; write one, without quotes"},
        {R"("type": "int", "default": 2147483648)",
         "file:1:49: this is no whole number of 32 bits; write one, without quotes"},
        {R"("type": "int", "default": -2147483649)",
         "file:1:49: this is no whole number of 32 bits; write one, without quotes"},
        {R"("type": "int", "default": "1")",
         "file:1:49: this is no whole number of 32 bits; write one, without quotes"},
        {R"("type": "int", "default": 1e400)",
         "file:1:53: this is no JSON: illegal number; correct it"},
        {R"("type": "int", "minimum": 5, "default": 4)",
         "file:1:63: this is below the minimum, 5; correct the one or the other"},
        {R"("values": ["a", "b"], "default": "c")",
         "file:1:56: this is none of a, b; correct the one or the other"},
        {R"("type": "list", "values": ["a"], "default": ["a", "c"])",
         "file:1:67: this has an item that is none of a; correct the one or the other"},
        {R"("type": "list", "default": "a")",
         "file:1:50: this is no array; write its items in brackets"},
        {R"("default": null)", "file:1:34: this is no text; write it in quotes"},
        {R"("description": 1)", "file:1:38: this is no text; write it in quotes"},
        {R"("since": 1)", "file:1:32: this is no text; write it in quotes"},
        {R"("secret": "true")",
         "file:1:33: this is neither true nor false; write one of them, without quotes"},
        {R"("keep": 1)",
         "file:1:31: this is neither true nor false; write one of them, without quotes"},
        {R"("was": "c")", "file:1:30: this is no array; write its items in brackets"},
        {R"("was": [1])", "file:1:31: this is no object; write its members in braces"},
        {R"("was": [{}])", "file:1:31: the member \"name\" is missing; add it"},
        {R"("was": [{"name": "c", "x": 1}])",
         "file:1:45: there is no such member; use name, values"},
        {R"("was": [{"name": "c", "values": []}])",
         "file:1:55: this is no object; write its members in braces"},
        {R"("was": ["x", {"name": "c", "values": {"a": "b", "d": 1}}])",
         "file:1:76: this is no text; write it in quotes"},
        {R"("was": [{"name": "c", "values": {"\ud800": "b"}}])",
         "file:1:56: this has a character that not every file gives back; leave out U+0000, U+FEFF "
         "and halves of surrogate pairs"},
        {R"("type": "list", "was": [{"name": "c", "values": {"a": []}}])",
         "file:1:77: a file cannot express an empty list; name an item"},
        {R"("type": "int", "maximum": 3, "was": [{"name": "c", "values": {"a": 4}}])",
         "file:1:90: this is above the maximum, 3; correct the one or the other"},
    };
    for (const auto &[members, said] : table)
        EXPECT_EQ(complaintOf(withMembers(members)), said) << members.constData();
}

TEST(DescriptionReader, RefusesATextThatIsNoUtf8WhereThatBegins)
{
    const char said[] = "this is not UTF-8; save the file as UTF-8";
    EXPECT_THAT(complaintOf("{\n\"\xc3\xa4\xff\": 1}"),
                AllOf(StartsWith("file:2:3: "), EndsWith(said)));
    EXPECT_THAT(complaintOf(QByteArray("\xff\xfe{\0}\0", 6)),
                AllOf(StartsWith("file:1:1: "), EndsWith(said)));
    EXPECT_THAT(complaintOf(QByteArray("{\0}\0", 4)),
                AllOf(StartsWith("file:1:2: "), EndsWith(said)));
}

TEST(DescriptionReader, OverlooksAByteOrderMark)
{
    EXPECT_EQ(complaintOf("\xef\xbb\xbf{\"settings\": {}}"), "accepted");
    EXPECT_THAT(complaintOf("\xef\xbb\xbf{}"), StartsWith("file:1:1: the member"));
}

TEST(DescriptionReader, PointsAtWhatIsNoJson)
{
    EXPECT_THAT(complaintOf("{\"settings\": {\r\n\"a\" {}}}"), StartsWith("file:2:5: "));
    EXPECT_THAT(complaintOf("{\"settings\": {\r\n\"a\": {},  \r\n  }}"), StartsWith("file:3:3: "));
    EXPECT_THAT(complaintOf("{\"settings\": {\"a\": {}  \n\n"), StartsWith("file:1:21: "));
    EXPECT_THAT(complaintOf("{\"settings\": {a: 1}}"), StartsWith("file:1:15: "));
    EXPECT_THAT(complaintOf("{\"settings\": tru}"), StartsWith("file:1:14: "));
    EXPECT_THAT(complaintOf(QByteArray(100000, '[')),
                HasSubstr("too deeply nested document; correct it"));
}

TEST(DescriptionReader, AcceptsNamesThatAreOddAndThatFilesGiveBack)
{
    for (const char *name :
         {"General/b", "%General/b", "generals/b", "GENERAL", "a/b/c", " a", "a\\\\",
          "[x]/=", "a/;", "\xd0\xba/\xf0\x9f\x98\x80", "a\\nb", "a/general/b"})
        EXPECT_EQ(complaintOf(QByteArray("{\"settings\": {\"") + name + "\": {}}}"), "accepted")
            << name;
}

TEST(DescriptionReader, FindsWhatIsWrongBehindTwentyThousandSettings)
{
    const auto complaint = [](int count) {
        QByteArray json = "{\"settings\": {";
        for (int i = 0; i < count; ++i)
            json += "\"G" + QByteArray::number(i % 7) + '/' + QByteArray::number(i)
                + "\": {\"type\": \"int\", \"was\": [\"old/" + QByteArray::number(i) + "\"]},\n";
        return complaintOf(json + "\"x\": {\"default\": 1}}}");
    };
    EXPECT_EQ(complaint(20000), "file:20001:18: this is no text; write it in quotes");
}

TEST(DescribedValue, IsWhatAnApplicationReads)
{
    const QByteArray number = R"("type": "int", "minimum": 0, "maximum": 50)";
    for (const QVariant &value : {QVariant("050"), QVariant(" 40"), QVariant("-0"), QVariant(7),
                                  QVariant(QByteArray("12"))})
        EXPECT_EQ(breachOf(number, value), "allowed") << value.toString().toStdString();
    for (const QVariant &value :
         {QVariant("4e1"), QVariant("0x10"), QVariant(""), QVariant(), QVariant(QStringList("5")),
          QVariant(QSize(1, 2)), QVariant("2147483648")})
        EXPECT_EQ(breachOf(number, value), "is no whole number of 32 bits; ");
    EXPECT_EQ(breachOf(number, "51"), "is above the maximum, 50; 50");
    EXPECT_EQ(breachOf(number, -1), "is below the minimum, 0; 0");
    EXPECT_EQ(breachOf(number + ", \"default\": 30", "loud"), "is no whole number of 32 bits; 30");
}

TEST(DescribedValue, OfANumberIsTheNearestOne)
{
    const QByteArray members = R"("type": "int", "values": [-2147483648, 10, 20])";
    EXPECT_EQ(breachOf(members, "020"), "allowed");
    EXPECT_EQ(breachOf(members, "14"), "is none of -2147483648, 10, 20; 10");
    EXPECT_EQ(breachOf(members, "2147483647"), "is none of -2147483648, 10, 20; 20");
}

TEST(DescribedValue, OfABooleanIsOneThatPeopleAndApplicationsReadAlike)
{
    const QByteArray members = R"("type": "bool")";
    for (const QVariant &value : {QVariant(true), QVariant("TRUE"), QVariant("0"), QVariant(1)})
        EXPECT_EQ(breachOf(members, value), "allowed") << value.toString().toStdString();
    for (const char *text : {"no", "Off", "disabled", ""})
        EXPECT_EQ(breachOf(members, text), "is neither true nor false; false") << text;
    for (const char *text : {"yes", " 0", "2"})
        EXPECT_EQ(breachOf(members, text), "is neither true nor false; true") << text;
    EXPECT_EQ(breachOf(members, QStringList{"true", "true"}), "is neither true nor false; false");
}

TEST(DescribedValue, OfAListHasItemsThatAreAllowed)
{
    const QByteArray members = R"("type": "list", "values": ["hdmi", "scart"])";
    // A file gives back a list of one item as a text, and an empty list as an invalid value.
    for (const QVariant &value : {QVariant("hdmi"), QVariant(), QVariant(QStringList()),
                                  QVariant(QVariantList{"hdmi", "scart"})})
        EXPECT_EQ(breachOf(members, value), "allowed") << value.toString().toStdString();
    EXPECT_EQ(breachOf(members, QStringList{"hdmi", "scat"}),
              "has an item that is none of hdmi, scart; scart");
    EXPECT_EQ(breachOf(members, QSize(1, 2)), "is no list; ");
}

TEST(DescribedValue, OfATextIsOneText)
{
    EXPECT_EQ(breachOf("", "anything"), "allowed");
    EXPECT_EQ(breachOf("", 5), "allowed");
    EXPECT_EQ(breachOf("", ""), "allowed");
    EXPECT_EQ(breachOf("", QStringList{"a", "b"}), "is a list, and not one text; ");
    EXPECT_EQ(breachOf(R"("default": "x")", QSize(1, 2)), "is no text; x");
    const QByteArray members = R"("values": ["hdmi", "scart"], "default": "scart")";
    EXPECT_EQ(breachOf(members, "hdmi"), "allowed");
    EXPECT_EQ(breachOf(members, "HDMI"), "is none of hdmi, scart; hdmi");
    EXPECT_EQ(breachOf(members, "composite"), "is none of hdmi, scart; scart");
}

TEST(DescribedValue, IsSaidForAPerson)
{
    const auto allowed = [](const QByteArray &members) {
        return description::allowed(described(members).all().first()).toStdString();
    };
    EXPECT_EQ(allowed(""), "a text");
    EXPECT_EQ(allowed(R"("values": ["a", "b"])"), "a, b");
    EXPECT_EQ(allowed(R"("type": "bool")"), "true or false");
    EXPECT_EQ(allowed(R"("type": "list")"), "a list");
    EXPECT_EQ(allowed(R"("type": "list", "values": ["a"])"), "a list of a");
    EXPECT_EQ(allowed(R"("type": "int")"), "a whole number");
    EXPECT_EQ(allowed(R"("type": "int", "minimum": 0)"), "a whole number, at least 0");
    EXPECT_EQ(allowed(R"("type": "int", "maximum": 9)"), "a whole number, at most 9");
    EXPECT_EQ(allowed(R"("type": "int", "minimum": 0, "maximum": 9)"),
              "a whole number from 0 to 9");
    EXPECT_EQ(allowed(R"("type": "int", "values": [3, 1])"), "3, 1");
    EXPECT_EQ(allowed(R"("values": ["1","2","3","4","5","6","7","8","9","10","11","12","13"])"),
              "1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, and others");
}

TEST(Position, CountsCharactersAndTheLinesOfAnySystem)
{
    const QByteArray text = "a\xc3\xa4\xf0\x9f\x98\x80z\r\nb\rc\nd";
    const auto of = [&text](position::Offset offset) {
        const Position found = position::of(text, offset);
        return QString("%1:%2").arg(found.line).arg(found.column).toStdString();
    };
    EXPECT_EQ(of(0), "1:1");
    EXPECT_EQ(of(text.indexOf('z')), "1:4");
    EXPECT_EQ(of(text.indexOf('b')), "2:1");
    EXPECT_EQ(of(text.indexOf('c')), "3:1");
    EXPECT_EQ(of(text.indexOf('d')), "4:1");
    EXPECT_EQ(of(text.size()), "4:2");
    EXPECT_EQ(of(text.size() + 7), "4:2");
}

// A random text of JSON, with the place where each value and each name in it begins.
class RandomJson
{
public:
    explicit RandomJson(unsigned seed) : random(seed) { addValue({}, 4); }

    QByteArray text;
    QVector<std::pair<position::Path, position::Offset>> values;
    QVector<std::pair<position::Path, position::Offset>> names;

private:
    unsigned below(unsigned count) { return static_cast<unsigned>(random()) % count; }

    void addBlanks()
    {
        for (auto count = below(3); count > 0; --count)
            text += " \t\r\n"[below(4)];
    }

    void addName(const position::Path &path)
    {
        names.append({path, text.size()});
        const QByteArray escaped =
            QJsonDocument(QJsonArray{path.last()}).toJson(QJsonDocument::Compact);
        text += escaped.mid(1, escaped.size() - 2);
    }

    void addValue(const position::Path &path, unsigned depth)
    {
        static const QByteArray scalars[] = {"1",       "-2.5e3",  "true",    "null",   R"("")",
                                             R"("\"")", R"("a]")", R"("{,")", R"("\\")"};
        static const QString members[] = {"a", "\"", "b\\", "}",
                                          ",", ":",  "[",   QString(QChar(0xe4))};
        addBlanks();
        values.append({path, text.size()});
        const auto kind = path.isEmpty() ? 0 : below(depth == 0 ? 1 : 3);
        if (kind == 0 && !path.isEmpty()) {
            text += scalars[below(9)];
            addBlanks();
            return;
        }
        const bool isObject = kind != 1;
        text += isObject ? '{' : '[';
        addBlanks();
        const unsigned count = below(5);
        for (unsigned i = 0; i < count; ++i) {
            if (i != 0)
                text += ',';
            addBlanks();
            const position::Path inside = position::Path(path)
                << (isObject ? members[i] : QString::number(i));
            if (isObject) {
                addName(inside);
                addBlanks();
                text += ':';
            }
            addValue(inside, depth == 0 ? 0 : depth - 1);
        }
        text += isObject ? '}' : ']';
        addBlanks();
    }

    std::mt19937 random;
};

TEST(Position, IsFoundForEveryValueAndNameOfAnyJson)
{
    for (unsigned seed = 0; seed < 500; ++seed) {
        const RandomJson json(seed);
        ASSERT_FALSE(QJsonDocument::fromJson(json.text).isNull()) << json.text.constData();
        for (const auto &[path, offset] : json.values)
            ASSERT_EQ(position::ofValue(json.text, path), offset) << json.text.constData();
        for (const auto &[path, offset] : json.names)
            ASSERT_EQ(position::ofName(json.text, path), offset) << json.text.constData();
        ASSERT_FALSE(position::ofRepeatedName(json.text)) << json.text.constData();
    }
}

TEST(Position, OfARepeatedNameIsThatOfTheSecond)
{
    EXPECT_EQ(position::ofRepeatedName(R"({"a": 1, "a": 2, "a": 3})"), 9);
    EXPECT_EQ(position::ofRepeatedName(R"({"a": {"b": [{"c": 1}, {"c": 2, "\u0063": 3}]}})"), 32);
    EXPECT_FALSE(position::ofRepeatedName(R"({"a": {"a": ["a", "a"]}, "b": "a"})"));
}

} // namespace
