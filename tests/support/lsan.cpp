// SPDX-FileCopyrightText: The stbconfig authors
// SPDX-License-Identifier: MIT

// Qt 5 never frees a part of what it has read when it meets what is no JSON. Its symbols are stripped,
// so that only the whole of it can be named to the leak sanitizer.
extern "C" const char *__lsan_default_suppressions();

extern "C" const char *__lsan_default_suppressions() { return "leak:libQt5Core"; }
