// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#include <stbconfig/backendinterfaces.h>
#include <stbconfig/configurationmanager.h>
#include <stbconfig/logsconfigwrapper.h>
#include <stbui/cmdlineargs.h>

#include <cstdio>

using stbconfig::ConfigurationManager;
using stbconfig::IStorableBackend;
using stbconfig::LogsConfigWrapper;

namespace {

class CountingHandler final : public stbconfig::IErrorHandler
{
public:
    void handleError(const QString &) override { ++count; }

    int count = 0;
};

int failures = 0;

void check(bool holds, const char *fact)
{
    if (holds)
        return;
    std::fprintf(stderr, "consumer: does not hold: %s\n", fact);
    ++failures;
}

} // namespace

// Uses every class of the library once; its argument is a prefix for the files.
int main(int argc, char *argv[])
{
    const QString prefix = argc > 1 ? argv[1] : "";
    CountingHandler handler;
    ConfigurationManager settings(prefix, prefix, &handler);

    check(settings.value("Video", "output", "hdmi") == "hdmi", "a default is returned");
    check(!settings.dynamicStorage(ConfigurationManager::DhcpOptionsConf) && handler.count == 1,
          "a missing storage is reported");

    auto *storage = settings.readOnlyStorage(ConfigurationManager::TemporaryApplicationStorage);
    auto *writable = dynamic_cast<IStorableBackend *>(storage);
    check(writable, "a storage can be cast to the writable interface");
    check(!dynamic_cast<IStorableBackend *>(
              settings.readOnlyStorage(ConfigurationManager::EnvironmentVariables)),
          "the environment cannot");
    if (writable)
        writable->setValue("Video", "output", "scart");
    check(settings.value("Video", "output", "hdmi") == "scart", "a stored value is returned");

    stbui::CmdLineArgs args;
    args.logLevel = 4;
    settings.setCmdLineArgs(args);
    check(LogsConfigWrapper(settings).level() == 4, "the level comes from the command line");

    check(ConfigurationManager::staticMetaObject.enumeratorCount() == 2, "locations have names");
    return failures == 0 ? 0 : 1;
}
