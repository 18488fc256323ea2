# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Tells Doxygen what a link of a page means. A link to a public header leads to its reference, and one to
# a page of the manual to what scripts/docs makes of it, whose name has no dots. Doxygen has no page for a folder or a script and
# no name for a heading, so links to these become plain text or lose the heading. Any other file lies
# beside the pages (HTML_EXTRA_FILES). Doxygen would take "../FILE" for a file beside the checkout, so the
# dots go. It would also drop a % that stands before a word.
s#](\(\.\./\)*\(stb[a-z]*/[a-z]*\.h\))#](@ref \2)#g
s#](\(\.\./\)*tools/stbconfig/man/\([a-z.-]*[0-9]\)\.scd)#](@ref \2)#g
:dots
s#\(@ref stb[a-z-]*\)\.\([a-z.-]*[0-9])\)#\1-\2#
t dots
s#\[\([^]]*\)\](\(\.\./\)*[a-z][a-z/]*)#\1#g
s#\(\.md\)\#[a-z0-9-]*)#\1)#g
s#](\.\./\([A-Za-z-]*\.md\))#](\1)#g
s#](\([^)@:]*/\)\{0,1\}\([A-Za-z0-9-]*\(\.h\|\.cpp\|\.conf\|\.cmake\|\.txt\)\{0,1\}\))#](./\2)#g
s#`\([^`]*\)%\([A-Za-z]\)#`\1%%\2#g
