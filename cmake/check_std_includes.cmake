# Fails when a source of the control library includes a header that is neither
# one of the C++ standard library's nor the project's own (quoted) headers, or
# when an include runs up the layers: foundation, then forms, then the panels
# and dialogs, then the shell that composes them.
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
set(dirs foundation forms shell panels wizard backup activity dialogs)
function(layer_of dir out)
  if(dir STREQUAL "foundation")
    set(${out} 0 PARENT_SCOPE)
  elseif(dir STREQUAL "forms")
    set(${out} 1 PARENT_SCOPE)
  elseif(dir STREQUAL "shell")
    set(${out} 3 PARENT_SCOPE)
  else()
    set(${out} 2 PARENT_SCOPE)
  endif()
endfunction()
set(bad "")
foreach(dir IN LISTS dirs)
  layer_of(${dir} own_layer)
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
        set(included "${CMAKE_MATCH_1}")
        if(NOT included MATCHES "^(foundation|forms|shell|panels|wizard|backup|activity|dialogs)/")
          string(APPEND bad "${f}: ${line}\n")
        else()
          string(REGEX REPLACE "/.*" "" included_dir "${included}")
          layer_of(${included_dir} included_layer)
          if(included_layer GREATER own_layer)
            string(APPEND bad "${f}: ${line} (runs up the layers)\n")
          endif()
        endif()
      endif()
    endforeach()
  endforeach()
endforeach()
if(bad)
  message(FATAL_ERROR "The control library includes headers from outside the standard library or up its layers:\n${bad}")
endif()
