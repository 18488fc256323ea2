# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
#
# Fits what mandoc makes of a page of the manual into a page of the site: takes its head and foot away,
# which repeat the title, parts bullets and numbers from their items, and links to the other pages of this
# manual, whose names have no dots here.
/<table class="head">/,/<\/table>/d
/<table class="foot">/,/<\/table>/d
s/&#x2022;/& /
s#\(<div class="Bd-indent">[0-9]*\.\)#\1 #
s#<b>\(stb[a-z.-]*\)</b>(\([157]\))#<a href="\1-\2.html">\1(\2)</a>#g
:dots
s#\(href="stb[a-z-]*\)\.\([a-z.-]*-[157]\.html\)#\1-\2#
t dots
