// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TESTS_FUZZ_INPUT_H
#define STBCONFIG_TESTS_FUZZ_INPUT_H

#include <QtCore/QVariant>

#include <cstddef>
#include <cstdint>

/// The fuzzer calls this for each input, and replay.cpp for each file of the corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/// Qt unpacks "@Variant(" and "@DateTime(" by its serialisation, which allocates whatever size it is
/// told: hostile bytes there exhaust the memory or end the process, and the library cannot prevent
/// it. This finds every spelling of the two, so that a target can skip them and search everything
/// else.
bool isPackedByQt(const QByteArray &content);

struct Pair
{
    QString group;
    QString key;
};

/// Takes the decisions of a run from the fuzzer's bytes. When they have run out, all are 0.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size) : next(data), end(data + size) {}

    bool isAtEnd() const { return next == end; }
    unsigned byte() { return isAtEnd() ? 0 : *next++; }
    bool flag() { return (byte() & 1U) != 0; }

    template <typename T, std::size_t size>
    const T &oneOf(const T (&table)[size])
    {
        return table[byte() % size];
    }

    /// Returns up to 31 UTF-16 units, paired or not.
    QString text();

    /// Returns a name that is likely to come again, ordinary or hostile.
    QString knownName();

    /// Returns one of the above.
    QString name() { return flag() ? knownName() : text(); }

    /// Returns a group and a key, most of the time one of a few, so that storages hold the same.
    Pair pair();

    /// Returns a text that some reader understands, or nearly.
    const char *word();

    /// Returns a value of any of the types that applications store.
    QVariant value();

private:
    qlonglong number();

    const std::uint8_t *next;
    const std::uint8_t *end;
};

#endif
