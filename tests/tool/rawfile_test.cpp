// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <rawfile.h>

#include <QtCore/QFile>
#include <QtCore/QSet>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>

namespace {

const QByteArray pieces[] = {"\n",        "\n",        "\n",         "\r\n",     "\r",
                             "\n\n",      " ",         "\t",         "=",        "=",
                             "a",         "b",         "A",          "key",      "[A]",
                             "[a]",       "[A",        "[B]",        "\n[A]\n",  "]",
                             "\n[ A ]",   "[general]", "[%General]", "\nkey=",   "\na=1",
                             ";",         ";",         "; note",     "#",        "\"",
                             "\"",        "\\",        "\\\n",       "\\\r\n",   "\\\"",
                             "\\;",       ",",         "%20",        "%U0041",   "%",
                             "%4",        "%G1",       "a\\b",       "/",        "\\x41",
                             "[Z]; x\n",  "@",         "@Size(1 2)", "\xc3\xa9", "\xef\xbb\xbf",
                             "x=\"1,2\"", "[]",        "\n ",        "\n;c\n "};

// cppcheck-suppress constParameter ; each number changes it
QByteArray randomText(std::mt19937 &random)
{
    QByteArray text;
    if (random() % 50 == 0)
        text += byteOrderMark;
    const auto count = random() % 14;
    for (unsigned i = 0; i < count; ++i)
        text += pieces[random() % std::size(pieces)];
    return text;
}

struct Reading
{
    bool isMalformed;
    QStringList names;
};

Reading readByTheLibrary(const QString &path)
{
    const QSettings settings(path, QSettings::IniFormat);
    Reading result{false, settings.allKeys()};
    result.isMalformed = settings.status() == QSettings::FormatError;
    result.names.sort();
    return result;
}

Reading readRaw(const QByteArray &text)
{
    Reading result{false, {}};
    QSet<QString> names;
    const QVector<RawLine> lines = rawLines(text);
    for (const RawLine &line : lines) {
        result.isMalformed |= line.kind == RawLine::Malformed;
        if (line.kind == RawLine::Entry)
            names.insert(line.name);
    }
    result.names = QStringList(names.cbegin(), names.cend());
    result.names.sort();
    return result;
}

TEST(RawFile, TakesLinesApartAsTheLibraryDoes)
{
    const QTemporaryDir directory;
    std::mt19937 random(20240229); // NOLINT(cert-msc51-cpp): the same texts each time
    for (int round = 0; round < 4000; ++round) {
        const QByteArray text = randomText(random);
        // Each round has a file of its own, because Qt remembers the files that it has read.
        const QString path = directory.filePath(QString::number(round));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();

        const Reading raw = readRaw(text);
        const Reading real = readByTheLibrary(path);
        file.remove();

        ASSERT_EQ(raw.isMalformed, real.isMalformed) << text.toPercentEncoding().constData();
        ASSERT_EQ(raw.names, real.names)
            << text.toPercentEncoding().constData() << '\n'
            << raw.names.join(QLatin1String(" | ")).toStdString() << '\n'
            << real.names.join(QLatin1String(" | ")).toStdString();
    }
}

} // namespace
