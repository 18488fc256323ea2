// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifdef __SANITIZE_THREAD__

#include <QtCore/QMutex>

#include <dlfcn.h>

// Qt's own library is not instrumented, so the thread sanitizer would not see that a QMutex orders
// anything and call every access under one a race. These stand in front of Qt's functions and
// say so.

extern "C" void __tsan_acquire(void *address);
extern "C" void __tsan_release(void *address);

namespace {

template <typename Function>
Function nextInLine(const char *symbol)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

void QMutex::lock()
{
    static const auto lockOfQt = nextInLine<void (*)(QMutex *)>("_ZN6QMutex4lockEv");
    lockOfQt(this);
    __tsan_acquire(this);
}

void QMutex::unlock()
{
    static const auto unlockOfQt = nextInLine<void (*)(QMutex *)>("_ZN6QMutex6unlockEv");
    __tsan_release(this);
    unlockOfQt(this);
}

#endif
