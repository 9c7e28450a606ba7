# Fails when a source of the control library includes a header that is neither
# one of the C++ standard library's nor the project's own (quoted) headers.
set(std_headers
  algorithm any array atomic bit bitset cassert cctype cerrno cfloat charconv chrono cinttypes
  climits clocale cmath codecvt compare complex concepts condition_variable csetjmp csignal
  cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception
  execution filesystem format forward_list fstream functional future initializer_list iomanip
  ios iosfwd iostream istream iterator limits list locale map memory memory_resource mutex new
  numbers numeric optional ostream queue random ranges ratio regex scoped_allocator set
  shared_mutex source_location span sstream stack stdexcept stop_token streambuf string
  string_view system_error thread tuple type_traits typeindex typeinfo unordered_map
  unordered_set utility valarray variant vector version)
set(dirs foundation shell panels wizard backup activity dialogs)
set(bad "")
foreach(dir IN LISTS dirs)
  file(GLOB_RECURSE files ${ROOT}/src/${dir}/*.h ${ROOT}/src/${dir}/*.cpp)
  foreach(f IN LISTS files)
    file(STRINGS ${f} lines REGEX "^[ \t]*#[ \t]*include")
    foreach(line IN LISTS lines)
      if(line MATCHES "<([^>]+)>")
        list(FIND std_headers "${CMAKE_MATCH_1}" idx)
        if(idx EQUAL -1)
          string(APPEND bad "${f}: ${line}\n")
        endif()
      elseif(line MATCHES "\"([^\"]+)\"")
        if(NOT CMAKE_MATCH_1 MATCHES "^(foundation|shell|panels|wizard|backup|activity|dialogs)/")
          string(APPEND bad "${f}: ${line}\n")
        endif()
      endif()
    endforeach()
  endforeach()
endforeach()
if(bad)
  message(FATAL_ERROR "The control library includes headers from outside the standard library:\n${bad}")
endif()
