# Runs each part of the installed COMMAND, by EMULATOR if there is one, on a file in WORK, and compares all that it writes;
# then the installed COMPLETION in bash.
cmake_minimum_required(VERSION 3.21)

separate_arguments(EMULATOR UNIX_COMMAND "${EMULATOR}")
file(REMOVE_RECURSE ${WORK})
file(WRITE ${WORK}/a.conf "[G]\nname=<\${config:G/other}>\nother=1\n")

function(expect expected)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK}
    OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
  if(NOT result STREQUAL "0" OR NOT output STREQUAL expected)
    message(NOTICE "${output}--- expected:\n${expected}---")
    message(FATAL_ERROR "${ARGN} ended with ${result}, or wrote what was not expected")
  endif()
endfunction()

set(command ${EMULATOR} ${COMMAND})
expect("[G]\nname=<1>\nother=1\n" ${command} dump a.conf)
expect("<1>\n" ${command} get G name a.conf)
expect([=[
[G] name

Assignments, in reading order:
  a.conf:2: name=<${config:G/other}>
      appended

References:
  ${config:G/other} is '1', from a.conf:3

Result:
  '<1>', from a.conf:2
]=] ${command} explain G name a.conf)
expect("0 errors, 0 warnings, 0 notes\n" ${command} check a.conf)
expect([=[
{
  "nodes": [
    {
      "group": "G",
      "key": "name",
      "missing": false,
      "inCycle": false
    },
    {
      "group": "G",
      "key": "other",
      "missing": false,
      "inCycle": false
    }
  ],
  "edges": [
    {
      "from": {
        "group": "G",
        "key": "name"
      },
      "to": {
        "group": "G",
        "key": "other"
      },
      "inCycle": false
    }
  ]
}
]=] ${command} graph --format json a.conf)

if(NOT EMULATOR) # completion starts the command itself
  file(WRITE ${WORK}/complete.bash "source '${COMPLETION}'\nCOMP_WORDS=('${COMMAND}' get G n a.conf) COMP_CWORD=3\n"
    "_tovrin_config '${COMMAND}'\nprintf '<%s>' \"\${COMPREPLY[@]}\"\n")
  expect("<name>" bash complete.bash)
endif()
