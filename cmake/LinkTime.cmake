# What takes a call through the module's door to the kernels and back is dozens of small functions in as
# many sources; the linker, which sees them all, puts them into each other (a call with 16 samples takes
# half the time). Kernels stay as they were compiled: each level has options of its own, and none must end
# in code that serves every machine. The tests link the same archives by their ordinary code, which is
# quicker.
set(VYN_LINK_TIME OFF)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "Release")
  set(VYN_LINK_TIME ON)
endif()

# vyn_link_time(<module> <archive>...): the module's own sources and those archives.
function(vyn_link_time module)
  if(NOT VYN_LINK_TIME)
    return()
  endif()
  set(targets ${ARGN})
  if(NOT WIN32)  # where the names of a .def file would lead nowhere
    list(APPEND targets ${module})
  endif()
  foreach(target IN LISTS targets)
    target_compile_options(${target} PRIVATE -flto -ffat-lto-objects)
  endforeach()
  set_target_properties(${module} PROPERTIES VYN_LINK_TIME ON)
  target_link_options(${module} PRIVATE -flto=auto)
  foreach(archive IN LISTS ARGN)
    target_link_options(${archive} INTERFACE $<$<NOT:$<BOOL:$<TARGET_PROPERTY:VYN_LINK_TIME>>>:-fno-lto>)
  endforeach()
endfunction()
