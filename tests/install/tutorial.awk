# Turns a tutorial into a shell script that does what its reader does. Three kinds of blocks count:
#
#   a block behind a line that begins with a name in backquotes and ends in ":"   a file of that name
#   ```console   commands behind "$ ", each with the lines that it prints; one without such lines may print anything
#   any other    not looked at
#
# The script calls `step NUMBER`, NUMBER being the command's line, with the command in the file $step and what it should
# print in $expected, which is absent if that does not matter.

function here(file, text) { printf "cat >\"%s\" <<'END OF TEXT'\n%sEND OF TEXT\n", file, text }

function finish_command() {
    if (command == "")
        return
    here("$step", command)
    if (expected == "")
        print "rm -f \"$expected\""
    else
        here("$expected", expected)
    print "step " command_line
    command = expected = ""
}

/^```/ && !inside {
    inside = 1
    console = /^```console$/
    content = ""
    next
}
/^```$/ {
    finish_command()
    if (name != "")
        here(name, content)
    inside = console = 0
    name = ""
    next
}
console && /^\$ / {
    finish_command()
    command = substr($0, 3) "\n"
    command_line = NR
    next
}
console { expected = expected $0 "\n"; next }
inside { content = content $0 "\n"; next }
/^`[^`]+`.*:$/ { split($0, parts, "`"); name = parts[2]; next }
/./ { name = "" }
END { if (inside) { print "unterminated block in the tutorial" >"/dev/stderr"; exit 1 } }
