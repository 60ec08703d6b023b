# Shows Doxygen the comments of a header as those that it reads. In the headers a comment speaks of all declarations up to
# the next blank line, and one behind a declaration of that one. Lines keep their numbers.

{ line[NR] = $0 }

function is_comment(i) { return line[i] ~ /^ *\/\/( |$)/ }
function is_rule(i) { return line[i] ~ /^ *\/\/ ----/ || line[i] ~ /SPDX-License-Identifier/ }

# The first line behind the declarations that begin at i, and how many there are.
function end_of_declarations(i,    indentation) {
    declarations = 0
    match(line[i], /^ */)
    indentation = RLENGTH
    for (; i <= NR && line[i] !~ /^ *$/ && !is_comment(i); i++) {
        match(line[i], /^ */)
        if (RLENGTH < indentation)
            break
        if (RLENGTH == indentation && line[i] ~ /[;}]( *\/\/.*)?$/)
            declarations++
        else if (line[i] ~ /[;{}]$/ && RLENGTH > indentation && declarations == 0)
            return i # a class
        else if (line[i] ~ /[;]$/ && RLENGTH > indentation)
            declarations++ # a declaration of two lines
    }
    return i
}

END {
    for (i = 1; i <= NR; i++) {
        if (is_rule(i)) {
            line[i] = ""
            continue
        }
        if (!is_comment(i)) {
            if (line[i] ~ /[;,{] *\/\/ /)
                sub(/\/\/ /, "///< ", line[i])
            continue
        }
        first = i
        for (; i <= NR && is_comment(i) && !is_rule(i); i++)
            sub(/\/\//, "///", line[i])
        last = end_of_declarations(i)
        if (declarations > 1) {
            line[first - 1] = line[first - 1] " /** @{ */"
            line[last] = "/** @} */ " line[last]
        }
        i--
    }
    for (i = 1; i <= NR; i++)
        print line[i]
}
