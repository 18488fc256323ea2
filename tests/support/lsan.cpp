// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Qt 5 never frees a part of what it has read when it meets something that is not JSON. Its symbols are
// stripped, so the leak sanitizer must be told to ignore all of Qt Core.
extern "C" const char *__lsan_default_suppressions();

extern "C" const char *__lsan_default_suppressions() { return "leak:libQt5Core"; }
