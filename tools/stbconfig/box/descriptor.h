// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_TOOL_DESCRIPTOR_H
#define STBCONFIG_TOOL_DESCRIPTOR_H

#include <QtCore/QByteArray>

#include <cerrno>

// A file that is open; its number is below 0 if it could not be opened.
class Descriptor
{
public:
    explicit Descriptor(int opened) : number(opened) {}
    ~Descriptor();
    Q_DISABLE_COPY(Descriptor)

    const int number;
};

/// Makes a call again as long as a signal interrupts it.
template <typename Call>
int uninterrupted(Call call)
{
    for (;;) {
        const int result = call();
        if (result >= 0 || errno != EINTR)
            return result;
    }
}

/// Appends what is left to be read, and stops when there are more bytes than the most. Returns 0, or
/// the error that ended the reading.
int readAll(int descriptor, QByteArray &bytes, qint64 most);

#endif
