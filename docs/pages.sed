# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# How Doxygen shall read a page: a link to a public header means its reference, and any other file
# but a page lies beside the pages (HTML_EXTRA_FILES). A single % before a word would vanish.
s#](\(\.\./\)*\(stb[a-z]*/[a-z]*\.h\))#](@ref \2)#g
s#](\([^)@:]*/\)\{0,1\}\([A-Za-z-]*\(\.cpp\|\.conf\)\{0,1\}\))#](./\2)#g
s#`\([^`]*\)%\([A-Za-z]\)#`\1%%\2#g
