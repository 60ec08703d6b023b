# Runs the program in SOURCE, by EMULATOR if there is one, and compares all that it writes with
# SOURCE/expected_output.txt.
unset(ENV{TOVRIN_LOGGING})
unset(ENV{TOVRIN_LOGGING_TARGET})
execute_process(COMMAND ${EMULATOR} ${program} vendor.conf.d local.conf.d WORKING_DIRECTORY ${SOURCE}
  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
file(READ ${SOURCE}/expected_output.txt expected)
if(NOT result STREQUAL "0" OR NOT output STREQUAL expected)
  message(NOTICE "${output}--- expected:\n${expected}---")
  message(FATAL_ERROR "${program} ended with ${result}, or wrote what was not expected")
endif()
