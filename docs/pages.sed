# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# How Doxygen shall read a page. A link to a public header means its reference; a folder or script
# has no page and a heading no name; any other file lies beside the pages (HTML_EXTRA_FILES). Where a
# link leads up, Doxygen would take a file of that name beside the checkout. A % that stands before a
# word would vanish.
s#](\(\.\./\)*\(stb[a-z]*/[a-z]*\.h\))#](@ref \2)#g
s#\[\([^]]*\)\](\(\.\./\)*[a-z][a-z/]*)#\1#g
s#\(\.md\)\#[a-z0-9-]*)#\1)#g
s#](\.\./\([A-Za-z-]*\.md\))#](\1)#g
s#](\([^)@:]*/\)\{0,1\}\([A-Za-z-]*\(\.cpp\|\.conf\|\.cmake\)\{0,1\}\))#](./\2)#g
s#`\([^`]*\)%\([A-Za-z]\)#`\1%%\2#g
