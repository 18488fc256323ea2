// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_MAKESHARED_P_H
#define STBCONFIG_MAKESHARED_P_H

#include <QtCore/QSharedPointer>

#include <memory>
#include <utility>

namespace stbconfig {

// Makes an object that is destroyed through its own type. Qt's two ways are not safe against a
// failed allocation of the reference counter: QSharedPointer(new T) then loses the object, and
// QSharedPointer<T>::create() destroys a pointer that was never initialised.
template <typename T, typename... Arguments>
QSharedPointer<T> makeShared(Arguments &&...arguments)
{
    auto object = std::make_unique<T>(std::forward<Arguments>(arguments)...);
    QSharedPointer<T> shared(object.get());
    static_cast<void>(object.release()); // it is shared's now
    return shared;
}

} // namespace stbconfig

#endif
