# Optimised builds stop at an overrun buffer instead of going on, and have no table of functions left to overwrite once
# they run. Under a sanitizer, which checks more, the checked buffers are in the way. Debug builds also check what they
# ask of the standard library.
add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
if(TOVRIN_HARDENING AND NOT TOVRIN_SANITIZE)
  # Undefined first: distributions' compilers and flags may define another level.
  add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2;-fstack-protector-strong>")
  add_link_options("$<$<NOT:$<CONFIG:Debug>>:-Wl,-z,relro,-z,now>")
endif()
