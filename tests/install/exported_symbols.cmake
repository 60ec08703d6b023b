# What LIBRARY exports must be the public interface, and exactly what the list EXPECTED says. The list as it is now is
# written to ACTUAL: compare it, and copy it over EXPECTED when the interface was meant to change. What EXPECTED calls
# std::size_t is SIZE_T, an "unsigned int" or "unsigned long", in the binary.
cmake_minimum_required(VERSION 3.21)

execute_process(COMMAND ${NM} --dynamic --defined-only --demangle --format=posix ${LIBRARY}
  OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${output}")

set(actual "")
foreach(line IN LISTS lines)
  # NAME@@VERSION TYPE ADDRESS SIZE; the version itself is a symbol too.
  if(line MATCHES "^(.+)@@TOVRIN_CONFIG_PARSER_1 ")
    set(symbol "${CMAKE_MATCH_1}")
  elseif(line MATCHES "^TOVRIN_CONFIG_PARSER_1 A ")
    continue()
  else()
    set(symbol "${line}")
  endif()
  # As a person writes it.
  set(string "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >")
  string(REPLACE "${string}" "std::string" symbol "${symbol}")
  string(REPLACE "[abi:cxx11]" "" symbol "${symbol}")
  string(REPLACE "std::basic_ostream<char, std::char_traits<char> >" "std::ostream" symbol "${symbol}")
  string(REGEX REPLACE "std::vector<([^<>,]+), std::allocator<[^<>]+> >" "std::vector<\\1>" symbol "${symbol}")
  string(REPLACE "std::string >" "std::string>" symbol "${symbol}")
  list(APPEND actual "${symbol}")
endforeach()
list(REMOVE_DUPLICATES actual) # the variants of a constructor read alike
file(STRINGS ${EXPECTED} expected)
foreach(symbol IN LISTS expected)
  string(REPLACE "std::size_t" "${SIZE_T}" compiled "${symbol}")
  list(FIND actual "${compiled}" index)
  if(NOT compiled STREQUAL symbol AND NOT index EQUAL -1)
    list(REMOVE_AT actual ${index})
    list(APPEND actual "${symbol}")
  endif()
endforeach()
list(SORT actual)
list(JOIN actual "\n" text)
file(WRITE ${ACTUAL} "${text}\n")

set(problems "")
string(JOIN "|" subjects
  "ConfigDirParser::" "ConfigParser::" "ConfigParserIterator::" "ConfigValue::" "KeyFileParser::" "Substitutor::"
  "Helpers::" "Constants::" "Logging::LoggerConfig::" "Logging::Logger::" "Logging::Types::operator<<"
  "Logging::log(Critical|Error|Warning|Info|Debug)\\(" "Logging::setupLogging\\(" "Logging::lConfigParser$"
  "operator<<\\(std::ostream&, Tovrin::Parser::ConfigValue const&\\)$")
foreach(symbol IN LISTS actual)
  # An instance of a function template reads with its result in front.
  if(NOT symbol MATCHES "^([a-z ]+ )?Tovrin::Parser::(${subjects})")
    string(APPEND problems "not of the public interface: ${symbol}\n")
  endif()
  if(symbol MATCHES "^([a-z ]+ )?[^(]*Private")
    string(APPEND problems "private: ${symbol}\n")
  endif()
endforeach()

foreach(symbol IN LISTS actual)
  if(NOT symbol IN_LIST expected)
    string(APPEND problems "exported, but not in ${EXPECTED}: ${symbol}\n")
  endif()
endforeach()
foreach(symbol IN LISTS expected)
  if(NOT symbol IN_LIST actual)
    string(APPEND problems "no longer exported: ${symbol}\n")
  endif()
endforeach()
if(problems)
  message(NOTICE "${problems}The list as it is now: ${ACTUAL}")
  message(FATAL_ERROR "The exported symbols are not the public interface.")
endif()
