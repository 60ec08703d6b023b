# Fails unless FILE shows what an optimised build is hardened with.
function(expect what regex)
  execute_process(COMMAND ${READELF} --wide ${ARGN} ${FILE} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  if(NOT text MATCHES "${regex}")
    message(SEND_ERROR "${FILE} has no ${what}:\n${text}")
  endif()
endfunction()

expect("read-only relocations" "GNU_RELRO" --program-headers)
expect("stack that is not executable" "GNU_STACK[^\n]* RW +0x" --program-headers)
expect("binding of all functions at the start" "\\(FLAGS(_1)?\\)[^\n]*NOW" --dynamic)
expect("stack protector" "__stack_chk_fail" --dyn-syms)
