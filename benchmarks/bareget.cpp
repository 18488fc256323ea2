// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <QtCore/QSettings>

#include <cstdio>

// "stbconfig get" is measured against this program, which asks the same two files and promises
// nothing. It prints the setting, or ends with 1 if neither file holds it.

int main(int argc, char *argv[])
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: stbconfig_bare_get CUSTOM_CONF STBAPP_CONF SETTING\n");
        return 2;
    }
    const QSettings custom(argv[1], QSettings::IniFormat);
    const QSettings defaults(argv[2], QSettings::IniFormat);
    const QString name(argv[3]);
    const QSettings &holder = custom.contains(name) ? custom : defaults;
    if (!holder.contains(name))
        return 1;
    std::puts(holder.value(name).toString().toUtf8().constData());
    return 0;
}
