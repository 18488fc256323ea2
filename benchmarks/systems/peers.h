// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

#ifndef STBCONFIG_BENCHMARKS_PEERS_H
#define STBCONFIG_BENCHMARKS_PEERS_H

#include "qsettings.h"
#ifdef HAVE_KCONFIG
#include "kconfig.h"
#endif
#ifdef HAVE_POCO
#include "poco.h"
#endif
#ifdef HAVE_GLIB
#include "glib.h"
#endif
#ifdef HAVE_BOOST
#include "propertytree.h"
#endif

/// Calls visit with one null pointer of the type of each peer that was found at configure time.
template <typename Visitor>
void forEachPeer(Visitor visit)
{
    visit(static_cast<SingleQSettings *>(nullptr));
#ifdef HAVE_KCONFIG
    visit(static_cast<KConfigFiles *>(nullptr));
#endif
#ifdef HAVE_POCO
    visit(static_cast<PocoLayers *>(nullptr));
#endif
#ifdef HAVE_GLIB
    visit(static_cast<GKeyFiles *>(nullptr));
#endif
#ifdef HAVE_BOOST
    visit(static_cast<PropertyTree *>(nullptr));
#endif
}

#endif
