// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

import Player 1.0
import QtQuick 2.15
import QtQuick.Window 2.15

Window {
    visible: true

    Text {
        id: line
        text: "volume " + Settings.volume + " on " + Settings.output
        onTextChanged: console.info(line.text)
    }

    // This stands in for a user who presses a button.
    Component.onCompleted: {
        Settings.volume += 10
        Qt.callLater(Qt.quit)
    }
}
