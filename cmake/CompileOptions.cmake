# One interface target carries the options of every product.
#
# Numbers are the same at every instruction-set level: no contraction into fused multiply-adds and no
# fast-math. The two relaxations below change no value: the C library's errno is not read, and no
# code expects floating-point traps. Warnings that are off: g++ 12 sees overlaps inside "text" + std::string; clang
# (the sanitizers' build) minds long texts, masks in a condition, and what one kernel level alone needs.
add_library(vyn_options INTERFACE)
target_compile_features(vyn_options INTERFACE cxx_std_20)
target_compile_options(vyn_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  "$<$<CXX_COMPILER_ID:Clang>:-Wno-overlength-strings;-Wno-bitwise-conditional-parentheses>"
  "$<$<CXX_COMPILER_ID:Clang>:-Wno-unneeded-internal-declaration;-Wno-unused-private-field>"
  -ffp-contract=off -fno-math-errno -fno-trapping-math
  -fvisibility=hidden -fvisibility-inlines-hidden
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=
  $<$<BOOL:${VYN_WARNINGS_AS_ERRORS}>:-Werror>)

if(VYN_SANITIZE)
  # float-cast-overflow is not part of "undefined"; float-divide-by-zero is left off: 0/0 is defined
  # behaviour of several measures.
  set(sanitizers -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all)
  target_compile_options(vyn_options INTERFACE ${sanitizers} -fno-omit-frame-pointer)
  target_link_options(vyn_options INTERFACE ${sanitizers})
  target_compile_definitions(vyn_options INTERFACE VYN_SANITIZED _GLIBCXX_ASSERTIONS)
else()
  # (Kernels leave it out: KernelLevels.cmake.)
  target_compile_options(vyn_options INTERFACE
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:VYN_KERNELS>>>:-fstack-protector-strong>)
  target_link_options(vyn_options INTERFACE -fstack-protector-strong)  # MinGW: its library
endif()

# vyn_fuzzed(<target>...): under clang's sanitizers, what the code does guides the fuzzers (tools/fuzz).
set(VYN_FUZZER OFF)
if(VYN_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  set(VYN_FUZZER ON)
endif()
function(vyn_fuzzed)
  if(VYN_FUZZER)
    foreach(target IN LISTS ARGN)
      target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endforeach()
  endif()
endfunction()

if(WIN32)
  target_compile_definitions(vyn_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601)
  target_link_options(vyn_options INTERFACE -static -Wl,--no-insert-timestamp)
else()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()

# vyn_export_names(<target> <def file> <source>...): natively, the target exports exactly the names that the
# .def file lists; the sources define them.
function(vyn_export_names target def)
  file(STRINGS ${def} names REGEX "^    [A-Za-z0-9_]+$")
  string(REGEX REPLACE " +" "" names "${names}")
  string(REPLACE ";" ";\n" names "${names}")
  set(map ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  file(CONFIGURE OUTPUT ${map} CONTENT "{\nglobal:\n${names};\nlocal: *;\n};\n" @ONLY)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -fvisibility=default)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${def})
  target_link_options(${target} PRIVATE -Wl,--version-script=${map})
  if(VYN_SANITIZE)  # which takes the addresses of functions: of the library's own
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
  else()
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
endfunction()

# Sources compiled a few at a time: the headers and templates that they share are read and made once. Those
# that read the system's headers are compiled alone: macros.
function(vyn_group_sources target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 5)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "/platform/")
  set_source_files_properties(${sources} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
