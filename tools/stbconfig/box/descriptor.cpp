// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "descriptor.h"

#include <array>
#include <cerrno>
#include <unistd.h>

Descriptor::~Descriptor()
{
    if (number >= 0)
        close(number);
}

int readAll(int descriptor, QByteArray &bytes, qint64 most)
{
    std::array<char, 16384> buffer{};
    while (bytes.size() <= most) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count == 0)
            return 0;
        if (count > 0)
            bytes.append(buffer.data(), static_cast<int>(count));
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}
