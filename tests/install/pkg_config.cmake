# Stores in `out` what a compiler needs to use the library of this KIND, SHARED or STATIC, that is installed in PREFIX.
function(pkg_config_flags out)
  set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)
  set(static "")
  if(KIND STREQUAL "STATIC")
    set(static --static)
  endif()
  execute_process(COMMAND pkg-config ${static} --cflags --libs tovrin-config-parser
    COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  set(${out} ${flags} PARENT_SCOPE)
endfunction()
