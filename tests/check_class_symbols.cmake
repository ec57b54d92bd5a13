cmake_policy(VERSION 3.25)
# The objects of a kernel class are compiled with wide instruction-set flags.
# A function they define outside their class namespace (an inline function
# or a template instantiation of a shared header) that another object also
# defines is one symbol to the linker, which may keep the wide copy for
# callers of every class: an illegal instruction on an older processor.
# Fails if any class object defines such a function.
#   -DCLASSES=avx2|avx512 -DOBJECTS_<class>=a.o|b.o ... -DOTHERS=c.o|d.o
string(REPLACE "|" ";" classes "${CLASSES}")
string(REPLACE "|" ";" others "${OTHERS}")

# Global functions (T, W, i) an object defines; all global names if `all`.
function(defined_names object all out)
  execute_process(COMMAND nm -g --defined-only -P ${object} OUTPUT_VARIABLE text RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "nm failed on ${object}")
  endif()
  string(REPLACE "\n" ";" lines "${text}")
  set(names)
  foreach(line IN LISTS lines)
    if(line MATCHES "^([^ ]+) ([A-Za-z]) ")
      set(name ${CMAKE_MATCH_1})
      set(type ${CMAKE_MATCH_2})
      if(all OR type MATCHES "^[TWi]$")
        list(APPEND names ${name})
      endif()
    endif()
  endforeach()
  set(${out} ${names} PARENT_SCOPE)
endfunction()

# Every object's global names, kept per object.
set(all_objects ${others})
foreach(cls IN LISTS classes)
  string(REPLACE "|" ";" objects "${OBJECTS_${cls}}")
  list(APPEND all_objects ${objects})
endforeach()
set(index 0)
foreach(o IN LISTS all_objects)
  defined_names(${o} TRUE names_${index})
  math(EXPR index "${index} + 1")
endforeach()

set(checked 0)
foreach(cls IN LISTS classes)
  string(LENGTH ${cls} len)
  set(own "_ZN3xeb${len}${cls}")  # mangled prefix of xeb::<class>::
  string(REPLACE "|" ";" objects "${OBJECTS_${cls}}")
  foreach(o IN LISTS objects)
    set(elsewhere)
    set(index 0)
    foreach(other IN LISTS all_objects)
      if(NOT other STREQUAL o)
        list(APPEND elsewhere ${names_${index}})
      endif()
      math(EXPR index "${index} + 1")
    endforeach()
    defined_names(${o} FALSE functions)
    foreach(f IN LISTS functions)
      math(EXPR checked "${checked} + 1")
      string(FIND "${f}" "${own}" at)
      if(NOT at EQUAL 0 AND f IN_LIST elsewhere)
        message(SEND_ERROR "${o} (${cls}) defines ${f} outside xeb::${cls}, and another object defines it too")
      endif()
    endforeach()
  endforeach()
endforeach()
message(STATUS "${checked} functions of the class objects checked")
