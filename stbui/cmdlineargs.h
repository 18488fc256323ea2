// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBUI_CMDLINEARGS_H
#define STBUI_CMDLINEARGS_H

#include <QtCore/QString>

namespace stbui {

/**
 * What the application was told on its command line.
 *
 * A stbconfig::ConfigurationManager keeps one such record for the application and hands it back
 * unchanged. The library interprets logLevel alone; what the other members mean is between the
 * application and itself. An application with a record of its own builds the library against that
 * one: its first member must be the log level, and the types and their order must be these.
 */
struct CmdLineArgs
{
    qint32 logLevel = -1; ///< 0 ("critical") to 5 ("trace") overrides the stored; -1: not given
    QString startPage; ///< the page to open first; null: not given
    bool fullScreen = false; ///< whether to cover the whole screen
    QString deviceName; ///< the name under which the box presents itself; null: not given
};

} // namespace stbui

#endif
