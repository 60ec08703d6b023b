# The one list of warnings: every target of the project links tovrin_warnings.
set(TOVRIN_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
add_library(tovrin_warnings INTERFACE)
target_compile_options(tovrin_warnings INTERFACE ${TOVRIN_WARNINGS} $<$<BOOL:${TOVRIN_WERROR}>:-Werror>)
