# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT

# The command itself says what may come next. fish quotes it, and runs none of it.
function __stbconfig_candidates
    set -l words (commandline --current-process --tokenize --cut-at-cursor)
    for i in (seq (count $words))
        string match --quiet -- '~/*' $words[$i]
        and set words[$i] $HOME(string sub --start 2 -- $words[$i])
    end
    # What is being typed may lack its last quote.
    set -l typed (commandline --current-token --cut-at-cursor)
    set -l word ''
    for quote in '' \' \"
        set word (string unescape -- $typed$quote)
        and break
    end
    # fish leaves a "~" at the beginning as it is, so it must mean the home directory.
    if string match --quiet -- '~/*' $typed
        set -l rest (string sub --start 2 -- $word)
        for candidate in (command $words[1] complete -- $words[2..-1] "$HOME$rest" 2>/dev/null)
            echo '~'(string sub --start (math 1 + (string length -- $HOME)) -- $candidate)
        end
    else
        command $words[1] complete -- $words[2..-1] "$word" 2>/dev/null |
            string match --invert -- '~*'
    end
end

complete --command stbconfig --command stbconfig-qt6 --no-files \
    --arguments '(__stbconfig_candidates)'
