// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Stands in for the fuzzer where there is none: runs a target once for each file of a folder.

#include "input.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>

#include <cstdio>

int main(int argc, char **argv)
{
    int runs = 0;
    for (QDirIterator files(QFile::decodeName(argv[argc - 1]), QDir::Files); files.hasNext();) {
        QFile file(files.next());
        if (!file.open(QFile::ReadOnly))
            continue;
        const QByteArray content = file.readAll();
        std::printf("%s\n", qUtf8Printable(file.fileName()));
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.constData()),
                               static_cast<std::size_t>(content.size()));
        ++runs;
    }
    return runs > 0 ? 0 : 1;
}
