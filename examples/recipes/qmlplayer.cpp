// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include "qmlsettings.h"

#include <QtGui/QGuiApplication>
#include <QtQml/QQmlApplicationEngine>

int main(int argc, char *argv[])
{
    const QGuiApplication application(argc, argv);
    const stbconfig::ConfigurationManager settings("data/", "defaults/", nullptr);
    QmlSettings qmlSettings(settings);
    qmlRegisterSingletonInstance("Player", 1, 0, "Settings", &qmlSettings);

    const QQmlApplicationEngine engine(QUrl("qrc:/qmlplayer.qml"));
    return engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
}
