// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QString>

namespace stbui {

struct CmdLineArgs
{
    qint32 logLevel = -1;
    QString skin = "none"; // shows whose record the library was built against
    bool demoMode = false;
    QString region;
};

} // namespace stbui
