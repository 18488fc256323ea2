// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef QMLSETTINGS_H
#define QMLSETTINGS_H

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>

#include <QtCore/QObject>

// The settings that the pages show, each with its type, its default and a signal, so that bindings follow.
class QmlSettings final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int volume READ volume WRITE setVolume NOTIFY volumeChanged)
    Q_PROPERTY(QString output READ output CONSTANT)

public:
    explicit QmlSettings(const stbconfig::ConfigurationManager &settings, QObject *parent = nullptr)
        : QObject(parent), m_settings(settings)
    {}

    int volume() const { return m_settings.value("Audio", "volume", 30).toInt(); }

    void setVolume(int volume)
    {
        if (volume == this->volume())
            return;
        m_settings.dynamicStorage(stbconfig::ConfigurationManager::CustomConfPersistent)
            ->setValue("Audio", "volume", volume);
        emit volumeChanged();
    }

    QString output() const { return m_settings.value("Video", "output", "hdmi").toString(); }

signals:
    void volumeChanged();

private:
    const stbconfig::ConfigurationManager &m_settings;
};

#endif
