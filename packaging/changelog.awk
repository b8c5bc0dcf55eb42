# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Converts CHANGELOG.md to the format of deb-changelog(5). Variables: maintainer, and date, that of
# the first release listed; the others have the one of CHANGELOG.md. mktime needs TZ=UTC0.

function end_item(    count, words, i, line) {
    count = split(item, words, " ")
    line = "  *"
    for (i = 1; i <= count; i++) {
        if (length(line " " words[i]) > 79) {
            print line
            line = "   "
        }
        line = line " " words[i]
    }
    if (count)
        print line
    item = ""
}

function end_release() {
    end_item()
    if (released)
        printf "\n -- %s  %s\n", maintainer, date
}

/^## / {
    end_release()
    if (released)
        print ""
    released = 1
    if (version) {
        gsub(/-/, " ", $3)
        date = strftime("%a, %d %b %Y %H:%M:%S +0000", mktime($3 " 00 00 00"))
    }
    version = $2
    sub(/,$/, "", version)
    print "switch-querier (" version "-1) " (/not yet released/ ? "UNRELEASED" : "unstable") \
        "; urgency=medium\n"
    next
}
/^- / {
    end_item()
    sub(/^- /, "")
}
released { item = item " " $0 }
END { end_release() }
