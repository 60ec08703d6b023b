# One option for all targets: a sanitizer must see the whole program.
if(TOVRIN_SANITIZE)
  add_compile_options(-fsanitize=${TOVRIN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TOVRIN_SANITIZE})
endif()
