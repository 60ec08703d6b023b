# One option for all targets: a sanitizer must see the whole program.
if(TOVRIN_SANITIZE)
  add_compile_options(-fsanitize=${TOVRIN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TOVRIN_SANITIZE})
endif()

# libFuzzer follows the branches that the library takes, so its objects are instrumented as well as the targets; only
# these link the fuzzer's main().
if(TOVRIN_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()
